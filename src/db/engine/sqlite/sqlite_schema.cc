// The SQLite backend's schema changes: tables, fields, indexes, stored
// queries and properties in the catalog, and the triggers that keep the
// catalog's rules for every writer.

#include <cctype>

#include "db/engine/jet_sql.h"
#include "db/engine/sqlite/sqlite_backend.h"
#include "db/engine/sqlite/sqlite_catalog.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/frame/vb_date.h"

namespace qor::dao::sqlite {

using jet::QuoteName;
using jet::QuoteText;

char KindCode(ObjectKey::Kind kind) {
  switch (kind) {
    case ObjectKey::Kind::kDatabase:
      return 'D';
    case ObjectKey::Kind::kTable:
      return 'T';
    case ObjectKey::Kind::kField:
      return 'F';
    case ObjectKey::Kind::kIndex:
      return 'I';
    case ObjectKey::Kind::kQuery:
      return 'Q';
  }
  return 'D';
}

std::string Now() { return DateToIso(vb::Now()); }

std::string EncodeIndexFields(const std::vector<IndexFieldInfo>& fields) {
  std::string out;
  for (const IndexFieldInfo& f : fields) {
    if (!out.empty()) out += '\n';
    out += f.name + '\t' + std::to_string(f.attributes);
  }
  return out;
}

std::vector<IndexFieldInfo> DecodeIndexFields(const std::string& text) {
  std::vector<IndexFieldInfo> fields;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    std::string line = text.substr(start, end - start);
    size_t tab = line.find('\t');
    IndexFieldInfo f;
    f.name = line.substr(0, tab);
    if (tab != std::string::npos) f.attributes = std::atoi(line.c_str() + tab + 1);
    fields.push_back(f);
    start = end + 1;
  }
  return fields;
}

namespace {

// The RAISE that a rule's trigger step gives.
std::string RaiseStep(int32_t number, const std::string& text, const std::string& condition) {
  return "SELECT RAISE(ABORT, " + QuoteText("qor|" + std::to_string(number) + "|" + text) +
         ") WHERE " + condition + ";\n";
}

}  // namespace

// ---- Rules ---------------------------------------------------------------------------

void SqliteBackend::DropRules(std::string_view table) {
  std::string t(table);
  for (const char* suffix : {".insert", ".update", ".counter", ".yesno", ".yesno.update"}) {
    db_->Exec("DROP TRIGGER IF EXISTS " + QuoteName(t + suffix));
  }
}

