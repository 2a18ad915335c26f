// Jet expressions through the engine: Jet's types, values and text order in
// queries, criteria, rules and defaults, and hostile input at every place
// Jet SQL enters.
#include <gtest/gtest.h>

#include <string>

#include "qorsupport/db/engine/engine.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/frame/vb_date.h"
#include "testing/test_util.h"

namespace qor::dao {
namespace {

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
    EXPECT_EQ(testing::ErrorNumberOf([&] { db_->OpenRecordset("SELECT " + e + " FROM T"); }),
              e::kSyntaxInQuery);
    EXPECT_EQ(
        testing::ErrorNumberOf([&] { db_->OpenRecordset("SELECT * FROM T WHERE ID = " + e); }),
        e::kSyntaxInQuery);
    EXPECT_EQ(testing::ErrorNumberOf([&] { db_->Execute("UPDATE T SET ID = " + e); }),
              e::kSyntaxInQuery);
    auto rs = db_->OpenRecordset("T", Long(kOpenDynaset));
    EXPECT_EQ(testing::ErrorNumberOf([&] { rs->FindFirst("ID = " + e); }), e::kSyntaxInCriteria);
    auto snap = db_->OpenRecordset("SELECT * FROM T", Long(kOpenSnapshot));
    EXPECT_EQ(testing::ErrorNumberOf([&] { snap->FindFirst("ID = " + e); }), e::kSyntaxInCriteria);
  }
  EXPECT_EQ(testing::ErrorNumberOf([&] { db_->OpenRecordset("SELECT * FROM T WHERE " + nots); }),
            e::kSyntaxInQuery);
  EXPECT_EQ(testing::ErrorNumberOf([&] {
              db_->OpenRecordset(Repeat("SELECT * FROM (", 3000) + "T" + Repeat(")", 3000));
            }),
            e::kSyntaxInQuery);

  // A validation rule, a default value and a stored query.
  auto t = db_->CreateTableDef("U");
  auto f = t->CreateField("X", Long(kLong));
  f->SetValidationRule("> " + deep);
  t->GetFields()->Append(f);
  EXPECT_EQ(testing::ErrorNumberOf([&] { db_->GetTableDefs()->Append(t); }), e::kSyntaxInQuery);
  auto t2 = db_->CreateTableDef("V");
  auto g = t2->CreateField("X", Long(kLong));
  g->SetDefaultValue(minus);
  t2->GetFields()->Append(g);
  EXPECT_EQ(testing::ErrorNumberOf([&] { db_->GetTableDefs()->Append(t2); }), e::kSyntaxInQuery);
  EXPECT_EQ(
      testing::ErrorNumberOf([&] { db_->CreateQueryDef("Q", "SELECT * FROM T WHERE " + iifs); }),
      e::kSyntaxInQuery);
}

Variant D(int y, int m, int d) {
  Date out;
  vb::MakeDate(vb::DateParts{y, m, d, 0, 0, 0}, &out);
  return Variant(out);
}

// Orders: OrderID (Long, key), Customer and City (Text), OrderDate and
// ShippedDate (Date), Freight (Currency), Qty (Integer), Paid (Yes/No),
// Notes (Memo).
class OrdersTest : public ::testing::Test {
 protected:
  void SetUp() override {
    db_ = DBEngine::Get()->CreateDatabase(dir_.File("orders.mdb"), kLangGeneral);
    auto t = db_->CreateTableDef("Orders");
    auto add = [&](const char* name, int type, int size = 0) {
      t->GetFields()->Append(t->CreateField(name, Long(type), Long(size)));
    };
    add("OrderID", kLong);
    add("Customer", kText, 50);
    add("City", kText, 50);
    add("OrderDate", kDate);
    add("ShippedDate", kDate);
    add("Freight", kCurrency);
    add("Qty", kInteger);
    add("Paid", kBoolean);
    add("Notes", kMemo);
    auto pk = t->CreateIndex("PrimaryKey");
    pk->GetFields()->Append(pk->CreateField("OrderID"));
    pk->SetPrimary(true);
    t->GetIndexes()->Append(pk);
    db_->GetTableDefs()->Append(t);
    db_->Execute(
        "INSERT INTO Orders (OrderID, Customer, City, OrderDate, ShippedDate, Freight, Qty, Paid) "
        "VALUES (1, 'abc', 'München', #3/7/2003#, #3/9/2003#, 12.5, 3, True)");
    db_->Execute(
        "INSERT INTO Orders (OrderID, Customer, City, OrderDate, Freight, Qty, Paid) "
        "VALUES (2, 'Pâté', 'Berlin', #1/1/2025#, 0.1, 0, False)");
    db_->Execute(
        "INSERT INTO Orders (OrderID, Customer, City, OrderDate, Freight, Qty, Paid) "
        "VALUES (3, 'Pavlova', 'MÜNCHEN', #2/2/2020#, 7, 5, False)");
    db_->Execute("INSERT INTO Orders (OrderID, Customer, City) VALUES (4, 'Ärger', 'Aachen')");
    db_->Execute("INSERT INTO Orders (OrderID, Customer, City) VALUES (5, 'Berg', 'berlin')");
  }

