// qorPickList: choosing one record of a query from a list.
//
// GetPickList opens a recordset on a query of an open database, reads one
// display column and one key column of every row into a growing two-row
// table, shows the display texts through qorList and returns the key of the
// row chosen, or Null (cancel, an empty result, a failure, or a Null key).
//
// The database is reached through two small interfaces, PickDatabase and
// PickRecordset, which carry exactly the operations the pick list uses
// (OpenRecordset by source; BOF and EOF as Bof and Eof, MoveFirst, MoveNext, a field's value
// by name, Close). The database engine's Database and Recordset objects
// implement them; tests may implement them over any real database.

#ifndef QOR_DIALOGS_PICK_LIST_H_
#define QOR_DIALOGS_PICK_LIST_H_

#include <memory>
#include <string>

#include "qorsupport/frame/variant.h"

namespace qor {

// A recordset as the pick list reads it. Errors (an unknown field, a failed
// read) are raised as Errors with the engine's numbers.
class PickRecordset {
 public:
  virtual ~PickRecordset() = default;
  virtual bool Bof() = 0;
  virtual bool Eof() = 0;  // BOF and EOF (EOF is a C macro)
  virtual void MoveFirst() = 0;
  virtual void MoveNext() = 0;
  // The value of the current record's field.
  virtual Variant Field(const std::string& name) = 0;
  virtual void Close() = 0;
};

// An open database as the pick list reads it.
class PickDatabase {
 public:
  virtual ~PickDatabase() = default;
  // A recordset on a table name, stored query name or SQL text, every
  // option left to the engine.
  virtual std::unique_ptr<PickRecordset> OpenRecordset(const std::string& source) = 0;
};

class qorPickList : public Object {
 public:
  std::string_view ClassName() const override { return "qorPickList"; }

  // Shows pDisplayField of every row of pQry and returns pKeyField of the
  // row chosen; Null when nothing was chosen. With Verbose, an empty result
  // is reported as "Empty recordset" and an error with the source
  // "qorPicklist.GetPickList()"; the recordset is closed in every case.
  Variant GetPickList(PickDatabase& db, const std::string& qry, const std::string& display_field,
                      std::string& key_field, bool verbose = false);

  // The number of rows read by the last call and the highest column its
  // table had room for (100, 200, ...).
  int32_t LastCount() const { return last_count_; }
  int32_t LastCapacity() const { return last_capacity_; }

 private:
  int32_t last_count_ = 0;
  int32_t last_capacity_ = 0;
};

}  // namespace qor

#endif  // QOR_DIALOGS_PICK_LIST_H_
