#include "db/engine/mdb/mdb_file.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>

#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb.h"

namespace qor::dao::mdb {

namespace {

constexpr std::string_view kJetSignature("\x00\x01\x00\x00Standard Jet DB\x00", 20);
constexpr std::string_view kAceSignature("\x00\x01\x00\x00Standard ACE DB\x00", 20);
constexpr size_t kVersionOffset = 0x14;
constexpr size_t kPasswordOffset = 0x42;
constexpr int kOffsetMask = 0x1fff;

// Masks that hide the database password in the first page.
constexpr uint16_t kJet4PasswordMask[] = {0x6aba, 0x37ec, 0xd561, 0xfa9c, 0xcffa, 0xe628, 0x272f,
                                          0x608a, 0x0568, 0x367b, 0xe3c9, 0xb1df, 0x654b, 0x4313,
                                          0x3ef3, 0x33b1, 0xf008, 0x5b79, 0x24ae, 0x2a7c};
constexpr uint8_t kJet3PasswordMask[] = {0x86, 0xfb, 0xec, 0x37, 0x5d, 0x44, 0x9c,
                                         0xfa, 0xc6, 0x5e, 0x28, 0xe6, 0x13};

// MSysObjects.Flags bits.
constexpr uint32_t kFlagSystem = 0x80000002u;
constexpr uint32_t kFlagHidden = 0x8;

uint16_t Le16(std::string_view s, size_t at) {
  return static_cast<uint16_t>(static_cast<uint8_t>(s[at]) |
                               (static_cast<uint8_t>(s[at + 1]) << 8));
}

uint32_t Le32(const unsigned char* p) {
  return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) |
         (static_cast<uint32_t>(p[2]) << 16) | (static_cast<uint32_t>(p[3]) << 24);
}

void AppendUtf8(std::string& out, uint32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

// Whether text is printable UTF-8 (binary property values are not).
bool IsPlainText(std::string_view text) {
  for (size_t i = 0; i < text.size();) {
    auto c = static_cast<unsigned char>(text[i]);
    if (c < 0x80) {
      if (c < 0x20 && c != '\t' && c != '\r' && c != '\n') return false;
      ++i;
      continue;
    }
    size_t extra = (c >> 5) == 6 ? 1 : (c >> 4) == 14 ? 2 : (c >> 3) == 30 ? 3 : 0;
    if (extra == 0 || i + extra >= text.size()) return false;
    for (size_t k = 1; k <= extra; ++k) {
      if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) return false;
    }
    i += extra + 1;
  }
  return true;
}

// ---- Types and properties ---------------------------------------------------------

int DaoType(int mdb_type) {
  switch (mdb_type) {
    case MDB_BOOL:
      return kBoolean;
    case MDB_BYTE:
      return kByte;
    case MDB_INT:
      return kInteger;
    case MDB_LONGINT:
    case MDB_COMPLEX:
      return kLong;
    case MDB_MONEY:
      return kCurrency;
    case MDB_FLOAT:
      return kSingle;
    case MDB_DOUBLE:
      return kDouble;
    case MDB_DATETIME:
      return kDate;
    case MDB_BINARY:
      return kBinary;
    case MDB_TEXT:
      return kText;
    case MDB_OLE:
      return kLongBinary;
    case MDB_MEMO:
      return kMemo;
    case MDB_REPID:
      return kGUID;
    case MDB_NUMERIC:
      return kDecimal;
    default:
      return kLongBinary;
  }
}

// The DAO type of a stored property that holds a number.
int NumericPropertyType(std::string_view name) {
  static const std::pair<const char*, int> kTypes[] = {{"DecimalPlaces", kByte},
                                                       {"ColumnWidth", kInteger},
                                                       {"ColumnOrder", kInteger},
                                                       {"DisplayControl", kInteger},
                                                       {"IMEMode", kByte},
                                                       {"IMESentenceMode", kByte},
                                                       {"TextAlign", kByte},
                                                       {"AggregateType", kLong},
                                                       {"Orientation", kByte},
                                                       {"DefaultView", kInteger},
                                                       {"ShowDatePicker", kInteger},
                                                       {"ResultType", kByte},
                                                       {"TextFormat", kByte},
                                                       {"BoundColumn", kInteger},
                                                       {"ColumnCount", kInteger},
                                                       {"ListRows", kInteger},
                                                       {"DisplayViewsOnSharePointSite", kByte},
                                                       {"PublishToWeb", kByte},
                                                       {"RecordLocks", kByte}};
  for (const auto& [n, type] : kTypes) {
    if (SameName(name, n)) return type;
  }
  return 0;
}

// A stored property as libmdb renders it ("yes"/"no" for Booleans, digits
// for numbers), turned back into a typed value.
PropertyInfo TypedProperty(std::string name, const std::string& text) {
  if (text == "yes" || text == "no") return {std::move(name), kBoolean, Variant(text == "yes")};
  int type = NumericPropertyType(name);
  if (type != 0 && !text.empty() && vb::IsNumeric(Variant(text))) {
    double v = vb::Val(text);
    Variant value = type == kByte      ? Variant(static_cast<uint8_t>(v))
                    : type == kInteger ? Variant(static_cast<int16_t>(v))
                                       : Variant(static_cast<int32_t>(v));
    return {std::move(name), type, value};
  }
  return {std::move(name), kText, Variant(text)};
}

// The readable properties of one libmdb property block, sorted by name.
std::vector<PropertyInfo> ReadProperties(const MdbProperties* props) {
  std::vector<std::pair<std::string, std::string>> raw;
  if (props && props->hash) {
    g_hash_table_foreach(
        props->hash,
        [](gpointer key, gpointer value, gpointer out) {
          static_cast<std::vector<std::pair<std::string, std::string>>*>(out)->emplace_back(
              static_cast<const char*>(key), value ? static_cast<const char*>(value) : "");
        },
        &raw);
  }
  std::sort(raw.begin(), raw.end());
  std::vector<PropertyInfo> out;
  for (auto& [name, value] : raw) {
    if (!IsPlainText(value)) continue;
    out.push_back(TypedProperty(name, value));
  }
  return out;
}

// Moves the property named name out of props; its text, or "" without one.
std::string TakeText(std::vector<PropertyInfo>& props, std::string_view name) {
  int i = FindByName(props, name);
  if (i < 0) return "";
  std::string text = props[static_cast<size_t>(i)].value.IsString()
                         ? props[static_cast<size_t>(i)].value.AsString()
                         : vb::CStr(props[static_cast<size_t>(i)].value);
  props.erase(props.begin() + i);
  return text;
}

bool TakeFlag(std::vector<PropertyInfo>& props, std::string_view name) {
  int i = FindByName(props, name);
  if (i < 0) return false;
  bool on = props[static_cast<size_t>(i)].value.IsBoolean() &&
            props[static_cast<size_t>(i)].value.AsBoolean();
  props.erase(props.begin() + i);
  return on;
}

FieldInfo DescribeColumn(const MdbColumn* col, int version, int position) {
  FieldInfo f;
  f.name = col->name;
  f.type = DaoType(col->col_type);
  if (f.type == kText) {
    f.size = version == 4 ? col->col_size / 2 : col->col_size;
  } else if (f.type == kBinary) {
    f.size = col->col_size;
  } else {
    f.size = DefaultFieldSize(f.type);
  }
  f.attributes = (col->is_fixed ? kFixedField : kVariableField) | kUpdatableField;
  if (col->is_long_auto) f.attributes |= kAutoIncrField;
  f.ordinal_position = position;
  f.properties = ReadProperties(col->props);
  f.required = TakeFlag(f.properties, "Required");
  f.allow_zero_length = TakeFlag(f.properties, "AllowZeroLength");
  f.default_value = TakeText(f.properties, "DefaultValue");
  f.validation_rule = TakeText(f.properties, "ValidationRule");
  f.validation_text = TakeText(f.properties, "ValidationText");
  return f;
}

std::vector<IndexInfo> DescribeIndexes(const Table& table) {
  std::vector<IndexInfo> out;
  MdbTableDef* t = table.get();
  if (!t->indices) return out;
  for (guint i = 0; i < t->indices->len; ++i) {
    auto* idx = static_cast<MdbIndex*>(g_ptr_array_index(t->indices, i));
    if (idx->index_type == 2) continue;  // the foreign side of a relationship
    IndexInfo index;
    index.name = idx->name;
    index.primary = idx->index_type == 1;
    index.unique = index.primary || (idx->flags & MDB_IDX_UNIQUE);
    index.ignore_nulls = (idx->flags & MDB_IDX_IGNORENULLS) != 0;
    for (unsigned k = 0; k < idx->num_keys && k < MDB_MAX_IDX_COLS; ++k) {
      int column = idx->key_col_num[k] - 1;
      if (column < 0 || static_cast<size_t>(column) >= table.ColumnCount()) continue;
      index.fields.push_back({table.Column(static_cast<size_t>(column))->name,
                              idx->key_col_order[k] ? kDescending : 0});
    }
    out.push_back(std::move(index));
  }
  return out;
}

TableInfo DescribeTable(MdbCatalogEntry* entry, int version) {
  TableInfo info;
  info.name = entry->object_name;
  auto flags = static_cast<uint32_t>(entry->flags);
  if (flags & kFlagSystem) info.attributes |= kSystemObject;
  if (flags & kFlagHidden) info.attributes |= kHiddenObject;
  if (entry->object_type == MDB_LINKED_TABLE) {
    info.attributes |= kAttachedTable;
    return info;  // its rows live in another file
  }
  Table table(entry);
  for (size_t i = 0; i < table.ColumnCount(); ++i) {
    info.fields.push_back(DescribeColumn(table.Column(i), version, static_cast<int>(i)));
  }
  info.indexes = DescribeIndexes(table);
  info.properties = ReadProperties(table.get()->props);
  info.validation_rule = TakeText(info.properties, "ValidationRule");
  info.validation_text = TakeText(info.properties, "ValidationText");
  return info;
}

std::vector<TableInfo> DescribeCatalog(const Handle& handle, int version) {
  GPtrArray* catalog = mdb_read_catalog(handle.get(), MDB_ANY);
  if (!catalog) Fail(e::kCannotOpen, {""});
  std::vector<TableInfo> tables;
  for (guint i = 0; i < catalog->len; ++i) {
    auto* entry = static_cast<MdbCatalogEntry*>(g_ptr_array_index(catalog, i));
    if (entry->object_type != MDB_TABLE && entry->object_type != MDB_LINKED_TABLE) continue;
    tables.push_back(DescribeTable(entry, version));
  }
  return tables;
}

// ---- Values -------------------------------------------------------------------------

Variant Bytes(const unsigned char* p, size_t n) {
  Array bytes(VarType::kByte, {{0, static_cast<int32_t>(n) - 1}});
  for (size_t i = 0; i < n; ++i) bytes.elements()[i] = Variant(static_cast<uint8_t>(p[i]));
  return Variant(std::move(bytes));
}

// A text of the file (UCS-2, compressed or not, or the Jet 3 code page) as
// UTF-8.
std::string DecodeText(MdbHandle* mdb, const unsigned char* p, size_t n) {
  if (n == 0) return "";
  std::string out(n * 3 + 16, '\0');
  int len = mdb_unicode2ascii(mdb, reinterpret_cast<const char*>(p), n, out.data(), out.size());
  out.resize(len < 0 ? 0 : std::min(static_cast<size_t>(len), out.size()));
  out.resize(strnlen(out.c_str(), out.size()));
  return out;
}

// The bytes of a memo or OLE value: kept in the row, on one long-value
// page, or on a chain of them. A broken chain ends the value.
std::string ReadLongValue(MdbHandle* mdb, const unsigned char* p, size_t n) {
  if (n < MDB_MEMO_OVERHEAD) return "";
  uint32_t head = Le32(p);
  uint32_t length = head & 0x3FFFFFFF;
  int32_t pg_row = static_cast<int32_t>(Le32(p + 4));
  if (head & 0x80000000u) {
    return std::string(reinterpret_cast<const char*>(p + MDB_MEMO_OVERHEAD),
                       std::min<size_t>(n - MDB_MEMO_OVERHEAD, length));
  }
  std::string out;
  bool single = (head & 0x40000000u) != 0;
  if (!single && (head & 0xC0000000u)) return "";
  // A chain never visits more pages than the file has.
  int64_t steps = 0;
  int64_t max_steps = static_cast<int64_t>(length) / 64 + 1024;
  while (pg_row != 0 && out.size() < length && steps++ < max_steps) {
    void* buf = nullptr;
    int start = 0;
    size_t len = 0;
    if (mdb_find_pg_row(mdb, pg_row, &buf, &start, &len) != 0) break;
    if (start < 0 || static_cast<size_t>(start) + len > static_cast<size_t>(mdb->fmt->pg_size)) {
      break;
    }
    const auto* row = static_cast<const unsigned char*>(buf) + start;
    if (single) {
      out.append(reinterpret_cast<const char*>(row), len);
      break;
    }
    if (len < 4) break;
    out.append(reinterpret_cast<const char*>(row + 4), len - 4);
    pg_row = static_cast<int32_t>(Le32(row));
  }
  if (out.size() > length) out.resize(length);
  return out;
}

Variant DecodeValue(MdbHandle* mdb, const MdbColumn* col, const MdbField& field) {
  if (col->col_type == MDB_BOOL) return Variant(!field.is_null);
  if (field.is_null) return Variant::Null();
  int start = field.start;
  int size = field.siz;
  auto page = static_cast<int>(mdb->fmt->pg_size);
  if (start < 0 || size < 0 || start + size > page) return Variant::Null();
  const unsigned char* p = mdb->pg_buf + start;
  auto n = static_cast<size_t>(size);
  auto need = [&](size_t k) { return n >= k; };
  switch (col->col_type) {
    case MDB_BYTE:
      return need(1) ? Variant(static_cast<uint8_t>(p[0])) : Variant::Null();
    case MDB_INT:
      return need(2) ? Variant(static_cast<int16_t>(p[0] | (p[1] << 8))) : Variant::Null();
    case MDB_LONGINT:
    case MDB_COMPLEX:
      return need(4) ? Variant(static_cast<int32_t>(Le32(p))) : Variant::Null();
    case MDB_MONEY: {
      if (!need(8)) return Variant::Null();
      uint64_t raw = Le32(p) | (static_cast<uint64_t>(Le32(p + 4)) << 32);
      return Variant(Currency{static_cast<int64_t>(raw)});
    }
    case MDB_FLOAT: {
      if (!need(4)) return Variant::Null();
      float f;
      std::memcpy(&f, p, 4);
      return Variant(f);
    }
    case MDB_DOUBLE:
    case MDB_DATETIME: {
      if (!need(8)) return Variant::Null();
      double d;
      std::memcpy(&d, p, 8);
      return col->col_type == MDB_DATETIME ? Variant(Date{d}) : Variant(d);
    }
    case MDB_NUMERIC: {
      if (!need(17)) return Variant::Null();
      char* text = mdb_numeric_to_string(mdb, start, col->col_scale, col->col_prec);
      double d = text ? std::strtod(text, nullptr) : 0;
      g_free(text);
      return Variant(d);
    }
    case MDB_REPID: {
      if (!need(16)) return Variant::Null();
      char* text = mdb_uuid_to_string(mdb->pg_buf, start);
      std::string s = text ? text : "";
      g_free(text);
      return Variant(s);
    }
    case MDB_TEXT:
      return Variant(DecodeText(mdb, p, n));
    case MDB_MEMO: {
      std::string raw = ReadLongValue(mdb, p, n);
      return Variant(
          DecodeText(mdb, reinterpret_cast<const unsigned char*>(raw.data()), raw.size()));
    }
    case MDB_OLE: {
      std::string raw = ReadLongValue(mdb, p, n);
      return Bytes(reinterpret_cast<const unsigned char*>(raw.data()), raw.size());
    }
    default:  // MDB_BINARY and anything newer
      return Bytes(p, n);
  }
}

// Whether path names a readable regular file; raises the DAO error
// otherwise.
void CheckFile(const std::string& path) {
  struct stat st;
  if (::stat(path.c_str(), &st) != 0) {
    if (errno == ENOTDIR) Fail(e::kInvalidPath, {path});
    Fail(e::kFileNotFound, {path});
  }
  if (S_ISDIR(st.st_mode)) Fail(e::kInvalidPath, {path});
  if (!S_ISREG(st.st_mode)) Fail(e::kUnrecognizedFormat, {path});  // a FIFO would block
  if (::access(path.c_str(), R_OK) != 0) Fail(e::kNoPermission, {path});
}

std::string PasswordFrom(std::string_view connect) {
  std::string upper = vb::UCase(connect);
  size_t at = upper.find("PWD=");
  if (at == std::string::npos) return "";
  size_t end = connect.find(';', at);
  return std::string(
      connect.substr(at + 4, end == std::string::npos ? std::string::npos : end - at - 4));
}

}  // namespace

