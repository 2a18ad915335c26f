// A growing table of variants: a fixed number of rows and one column per
// entry, the layout the list form and the pick list keep their entries in.
//
// A table starts with columns 0 to 100. Writing beyond its last column fails
// with error 9 (subscript out of range) as any array write does; StoreColumn
// answers that failure by adding 100 columns, keeping every value, and
// writing again, so callers never size the table themselves.

#ifndef QOR_DIALOGS_ITEM_TABLE_H_
#define QOR_DIALOGS_ITEM_TABLE_H_

#include <cstdint>
#include <vector>

#include "qorsupport/frame/variant.h"

namespace qor {

inline constexpr int32_t kItemTableGrowth = 100;

// A table of `rows` rows and columns 0 to 100, every cell Empty.
Array NewItemTable(int32_t rows);

// Writes values[r] to cell (r, column) for every row r, growing the table by
// 100 columns as often as needed first. values has one value per row.
void StoreColumn(Array& table, int32_t column, const std::vector<Variant>& values);

// The highest column the table has room for.
int32_t LastColumn(const Array& table);

}  // namespace qor

#endif  // QOR_DIALOGS_ITEM_TABLE_H_