void SqliteBackend::WriteRules(const TableInfo& table) {
  DropRules(table.name);
  std::string checks, counters, yes_no, yes_no_when;
  for (const FieldInfo& f : table.fields) {
    std::string col = "NEW." + QuoteName(f.name);
    bool counter = (f.attributes & kAutoIncrField) != 0;
    if (f.required && !counter) {
      checks += RaiseStep(e::kRequired, FormatText(e::kRequired, {table.name + "." + f.name}),
                          col + " IS NULL");
    }
    if (IsTextType(f.type) && !f.allow_zero_length) {
      checks += RaiseStep(e::kZeroLength, FormatText(e::kZeroLength, {table.name + "." + f.name}),
                          col + " = ''");
    }
    if ((f.type == kText || f.type == kChar) && f.size > 0) {
      checks += RaiseStep(e::kFieldTooSmall, FormatText(e::kFieldTooSmall, {}),
                          "length(" + col + ") > " + std::to_string(f.size));
    }
    if (f.type == kByte || f.type == kInteger || f.type == kLong) {
      std::string range = f.type == kByte      ? "0 AND 255"
                          : f.type == kInteger ? "-32768 AND 32767"
                                               : "-2147483648 AND 2147483647";
      checks += RaiseStep(
          e::kNumericOverflow, FormatText(e::kNumericOverflow, {}),
          "typeof(" + col + ") IN ('integer','real') AND " + col + " NOT BETWEEN " + range);
    }
    if (f.type == kBoolean) {
      // Jet stores any non-zero Yes/No value as -1 (True), whoever writes it.
      std::string name = QuoteName(f.name);
      yes_no += "UPDATE " + QuoteName(table.name) + " SET " + name + " = CASE WHEN " + name +
                " = 0 THEN 0 ELSE -1 END WHERE rowid = NEW.rowid AND " + name +
                " NOT IN (0, -1);\n";
      yes_no_when += std::string(yes_no_when.empty() ? "" : " OR ") + col + " NOT IN (0, -1)";
    }
    if (!f.validation_rule.empty()) {
      jet::ExpressionOptions options{"NEW.", col};
      options.implied_type = f.type;
      options.fields = &table.fields;
      std::string rule = jet::TranslateExpression(f.validation_rule, options);
      std::string text =
          !f.validation_text.empty()
              ? f.validation_text
              : FormatText(e::kFieldRule, {f.validation_rule, table.name + "." + f.name});
      checks += RaiseStep(e::kFieldRule, text, "NOT (" + rule + ")");
    }
    if (counter) {
      std::string where =
          " WHERE TableName = " + QuoteText(table.name) + " AND Name = " + QuoteText(f.name);
      counters += "UPDATE " + QuoteName(table.name) + " SET " + QuoteName(f.name) +
                  " = (SELECT Seed FROM MSysColumns" + where + ") WHERE rowid = NEW.rowid AND " +
                  col + " IS NULL;\n";
      counters += "UPDATE MSysColumns SET Seed = max(Seed, (SELECT " + QuoteName(f.name) +
                  " FROM " + QuoteName(table.name) + " WHERE rowid = NEW.rowid) + 1)" + where +
                  ";\n";
    }
  }
  for (const IndexInfo& ix : table.indexes) {
    if (!ix.primary) continue;
    for (const IndexFieldInfo& f : ix.fields) {
      int i = FindByName(table.fields, f.name);
      if (i >= 0 && (table.fields[static_cast<size_t>(i)].attributes & kAutoIncrField)) continue;
      checks += RaiseStep(e::kNullInIndex, FormatText(e::kNullInIndex, {}),
                          "NEW." + QuoteName(f.name) + " IS NULL");
    }
  }
  if (!table.validation_rule.empty()) {
    jet::ExpressionOptions options{"NEW.", ""};
    options.fields = &table.fields;
    std::string rule = jet::TranslateExpression(table.validation_rule, options);
    std::string text = !table.validation_text.empty()
                           ? table.validation_text
                           : FormatText(e::kTableRule, {table.validation_rule, table.name});
    checks += RaiseStep(e::kTableRule, text, "NOT (" + rule + ")");
  }
  std::string t = QuoteName(table.name);
  if (!checks.empty()) {
    db_->Exec("CREATE TRIGGER " + QuoteName(table.name + ".insert") + " BEFORE INSERT ON " + t +
              " BEGIN\n" + checks + "END");
    db_->Exec("CREATE TRIGGER " + QuoteName(table.name + ".update") + " BEFORE UPDATE ON " + t +
              " BEGIN\n" + checks + "END");
  }
  if (!counters.empty()) {
    db_->Exec("CREATE TRIGGER " + QuoteName(table.name + ".counter") + " AFTER INSERT ON " + t +
              " BEGIN\n" + counters + "END");
  }
  if (!yes_no.empty()) {
    db_->Exec("CREATE TRIGGER " + QuoteName(table.name + ".yesno") + " AFTER INSERT ON " + t +
              " WHEN " + yes_no_when + " BEGIN\n" + yes_no + "END");
    db_->Exec("CREATE TRIGGER " + QuoteName(table.name + ".yesno.update") + " AFTER UPDATE ON " +
              t + " WHEN " + yes_no_when + " BEGIN\n" + yes_no + "END");
  }
}

// ---- Changing the catalog ------------------------------------------------------------