  // The first row's field X of SELECT expression AS X FROM Orders WHERE
  // OrderID = 1.
  std::pair<int, Variant> One(const std::string& expression) {
    auto rs = db_->OpenRecordset("SELECT " + expression + " AS X FROM Orders WHERE OrderID = 1",
                                 Long(kOpenSnapshot));
    auto f = rs->GetFields()->Item("X");
    return {f->Type(), f->Value()};
  }

  std::vector<Variant> Column(const std::string& sql) {
    auto rs = db_->OpenRecordset(sql, Long(kOpenSnapshot));
    std::vector<Variant> out;
    while (!rs->Eof()) {
      out.push_back(rs->FieldValue(0));
      rs->MoveNext();
    }
    return out;
  }

  testing::TempDir dir_;
  std::shared_ptr<Database> db_;
};

TEST_F(OrdersTest, ComparisonsAreBooleansAndIgnoreCase) {
  EXPECT_EQ(One("\"a\" = \"A\""), std::make_pair(kBoolean, Variant(true)));
  EXPECT_EQ(One("Customer = \"ABC\""), std::make_pair(kBoolean, Variant(true)));
  EXPECT_EQ(One("1 < 2"), std::make_pair(kBoolean, Variant(true)));
  EXPECT_EQ(One("Not (1 < 2)"), std::make_pair(kBoolean, Variant(false)));
  EXPECT_EQ(One("(1 < 2) And (2 < 3)"), std::make_pair(kBoolean, Variant(true)));
  // Not, And, Or work bitwise on numbers, -1/0 on Booleans.
  EXPECT_EQ(One("Not 1"), std::make_pair(kLong, Long(-2)));
  EXPECT_EQ(One("3 And 5"), std::make_pair(kLong, Long(1)));
  EXPECT_EQ(One("Not Paid"), std::make_pair(kBoolean, Variant(false)));
  EXPECT_EQ(One("Paid Xor True"), std::make_pair(kBoolean, Variant(false)));
  EXPECT_EQ(One("Paid Imp False"), std::make_pair(kBoolean, Variant(false)));
  EXPECT_EQ(One("Paid Eqv True"), std::make_pair(kBoolean, Variant(true)));
  EXPECT_EQ(One("Customer Like \"A*\""), std::make_pair(kBoolean, Variant(true)));
  EXPECT_EQ(One("Customer Like \"[!x]?[a-d]\""), std::make_pair(kBoolean, Variant(true)));
  EXPECT_EQ(One("\"a1\" Like \"?#\""), std::make_pair(kBoolean, Variant(true)));
  EXPECT_EQ(One("Customer Is Null"), std::make_pair(kBoolean, Variant(false)));
  EXPECT_EQ(One("Qty Between 1 And 3"), std::make_pair(kBoolean, Variant(true)));
  EXPECT_EQ(One("City In (\"MÜNCHEN\", \"x\")"), std::make_pair(kBoolean, Variant(true)));
}

