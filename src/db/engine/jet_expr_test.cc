// Jet expressions through the engine: hostile input at every place Jet SQL
// enters.
#include <gtest/gtest.h>

#include <string>

#include "qorsupport/db/engine/engine.h"
#include "qorsupport/frame/error.h"
#include "testing/test_util.h"

namespace qor::dao {
namespace {

#define EXPECT_DAO_ERROR(statement, expected)                     \
  do {                                                            \
    try {                                                         \
      statement;                                                  \
      ADD_FAILURE() << "no error from " #statement;               \
    } catch (const Error& error) {                                \
      EXPECT_EQ(error.number(), expected) << error.description(); \
    }                                                             \
  } while (0)

std::string Repeat(std::string_view piece, int n) {
  std::string out;
  for (int i = 0; i < n; ++i) out += piece;
  return out;
}

class JetExprTest : public ::testing::Test {
 protected:
  void SetUp() override {
    db_ = DBEngine::Get()->CreateDatabase(dir_.File("expr.mdb"), kLangGeneral);
    auto t = db_->CreateTableDef("T");
    t->GetFields()->Append(t->CreateField("ID", Long(kLong)));
    t->GetFields()->Append(t->CreateField("S", Long(kText), Long(50)));
    db_->GetTableDefs()->Append(t);
    db_->Execute("INSERT INTO T (ID, S) VALUES (1, 'abc')");
  }

  testing::TempDir dir_;
  std::shared_ptr<Database> db_;
};

TEST_F(JetExprTest, DeepNestingIsANumberedErrorWhereverJetSqlEnters) {
  const int n = 100000;
  const std::string deep = Repeat("(", n) + "1" + Repeat(")", n);
  const std::string iifs = Repeat("IIf(ID = 1, ", n) + "1" + Repeat(", 2)", n);
  const std::string minus = Repeat("-", 35000) + "1";
  const std::string nots = Repeat("Not ", 87000) + "ID";
  for (const std::string& e : {deep, iifs, minus}) {
    EXPECT_DAO_ERROR(db_->OpenRecordset("SELECT " + e + " FROM T"), e::kSyntaxInQuery);
    EXPECT_DAO_ERROR(db_->OpenRecordset("SELECT * FROM T WHERE ID = " + e), e::kSyntaxInQuery);
    EXPECT_DAO_ERROR(db_->Execute("UPDATE T SET ID = " + e), e::kSyntaxInQuery);
    auto rs = db_->OpenRecordset("T", Long(kOpenDynaset));
    EXPECT_DAO_ERROR(rs->FindFirst("ID = " + e), e::kSyntaxInCriteria);
    auto snap = db_->OpenRecordset("SELECT * FROM T", Long(kOpenSnapshot));
    EXPECT_DAO_ERROR(snap->FindFirst("ID = " + e), e::kSyntaxInCriteria);
  }
  EXPECT_DAO_ERROR(db_->OpenRecordset("SELECT * FROM T WHERE " + nots), e::kSyntaxInQuery);
  EXPECT_DAO_ERROR(db_->OpenRecordset(Repeat("SELECT * FROM (", 3000) + "T" + Repeat(")", 3000)),
                   e::kSyntaxInQuery);

  // A validation rule, a default value and a stored query.
  auto t = db_->CreateTableDef("U");
  auto f = t->CreateField("X", Long(kLong));
  f->SetValidationRule("> " + deep);
  t->GetFields()->Append(f);
  EXPECT_DAO_ERROR(db_->GetTableDefs()->Append(t), e::kSyntaxInQuery);
  auto t2 = db_->CreateTableDef("V");
  auto g = t2->CreateField("X", Long(kLong));
  g->SetDefaultValue(minus);
  t2->GetFields()->Append(g);
  EXPECT_DAO_ERROR(db_->GetTableDefs()->Append(t2), e::kSyntaxInQuery);
  EXPECT_DAO_ERROR(db_->CreateQueryDef("Q", "SELECT * FROM T WHERE " + iifs), e::kSyntaxInQuery);
}

}  // namespace
}  // namespace qor::dao