namespace {

std::string ColumnDefinition(const FieldInfo& f, bool allow_expression_default) {
  std::string def = QuoteName(f.name) + " " + ColumnType(f.type);
  if (!f.default_value.empty()) {
    std::string expr = jet::TranslateValue(
        f.default_value.front() == '=' ? f.default_value.substr(1) : f.default_value);
    bool literal = !expr.empty() && (expr.front() == '\'' ||
                                     std::isdigit(static_cast<unsigned char>(expr.front())) ||
                                     expr.front() == '-' || expr == "NULL");
    if (literal || allow_expression_default) def += " DEFAULT (" + expr + ")";
  }
  return def;
}

// A field's rule must translate (with the field where a comparison lacks
// its left side).
void CheckFieldRule(const FieldInfo& f) {
  jet::ExpressionOptions options{"NEW.", "NEW." + QuoteName(f.name)};
  options.implied_type = f.type;
  jet::TranslateExpression(f.validation_rule, options);
}

void CheckField(const FieldInfo& f) {
  CheckName(f.name);
  if (!IsValidFieldType(f.type)) Fail(e::kInvalidFieldType);
  if ((f.type == kText || f.type == kChar) && (f.size < 0 || f.size > 255)) {
    Fail(e::kInvalidArgument);
  }
}

}  // namespace

void SqliteBackend::CreateTable(const TableInfo& table) {
  CheckName(table.name);
  if (table.fields.empty()) Fail(e::kNoFieldDefined);
  for (size_t i = 0; i < table.fields.size(); ++i) {
    CheckField(table.fields[i]);
    for (size_t j = 0; j < i; ++j) {
      if (SameName(table.fields[i].name, table.fields[j].name)) Fail(e::kFieldExists);
    }
  }
  Atomically([&] {
    {
      auto exists = db_->Prepare(
          "SELECT 1 FROM sqlite_schema WHERE name = ?1 COLLATE NOCASE"
          " AND type IN ('table','view')");
      exists->BindText(1, table.name);
      if (exists->Step()) Fail(e::kTableExists, {table.name});
    }
    for (const char* stale : {"DELETE FROM MSysColumns WHERE TableName = ?1",
                              "DELETE FROM MSysIndexes WHERE TableName = ?1",
                              "DELETE FROM MSysProperties WHERE TableName = ?1 AND Kind <> 'Q'",
                              "DELETE FROM MSysObjects WHERE Name = ?1"}) {
      auto stmt = db_->Prepare(stale);
      stmt->BindText(1, table.name);
      stmt->Run();
    }
    std::string ddl = "CREATE TABLE " + QuoteName(table.name) + " (";
    for (size_t i = 0; i < table.fields.size(); ++i) {
      ddl += (i ? ", " : "") + ColumnDefinition(table.fields[i], true);
    }
    db_->Exec(ddl + ")");
    auto obj = db_->Prepare(
        "INSERT INTO MSysObjects(Name, Kind, Attributes, ValidationRule,"
        " ValidationText, Connect, SourceTable, DateCreate, DateUpdate)"
        " VALUES (?1, 'T', ?2, ?3, ?4, ?5, ?6, ?7, ?7)");
    obj->BindText(1, table.name).BindInt(2, table.attributes & ~kSystemObject);
    obj->BindText(3, table.validation_rule).BindText(4, table.validation_text);
    obj->BindText(5, table.connect).BindText(6, table.source_table_name).BindText(7, Now());
    obj->Run();
    obj.reset();
    TableInfo created = table;
    created.indexes.clear();
    for (FieldInfo& f : created.fields) {
      f.ordinal_position = -1;
      AddField(table.name, f);  // catalog row only: the column exists
    }
    for (const PropertyInfo& p : table.properties) {
      SaveProperty({ObjectKey::Kind::kTable, table.name, ""}, p);
    }
    for (const FieldInfo& f : table.fields) {
      for (const PropertyInfo& p : f.properties) {
        SaveProperty({ObjectKey::Kind::kField, table.name, f.name}, p);
      }
    }
    WriteRules(Describe(table.name, true));
    for (const IndexInfo& ix : table.indexes) CreateIndex(table.name, ix);
  });
}

