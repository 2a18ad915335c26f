// Every table, field, index, property and row that the legacy backend reads
// from real Jet files, compared with what the mdbtools programs print for
// the same file.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <map>
#include <set>
#include <sstream>

#include "db/engine/mdb/mdb_test_files.h"
#include "qorsupport/db/engine/engine.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/frame/vb_date.h"
#include "testing/test_util.h"

namespace qor::dao::mdb {
namespace {

using testing::RunProgram;

std::string Tool(const std::vector<std::string>& argv) {
  testing::RunResult r = RunProgram(argv, "");
  EXPECT_EQ(r.status, 0) << argv[0] << ": " << r.err;
  return r.out;
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

std::string Lower(std::string s) { return vb::LCase(s); }

// mdb-schema's names for the types, as its Access dialect prints them.
int TypeFromSchema(const std::string& text) {
  static const std::map<std::string, int> kTypes = {
      {"Boolean", kBoolean},     {"Byte", kByte},         {"Integer", kInteger},
      {"Long Integer", kLong},   {"Currency", kCurrency}, {"Single", kSingle},
      {"Double", kDouble},       {"DateTime", kDate},     {"Binary", kBinary},
      {"Text", kText},           {"OLE", kLongBinary},    {"Memo/Hyperlink", kMemo},
      {"Replication ID", kGUID}, {"Numeric", kDecimal}};
  auto it = kTypes.find(text);
  return it == kTypes.end() ? -1 : it->second;
}

// One CSV line of mdb-export -e (C-style escapes, doubled quotes).
std::vector<std::string> SplitCsv(const std::string& line) {
  std::vector<std::string> out;
  std::string cell;
  bool quoted = false;
  for (size_t i = 0; i < line.size(); ++i) {
    char c = line[i];
    if (quoted) {
      if (c == '"' && i + 1 < line.size() && line[i + 1] == '"') {
        cell += '"';
        ++i;
      } else if (c == '"') {
        quoted = false;
      } else if (c == '\\' && i + 1 < line.size()) {
        char n = line[++i];
        cell += n == 'n' ? '\n' : n == 'r' ? '\r' : n == 't' ? '\t' : n;
      } else {
        cell += c;
      }
    } else if (c == '"') {
      quoted = true;
    } else if (c == ',') {
      out.push_back(cell);
      cell.clear();
    } else {
      cell += c;
    }
  }
  out.push_back(cell);
  return out;
}

// Binary values as mdb-export -b hex prints them. It reads OLE values
// whole, but passes Binary ones through C strings: those it prints up to
// the first zero byte, and as Null when that is the first.
std::string HexAsExported(const Variant& bytes, bool c_string) {
  std::string out;
  char buf[4];
  for (const Variant& b : bytes.AsArray().elements()) {
    auto byte = static_cast<uint8_t>(b.NumericValue());
    if (byte == 0 && c_string) break;
    std::snprintf(buf, sizeof buf, "%02X", byte);
    out += buf;
  }
  return out.empty() && c_string ? "<NULL>" : out;
}

// Expects our value to be what mdb-export printed for a field of type.
void ExpectSameValue(const Variant& ours, const std::string& theirs, int type,
                     const std::string& where) {
  if (ours.IsNull()) {
    EXPECT_EQ(theirs, "<NULL>") << where;
    return;
  }
  switch (type) {
    case kBoolean:
      EXPECT_EQ(theirs, ours.AsBoolean() ? "1" : "0") << where;
      break;
    case kByte:
    case kInteger:
    case kLong:
    case kCurrency:
    case kSingle:
    case kDouble:
    case kDecimal: {
      double v = ours.NumericValue();
      double t = std::strtod(theirs.c_str(), nullptr);
      EXPECT_NEAR(v, t, std::fabs(t) * 1e-7 + 1e-9) << where << " printed " << theirs;
      break;
    }
    case kDate: {
      vb::DateParts p = vb::SplitDate(ours.AsDate());
      char buf[32];
      std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d:%02d", p.year, p.month, p.day,
                    p.hour, p.minute, p.second);
      EXPECT_EQ(theirs, buf) << where;
      break;
    }
    case kBinary:
    case kLongBinary:
      EXPECT_EQ(theirs, HexAsExported(ours, type == kBinary)) << where;
      break;
    default:
      EXPECT_EQ(theirs, vb::CStr(ours)) << where;
  }
}

// A property value as mdb-prop prints it.
std::string PropText(const Variant& v) {
  if (v.IsBoolean()) return v.AsBoolean() ? "yes" : "no";
  return vb::CStr(v);
}

class MdbCompareTest : public ::testing::TestWithParam<std::string> {
 protected:
  void SetUp() override { db_ = DBEngine::Get()->OpenDatabase(GetParam()); }
  void TearDown() override {
    if (db_) db_->Close();  // SetUp fails without a database when the file is missing
  }