TEST_F(OrdersTest, DatesAreDates) {
  EXPECT_EQ(One("#3/7/2003#"), std::make_pair(kDate, D(2003, 3, 7)));
  EXPECT_EQ(One("DateSerial(2003, 3, 7)"), std::make_pair(kDate, D(2003, 3, 7)));
  EXPECT_EQ(One("DateAdd(\"m\", 1, OrderDate)"), std::make_pair(kDate, D(2003, 4, 7)));
  EXPECT_EQ(One("CDate(\"3/7/2003\")"), std::make_pair(kDate, D(2003, 3, 7)));
  EXPECT_EQ(One("CStr(OrderDate)"), std::make_pair(kText, Variant("3/7/2003")));
  EXPECT_EQ(One("\"x\" & #3/7/2003#"), std::make_pair(kText, Variant("x3/7/2003")));
  EXPECT_EQ(One("OrderDate + 30"), std::make_pair(kDate, D(2003, 4, 6)));
  EXPECT_EQ(One("ShippedDate - OrderDate"), std::make_pair(kDouble, Variant(2.0)));
  EXPECT_EQ(One("DateDiff(\"d\", OrderDate, ShippedDate)"), std::make_pair(kLong, Long(2)));
  EXPECT_EQ(One("DatePart(\"ww\", OrderDate)"), std::make_pair(kInteger, Int16(10)));
  EXPECT_EQ(One("DatePart(\"ww\", #1/1/2005#, 2, 2)"), std::make_pair(kInteger, Int16(53)));
  EXPECT_EQ(One("Year(OrderDate)"), std::make_pair(kInteger, Int16(2003)));
  EXPECT_EQ(One("Format(OrderDate, \"yyyy-mm-dd\")"), std::make_pair(kText, Variant("2003-03-07")));
  auto rs = db_->OpenRecordset("SELECT Min(OrderDate), Max(OrderDate) FROM Orders");
  EXPECT_EQ(rs->GetFields()->Item(Long(0))->Type(), kDate);
  EXPECT_EQ(rs->FieldValue(0), D(2003, 3, 7));
  EXPECT_EQ(rs->FieldValue(1), D(2025, 1, 1));
  EXPECT_EQ(Column("SELECT OrderID FROM Orders WHERE OrderDate > #1/1/2010# ORDER BY OrderDate"),
            (std::vector<Variant>{Long(3), Long(2)}));
  EXPECT_EQ(Column("SELECT OrderID FROM Orders WHERE OrderDate + 30 > #4/1/2003# AND "
                   "OrderDate < #1/1/2004#"),
            (std::vector<Variant>{Long(1)}));
}

TEST_F(OrdersTest, NumbersHaveJetsKinds) {
  EXPECT_EQ(One("CCur(1.5)"), std::make_pair(kCurrency, Variant(Currency{15000})));
  EXPECT_EQ(One("CCur(1.23456)"), std::make_pair(kCurrency, Variant(Currency{12346})));
  EXPECT_EQ(One("CInt(2.5)"), std::make_pair(kInteger, Int16(2)));
  EXPECT_EQ(One("CByte(3.5)"), std::make_pair(kByte, Byte(4)));
  EXPECT_EQ(One("CBool(5)"), std::make_pair(kBoolean, Variant(true)));
  EXPECT_EQ(One("5 \\ 2"), std::make_pair(kLong, Long(2)));
  EXPECT_EQ(One("7 Mod 3"), std::make_pair(kLong, Long(1)));
  EXPECT_EQ(One("2 ^ 10"), std::make_pair(kDouble, Variant(1024.0)));
  EXPECT_EQ(One("5 / 2"), std::make_pair(kDouble, Variant(2.5)));
  EXPECT_EQ(One("Round(2.5)"), std::make_pair(kDouble, Variant(2.0)));
  EXPECT_EQ(One("Round(Freight * 3, 1)"), std::make_pair(kCurrency, Variant(Currency{375000})));
  EXPECT_EQ(One("Freight * 2"), std::make_pair(kCurrency, Variant(Currency{250000})));
  // Whole-number literals are Longs.
  EXPECT_EQ(One("Qty + 1"), std::make_pair(kLong, Long(4)));
  EXPECT_EQ(One("Qty + Qty"), std::make_pair(kInteger, Int16(6)));
  EXPECT_EQ(One("Qty * 2.5"), std::make_pair(kDouble, Variant(7.5)));
  EXPECT_EQ(One("Abs(-Qty)"), std::make_pair(kInteger, Int16(3)));
  EXPECT_EQ(One("Sgn(-2)"), std::make_pair(kInteger, Int16(-1)));
  EXPECT_EQ(One("Sqr(16)"), std::make_pair(kDouble, Variant(4.0)));
  EXPECT_EQ(One("Int(-2.5)"), std::make_pair(kDouble, Variant(-3.0)));
  EXPECT_EQ(One("Fix(-2.5)"), std::make_pair(kDouble, Variant(-2.0)));
  EXPECT_EQ(One("Val(\"12abc\")"), std::make_pair(kDouble, Variant(12.0)));
  EXPECT_EQ(One("Len(City)"), std::make_pair(kLong, Long(7)));
  // + joins two texts, adds a number and a numeric text; Null propagates.
  EXPECT_EQ(One("\"John\" + \"Smith\""), std::make_pair(kText, Variant("JohnSmith")));
  EXPECT_EQ(One("1 + \"2\""), std::make_pair(kDouble, Variant(3.0)));
  EXPECT_EQ(One("1 + Null"), std::make_pair(kLong, Variant::Null()));
  EXPECT_EQ(One("\"x\" & Null & 5"), std::make_pair(kText, Variant("x5")));
}

