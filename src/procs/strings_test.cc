#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb_date.h"
#include "qorsupport/procs/procs.h"
#include "testing/test_util.h"

namespace qor {
namespace {

Variant ArrayOf(std::vector<Variant> values, int32_t lower = 0) {
  Array array(VarType::kVariant, {{lower, lower + static_cast<int32_t>(values.size()) - 1}});
  array.elements() = std::move(values);
  return Variant(std::move(array));
}

std::vector<Variant> Elements(const Variant& array) { return array.AsArray().elements(); }

Variant Numbers(const std::vector<double>& values, int32_t lower = 0) {
  return ArrayOf(std::vector<Variant>(values.begin(), values.end()), lower);
}

std::vector<double> Values(const Variant& array) {
  std::vector<double> out;
  for (const Variant& v : Elements(array)) out.push_back(v.NumericValue());
  return out;
}

TEST(ProcsSort, SortsInBothDirectionsByVariantComparison) {
  qorProcs p;
  Variant numbers = ArrayOf({Long(5), 2.5, Long(-1), Int16(10), Long(2)});
  p.QuickSort(numbers);
  EXPECT_EQ(Elements(numbers), (std::vector<Variant>{Long(-1), Long(2), 2.5, Long(5), Int16(10)}));
  p.QuickSort(numbers, true);
  EXPECT_EQ(Values(numbers), (std::vector<double>{10, 5, 2.5, 2, -1}));

  Variant words = ArrayOf({Variant("pear"), Variant("Apple"), Variant("apple"), Variant("Zed")});
  p.QuickSort(words);  // binary: capitals first
  EXPECT_EQ(Elements(words), (std::vector<Variant>{Variant("Apple"), Variant("Zed"),
                                                   Variant("apple"), Variant("pear")}));
  Variant single = ArrayOf({Variant("only")}, 1), empty = ArrayOf({});
  p.QuickSort(single, true);
  p.QuickSort(empty);
  EXPECT_EQ(Elements(single), std::vector<Variant>{Variant("only")});
}

TEST(ProcsSort, BoundsLimitTheSortedRange) {
  qorProcs p;
  Variant a = Numbers({9, 8, 7, 6, 5, 4}, 1);
  p.QuickSort(a, false, 2, 4);  // indexes 2 to 4 of an array based at 1
  EXPECT_EQ(Values(a), (std::vector<double>{9, 6, 7, 8, 5, 4}));
  p.QuickSort(a, true, -1, 3);  // -1: from the lower bound
  EXPECT_EQ(Values(a), (std::vector<double>{9, 7, 6, 8, 5, 4}));
  p.QuickSort(a, false, 4);  // to the upper bound
  EXPECT_EQ(Values(a), (std::vector<double>{9, 7, 6, 4, 5, 8}));
  EXPECT_EQ(testing::ErrorNumberOf([&] { p.QuickSort(a, false, 0, 6); }), err::kSubscript);

  Variant text("abc"), grid(Array(VarType::kVariant, {{0, 1}, {0, 1}}));
  EXPECT_EQ(testing::ErrorNumberOf([&] { p.QuickSort(text); }), err::kTypeMismatch);
  EXPECT_EQ(testing::ErrorNumberOf([&] { p.QuickSort(grid); }), err::kSubscript);
}

TEST(ProcsSort, LargeInputsAgreeWithTheStandardSort) {
  qorProcs p;
  std::mt19937 random(42);
  std::vector<double> expected;
  for (int i = 0; i < 5000; ++i) expected.push_back(random() % 100);  // many duplicates
  for (int i = 0; i < 3000; ++i) expected.push_back(100.0 + i);       // an already sorted run
  Variant array = Numbers(expected);
  p.QuickSort(array, true);
  std::sort(expected.rbegin(), expected.rend());
  EXPECT_EQ(Values(array), expected);
}

TEST(ProcsArithmetic, AverageAndDivisionNeverFail) {
  qorProcs p;
  EXPECT_EQ(p.CalcAvg(10.0, Long(4)), 2.5);
  EXPECT_EQ(p.CalcAvg("10", "4"), 2.5);
  EXPECT_EQ(p.CalcAvg(10.0, Long(0)), 0);
  EXPECT_EQ(p.CalcAvg(10.0, Long(-2)), 0);
  EXPECT_EQ(p.CalcAvg(Variant::Null(), Long(2)), 0);
  EXPECT_EQ(p.CalcAvg("abc", Long(2)), 0);

  EXPECT_EQ(p.DivideZero(10.0, Long(4)), Variant(2.5));
  EXPECT_EQ(p.DivideZero("9", "3"), Variant(3.0));
  EXPECT_EQ(p.DivideZero(Int16(10), Int16(4)), Variant(2.5f));  // VB's Single case
  EXPECT_EQ(p.DivideZero(Int16(10), Long(4)), Variant(2.5));
  for (const Variant& blank :
       {Variant(Long(0)), Variant(), Variant(""), Variant("  "), Variant(false), Variant::Null()}) {
    EXPECT_EQ(p.DivideZero(Long(10), blank), Int16(0));
    EXPECT_EQ(p.DivideZero(blank, Long(10)), Int16(0));
  }
  EXPECT_EQ(testing::ErrorNumberOf([&] { p.DivideZero("ten", Long(2)); }), err::kTypeMismatch);
  EXPECT_EQ(testing::ErrorNumberOf([&] { p.DivideZero(Long(5), "0"); }), 11);
}

TEST(ProcsStrings, RandomStringsAreCapitalLetters) {
  qorProcs p;
  std::string s = p.GetRandomString(8);
  EXPECT_EQ(s.size(), 8u);
  EXPECT_EQ(p.GetRandomString(0), "");
  EXPECT_EQ(p.GetRandomString(-3), "");
  std::set<char> seen;
  for (char c : p.GetRandomString(2000)) {
    ASSERT_TRUE(c >= 'A' && c <= 'Z') << c;
    seen.insert(c);
  }
  EXPECT_EQ(seen.size(), 26u);
  EXPECT_NE(p.GetRandomString(20), p.GetRandomString(20));
}

TEST(ProcsStrings, CharacterRemovalAndPunctuation) {
  qorProcs p;
  EXPECT_EQ(p.RemoveAmpersand("R&&D & Co"), Variant("RD  Co"));
  EXPECT_EQ(p.RemoveBlanks(" a b  c "), Variant("abc"));
  EXPECT_EQ(p.RemoveBlanks("   "), Variant(""));
  EXPECT_TRUE(p.RemoveAmpersand(Variant::Null()).IsNull());
  EXPECT_EQ(p.RemoveAmpersand(""), Variant(""));

  EXPECT_EQ(p.RemovePunctuation("a,b"), Variant("a b"));
  EXPECT_EQ(p.RemovePunctuation("café!"), Variant("caf  "));  // é is one space
  EXPECT_EQ(p.RemovePunctuation("Tab\there\n09"), Variant("Tab here 09"));
  EXPECT_TRUE(p.RemovePunctuation("").IsNull());
}

TEST(ProcsStrings, MemoTrimDropsTrailingNonPrintables) {
  qorProcs p;
  EXPECT_EQ(p.MemoTrim("Total: 5 \r\n\t "), Variant("Total: 5"));
  EXPECT_EQ(p.MemoTrim("naïve façade\xC2\xA0é"), Variant("naïve façade"));
  EXPECT_EQ(p.MemoTrim("a~"), Variant("a~"));
  EXPECT_EQ(p.MemoTrim(" x"), Variant(" x"));
  EXPECT_EQ(testing::ErrorNumberOf([&] { p.MemoTrim(" \r\n"); }), err::kInvalidCall);
  EXPECT_EQ(testing::ErrorNumberOf([&] { p.MemoTrim(""); }), err::kInvalidCall);
  EXPECT_EQ(testing::ErrorNumberOf([&] { p.MemoTrim(Variant::Null()); }), err::kInvalidNull);
}

TEST(ProcsStrings, PaddingKeepsPadStringAsItIsAndAlignsNumbers) {
  qorProcs p;
  EXPECT_EQ(p.PadString("abc", 10, "*"), "abc");
  EXPECT_EQ(p.PadString("", 5, ""), "");
  EXPECT_EQ(p.PadNumber(Long(5), "0.00", 6), Variant("  5.00"));
  EXPECT_EQ(p.PadNumber(123456.789, "#,##0.00", 4), Variant("123,456.79"));  // never cut
  EXPECT_EQ(p.PadNumber(Variant(Date{vb::DateSerial(2003, 3, 7)}), "dd-mm-yyyy", 12),
            Variant("  07-03-2003"));
  EXPECT_EQ(p.PadNumber(0.256, "0%", 5), Variant("  26%"));
  EXPECT_EQ(p.PadNumber(Variant::Null(), "0", 3), Variant("   "));
}

TEST(ProcsStrings, LastNameIsTheLastWord) {
  qorProcs p;
  EXPECT_EQ(p.LastName("John Smith"), Variant("Smith"));
  EXPECT_EQ(p.LastName("  Cher  "), Variant("Cher"));
  EXPECT_EQ(p.LastName("Mary Ann  Lee "), Variant("Lee"));
  EXPECT_TRUE(p.LastName("   ").IsNull());
  EXPECT_TRUE(p.LastName(Variant::Null()).IsNull());
}

TEST(ProcsMemos, NextLineBreaksBetweenWords) {
  qorProcs p;
  int32_t pos = 1;
  EXPECT_EQ(p.GetNextLineFromMemo(pos, "one two three", 8), Variant("one two "));
  EXPECT_EQ(pos, 9);  // the start of "three"
  EXPECT_EQ(p.GetNextLineFromMemo(pos, "one two three", 8), Variant("three"));
  EXPECT_EQ(pos, 0);  // exhausted

  pos = 1;  // a carriage return and line feed end a line
  EXPECT_EQ(p.GetNextLineFromMemo(pos, "ab\r\ncd ef", 10), Variant("ab"));
  EXPECT_EQ(pos, 5);
  EXPECT_EQ(p.GetNextLineFromMemo(pos, "ab\r\ncd ef", 10), Variant("cd ef"));
  EXPECT_EQ(pos, 0);

  pos = 1;  // positions count characters
  EXPECT_EQ(p.GetNextLineFromMemo(pos, "héllo wörld", 6), Variant("héllo "));
  EXPECT_EQ(pos, 7);

  pos = 1;  // a word longer than the line: an empty line, the position kept
  EXPECT_EQ(p.GetNextLineFromMemo(pos, "abcdefghij klm", 5), Variant(""));
  EXPECT_EQ(pos, 1);
  pos = 5;
  EXPECT_EQ(p.GetNextLineFromMemo(pos, "ab  abcdefghij", 5), Variant(""));
  EXPECT_EQ(pos, 5);

  pos = 0;
  EXPECT_EQ(testing::ErrorNumberOf([&] { p.GetNextLineFromMemo(pos, "x", 5); }), err::kInvalidCall);
}

TEST(ProcsMemos, LinesOfAParagraphRebuildIt) {
  qorProcs p;
  const std::string text = "The quick brown fox jumps over the lazy dog and keeps running far away";
  std::string rebuilt;
  int32_t pos = 1;
  int lines = 0;
  while (pos != 0 && lines < 100) {
    std::string line = p.GetNextLineFromMemo(pos, text, 16).AsString();
    EXPECT_LE(line.size(), 17u) << line;  // 16 and the space after the last word
    ASSERT_FALSE(line.empty());
    rebuilt += line;
    ++lines;
  }
  EXPECT_EQ(rebuilt, text);
  EXPECT_EQ(lines, 5);
}

TEST(ProcsMemos, MemoGetLineDropsSpacesAndControls) {
  qorProcs p;
  Variant memo("first line\r\na b\r\n\tthird\x08!\r\n");
  EXPECT_EQ(p.MemoGetLine(memo, Long(1)), Variant("firstline"));
  EXPECT_EQ(p.MemoGetLine(memo, Long(2)), Variant("ab"));
  EXPECT_EQ(p.MemoGetLine(memo, "3"), Variant("third\x08!"));
  EXPECT_TRUE(p.MemoGetLine(memo, Long(4)).IsNull());
  EXPECT_TRUE(p.MemoGetLine(memo, Long(0)).IsNull());
  EXPECT_EQ(p.MemoGetLine("one\nlast é", Long(2), Long(40)), Variant("lasté"));
  EXPECT_TRUE(p.MemoGetLine("", Long(1)).IsNull());
  EXPECT_TRUE(p.MemoGetLine(Variant::Null(), Long(1)).IsNull());
  EXPECT_TRUE(p.MemoGetLine(memo).IsNull());  // no line asked for
}

}  // namespace
}  // namespace qor
