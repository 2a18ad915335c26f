// The pick list over a database of the engine, called late-bound.

#include <gtest/gtest.h>

#include "automation/host.h"
#include "qorsupport/db/engine/engine.h"
#include "testing/test_util.h"

namespace qor::automation {
namespace {

TEST(PickListOnEngine, ChosenRowKeyComesBackAndCancelGivesNull) {
  testing::TempDir dir;
  auto db = dao::DBEngine::Get()->CreateDatabase(dir.File("pick.mdb"), dao::kLangGeneral);
  auto table = db->CreateTableDef(Variant("Customers"));
  table->GetFields()->Append(table->CreateField(Variant("Id"), Variant(dao::kLong)));
  table->GetFields()->Append(table->CreateField(Variant("Name"), Variant(dao::kText), Variant(40)));
  db->GetTableDefs()->Append(table);
  for (int i = 1; i <= 250; ++i) {
    db->Execute("INSERT INTO Customers (Id, Name) VALUES (" + std::to_string(i) + ", \"Customer " +
                std::to_string(i) + "\")");
  }
  Host host;
  const int64_t handle = host.HandleOf(db);
  auto call = [&](const std::string& line) { return Json::parse(host.HandleLine(line)); };
  call(R"({"id":1,"create":"qorPickList"})");  // handle after the database's
  const std::string pick = R"({"id":3,"on":)" + std::to_string(handle + 1) +
                           R"(,"call":"GetPickList","args":[{"$":"Object","v":)" +
                           std::to_string(handle) +
                           R"(},"SELECT Id, Name FROM Customers ORDER BY Id","Name","Id"]})";
  call(R"({"id":2,"answers":[199]})");
  Json chosen = call(pick);
  ASSERT_FALSE(chosen.contains("error")) << chosen.dump();
  EXPECT_EQ(chosen["result"], (Json{{"$", "Long"}, {"v", 200}}));
  ASSERT_EQ(chosen["ui"].size(), 1u);
  EXPECT_EQ(chosen["ui"][0]["kind"], "List");
  EXPECT_EQ(chosen["ui"][0]["items"].size(), 250u);
  EXPECT_EQ(chosen["ui"][0]["items"][0], "Customer 1");

  call(R"({"id":4,"answers":[null]})");
  EXPECT_EQ(call(pick)["result"], nullptr);
  db->Close();
}

}  // namespace
}  // namespace qor::automation