TEST_F(OrdersTest, TextFunctions) {
  EXPECT_EQ(One("UCase(\"äb\")"), std::make_pair(kText, Variant("ÄB")));
  EXPECT_EQ(One("LCase(City)"), std::make_pair(kText, Variant("münchen")));
  EXPECT_EQ(One("Left(\"abc\", 2)"), std::make_pair(kText, Variant("ab")));
  EXPECT_EQ(One("Right(\"abc\", 2)"), std::make_pair(kText, Variant("bc")));
  EXPECT_EQ(One("Mid(City, 2, 3)"), std::make_pair(kText, Variant("ünc")));
  EXPECT_EQ(One("Asc(\"A\")"), std::make_pair(kInteger, Int16(65)));
  EXPECT_EQ(One("Chr(65)"), std::make_pair(kText, Variant("A")));
  EXPECT_EQ(One("InStr(1, \"abc\", \"B\", 1)"), std::make_pair(kLong, Long(2)));
  EXPECT_EQ(One("InStr(1, \"abc\", \"B\", 0)"), std::make_pair(kLong, Long(0)));
  EXPECT_EQ(One("InStrRev(\"abcb\", \"b\")"), std::make_pair(kLong, Long(4)));
  EXPECT_EQ(One("Hex(255) & Oct(8)"), std::make_pair(kText, Variant("FF10")));
  EXPECT_EQ(One("String(3, \"x\") & Space(1) & StrReverse(\"abc\")"),
            std::make_pair(kText, Variant("xxx cba")));
  EXPECT_EQ(One("Replace(\"a-b-c\", \"-\", \"+\")"), std::make_pair(kText, Variant("a+b+c")));
  EXPECT_EQ(One("StrComp(\"a\", \"B\")"), std::make_pair(kInteger, Int16(-1)));
  EXPECT_EQ(One("StrConv(\"ab cd\", 3)"), std::make_pair(kText, Variant("Ab Cd")));
  EXPECT_EQ(One("Trim(\"  x \") & LTrim(\" y\") & RTrim(\"z \")"),
            std::make_pair(kText, Variant("xyz")));
  EXPECT_EQ(One("Str(5)"), std::make_pair(kText, Variant(" 5")));
  EXPECT_EQ(One("Format(1234.5, \"#,##0.00\")"), std::make_pair(kText, Variant("1,234.50")));
  EXPECT_EQ(One("WeekdayName(1) & MonthName(3)"), std::make_pair(kText, Variant("SundayMarch")));
}

