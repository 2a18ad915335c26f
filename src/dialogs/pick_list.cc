#include "qorsupport/dialogs/pick_list.h"

#include <exception>

#include "dialogs/item_table.h"
#include "qorsupport/dialogs/list.h"
#include "qorsupport/frame/report.h"
#include "qorsupport/frame/vb.h"

namespace qor {

namespace {

// Closes the recordset when the call leaves, ignoring errors while closing.
class CloseOnExit {
 public:
  explicit CloseOnExit(std::unique_ptr<PickRecordset>& rs) : rs_(rs) {}
  ~CloseOnExit() { Close(); }
  void Close() {
    if (!rs_) return;
    try {
      rs_->Close();
    } catch (...) {
    }
    rs_.reset();
  }

 private:
  std::unique_ptr<PickRecordset>& rs_;
};

}  // namespace

Variant qorPickList::GetPickList(PickDatabase& db, const std::string& qry,
                                 const std::string& display_field, std::string& key_field,
                                 bool verbose) {
  Variant result = Variant::Null();
  Reporter reporter("qorPicklist.GetPickList", verbose);
  std::unique_ptr<PickRecordset> rs;
  CloseOnExit closer(rs);
  last_count_ = 0;
  try {
    Array rows = NewItemTable(2);
    last_capacity_ = LastColumn(rows);
    rs = db.OpenRecordset(qry);
    if (rs->Bof() && rs->Eof()) {
      reporter.Fail(Variant("Empty recordset"));
      return result;
    }
    rs->MoveFirst();
    while (!rs->Eof()) {
      StoreColumn(rows, last_count_, {rs->Field(display_field), rs->Field(key_field)});
      ++last_count_;
      rs->MoveNext();
    }
    last_capacity_ = LastColumn(rows);
    closer.Close();

    qorList list;
    list.Init();
    for (int32_t i = 0; i < last_count_; ++i) list.AddItem(vb::CStr(rows.At({0, i})));
    if (list.Display(true) && list.SelectedIndex() >= 0) {
      result = rows.At({1, list.SelectedIndex()});
    }
  } catch (...) {
    reporter.Unexpected(ErrorFromException(std::current_exception()));
  }
  return result;
}

}  // namespace qor
