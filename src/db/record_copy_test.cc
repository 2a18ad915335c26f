// Copying one record between recordsets, by key or as the current records,
// and riding out another process's locks through RetryLock.
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "db/test_databases.h"
#include "qorsupport/db/qor_db.h"
#include "qorsupport/frame/vb_date.h"

namespace qor {
namespace {

using db::test::AddItemsTable;
using db::test::NewDatabase;
using db::test::TakeBoxTexts;
using testing::ChildProcess;

class RecordCopyTest : public ::testing::Test {
 protected:
  void SetUp() override {
    src_path_ = dir_.File("src.mdb");
    dest_path_ = dir_.File("dest.mdb");
    auto src = NewDatabase(src_path_);
    AddItemsTable(*src);
    DropCounter(*src);
    AddCounted(*src, true);
    src->Close();
    auto dest = NewDatabase(dest_path_);
    AddItemsTable(*dest, "Order Items", false);
    DropCounter(*dest);
    AddCounted(*dest, false);
    // The destination holds B2 with other values, and lacks Note.
    dest->Execute("INSERT INTO [Order Items] (Code, Qty, Price) VALUES ('B2', 99, 9.5)");
    dest->GetTableDefs()->Item("Order Items")->GetFields()->Delete("Note");
    dest->Close();
    Open();
  }
  // A counter cannot be set on a record in edit (3164), so the tables that
  // records are copied over in have none.
  static void DropCounter(dao::Database& db) {
    auto t = db.GetTableDefs()->Item("Order Items");
    t->GetIndexes()->Delete("PK");
    t->GetFields()->Delete("Id");
  }
  // Counted: Id (counter), Name (Text); the source's row is Id 7, "seven".
  static void AddCounted(dao::Database& db, bool with_row) {
    auto t = db.CreateTableDef("Counted");
    auto id = db::test::NewField(*t, "Id", dao::kLong);
    id->SetAttributes(id->Attributes() | dao::kAutoIncrField);
    t->GetFields()->Append(id);
    t->GetFields()->Append(db::test::NewField(*t, "Name", dao::kText, 20));
    db.GetTableDefs()->Append(t);
    if (with_row) db.Execute("INSERT INTO Counted (Id, Name) VALUES (7, 'seven')");
  }
  void Open() {
    src_ = dao::DBEngine::Get()->OpenDatabase(src_path_);
    dest_ = dao::DBEngine::Get()->OpenDatabase(dest_path_);
    from_ = src_->OpenRecordset("Order Items", Long(dao::kOpenDynaset));
    to_ = dest_->OpenRecordset("Order Items", Long(dao::kOpenDynaset));
  }

  // The destination's row of code as "Qty Price Added", or "none".
  std::string DestRow(const char* code) {
    auto rs = dest_->OpenRecordset("SELECT * FROM [Order Items] WHERE Code = '" +
                                   std::string(code) + "'");
    if (rs->Eof()) return "none";
    return vb::ConcatText(rs->Value("Qty")) + " " + vb::ConcatText(rs->Value("Price")) + " " +
           vb::ConcatText(rs->Value("Added"));
  }

  testing::TempDir dir_;
  testing::ScriptedUi ui_;
  std::string src_path_, dest_path_;
  std::shared_ptr<dao::Database> src_, dest_;
  std::shared_ptr<dao::Recordset> from_, to_;
  qorDb db_;
};

TEST_F(RecordCopyTest, AddsAMissingRecordAndOverwritesAnExistingOne) {
  // C3 is missing: added with its key; Note, which the destination lacks,
  // is passed over.
  ASSERT_TRUE(db_.CopyRecord(*from_, *to_, "Code", "c3"));
  EXPECT_EQ(DestRow("C3"), "30 3.5 3/3/2003");
  // B2 is there: every field but the key overwritten.
  ASSERT_TRUE(db_.CopyRecord(*from_, *to_, "code", "B2", false, false, true));
  EXPECT_EQ(DestRow("B2"), "20 2.5 3/2/2003");
  EXPECT_TRUE(TakeBoxTexts(ui_).empty());
}

TEST_F(RecordCopyTest, ANewRecordTakesTheCounterValue) {
  auto from = src_->OpenRecordset("Counted", Long(dao::kOpenDynaset));
  auto to = dest_->OpenRecordset("Counted", Long(dao::kOpenDynaset));
  ASSERT_TRUE(db_.CopyRecord(*from, *to, "Name", "seven"));
  auto rs = dest_->OpenRecordset("Counted");
  EXPECT_EQ(rs->Value("Id"), Long(7));
  EXPECT_EQ(rs->Value("Name"), Variant("seven"));
}

TEST_F(RecordCopyTest, TheTwoRulesAndAKeyThatIsNotThere) {
  EXPECT_FALSE(db_.CopyRecord(*from_, *to_, "Code", "B2", false, true, false));
  EXPECT_FALSE(db_.CopyRecord(*from_, *to_, "Code", "B2", true, true, true));  // the first rule
  EXPECT_FALSE(db_.CopyRecord(*from_, *to_, "Code", "A1", true, false, true));
  EXPECT_EQ(TakeBoxTexts(ui_), (std::vector<std::string>{"Destination record exists",
                                                         "Destination record does NOT exist"}));
  EXPECT_EQ(DestRow("B2"), "99 9.5 ");
  EXPECT_EQ(DestRow("A1"), "none");
  EXPECT_FALSE(db_.CopyRecord(*from_, *to_, "Code", "ZZ", false, false, true));
  EXPECT_TRUE(TakeBoxTexts(ui_).empty());
  ASSERT_TRUE(db_.CopyRecord(*from_, *to_, "Code", "A1", false, true));
  EXPECT_EQ(DestRow("A1"), "10 1.5 3/1/2003");
}

TEST_F(RecordCopyTest, DateAndNumberKeys) {
  ASSERT_TRUE(db_.CopyRecord(*from_, *to_, "Added", Variant(vb::DateSerial(2003, 3, 1))));
  EXPECT_EQ(DestRow("A1"), "10 1.5 3/1/2003");
  ASSERT_TRUE(db_.CopyRecord(*from_, *to_, "Qty", "30"));
  EXPECT_EQ(DestRow("C3"), "30 3.5 3/3/2003");
}

TEST_F(RecordCopyTest, WithoutAKeyTheCurrentRecordsAndTheKeyToo) {
  from_->FindFirst("[Code] = 'A1'");
  to_->FindFirst("[Code] = 'B2'");
  ASSERT_TRUE(db_.CopyRecord(*from_, *to_, "Code", Variant::Null(), true, true));
  EXPECT_EQ(DestRow("A1"), "10 1.5 3/1/2003");
  EXPECT_EQ(DestRow("B2"), "none");
}

TEST_F(RecordCopyTest, AFaultyCriterionIsRetriedThenReported) {
  // A double quote in a text key: the engine's error is not a lock, but
  // RetryLock is asked all the same before the copy gives up.
  EXPECT_FALSE(db_.CopyRecord(*from_, *to_, "Code", "A\"1", false, false, true));
  auto events = ui_->TakeEvents();
  ASSERT_EQ(events.size(), 5u);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(events[i].kind, "Beep");
  EXPECT_EQ(events[4].Field("text").AsString().rfind("ERROR  3077, CopyRecord()", 0), 0u);
}

// Another process holds the destination's B2 in edit for hold, then lets go
// (forever: until the test ends).
class LockedRecordTest : public RecordCopyTest {
 protected:
  void Hold(std::chrono::milliseconds hold) {
    other_ = std::make_unique<ChildProcess>([this, hold](ChildProcess& self) {
      auto mine = dao::DBEngine::Get()->OpenDatabase(dest_path_);
      auto rs = mine->OpenRecordset("Order Items", Long(dao::kOpenDynaset));
      rs->FindFirst("[Code] = 'B2'");
      rs->Edit();
      self.Ready();
      if (hold.count() > 0) {
        std::this_thread::sleep_for(hold);
      } else {
        self.AwaitGo();
      }
    });
    ASSERT_TRUE(other_->AwaitReady());
  }
  void TearDown() override {
    if (other_) {
      EXPECT_EQ(other_->Wait(), 0);
    }
  }