TEST_F(OrdersTest, ChoicesMathAndTime) {
  EXPECT_EQ(One("IIf(Qty > 2, \"big\", \"small\")"), std::make_pair(kText, Variant("big")));
  EXPECT_EQ(One("IIf(Qty > 2, 1, 2.5)"), std::make_pair(kDouble, Variant(1.0)));
  EXPECT_EQ(One("IIf(Qty > 2, #3/7/2003#, \"n/a\")"), std::make_pair(kText, Variant("3/7/2003")));
  // IIf computes only the branch it gives.
  EXPECT_EQ(One("IIf(Qty > 0, 1 / Qty, 1 / 0)"), std::make_pair(kDouble, Variant(1.0 / 3)));
  EXPECT_EQ(One("Switch(Qty = 1, \"one\", Qty = 3, \"three\")"),
            std::make_pair(kText, Variant("three")));
  EXPECT_EQ(One("Choose(2, \"a\", \"b\", \"c\")"), std::make_pair(kText, Variant("b")));
  EXPECT_EQ(One("Nz(ShippedDate, #1/1/2000#)"), std::make_pair(kDate, D(2003, 3, 9)));
  EXPECT_EQ(One("IsNull(Notes)"), std::make_pair(kBoolean, Variant(true)));
  EXPECT_EQ(One("IsNumeric(\"1e3\")"), std::make_pair(kBoolean, Variant(true)));
  EXPECT_EQ(One("IsDate(\"3/7/2003\")"), std::make_pair(kBoolean, Variant(true)));
  EXPECT_EQ(One("TimeSerial(6, 0, 0)"), std::make_pair(kDate, Variant(Date{0.25})));
  EXPECT_EQ(One("TimeValue(\"6:00 PM\")"), std::make_pair(kDate, Variant(Date{0.75})));
  EXPECT_EQ(One("Exp(0) + Log(1) + Atn(0) + Sin(0) + Cos(0) + Tan(0)"),
            std::make_pair(kDouble, Variant(2.0)));
  auto [type, r] = One("Rnd()");
  EXPECT_EQ(type, kSingle);
  EXPECT_LT(r.NumericValue(), 1.0);
  EXPECT_EQ(One("Date()").first, kDate);
  EXPECT_EQ(One("Now()").first, kDate);
  EXPECT_EQ(One("Time()").first, kDate);
}

TEST_F(OrdersTest, AggregatesHaveJetsTypes) {
  auto rs = db_->OpenRecordset(
      "SELECT Count(*), Sum(Freight), Avg(Qty), First(Customer), Last(Customer), StDev(Qty), "
      "StDevP(Qty), Var(Qty), VarP(Qty), Sum(Qty) FROM Orders");
  auto type = [&](int i) { return rs->GetFields()->Item(Long(i))->Type(); };
  EXPECT_EQ(type(0), kLong);
  EXPECT_EQ(rs->FieldValue(0), Long(5));
  EXPECT_EQ(type(1), kCurrency);
  EXPECT_EQ(rs->FieldValue(1), Variant(Currency{196000}));
  EXPECT_EQ(type(2), kDouble);
  EXPECT_EQ(rs->FieldValue(2), Variant(8.0 / 3));
  EXPECT_EQ(type(3), kText);
  EXPECT_EQ(rs->FieldValue(3), Variant("abc"));
  EXPECT_EQ(rs->FieldValue(4), Variant("Berg"));
  EXPECT_EQ(type(5), kDouble);
  EXPECT_NEAR(rs->FieldValue(5).NumericValue(), 2.5166114784235836, 1e-12);
  EXPECT_NEAR(rs->FieldValue(6).NumericValue(), 2.0548046676563256, 1e-12);
  EXPECT_NEAR(rs->FieldValue(7).NumericValue(), 19.0 / 3, 1e-12);
  EXPECT_NEAR(rs->FieldValue(8).NumericValue(), 38.0 / 9, 1e-12);
  EXPECT_EQ(type(9), kDouble);
}

