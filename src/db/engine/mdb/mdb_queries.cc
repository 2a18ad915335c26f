// Stored queries of a Jet file: Jet keeps a query not as text but as rows
// of MSysQueries (one row per table, column, join, criterion, ...); the
// SQL of a select query is rebuilt from them here.

#include <algorithm>
#include <map>
#include <set>

#include "db/engine/mdb/mdb_file.h"
#include "qorsupport/frame/vb.h"

namespace qor::dao::mdb {

namespace {

// MSysQueries.Attribute values.
enum Attribute {
  kType = 1,
  kFlags = 3,
  kTable = 5,
  kColumn = 6,
  kJoin = 7,
  kWhere = 8,
  kGroup = 9,
  kHaving = 10,
  kOrder = 11,
};

// MSysQueries.Flag of the kType row.
constexpr int kSelectQuery = 1;

// Bits of the kFlags row.
constexpr int kSelectStar = 0x1;
constexpr int kDistinct = 0x2;
constexpr int kDistinctRow = 0x8;
constexpr int kTop = 0x10;
constexpr int kPercent = 0x20;

struct QueryRow {
  int attribute = 0;
  std::string expression;
  int flag = 0;
  std::string name1;
  std::string name2;
  std::string order;  // the row's place among its attribute's rows
};

std::string Text(const Variant& v) { return v.IsNull() || v.IsEmpty() ? "" : vb::CStr(v); }

std::string OrderKey(const Variant& v) {
  std::string key;
  if (v.IsArray()) {
    for (const Variant& b : v.AsArray().elements()) {
      key += static_cast<char>(static_cast<uint8_t>(b.NumericValue()));
    }
  }
  return key;
}

std::string Bracket(std::string_view name) { return "[" + std::string(name) + "]"; }

// Joins texts with sep.
std::string JoinTexts(const std::vector<std::string>& texts, std::string_view sep) {
  std::string out;
  for (const std::string& t : texts) {
    if (!out.empty()) out += sep;
    out += t;
  }
  return out;
}

std::vector<std::string> Expressions(const std::vector<QueryRow>& rows, int attribute) {
  std::vector<std::string> out;
  for (const QueryRow& r : rows) {
    if (r.attribute == attribute && !r.expression.empty()) out.push_back(r.expression);
  }
  return out;
}

// The FROM clause: the tables, combined by the joins into nested JOIN
// expressions as Jet writes them.
std::string FromClause(const std::vector<QueryRow>& rows) {
  struct Group {
    std::set<std::string> names;  // upper-case names and aliases in it
    std::string text;
    bool is_join = false;
  };
  std::vector<Group> groups;
  for (const QueryRow& r : rows) {
    if (r.attribute != kTable) continue;
    Group g;
    std::string source = r.expression.empty() ? Bracket(r.name1) : "(" + r.expression + ")";
    g.text = r.name2.empty() ? source : source + " AS " + Bracket(r.name2);
    g.names.insert(vb::UCase(r.name2.empty() ? r.name1 : r.name2));
    groups.push_back(std::move(g));
  }
  auto find = [&](const std::string& name) {
    std::string key = vb::UCase(name);
    for (size_t i = 0; i < groups.size(); ++i) {
      if (groups[i].names.count(key)) return static_cast<int>(i);
    }
    return -1;
  };
  for (const QueryRow& r : rows) {
    if (r.attribute != kJoin) continue;
    int left = find(r.name1);
    int right = find(r.name2);
    if (left < 0 || right < 0 || left == right) continue;
    const char* kind = r.flag == 2 ? " LEFT JOIN " : r.flag == 3 ? " RIGHT JOIN " : " INNER JOIN ";
    auto operand = [](const Group& g) { return g.is_join ? "(" + g.text + ")" : g.text; };
    Group& l = groups[static_cast<size_t>(left)];
    Group& rg = groups[static_cast<size_t>(right)];
    l.text = operand(l) + kind + operand(rg) + " ON " + r.expression;
    l.is_join = true;
    l.names.insert(rg.names.begin(), rg.names.end());
    groups.erase(groups.begin() + right);
  }
  std::vector<std::string> parts;
  for (const Group& g : groups) parts.push_back(g.text);
  return JoinTexts(parts, ", ");
}

std::string SelectSql(const std::vector<QueryRow>& rows) {
  int flags = 0;
  std::string top;
  for (const QueryRow& r : rows) {
    if (r.attribute == kFlags) {
      flags = r.flag;
      top = r.name1;
    }
  }
  std::string sql = "SELECT ";
  if (flags & kDistinct) sql += "DISTINCT ";
  if (flags & kDistinctRow) sql += "DISTINCTROW ";
  if ((flags & kTop) && !top.empty())
    sql += "TOP " + top + ((flags & kPercent) ? " PERCENT " : " ");
  std::vector<std::string> columns;
  if (flags & kSelectStar) columns.push_back("*");
  for (const QueryRow& r : rows) {
    if (r.attribute != kColumn) continue;
    columns.push_back(r.name1.empty() ? r.expression : r.expression + " AS " + Bracket(r.name1));
  }
  if (columns.empty()) columns.push_back("*");
  sql += JoinTexts(columns, ", ");
  sql += " FROM " + FromClause(rows);
  std::vector<std::string> where = Expressions(rows, kWhere);
  if (!where.empty()) sql += " WHERE " + JoinTexts(where, " AND ");
  std::vector<std::string> group = Expressions(rows, kGroup);
  if (!group.empty()) sql += " GROUP BY " + JoinTexts(group, ", ");
  std::vector<std::string> having = Expressions(rows, kHaving);
  if (!having.empty()) sql += " HAVING " + JoinTexts(having, " AND ");
  std::vector<std::string> order;
  for (const QueryRow& r : rows) {
    if (r.attribute != kOrder || r.expression.empty()) continue;
    order.push_back(r.expression + (vb::UCase(r.name1) == "D" ? " DESC" : ""));
  }
  if (!order.empty()) sql += " ORDER BY " + JoinTexts(order, ", ");
  return sql + ";";
}

}  // namespace

std::vector<QueryInfo> JetFile::ReadQueries() {
  std::vector<std::pair<std::string, uint32_t>> queries;  // name, object id
  GPtrArray* catalog = handle_->get()->catalog;
  for (guint i = 0; catalog && i < catalog->len; ++i) {
    auto* entry = static_cast<MdbCatalogEntry*>(g_ptr_array_index(catalog, i));
    if (entry->object_type != MDB_QUERY) continue;
    queries.emplace_back(entry->object_name, static_cast<uint32_t>(entry->table_pg) & 0xFFFFFF);
  }
  if (queries.empty() || !handle_->FindTable("MSysQueries")) return {};

  std::map<uint32_t, std::vector<QueryRow>> rows;
  RowReader reader(path_, "MSysQueries");
  const std::vector<FieldInfo>& fields =
      Tables()[static_cast<size_t>(FindByName(Tables(), "MSysQueries"))].fields;
  auto column = [&](std::string_view name) { return FindByName(fields, name); };
  int c_attribute = column("Attribute"), c_expression = column("Expression"),
      c_flag = column("Flag"), c_name1 = column("Name1"), c_name2 = column("Name2"),
      c_object = column("ObjectId"), c_order = column("Order");
  if (c_attribute < 0 || c_object < 0) return {};
  auto at = [&](int c) -> Variant {
    return c < 0 ? Variant::Null() : reader.values()[static_cast<size_t>(c)];
  };
  while (reader.Next()) {
    QueryRow row;
    row.attribute = static_cast<int>(vb::Val(Text(at(c_attribute))));
    row.expression = Text(at(c_expression));
    row.flag = at(c_flag).IsNull() ? 0 : static_cast<int>(at(c_flag).NumericValue());
    row.name1 = Text(at(c_name1));
    row.name2 = Text(at(c_name2));
    row.order = OrderKey(at(c_order));
    auto id = static_cast<uint32_t>(static_cast<int64_t>(at(c_object).NumericValue())) & 0xFFFFFF;
    rows[id].push_back(std::move(row));
  }

  std::vector<QueryInfo> out;
  for (const auto& [name, id] : queries) {
    std::vector<QueryRow>& parts = rows[id];
    std::stable_sort(parts.begin(), parts.end(), [](const QueryRow& a, const QueryRow& b) {
      return a.attribute != b.attribute ? a.attribute < b.attribute : a.order < b.order;
    });
    int type = kSelectQuery;
    for (const QueryRow& r : parts) {
      if (r.attribute == kType) type = r.flag;
    }
    QueryInfo q;
    q.name = name;
    if (type == kSelectQuery) q.sql = SelectSql(parts);
    out.push_back(std::move(q));
  }
  return out;
}

}  // namespace qor::dao::mdb
