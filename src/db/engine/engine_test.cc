// The object model walked through a real database file.
#include "qorsupport/db/engine/engine.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>

#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb_date.h"
#include "testing/test_util.h"

namespace qor::dao {
namespace {

// Expects statement to raise the engine error expected.
#define EXPECT_DAO_ERROR(statement, expected)                     \
  do {                                                            \
    try {                                                         \
      statement;                                                  \
      ADD_FAILURE() << "no error from " #statement;               \
    } catch (const Error& error) {                                \
      EXPECT_EQ(error.number(), expected) << error.description(); \
    }                                                             \
  } while (0)

std::shared_ptr<Field> NewField(TableDef& t, const char* name, int type, int size = 0) {
  return t.CreateField(name, Long(type), Long(size));
}

// A database with the table Parts: Code (Text 10, primary key), Qty (Long,
// rule >= 0), Price (Currency), Added (Date), Id (counter), Notes (Memo,
// zero-length allowed), Kind (Text, required, default "std").
class EngineTest : public ::testing::Test {
 protected:
  void SetUp() override {
    path_ = dir_.File("stock.MDB");
    db_ = DBEngine::Get()->CreateDatabase(path_, kLangGeneral);
    auto t = db_->CreateTableDef("Parts");
    t->GetFields()->Append(NewField(*t, "Code", kText, 10));
    auto qty = NewField(*t, "Qty", kLong);
    qty->SetValidationRule(">= 0");
    qty->SetValidationText("Qty must not be negative");
    t->GetFields()->Append(qty);
    t->GetFields()->Append(NewField(*t, "Price", kCurrency));
    t->GetFields()->Append(NewField(*t, "Added", kDate));
    auto id = NewField(*t, "Id", kLong);
    id->SetAttributes(id->Attributes() | kAutoIncrField);
    t->GetFields()->Append(id);
    auto notes = NewField(*t, "Notes", kMemo);
    notes->SetAllowZeroLength(true);
    t->GetFields()->Append(notes);
    auto kind = NewField(*t, "Kind", kText, 5);
    kind->SetRequired(true);
    kind->SetDefaultValue("\"std\"");
    t->GetFields()->Append(kind);
    auto pk = t->CreateIndex("PrimaryKey");
    pk->GetFields()->Append(pk->CreateField("Code"));
    pk->SetPrimary(true);
    pk->SetUnique(true);
    t->GetIndexes()->Append(pk);
    db_->GetTableDefs()->Append(t);
  }

  void AddPart(Recordset& rs, const char* code, int qty) {
    rs.AddNew();
    rs.GetFields()->Item("Code")->SetValue(code);
    rs.GetFields()->Item("qty")->SetValue(Long(qty));
    rs.Update();
  }

  std::shared_ptr<Database> Reopen() {
    db_->Close();
    db_ = DBEngine::Get()->OpenDatabase(path_);
    return db_;
  }