TEST_F(OrdersTest, TextsFollowJetsSortOrder) {
  EXPECT_EQ(Column("SELECT Customer FROM Orders ORDER BY Customer"),
            (std::vector<Variant>{"abc", "Ärger", "Berg", "Pâté", "Pavlova"}));
  EXPECT_EQ(Column("SELECT OrderID FROM Orders WHERE City = \"MÜNCHEN\" ORDER BY OrderID"),
            (std::vector<Variant>{Long(1), Long(3)}));
  EXPECT_EQ(Column("SELECT OrderID FROM Orders WHERE City = \"MUNCHEN\""), std::vector<Variant>{});
  EXPECT_EQ(Column("SELECT OrderID FROM Orders WHERE City Between \"a\" And \"BERLIN\" "
                   "ORDER BY OrderID"),
            (std::vector<Variant>{Long(2), Long(4), Long(5)}));
  EXPECT_EQ(Column("SELECT OrderID FROM Orders WHERE City In (\"berlin\") ORDER BY OrderID"),
            (std::vector<Variant>{Long(2), Long(5)}));
  EXPECT_EQ(Column("SELECT OrderID FROM Orders WHERE City Like \"m*\" ORDER BY OrderID"),
            (std::vector<Variant>{Long(1), Long(3)}));
  EXPECT_EQ(Column("SELECT Count(*) FROM Orders GROUP BY City ORDER BY City"),
            (std::vector<Variant>{Long(1), Long(2), Long(2)}));
  EXPECT_EQ(Column("SELECT DISTINCT UCase(City) FROM Orders").size(), 3u);
  EXPECT_EQ(Column("SELECT Min(City) & \"/\" & Max(City) FROM Orders"),
            (std::vector<Variant>{"Aachen/München"}));
  EXPECT_EQ(Column("SELECT a.OrderID FROM Orders AS a INNER JOIN Orders AS b ON a.City = "
                   "UCase(b.City) WHERE b.OrderID = 1 ORDER BY a.OrderID"),
            (std::vector<Variant>{Long(1), Long(3)}));
  auto rs = db_->OpenRecordset("Orders", Long(kOpenDynaset));
  rs->FindFirst("City = 'münchen' And OrderID > 1");
  EXPECT_EQ(rs->Value("OrderID"), Long(3));
  rs->FindFirst("Customer = 'PATE'");
  EXPECT_TRUE(rs->NoMatch());
  auto snap = db_->OpenRecordset("SELECT * FROM Orders", Long(kOpenSnapshot));
  snap->FindFirst("Customer = 'ärger'");
  EXPECT_EQ(snap->Value("OrderID"), Long(4));
}

TEST_F(OrdersTest, UniqueIndexesCompareAsJet) {
  auto t = db_->GetTableDefs()->Item("Orders");
  auto ix = t->CreateIndex("ByCustomer");
  ix->GetFields()->Append(ix->CreateField("Customer"));
  ix->SetUnique(true);
  t->GetIndexes()->Append(ix);
  EXPECT_EQ(testing::ErrorNumberOf([&] {
              db_->Execute("INSERT INTO Orders (OrderID, Customer) VALUES (9, 'PAVLOVA')");
            }),
            e::kDuplicate);
  db_->Execute("INSERT INTO Orders (OrderID, Customer) VALUES (9, 'Pate')");  // accents count
  EXPECT_EQ(testing::ErrorNumberOf([&] {
              db_->Execute("INSERT INTO Orders (OrderID, Customer) VALUES (10, 'PÂTÉ')");
            }),
            e::kDuplicate);
}

TEST_F(OrdersTest, YesNoStoresMinusOneForAnyNonZero) {
  db_->Execute("UPDATE Orders SET Paid = 1 WHERE OrderID = 2");
  db_->Execute("INSERT INTO Orders (OrderID, Paid) VALUES (7, 5)");
  db_->Execute("UPDATE Orders SET Paid = 7 WHERE OrderID = 3", Long(kSQLPassThrough));
  auto rs = db_->OpenRecordset(
      "SELECT OrderID, Paid, Paid = -1 FROM Orders WHERE OrderID IN "
      "(2, 3, 7) ORDER BY OrderID");
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(rs->FieldValue(1), Variant(true));
    EXPECT_EQ(rs->FieldValue(2), Variant(true));
    rs->MoveNext();
  }
  EXPECT_EQ(Column("SELECT Sum(Paid) FROM Orders"), (std::vector<Variant>{Variant(-4.0)}));
}

