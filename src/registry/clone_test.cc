// Cloning and listing keys on a real store.

#include <gtest/gtest.h>

#include "registry/registry_test_fixture.h"

namespace qor::registry {
namespace {

using Clone = RegistryFixture;

TEST_F(Clone, CopiesTheSubtreeAcrossRootsKeepingTypes) {
  reg_->RegistrySaveValueString(kCurrentUser, "Src", "Name", "Main");
  reg_->RegistrySaveValueLong(kCurrentUser, "Src\\A", "Count", -5);
  reg_->RegistrySaveValueBinary(kCurrentUser, "Src\\A\\B", "Blob", "xyz", 3);
  // Values past the 2,000-byte buffers, and the ones after them, go whole.
  std::string long_text(5000, 'q');
  reg_->RegistrySaveValueString(kCurrentUser, "Src", "Long", long_text);
  reg_->RegistrySaveValueBinary(kCurrentUser, "Src", "BigBlob", "b", 3000);
  reg_->RegistrySaveValueLong(kCurrentUser, "Src", "After", 1);
  HKey h = 0;
  ASSERT_EQ(reg_->store().OpenKey(kCurrentUser, "Src", &h), kSuccess);
  reg_->store().SetValue(h, "Exp", kRegExpandSz, reinterpret_cast<const uint8_t*>("%P%\0junk"), 8);
  reg_->store().CloseKey(h);
  EXPECT_TRUE(reg_->RegistryCloneKey(kCurrentUser, "Src", kUsers, "Copy\\Deep", true, true));
  EXPECT_EQ(reg_->RegistryGetValue(kUsers, "Copy\\Deep", "Name"), Variant("Main"));
  EXPECT_EQ(reg_->RegistryGetValueLong(kUsers, "Copy\\Deep\\A", "Count"), -5);
  EXPECT_EQ(reg_->RegistryGetValueString(kUsers, "Copy\\Deep", "Long"), Variant(long_text));
  EXPECT_EQ(reg_->RegistryGetValueLong(kUsers, "Copy\\Deep", "After"), 1);
  std::string blob;
  EXPECT_TRUE(reg_->RegistryGetValueBinary(kUsers, "Copy\\Deep\\A\\B", "Blob", blob));
  EXPECT_EQ(blob.substr(0, 4), "xyz ");
  uint32_t type = 0;
  uint32_t size = 0;
  ASSERT_EQ(reg_->store().OpenKey(kUsers, "Copy\\Deep", &h), kSuccess);
  ASSERT_EQ(reg_->store().QueryValue(h, "BigBlob", &type, nullptr, &size), kSuccess);
  EXPECT_EQ(size, 3000u);
  ASSERT_EQ(reg_->store().QueryValue(h, "Exp", &type, nullptr, &size), kSuccess);
  reg_->store().CloseKey(h);
  EXPECT_EQ(type, kRegExpandSz);  // stays expandable, copied as stored
  EXPECT_EQ(size, 9u);            // the 8 bytes and the NUL the platform counted
  EXPECT_TRUE(Reports().empty());
}

TEST_F(Clone, FailuresReportOnceAtEachLevel) {
  reg_->RegistryCreateKey(kCurrentUser, "Src\\A");
  EXPECT_FALSE(reg_->RegistryCloneKey(kCurrentUser, "Src", kCurrentUser, "Dest", false, true));
  EXPECT_FALSE(reg_->RegistryCheckKey(kCurrentUser, "Dest"));
  EXPECT_FALSE(reg_->RegistryCloneKey(kCurrentUser, "None", kCurrentUser, "Dest", true, true));
  EXPECT_FALSE(reg_->RegistryCloneKey(kCurrentUser, "Src", kCurrentUser, "\\Lead", true, true));
  EXPECT_EQ(Reports(),
            (std::vector<std::string>{"Unable to open Destination key", "Unable to open Source key",
                                      "Unable to create new key"}));
  // A multi-string value stops the copy, and the copy is all or nothing.
  reg_->RegistrySaveValueString(kCurrentUser, "Src", "First", "1");
  HKey h = 0;
  ASSERT_EQ(reg_->store().OpenKey(kCurrentUser, "Src", &h), kSuccess);
  reg_->store().SetValue(h, "Multi", kRegMultiSz, reinterpret_cast<const uint8_t*>("a\0\0"), 3);
  reg_->store().SetValue(h, "Last", kRegSz, reinterpret_cast<const uint8_t*>("z"), 1);
  reg_->store().CloseKey(h);
  EXPECT_FALSE(reg_->RegistryCloneKey(kCurrentUser, "Src", kCurrentUser, "Dest", true, true));
  EXPECT_EQ(Reports(), (std::vector<std::string>{"Unsupported value type 7 on Multi"}));
  EXPECT_FALSE(reg_->RegistryCheckKey(kCurrentUser, "Dest"));
  // Deep down: one report there and one per level above.
  ASSERT_EQ(reg_->store().CreateKey(kCurrentUser, "Src\\A\\B", &h), kSuccess);
  reg_->store().SetValue(h, "M", kRegMultiSz, reinterpret_cast<const uint8_t*>("a\0\0"), 3);
  reg_->store().CloseKey(h);
  EXPECT_FALSE(reg_->RegistryCloneKey(kCurrentUser, "Src", kCurrentUser, "Dest2", true, true));
  EXPECT_EQ(Reports(), (std::vector<std::string>{"Unsupported value type 7 on M",
                                                 "Recursive call error on Src\\A",
                                                 "Recursive call error on Src"}));
}

TEST_F(Clone, ListsKeysAndValues) {
  Variant names = Variant("untouched");
  EXPECT_FALSE(reg_->RegistryGetAllKeys(kCurrentUser, "None", names, true));
  EXPECT_EQ(names, Variant("untouched"));
  reg_->RegistryCreateKey(kCurrentUser, "L");
  Array three(VarType::kString, {{0, 2}});
  three.At({0}) = Variant("x");
  names = three;
  EXPECT_TRUE(reg_->RegistryGetAllKeys(kCurrentUser, "L", names));
  EXPECT_EQ(names, Variant(three));  // an empty key leaves the array as it was
  for (const char* k : {"L\\b", "L\\C", "L\\a"}) reg_->RegistryCreateKey(kCurrentUser, k);
  names = Variant();
  EXPECT_TRUE(reg_->RegistryGetAllKeys(kCurrentUser, "L", names));
  const Array& got = names.AsArray();
  ASSERT_EQ(got.DimensionBounds(1).upper, 2);
  EXPECT_EQ(got.At({0}), Variant("a"));
  EXPECT_EQ(got.At({2}), Variant("C"));

  Variant values;
  EXPECT_TRUE(reg_->RegistryGetAllValues(kCurrentUser, "L", values));
  ASSERT_EQ(values.AsArray().DimensionBounds(1).upper, 0);
  EXPECT_TRUE(values.AsArray().At({0, 0}).IsEmpty());
  reg_->RegistrySaveValueString(kCurrentUser, "L", "s", "1");
  reg_->RegistrySaveValueLong(kCurrentUser, "L", "d", 1);
  reg_->RegistrySaveValueBinary(kCurrentUser, "L", "b", "1", 1);
  EXPECT_TRUE(reg_->RegistryGetAllValues(kCurrentUser, "L", values));
  const Array& rows = values.AsArray();
  ASSERT_EQ(rows.DimensionBounds(1).upper, 2);
  ASSERT_EQ(rows.DimensionBounds(2).upper, 1);
  EXPECT_EQ(rows.At({1, 0}), Variant("d"));
  EXPECT_EQ(rows.At({1, 1}), Variant(int32_t{4}));
  EXPECT_EQ(rows.At({2, 1}), Variant(int32_t{3}));
  EXPECT_FALSE(reg_->RegistryGetAllValues(kCurrentUser, "None", values, true));
  EXPECT_TRUE(values.AsArray().At({0, 0}).IsEmpty());
  EXPECT_EQ(Reports(), (std::vector<std::string>{"key open error", "Cannot open keyzzz"}));
}

}  // namespace
}  // namespace qor::registry
