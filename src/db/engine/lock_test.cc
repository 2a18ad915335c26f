// Two processes on one database file: what one commits the other sees, and
// what one holds locked the other is refused at once with DAO's errors.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>

#include "db/engine/lock_file.h"
#include "qorsupport/db/engine/engine.h"
#include "qorsupport/frame/error.h"
#include "testing/test_util.h"

namespace qor::dao {
namespace {

using Child = testing::ChildProcess;

int32_t ErrorOf(const std::function<void()>& fn) {
  try {
    fn();
  } catch (const Error& error) {
    return error.number();
  }
  return 0;
}

class LockTest : public ::testing::Test {
 protected:
  void SetUp() override {
    path_ = dir_.File("shared.mdb");
    auto db = DBEngine::Get()->CreateDatabase(path_, kLangGeneral);
    auto t = db->CreateTableDef("Parts");
    t->GetFields()->Append(t->CreateField("Code", Long(kText), Long(10)));
    t->GetFields()->Append(t->CreateField("Qty", Long(kLong)));
    auto ix = t->CreateIndex("Code");
    ix->GetFields()->Append(ix->CreateField("Code"));
    ix->SetPrimary(true);
    t->GetIndexes()->Append(ix);
    db->GetTableDefs()->Append(t);
    db->Execute("INSERT INTO Parts VALUES ('A1', 1)");
    db->Execute("INSERT INTO Parts VALUES ('B2', 2)");
    db->Close();
  }
  std::shared_ptr<Database> Open() { return DBEngine::Get()->OpenDatabase(path_); }

  testing::TempDir dir_;
  std::string path_;
};

TEST_F(LockTest, ALockedRecordFailsAtOnceUntilTheHolderLetsGo) {
  auto db = Open();
  auto rs = db->OpenRecordset("Parts", Long(kOpenDynaset));
  Child child([&](Child& self) {
    auto mine = DBEngine::Get()->OpenDatabase(path_);
    auto r = mine->OpenRecordset("Parts", Long(kOpenDynaset));
    r->FindFirst("Code = 'A1'");
    r->Edit();
    self.Ready();
    self.AwaitGo();
  });
  ASSERT_TRUE(child.AwaitReady());
  rs->FindFirst("Code = 'A1'");
  auto start = std::chrono::steady_clock::now();
  try {
    rs->Edit();
    FAIL() << "the record was not locked";
  } catch (const Error& error) {
    EXPECT_EQ(error.number(), e::kLockedByUser);
    EXPECT_NE(error.description().find("Could not update; currently locked by user 'Admin'"),
              std::string::npos);
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
  EXPECT_EQ(ErrorOf([&] { rs->Delete(); }), e::kLockedByUser);
  rs->FindFirst("Code = 'B2'");
  rs->Edit();  // other records are free
  rs->CancelUpdate();
  EXPECT_EQ(child.Wait(), 0);
  rs->FindFirst("Code = 'A1'");
  rs->Edit();  // the lock went with the process
  rs->GetFields()->Item("Qty")->SetValue(Long(10));
  rs->Update();
}

TEST_F(LockTest, CommittedChangesAreSeenByTheOtherProcess) {
  auto db = Open();
  auto rs = db->OpenRecordset("Parts", Long(kOpenDynaset));
  EXPECT_EQ(db->GetTableDefs()->Count(), 5);  // Parts and the four catalog tables
  Child child([&](Child&) {
    auto mine = DBEngine::Get()->OpenDatabase(path_);
    mine->Execute("INSERT INTO Parts VALUES ('C3', 3)");
    auto t = mine->CreateTableDef("Orders");
    t->GetFields()->Append(t->CreateField("No", Long(kLong)));
    mine->GetTableDefs()->Append(t);
  });
  ASSERT_EQ(child.Wait(), 0);
  rs->FindFirst("Code = 'C3'");
  EXPECT_FALSE(rs->NoMatch());
  EXPECT_EQ(rs->Value("Qty"), Long(3));
  EXPECT_EQ(db->GetTableDefs()->Item("Orders")->GetFields()->Item("No")->Type(), kLong);
}

TEST_F(LockTest, AnOpenTransactionElsewhereLocksWritersOut) {
  Child child([&](Child& self) {
    auto mine = DBEngine::Get()->OpenDatabase(path_);
    DBEngine::Get()->BeginTrans();
    mine->Execute("UPDATE Parts SET Qty = 99 WHERE Code = 'A1'");
    self.Ready();
    self.AwaitGo();
    DBEngine::Get()->Rollback();
  });
  ASSERT_TRUE(child.AwaitReady());
  auto db = Open();  // opened after the fork: the child's engine must not see it
  auto rs = db->OpenRecordset("Parts");
  EXPECT_EQ(rs->Value("Qty"), Long(1));  // uncommitted work is not seen
  rs->Edit();
  rs->GetFields()->Item("Qty")->SetValue(Long(5));
  EXPECT_EQ(ErrorOf([&] { rs->Update(); }), e::kLocked);
  rs->CancelUpdate();
  EXPECT_EQ(ErrorOf([&] { db->Execute("DELETE * FROM Parts"); }), e::kLocked);
  EXPECT_EQ(child.Wait(), 0);
  db->Execute("UPDATE Parts SET Qty = 5 WHERE Code = 'A1'");
  EXPECT_EQ(db->RecordsAffected(), 1);
}

TEST_F(LockTest, ARecordChangedDuringEditIsNotOverwritten) {
  auto db = Open();
  auto rs = db->OpenRecordset("Parts", Long(kOpenDynaset));
  rs->Edit();
  rs->GetFields()->Item("Qty")->SetValue(Long(50));
  Child child([&](Child&) {
    DBEngine::Get()->OpenDatabase(path_)->Execute("UPDATE Parts SET Qty = 7 WHERE Code = 'A1'");
  });
  ASSERT_EQ(child.Wait(), 0);
  EXPECT_EQ(ErrorOf([&] { rs->Update(); }), e::kChangedByOther);
  EXPECT_EQ(rs->Value("Qty"), Long(7));
}

TEST_F(LockTest, ExclusiveDatabasesAndDeniedTables) {
  {
    Child child([&](Child& self) {
      auto mine = DBEngine::Get()->OpenDatabase(path_, Variant(true));
      self.Ready();
      self.AwaitGo();
    });
    ASSERT_TRUE(child.AwaitReady());
    EXPECT_EQ(ErrorOf([&] { Open(); }), e::kFileInUse);
    EXPECT_TRUE(LockFile::InUse(path_));
  }
  EXPECT_FALSE(LockFile::InUse(path_));
  auto db = Open();
  Child child([&](Child& self) {
    auto mine = DBEngine::Get()->OpenDatabase(path_);
    auto r = mine->OpenRecordset("Parts", Long(kOpenTable), Long(kDenyRead));
    self.Ready();
    self.AwaitGo();
  });
  ASSERT_TRUE(child.AwaitReady());
  EXPECT_EQ(ErrorOf([&] { db->OpenRecordset("Parts"); }), e::kTableLockedByUser);
  EXPECT_EQ(ErrorOf([&] { db->GetTableDefs()->Delete("Parts"); }), e::kTableInUse);
  EXPECT_EQ(child.Wait(), 0);
  EXPECT_EQ(db->OpenRecordset("Parts")->RecordCount(), 2);
}

}  // namespace
}  // namespace qor::dao
