#include "qorsupport/dialogs/list.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "dialogs/item_table.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/report.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/ui/backend.h"

namespace qor {

namespace {

constexpr int kTextRow = 0;
constexpr int kDataRow = 1;
constexpr int kSortRow = 2;

Variant OneWhenMissing(const Variant& v) { return v.IsMissing() ? Variant(int32_t{1}) : v; }

// Whether a is ordered before b for the sort mode (1 ascending, 2
// descending), by VB's comparison of the texts.
bool Before(int mode, const Variant& a, const Variant& b) {
  std::optional<int> c = vb::Compare(a, b);
  if (!c) return false;
  return mode == 1 ? *c < 0 : *c > 0;
}

}  // namespace

qorList::qorList() : table_(NewItemTable(3)) {}

void qorList::Init() { initialised_ = true; }

void qorList::CheckInitialised() const {
  if (!initialised_) RaiseError("Global", "Un-Initialised qorList");
}

void qorList::AddItem(const std::string& name, const Variant& data, const Variant& sort) {
  CheckInitialised();
  StoreColumn(table_, count_, {Variant(name), OneWhenMissing(data), OneWhenMissing(sort)});
  ++count_;
  is_sorted_ = false;
}

int32_t qorList::Capacity() const { return LastColumn(table_); }

const Variant& qorList::Item(int row, int32_t position) const { return table_.At({row, position}); }

void qorList::SetUseFixedWidthFont(bool fixed) { font_name_ = fixed ? "Courier New" : ""; }

void qorList::SetSorted(int16_t mode) {
  if (mode < 0 || mode > 2) Raise(err::kInvalidCall);
  sorted_mode_ = mode;
  if (mode != 0) Sort(mode, -1, -1);
}

void qorList::SetBigFlag(bool big) {
  width_ = big ? 500 : 338;
  height_ = big ? 700 : 500;
}

Variant qorList::SelectedData() const {
  return selected_ < 0 ? Variant::Null() : Item(kDataRow, selected_);
}

Variant qorList::SelectedText() const {
  return selected_ < 0 ? Variant::Null() : Item(kTextRow, selected_);
}

void qorList::Sort(int mode, int32_t first, int32_t last) {
  if (first == -1) first = 0;
  if (last == -1) {
    last = count_ - 1;
    sort_index_.resize(static_cast<size_t>(count_));
    std::iota(sort_index_.begin(), sort_index_.end(), 0);
  }
  if (first < last) {
    auto text = [&](int32_t i) -> const Variant& { return Item(kTextRow, sort_index_[i]); };
    const Variant pivot = text((first + last) / 2);
    int32_t i = first;
    int32_t j = last;
    while (i <= j) {
      while (Before(mode, text(i), pivot)) ++i;
      while (Before(mode, pivot, text(j))) --j;
      if (i <= j) {
        std::swap(sort_index_[i], sort_index_[j]);
        ++i;
        --j;
      }
    }
    if (first < j) Sort(mode, first, j);
    if (i < last) Sort(mode, i, last);
  }
  is_sorted_ = true;
}

std::vector<int32_t> qorList::DisplayOrder() {
  if (sorted_mode_ == 0) {
    std::vector<int32_t> order(static_cast<size_t>(count_));
    std::iota(order.begin(), order.end(), 0);
    return order;
  }
  if (!is_sorted_) Sort(sorted_mode_, -1, -1);
  return sort_index_;
}

bool qorList::Display(bool modal) { return Show(false, modal, nullptr); }

bool qorList::DisplayMultiSelect(Variant& chosen, bool modal) { return Show(true, modal, &chosen); }

bool qorList::Show(bool multi, bool modal, Variant* chosen) {
  cancelled_ = false;
  CheckInitialised();
  selected_ = -1;
  return Guard(Reporter("qorList.Display"), false, [&] {
    cancelled_ = true;  // until an answer says otherwise
    std::vector<int32_t> order = DisplayOrder();
    ui::ListRequest request;
    request.title = title_;
    request.multi = multi;
    request.modal = modal;
    request.font_name = font_name_;
    request.width = width_;
    request.height = height_;
    request.items.reserve(order.size());
    for (int32_t position : order) request.items.push_back(vb::CStr(Item(kTextRow, position)));

    ui::ListAnswer answer = ui::Current().List(request);
    if (!answer || answer->empty()) return false;
    std::vector<int> shown = *answer;
    std::sort(shown.begin(), shown.end());
    shown.erase(std::unique(shown.begin(), shown.end()), shown.end());
    for (int row : shown) {
      if (row < 0 || row >= static_cast<int>(order.size())) Raise(err::kSubscript);
    }
    if (multi) {
      VarType type = VarType::kVariant;
      if (chosen->IsArray()) type = chosen->AsArray().element_type();
      Array texts(type, {{1, static_cast<int32_t>(shown.size())}});
      for (size_t i = 0; i < shown.size(); ++i) {
        Variant text(request.items[static_cast<size_t>(shown[i])]);
        texts.elements()[i] = type == VarType::kVariant ? text : vb::ConvertTo(text, type);
      }
      *chosen = Variant(std::move(texts));
    }
    selected_ = order[static_cast<size_t>(shown.front())];
    cancelled_ = false;
    return true;
  });
}

}  // namespace qor
