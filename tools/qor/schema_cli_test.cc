// qor schema on a sample database, run as a shell script runs it, on the
// headless backend (reports on standard error).

#include <gtest/gtest.h>

#include "db/schema_test_db.h"
#include "qorsupport/db/engine/engine.h"
#include "testing/test_util.h"

namespace qor {
namespace {

testing::RunResult Qor(std::vector<std::string> args) {
  args.insert(args.begin(), {"/usr/bin/env", "QOR_UI=headless", testing::QorBinary(), "schema"});
  return testing::RunProgram(args, "");
}

class SchemaCommand : public ::testing::Test {
 protected:
  void SetUp() override {
    path_ = dir_.File("shop.MDB");
    auto db = testing::CreateShopDatabase(path_);
    testing::AddSampleActionTables(*db);
    db->Close();
  }

  testing::TempDir dir_;
  std::string path_;
};

TEST_F(SchemaCommand, ListPrintsEveryTableWithItsFieldsAndRecordCount) {
  auto r = Qor({"list", path_});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err, "");
  // Columns as wide as their widest cell (indexdname, of the action tables);
  // tables by name, each with its record count first.
  EXPECT_EQ(r.out.rfind("Table      Field       Type        Size\n", 0), 0u) << r.out;
  EXPECT_NE(r.out.find("Customers  (records)                  3\n"
                       "Customers  CustNo      dbText        10\n"
                       "Customers  Name        dbText        40\n"
                       "Customers  Balance     dbCurrency     8\n"
                       "Customers  Id          dbLong         4\n"
                       "Customers  Notes       dbMemo         0\n"
                       "History    (records)                  1\n"),
            std::string::npos)
      << r.out;
  EXPECT_NE(r.out.find("Upgrade    (records)                  2\n"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("Upgrade    fieldlen    dbInteger      2\n"), std::string::npos) << r.out;
  EXPECT_EQ(r.out.find("MSys"), std::string::npos);
}

TEST_F(SchemaCommand, DumpWritesTheStructureTableOfTheTemplates) {
  auto r = Qor({"dump", path_});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "TableStructure: 11 rows\n");
  r = Qor({"dump", path_, "Layout"});
  EXPECT_EQ(r.out, "Layout: 11 rows\n");
  auto db = dao::DBEngine::Get()->OpenDatabase(path_);
  EXPECT_EQ(db->GetTableDefs()->Item("TableStructure")->RecordCount(), 11);
  EXPECT_EQ(db->GetTableDefs()->Item("Layout")->GetFields()->Count(), 20);
  db->Close();

  // Without template tables there is nothing to write, and that is no fault.
  std::string plain = dir_.File("plain.MDB");
  auto other = dao::DBEngine::Get()->CreateDatabase(plain, dao::kLangGeneral);
  testing::AddTable(*other, "Plain", {{"X", dao::kLong}});
  other->Close();
  r = Qor({"dump", plain});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "TableStructure: no template tables, nothing written\n");
}

TEST_F(SchemaCommand, UpdateAppliesTheActionTableAndTellsFailures) {
  auto r = Qor({"update", path_, "Upgrade"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.err.find("Tables successfully updated"), std::string::npos) << r.err;
  auto db = dao::DBEngine::Get()->OpenDatabase(path_);
  EXPECT_EQ(db->GetTableDefs()->Item("Orders")->GetFields()->Item("Ref")->Size(), 12);
  EXPECT_FALSE(db->GetTableDefs()->Item("Customers")->GetFields()->Find("Notes"));
  db->Close();

  // Again: the field is there now, so the first row fails.
  r = Qor({"update", path_, "Upgrade", "--verbose"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("CreateField(), Ref"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("Error creating field Ref in table Orders"), std::string::npos) << r.err;

  r = Qor({"update", path_, "Broken"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("Table Invoices does not exist"), std::string::npos) << r.err;
  r = Qor({"update", path_, "NoSuchTable"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("ERROR "), std::string::npos) << r.err;
}

TEST_F(SchemaCommand, BadArgumentsAndMissingFilesFailClearly) {
  EXPECT_EQ(Qor({}).status, 2);
  EXPECT_EQ(Qor({"list"}).status, 2);
  EXPECT_EQ(Qor({"frobnicate", path_}).status, 2);
  EXPECT_EQ(Qor({"update", path_}).status, 2);
  EXPECT_EQ(Qor({"dump", path_, "--bogus"}).status, 2);
  auto r = Qor({"list", dir_.File("none.MDB")});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("no database file"), std::string::npos) << r.err;
  r = Qor({"dump", dir_.File("none.MDB")});
  EXPECT_EQ(r.status, 1);
  r = Qor({"--help"});
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("qor schema update DATABASE ACTIONTABLE"), std::string::npos);
}

}  // namespace
}  // namespace qor
