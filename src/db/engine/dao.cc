#include "qorsupport/db/engine/dao.h"

#include <strings.h>

#include <mutex>
#include <utility>

#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb.h"

namespace qor::dao {

bool IsValidFieldType(int type) {
  switch (type) {
    case kBoolean:
    case kByte:
    case kInteger:
    case kLong:
    case kCurrency:
    case kSingle:
    case kDouble:
    case kDate:
    case kBinary:
    case kText:
    case kLongBinary:
    case kMemo:
    case kGUID:
    case kBigInt:
    case kChar:
    case kNumeric:
    case kDecimal:
    case kFloat:
    case kTime:
    case kTimeStamp:
      return true;
    default:
      return false;
  }
}

int DefaultFieldSize(int type) {
  switch (type) {
    case kBoolean:
    case kByte:
      return 1;
    case kInteger:
      return 2;
    case kLong:
    case kSingle:
      return 4;
    case kCurrency:
    case kDouble:
    case kDate:
    case kBigInt:
    case kFloat:
    case kTime:
    case kTimeStamp:
      return 8;
    case kText:
    case kChar:
      return 50;
    case kBinary:
      return 255;
    case kGUID:
    case kNumeric:
    case kDecimal:
      return 16;
    default:
      return 0;  // Memo, LongBinary
  }
}

bool IsTextType(int type) { return type == kText || type == kMemo || type == kChar; }

namespace {

// DAO's texts; "|" marks where the object's name goes.
const std::pair<int32_t, const char*> kTexts[] = {
    {3001, "Invalid argument."},
    {3000, "Reserved error (|); there is no message for this error."},
    {3008,
     "The table '|' is already opened exclusively by another user, or it is already open "
     "through the user interface and cannot be manipulated programmatically."},
    {3010, "Table '|' already exists."},
    {3012, "Object '|' already exists."},
    {3020, "Update or CancelUpdate without AddNew or Edit."},
    {3021, "No current record."},
    {3022,
     "The changes you requested to the table were not successful because they would "
     "create duplicate values in the index, primary key, or relationship. Change the data "
     "in the field or fields that contain duplicate data, remove the index, or redefine "
     "the index to permit duplicate entries and try again."},
    {3024, "Could not find file '|'."},
    {3026, "Not enough space on disk."},
    {3027, "Cannot update. Database or object is read-only."},
    {3031, "Not a valid password."},
    {3043, "Disk or network error."},
    {3044,
     "'|' isn't a valid path. Make sure that the path name is spelled correctly and that "
     "you are connected to the server on which the file resides."},
    {3045, "Could not use '|'; file already in use."},
    {3049,
     "Cannot open database '|'. It may not be a database that your application "
     "recognizes, or the file may be corrupt."},
    {3051,
     "The Microsoft Jet database engine cannot open the file '|'. It is already opened "
     "exclusively by another user, or you need permission to view its data."},
    {3058, "Index or primary key cannot contain a Null value."},
    {3061, "Too few parameters. Expected |."},
    {3070,
     "The Microsoft Jet database engine does not recognize '|' as a valid field name or "
     "expression."},
    {3075, "Syntax error (missing operator) in query expression '|'."},
    {3077, "Syntax error (missing operator) in expression."},
    {3078,
     "The Microsoft Jet database engine cannot find the input table or query '|'. Make "
     "sure it exists and that its name is spelled correctly."},
    {3085, "Undefined function '|' in expression."},
    {3125,
     "'|' isn't a valid name. Make sure that it does not include invalid characters or "
     "punctuation and that it is not too long."},
    {3129,
     "Invalid SQL statement; expected 'DELETE', 'INSERT', 'PROCEDURE', 'SELECT', or "
     "'UPDATE'."},
    {3131, "Syntax error in FROM clause."},
    {3134, "Syntax error in INSERT INTO statement."},
    {3141,
     "The SELECT statement includes a reserved word or an argument name that is misspelled "
     "or missing, or the punctuation is incorrect."},
    {3144, "Syntax error in UPDATE statement."},
    {3146, "ODBC--call failed."},
    {3151, "ODBC--connection to '|' failed."},
    {3159, "Not a valid bookmark."},
    {3163,
     "The field is too small to accept the amount of data you attempted to add. Try "
     "inserting or pasting less data."},
    {3164, "Field cannot be updated."},
    {3167, "Record is deleted."},
    {3191, "Cannot define field more than once."},
    {3197,
     "The Microsoft Jet database engine stopped the process because you and another user "
     "are attempting to change the same data at the same time."},
    {3204, "Database already exists."},
    {3211,
     "The database engine could not lock table '|' because it is already in use by "
     "another person or process."},
    {3218, "Could not update; currently locked."},
    {3219, "Invalid operation."},
    {3251, "Operation is not supported for this type of object."},
    {3259, "Invalid field data type."},
    {3260, "Could not update; currently locked by user '|2' on machine '|1'."},
    {3262, "Could not lock table '|1'; currently in use by user '|2' on machine '|3'."},
    {3264, "No field defined--cannot append TableDef or Index."},
    {3265, "Item not found in this collection."},
    {3270, "Property not found."},
    {3280, "Cannot delete a field that is part of an index or is needed by the system."},
    {3283, "Primary key already exists."},
    {3284, "Index already exists."},
    {3314,
     "The field '|' cannot contain a Null value because the Required property for this "
     "field is set to True. Enter a value in this field."},
    {3315, "Field '|' cannot be a zero-length string."},
    {3316,
     "One or more values are prohibited by the validation rule '|' set for '|'. Enter a "
     "value that the expression for this field can accept."},
    {3317,
     "One or more values are prohibited by the validation rule '|' set for '|'. Enter a "
     "value that the expression for this field can accept."},
    {3343, "Unrecognized database format '|'."},
    {3349, "Numeric field overflow."},
    {3367, "Cannot append. An object with that name already exists in the collection."},
    {3420, "Object invalid or no longer set."},
    {3421, "Data type conversion error."},
    {3464, "Data type mismatch in criteria expression."},
};

}  // namespace

void RegisterEngineErrors() {
  static std::once_flag once;
  std::call_once(once, [] {
    for (const auto& [number, text] : kTexts) RegisterErrorText(number, text);
  });
}

std::string FormatText(int32_t number, const std::vector<std::string>& args) {
  RegisterEngineErrors();
  std::string text = ErrorText(number);
  std::string out;
  size_t next = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '|') {
      out += text[i];
      continue;
    }
    size_t which = next++;
    if (i + 1 < text.size() && text[i + 1] >= '1' && text[i + 1] <= '9') {
      which = static_cast<size_t>(text[i + 1] - '1');
      ++i;
    }
    if (which < args.size()) out += args[which];
  }
  return out;
}

void Fail(int32_t number, std::vector<std::string> args, std::string_view where) {
  throw Error(number, "DAO." + std::string(where), FormatText(number, args));
}

bool SameName(std::string_view a, std::string_view b) {
  // Names are nearly always ASCII: compare those without decoding them
  // (names hold no NUL, see CheckName).
  bool ascii = true;
  for (unsigned char c : a) ascii = ascii && c < 0x80;
  for (unsigned char c : b) ascii = ascii && c < 0x80;
  if (!ascii) return vb::StrComp(a, b, vb::CompareMode::kText) == 0;
  return a.size() == b.size() && ::strncasecmp(a.data(), b.data(), a.size()) == 0;
}

void CheckName(std::string_view name) {
  bool ok = !name.empty() && vb::Len(name) <= 64 && name.front() != ' ';
  for (unsigned char c : name) {
    if (c < 32 || c == '.' || c == '!' || c == '`' || c == '[' || c == ']') ok = false;
  }
  if (!ok) Fail(e::kInvalidName, {std::string(name)});
}

}  // namespace qor::dao