// ---- Header checks --------------------------------------------------------------------

bool HasJetSignature(std::string_view header) {
  return header.size() > kVersionOffset &&
         (header.substr(0, 20) == kJetSignature || header.substr(0, 20) == kAceSignature);
}

int JetVersion(std::string_view header) {
  if (!HasJetSignature(header) || header.substr(0, 20) != kJetSignature) return 0;
  switch (static_cast<uint8_t>(header[kVersionOffset])) {
    case MDB_VER_JET3:
      return 3;
    case MDB_VER_JET4:
      return 4;
    default:
      return 0;
  }
}

std::string StoredPassword(std::string_view page) {
  std::string out;
  int version = JetVersion(page);
  if (version == 4 && page.size() >= kPasswordOffset + 40) {
    uint16_t magic = Le16(page, 0x66) ^ kJet4PasswordMask[18];
    for (size_t i = 0; i < 20; ++i) {
      uint32_t c = Le16(page, kPasswordOffset + 2 * i) ^ kJet4PasswordMask[i];
      if (c > 255) c ^= magic;
      if (c == 0) break;
      AppendUtf8(out, c);
    }
  } else if (version == 3 && page.size() >= kPasswordOffset + sizeof kJet3PasswordMask) {
    for (size_t i = 0; i < sizeof kJet3PasswordMask; ++i) {
      uint32_t c = static_cast<uint8_t>(page[kPasswordOffset + i]) ^ kJet3PasswordMask[i];
      if (c == 0) break;
      AppendUtf8(out, c);
    }
  }
  return out;
}

