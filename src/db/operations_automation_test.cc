// qorDb's database operations through `qor automation`, as a script uses
// them: databases handed back by reference, values read and written by key,
// a table cloned, and RetryLock's question answered from the script.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "testing/test_util.h"

namespace qor {
namespace {

using Json = nlohmann::json;

Json Obj(int handle) { return Json{{"$", "Object"}, {"v", handle}}; }
Json Nothing() { return Json{{"$", "Object"}, {"v", nullptr}}; }

TEST(DbOperationsAutomation, ScriptCreatesReadsWritesClonesAndRetries) {
  testing::TempDir dir;
  std::string path = dir.File("script");
  std::vector<Json> requests = {
      {{"create", "qorDb"}},                                                 // 1
      {{"on", 1}, {"call", "CreateDatabase"}, {"args", {Nothing(), path}}},  // db: 2
      {{"on", 1}, {"call", "CreateTable"}, {"args", {Obj(2), "Parts", "Code", 10, true}}},
      {{"on", 1}, {"call", "CreateField"}, {"args", {Obj(2), "Parts", "Qty", 4}}},
      {{"on", 2}, {"call", "Execute"}, {"args", {"INSERT INTO Parts VALUES ('A1', 5)"}}},
      {{"on", 1},
       {"call", "FieldDataReadWriteDb"},
       {"args", {nullptr, Obj(2), "Parts", "Code", "a1", "Qty"}}},
      {{"on", 1},
       {"call", "FieldDataReadWriteDb"},
       {"args", {12, Obj(2), "Parts", "Code", "A1", "Qty", true}}},
      {{"on", 1}, {"call", "CloneTable"}, {"args", {"Parts", Obj(2), Obj(2), true, "Parts Copy"}}},
      {{"on", 1},
       {"call", "FieldDataReadWriteDb"},
       {"args", {nullptr, Obj(2), "Parts Copy", "Code", "LASTRECORD", "Qty"}}},
      {{"answers", {2}}},
      {{"on", 1}, {"call", "RetryLock"}, {"args", {nullptr, true}}},
      {{"on", 1}, {"call", "OpenDatabase"}, {"args", {Nothing(), ""}}},
  };
  auto r = testing::RunAutomationRequests<Json>(requests);
  ASSERT_EQ(r.size(), requests.size());
  for (const Json& reply : r) EXPECT_FALSE(reply.contains("error")) << reply.dump();
  EXPECT_EQ(r[1]["result"], true);
  EXPECT_EQ(r[1]["byref"]["0"], Obj(2));
  EXPECT_EQ(r[2]["result"], true);
  EXPECT_EQ(r[3]["result"], true);
  EXPECT_EQ(r[5]["result"], true);
  EXPECT_EQ(r[5]["byref"]["0"], (Json{{"$", "Long"}, {"v", 5}}));
  EXPECT_EQ(r[6]["result"], true);
  EXPECT_EQ(r[7]["result"], true);
  EXPECT_EQ(r[8]["byref"]["0"], (Json{{"$", "Long"}, {"v", 12}}));
  EXPECT_EQ(r[10]["result"], false);
  EXPECT_EQ(r[10]["byref"]["0"], (Json{{"$", "Integer"}, {"v", 1}}));
  ASSERT_EQ(r[10]["ui"].size(), 1u);
  EXPECT_EQ(r[10]["ui"][0]["text"], "Data is LOCKED by another user");
  EXPECT_EQ(r[10]["ui"][0]["style"], 37);
  EXPECT_EQ(r[10]["ui"][0]["answer"], 2);
  EXPECT_EQ(r[11]["result"], false);
  EXPECT_EQ(r[11]["byref"]["0"], Nothing());
  EXPECT_EQ(r[11]["ui"][0]["text"], "Invalid Database name");
  EXPECT_TRUE(std::filesystem::exists(path + ".MDB"));
}

}  // namespace
}  // namespace qor
