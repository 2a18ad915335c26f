#include "db/engine/jet_sql.h"

#include <gtest/gtest.h>

#include <chrono>
#include <vector>

#include "db/engine/sqlite/sqlite_functions.h"
#include "qorsupport/db/engine/dao.h"
#include "qorsupport/frame/error.h"
#include "testing/test_util.h"

namespace qor::dao::jet {
namespace {

std::string Where(std::string_view criteria) { return TranslateCriteria(criteria); }

TEST(JetSql, StringsNamesAndDates) {
  // Both quotes, doubled quotes inside, brackets with odd characters. Names
  // of unknown type compare as SQLite compares, texts by Jet's order.
  EXPECT_EQ(Where(R"([Code] = "A1")"), R"(("Code" = 'A1' COLLATE qor_jet))");
  EXPECT_EQ(Where(R"([Code] = 'it''s')"), R"(("Code" = 'it''s' COLLATE qor_jet))");
  EXPECT_EQ(Where(R"([Code] = "say ""hi"" it's")"),
            R"(("Code" = 'say "hi" it''s' COLLATE qor_jet))");
  EXPECT_EQ(Where(R"([Parts].[Part "No"] = 1)"), R"(("Parts"."Part ""No""" = 1))");
  EXPECT_EQ(Where("[Order Date] = #3/7/2003#"), "(\"Order Date\" = '2003-03-07 00:00:00')");
  EXPECT_EQ(Where("d < #12/31/1999 2:05:09 PM#"), "(\"d\" < '1999-12-31 14:05:09')");
  EXPECT_EQ(Where("Flag = True Or Flag = No"), "((\"Flag\" = -1) OR (\"Flag\" = 0))");
}

TEST(JetSql, PrecedenceFollowsVb) {
  // Not binds looser than comparison, And tighter than Or, & looser than +;
  // what SQLite cannot compute as VB does is a program for qor_expr.
  EXPECT_EQ(Where("Not a = 1 And b = 2 Or c = 3"),
            "(((NOT (\"a\" = 1)) AND (\"b\" = 2)) OR (\"c\" = 3))");
  EXPECT_EQ(Where("a & b + 1 = \"x2\""),
            "(qor_expr('10:0,0:?1 & ?2 + 1', \"a\", \"b\") = 'x2' COLLATE qor_jet)");
  EXPECT_EQ(Where("-2 ^ 2 = x"), "(qor_expr('7::-2 ^ 2') = \"x\")");
  EXPECT_EQ(Where("a Mod 3 * 2 = 1"), "(qor_expr('0:0:?1 Mod 3 * 2', \"a\") = 1)");
  EXPECT_EQ(Where("a / 2 = 1"), "(qor_expr('0:0:?1 / 2', \"a\") = 1)");
}

TEST(JetSql, LikeBetweenInIs) {
  EXPECT_EQ(Where("Name Like \"A*\""), "qor_like(\"Name\", 'A*')");
  EXPECT_EQ(Where("Name Not Like \"A?#\""), "(NOT qor_like(\"Name\", 'A?#'))");
  EXPECT_EQ(Where("n Between 1 And 5 And m Is Not Null"),
            "((\"n\" COLLATE qor_jet BETWEEN 1 AND 5) AND (\"m\" IS NOT NULL))");
  EXPECT_EQ(Where("c In (\"a\", 'b')"), "(\"c\" COLLATE qor_jet IN ('a', 'b'))");
  EXPECT_EQ(Where("c Not In (1,2)"), "(\"c\" COLLATE qor_jet NOT IN (1, 2))");
}

TEST(JetSql, Functions) {
  EXPECT_EQ(Where("IIf(IsNull(x), 0, x) > Nz(y, 1)"),
            "(qor_expr('0:0:IIf(IsNull(?1), 0, ?1)', \"x\") > qor_expr('0:0:Nz(?1, 1)', \"y\") "
            "COLLATE qor_jet)");
  EXPECT_EQ(Where("Left$(a, 2) = Mid(b, 2, 3)"),
            "(qor_expr('10:0:Left$(?1, 2)', \"a\") = qor_expr('10:0:Mid(?1, 2, 3)', \"b\") "
            "COLLATE qor_jet)");
  EXPECT_EQ(Where("Year(d) = 2003"), "(qor_expr('3:0:Year(?1)', \"d\") = 2003)");
  EXPECT_EQ(testing::ErrorNumberOf([] { Where("Frobnicate(a) = 1"); }), e::kUndefinedFunction);
  EXPECT_EQ(testing::ErrorNumberOf([] { Where("Left(a) = 1"); }), e::kSyntaxInCriteria);
  // Left(, Right( and Asc( are calls although LEFT, RIGHT and ASC are words
  // of a statement; InStr takes its compare argument.
  EXPECT_EQ(TranslateStatement("SELECT Left(\"abc\", 2), Right(a, 2), Asc(\"A\") FROM t "
                               "LEFT JOIN u ON t.k = u.k ORDER BY a ASC")
                .sql,
            "SELECT qor_expr('e10::Left(\"abc\", 2)'), qor_expr('e10:0:Right(?1, 2)', \"a\"), "
            "qor_expr('e3::Asc(\"A\")') FROM \"t\" LEFT JOIN \"u\" ON (\"t\".\"k\" = \"u\".\"k\" "
            "COLLATE qor_jet) ORDER BY \"a\"");
  EXPECT_EQ(Where("InStr(1, a, \"b\", 1) > 0"),
            "(qor_expr('4:0:InStr(1, ?1, \"b\", 1)', \"a\") > 0)");
}

TEST(JetSql, Statements) {
  Statement s = TranslateStatement(
      "SELECT DISTINCTROW TOP 5 Parts.*, [Qty]*2 AS Twice FROM Parts "
      "WHERE Code Like 'A*' ORDER BY Code DESC, Qty;");
  EXPECT_EQ(s.sql,
            "SELECT \"Parts\".*, qor_expr('e0:0:?1*2', \"Qty\") AS \"Twice\" FROM \"Parts\" "
            "WHERE qor_like(\"Code\", 'A*') ORDER BY \"Code\" DESC, \"Qty\" LIMIT 5");
  EXPECT_EQ(s.single_table, "Parts");
  s = TranslateStatement(
      "SELECT a.x, b.y FROM (a INNER JOIN b ON a.id = b.id) LEFT JOIN c ON "
      "b.k = c.k");
  EXPECT_EQ(s.sql,
            "SELECT \"a\".\"x\", \"b\".\"y\" FROM (\"a\" INNER JOIN \"b\" ON (\"a\".\"id\" = "
            "\"b\".\"id\" COLLATE qor_jet)) LEFT JOIN \"c\" ON (\"b\".\"k\" = \"c\".\"k\" COLLATE "
            "qor_jet)");
  EXPECT_TRUE(s.single_table.empty());
  EXPECT_EQ(
      TranslateStatement("SELECT Count(*) FROM t GROUP BY k HAVING Count(*) > 1").single_table, "");
  s = TranslateStatement("INSERT INTO [My Table] (a, [b c]) VALUES (1, \"x\")");
  EXPECT_EQ(s.kind, StatementKind::kInsert);
  EXPECT_EQ(s.sql, "INSERT INTO \"My Table\" (\"a\", \"b c\") VALUES (1, 'x')");
  EXPECT_EQ(TranslateStatement("UPDATE t SET t.a = a & \"!\" WHERE b = #1/2/2003#").sql,
            "UPDATE \"t\" SET \"a\" = qor_expr('10:0:?1 & \"!\"', \"a\") WHERE (\"b\" = "
            "'2003-01-02 00:00:00')");
  EXPECT_EQ(TranslateStatement("DELETE t.* FROM t WHERE a In (SELECT a FROM u)").sql,
            "DELETE FROM \"t\" WHERE (\"a\" COLLATE qor_jet IN (SELECT \"a\" FROM \"u\"))");
}

TEST(JetSql, SyntaxErrorsAreDaoErrors) {
  EXPECT_EQ(testing::ErrorNumberOf([] { Where("[Code] = \"A1"); }),
            e::kSyntaxInCriteria);  // unbalanced quote
  EXPECT_EQ(testing::ErrorNumberOf([] { Where("[Code] = \"A\"1\""); }), e::kSyntaxInCriteria);
  EXPECT_EQ(testing::ErrorNumberOf([] { Where("[Code = 1"); }), e::kSyntaxInCriteria);
  EXPECT_EQ(testing::ErrorNumberOf([] { Where("d = #13/45/2003#"); }), e::kSyntaxInCriteria);
  EXPECT_EQ(testing::ErrorNumberOf([] { Where("a = (1"); }), e::kSyntaxInCriteria);
  EXPECT_EQ(testing::ErrorNumberOf([] { Where(""); }), e::kSyntaxInCriteria);
  // Found by the fuzzer: t.* with an alias, an alias on a parenthesized
  // table, a NUL inside a string (which would cut the SQL short).
  EXPECT_EQ(testing::ErrorNumberOf([] { TranslateStatement("SELECT t.* AS c FROM t"); }),
            e::kSyntaxSelect);
  EXPECT_EQ(testing::ErrorNumberOf([] { TranslateStatement("SELECT * FROM (d) x"); }),
            e::kSyntaxFrom);
  EXPECT_EQ(testing::ErrorNumberOf([] { Where("t!* = 1"); }), e::kSyntaxInCriteria);
  EXPECT_EQ(testing::ErrorNumberOf([] { Where(std::string("a = 'x\0y'", 10)); }),
            e::kSyntaxInCriteria);
  EXPECT_EQ(testing::ErrorNumberOf([] { TranslateStatement("SELEC * FROM t"); }), e::kInvalidSql);
  EXPECT_EQ(testing::ErrorNumberOf([] { TranslateStatement("SELECT * FROM"); }), e::kSyntaxFrom);
  EXPECT_EQ(testing::ErrorNumberOf([] { TranslateStatement("INSERT t VALUES (1)"); }),
            e::kSyntaxInsert);
  EXPECT_EQ(testing::ErrorNumberOf([] { TranslateStatement("UPDATE t a = 1"); }), e::kSyntaxUpdate);
  try {
    TranslateStatement("SELECT * FROM t WHERE a = = 1");
    FAIL();
  } catch (const Error& error) {
    EXPECT_EQ(error.number(), e::kSyntaxInQuery);
    EXPECT_EQ(error.description(),
              "Syntax error (missing operator) in query expression 'a = = 1'.");
  }
}

std::string Repeat(std::string_view piece, int n) {
  std::string out;
  out.reserve(piece.size() * static_cast<size_t>(n));
  for (int i = 0; i < n; ++i) out += piece;
  return out;
}

TEST(JetSql, NestingIsLimitedNotACrash) {
  // Deep enough to overflow the stack without the limit.
  const int n = 100000;
  std::string parens = Repeat("(", n) + "1" + Repeat(")", n) + " = 1";
  std::string iifs = Repeat("IIf(a, ", n) + "1" + Repeat(", 2)", n) + " = 1";
  EXPECT_EQ(testing::ErrorNumberOf([&] { Where(parens); }), e::kSyntaxInCriteria);
  EXPECT_EQ(testing::ErrorNumberOf([&] { Where(iifs); }), e::kSyntaxInCriteria);
  EXPECT_EQ(testing::ErrorNumberOf([&] { Where("a = " + Repeat("-", n) + "1"); }),
            e::kSyntaxInCriteria);
  EXPECT_EQ(testing::ErrorNumberOf([&] { Where("a = " + Repeat("+-", n) + "1"); }),
            e::kSyntaxInCriteria);
  EXPECT_EQ(testing::ErrorNumberOf([&] { Where(Repeat("Not ", n) + "a"); }), e::kSyntaxInCriteria);
  EXPECT_EQ(testing::ErrorNumberOf(
                [&] { Where("a In (" + Repeat("(SELECT b FROM t WHERE b In (", 5000)); }),
            e::kSyntaxInCriteria);
  EXPECT_EQ(testing::ErrorNumberOf([&] { TranslateExpression(parens); }), e::kSyntaxInQuery);
  EXPECT_EQ(testing::ErrorNumberOf([&] {
              TranslateExpression(">" + iifs, {"NEW.", "NEW.x"});
            }),
            e::kSyntaxInQuery);
  try {
    TranslateStatement("SELECT x FROM t WHERE " + parens);
    FAIL();
  } catch (const Error& error) {
    EXPECT_EQ(error.number(), e::kSyntaxInQuery);
    EXPECT_NE(error.description().find("'(((("), std::string::npos);
  }
  EXPECT_EQ(testing::ErrorNumberOf([&] { TranslateStatement(Repeat("SELECT * FROM (", n)); }),
            e::kSyntaxInQuery);
  EXPECT_EQ(
      testing::ErrorNumberOf([&] { TranslateStatement("SELECT * FROM " + Repeat("(", n) + "t"); }),
      e::kSyntaxInQuery);
  // Nesting within the limit still translates.
  EXPECT_EQ(Where(Repeat("(", 50) + "a" + Repeat(")", 50) + " = 1"), "(\"a\" = 1)");
  EXPECT_EQ(Where("a = --1"), "(\"a\" = 1)");
  EXPECT_EQ(Where("Not Not a"), "qor_expr('0:0:Not Not ?1', \"a\")");
  EXPECT_EQ(Where("Not Not (a = 1)"), "(NOT (NOT (\"a\" = 1)))");
}

TEST(JetSql, CostGrowsWithTheLength) {
  // Long In lists, + chains, & chains and runs of Not and minus signs take
  // time in proportion to their length (they took minutes when quadratic).
  const int n = 200000;
  std::string in = "a In (0";
  for (int i = 1; i < n; ++i) in += "," + std::to_string(i);
  in += ")";
  std::string sum = "a = 1" + Repeat(" + b", n);
  std::string concat = "a = \"x\"" + Repeat(" & b", n);
  std::string signs = "a = " + Repeat("-", 150) + "1";
  auto start = std::chrono::steady_clock::now();
  EXPECT_GT(Where(in).size(), in.size());
  std::vector<Variant> literals;
  ExpressionOptions options;
  options.literals = &literals;
  options.first_parameter = 2;
  // Too many literals for parameters: they are written into the SQL.
  EXPECT_GT(TranslateCriteria(in, options).size(), in.size());
  EXPECT_TRUE(literals.empty());
  EXPECT_GT(Where(sum).size(), sum.size());
  EXPECT_GT(Where(concat).size(), concat.size());
  EXPECT_GT(TranslateStatement("SELECT " + sum.substr(4) + " FROM t").sql.size(), sum.size());
  EXPECT_EQ(testing::ErrorNumberOf([&] { Where(Repeat("Not ", 150) + "a"); }), 0);
  EXPECT_EQ(testing::ErrorNumberOf([&] { Where(signs); }), 0);
  double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  // A guard against the quadratic cost coming back (minutes), not a speed
  // target: linear takes well under a second, about ten under the
  // sanitizers on a busy machine.
  EXPECT_LT(seconds, 60.0);
  // A few literals are parameters.
  literals.clear();
  EXPECT_EQ(TranslateCriteria("a In (1, 'x')", options), "(\"a\" COLLATE qor_jet IN (?2, ?3))");
  EXPECT_EQ(literals.size(), 2u);
}

TEST(JetSql, CriteriaOfOneShapeShareTheirTranslation) {
  std::vector<FieldInfo> fields(2);
  fields[0].name = "Code";
  fields[0].type = kText;
  fields[1].name = "Qty";
  fields[1].type = kLong;
  auto translate = [&](std::string_view criteria, std::vector<Variant>* literals) {
    ExpressionOptions options;
    options.literals = literals;
    options.first_parameter = 2;
    options.fields = &fields;
    return TranslateCriteria(criteria, options);
  };
  for (int round = 0; round < 2; ++round) {  // the second round comes from the cache
    std::vector<Variant> a, b;
    EXPECT_EQ(translate("[Code] = \"K1\" And Qty > -5", &a),
              "((\"Code\" = ?2 COLLATE qor_jet) AND (\"Qty\" > ?3))");
    EXPECT_EQ(a, (std::vector<Variant>{Variant("K1"), Long(-5)}));
    EXPECT_EQ(translate("[Code] = \"K2\" And Qty > -7", &b),
              "((\"Code\" = ?2 COLLATE qor_jet) AND (\"Qty\" > ?3))");
    EXPECT_EQ(b, (std::vector<Variant>{Variant("K2"), Long(-7)}));
    std::vector<Variant> c;
    // Another kind of literal is another shape.
    EXPECT_EQ(translate("[Code] = \"K2\" And Qty > 2.5", &c),
              "((\"Code\" = ?2 COLLATE qor_jet) AND (\"Qty\" > ?3))");
    EXPECT_EQ(c, (std::vector<Variant>{Variant("K2"), Variant(2.5)}));
    std::vector<Variant> d;
    EXPECT_EQ(testing::ErrorNumberOf([&] { translate("[Code] = 5", &d); }), e::kCriteriaMismatch);
    EXPECT_EQ(testing::ErrorNumberOf([&] { translate("Nope = 5", &d); }), e::kTooFewParameters);
    std::vector<Variant> f;
    EXPECT_EQ(translate("Qty + 1 > 3", &f), "(qor_expr('4:4,4:?1 + ?2', \"Qty\", ?2) > ?3)");
    EXPECT_EQ(f, (std::vector<Variant>{Long(1), Long(3)}));
  }
}

TEST(JetSql, RulesWithAnImpliedField) {
  ExpressionOptions rule{"NEW.", "NEW.\"Qty\""};
  EXPECT_EQ(TranslateExpression(">0 And <100", rule),
            "((NEW.\"Qty\" > 0) AND (NEW.\"Qty\" < 100))");
  EXPECT_EQ(TranslateExpression("Is Not Null", rule), "(NEW.\"Qty\" IS NOT NULL)");
  EXPECT_EQ(TranslateExpression("[Start] <= [Parts].[End]", {"NEW.", ""}),
            "(NEW.\"Start\" <= NEW.\"End\" COLLATE qor_jet)");
}

TEST(JetLike, Wildcards) {
  using sqlite::JetLike;
  EXPECT_TRUE(JetLike("Apple", "a*"));
  EXPECT_TRUE(JetLike("Apple", "?PPL?"));
  EXPECT_FALSE(JetLike("Apple", "?PPL"));
  EXPECT_TRUE(JetLike("A1B", "A#B"));
  EXPECT_FALSE(JetLike("AxB", "A#B"));
  EXPECT_TRUE(JetLike("b", "[a-c]"));
  EXPECT_FALSE(JetLike("b", "[!a-c]"));
  EXPECT_TRUE(JetLike("a*b", "a[*]b"));
  EXPECT_FALSE(JetLike("axb", "a[*]b"));
  EXPECT_TRUE(JetLike("", "*"));
  EXPECT_FALSE(JetLike("abc", "[abc"));
  EXPECT_TRUE(JetLike("Ärger", "ä*"));
}

}  // namespace
}  // namespace qor::dao::jet
