// Single fields read and written by key, the lock retry decision, and
// scratch databases under TEMP.
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <optional>
#include <regex>

#include "db/engine/lock_file.h"
#include "db/test_databases.h"
#include "qorsupport/db/qor_db.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/vb_date.h"

namespace qor {
namespace {

using db::test::AddItemsTable;
using db::test::NewDatabase;
using db::test::TakeBoxTexts;

class FieldDataTest : public ::testing::Test {
 protected:
  void SetUp() override {
    path_ = dir_.File("data.mdb");
    base_ = NewDatabase(path_);
    AddItemsTable(*base_);
  }

  // Reads field by key; the value, or "fail" when the read fails.
  Variant Read(const Variant& key, const std::string& key_name = "Code",
               const std::string& field = "Qty", bool verbose = false) {
    Variant out = "untouched";
    if (!db_.FieldDataReadWriteDb(out, *base_, "Order Items", key_name, key, field, false,
                                  verbose)) {
      return out.IsNull() ? Variant("fail, Null") : Variant("fail");
    }
    return out;
  }

  testing::TempDir dir_;
  testing::ScriptedUi ui_;
  std::string path_;
  std::shared_ptr<dao::Database> base_;
  qorDb db_;
};

TEST_F(FieldDataTest, ReadsByTextDateAndNumberKeysAndTheTwoWords) {
  EXPECT_EQ(Read("B2"), Long(20));
  EXPECT_EQ(Read("b2"), Long(20));  // texts compare without regard to case
  EXPECT_EQ(Read(Variant(vb::DateSerial(2003, 3, 3)), "Added"), Long(30));
  EXPECT_EQ(Read("3/2/2003", "Added"), Long(20));
  EXPECT_EQ(Read(Long(4), "Id", "Code"), Variant("C3"));
  EXPECT_EQ(Read("2", "Id", "Code"), Variant("B2"));
  EXPECT_EQ(Read(Variant(2.5), "Price", "Code"), Variant("B2"));
  EXPECT_EQ(Read(" firstRecord ", "Nope", "Code"), Variant("A1"));  // the key field is not used
  EXPECT_EQ(Read("LASTRECORD", "", "Code"), Variant("C3"));
  // Null stays Null.
  Variant out = "x";
  EXPECT_TRUE(db_.FieldDataReadWriteDb(out, *base_, "Order Items", "Code", "A1", "Note"));
  EXPECT_TRUE(out.IsNull());
  EXPECT_TRUE(TakeBoxTexts(ui_).empty());
}

TEST_F(FieldDataTest, WritesAndLeavesTheRecordAloneWhenTheWriteFails) {
  Variant qty = Long(77);
  ASSERT_TRUE(db_.FieldDataReadWriteDb(qty, *base_, "Order Items", "Code", "C3", "Qty", true));
  EXPECT_EQ(Read("C3"), Long(77));
  Variant when = Variant(vb::DateSerial(2010, 1, 2));
  ASSERT_TRUE(db_.FieldDataReadWriteDb(when, *base_, "Order Items", "Id", Long(1), "Added", true));
  EXPECT_EQ(Read(Variant(vb::DateSerial(2010, 1, 2)), "Added"), Long(10));
  // The field's rule refuses a negative quantity.
  Variant negative = Long(-5);
  EXPECT_FALSE(
      db_.FieldDataReadWriteDb(negative, *base_, "Order Items", "Code", "A1", "Qty", true, true));
  EXPECT_EQ(negative, Long(-5));
  auto texts = TakeBoxTexts(ui_);
  ASSERT_EQ(texts.size(), 1u);
  EXPECT_EQ(texts[0].rfind("ERROR  3317, FieldDataReadWriteDb()", 0), 0u) << texts[0];
  EXPECT_EQ(Read("A1"), Long(10));
}

TEST_F(FieldDataTest, MissingRecordsAndBadKeys) {
  AddItemsTable(*base_, "Empty", false);
  Variant out = "x";
  EXPECT_FALSE(
      db_.FieldDataReadWriteDb(out, *base_, "Empty", "Code", "FIRSTRECORD", "Qty", false, true));
  EXPECT_TRUE(out.IsNull());
  EXPECT_EQ(Read("ZZ", "Code", "Qty", true), Variant("fail, Null"));
  // A write leaves pFieldData alone.
  Variant data = "kept";
  EXPECT_FALSE(
      db_.FieldDataReadWriteDb(data, *base_, "Order Items", "Code", "ZZ", "Note", true, true));
  EXPECT_EQ(data, Variant("kept"));
  EXPECT_EQ(TakeBoxTexts(ui_),
            (std::vector<std::string>{"Table has no records", "Key not found", "Key not found"}));
  // A double quote in a text key breaks the criterion; nothing is escaped.
  EXPECT_EQ(Read("A\"1", "Code", "Qty", true), Variant("fail"));
  // Keys of other types are refused.
  auto t = base_->GetTableDefs()->Item("Order Items");
  t->GetFields()->Append(t->CreateField("Flag", Long(dao::kBoolean)));
  EXPECT_EQ(Read(Variant(true), "Flag", "Qty", true), Variant("fail"));
  auto texts = TakeBoxTexts(ui_);
  ASSERT_EQ(texts.size(), 2u);
  EXPECT_EQ(texts[0].rfind("ERROR  3077, FieldDataReadWriteDb()", 0), 0u) << texts[0];
  EXPECT_EQ(texts[1], "ERROR  9999, FieldDataReadWriteDb()\r\nInvalid key field type");
  EXPECT_EQ(Read("A1", "Code", "NoField"), Variant("fail"));
  EXPECT_EQ(db_.FieldDataReadWriteDb(out, *base_, "No Table", "Code", "A1", "Qty"), false);
  EXPECT_TRUE(TakeBoxTexts(ui_).empty());
}

TEST_F(FieldDataTest, ByPath) {
  base_->Close();
  Variant out;
  ASSERT_TRUE(db_.FieldDataReadWrite(out, path_, "Order Items", "Code", "B2", "Price"));
  EXPECT_EQ(out, Variant(2.5));
  out = Variant(9.25);
  ASSERT_TRUE(db_.FieldDataReadWrite(out, path_, "Order Items", "Code", "B2", "Price", true));
  Variant back;
  ASSERT_TRUE(db_.FieldDataReadWrite(back, path_, "Order Items", "Code", "B2", "Price"));
  EXPECT_EQ(back, Variant(9.25));
  EXPECT_FALSE(dao::LockFile::InUse(path_));  // closed again
  EXPECT_FALSE(db_.FieldDataReadWrite(out, dir_.File("none.mdb"), "Order Items", "Code", "B2",
                                      "Price", false, true));
  EXPECT_EQ(TakeBoxTexts(ui_), (std::vector<std::string>{"Error opening database file"}));
}

TEST(RetryLockTest, CountsWaitsAndGivesUpAfterTheFourthRetry) {
  testing::ScriptedUi ui;
  qorDb db;
  Variant count = Variant::Null();
  auto start = std::chrono::steady_clock::now();
  EXPECT_TRUE(db.RetryLock(count));
  EXPECT_EQ(count, Int16(1));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(450));
  auto events = ui->TakeEvents();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].kind, "Beep");
  for (int i = 2; i <= 4; ++i) EXPECT_TRUE(db.RetryLock(count, false));
  EXPECT_EQ(count, Int16(4));
  start = std::chrono::steady_clock::now();
  EXPECT_FALSE(db.RetryLock(count, true));  // at once, without asking
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(300));
  EXPECT_EQ(count, Int16(5));
  events = ui->TakeEvents();
  EXPECT_EQ(events.size(), 3u);  // the beeps of retries 2 to 4
  Variant long_count = Long(0);
  EXPECT_TRUE(db.RetryLock(long_count));
  EXPECT_EQ(long_count, Long(1));
}

