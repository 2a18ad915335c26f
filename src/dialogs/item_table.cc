#include "dialogs/item_table.h"

#include "qorsupport/frame/error.h"

namespace qor {

Array NewItemTable(int32_t rows) {
  return Array(VarType::kVariant, {{0, rows - 1}, {0, kItemTableGrowth}});
}

int32_t LastColumn(const Array& table) { return table.DimensionBounds(2).upper; }

void StoreColumn(Array& table, int32_t column, const std::vector<Variant>& values) {
  // Only a column beyond the end is answered by growing.
  if (static_cast<int64_t>(values.size()) > table.DimensionBounds(1).Count() || column < 0) {
    Raise(err::kSubscript);
  }
  for (;;) {
    try {
      for (size_t row = 0; row < values.size(); ++row) {
        table.At({static_cast<int32_t>(row), column}) = values[row];
      }
      return;
    } catch (const Error& e) {
      if (e.number() != err::kSubscript) throw;
      Array::Bounds rows = table.DimensionBounds(1);
      table.RedimPreserve({rows, {0, LastColumn(table) + kItemTableGrowth}});
    }
  }
}

}  // namespace qor
