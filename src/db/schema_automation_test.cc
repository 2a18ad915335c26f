// The structure table and the schema update through `qor automation`, as a
// script would drive them.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "db/schema_test_db.h"
#include "testing/test_util.h"

namespace qor {
namespace {

using Json = nlohmann::json;

Json Obj(int handle) { return Json{{"$", "Object"}, {"v", handle}}; }

TEST(SchemaAutomation, ScriptDumpsListsAndUpdates) {
  testing::TempDir dir;
  std::string path = dir.File("shop.MDB");
  std::string listing = dir.File("listing.MDB");
  auto db = testing::CreateShopDatabase(path);
  testing::AddSampleActionTables(*db);
  db->Close();

  // Handles count up from 1 for each new object.
  std::vector<Json> requests = {
      {{"create", "DBEngine"}},                                 // 1
      {{"on", 1}, {"call", "OpenDatabase"}, {"args", {path}}},  // 2
      {{"create", "qorDb"}},                                    // 3
      {{"on", 3}, {"call", "DumpAllTableStructuresToTable"}, {"args", {Obj(2)}}},
      {{"on", 2}, {"get", "TableDefs"}},                   // 4
      {{"on", 4}, {"get", "Item"}, {"args", {"Orders"}}},  // 5
      {{"on", 3},
       {"call", "DumpTableStructureToTable"},
       {"args", {Obj(2), Obj(5), " OrdersOnly ", false, true}}},
      {{"on", 4}, {"get", "Item"}, {"args", {"ordersonly"}}},  // 6
      {{"on", 6}, {"get", "RecordCount"}},
      {{"on", 3}, {"call", "FieldTypeString"}, {"args", {10}}},
      {{"on", 3}, {"call", "UpdateTables"}, {"args", {Obj(2), "Upgrade", false}}},
      {{"on", 3}, {"call", "UpdateTables"}, {"args", {Obj(2), "Broken", true}}},
      {{"on", 3}, {"call", "DumpTablesStructure"}, {"args", {listing, path}}},
      {{"on", 3}, {"call", "DumpTablesStructure"}, {"args", {"", path, true}}},
      {{"on", 3}, {"call", "CheckFieldExists"}, {"args", {Obj(2), "Orders", "Ref"}}},
  };
  auto r = testing::RunAutomationRequests<Json>(requests);
  ASSERT_EQ(r.size(), requests.size());
  for (const Json& reply : r) EXPECT_FALSE(reply.contains("error")) << reply.dump();
  EXPECT_EQ(r[3]["result"], true);
  EXPECT_EQ(r[6]["result"], true);
  EXPECT_EQ(r[8]["result"], (Json{{"$", "Long"}, {"v", 4}}));
  EXPECT_EQ(r[9]["result"], "dbText");
  EXPECT_EQ(r[10]["result"], (Json{{"$", "Empty"}}));
  ASSERT_EQ(r[10]["ui"].size(), 1u);
  EXPECT_EQ(r[10]["ui"][0]["text"], "Tables successfully updated");
  ASSERT_EQ(r[11]["ui"].size(), 1u);
  EXPECT_EQ(r[11]["ui"][0]["text"], "Table Invoices does not exist");
  EXPECT_EQ(r[12]["result"], true);
  EXPECT_EQ(r[13]["result"], false);
  EXPECT_EQ(r[13]["ui"][0]["text"], "Invalid database name");
  EXPECT_EQ(r[14]["result"], true);
  EXPECT_TRUE(std::filesystem::exists(listing));
}

}  // namespace
}  // namespace qor