void SqliteBackend::DropTable(std::string_view table) {
  const TableInfo& info = Table(table);
  if (info.attributes & kSystemObject) Fail(e::kReadOnly);
  std::string name = info.name;
  if (locks_ && !locks_->TableFree(name, true)) Fail(e::kTableInUse, {name});
  Atomically([&] {
    DropRules(name);
    db_->Exec("DROP TABLE " + QuoteName(name));
    for (const char* sql : {"DELETE FROM MSysColumns WHERE TableName = ?1",
                            "DELETE FROM MSysIndexes WHERE TableName = ?1",
                            "DELETE FROM MSysProperties WHERE TableName = ?1 AND Kind <> 'Q'",
                            "DELETE FROM MSysObjects WHERE Name = ?1 AND Kind = 'T'"}) {
      auto stmt = db_->Prepare(sql);
      stmt->BindText(1, name);
      stmt->Run();
    }
  });
}

void SqliteBackend::UpdateTable(std::string_view old_name, const TableInfo& table) {
  TableInfo current = Table(old_name);
  if (!table.validation_rule.empty()) jet::TranslateExpression(table.validation_rule);
  Atomically([&] {
    if (!SameName(current.name, table.name) || current.name != table.name) {
      CheckName(table.name);
      if (!SameName(current.name, table.name)) {
        auto exists = db_->Prepare("SELECT 1 FROM sqlite_schema WHERE name = ?1 COLLATE NOCASE");
        exists->BindText(1, table.name);
        if (exists->Step()) Fail(e::kTableExists, {table.name});
      }
      DropRules(current.name);
      db_->Exec("ALTER TABLE " + QuoteName(current.name) + " RENAME TO " + QuoteName(table.name));
      for (const char* sql : {"UPDATE MSysColumns SET TableName = ?2 WHERE TableName = ?1",
                              "UPDATE MSysIndexes SET TableName = ?2 WHERE TableName = ?1",
                              "UPDATE MSysProperties SET TableName = ?2 WHERE TableName = ?1"
                              " AND Kind <> 'Q'",
                              "UPDATE MSysObjects SET Name = ?2 WHERE Name = ?1 AND Kind = 'T'"}) {
        auto stmt = db_->Prepare(sql);
        stmt->BindText(1, current.name).BindText(2, table.name);
        stmt->Run();
      }
    }
    auto stmt = db_->Prepare(
        "UPDATE MSysObjects SET Attributes = ?2, ValidationRule = ?3,"
        " ValidationText = ?4, DateUpdate = ?5 WHERE Name = ?1");
    stmt->BindText(1, table.name).BindInt(2, table.attributes & ~kSystemObject);
    stmt->BindText(3, table.validation_rule).BindText(4, table.validation_text);
    stmt->BindText(5, Now());
    stmt->Run();
    stmt.reset();
    WriteRules(Describe(table.name, true));
  });
}

void SqliteBackend::AddField(std::string_view table, const FieldInfo& field) {
  // ordinal_position -1: the column already exists (CreateTable).
  bool catalog_only = field.ordinal_position == -1;
  std::string tname;
  int32_t position = 0;
  if (!catalog_only) {
    CheckField(field);
    const TableInfo& info = Table(table);
    if (info.attributes & kSystemObject) Fail(e::kReadOnly);
    if (FindByName(info.fields, field.name) >= 0) Fail(e::kFieldExists);
    if (!field.validation_rule.empty()) CheckFieldRule(field);
    tname = info.name;
    position = static_cast<int32_t>(info.fields.size());
  } else {
    tname = std::string(table);
    auto count = db_->Prepare("SELECT count(*) FROM MSysColumns WHERE TableName = ?1");
    count->BindText(1, tname);
    count->Step();
    position = static_cast<int32_t>(count->Int(0));
  }
  auto body = [&] {
    if (!catalog_only) {
      db_->Exec("ALTER TABLE " + QuoteName(tname) + " ADD COLUMN " +
                ColumnDefinition(field, false));
    }
    auto stmt = db_->Prepare(
        "INSERT INTO MSysColumns(TableName, Name, Position, Type, Size, Attributes, Required,"
        " AllowZeroLength, DefaultValue, ValidationRule, ValidationText)"
        " VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11)");
    int32_t size = field.size > 0 ? field.size : DefaultFieldSize(field.type);
    if (!IsTextType(field.type) || field.type == kMemo) size = DefaultFieldSize(field.type);
    int32_t attributes = field.attributes | kUpdatableField;
    if (field.attributes & kAutoIncrField) attributes &= ~kUpdatableField;
    if (!(attributes & kFixedField) && !(attributes & kVariableField)) {
      attributes |= IsTextType(field.type) ? kVariableField : kFixedField;
    }
    stmt->BindText(1, tname).BindText(2, field.name).BindInt(3, position);
    stmt->BindInt(4, field.type).BindInt(5, size).BindInt(6, attributes);
    stmt->BindInt(7, field.required ? 1 : 0).BindInt(8, field.allow_zero_length ? 1 : 0);
    stmt->BindText(9, field.default_value).BindText(10, field.validation_rule);
    stmt->BindText(11, field.validation_text);
    stmt->Run();
    stmt.reset();
    if (!catalog_only) {
      for (const PropertyInfo& p : field.properties) {
        SaveProperty({ObjectKey::Kind::kField, tname, field.name}, p);
      }
      WriteRules(Describe(tname, true));
    }
  };
  if (catalog_only) {
    body();
  } else {
    Atomically(body);
  }
}