// ---- Handle and Table ----------------------------------------------------------------

Handle::Handle(const std::string& path) {
  mdb_ = mdb_open(path.c_str(), MDB_NOFLAGS);
  if (!mdb_) Fail(e::kCannotOpen, {path});
}

Handle::~Handle() {
  if (mdb_) mdb_close(mdb_);
}

MdbCatalogEntry* Handle::FindTable(std::string_view name) const {
  if (!mdb_->catalog && !mdb_read_catalog(mdb_, MDB_ANY)) return nullptr;
  for (guint i = 0; i < mdb_->catalog->len; ++i) {
    auto* entry = static_cast<MdbCatalogEntry*>(g_ptr_array_index(mdb_->catalog, i));
    if (entry->object_type == MDB_TABLE && SameName(entry->object_name, name)) return entry;
  }
  return nullptr;
}

Table::Table(MdbCatalogEntry* entry) {
  table_ = mdb_read_table(entry);
  if (!table_ || !mdb_read_columns(table_)) {
    if (table_) mdb_free_tabledef(table_);
    table_ = nullptr;
    Fail(e::kCannotOpen, {std::string(entry->object_name)});
  }
  mdb_read_indices(table_);
}

Table::~Table() {
  if (table_) mdb_free_tabledef(table_);
}

