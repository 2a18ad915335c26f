// qor db, run as a user runs it: structures copied and tables cloned
// between real database files, progress on a long copy, and bad input
// reported without the source ever changing.

#include <gtest/gtest.h>

#include "db/test_databases.h"
#include "qorsupport/db/engine/engine.h"
#include "testing/test_util.h"

namespace qor {
namespace {

testing::RunResult Qor(std::vector<std::string> args) {
  args.insert(args.begin(), {"/usr/bin/env", "QOR_UI=headless", testing::QorBinary(), "db"});
  return testing::RunProgram(args, "");
}

class DbCommandTest : public ::testing::Test {
 protected:
  void SetUp() override {
    src_ = dir_.File("stock.mdb");
    auto db = db::test::NewDatabase(src_);
    db::test::AddItemsTable(*db);
    db::test::AddItemsTable(*db, "Big", false);
    db->Execute(
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 12000)"
        " INSERT INTO Big (Code, Qty) SELECT printf('K%05d', i), i FROM n",
        Long(dao::kSQLPassThrough));
    db->Close();
    src_bytes_ = db::test::FileBytes(src_);
  }
  void TearDown() override { EXPECT_EQ(db::test::FileBytes(src_), src_bytes_); }

  int64_t Rows(const std::string& path, const char* table) {
    return dao::DBEngine::Get()->OpenDatabase(path)->GetTableDefs()->Item(table)->RecordCount();
  }

  testing::TempDir dir_;
  std::string src_, src_bytes_;
};

TEST_F(DbCommandTest, CopyStructureOfAllOrOneTable) {
  auto r = Qor({"copy-structure", src_, dir_.File("all")});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "Big\nOrder Items\n");
  EXPECT_EQ(r.err, "qor db: created " + dir_.File("all.MDB") + "\n");
  EXPECT_EQ(Rows(dir_.File("all.MDB"), "Order Items"), 0);
  r = Qor({"copy-structure", src_, dir_.File("all.MDB"), "order items", "Items 2"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "Items 2\n");
  // The same again: the table exists, the library reports it.
  r = Qor({"copy-structure", src_, dir_.File("all.MDB"), "Order Items", "Items 2"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("ERROR  3010, CopyTable() Order Items, Note, CodeDown"), std::string::npos)
      << r.err;
}

TEST_F(DbCommandTest, CloneWithOrWithoutDataAndProgressOnALongCopy) {
  std::string dest = dir_.File("dest.mdb");
  auto r = Qor({"clone", src_, dest, "Order Items"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "Order Items\n");
  EXPECT_EQ(Rows(dest, "Order Items"), 0);
  r = Qor({"clone", "--data", src_, dest, "Order Items", "With Data"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "With Data\n");
  EXPECT_EQ(Rows(dest, "With Data"), 3);
  EXPECT_EQ(r.err.find("copying"), std::string::npos);  // a short copy is quiet
  r = Qor({"clone", src_, dest, "Big", "--data"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(Rows(dest, "Big"), 12000);
  EXPECT_NE(r.err.find("copying Big: 2000 of 12000 rows\n"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("copying Big: 12000 of 12000 rows\n"), std::string::npos) << r.err;
  // --fail-if-exists looks for the source's name in the destination.
  r = Qor({"clone", src_, dest, "Order Items", "Another", "--fail-if-exists"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("Destination table Order Items exists"), std::string::npos) << r.err;
}

TEST_F(DbCommandTest, BadInput) {
  std::string dest = dir_.File("dest.mdb");
  auto r = Qor({"clone", dir_.File("none.mdb"), dest, "Order Items"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "qor db: no such database file: " + dir_.File("none.mdb") + "\n");
  EXPECT_FALSE(std::filesystem::exists(dest));
  r = Qor({"clone", src_, dest, "Order [Items]"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("ERROR  3265, CloneTable()"), std::string::npos) << r.err;
  r = Qor({"clone", src_, dest, "Order Items", "Bad [Name]"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("CloneTable()"), std::string::npos) << r.err;
  // A destination without write permission is opened read-only.
  std::filesystem::permissions(dest, std::filesystem::perms::owner_read);
  r = Qor({"clone", src_, dest, "Order Items"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("ERROR  3027, CloneTable()"), std::string::npos) << r.err;
  EXPECT_EQ(Qor({"clone", src_, dest}).status, 2);
  EXPECT_EQ(Qor({"move", src_, dest}).status, 2);
  EXPECT_EQ(Qor({"copy-structure", src_, dest, "--data"}).status, 2);
}

}  // namespace
}  // namespace qor