void SqliteBackend::DropField(std::string_view table, std::string_view field) {
  TableInfo info = Table(table);
  int i = FindByName(info.fields, field);
  if (i < 0) Fail(e::kItemNotFound);
  std::string fname = info.fields[static_cast<size_t>(i)].name;
  for (const IndexInfo& ix : info.indexes) {
    if (FindByName(ix.fields, fname) >= 0) Fail(e::kFieldInIndex);
  }
  if (info.fields.size() == 1) Fail(e::kFieldInIndex);
  Atomically([&] {
    DropRules(info.name);
    db_->Exec("ALTER TABLE " + QuoteName(info.name) + " DROP COLUMN " + QuoteName(fname));
    for (const char* sql : {"DELETE FROM MSysColumns WHERE TableName = ?1 AND Name = ?2",
                            "DELETE FROM MSysProperties WHERE TableName = ?1 AND Kind = 'F'"
                            " AND ObjectName = ?2"}) {
      auto stmt = db_->Prepare(sql);
      stmt->BindText(1, info.name).BindText(2, fname);
      stmt->Run();
    }
    auto renumber = db_->Prepare(
        "UPDATE MSysColumns SET Position = Position - 1"
        " WHERE TableName = ?1 AND Position > ?2");
    renumber->BindText(1, info.name)
        .BindInt(2, info.fields[static_cast<size_t>(i)].ordinal_position);
    renumber->Run();
    renumber.reset();
    WriteRules(Describe(info.name, true));
  });
}

