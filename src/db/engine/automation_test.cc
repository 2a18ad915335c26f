// The engine through `qor automation`, as a script would use it.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "qorsupport/db/engine/dao.h"
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

// Computed columns come back with Jet's types through the host: Field.Type
// and the kind of Field.Value, for each group of functions and operators.
TEST(EngineAutomation, ComputedColumnsAreTyped) {
  testing::TempDir dir;
  std::string path = dir.File("typed.mdb");
  const std::vector<std::pair<std::string, std::string>> columns = {
      // conversions
      {"CCur(1.23456)", "Cur"},
      {"CInt(2.5)", "Int"},
      {"CDate(\"3/7/2003\")", "Dt"},
      {"CBool(5)", "Bool"},
      {"CByte(7)", "Byt"},
      {"CSng(1.5)", "Sng"},
      // texts
      {"UCase(\"äb\")", "Up"},
      {"Left(\"abc\", 2) & Right(\"abc\", 1)", "Lr"},
      {"\"x\" & #3/7/2003#", "Cat"},
      {"\"John\" + \"Smith\"", "Plus"},
      // dates
      {"DateSerial(2003, 3, 7) + 30", "Later"},
      {"DatePart(\"ww\", #3/7/2003#)", "Week"},
      {"DateDiff(\"d\", #3/7/2003#, #3/9/2003#)", "Days"},
      // math and operators
      {"Round(2.5)", "Rnd"},
      {"5 \\ 2", "Quot"},
      {"\"a\" = \"A\"", "Same"},
      // choices
      {"IIf(ID = 1, \"one\", \"other\")", "Pick"},
      {"IsNull(Null)", "Nul"}};
  std::string select = "SELECT ";
  for (size_t i = 0; i < columns.size(); ++i) {
    select += (i ? ", " : "") + columns[i].first + " AS " + columns[i].second;
  }
  select += " FROM T";
  std::vector<Json> requests = {
      {{"create", "DBEngine"}},  // 1
      {{"on", 1}, {"call", "CreateDatabase"}, {"args", {path, ";LANGID=0x0409;CP=1252;COUNTRY=0"}}},
      {{"on", 2}, {"call", "CreateTableDef"}, {"args", {"T"}}},   // 3
      {{"on", 3}, {"call", "CreateField"}, {"args", {"ID", 4}}},  // 4
      {{"on", 3}, {"get", "Fields"}},                             // 5
      {{"on", 5}, {"call", "Append"}, {"args", {Obj(4)}}},
      {{"on", 2}, {"get", "TableDefs"}},  // 6
      {{"on", 6}, {"call", "Append"}, {"args", {Obj(3)}}},
      {{"on", 2}, {"call", "Execute"}, {"args", {"INSERT INTO T (ID) VALUES (1)"}}},
      {{"on", 2}, {"call", "OpenRecordset"}, {"args", {select, 4}}},  // 7
      {{"on", 2},
       {"call", "OpenRecordset"},
       {"args", {"SELECT Count(*) AS N, StDev(ID) AS S, First(ID) AS F FROM T", 4}}},  // 8
  };
  const size_t first = requests.size();
  int handle = 9;
  for (const auto& [expr, name] : columns) {
    requests.push_back({{"on", 7}, {"get", "Fields"}, {"args", {name}}});
    requests.push_back({{"on", handle}, {"get", "Type"}});
    requests.push_back({{"on", handle}, {"get", "Value"}});
    ++handle;
  }
  for (const char* name : {"N", "S", "F"}) {
    requests.push_back({{"on", 8}, {"get", "Fields"}, {"args", {name}}});
    requests.push_back({{"on", handle}, {"get", "Type"}});
    ++handle;
  }
  auto r = testing::RunAutomationRequests<Json>(requests);
  ASSERT_EQ(r.size(), requests.size());
  for (const Json& reply : r) EXPECT_FALSE(reply.contains("error")) << reply.dump();
  auto type = [](int t) { return Json{{"$", "Integer"}, {"v", t}}; };
  struct Expected {
    int type;
    Json value;
  };
  const std::vector<Expected> expected = {
      {kCurrency, {{"$", "Currency"}, {"v", "1.2346"}}},
      {kInteger, {{"$", "Integer"}, {"v", 2}}},
      {kDate, {{"$", "Date"}, {"v", "2003-03-07T00:00:00"}}},
      {kBoolean, true},
      {kByte, {{"$", "Byte"}, {"v", 7}}},
      {kSingle, {{"$", "Single"}, {"v", 1.5}}},
      {kText, "ÄB"},
      {kText, "abc"},
      {kText, "x3/7/2003"},
      {kText, "JohnSmith"},
      {kDate, {{"$", "Date"}, {"v", "2003-04-06T00:00:00"}}},
      {kInteger, {{"$", "Integer"}, {"v", 10}}},
      {kLong, {{"$", "Long"}, {"v", 2}}},
      {kDouble, {{"$", "Double"}, {"v", 2.0}}},
      {kLong, {{"$", "Long"}, {"v", 2}}},
      {kBoolean, true},
      {kText, "one"},
      {kBoolean, true},
  };
  for (size_t i = 0; i < expected.size(); ++i) {
    size_t at = first + 3 * i;
    EXPECT_EQ(r[at + 1]["result"], type(expected[i].type)) << columns[i].first;
    EXPECT_EQ(r[at + 2]["result"], expected[i].value) << columns[i].first;
  }
  size_t aggregates = first + 3 * columns.size();
  EXPECT_EQ(r[aggregates + 1]["result"], type(kLong));
  EXPECT_EQ(r[aggregates + 3]["result"], type(kDouble));
  EXPECT_EQ(r[aggregates + 5]["result"], type(kLong));
}

}  // namespace
}  // namespace qor::dao