  std::unique_ptr<ChildProcess> other_;
};

TEST_F(LockedRecordTest, CopyRecordWaitsForALockThatGoes) {
  Hold(std::chrono::milliseconds(900));
  auto start = std::chrono::steady_clock::now();
  ASSERT_TRUE(db_.CopyRecord(*from_, *to_, "Code", "B2", false, false, true));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(900));
  EXPECT_EQ(DestRow("B2"), "20 2.5 3/2/2003");
  auto events = ui_->TakeEvents();
  EXPECT_GE(events.size(), 1u);
  for (const auto& event : events) EXPECT_EQ(event.kind, "Beep");  // no report
}

TEST_F(LockedRecordTest, CopyRecordGivesUpAfterTheFourthRetry) {
  Hold(std::chrono::milliseconds(0));
  EXPECT_FALSE(db_.CopyRecord(*from_, *to_, "Code", "B2", false, false, true));
  auto events = ui_->TakeEvents();
  ASSERT_EQ(events.size(), 5u);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(events[i].kind, "Beep");
  EXPECT_EQ(events[4].Field("text").AsString().rfind(
                "ERROR  3260, CopyRecord()\r\nCould not update; currently locked by user", 0),
            0u)
      << events[4].Field("text").AsString();
  other_->Wait();
  EXPECT_EQ(DestRow("B2"), "99 9.5 ");
}

TEST_F(LockedRecordTest, ACallersRetryLoop) {
  Hold(std::chrono::milliseconds(700));
  to_->FindFirst("[Code] = 'B2'");
  Variant count = Variant::Null();
  int failures = 0;
  for (;;) {
    try {
      to_->Edit();
      break;
    } catch (const Error& error) {
      EXPECT_EQ(error.number(), dao::e::kLockedByUser);
      ++failures;
      ASSERT_TRUE(db_.RetryLock(count)) << "gave up while the lock was to go";
    }
  }
  EXPECT_GE(failures, 1);
  EXPECT_EQ(vb::CLng(count), failures);
  to_->GetFields()->Item("Qty")->SetValue(Long(5));
  to_->Update();
  EXPECT_EQ(DestRow("B2"), "5 9.5 ");
}

// Another process keeps a write transaction open on the destination: the
// table cannot be written until it ends.
TEST_F(RecordCopyTest, ALockedTableIsWaitedForToo) {
  ChildProcess other([&](ChildProcess& self) {
    auto mine = dao::DBEngine::Get()->OpenDatabase(dest_path_);
    dao::DBEngine::Get()->BeginTrans();
    mine->Execute("UPDATE [Order Items] SET Qty = 98 WHERE Code = 'B2'");
    self.Ready();
    std::this_thread::sleep_for(std::chrono::milliseconds(900));
    dao::DBEngine::Get()->Rollback();
  });
  ASSERT_TRUE(other.AwaitReady());
  ASSERT_TRUE(db_.CopyRecord(*from_, *to_, "Code", "C3", false, false, true));
  EXPECT_EQ(other.Wait(), 0);
  EXPECT_EQ(DestRow("C3"), "30 3.5 3/3/2003");
  EXPECT_EQ(DestRow("B2"), "99 9.5 ");
}

}  // namespace
}  // namespace qor