MdbColumn* Table::Column(size_t i) const {
  return static_cast<MdbColumn*>(g_ptr_array_index(table_->columns, i));
}

size_t Table::ColumnCount() const { return table_->columns ? table_->columns->len : 0; }

// ---- JetFile ------------------------------------------------------------------------------

std::unique_ptr<JetFile> JetFile::Open(const std::string& path, std::string_view connect) {
  RegisterEngineErrors();
  CheckFile(path);
  std::string page(4096, '\0');
  {
    std::ifstream in(path, std::ios::binary);
    in.read(page.data(), static_cast<std::streamsize>(page.size()));
    page.resize(static_cast<size_t>(in.gcount()));
  }
  int version = JetVersion(page);
  if (version == 0) Fail(e::kUnrecognizedFormat, {path});
  std::string stored = StoredPassword(page);
  if (!stored.empty() && stored != PasswordFrom(connect)) Fail(e::kInvalidPassword);
  struct stat st;
  ::stat(path.c_str(), &st);
  size_t page_size = version == 3 ? 2048 : 4096;
  auto size = static_cast<size_t>(st.st_size);
  // A whole file has whole pages, and at least the header and the catalog.
  if (size % page_size != 0 || size < page_size * 3) Fail(e::kCannotOpen, {path});
  ProbeCatalog(path);
  std::unique_ptr<JetFile> file(new JetFile(path, version));
  file->handle_ = std::make_unique<Handle>(path);
  try {
    file->tables_ = DescribeCatalog(*file->handle_, version);
  } catch (const Error&) {
    Fail(e::kCannotOpen, {path});
  }
  return file;
}