TEST_F(OrdersTest, ErrorsAreJets) {
  EXPECT_EQ(testing::ErrorNumberOf([&] { db_->OpenRecordset("SELECT Qty + FROM Orders"); }),
            e::kSyntaxInQuery);
  EXPECT_EQ(testing::ErrorNumberOf([&] { db_->OpenRecordset("SELECT Frob(Qty) FROM Orders"); }),
            e::kUndefinedFunction);
  EXPECT_EQ(testing::ErrorNumberOf([&] { db_->OpenRecordset("SELECT Nope FROM Orders"); }),
            e::kTooFewParameters);
  EXPECT_EQ(testing::ErrorNumberOf(
                [&] { db_->OpenRecordset("SELECT * FROM Orders WHERE Customer = 5"); }),
            e::kCriteriaMismatch);
  auto rs = db_->OpenRecordset("Orders", Long(kOpenDynaset));
  EXPECT_EQ(testing::ErrorNumberOf([&] { rs->FindFirst("OrderID = 'x'"); }), e::kCriteriaMismatch);
  EXPECT_EQ(testing::ErrorNumberOf([&] { rs->FindFirst("Nope = 1"); }),
            e::kUnknownFieldInExpression);
  EXPECT_EQ(testing::ErrorNumberOf([&] { rs->FindFirst("OrderID = (1"); }), e::kSyntaxInCriteria);
  EXPECT_EQ(testing::ErrorNumberOf([&] { One("CLng(\"abc\")"); }), err::kTypeMismatch);
  // An error in one row's value surfaces when that row is read.
  auto q = db_->OpenRecordset(
      "SELECT OrderID, 10 / (OrderID - 2) AS R FROM Orders ORDER BY OrderID", Long(kOpenSnapshot));
  EXPECT_EQ(q->FieldValue(1), Variant(-10.0));
  q->MoveNext();
  EXPECT_EQ(testing::ErrorNumberOf([&] { q->FieldValue(1); }), 11);
  q->MoveNext();
  EXPECT_EQ(q->FieldValue(1), Variant(10.0));
  // In a condition it stops the statement.
  EXPECT_EQ(testing::ErrorNumberOf(
                [&] { db_->OpenRecordset("SELECT * FROM Orders WHERE 10 / (OrderID - 2) > 1"); }),
            11);
}

TEST_F(OrdersTest, WritesConvertToTheFieldsType) {
  db_->Execute(
      "UPDATE Orders SET Qty = 2.5, Freight = 1.23456, Customer = #3/7/2003#, "
      "ShippedDate = '3/8/2003' WHERE OrderID = 4");
  auto rs = db_->OpenRecordset(
      "SELECT Qty, Freight, Customer, ShippedDate FROM Orders WHERE "
      "OrderID = 4");
  EXPECT_EQ(rs->FieldValue(0), Int16(2));
  EXPECT_EQ(rs->FieldValue(1), Variant(Currency{12346}));
  EXPECT_EQ(rs->FieldValue(2), Variant("3/7/2003"));
  EXPECT_EQ(rs->FieldValue(3), D(2003, 3, 8));
  EXPECT_EQ(testing::ErrorNumberOf(
                [&] { db_->Execute("UPDATE Orders SET Qty = 40000 WHERE OrderID = 4"); }),
            e::kNumericOverflow);
}

TEST_F(OrdersTest, RulesAndDefaultsAreTyped) {
  auto t = db_->CreateTableDef("Rules");
  auto when = t->CreateField("When", Long(kDate));
  when->SetValidationRule(">= #1/1/2000# And < DateSerial(2030, 1, 1)");
  when->SetDefaultValue("=DateSerial(2003, 3, 7)");
  t->GetFields()->Append(when);
  auto name = t->CreateField("Name", Long(kText), Long(20));
  name->SetValidationRule("Like \"[A-Z]*\" And Len(Name) > 1");
  t->GetFields()->Append(name);
  auto flag = t->CreateField("Flag", Long(kBoolean));
  flag->SetDefaultValue("True");
  t->GetFields()->Append(flag);
  db_->GetTableDefs()->Append(t);
  auto rs = db_->OpenRecordset("Rules", Long(kOpenDynaset));
  rs->AddNew();
  EXPECT_EQ(rs->Value("When"), D(2003, 3, 7));
  EXPECT_EQ(rs->Value("Flag"), Variant(true));
  rs->GetFields()->Item("Name")->SetValue("ärger");
  rs->Update();
  EXPECT_EQ(testing::ErrorNumberOf(
                [&] { db_->Execute("INSERT INTO Rules (When, Name) VALUES (#1/1/1999#, 'ab')"); }),
            e::kFieldRule);
  EXPECT_EQ(testing::ErrorNumberOf(
                [&] { db_->Execute("INSERT INTO Rules (When, Name) VALUES (#1/1/2001#, '1b')"); }),
            e::kFieldRule);
  db_->Execute("INSERT INTO Rules (Name) VALUES ('Bb')");
  EXPECT_EQ(Column("SELECT When FROM Rules WHERE Name = 'BB'"),
            (std::vector<Variant>{D(2003, 3, 7)}));
}

}  // namespace
}  // namespace qor::dao
