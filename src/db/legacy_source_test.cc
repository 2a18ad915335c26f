// The toolkit's reading operations with a legacy Jet file as their source.
#include <gtest/gtest.h>

#include <filesystem>

#include "db/engine/mdb/mdb_test_files.h"
#include "db/engine/odbc/odbc_config.h"
#include "db/test_databases.h"
#include "qorsupport/db/engine/engine.h"
#include "qorsupport/db/qor_db.h"
#include "qorsupport/frame/vb.h"
#include "testing/test_util.h"

namespace qor {
namespace {

using dao::mdb::UsersMdb;
using db::test::TakeBoxTexts;
using testing::ScopedEnv;

// The rows of a recordset, each as its values' texts joined by "|".
std::vector<std::string> Rows(dao::Recordset& rs) {
  std::vector<std::string> rows;
  for (; !rs.Eof(); rs.MoveNext()) {
    std::string row;
    for (const auto& field : rs.GetFields()->items()) row += vb::ConcatText(field->Value()) + "|";
    rows.push_back(row);
  }
  return rows;
}

TEST(LegacySource, CloneTableCopiesUsersWithItsRowsAndDisplayProperties) {
  testing::TempDir dir;
  testing::ScriptedUi ui;
  auto engine = dao::DBEngine::Get();
  auto src = engine->OpenDatabase(UsersMdb());
  auto dest = engine->CreateDatabase(dir.File("copy.mdb"), dao::kLangGeneral);
  qorDb db;
  ASSERT_TRUE(db.CloneTable("Users", *src, *dest, true, "People", false, true));
  EXPECT_TRUE(ui->Events().empty());

  auto people = dest->GetTableDefs()->Item(Variant("People"));
  auto name = people->GetFields()->Item(Variant("UserName"));
  EXPECT_EQ(name->Type(), dao::kText);
  EXPECT_EQ(name->Size(), 255);
  EXPECT_TRUE(name->Required());
  auto married = people->GetFields()->Item(Variant("UserMarried"));
  EXPECT_EQ(married->DefaultValue(), "0");
  EXPECT_EQ(vb::CStr(married->UserProperty("Format")), "Yes/No");
  auto pk = people->GetIndexes()->Item(Variant(0));
  EXPECT_TRUE(pk->Primary());

  auto from = src->OpenRecordset("Users");
  auto to = dest->OpenRecordset("SELECT * FROM People ORDER BY UserId");
  int rows = 0;
  for (; !from->Eof(); from->MoveNext(), to->MoveNext(), ++rows) {
    ASSERT_FALSE(to->Eof());
    for (const char* field : {"UserId", "UserName", "UserSex", "UserBirthday", "UserMarried"}) {
      EXPECT_EQ(to->Value(field), from->Value(field)) << field << " row " << rows;
    }
  }
  EXPECT_EQ(rows, 3);
  EXPECT_TRUE(to->Eof());
}

TEST(LegacySource, CopyTableAndCloneDbTakeALegacyFile) {
  testing::TempDir dir;
  testing::ScriptedUi ui;
  qorDb db;
  // CopyTable: the structure of every plain table, no rows; the system
  // tables of the Jet file are passed over.
  std::string dest = dir.File("structure.mdb");
  dao::DBEngine::Get()->CreateDatabase(dest, dao::kLangGeneral)->Close();
  ASSERT_TRUE(db.CopyTable(UsersMdb(), dest));
  auto copy = dao::DBEngine::Get()->OpenDatabase(dest);
  auto users = copy->GetTableDefs()->Item(Variant("Users"));
  EXPECT_EQ(users->GetFields()->Count(), 5);
  EXPECT_EQ(users->RecordCount(), 0);
  EXPECT_EQ(copy->GetTableDefs()->Find("MSysACEs"), nullptr);
  copy->Close();

  // CloneDb with pFailIfExists True copies data, under the name given by
  // its argument mapping ("False" for Verbose False).
  std::string cloned = dir.File("cloned.mdb");
  ASSERT_TRUE(db.CloneDb(Variant(UsersMdb()), Variant(cloned), true, false));
  auto c = dao::DBEngine::Get()->OpenDatabase(cloned);
  EXPECT_EQ(c->GetTableDefs()->Item(Variant("False"))->RecordCount(), 3);
  EXPECT_TRUE(ui->Events().empty());
}

TEST(LegacySource, StructureTablesDescribeItsTables) {
  testing::TempDir dir;
  testing::ScriptedUi ui;
  qorDb db;
  auto engine = dao::DBEngine::Get();
  auto src = engine->OpenDatabase(UsersMdb());
  auto home = engine->CreateDatabase(dir.File("home.mdb"), dao::kLangGeneral);

  // A table of the legacy file described in a structure table elsewhere.
  ASSERT_TRUE(db.DumpTableStructureToTable(*home, *src->GetTableDefs()->Item(Variant("Users")),
                                           Variant::Missing(), false, true, true));
  auto rs = home->OpenRecordset(
      "SELECT ObjType, ObjName, ObjDataType, ObjLen, ObjFlags, ObjDefaultValue, IsCounter, "
      "DumpData, ixFld1, ixFld2 FROM TableStructure");
  // UserId is a counter; UserName required and UserSex may be "".
  EXPECT_EQ(Rows(*rs), (std::vector<std::string>{
                           "FIELD|UserId|4|4|0||True|True|||",
                           "FIELD|UserName|10|255|1||False|True|||",
                           "FIELD|UserSex|10|255|2||False|True|||",
                           "FIELD|UserBirthday|8|8|0||False|True|||",
                           "FIELD|UserMarried|1|1|0|0|False|True|||",
                           "INDEX|PrimaryKey|||1|||True|UserId||",
                       }));
  rs->Close();

  // The structure table belongs in the database whose template tables it
  // describes, which a legacy file cannot take.
  auto templates = engine->OpenDatabase(dao::mdb::UsersTemplateMdb(dir.path().string()));
  EXPECT_FALSE(db.DumpAllTableStructuresToTable(*templates, Variant::Missing(), true));
  std::vector<std::string> texts = TakeBoxTexts(ui);
  ASSERT_FALSE(texts.empty());
  EXPECT_NE(texts[0].find("3027"), std::string::npos) << texts[0];

  // The listing of a legacy file: its user tables, never the system ones.
  ASSERT_TRUE(db.DumpTablesStructure(Variant(dir.File("listing.mdb")), Variant(UsersMdb()), true));
  auto listing = engine->OpenDatabase(dir.File("listing.mdb"));
  rs = listing->OpenRecordset("SELECT * FROM TableStructures");
  EXPECT_EQ(Rows(*rs), (std::vector<std::string>{
                           "Users|RecordCount||3|",
                           "Users|UserId|dbLong|4|",
                           "Users|UserName|dbText|255|",
                           "Users|UserSex|dbText|255|",
                           "Users|UserBirthday|dbDate|8|",
                           "Users|UserMarried|dbBoolean|1|",
                       }));
  EXPECT_TRUE(ui->Events().empty());
}

TEST(LegacySource, CreateODBCTablesDeploysItsTemplateTables) {
  testing::TempDir dir;
  testing::TempDir temp;
  ScopedEnv temp_folder("TEMP", temp.path().c_str());
  testing::ScriptedUi ui;
  const std::string target = dir.File("server.db");
  dao::odbc::UseDataSources(dir.path().string(), {dao::odbc::SqliteDataSource("lite", target)});
  auto engine = dao::DBEngine::Get();
  qorDb db;

  // Without template tables there is nothing to deploy.
  auto plain = engine->OpenDatabase(UsersMdb());
  EXPECT_FALSE(
      db.CreateODBCTables(*plain, Long(1), Variant("lite"), "", "", Variant::Missing(), true));
  EXPECT_EQ(TakeBoxTexts(ui), std::vector<std::string>{"Structure table has no records"});

  // The template table goes to the server; the structure table lived in a
  // temporary database, gone afterwards.
  auto src = engine->OpenDatabase(dao::mdb::UsersTemplateMdb(dir.path().string()));
  const std::string create =
      "CREATE TABLE \"USERS\"(\"USERBIRTHDAY\" DATE, \"USERID\" NUMBER(11, 0), "
      "\"USERMARRIED\" NUMBER(1, 0) DEFAULT 0, \"USERNAME\" VARCHAR2(255) NOT NULL, "
      "\"USERSEX\" VARCHAR2(255));";
  ASSERT_TRUE(
      db.CreateODBCTables(*src, Long(1), Variant("lite"), "", "", Variant::Missing(), true));
  EXPECT_EQ(TakeBoxTexts(ui), std::vector<std::string>{create});
  EXPECT_TRUE(std::filesystem::is_empty(temp.path()));
  EXPECT_FALSE(db.CheckTableExists(*src, Variant("TableStructure")));

  // In the server's own dialect the primary key's index comes along.
  db.SetODBCDialect(Variant("Auto"));
  ASSERT_TRUE(
      db.CreateODBCTables(*src, Long(1), Variant("lite"), "", "", Variant::Missing(), true));
  ui->TakeEvents();
  auto server = engine->OpenDatabase("lite", Variant(dao::kDriverNoPrompt), Variant(false),
                                     Variant("ODBC;DSN=lite"));
  auto users = server->GetTableDefs()->Item(Variant("USERS"));
  EXPECT_EQ(users->GetFields()->Count(), 5);
  EXPECT_TRUE(users->GetFields()->Item(Variant("USERNAME"))->Required());
  auto rs = server->OpenRecordset(
      "SELECT name FROM sqlite_master WHERE type = 'index' AND name NOT LIKE 'sqlite_%'",
      Variant(dao::kOpenSnapshot), Variant(dao::kSQLPassThrough));
  EXPECT_EQ(Rows(*rs), std::vector<std::string>{"USERS_PRIMARYKEY|"});
  EXPECT_TRUE(std::filesystem::is_empty(temp.path()));
}

}  // namespace
}  // namespace qor
