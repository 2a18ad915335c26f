// qorList: the library's dialog for choosing one or several items of a list.
//
// A caller creates a qorList, calls Init, adds items with AddItem, sets the
// display options and calls Display (one choice) or DisplayMultiSelect
// (several). Items are kept in a table of three rows (display text, data,
// sort key) and one column per item, in the order added; the table starts
// with room for items 0 to 100 and grows by 100 whenever it is full.
//
// Sorted 1 or 2 orders the display by the items' texts, ascending or
// descending, through a quicksort of a separate sort index: the table keeps
// the order of AddItem, and every position the dialog answers with is
// mapped back to the item's position in that order (SelectedIndex).
//
// AddItem, Display and DisplayMultiSelect before Init raise error 999
// ("Global", "Un-Initialised qorList"). Any other error while the list is
// shown is reported with the source "qorList.Display()" and the display
// returns False.

#ifndef QOR_DIALOGS_LIST_H_
#define QOR_DIALOGS_LIST_H_

#include <cstdint>
#include <string>
#include <vector>

#include "qorsupport/frame/variant.h"

namespace qor {

class qorList : public Object {
 public:
  qorList();
  std::string_view ClassName() const override { return "qorList"; }

  // Marks the object initialised.
  void Init();
  // Does nothing.
  void Cancel() {}
  // Appends an item; a missing data or sort value is stored as 1.
  void AddItem(const std::string& name = "", const Variant& data = Variant::Missing(),
               const Variant& sort = Variant::Missing());

  // Shows the list for one choice; True when an item was chosen. The
  // library has no event loop of its own, so a modeless list (modal False)
  // is shown the same way and the request only records the wish.
  bool Display(bool modal = true);
  // Shows the list for several choices. When at least one is chosen,
  // chosen becomes an array with bounds 1 to the number chosen (keeping the
  // element type of the array passed in) holding their texts in the order
  // shown, and the result is True; otherwise chosen is left as it was.
  bool DisplayMultiSelect(Variant& chosen, bool modal = true);

  bool UseFixedWidthFont() const { return !font_name_.empty(); }
  void SetUseFixedWidthFont(bool fixed);
  // 0 insertion order, 1 ascending, 2 descending; 1 and 2 sort at once.
  // Another value raises error 5.
  int16_t Sorted() const { return sorted_mode_; }
  void SetSorted(int16_t mode);
  // The large (500 x 700) or normal (338 x 500) list size.
  void SetBigFlag(bool big);
  bool BigFlag() const { return width_ == 500; }

  // The form's title, initially "List Form".
  const std::string& Title() const { return title_; }
  void SetTitle(std::string title) { title_ = std::move(title); }

  // The chosen item's position in the order of AddItem (0-based), -1 when
  // nothing was chosen in the last display; its data and text (Null when
  // nothing was chosen).
  int32_t SelectedIndex() const { return selected_; }
  Variant SelectedData() const;
  Variant SelectedText() const;

  int32_t ItemCount() const { return count_; }
  // The highest item position the table has room for (100, 200, ...).
  int32_t Capacity() const;
  // The item positions in the order they are shown (sorting when needed).
  std::vector<int32_t> DisplayOrder();
  const Variant& Item(int row, int32_t position) const;

 private:
  bool Show(bool multi, bool modal, Variant* chosen);
  void CheckInitialised() const;
  // The quicksort of the sort index; -1 for first means 0, -1 for last means
  // count - 1 and rebuilds the index first.
  void Sort(int mode, int32_t first, int32_t last);

  std::string title_ = "List Form";
  bool initialised_ = false;
  Array table_;
  int32_t count_ = 0;
  bool is_sorted_ = false;
  int16_t sorted_mode_ = 0;
  std::vector<int32_t> sort_index_;
  std::string font_name_;
  int width_ = 338;
  int height_ = 500;
  bool cancelled_ = false;
  int32_t selected_ = -1;
};

}  // namespace qor

#endif  // QOR_DIALOGS_LIST_H_