void ProbeCatalog(const std::string& path) {
  // The parent's buffered output must not be written twice by the child.
  std::fflush(stdout);
  std::fflush(stderr);
  const pid_t parent = ::getpid();
  // The child holds the write end of this pipe until it exits: the end of
  // the pipe wakes the parent as soon as the child is done.
  int done_pipe[2];
  if (::pipe2(done_pipe, O_CLOEXEC) != 0) Fail(e::kCannotOpen, {path});
  pid_t child = ::fork();
  if (child < 0) {
    ::close(done_pipe[0]);
    ::close(done_pipe[1]);
    Fail(e::kCannotOpen, {path});
  }
  if (child == 0) {
    ::close(done_pipe[0]);
    // The reader ends with its parent, also when the parent is killed
    // before it could ask (or died before the request took hold).
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) ::_exit(4);
    // libmdb reports what it cannot parse on standard output and error; a
    // catalog that makes it say anything is taken as damaged, so that the
    // caller's own output never carries libmdb's complaints.
    std::FILE* said = std::tmpfile();
    if (!said) ::_exit(2);
    ::dup2(::fileno(said), STDOUT_FILENO);
    ::dup2(::fileno(said), STDERR_FILENO);
    int code = 0;
    try {
      Handle handle(path);
      DescribeCatalog(handle, 4);
    } catch (...) {
      code = 1;
    }
    std::fflush(stdout);
    std::fflush(stderr);
    struct stat st;
    if (code == 0 && (::fstat(::fileno(said), &st) != 0 || st.st_size > 0)) code = 3;
    ::_exit(code);
  }
  // A sound catalog reads in milliseconds; a damaged one may loop.
  struct stat st;
  off_t size = ::stat(path.c_str(), &st) == 0 ? st.st_size : 0;
  using Clock = std::chrono::steady_clock;
  auto deadline = Clock::now() + std::chrono::seconds(2 + size / (4 << 20));
  ::close(done_pipe[1]);
  int status = 0;
  bool failed = false;
  for (;;) {
    pid_t done = ::waitpid(child, &status, WNOHANG);
    if (done == child) break;
    if (done < 0 && errno != EINTR) {
      failed = true;
      break;
    }
    if (Clock::now() > deadline) {
      ::kill(child, SIGKILL);
      ::waitpid(child, &status, 0);
      failed = true;
      break;
    }
    // Wakes when the child's end of the pipe closes; the slice bounds the
    // wait should another process have inherited that end.
    struct pollfd end = {done_pipe[0], POLLIN, 0};
    char byte;
    if (::poll(&end, 1, 10) > 0 && ::read(done_pipe[0], &byte, 1) == 0) {
      // The child is exiting: reap it.
      pid_t reaped;
      do {
        reaped = ::waitpid(child, &status, 0);
      } while (reaped < 0 && errno == EINTR);
      failed = reaped != child;
      break;
    }
  }
  ::close(done_pipe[0]);
  if (failed) Fail(e::kCannotOpen, {path});
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) Fail(e::kCannotOpen, {path});
}

