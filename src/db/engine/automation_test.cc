// The engine through `qor automation`, as a script would use it.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "testing/test_util.h"

namespace qor::dao {
namespace {

using Json = nlohmann::json;

Json Obj(int handle) { return Json{{"$", "Object"}, {"v", handle}}; }

TEST(EngineAutomation, ScriptCreatesWalksAndWritesADatabase) {
  testing::TempDir dir;
  std::string path = dir.File("auto.mdb");
  // Handles count up from 1 for each new object; the same object keeps its
  // handle.
  std::vector<Json> requests = {
      {{"create", "DBEngine"}},  // handle 1
      {{"on", 1}, {"call", "CreateDatabase"}, {"args", {path, ";LANGID=0x0409;CP=1252;COUNTRY=0"}}},
      {{"on", 2}, {"call", "CreateTableDef"}, {"args", {"Parts"}}},     // 3
      {{"on", 3}, {"call", "CreateField"}, {"args", {"Code", 10, 8}}},  // 4
      {{"on", 3}, {"get", "Fields"}},                                   // 5
      {{"on", 5}, {"call", "Append"}, {"args", {Obj(4)}}},
      {{"on", 2}, {"get", "TableDefs"}},  // 6
      {{"on", 6}, {"call", "Append"}, {"args", {Obj(3)}}},
      {{"on", 2}, {"call", "OpenRecordset"}, {"args", {"Parts", 2}}},  // 7
      {{"on", 7}, {"call", "AddNew"}},
      {{"on", 7}, {"get", "Fields"}, {"args", {"code"}}},  // 8
      {{"on", 8}, {"set", "Value"}, {"value", "A1"}},
      {{"on", 7}, {"call", "Update"}},
      {{"on", 7}, {"call", "FindFirst"}, {"args", {"[Code] = \"a1\""}}},
      {{"on", 7}, {"get", "NoMatch"}},
      {{"on", 8}, {"get", "Value"}},
      {{"on", 6}, {"get", "Count"}},
      {{"on", 6}, {"get", "Item"}, {"args", {"parts"}}},  // the same TableDef: 3
      {{"on", 3}, {"get", "RecordCount"}},
      {{"on", 6}, {"get", "Item"}, {"args", {"Nope"}}},
      {{"on", 8}, {"set", "Value"}, {"value", "B2"}},
      {{"on", 7}, {"call", "FindFirst"}, {"args", {"[Code] = \"A1"}}},
  };
  auto r = testing::RunAutomationRequests<Json>(requests);
  ASSERT_EQ(r.size(), requests.size());
  for (size_t i = 0; i < 19; ++i) EXPECT_FALSE(r[i].contains("error")) << r[i].dump();
  EXPECT_EQ(r[1]["result"], Obj(2));
  EXPECT_EQ(r[14]["result"], false);
  EXPECT_EQ(r[15]["result"], "A1");
  EXPECT_EQ(r[16]["result"], (Json{{"$", "Integer"}, {"v", 5}}));  // Parts and the catalog
  EXPECT_EQ(r[17]["result"], Obj(3));
  EXPECT_EQ(r[18]["result"], (Json{{"$", "Long"}, {"v", 1}}));
  EXPECT_EQ(r[19]["error"]["number"], 3265);
  EXPECT_EQ(r[19]["error"]["description"], "Item not found in this collection.");
  EXPECT_EQ(r[20]["error"]["number"], 3020);
  EXPECT_EQ(r[21]["error"]["number"], 3077);
}

}  // namespace
}  // namespace qor::dao