  testing::TempDir dir_;
  std::string path_;
  std::shared_ptr<Database> db_;
};

TEST_F(EngineTest, SchemaIsStoredWithDaoTypesAndProperties) {
  Reopen();
  auto tables = db_->GetTableDefs();
  auto parts = tables->Item("PARTS");  // names match without regard to case
  EXPECT_EQ(parts->Name(), "Parts");
  EXPECT_DAO_ERROR(tables->Item("Parts2"), e::kItemNotFound);
  EXPECT_DAO_ERROR(tables->Item(Long(99)), e::kItemNotFound);
  EXPECT_EQ(parts->Attributes(), 0);
  // The catalog tables are there, flagged as system objects.
  auto columns = tables->Item("MSysColumns");
  EXPECT_EQ(columns->Attributes(), kSystemObject);

  auto fields = parts->GetFields();
  ASSERT_EQ(fields->Count(), 7);
  EXPECT_EQ(fields->Item(Long(0))->Name(), "Code");
  EXPECT_EQ(fields->Item("Code")->Type(), kText);
  EXPECT_EQ(fields->Item("Code")->Size(), 10);
  EXPECT_EQ(fields->Item("Code")->Attributes() & kVariableField, kVariableField);
  EXPECT_EQ(fields->Item("Qty")->Size(), 4);
  EXPECT_EQ(fields->Item("Qty")->ValidationRule(), ">= 0");
  EXPECT_EQ(fields->Item("Price")->Type(), kCurrency);
  EXPECT_EQ(fields->Item("Id")->Attributes() & kAutoIncrField, kAutoIncrField);
  EXPECT_TRUE(fields->Item("Notes")->AllowZeroLength());
  EXPECT_FALSE(fields->Item("Code")->AllowZeroLength());
  EXPECT_EQ(fields->Item("Kind")->GetProperties()->Item("Required")->Value(), Variant(true));
  EXPECT_EQ(fields->Item("Kind")->DefaultValue(), "\"std\"");

  auto pk = parts->GetIndexes()->Item("primarykey");
  EXPECT_TRUE(pk->Primary());
  EXPECT_TRUE(pk->Unique());
  EXPECT_FALSE(pk->IgnoreNulls());
  EXPECT_EQ(pk->GetFields()->Item(Long(0))->Name(), "Code");

  // Description is a user-defined property: missing until created.
  EXPECT_DAO_ERROR(parts->GetProperties()->Item("Description"), e::kPropertyNotFound);
  parts->GetProperties()->Append(
      parts->CreateProperty("Description", Long(kText), "Template data"));
  auto caption = fields->Item("Qty")->CreateProperty("DecimalPlaces", Long(kByte), Long(2));
  fields->Item("Qty")->GetProperties()->Append(caption);
  db_->GetProperties()->Append(db_->CreateProperty("Owner", Long(kText), "stores"));

  Reopen();
  parts = db_->GetTableDefs()->Item("Parts");
  auto description = parts->GetProperties()->Item("description");
  EXPECT_EQ(description->Value(), Variant("Template data"));
  EXPECT_EQ(description->Type(), kText);
  auto places = parts->GetFields()->Item("Qty")->GetProperties()->Item("DecimalPlaces");
  EXPECT_EQ(places->Value(), Byte(2));  // stored with its type
  places->SetValue(Long(3));
  EXPECT_EQ(db_->GetProperties()->Item("Owner")->Value(), Variant("stores"));
  Reopen();
  EXPECT_EQ(db_->GetTableDefs()
                ->Item("Parts")
                ->GetFields()
                ->Item("Qty")
                ->GetProperties()
                ->Item("DecimalPlaces")
                ->Value(),
            Byte(3));
}

TEST_F(EngineTest, SchemaChangesKeepNamesUniqueAndRefuseWhatDaoRefuses) {
  auto tables = db_->GetTableDefs();
  auto parts = tables->Item("Parts");
  EXPECT_DAO_ERROR(tables->Append(db_->CreateTableDef("parts")), e::kTableExists);
  EXPECT_DAO_ERROR(parts->GetFields()->Append(NewField(*parts, "QTY", kLong)), e::kFieldExists);
  EXPECT_DAO_ERROR(parts->GetFields()->Delete("Code"), e::kFieldInIndex);
  EXPECT_DAO_ERROR(parts->GetFields()->Delete("Nope"), e::kItemNotFound);
  auto pk2 = parts->CreateIndex("Other");
  pk2->GetFields()->Append(pk2->CreateField("Qty"));
  pk2->SetPrimary(true);
  EXPECT_DAO_ERROR(parts->GetIndexes()->Append(pk2), e::kPrimaryKeyExists);
  EXPECT_DAO_ERROR(tables->Append(db_->CreateTableDef("Empty")), e::kNoFieldDefined);
  EXPECT_DAO_ERROR(tables->Append(db_->CreateTableDef("A[1]")), e::kInvalidName);

  // A field appended to a stored table is there at once, for everyone.
  parts->GetFields()->Append(NewField(*parts, "Bin", kText, 4));
  auto by_bin = parts->CreateIndex("ByBin");
  auto bin = by_bin->CreateField("Bin");
  bin->SetAttributes(kDescending);
  by_bin->GetFields()->Append(bin);
  by_bin->SetIgnoreNulls(true);
  parts->GetIndexes()->Append(by_bin);
  EXPECT_DAO_ERROR(by_bin->SetUnique(true), e::kInvalidOperation);  // stored indexes are fixed
  auto other = DBEngine::Get()->OpenDatabase(path_);
  auto seen = other->GetTableDefs()->Item("Parts");
  EXPECT_EQ(seen->GetFields()->Item("Bin")->Size(), 4);
  EXPECT_EQ(seen->GetIndexes()->Item("ByBin")->GetFields()->Item("Bin")->Attributes(), kDescending);
  EXPECT_TRUE(seen->GetIndexes()->Item("ByBin")->IgnoreNulls());

  parts->GetIndexes()->Delete("ByBin");
  parts->GetFields()->Delete("Bin");
  EXPECT_EQ(other->GetTableDefs()->Item("Parts")->GetFields()->Count(), 7);

  // Renaming a field and a table.
  parts->GetFields()->Item("Notes")->SetName("Remarks");
  parts->SetName("Stock");
  EXPECT_DAO_ERROR(tables->Item("Parts"), e::kItemNotFound);
  EXPECT_EQ(tables->Item("Stock")->GetFields()->Item("Remarks")->Type(), kMemo);

  tables->Delete("stock");
  EXPECT_DAO_ERROR(tables->Delete("Stock"), e::kItemNotFound);
  EXPECT_DAO_ERROR(other->GetTableDefs()->Item("Stock"), e::kItemNotFound);
  other->Close();
}

TEST_F(EngineTest, RecordsetNavigationAndFind) {
  auto rs = db_->OpenRecordset("Parts", Long(kOpenDynaset));
  EXPECT_TRUE(rs->Bof());
  EXPECT_TRUE(rs->Eof());
  EXPECT_DAO_ERROR(rs->MoveFirst(), e::kNoCurrentRecord);
  EXPECT_DAO_ERROR(rs->GetFields()->Item("Code")->Value(), e::kNoCurrentRecord);
  rs->FindFirst("[Code] = \"A1\"");
  EXPECT_TRUE(rs->NoMatch());
  for (const char* code : {"B2", "a1", "C3"}) AddPart(*rs, code, 5);
  EXPECT_EQ(rs->RecordCount(), 3);

  rs->MoveFirst();
  EXPECT_EQ(rs->Value("Code"), Variant("B2"));
  EXPECT_EQ(rs->Value("Id"), Long(1));           // counters number themselves
  EXPECT_EQ(rs->Value("Kind"), Variant("std"));  // the default value
  rs->MoveNext();
  rs->MoveNext();
  EXPECT_EQ(rs->Value("Id"), Long(3));
  rs->MoveNext();
  EXPECT_TRUE(rs->Eof());
  EXPECT_DAO_ERROR(rs->MoveNext(), e::kNoCurrentRecord);
  rs->MovePrevious();
  EXPECT_EQ(rs->Value("Code"), Variant("C3"));
  rs->MoveFirst();
  rs->MovePrevious();
  EXPECT_TRUE(rs->Bof());
  EXPECT_FALSE(rs->Eof());

  // FindFirst compares texts without regard to case, as Jet does.
  rs->FindFirst("([Parts].[Code] = \"A1\")");
  ASSERT_FALSE(rs->NoMatch());
  EXPECT_EQ(rs->Value("Code"), Variant("a1"));
  rs->FindNext("Qty = 5");
  EXPECT_EQ(rs->Value("Code"), Variant("C3"));
  rs->FindNext("Qty = 5");
  EXPECT_TRUE(rs->NoMatch());
  EXPECT_EQ(rs->Value("Code"), Variant("C3"));  // a failed find stays put
  rs->FindLast("Code Like 'b*'");
  EXPECT_EQ(rs->Value("Code"), Variant("B2"));
  EXPECT_DAO_ERROR(rs->FindFirst("[Code] = \"A1"), e::kSyntaxInCriteria);
  EXPECT_DAO_ERROR(rs->FindFirst("[Nope] = 1"), e::kUnknownFieldInExpression);
  EXPECT_DAO_ERROR(rs->GetFields()->Item("Nope"), e::kItemNotFound);

  std::string mark = rs->Bookmark();
  rs->MoveLast();
  rs->SetBookmark(mark);
  EXPECT_EQ(rs->Value("Code"), Variant("B2"));
  EXPECT_DAO_ERROR(rs->SetBookmark("x"), e::kNotValidBookmark);
  rs->Close();
  EXPECT_DAO_ERROR(rs->MoveFirst(), e::kObjectInvalid);
}

// A recordset opens with the connection's cached description of its table
// and confirms it with its first statement: what another connection
// changed since must show, whichever operation comes first.
TEST_F(EngineTest, RecordsetsSeeAnotherConnectionsSchemaChanges) {
  auto rs = db_->OpenRecordset("Parts", Long(kOpenDynaset));
  AddPart(*rs, "A1", 1);
  AddPart(*rs, "B2", 2);
  rs->Close();
  rs = db_->OpenRecordset("Parts", Long(kOpenDynaset));  // the cache is warm now
  rs->Close();

  auto other = DBEngine::Get()->OpenDatabase(path_);
  auto parts = other->GetTableDefs()->Item("Parts");
  parts->GetFields()->Append(NewField(*parts, "Colour", kText, 10));
  other->Execute("UPDATE Parts SET Colour = 'red'");

  rs = db_->OpenRecordset("Parts", Long(kOpenDynaset));
  rs->FindFirst("[Code] = 'B2'");  // the first statement finds the change
  ASSERT_FALSE(rs->NoMatch());
  EXPECT_EQ(rs->Value("Colour"), Variant("red"));
  EXPECT_EQ(rs->GetFields()->Count(), 8);
  parts->GetFields()->Delete("Notes");

  // Fields shown before the first statement are those of a recordset opened
  // before the change: they must all still be there.
  auto shown = db_->OpenRecordset("Parts", Long(kOpenDynaset));
  EXPECT_EQ(shown->GetFields()->Count(), 8);
  EXPECT_DAO_ERROR(shown->MoveFirst(), e::kObjectInvalid);
  auto after = db_->OpenRecordset("Parts", Long(kOpenDynaset));
  EXPECT_EQ(after->Value("Code"), Variant("A1"));  // placed on its first record
  EXPECT_EQ(after->GetFields()->Count(), 7);
  EXPECT_DAO_ERROR(after->Value("Notes"), e::kItemNotFound);
  other->Close();

  // A recordset reads its first record when asked, not when it opens.
  auto empty_first = db_->OpenRecordset("SELECT * FROM Parts WHERE Qty > 5");
  auto lazy = db_->OpenRecordset("Parts", Long(kOpenDynaset));
  db_->Execute("DELETE FROM Parts");
  EXPECT_TRUE(lazy->Bof() && lazy->Eof());
  EXPECT_TRUE(empty_first->Bof() && empty_first->Eof());
}

TEST_F(EngineTest, EditUpdateDeleteAndTheirErrors) {
  auto rs = db_->OpenRecordset("Parts");
  EXPECT_EQ(rs->Type(), kOpenTable);
  AddPart(*rs, "A1", 1);
  AddPart(*rs, "B2", 2);
  rs->MoveFirst();
  EXPECT_DAO_ERROR(rs->Update(), e::kUpdateWithoutEdit);
  EXPECT_DAO_ERROR(rs->GetFields()->Item("Qty")->SetValue(Long(3)), e::kUpdateWithoutEdit);
  rs->Edit();
  rs->GetFields()->Item("Qty")->SetValue("42");  // converted to the field's type
  EXPECT_EQ(rs->Value("Qty"), Long(42));
  EXPECT_DAO_ERROR(rs->GetFields()->Item("Id")->SetValue(Long(9)), e::kFieldNotUpdatable);
  EXPECT_DAO_ERROR(rs->GetFields()->Item("Qty")->SetValue("lots"), e::kConversion);
  EXPECT_DAO_ERROR(rs->GetFields()->Item("Code")->SetValue("ABCDEFGHIJK"), e::kFieldTooSmall);
  rs->GetFields()->Item("Added")->SetValue(Date{37687.5});
  rs->Update();
  EXPECT_EQ(rs->Value("Qty"), Long(42));
  EXPECT_EQ(rs->Value("Added"), Variant(Date{37687.5}));

  rs->Edit();
  rs->GetFields()->Item("Qty")->SetValue(Long(7));
  rs->CancelUpdate();
  EXPECT_EQ(rs->Value("Qty"), Long(42));

  rs->Delete();
  EXPECT_DAO_ERROR(rs->Value("Code"), e::kRecordDeleted);
  rs->MoveNext();
  EXPECT_EQ(rs->Value("Code"), Variant("B2"));
  EXPECT_EQ(rs->RecordCount(), 1);
  EXPECT_EQ(db_->GetTableDefs()->Item("Parts")->RecordCount(), 1);

  // A failed Update keeps the new record for another try.
  rs->AddNew();
  rs->GetFields()->Item("Code")->SetValue("b2");
  EXPECT_DAO_ERROR(rs->Update(), e::kDuplicate);
  rs->GetFields()->Item("Code")->SetValue("C3");
  rs->Update();
  EXPECT_EQ(rs->RecordCount(), 2);
}

TEST_F(EngineTest, RulesHoldForRecordsetsAndPlainSqlAlike) {
  auto rs = db_->OpenRecordset("Parts");
  AddPart(*rs, "A1", 1);
  struct Case {
    const char* sql;
    int32_t error;
  } cases[] = {
      {"INSERT INTO Parts (Code, Qty) VALUES ('a1', 1)", e::kDuplicate},
      {"INSERT INTO Parts (Code, Qty) VALUES ('ABCDEFGHIJKL', 1)", e::kFieldTooSmall},
      {"INSERT INTO Parts (Code, Qty, Kind) VALUES ('Z', 1, Null)", e::kRequired},
      {"INSERT INTO Parts (Code, Qty) VALUES ('', 1)", e::kZeroLength},
      {"INSERT INTO Parts (Code, Qty) VALUES ('Z', -1)", e::kFieldRule},
      {"INSERT INTO Parts (Qty) VALUES (1)", e::kNullInIndex},
      {"UPDATE Parts SET Qty = 3000000000", e::kNumericOverflow},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.sql);
    EXPECT_DAO_ERROR(db_->Execute(c.sql, Long(kFailOnError)), c.error);
  }
  try {
    db_->Execute("UPDATE Parts SET Qty = -5");
  } catch (const Error& error) {
    EXPECT_EQ(error.description(), "Qty must not be negative");
  }
  EXPECT_EQ(rs->RecordCount(), 1);

