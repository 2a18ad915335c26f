// qorDb's copy of one record between two recordsets, found by key or taken
// as the current records, riding out other users' locks.

#include <functional>
#include <vector>

#include "qorsupport/db/qor_db.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/report.h"
#include "qorsupport/frame/vb.h"

namespace qor {
namespace {

// Runs CopyRecord's statements under its handler. A statement that fails
// for a field the destination lacks (3265) is passed over and the copy goes
// on; any other failure is retried as long as RetryLock grants, all
// statements of the copy sharing one retry counter. Once RetryLock gives up,
// the error is reported and the copy ends.
class Statements {
 public:
  Statements(qorDb& db, const Reporter& reporter) : db_(db), reporter_(reporter) {}

  // False when the statement failed for good (the copy must end).
  bool Run(const std::function<void()>& statement) {
    for (;;) {
      try {
        statement();
        return true;
      } catch (...) {
        Error error = ErrorFromException(std::current_exception());
        if (error.number() == dao::e::kItemNotFound) return true;
        if (db_.RetryLock(retries_, false)) continue;
        reporter_.Unexpected(error);
        return false;
      }
    }
  }

 private:
  qorDb& db_;
  const Reporter& reporter_;
  Variant retries_;
};

// The criterion that finds value in the key field of a recordset whose key
// field has the given type; the value goes in unescaped.
std::string KeyCriterion(qorProcs& procs, const std::string& key_field, int key_type,
                         const Variant& value) {
  const std::string field = "([" + key_field + "] = ";
  switch (key_type) {
    case dao::kDate:
      return field + vb::ConcatText(procs.WhereDateTimestamp(value)) + ")";
    case dao::kText:
    case dao::kChar:
      return field + "\"" + vb::ConcatText(value) + "\")";
    default:
      return field + vb::ConcatText(value) + ")";
  }
}

bool SameFieldName(const std::string& a, const std::string& b) {
  const Variant left = TrimLower(Variant(a));
  const Variant right = TrimLower(Variant(b));
  return left == right;
}

}  // namespace

bool qorDb::CopyRecord(dao::Recordset& pSrcSet, dao::Recordset& pDestSet,
                       const std::string& pKeyField, const Variant& pKeyVal, bool pDestMustExist,
                       bool pDestMustNOTexist, bool Verbose) {
  Reporter reporter("CopyRecord", Verbose);
  Statements run(*this, reporter);
  // Sets each destination field from the source field of the same name, the
  // key field left out when skip_key. The test of the auto-increment bit
  // lets every field through, counters included.
  auto copy_fields = [&](bool skip_key) {
    std::vector<std::shared_ptr<dao::Field>> fields;
    if (!run.Run([&] { fields = pSrcSet.GetFields()->items(); })) return false;
    for (const auto& field : fields) {
      if (skip_key && SameFieldName(field->Name(), pKeyField)) continue;
      if (!run.Run([&] {
            pDestSet.GetFields()->Item(Variant(field->Name()))->SetValue(field->Value());
          })) {
        return false;
      }
    }
    return true;
  };

  if (IsBlank(pKeyVal, false)) {
    return run.Run([&] { pDestSet.Edit(); }) && copy_fields(false) &&
           run.Run([&] { pDestSet.Update(); });
  }

  int key_type = 0;
  if (!run.Run([&] { key_type = pSrcSet.GetFields()->Item(Variant(pKeyField))->Type(); })) {
    return false;
  }
  bool found = false;
  if (!run.Run([&] {
        pSrcSet.FindFirst(KeyCriterion(Procs(), pKeyField, key_type, pKeyVal));
        found = !pSrcSet.NoMatch();
      })) {
    return false;
  }
  if (!found) return false;
  Variant source_key;
  bool dest_found = false;
  if (!run.Run([&] {
        source_key = pSrcSet.GetFields()->Item(Variant(pKeyField))->Value();
        pDestSet.FindFirst(KeyCriterion(Procs(), pKeyField, key_type, source_key));
        dest_found = !pDestSet.NoMatch();
      })) {
    return false;
  }
  if (pDestMustNOTexist && dest_found) {
    reporter.Fail(Variant("Destination record exists"));
    return false;
  }
  if (pDestMustExist && !dest_found) {
    reporter.Fail(Variant("Destination record does NOT exist"));
    return false;
  }
  if (dest_found) {
    if (!run.Run([&] { pDestSet.Edit(); })) return false;
  } else {
    if (!run.Run([&] { pDestSet.AddNew(); })) return false;
    if (!run.Run([&] { pDestSet.GetFields()->Item(Variant(pKeyField))->SetValue(source_key); })) {
      return false;
    }
  }
  return copy_fields(true) && run.Run([&] { pDestSet.Update(); });
}

}  // namespace qor