TEST(RetryLockTest, AsksTheUserWhenToldTo) {
  testing::ScriptedUi ui;
  StoreAppName(Variant("Stock Keeper"));
  qorDb db;
  Variant count;
  ui->Queue(Long(ui::kIdCancel));
  EXPECT_FALSE(db.RetryLock(count, true));
  EXPECT_EQ(count, Int16(1));  // raised all the same
  ui->Queue(Long(ui::kIdRetry));
  EXPECT_TRUE(db.RetryLock(count, true));
  EXPECT_EQ(count, Int16(2));
  auto events = ui->TakeEvents();
  ASSERT_EQ(events.size(), 3u);
  for (int i : {0, 1}) {
    EXPECT_EQ(events[i].kind, "MsgBox");
    EXPECT_EQ(events[i].Field("text"), Variant("Data is LOCKED by another user"));
    EXPECT_EQ(events[i].Field("title"), Variant("Stock Keeper"));
    EXPECT_EQ(vb::CLng(events[i].Field("style")), 37);  // Retry/Cancel, question
  }
  EXPECT_EQ(events[2].kind, "Beep");
  StoreAppName(Variant(""));
}

using testing::ScopedEnv;

TEST(CreateTempDatabaseTest, UnderTempOrTheCurrentFolder) {
  testing::TempDir dir;
  qorDb db;
  const std::regex name("[A-Z]{8}\\.MDB");
  {
    ScopedEnv temp("TEMP", dir.path().string().c_str());
    std::shared_ptr<dao::Database> scratch;
    std::string path = "x";
    ASSERT_TRUE(db.CreateTempDatabase(scratch, path));
    EXPECT_EQ(std::filesystem::path(path).parent_path(), dir.path());
    EXPECT_TRUE(std::regex_match(std::filesystem::path(path).filename().string(), name)) << path;
    EXPECT_EQ(scratch->Name(), path);
    EXPECT_TRUE(std::filesystem::exists(path));
  }
  testing::TempDir cwd;
  auto old_cwd = std::filesystem::current_path();
  std::filesystem::current_path(cwd.path());
  {
    ScopedEnv temp("TEMP", nullptr);
    std::shared_ptr<dao::Database> scratch;
    std::string path;
    ASSERT_TRUE(db.CreateTempDatabase(scratch, path));
    EXPECT_EQ(std::filesystem::path(path).parent_path(), cwd.path());
    scratch->Close();
  }
  std::filesystem::current_path(old_cwd);
  {
    ScopedEnv temp("TEMP", dir.File("no/such/folder").c_str());
    std::shared_ptr<dao::Database> scratch;
    std::string path = "x";
    EXPECT_FALSE(db.CreateTempDatabase(scratch, path));
    EXPECT_EQ(path, "");
    EXPECT_FALSE(scratch);
  }
}

}  // namespace
}  // namespace qor