void SqliteBackend::UpdateField(std::string_view table, std::string_view old_name,
                                const FieldInfo& field) {
  TableInfo info = Table(table);
  int i = FindByName(info.fields, old_name);
  if (i < 0) Fail(e::kItemNotFound);
  const FieldInfo& current = info.fields[static_cast<size_t>(i)];
  if (!field.validation_rule.empty()) CheckFieldRule(field);
  if (!field.default_value.empty()) {
    const std::string& d = field.default_value;
    jet::TranslateValue(d.front() == '=' ? d.substr(1) : d);
  }
  Atomically([&] {
    if (current.name != field.name) {
      CheckName(field.name);
      if (!SameName(current.name, field.name) && FindByName(info.fields, field.name) >= 0) {
        Fail(e::kFieldExists);
      }
      DropRules(info.name);
      db_->Exec("ALTER TABLE " + QuoteName(info.name) + " RENAME COLUMN " +
                QuoteName(current.name) + " TO " + QuoteName(field.name));
      for (const char* sql :
           {"UPDATE MSysColumns SET Name = ?3 WHERE TableName = ?1 AND Name = ?2",
            "UPDATE MSysProperties SET ObjectName = ?3 WHERE TableName = ?1 AND Kind = 'F'"
            " AND ObjectName = ?2"}) {
        auto stmt = db_->Prepare(sql);
        stmt->BindText(1, info.name).BindText(2, current.name).BindText(3, field.name);
        stmt->Run();
      }
      for (IndexInfo ix : info.indexes) {
        int k = FindByName(ix.fields, current.name);
        if (k < 0) continue;
        ix.fields[static_cast<size_t>(k)].name = field.name;
        auto stmt =
            db_->Prepare("UPDATE MSysIndexes SET Fields = ?3 WHERE TableName = ?1 AND Name = ?2");
        stmt->BindText(1, info.name).BindText(2, ix.name).BindText(3, EncodeIndexFields(ix.fields));
        stmt->Run();
      }
    }
    int32_t attributes =
        (current.attributes & ~kAutoIncrField) | (field.attributes & kAutoIncrField);
    auto stmt = db_->Prepare(
        "UPDATE MSysColumns SET Attributes = ?3, Required = ?4, AllowZeroLength = ?5,"
        " DefaultValue = ?6, ValidationRule = ?7, ValidationText = ?8"
        " WHERE TableName = ?1 AND Name = ?2");
    stmt->BindText(1, info.name).BindText(2, field.name).BindInt(3, attributes);
    stmt->BindInt(4, field.required ? 1 : 0).BindInt(5, field.allow_zero_length ? 1 : 0);
    stmt->BindText(6, field.default_value).BindText(7, field.validation_rule);
    stmt->BindText(8, field.validation_text);
    stmt->Run();
    stmt.reset();
    WriteRules(Describe(info.name, true));
  });
}

void SqliteBackend::CreateIndex(std::string_view table, const IndexInfo& index) {
  CheckName(index.name);
  if (index.fields.empty()) Fail(e::kNoFieldDefined);
  TableInfo info = Table(table);
  if (info.attributes & kSystemObject) Fail(e::kReadOnly);
  if (FindByName(info.indexes, index.name) >= 0) Fail(e::kIndexExists);
  if (index.primary) {
    for (const IndexInfo& ix : info.indexes) {
      if (ix.primary) Fail(e::kPrimaryKeyExists);
    }
  }
  std::string columns, not_null;
  for (const IndexFieldInfo& f : index.fields) {
    int i = FindByName(info.fields, f.name);
    if (i < 0) Fail(e::kItemNotFound);
    if (!columns.empty()) {
      columns += ", ";
      not_null += " AND ";
    }
    columns += QuoteName(info.fields[static_cast<size_t>(i)].name);
    if (f.attributes & kDescending) columns += " DESC";
    not_null += QuoteName(info.fields[static_cast<size_t>(i)].name) + " IS NOT NULL";
  }
  bool unique = index.unique || index.primary;
  auto body = [&] {
    auto count = db_->Prepare("SELECT count(*) FROM MSysIndexes WHERE TableName = ?1");
    count->BindText(1, info.name);
    count->Step();
    int64_t position = count->Int(0);
    count.reset();
    if (index.primary) {
      // A primary key holds no Nulls: refuse existing ones now.
      auto nulls = db_->PrepareOnce("SELECT 1 FROM " + QuoteName(info.name) + " WHERE NOT (" +
                                    not_null + ") LIMIT 1");
      if (nulls->Step()) Fail(e::kNullInIndex);
    }
    db_->Exec(std::string(unique ? "CREATE UNIQUE INDEX " : "CREATE INDEX ") +
              QuoteName(info.name + "." + index.name) + " ON " + QuoteName(info.name) + " (" +
              columns + ")" + (index.ignore_nulls ? " WHERE " + not_null : ""));
    auto stmt = db_->Prepare(
        "INSERT INTO MSysIndexes(TableName, Name, Position, IsPrimary,"
        " IsUnique, IgnoreNulls, Fields) VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7)");
    stmt->BindText(1, info.name).BindText(2, index.name).BindInt(3, position);
    stmt->BindInt(4, index.primary ? 1 : 0).BindInt(5, unique ? 1 : 0);
    stmt->BindInt(6, index.ignore_nulls ? 1 : 0).BindText(7, EncodeIndexFields(index.fields));
    stmt->Run();
    stmt.reset();
    for (const PropertyInfo& p : index.properties) {
      SaveProperty({ObjectKey::Kind::kIndex, info.name, index.name}, p);
    }
    WriteRules(Describe(info.name, true));
  };
  Atomically(body);
}

