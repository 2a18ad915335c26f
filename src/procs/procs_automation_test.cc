// qorProcs as a late-bound client sees it: qor automation in a child process.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "automation/json_value.h"
#include "testing/test_util.h"

namespace qor {
namespace {

using automation::Json;

std::vector<Json> RunHost(const std::vector<Json>& requests) {
  std::string script;
  for (const Json& r : requests) script += r.dump() + "\n";
  std::vector<Json> replies = testing::RunAutomation<Json>(script);
  EXPECT_EQ(replies.size(), requests.size());
  replies.resize(requests.size());
  return replies;
}

Json Call(int id, const std::string& method, Json args) {
  return Json{{"id", id}, {"on", 1}, {"call", method}, {"args", std::move(args)}};
}

Json Typed(const std::string& kind, Json v) { return Json{{"$", kind}, {"v", std::move(v)}}; }

TEST(ProcsAutomation, MembersAnswerThroughTheHost) {
  testing::TempDir tmp;
  std::ofstream(tmp.File("old.tmp")) << "x";
  auto r = RunHost({
      Json{{"id", 0}, {"create", "qorSupport.qorProcs"}},
      Call(1, "getfileext", {"ledger.backup.MDB"}),
      Call(2, "WhereDateString", {Typed("Date", "1975-03-07T10:00:00")}),
      Call(3, "WhereDateTimestamp", {Typed("Date", "2003-03-07T14:05:09")}),
      Call(4, "IsItWeekNumOfMonth", {Typed("Integer", 4), "1/1/2005"}),
      Call(5, "GetNextLineFromMemo", {1, "one two three", Typed("Integer", 8)}),
      Call(6, "QuickSort",
           {Json{{"$", "Array"}, {"type", "Variant"}, {"bounds", {{1, 3}}}, {"v", {"b", "c", "a"}}},
            true}),
      Call(7, "PadNumber", {5, "0.00", 6}),
      Call(8, "CheckDirPath", {tmp.path().string()}),
      Call(9, "DeleteFile", {tmp.File("*.tmp")}),
      Call(10, "DeleteFile", {tmp.File("*.tmp"), true}),
      Call(11, "DayName", {7, true}),
      Call(12, "DateOfMondayInWeek", {"not a date"}),
      Call(13, "MemoTrim", {"   "}),
      Call(14, "DivideZero", {7, Typed("Empty", nullptr)}),
  });
  EXPECT_EQ(r[1]["result"], "MDB");
  EXPECT_EQ(r[2]["result"], "#3/7/2075#");
  EXPECT_EQ(r[3]["result"], "#3/7/2003 02:05:09 PM#");
  EXPECT_EQ(r[4]["result"], true);
  EXPECT_EQ(r[4]["byref"]["0"], Typed("Integer", 4));  // by reference, unchanged
  EXPECT_EQ(r[5]["result"], "one two ");
  EXPECT_EQ(r[5]["byref"]["0"], Typed("Long", 9));
  EXPECT_FALSE(r[6].contains("result"));
  EXPECT_EQ(r[6]["byref"]["0"]["v"], (Json{"c", "b", "a"}));
  EXPECT_EQ(r[7]["result"], "  5.00");
  EXPECT_EQ(r[8]["result"], true);
  EXPECT_EQ(r[9]["result"], true);
  EXPECT_FALSE(std::filesystem::exists(tmp.File("old.tmp")));
  EXPECT_EQ(r[10]["result"], false);
  ASSERT_EQ(r[10]["ui"].size(), 1u);
  EXPECT_EQ(r[10]["ui"][0]["title"], "Error Message");
  EXPECT_EQ(r[10]["ui"][0]["text"], "ERROR  53, DeleteFile()\r\nFile not found");
  EXPECT_EQ(r[11]["result"], "Sunday");
  EXPECT_EQ(r[12]["result"], nullptr);
  EXPECT_EQ(r[13]["error"]["number"], 5);  // passes to the caller, as stated
  EXPECT_EQ(r[14]["result"], Typed("Integer", 0));
}

}  // namespace
}  // namespace qor
