// qorWinAPIReg's single-key operations on a real store: the rules of each
// operation, the kept quirks and the exact report texts.

#include "qorsupport/registry/winapireg.h"

#include <gtest/gtest.h>

#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/vb.h"
#include "registry/codepage.h"
#include "registry/registry_test_fixture.h"

namespace qor::registry {
namespace {

using Reg = RegistryFixture;

TEST(CutAtNul, CutsAtTheFirstNul) {
  EXPECT_EQ(CutAtNul("plain"), "plain");
  EXPECT_EQ(CutAtNul(std::string("ab\0cd", 5)), "ab");
  EXPECT_EQ(CutAtNul(std::string("\0x", 2)), "");
  EXPECT_EQ(CutAtNul(""), "");
}

TEST_F(Reg, StringsRoundTripInTheCodePageAndCutAtNul) {
  EXPECT_TRUE(reg_->RegistrySaveValueString(kCurrentUser, "Software\\Acme\\Deep", "Name",
                                            "Caf\u00e9 \u20ac"));
  EXPECT_TRUE(reg_->RegistryCheckKey(kCurrentUser, "software\\ACME"));
  EXPECT_EQ(reg_->RegistryGetValueString(kCurrentUser, "Software\\Acme\\Deep", "name"),
            Variant("Caf\u00e9 \u20ac"));
  // A character the code page lacks becomes "?".
  reg_->RegistrySaveValueString(kCurrentUser, "Software\\Acme", "Greek", "\u03a9!");
  EXPECT_EQ(reg_->RegistryGetValue(kCurrentUser, "Software\\Acme", "Greek"), Variant("?!"));
  // Data with an embedded NUL reads back up to the NUL; empty data as "".
  reg_->RegistrySaveValueString(kCurrentUser, "Software\\Acme", "Nul", std::string("ab\0cd", 5));
  reg_->RegistrySaveValueString(kCurrentUser, "Software\\Acme", "Empty", "");
  EXPECT_EQ(reg_->RegistryGetValueString(kCurrentUser, "Software\\Acme", "Nul"), Variant("ab"));
  EXPECT_EQ(reg_->RegistryGetValueString(kCurrentUser, "Software\\Acme", "Empty", "dflt"),
            Variant(""));
  EXPECT_TRUE(Reports().empty());
}

TEST_F(Reg, ReadFailuresReportOnlyWhenVerboseWithTheirSpellings) {
  reg_->RegistrySaveValueLong(kCurrentUser, "K", "Count", 31);
  reg_->RegistrySaveValueBinary(kCurrentUser, "K", "Blob", "ab", 2);
  EXPECT_EQ(reg_->RegistryGetValueString(kCurrentUser, "K", "Count", "d"), Variant("d"));
  EXPECT_TRUE(Reports().empty());
  EXPECT_EQ(reg_->RegistryGetValueString(kCurrentUser, "K", "Count", "d", true), Variant("d"));
  EXPECT_EQ(reg_->RegistryGetValueString(kCurrentUser, "Missing", "x", "d", true), Variant("d"));
  EXPECT_EQ(reg_->RegistryGetValueString(kCurrentUser, "K", "Nope", "d", true), Variant("d"));
  EXPECT_EQ(Reports(), (std::vector<std::string>{"key is not a string, type is : 4",
                                                 "error opening key", "key get size error"}));
  // The capitalised spellings of RegistryGetValue.
  EXPECT_EQ(reg_->RegistryGetValue(kCurrentUser, "Missing", "x", Variant(7), true), Variant(7));
  EXPECT_EQ(reg_->RegistryGetValue(kCurrentUser, "K", "Nope", Variant(), true), Variant());
  EXPECT_EQ(reg_->RegistryGetValue(kCurrentUser, "K", "Blob", Variant("d"), true), Variant("d"));
  EXPECT_EQ(reg_->RegistryGetValue(kCurrentUser, "K", "Count"), Variant(int32_t{31}));
  EXPECT_EQ(Reports(), (std::vector<std::string>{"Error opening key", "Key get size error",
                                                 "Un-Supported Key Size"}));
  // RegistryGetValueLong: a missing key is silent even with Verbose.
  EXPECT_EQ(reg_->RegistryGetValueLong(kCurrentUser, "Missing", "Count", 9, true), 9);
  EXPECT_EQ(reg_->RegistryGetValueLong(kCurrentUser, "K", "Blob", 9, true), 9);
  EXPECT_EQ(reg_->RegistryGetValueLong(kCurrentUser, "K", "Nope", 9, true), 9);
  EXPECT_EQ(Reports(), (std::vector<std::string>{"key is not a long", "key size error"}));
}

TEST_F(Reg, LongsAndBinaries) {
  EXPECT_TRUE(reg_->RegistrySaveValueLong(kCurrentUser, "N", "Neg", -1));
  EXPECT_EQ(reg_->RegistryGetValueLong(kCurrentUser, "N", "neg"), -1);
  EXPECT_EQ(reg_->RegistryGetValue(kCurrentUser, "N", "Neg"), Variant(int32_t{-1}));
  // Binary: exactly pValueLength bytes, zero-padded; read back as the whole
  // 2000-character buffer.
  std::string bytes("\x0a\xff", 2);
  EXPECT_TRUE(
      reg_->RegistrySaveValueBinary(kCurrentUser, "N", "Mask", registry::FromCodePage(bytes), 3));
  std::string got = "unchanged";
  EXPECT_TRUE(reg_->RegistryGetValueBinary(kCurrentUser, "N", "Mask", got));
  std::u32string chars = vb::ToUtf32(got);
  ASSERT_EQ(chars.size(), 2000u);
  EXPECT_EQ(chars[0], U'\x0a');
  EXPECT_EQ(chars[1], U'\u00ff');
  EXPECT_EQ(chars[2], U'\0');
  EXPECT_EQ(chars[3], U' ');
  got = "unchanged";
  EXPECT_FALSE(reg_->RegistryGetValueBinary(kCurrentUser, "N", "Neg", got, true));
  EXPECT_FALSE(reg_->RegistryGetValueBinary(kCurrentUser, "N", "None", got, true));
  EXPECT_FALSE(reg_->RegistryGetValueBinary(kCurrentUser, "None", "None", got, true));
  EXPECT_FALSE(reg_->RegistrySaveValueBinary(kCurrentUser, "N", "Bad", "x", -1, true));
  EXPECT_FALSE(reg_->RegistrySaveValueBinary(kCurrentUser, "\\a", "Bad", "x", 1, true));
  EXPECT_EQ(got, "unchanged");
  EXPECT_EQ(Reports(),
            (std::vector<std::string>{"BINARY value type mis-match on Neg",
                                      "Error reading BINARY value None", "Unable to open key",
                                      "Error writing BINARY value Bad", "Unable to create key"}));
  // A write that fails is silent for strings and longs.
  EXPECT_FALSE(reg_->RegistrySaveValueString(kCurrentUser, "\\a", "x", "y", true));
  EXPECT_FALSE(reg_->RegistrySaveValueLong(12345, "a", "x", 1, true));
  EXPECT_TRUE(Reports().empty());
}

TEST_F(Reg, DeleteKeyPassesOverEverySecondEntry) {
  // Two values and one subkey: the second value is passed over, but values
  // do not block the final delete.
  reg_->RegistrySaveValueString(kCurrentUser, "A", "v1", "1");
  reg_->RegistrySaveValueString(kCurrentUser, "A", "v2", "2");
  reg_->RegistrySaveValueString(kCurrentUser, "A\\Sub", "v", "x");
  EXPECT_TRUE(reg_->RegistryDeleteKey(kCurrentUser, "A", true));
  EXPECT_FALSE(reg_->RegistryCheckKey(kCurrentUser, "A"));
  // Three subkeys: the first and third go, the second stays, False.
  for (const char* s : {"B\\One", "B\\Three", "B\\Two"}) reg_->RegistryCreateKey(kCurrentUser, s);
  EXPECT_FALSE(reg_->RegistryDeleteKey(kCurrentUser, "B", true));
  EXPECT_FALSE(reg_->RegistryCheckKey(kCurrentUser, "B\\One"));
  EXPECT_TRUE(reg_->RegistryCheckKey(kCurrentUser, "B\\Three"));
  EXPECT_FALSE(reg_->RegistryCheckKey(kCurrentUser, "B\\Two"));
  EXPECT_FALSE(reg_->RegistryDeleteKey(kCurrentUser, "Nowhere", true));
  // DestroyKey removes the whole tree; its failure names the code.
  EXPECT_TRUE(reg_->RegistryDestroyKey(kCurrentUser, "B"));
  EXPECT_FALSE(reg_->RegistryCheckKey(kCurrentUser, "B"));
  EXPECT_FALSE(reg_->RegistryDestroyKey(kCurrentUser, "B", true));
  EXPECT_EQ(Reports(), (std::vector<std::string>{"SHDeleteKey returned error code: 2"}));
  EXPECT_TRUE(reg_->RegistrySaveValueString(kCurrentUser, "C", "v", "1"));
  EXPECT_TRUE(reg_->RegistryDeleteValue(kCurrentUser, "C", "V"));
  EXPECT_FALSE(reg_->RegistryDeleteValue(kCurrentUser, "C", "V"));
  EXPECT_FALSE(reg_->RegistryDeleteValue(kCurrentUser, "None", "V"));
}

TEST_F(Reg, ErrorMessages) {
  EXPECT_EQ(reg_->RegErrorMsg(1015), "The Registry Database is corrupt!");
  EXPECT_EQ(reg_->RegErrorMsg(1010), "Bad Key Name");
  EXPECT_EQ(reg_->RegErrorMsg(234),
            "There is more data than the buffer has been allocated to hold.");
  EXPECT_EQ(reg_->RegErrorMsg(3), "Undefined Error Code:   3");
  EXPECT_EQ(reg_->RegErrorMsg(-7), "Undefined Error Code:  -7");
}

}  // namespace
}  // namespace qor::registry