// ---- RowReader ------------------------------------------------------------------------------

RowReader::RowReader(const std::string& path, std::string_view table) {
  handle_ = std::make_unique<Handle>(path);
  MdbCatalogEntry* entry = handle_->FindTable(table);
  if (!entry) Fail(e::kInputTableNotFound, {std::string(table)});
  table_ = std::make_unique<Table>(entry);
  mdb_rewind_table(table_->get());
  fields_.resize(std::max<size_t>(table_->ColumnCount(), 1));
  values_.resize(table_->ColumnCount());
}

RowReader::~RowReader() = default;

bool RowReader::Next() {
  MdbTableDef* t = table_->get();
  MdbHandle* mdb = handle_->get();
  if (table_->ColumnCount() == 0) return false;
  if (page_moved_ && t->cur_pg_num != 0) {
    if (mdb_read_pg(mdb, scan_page_) != mdb->fmt->pg_size) return false;
    page_moved_ = false;
  }
  for (;;) {
    if (!mdb_fetch_row(t)) return false;
    scan_page_ = t->cur_phys_pg;
    int row = static_cast<int>(t->cur_row) - 1;
    if (Crack(row)) {
      position_ = (static_cast<int64_t>(scan_page_) << 16) | row;
      return true;
    }
  }
}

bool RowReader::Seek(int64_t position) {
  MdbHandle* mdb = handle_->get();
  auto page = static_cast<uint32_t>(position >> 16);
  int row = static_cast<int>(position & 0xFFFF);
  if (page != scan_page_ || page_moved_) {
    if (mdb_read_pg(mdb, page) != mdb->fmt->pg_size) return false;
    page_moved_ = page != scan_page_;
  }
  if (!Crack(row)) return false;
  position_ = position;
  return true;
}

bool RowReader::Crack(int row) {
  MdbHandle* mdb = handle_->get();
  int start = 0;
  size_t size = 0;
  decoded_ = false;
  cracked_ = -1;
  if (mdb_find_row(mdb, row, &start, &size) != 0 || size == 0) return false;
  if (start & 0x4000) return false;  // deleted
  start &= kOffsetMask;
  cracked_ = mdb_crack_row(table_->get(), start, size, fields_.data());
  return cracked_ >= 0;
}

const std::vector<Variant>& RowReader::values() {
  if (decoded_) return values_;
  MdbHandle* mdb = handle_->get();
  for (Variant& v : values_) v = Variant::Null();
  for (size_t i = 0; i < table_->ColumnCount() && static_cast<int>(i) < cracked_; ++i) {
    auto column = static_cast<size_t>(fields_[i].colnum);
    if (column >= table_->ColumnCount()) continue;
    values_[column] = DecodeValue(mdb, table_->Column(column), fields_[i]);
  }
  decoded_ = true;
  return values_;
}

}  // namespace qor::dao::mdb
