// qorDb's single-field reads and writes by key, the wait-and-retry decision
// for locked records, and scratch databases under TEMP.

#include <cmath>
#include <cstdlib>
#include <filesystem>

#include "db/schema_copy.h"
#include "qorsupport/db/qor_db.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/report.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/ui/backend.h"

namespace qor {
namespace {

// The most retries RetryLock grants on one counter.
constexpr int kMaxRetries = 4;

// MsgBox style of RetryLock's question: Retry and Cancel, question icon.
constexpr int kRetryCancelQuestion = 5 + 32;

// The criterion that finds key_value in field key_name of the recordset, by
// the key field's type. The name and the value go in as they are: nothing in
// them is escaped, and a value with a double quote makes a faulty criterion.
// The field is not qualified by the table: the recordset has only its
// fields, and the translator has less to resolve.
std::string KeyCriterion(qorProcs& procs, const std::string& key_name, int key_type,
                         const Variant& key_value) {
  const std::string field = "[" + key_name + "] = ";
  switch (key_type) {
    case dao::kText:
    case dao::kMemo:
      return field + "\"" + vb::ConcatText(key_value) + "\"";
    case dao::kDate:
      return field + vb::ConcatText(procs.WhereDateString(key_value));
    case dao::kInteger:
    case dao::kLong:
    case dao::kSingle:
    case dao::kDouble:
      return field + vb::ConcatText(key_value);
    default:
      Raise(err::kCritical, "FieldDataReadWriteDb", "Invalid key field type");
  }
}

// The counter after one more attempt, keeping a whole-number counter's kind.
Variant NextCount(const Variant& count) {
  if (count.type() == VarType::kLong) return Long(vb::CLng(count) + 1);
  if (count.IsNull() || count.IsEmpty() || count.type() == VarType::kInteger ||
      count.type() == VarType::kByte || count.type() == VarType::kBoolean) {
    double n = count.IsNull() ? 0 : vb::CDbl(count);
    return Variant(static_cast<int16_t>(n + 1));
  }
  return Variant(vb::CDbl(count) + 1);
}

}  // namespace

bool qorDb::FieldDataReadWriteDb(Variant& pFieldData, dao::Database& pDataBase,
                                 const std::string& pTableName, const std::string& pKeyName,
                                 const Variant& pKeyVal, const std::string& pFieldName,
                                 bool pWriteFlag, bool Verbose) {
  Reporter reporter("FieldDataReadWriteDb", Verbose);
  std::shared_ptr<dao::Recordset> rs;
  bool result = Guard(reporter, false, [&] {
    rs = pDataBase.OpenRecordset(pTableName, Long(dao::kOpenDynaset));
    auto not_there = [&](const char* message) {
      reporter.Fail(Variant(message));
      if (!pWriteFlag) pFieldData = Variant::Null();
      return false;
    };
    // Only the test for the two words trims and upper-cases the key; a text
    // key reading FIRSTRECORD or LASTRECORD cannot be searched for.
    // A text shorter than LASTRECORD cannot be either, so a short key skips
    // the trimming and case mapping.
    const bool may_be_word = pKeyVal.IsString() && pKeyVal.AsString().size() >= 10;
    const Variant word = may_be_word ? TrimUpper(pKeyVal) : Variant();
    const bool first = word.IsString() && word.AsString() == "FIRSTRECORD";
    const bool last = word.IsString() && word.AsString() == "LASTRECORD";
    if (first || last) {
      if (rs->Bof() && rs->Eof()) return not_there("Table has no records");
      if (first) rs->MoveFirst();
      if (last) rs->MoveLast();
    } else {
      // The search comes first: an empty table is told apart only when it
      // finds nothing (a failed FindFirst leaves the recordset unplaced).
      int key_type = rs->FieldType(pKeyName);
      rs->FindFirst(KeyCriterion(Procs(), pKeyName, key_type, pKeyVal));
      if (rs->NoMatch()) {
        return not_there(rs->Bof() && rs->Eof() ? "Table has no records" : "Key not found");
      }
    }
    // By name through the recordset: no Field objects are made.
    if (pWriteFlag) {
      rs->FieldType(pFieldName);  // a missing field fails before Edit locks the record
      rs->Edit();
      rs->SetValue(pFieldName, pFieldData);
      rs->Update();
    } else {
      pFieldData = rs->Value(pFieldName);
    }
    return true;
  });
  db::CloseQuietly(rs);
  return result;
}

bool qorDb::FieldDataReadWrite(Variant& pFieldData, const std::string& pDatabasePath,
                               const std::string& pTableName, const std::string& pKeyName,
                               const Variant& pKeyVal, const std::string& pFieldName,
                               bool pWriteFlag, bool Verbose) {
  std::shared_ptr<dao::Database> db;
  if (!OpenDatabase(db, Variant(pDatabasePath))) {
    if (Verbose) ShowError(Variant("Error opening database file"));
    return false;
  }
  bool result = FieldDataReadWriteDb(pFieldData, *db, pTableName, pKeyName, pKeyVal, pFieldName,
                                     pWriteFlag, Verbose);
  db::CloseQuietly(db);
  return result;
}

bool qorDb::RetryLock(Variant& pRtlCount, bool pRtlAsk) {
  pRtlCount = NextCount(pRtlCount);
  const double attempt = vb::CDbl(pRtlCount);
  if (attempt > kMaxRetries) return false;
  if (pRtlAsk) {
    ui::MsgBoxRequest question;
    question.title = GetAppName();
    question.text = "Data is LOCKED by another user";
    question.style = kRetryCancelQuestion;
    if (ui::Current().MsgBox(question) == ui::kIdCancel) return false;
  }
  try {
    // Lets the engine finish pending work and see the other users' locks
    // as they are now.
    dao::DBEngine::Get()->Idle();
    // Waits grow with the attempt (5 to 12 tenths of a second by the
    // fourth); the random part spreads several users' retries apart.
    int32_t tenths = static_cast<int32_t>(std::floor(vb::Rnd() * 0.5 * attempt * attempt)) + 5;
    Procs().Delay(tenths);
    ui::Current().Beep();
  } catch (...) {
    // The wait is a courtesy: the caller retries whatever happened here.
  }
  return true;
}

bool qorDb::CreateTempDatabase(std::shared_ptr<dao::Database>& pDb, std::string& PDbPath,
                               bool Verbose) {
  const char* temp = std::getenv("TEMP");
  std::string dir = temp != nullptr ? temp : "";
  if (IsBlank(Variant(dir), true)) {
    std::error_code error;
    dir = std::filesystem::current_path(error).string();
  }
  const std::string path = Procs().NormaliseDir(dir) + Procs().GetRandomString(8) + ".MDB";
  if (CreateDatabase(pDb, Variant(path), true, Verbose)) {
    PDbPath = path;
    return true;
  }
  PDbPath.clear();
  return false;
}

}  // namespace qor