void SqliteBackend::DropIndex(std::string_view table, std::string_view index) {
  TableInfo info = Table(table);
  int i = FindByName(info.indexes, index);
  if (i < 0) Fail(e::kItemNotFound);
  std::string name = info.indexes[static_cast<size_t>(i)].name;
  Atomically([&] {
    db_->Exec("DROP INDEX IF EXISTS " + QuoteName(info.name + "." + name));
    for (const char* sql : {"DELETE FROM MSysIndexes WHERE TableName = ?1 AND Name = ?2",
                            "DELETE FROM MSysProperties WHERE TableName = ?1 AND Kind = 'I'"
                            " AND ObjectName = ?2"}) {
      auto stmt = db_->Prepare(sql);
      stmt->BindText(1, info.name).BindText(2, name);
      stmt->Run();
    }
    WriteRules(Describe(info.name, true));
  });
}

void SqliteBackend::SaveQuery(const QueryInfo& query) {
  CheckName(query.name);
  jet::TranslateStatement(query.sql);  // refuse what would not run
  Atomically([&] {
    auto clash = db_->Prepare("SELECT 1 FROM MSysObjects WHERE Name = ?1 AND Kind = 'T'");
    clash->BindText(1, query.name);
    if (clash->Step()) Fail(e::kObjectExists, {query.name});
    clash.reset();
    auto stmt = db_->Prepare(
        "INSERT INTO MSysObjects(Name, Kind, SQL, DateCreate, DateUpdate) VALUES (?1, 'Q', ?2,"
        " ?3, ?3) ON CONFLICT(Name) DO UPDATE SET SQL = excluded.SQL, DateUpdate = "
        "excluded.DateUpdate");
    stmt->BindText(1, query.name).BindText(2, query.sql).BindText(3, Now());
    stmt->Run();
  });
}

void SqliteBackend::DropQuery(std::string_view query) {
  Atomically([&] {
    auto stmt = db_->Prepare("DELETE FROM MSysObjects WHERE Name = ?1 AND Kind = 'Q'");
    stmt->BindText(1, query);
    stmt->Run();
    if (db_->Changes() == 0) Fail(e::kItemNotFound);
    stmt.reset();
    auto props = db_->Prepare("DELETE FROM MSysProperties WHERE Kind = 'Q' AND TableName = ?1");
    props->BindText(1, query);
    props->Run();
  });
}

void SqliteBackend::SaveProperty(const ObjectKey& owner, const PropertyInfo& property) {
  CheckWritable();
  auto stmt = db_->Prepare(
      "INSERT INTO MSysProperties(Kind, TableName, ObjectName, Name, Type, Value, Position)"
      " VALUES (?1, ?2, ?3, ?4, ?5, ?6, (SELECT count(*) FROM MSysProperties))"
      " ON CONFLICT DO UPDATE SET Type = excluded.Type, Value = excluded.Value");
  stmt->BindText(1, std::string(1, KindCode(owner.kind))).BindText(2, owner.table);
  stmt->BindText(3, owner.name).BindText(4, property.name).BindInt(5, property.type);
  stmt->BindAs(6, property.value, property.type);
  stmt->Run();
  stmt.reset();
  BumpCatalogVersion();
}

void SqliteBackend::RemoveProperty(const ObjectKey& owner, std::string_view name) {
  CheckWritable();
  auto stmt = db_->Prepare(
      "DELETE FROM MSysProperties WHERE Kind = ?1 AND TableName = ?2"
      " AND ObjectName = ?3 AND Name = ?4");
  stmt->BindText(1, std::string(1, KindCode(owner.kind))).BindText(2, owner.table);
  stmt->BindText(3, owner.name).BindText(4, name);
  stmt->Run();
  if (db_->Changes() == 0) Fail(e::kItemNotFound);
}

}  // namespace qor::dao::sqlite
