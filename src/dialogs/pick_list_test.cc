// The pick list over a real SQLite database file, read through the
// PickDatabase interface with the sqlite3 C API.

#include "qorsupport/dialogs/pick_list.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "qorsupport/frame/error.h"
#include "testing/test_util.h"

namespace qor {
namespace {

class SqliteRecordset : public PickRecordset {
 public:
  SqliteRecordset(sqlite3* db, const std::string& sql, int* closes) : closes_(closes) {
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt_, nullptr) != SQLITE_OK) {
      Raise(3078, "DAO.Database", sqlite3_errmsg(db));
    }
    Step();
    bof_ = eof_;
  }
  ~SqliteRecordset() override { sqlite3_finalize(stmt_); }
  bool Bof() override { return bof_; }
  bool Eof() override { return eof_; }
  void MoveFirst() override {}
  void MoveNext() override { Step(); }
  Variant Field(const std::string& name) override {
    for (int i = 0; i < sqlite3_column_count(stmt_); ++i) {
      if (name != sqlite3_column_name(stmt_, i)) continue;
      switch (sqlite3_column_type(stmt_, i)) {
        case SQLITE_NULL:
          return Variant::Null();
        case SQLITE_INTEGER:
          return Variant(static_cast<int32_t>(sqlite3_column_int(stmt_, i)));
        case SQLITE_FLOAT:
          return Variant(sqlite3_column_double(stmt_, i));
        default:
          return Variant(std::string(reinterpret_cast<const char*>(sqlite3_column_text(stmt_, i))));
      }
    }
    Raise(3265, "DAO.Fields", "Item not found in this collection.");
  }
  void Close() override { ++*closes_; }

 private:
  void Step() { eof_ = sqlite3_step(stmt_) != SQLITE_ROW; }
  sqlite3_stmt* stmt_ = nullptr;
  bool bof_ = false;
  bool eof_ = false;
  int* closes_;
};

class SqliteDatabase : public PickDatabase {
 public:
  explicit SqliteDatabase(const std::string& path) { sqlite3_open(path.c_str(), &db_); }
  ~SqliteDatabase() override { sqlite3_close(db_); }
  void Exec(const std::string& sql) {
    ASSERT_EQ(sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sql;
  }
  std::unique_ptr<PickRecordset> OpenRecordset(const std::string& source) override {
    return std::make_unique<SqliteRecordset>(db_, source, &closes);
  }
  int closes = 0;

 private:
  sqlite3* db_ = nullptr;
};

class PickListTest : public ::testing::Test {
 protected:
  void SetUp() override {
    db_.Exec("CREATE TABLE Customers (Id INTEGER, Name TEXT)");
    db_.Exec("BEGIN");
    for (int i = 1; i <= 250; ++i) {
      db_.Exec("INSERT INTO Customers VALUES (" + std::to_string(1000 + i) + ", 'Customer " +
               std::to_string(i) + "')");
    }
    db_.Exec("INSERT INTO Customers VALUES (NULL, 'Nobody')");
    db_.Exec("INSERT INTO Customers VALUES (7, NULL)");
    db_.Exec("COMMIT");
  }
  testing::TempDir dir_;
  SqliteDatabase db_{dir_.File("pick.db")};
  testing::ScriptedUi ui_;
  qorPickList pick_;
  std::string key_ = "Id";
};

TEST_F(PickListTest, ChoosesAmong250RowsAndReturnsTheKey) {
  ui_->Queue(Variant(249));
  Variant got = pick_.GetPickList(db_, "SELECT * FROM Customers WHERE Id > 1000 ORDER BY Id",
                                  "Name", key_, true);
  EXPECT_EQ(got, Variant(int32_t{1250}));
  EXPECT_EQ(key_, "Id");
  EXPECT_EQ(pick_.LastCount(), 250);
  EXPECT_EQ(pick_.LastCapacity(), 300);  // grew twice
  EXPECT_EQ(db_.closes, 1);
  auto events = ui_->TakeEvents();
  ASSERT_EQ(events.size(), 1u);
  const Array& items = events[0].Field("items").AsArray();
  EXPECT_EQ(items.ElementCount(), 250);
  EXPECT_EQ(items.At({0}), Variant("Customer 1"));
  EXPECT_EQ(events[0].Field("multi"), Variant(false));

  // Cancel gives Null.
  EXPECT_EQ(pick_.GetPickList(db_, "SELECT * FROM Customers WHERE Id > 1000", "Name", key_),
            Variant::Null());
}

TEST_F(PickListTest, OneRowStillShowsTheList) {
  ui_->Queue(Variant(0));
  EXPECT_EQ(pick_.GetPickList(db_, "SELECT * FROM Customers WHERE Id = 1001", "Name", key_),
            Variant(int32_t{1001}));
  // A Null key cannot be told from a cancel.
  ui_->Queue(Variant(0));
  EXPECT_EQ(pick_.GetPickList(db_, "SELECT * FROM Customers WHERE Name = 'Nobody'", "Name", key_),
            Variant::Null());
  EXPECT_EQ(ui_->TakeEvents().size(), 2u);
}

TEST_F(PickListTest, EmptyResultReportedOnlyWhenVerbose) {
  EXPECT_EQ(pick_.GetPickList(db_, "SELECT * FROM Customers WHERE Id = 0", "Name", key_),
            Variant::Null());
  EXPECT_TRUE(ui_->TakeEvents().empty());
  EXPECT_EQ(pick_.GetPickList(db_, "SELECT * FROM Customers WHERE Id = 0", "Name", key_, true),
            Variant::Null());
  auto events = ui_->TakeEvents();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].Field("text"), Variant("Empty recordset"));
  EXPECT_EQ(db_.closes, 2);
}

TEST_F(PickListTest, FailuresEndTheCallWithNullAndAreReportedWhenVerbose) {
  // A Null display value cannot be converted to text.
  EXPECT_EQ(pick_.GetPickList(db_, "SELECT * FROM Customers WHERE Id = 7", "Name", key_, true),
            Variant::Null());
  auto events = ui_->TakeEvents();
  ASSERT_EQ(events.size(), 1u);  // the error box, no list
  EXPECT_EQ(events[0].kind, "MsgBox");
  EXPECT_EQ(events[0].Field("title"), Variant("Error Message"));
  EXPECT_NE(events[0].Field("text").AsString().find("qorPicklist.GetPickList()"),
            std::string::npos);
  EXPECT_NE(events[0].Field("text").AsString().find("94"), std::string::npos);

  // A missing field fails on the first record with the engine's error.
  EXPECT_EQ(pick_.GetPickList(db_, "Customers", "Name", key_, true), Variant::Null());
  events = ui_->TakeEvents();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_NE(events[0].Field("text").AsString().find("3078"), std::string::npos);
  std::string missing = "NoSuchField";
  EXPECT_EQ(pick_.GetPickList(db_, "SELECT * FROM Customers", "Name", missing, false),
            Variant::Null());
  EXPECT_TRUE(ui_->TakeEvents().empty());  // silent without Verbose
  EXPECT_EQ(db_.closes, 2);                // every opened recordset was closed
}

}  // namespace
}  // namespace qor
