// The toolkit's reading operations with a legacy Jet file as their source.
#include <gtest/gtest.h>

#include "db/engine/engine.h"
#include "db/engine/mdb_test_files.h"
#include "db/qor_db.h"
#include "frame/vb.h"
#include "testing/test_util.h"

namespace qor {
namespace {

using dao::mdb::UsersMdb;

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

}  // namespace
}  // namespace qor
