#include "qorsupport/frame/variant.h"

#include <gtest/gtest.h>

#include "qorsupport/frame/error.h"

namespace qor {
namespace {

TEST(Variant, KindsReportTheirVarType) {
  EXPECT_EQ(Variant().VarTypeCode(), 0);
  EXPECT_EQ(Variant::Null().VarTypeCode(), 1);
  EXPECT_EQ(Int16(1).VarTypeCode(), 2);
  EXPECT_EQ(Variant(1).VarTypeCode(), 3);
  EXPECT_EQ(Variant(1.0f).VarTypeCode(), 4);
  EXPECT_EQ(Variant(1.0).VarTypeCode(), 5);
  EXPECT_EQ(Variant(Currency{1}).VarTypeCode(), 6);
  EXPECT_EQ(Variant(Date{1}).VarTypeCode(), 7);
  EXPECT_EQ(Variant("x").VarTypeCode(), 8);
  EXPECT_EQ(Variant::Nothing().VarTypeCode(), 9);
  EXPECT_EQ(Variant::Missing().VarTypeCode(), 10);
  EXPECT_EQ(Variant(true).VarTypeCode(), 11);
  EXPECT_EQ(Byte(1).VarTypeCode(), 17);
  EXPECT_EQ(Variant(Array(VarType::kString, {{0, 1}})).VarTypeCode(), 0x2000 + 8);
}

TEST(Variant, ArraysHaveBoundsAndValueSemantics) {
  Array grid(VarType::kVariant, {{0, 2}, {1, 3}});
  EXPECT_EQ(grid.ElementCount(), 9);
  grid.At({2, 3}) = Variant("last");
  grid.At({0, 1}) = Variant(7);
  EXPECT_EQ(grid.elements().back(), Variant("last"));
  EXPECT_EQ(grid.elements().front(), Variant(7));
  EXPECT_THROW(grid.At({3, 1}), Error);
  EXPECT_THROW(grid.At({0, 0}), Error);
  EXPECT_THROW(grid.At({1}), Error);

  Variant a(grid);
  Variant b = a;
  b.AsArray().At({0, 1}) = Variant(8);
  EXPECT_EQ(a.AsArray().At({0, 1}), Variant(7));  // the copy is independent

  Array typed(VarType::kLong, {{1, 2}});
  EXPECT_EQ(typed.At({1}), Variant(0));  // elements start at the type's zero
}

TEST(Variant, RedimPreserveKeepsTheElements) {
  Array table(VarType::kVariant, {{0, 2}, {0, 1}});
  table.At({1, 1}) = Variant("b1");
  table.At({2, 0}) = Variant("c0");
  table.RedimPreserve({{0, 2}, {0, 100}});
  EXPECT_EQ(table.At({1, 1}), Variant("b1"));
  EXPECT_EQ(table.At({2, 0}), Variant("c0"));
  EXPECT_TRUE(table.At({2, 100}).IsEmpty());
  EXPECT_THROW(table.RedimPreserve({{0, 3}, {0, 100}}), Error);
}

TEST(Variant, RecordsMatchFieldsWithoutCase) {
  Record r("FileNameParams");
  r.Set("Title", Variant("Pick"));
  r.Set("title", Variant("Choose"));
  ASSERT_NE(r.Find("TITLE"), nullptr);
  EXPECT_EQ(*r.Find("TITLE"), Variant("Choose"));
  EXPECT_EQ(r.fields().size(), 1u);
  EXPECT_EQ(r.Find("Flags"), nullptr);
}

TEST(Variant, EqualityIsIdentityOfKindAndValue) {
  EXPECT_EQ(Variant(1), Variant(1));
  EXPECT_NE(Variant(1), Int16(1));
  EXPECT_NE(Variant(), Variant::Null());
  EXPECT_EQ(Variant::Null(), Variant::Null());
  EXPECT_THROW(Variant(1).AsString(), Error);
}

}  // namespace
}  // namespace qor
