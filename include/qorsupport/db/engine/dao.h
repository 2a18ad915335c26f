// The vocabulary of the database engine: DAO's type codes, attribute bits,
// option values and error numbers, and the plain descriptions of schema
// objects that the object model and the backends hand to each other.
//
// Everything here is data. The numbers are DAO's own, so that code written
// against DAO (which branches on them) runs unchanged.
#ifndef QOR_DB_ENGINE_DAO_H_
#define QOR_DB_ENGINE_DAO_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "qorsupport/frame/variant.h"

namespace qor::dao {

// Field type codes (Field.Type, Property.Type).
inline constexpr int kBoolean = 1;
inline constexpr int kByte = 2;
inline constexpr int kInteger = 3;
inline constexpr int kLong = 4;
inline constexpr int kCurrency = 5;
inline constexpr int kSingle = 6;
inline constexpr int kDouble = 7;
inline constexpr int kDate = 8;
inline constexpr int kBinary = 9;
inline constexpr int kText = 10;
inline constexpr int kLongBinary = 11;
inline constexpr int kMemo = 12;
inline constexpr int kGUID = 15;
inline constexpr int kBigInt = 16;
inline constexpr int kChar = 18;
inline constexpr int kNumeric = 19;
inline constexpr int kDecimal = 20;
inline constexpr int kFloat = 21;
inline constexpr int kTime = 22;
inline constexpr int kTimeStamp = 23;

// Whether code is a field type the engine stores.
bool IsValidFieldType(int type);
// The size DAO reports for a type (Text defaults to 50; Memo and binary
// fields report 0).
int DefaultFieldSize(int type);
// Text-like types: Text, Memo, Char.
bool IsTextType(int type);

// Field.Attributes bits.
inline constexpr int32_t kFixedField = 1;
inline constexpr int32_t kVariableField = 2;
inline constexpr int32_t kAutoIncrField = 16;
inline constexpr int32_t kUpdatableField = 32;
inline constexpr int32_t kDescending = 1;  // on a field of an index

// TableDef.Attributes bits.
inline constexpr int32_t kAttachExclusive = 0x10000;
inline constexpr int32_t kAttachSavePWD = 0x20000;
inline constexpr int32_t kSystemObject = static_cast<int32_t>(0x80000002u);
inline constexpr int32_t kHiddenObject = 1;
inline constexpr int32_t kAttachedTable = 0x40000000;
inline constexpr int32_t kAttachedODBC = 0x20000000;

// Recordset types.
inline constexpr int kOpenTable = 1;
inline constexpr int kOpenDynaset = 2;
inline constexpr int kOpenSnapshot = 4;
inline constexpr int kOpenForwardOnly = 8;
inline constexpr int kOpenDynamic = 16;

// OpenRecordset and Execute options.
inline constexpr int32_t kDenyWrite = 1;
inline constexpr int32_t kDenyRead = 2;
inline constexpr int32_t kReadOnly = 4;
inline constexpr int32_t kAppendOnly = 8;
inline constexpr int32_t kSQLPassThrough = 64;
inline constexpr int32_t kFailOnError = 128;

// OpenDatabase options (the Options argument may also be a Boolean:
// True opens exclusively).
inline constexpr int32_t kDriverNoPrompt = 1;

// The locale string CreateDatabase takes for the general sort order.
inline constexpr std::string_view kLangGeneral = ";LANGID=0x0409;CP=1252;COUNTRY=0";

// Error numbers the engine raises, with DAO's texts (see errors.cc).
namespace e {
inline constexpr int32_t kNoCurrentRecord = 3021;
inline constexpr int32_t kUpdateWithoutEdit = 3020;
inline constexpr int32_t kDuplicate = 3022;
inline constexpr int32_t kFileNotFound = 3024;
inline constexpr int32_t kDiskFull = 3026;
inline constexpr int32_t kInvalidPassword = 3031;
inline constexpr int32_t kReadOnly = 3027;
inline constexpr int32_t kInvalidArgument = 3001;
inline constexpr int32_t kTableExists = 3010;
inline constexpr int32_t kObjectExists = 3012;
inline constexpr int32_t kDiskIo = 3043;
inline constexpr int32_t kInvalidPath = 3044;
inline constexpr int32_t kFileInUse = 3045;
inline constexpr int32_t kCannotOpen = 3049;
inline constexpr int32_t kNoPermission = 3051;
inline constexpr int32_t kTableExclusive = 3008;
inline constexpr int32_t kNullInIndex = 3058;
inline constexpr int32_t kTooFewParameters = 3061;
inline constexpr int32_t kUnknownFieldInExpression = 3070;
inline constexpr int32_t kSyntaxInQuery = 3075;
inline constexpr int32_t kSyntaxInCriteria = 3077;
inline constexpr int32_t kInputTableNotFound = 3078;
inline constexpr int32_t kUndefinedFunction = 3085;
inline constexpr int32_t kInvalidName = 3125;
inline constexpr int32_t kInvalidSql = 3129;
inline constexpr int32_t kSyntaxFrom = 3131;
inline constexpr int32_t kSyntaxInsert = 3134;
inline constexpr int32_t kSyntaxSelect = 3141;
inline constexpr int32_t kSyntaxUpdate = 3144;
inline constexpr int32_t kNotValidBookmark = 3159;
inline constexpr int32_t kFieldTooSmall = 3163;
inline constexpr int32_t kFieldNotUpdatable = 3164;
inline constexpr int32_t kRecordDeleted = 3167;
inline constexpr int32_t kFieldExists = 3191;
inline constexpr int32_t kChangedByOther = 3197;
inline constexpr int32_t kOdbcCallFailed = 3146;
inline constexpr int32_t kOdbcConnectFailed = 3151;
inline constexpr int32_t kDatabaseExists = 3204;
inline constexpr int32_t kTableInUse = 3211;
inline constexpr int32_t kLocked = 3218;
inline constexpr int32_t kInvalidOperation = 3219;
inline constexpr int32_t kNotSupported = 3251;
inline constexpr int32_t kInvalidFieldType = 3259;
inline constexpr int32_t kLockedByUser = 3260;
inline constexpr int32_t kTableLockedByUser = 3262;
inline constexpr int32_t kNoFieldDefined = 3264;
inline constexpr int32_t kItemNotFound = 3265;
inline constexpr int32_t kPropertyNotFound = 3270;
inline constexpr int32_t kFieldInIndex = 3280;
inline constexpr int32_t kPrimaryKeyExists = 3283;
inline constexpr int32_t kIndexExists = 3284;
inline constexpr int32_t kNumericOverflow = 3349;
inline constexpr int32_t kAlreadyInCollection = 3367;
inline constexpr int32_t kRequired = 3314;
inline constexpr int32_t kZeroLength = 3315;
inline constexpr int32_t kTableRule = 3316;
inline constexpr int32_t kFieldRule = 3317;
inline constexpr int32_t kUnrecognizedFormat = 3343;
inline constexpr int32_t kObjectInvalid = 3420;
inline constexpr int32_t kConversion = 3421;
inline constexpr int32_t kCriteriaMismatch = 3464;
}  // namespace e

// Adds the engine's error texts to the library's error table (idempotent;
// the engine calls it when it is first used).
void RegisterEngineErrors();

// Raises engine error number with its DAO text, the placeholders "|" (or
// "|1", "|2") filled with args in order. The source is "DAO.<where>".
[[noreturn]] void Fail(int32_t number, std::vector<std::string> args = {},
                       std::string_view where = "DBEngine");

// The description DAO gives number with args filled in.
std::string FormatText(int32_t number, const std::vector<std::string>& args);

// ---- Plain descriptions of schema objects ------------------------------------

// A user-defined or stored property: Name, Type (a field type code) and
// Value.
struct PropertyInfo {
  std::string name;
  int type = kText;
  Variant value;
};

struct FieldInfo {
  std::string name;
  int type = kText;
  int32_t size = 0;
  int32_t attributes = kVariableField | kUpdatableField;
  bool required = false;
  bool allow_zero_length = false;
  std::string default_value;
  std::string validation_rule;
  std::string validation_text;
  int32_t ordinal_position = 0;
  std::vector<PropertyInfo> properties;  // user-defined ones (Caption, Format, ...)
};

struct IndexFieldInfo {
  std::string name;
  int32_t attributes = 0;  // kDescending
};

struct IndexInfo {
  std::string name;
  std::vector<IndexFieldInfo> fields;
  bool primary = false;
  bool unique = false;
  bool ignore_nulls = false;
  std::vector<PropertyInfo> properties;
};

struct TableInfo {
  std::string name;
  int32_t attributes = 0;
  std::string validation_rule;
  std::string validation_text;
  std::string connect;
  std::string source_table_name;
  std::vector<FieldInfo> fields;
  std::vector<IndexInfo> indexes;
  std::vector<PropertyInfo> properties;  // Description and other user-defined ones
};

struct QueryInfo {
  std::string name;
  std::string sql;
  std::vector<PropertyInfo> properties;
};

// Names are compared as Jet compares them: without regard to case.
bool SameName(std::string_view a, std::string_view b);

// The index of the item named name, or -1.
template <typename T>
int FindByName(const std::vector<T>& items, std::string_view name) {
  for (size_t i = 0; i < items.size(); ++i) {
    if (SameName(items[i].name, name)) return static_cast<int>(i);
  }
  return -1;
}

// Checks a name for a table, field, index, query or property: 1 to 64
// characters, no leading space, none of . ! ` [ ] and no control
// characters; raises 3125 otherwise.
void CheckName(std::string_view name);

}  // namespace qor::dao

#endif  // QOR_DB_ENGINE_DAO_H_