  std::vector<std::shared_ptr<TableDef>> UserTables() {
    std::vector<std::shared_ptr<TableDef>> out;
    auto tables = db_->GetTableDefs();
    for (int32_t i = 0; i < tables->Count(); ++i) {
      auto t = tables->Item(Variant(i));
      if ((t->Attributes() & (kSystemObject | kHiddenObject | kAttachedTable)) == 0) {
        out.push_back(t);
      }
    }
    return out;
  }

  std::shared_ptr<Database> db_;
};

TEST_P(MdbCompareTest, TablesAreTheOnesMdbTablesLists) {
  std::vector<std::string> listed = Lines(Tool({"mdb-tables", "-S", "-1", GetParam()}));
  std::vector<std::string> ours;
  auto tables = db_->GetTableDefs();
  for (int32_t i = 0; i < tables->Count(); ++i) ours.push_back(tables->Item(Variant(i))->Name());
  EXPECT_EQ(ours, listed);
  std::vector<std::string> user_listed = Lines(Tool({"mdb-tables", "-1", GetParam()}));
  std::vector<std::string> user_ours;
  for (const auto& t : UserTables()) user_ours.push_back(t->Name());
  EXPECT_EQ(user_ours, user_listed);
  EXPECT_EQ(tables->Item(Variant("MSysObjects"))->Attributes() & kSystemObject, kSystemObject);
}

TEST_P(MdbCompareTest, FieldsMatchMdbSchema) {
  for (const auto& table : UserTables()) {
    std::string schema = Tool({"mdb-schema", "-T", table->Name(), "--not-null", "--default-values",
                               "--no-indexes", "--no-relations", "--no-comments", GetParam()});
    std::vector<std::string> names;
    for (const std::string& line : Lines(schema)) {
      if (line.rfind("\t[", 0) != 0) continue;
      size_t close = line.find(']');
      std::string name = line.substr(2, close - 2);
      std::string rest = line.substr(line.find_first_not_of('\t', close + 1));
      if (!rest.empty() && rest.back() == ' ') rest.pop_back();
      if (!rest.empty() && rest.back() == ',') rest.pop_back();
      bool not_null = rest.find(" NOT NULL") != std::string::npos;
      std::string def;
      if (size_t d = rest.find(" DEFAULT "); d != std::string::npos) def = rest.substr(d + 9);
      std::string type_text =
          rest.substr(0, std::min(rest.find(" NOT NULL"), rest.find(" DEFAULT")));
      int size = 0;
      if (size_t paren = type_text.find(" ("); paren != std::string::npos) {
        size = std::stoi(type_text.substr(paren + 2));
        type_text.resize(paren);
      }
      names.push_back(name);
      auto field = table->GetFields()->Item(Variant(name));
      std::string where = table->Name() + "." + name;
      EXPECT_EQ(field->Type(), TypeFromSchema(type_text)) << where << ": " << type_text;
      if (field->Type() == kText) {
        EXPECT_EQ(field->Size(), size) << where;
      }
      EXPECT_EQ(field->Required() || field->Type() == kBoolean, not_null) << where;
      if (!def.empty()) {
        EXPECT_EQ(field->DefaultValue(), def) << where;
      }
    }
    std::vector<std::string> ours;
    auto fields = table->GetFields();
    for (int32_t i = 0; i < fields->Count(); ++i) ours.push_back(fields->Item(Variant(i))->Name());
    EXPECT_EQ(ours, names) << table->Name();
  }
}

TEST_P(MdbCompareTest, IndexesMatchMdbSchema) {
  for (const auto& table : UserTables()) {
    std::string schema = Tool({"mdb-schema", "-T", table->Name(), "--indexes", "--no-relations",
                               "--no-comments", GetParam(), "postgres"});
    // What mdb-schema declares: "PK:" or "UNIQUE:" or ":" + the fields.
    std::multiset<std::string> theirs;
    for (const std::string& line : Lines(schema)) {
      size_t open = line.rfind(" (");
      if (open == std::string::npos) continue;
      std::string fields = Lower(line.substr(open + 2, line.rfind(')') - open - 2));
      if (line.find("PRIMARY KEY") != std::string::npos) {
        theirs.insert("PK:" + fields);
      } else if (line.rfind("CREATE UNIQUE INDEX", 0) == 0) {
        theirs.insert("UNIQUE:" + fields);
      } else if (line.rfind("CREATE INDEX", 0) == 0) {
        theirs.insert(":" + fields);
      }
    }
    std::multiset<std::string> ours;
    auto indexes = table->GetIndexes();
    for (int32_t i = 0; i < indexes->Count(); ++i) {
      auto index = indexes->Item(Variant(i));
      std::string fields;
      auto idx_fields = index->GetFields();
      for (int32_t k = 0; k < idx_fields->Count(); ++k) {
        auto f = idx_fields->Item(Variant(k));
        if (!fields.empty()) fields += ", ";
        fields += "\"" + Lower(f->Name()) + "\"";
        if ((f->Attributes() & kDescending) && !index->Primary()) fields += " DESC";
      }
      ours.insert((index->Primary() ? "PK:" : index->Unique() ? "UNIQUE:" : ":") + fields);
    }
    EXPECT_EQ(ours, theirs) << table->Name();
  }
}

TEST_P(MdbCompareTest, PropertiesMatchMdbProp) {
  for (const auto& table : UserTables()) {
    std::string printed = Tool({"mdb-prop", GetParam(), table->Name()});
    std::string block;
    int compared = 0;
    for (const std::string& line : Lines(printed)) {
      if (line.rfind("name: ", 0) == 0) {
        block = line.substr(6);
        continue;
      }
      if (line.empty() || line[0] != '\t') continue;
      size_t colon = line.find(": ");
      std::string name = line.substr(1, colon - 1);
      std::string value = line.substr(colon + 2);
      if (value.rfind("(binary data", 0) == 0) continue;
      std::string where = table->Name() + "." + block + "." + name;
      Variant ours;
      if (block == "(none)") {
        ours = table->GetProperties()->Item(Variant(name))->Value();
      } else {
        ours =
            table->GetFields()->Item(Variant(block))->GetProperties()->Item(Variant(name))->Value();
      }
      EXPECT_EQ(PropText(ours), value) << where;
      ++compared;
    }
    EXPECT_GT(compared, 0) << table->Name();
  }
}

TEST_P(MdbCompareTest, RowsMatchMdbExport) {
  auto tables = db_->GetTableDefs();
  for (int32_t i = 0; i < tables->Count(); ++i) {
    auto table = tables->Item(Variant(i));
    if (table->Attributes() & kAttachedTable) continue;
    std::string csv =
        Tool({"mdb-export", "-H", "-e", "-0", "<NULL>", "-b", "hex", "-D", "%Y-%m-%d %H:%M:%S",
              "-T", "%Y-%m-%d %H:%M:%S", GetParam(), table->Name()});
    std::vector<std::string> lines = Lines(csv);
    // Columns of types newer than mdb-export knows it prints as Null.
    std::string schema = Tool({"mdb-schema", "-T", table->Name(), GetParam()});
    auto rs = table->OpenRecordset();
    auto fields = rs->GetFields();
    size_t row = 0;
    for (; !rs->Eof(); rs->MoveNext(), ++row) {
      ASSERT_LT(row, lines.size()) << table->Name();
      std::vector<std::string> cells = SplitCsv(lines[row]);
      ASSERT_EQ(cells.size(), static_cast<size_t>(fields->Count())) << lines[row];
      for (int32_t f = 0; f < fields->Count(); ++f) {
        auto field = fields->Item(Variant(f));
        if (schema.find("[" + field->Name() + "]\t\t\tUnknown_") != std::string::npos) continue;
        ExpectSameValue(field->Value(), cells[static_cast<size_t>(f)], field->Type(),
                        table->Name() + " row " + std::to_string(row) + " " + field->Name());
      }
    }
    EXPECT_EQ(row, lines.size()) << table->Name();
    EXPECT_EQ(table->RecordCount(), static_cast<int32_t>(lines.size())) << table->Name();
  }
}

INSTANTIATE_TEST_SUITE_P(LegacyFiles, MdbCompareTest, ::testing::ValuesIn(LegacyFiles()),
                         [](const ::testing::TestParamInfo<std::string>& info) {
                           std::string name = std::filesystem::path(info.param).stem().string();
                           return name;
                         });

}  // namespace
}  // namespace qor::dao::mdb
