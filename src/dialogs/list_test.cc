#include "qorsupport/dialogs/list.h"

#include <gtest/gtest.h>

#include "qorsupport/frame/error.h"
#include "testing/test_util.h"

namespace qor {
namespace {

class ListTest : public ::testing::Test {
 protected:
  void SetUp() override { list_.Init(); }
  std::vector<std::string> Shown() {
    auto events = ui_->TakeEvents();
    EXPECT_EQ(events.size(), 1u);
    std::vector<std::string> texts;
    for (const Variant& v : events.back().Field("items").AsArray().elements()) {
      texts.push_back(v.AsString());
    }
    return texts;
  }
  testing::ScriptedUi ui_;
  qorList list_;
};

TEST(ListInit, UseBeforeInitRaises999) {
  testing::ScriptedUi ui;
  qorList list;
  for (int call = 0; call < 3; ++call) {
    try {
      Variant chosen;
      if (call == 0) list.AddItem("a");
      if (call == 1) list.Display();
      if (call == 2) list.DisplayMultiSelect(chosen);
      FAIL() << call;
    } catch (const Error& e) {
      EXPECT_EQ(e.number(), 999);
      EXPECT_EQ(e.source(), "Global");
      EXPECT_EQ(e.description(), "Un-Initialised qorList");
    }
  }
  EXPECT_TRUE(ui->TakeEvents().empty());  // not even an error box
}

TEST_F(ListTest, SortModesMapTheChoiceBackToTheItemAdded) {
  list_.AddItem("b", Variant("data-b"));
  list_.AddItem("a");
  list_.AddItem("c");
  EXPECT_EQ(list_.Item(1, 1), Variant(int32_t{1}));  // missing data and sort are 1
  EXPECT_EQ(list_.Item(2, 1), Variant(int32_t{1}));

  ui_->Queue(Variant(0));
  EXPECT_TRUE(list_.Display());
  EXPECT_EQ(Shown(), (std::vector<std::string>{"b", "a", "c"}));
  EXPECT_EQ(list_.SelectedIndex(), 0);
  EXPECT_EQ(list_.SelectedData(), Variant("data-b"));

  list_.SetSorted(1);
  ui_->Queue(Variant(1));  // "b" shown second
  EXPECT_TRUE(list_.Display());
  EXPECT_EQ(Shown(), (std::vector<std::string>{"a", "b", "c"}));
  EXPECT_EQ(list_.SelectedIndex(), 0);
  EXPECT_EQ(list_.SelectedText(), Variant("b"));

  list_.SetSorted(2);
  ui_->Queue(Variant(0));  // "c" shown first, added third
  EXPECT_TRUE(list_.Display());
  EXPECT_EQ(Shown(), (std::vector<std::string>{"c", "b", "a"}));
  EXPECT_EQ(list_.SelectedIndex(), 2);

  // An item added after sorting is placed at the next display.
  list_.AddItem("bb");
  EXPECT_FALSE(list_.Display());  // Cancel
  EXPECT_EQ(Shown(), (std::vector<std::string>{"c", "bb", "b", "a"}));
  EXPECT_EQ(list_.SelectedIndex(), -1);
  EXPECT_EQ(list_.SelectedText(), Variant::Null());
  EXPECT_THROW(list_.SetSorted(3), Error);
}

TEST_F(ListTest, QuicksortOrdersManyItemsLikeTheComparison) {
  std::vector<std::string> added;
  for (int i = 0; i < 500; ++i) {
    added.push_back(std::to_string((i * 7919) % 613));  // duplicates, unsorted
    list_.AddItem(added.back());
  }
  list_.SetSorted(1);
  std::vector<int32_t> order = list_.DisplayOrder();
  std::vector<std::string> shown;
  for (int32_t p : order) shown.push_back(added[static_cast<size_t>(p)]);
  std::vector<std::string> expected = added;
  std::sort(expected.begin(), expected.end());  // binary comparison of texts
  EXPECT_EQ(shown, expected);
  std::sort(order.begin(), order.end());
  for (int32_t i = 0; i < 500; ++i) EXPECT_EQ(order[static_cast<size_t>(i)], i);
}

TEST_F(ListTest, TableGrowsByHundredKeepingItems) {
  EXPECT_EQ(list_.Capacity(), 100);
  for (int i = 0; i < 101; ++i) list_.AddItem("item " + std::to_string(i));
  EXPECT_EQ(list_.Capacity(), 100);
  list_.AddItem("item 101");  // position 101
  EXPECT_EQ(list_.Capacity(), 200);
  for (int i = 102; i < 10000; ++i) list_.AddItem("item " + std::to_string(i));
  EXPECT_EQ(list_.ItemCount(), 10000);
  EXPECT_EQ(list_.Capacity(), 10000);
  EXPECT_EQ(list_.Item(0, 0), Variant("item 0"));
  EXPECT_EQ(list_.Item(0, 101), Variant("item 101"));
  ui_->Queue(Variant(9999));
  EXPECT_TRUE(list_.Display());
  EXPECT_EQ(list_.SelectedText(), Variant("item 9999"));
  EXPECT_EQ(Shown().size(), 10000u);
}

TEST_F(ListTest, MultipleSelectionFillsTheArrayFromOne) {
  for (const char* s : {"b", "a", "c", "d"}) list_.AddItem(s);
  list_.SetSorted(1);
  Array untouched(VarType::kString, {{0, 0}});
  untouched.At({0}) = Variant("keep");
  Variant chosen(untouched);
  EXPECT_FALSE(list_.DisplayMultiSelect(chosen));  // nothing chosen
  EXPECT_EQ(chosen, Variant(untouched));

  Array answer(VarType::kVariant, {{0, 1}});
  answer.At({0}) = Variant(3);  // "d"
  answer.At({1}) = Variant(0);  // "a"
  ui_->Queue(Variant(answer));
  ui_->TakeEvents();
  EXPECT_TRUE(list_.DisplayMultiSelect(chosen));
  auto events = ui_->TakeEvents();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].Field("multi"), Variant(true));
  const Array& got = chosen.AsArray();
  EXPECT_EQ(got.element_type(), VarType::kString);
  EXPECT_EQ(got.DimensionBounds(1).lower, 1);
  EXPECT_EQ(got.DimensionBounds(1).upper, 2);
  EXPECT_EQ(got.At({1}), Variant("a"));  // in the order shown
  EXPECT_EQ(got.At({2}), Variant("d"));
}

TEST_F(ListTest, OptionsReachTheDialog) {
  list_.AddItem("x");
  list_.SetTitle("Choose a printer");
  list_.SetUseFixedWidthFont(true);
  list_.SetBigFlag(true);
  EXPECT_TRUE(list_.UseFixedWidthFont());
  EXPECT_TRUE(list_.BigFlag());
  list_.Display();
  auto events = ui_->TakeEvents();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].Field("title"), Variant("Choose a printer"));
  list_.SetBigFlag(false);
  EXPECT_FALSE(list_.BigFlag());
  qorList fresh;
  EXPECT_EQ(fresh.Title(), "List Form");
  EXPECT_EQ(fresh.SelectedIndex(), -1);
}

TEST_F(ListTest, EmptyListShowsAnEmptyDialog) {
  Variant chosen;
  EXPECT_FALSE(list_.Display());
  EXPECT_FALSE(list_.DisplayMultiSelect(chosen));
  EXPECT_TRUE(chosen.IsEmpty());
  EXPECT_EQ(ui_->TakeEvents().size(), 2u);
}

}  // namespace
}  // namespace qor