  db_->Execute("INSERT INTO Parts (Code, Qty, Notes) VALUES (\"B\", 2, '')");
  EXPECT_EQ(db_->RecordsAffected(), 1);
  db_->Execute("UPDATE Parts SET Qty = Qty + 1 WHERE Code Like '?'");
  EXPECT_EQ(db_->RecordsAffected(), 1);

  // A table-level rule, set after the fact, binds every writer.
  auto parts = db_->GetTableDefs()->Item("Parts");
  parts->SetValidationRule("[Qty] < 100 Or [Kind] <> 'std'");
  rs->MoveFirst();
  rs->Edit();
  rs->GetFields()->Item("Qty")->SetValue(Long(500));
  EXPECT_DAO_ERROR(rs->Update(), e::kTableRule);
  rs->CancelUpdate();
  EXPECT_DAO_ERROR(parts->SetValidationRule("[Qty] <"), e::kSyntaxInQuery);
  EXPECT_EQ(parts->ValidationRule(), "[Qty] < 100 Or [Kind] <> 'std'");
  auto counter = db_->OpenRecordset("SELECT Max(Id) AS Highest FROM Parts");
  EXPECT_EQ(counter->Value("Highest"), Long(2));
}

// The catalog is the engine's: SQL from the user reads it but cannot
// change it, in Jet SQL or passed through, while the catalog's own
// triggers (counters' next values) keep working.
TEST_F(EngineTest, CatalogIsReadOnlyToUserSql) {
  EXPECT_DAO_ERROR(db_->Execute("DELETE FROM MSysObjects"), e::kReadOnly);
  EXPECT_DAO_ERROR(db_->Execute("UPDATE MSysColumns SET Size = 1"), e::kReadOnly);
  EXPECT_DAO_ERROR(db_->Execute("INSERT INTO MSysProperties (Kind, Name) VALUES ('D', 'X')",
                                Long(kSQLPassThrough)),
                   e::kReadOnly);
  EXPECT_DAO_ERROR(db_->Execute("DROP TABLE MSysIndexes", Long(kSQLPassThrough)), e::kReadOnly);
  EXPECT_DAO_ERROR(db_->Execute("CREATE INDEX x ON MSysObjects (Kind)", Long(kSQLPassThrough)),
                   e::kReadOnly);
  EXPECT_DAO_ERROR(db_->OpenRecordset("DELETE FROM msysobjects RETURNING Name", Long(kOpenSnapshot),
                                      Long(kSQLPassThrough)),
                   e::kReadOnly);

  db_->Execute("INSERT INTO Parts (Code, Qty) VALUES ('A1', 1)");
  db_->Execute("INSERT INTO Parts (Code, Qty) VALUES ('B2', 2)");
  Reopen();
  auto parts = db_->GetTableDefs()->Item("Parts");
  EXPECT_EQ(parts->GetFields()->Count(), 7);
  EXPECT_EQ(parts->GetFields()->Item("Code")->Size(), 10);
  auto rs = db_->OpenRecordset("SELECT Name FROM MSysObjects WHERE Name = 'Parts'");
  EXPECT_EQ(rs->Value("Name"), Variant("Parts"));
  rs = db_->OpenRecordset("Parts");
  rs->MoveLast();
  EXPECT_EQ(rs->Value("Id"), Long(2));
}

TEST_F(EngineTest, QueriesAndSqlRecordsets) {
  auto rs = db_->OpenRecordset("Parts");
  for (const char* code : {"A1", "B2", "C3"}) AddPart(*rs, code, 1);
  auto q = db_->CreateQueryDef("Cheap",
                               "SELECT Code, Qty FROM Parts WHERE Code <> 'B2' ORDER BY Code DESC");
  EXPECT_DAO_ERROR(db_->CreateQueryDef("cheap", "SELECT * FROM Parts"), e::kObjectExists);
  EXPECT_DAO_ERROR(db_->CreateQueryDef("Bad", "SELECT FROM"), e::kSyntaxSelect);
  // A stored query opens by name first thing after opening, before anyone
  // has looked at QueryDefs, and a lookup by name sees what is stored.
  Reopen();
  EXPECT_EQ(db_->OpenRecordset("Cheap")->RecordCount(), 2);
  Reopen();
  EXPECT_NE(db_->GetQueryDefs()->Find("cheap"), nullptr);
  EXPECT_EQ(db_->GetQueryDefs()->Find("Dear"), nullptr);
  auto queries = db_->GetQueryDefs();
  ASSERT_EQ(queries->Count(), 1);
  EXPECT_EQ(queries->Item("CHEAP")->SQL(),
            "SELECT Code, Qty FROM Parts WHERE Code <> 'B2' ORDER BY Code DESC");

  auto cheap = db_->OpenRecordset("Cheap");
  EXPECT_EQ(cheap->Type(), kOpenDynaset);
  EXPECT_EQ(cheap->RecordCount(), 2);
  EXPECT_EQ(cheap->Value("Code"), Variant("C3"));
  EXPECT_EQ(cheap->GetFields()->Item("Code")->Type(), kText);
  // A dynaset over one table can be edited; the change reaches the table.
  cheap->Edit();
  cheap->GetFields()->Item("Qty")->SetValue(Long(9));
  cheap->Update();
  auto check = db_->OpenRecordset("SELECT Qty FROM Parts WHERE Code = 'C3'", Long(kOpenSnapshot));
  EXPECT_EQ(check->Value("Qty"), Long(9));
  EXPECT_DAO_ERROR(check->Edit(), e::kReadOnly);
  EXPECT_DAO_ERROR(db_->OpenRecordset("Cheap", Long(kOpenTable)), e::kInvalidOperation);
  EXPECT_DAO_ERROR(db_->OpenRecordset("NoSuchTable"), e::kInputTableNotFound);
  EXPECT_DAO_ERROR(db_->OpenRecordset("SELECT * FROM NoSuch"), e::kInputTableNotFound);
  EXPECT_DAO_ERROR(db_->OpenRecordset("SELECT Nope FROM Parts"), e::kTooFewParameters);

  auto joined = db_->OpenRecordset(
      "SELECT Code & '-' & Qty, Count(*) AS N FROM Parts GROUP BY Code & '-' & Qty");
  EXPECT_EQ(joined->GetFields()->Item(Long(0))->Name(), "Expr1000");
  EXPECT_EQ(joined->Value("Expr1000"), Variant("A1-1"));
  EXPECT_DAO_ERROR(joined->AddNew(), e::kReadOnly);

  q = queries->Item("Cheap");
  q->SetSQL("SELECT * FROM Parts");
  EXPECT_EQ(db_->OpenRecordset("Cheap")->RecordCount(), 3);
  queries->Delete("Cheap");
  EXPECT_DAO_ERROR(queries->Delete("Cheap"), e::kItemNotFound);
}

TEST_F(EngineTest, BadFilesGiveDaoErrorsAndLeaveNothingDamaged) {
  auto engine = DBEngine::Get();
  EXPECT_DAO_ERROR(engine->OpenDatabase(dir_.File("missing.mdb")), e::kFileNotFound);
  EXPECT_DAO_ERROR(engine->OpenDatabase(dir_.File("no/such/dir.mdb")), e::kInvalidPath);
  EXPECT_DAO_ERROR(engine->CreateDatabase(path_, kLangGeneral), e::kDatabaseExists);
  EXPECT_DAO_ERROR(engine->OpenDatabase("Payroll", Long(kDriverNoPrompt), Variant(false),
                                        "ODBC;UID=u;DSN=Payroll"),
                   e::kOdbcConnectFailed);
  {
    std::FILE* f = std::fopen(dir_.File("text.mdb").c_str(), "w");
    std::fputs("this is not a database, only a text file of some length", f);
    std::fclose(f);
  }
  try {
    engine->OpenDatabase(dir_.File("text.mdb"));
    ADD_FAILURE();
  } catch (const Error& error) {
    EXPECT_EQ(error.number(), e::kUnrecognizedFormat);
    EXPECT_EQ(error.description(), "Unrecognized database format '" + dir_.File("text.mdb") + "'.");
  }
  // What is no regular file is refused before anything reads from it (a
  // FIFO without a writer would block the open for ever).
  ASSERT_EQ(::mkfifo(dir_.File("pipe.mdb").c_str(), 0600), 0);
  EXPECT_DAO_ERROR(engine->OpenDatabase(dir_.File("pipe.mdb")), e::kUnrecognizedFormat);
  EXPECT_DAO_ERROR(engine->OpenDatabase("/dev/zero"), e::kUnrecognizedFormat);
  EXPECT_DAO_ERROR(engine->OpenDatabase(dir_.path().string()), e::kInvalidPath);

  // A full disk: the statement fails whole and the file stays sound.
  auto rs = db_->OpenRecordset("Parts");
  AddPart(*rs, "A1", 1);
  db_->Execute("PRAGMA max_page_count = 60", Long(kSQLPassThrough));
  EXPECT_DAO_ERROR(
      for (int i = 0; i < 2000; ++i) {
        rs->AddNew();
        rs->GetFields()->Item("Code")->SetValue("N" + std::to_string(i));
        rs->GetFields()->Item("Notes")->SetValue(std::string(2000, 'x'));
        rs->Update();
      },
      e::kDiskFull);
  rs->Close();
  Reopen();
  auto ok =
      db_->OpenRecordset("PRAGMA integrity_check", Long(kOpenSnapshot), Long(kSQLPassThrough));
  EXPECT_EQ(ok->GetFields()->Item(Long(0))->Value(), Variant("ok"));
  EXPECT_GT(db_->GetTableDefs()->Item("Parts")->RecordCount(), 1);

  // A read-only file opens for reading; writes are refused.
  db_->Close();
  ASSERT_EQ(::chmod(path_.c_str(), 0444), 0);
  auto ro = engine->OpenDatabase(path_);
  EXPECT_FALSE(ro->Updatable());
  auto ro_rs = ro->OpenRecordset("Parts");
  EXPECT_EQ(ro_rs->Value("Code"), Variant("A1"));
  EXPECT_DAO_ERROR(ro_rs->AddNew(), e::kReadOnly);
  EXPECT_DAO_ERROR(ro->Execute("DELETE * FROM Parts"), e::kReadOnly);
  ro->Close();
  ::chmod(path_.c_str(), 0644);
}

TEST_F(EngineTest, NamesWithQuotesAndSpaces) {
  auto t = db_->CreateTableDef("It's \"odd\"");
  t->GetFields()->Append(NewField(*t, "Field 'one'", kText, 20));
  db_->GetTableDefs()->Append(t);
  auto rs = db_->OpenRecordset("It's \"odd\"", Long(kOpenDynaset));
  rs->AddNew();
  rs->GetFields()->Item("field 'ONE'")->SetValue("say \"hi\"");
  rs->Update();
  rs->FindFirst("[Field 'one'] = 'say \"hi\"'");
  EXPECT_FALSE(rs->NoMatch());
  auto q = db_->OpenRecordset("SELECT [Field 'one'] FROM [It's \"odd\"]");
  EXPECT_EQ(q->Value("Field 'one'"), Variant("say \"hi\""));
}

TEST_F(EngineTest, CountersTransactionsAndForeignTables) {
  auto rs = db_->OpenRecordset("Parts");
  AddPart(*rs, "A1", 1);
  AddPart(*rs, "B2", 1);
  db_->Execute("DELETE * FROM Parts WHERE Code = 'B2'");
  AddPart(*rs, "C3", 1);  // a counter never hands out a number twice
  rs->FindFirst("Code = 'C3'");
  EXPECT_EQ(rs->Value("Id"), Long(3));
  // A counter value given on AddNew is kept, and the numbering goes on above it.
  rs->AddNew();
  rs->GetFields()->Item("Code")->SetValue("D4");
  rs->GetFields()->Item("Id")->SetValue(Long(10));
  rs->Update();
  AddPart(*rs, "E5", 1);
  rs->FindFirst("Code = 'E5'");
  EXPECT_EQ(rs->Value("Id"), Long(11));

  auto engine = DBEngine::Get();
  engine->BeginTrans();
  db_->Execute("DELETE * FROM Parts");
  EXPECT_EQ(db_->RecordsAffected(), 4);
  engine->Rollback();
  EXPECT_EQ(rs->RecordCount(), 4);
  EXPECT_DAO_ERROR(engine->CommitTrans(), e::kInvalidOperation);

  // A default value may be an expression; AddNew shows it.
  auto added = db_->GetTableDefs()->Item("Parts")->GetFields()->Item("Added");
  added->SetDefaultValue("=Date()");
  auto fresh = db_->OpenRecordset("Parts");  // recordsets see the table as it was on opening
  fresh->AddNew();
  EXPECT_TRUE(fresh->Value("Added").IsDate());
  fresh->CancelUpdate();
  EXPECT_DAO_ERROR(added->SetDefaultValue("Date("), e::kSyntaxInQuery);

  // A table made by plain SQLite shows with types from its declarations.
  db_->Execute("CREATE TABLE Outside (n INTEGER, s TEXT, r REAL)", Long(kSQLPassThrough));
  engine->Idle();
  auto outside = db_->GetTableDefs()->Item("Outside");
  EXPECT_EQ(outside->GetFields()->Item("n")->Type(), kLong);
  EXPECT_EQ(outside->GetFields()->Item("s")->Type(), kMemo);
  EXPECT_EQ(outside->GetFields()->Item("r")->Type(), kDouble);
  db_->Execute("INSERT INTO Outside VALUES (1, 'x', 2.5)");
  EXPECT_EQ(db_->OpenRecordset("Outside")->Value("r"), Variant(2.5));

  // User-defined properties can be deleted; built-in ones cannot.
  auto props = db_->GetTableDefs()->Item("Parts")->GetProperties();
  props->Append(db_->GetTableDefs()->Item("Parts")->CreateProperty("Caption", Long(kText), "P"));
  props->Delete("caption");
  EXPECT_DAO_ERROR(props->Item("Caption"), e::kPropertyNotFound);
  EXPECT_DAO_ERROR(props->Delete("Name"), e::kInvalidOperation);
}

TEST_F(EngineTest, ClosedDatabaseInvalidatesItsObjects) {
  auto rs = db_->OpenRecordset("Parts");
  auto tables = db_->GetTableDefs();
  db_->Close();
  EXPECT_DAO_ERROR(rs->MoveFirst(), e::kObjectInvalid);
  EXPECT_DAO_ERROR(db_->OpenRecordset("Parts"), e::kObjectInvalid);
  EXPECT_DAO_ERROR(tables->Count(), e::kObjectInvalid);
}

}  // namespace
}  // namespace qor::dao
