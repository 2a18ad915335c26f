// Name matching of the database toolkit: wherever it walks a collection for
// a name, names are compared with TrimUpper on both sides, so letter case
// and surrounding blanks do not matter. A blank name matches nothing, as
// VB's comparison of two Nulls is not True.
#ifndef QOR_DB_NAMES_H_
#define QOR_DB_NAMES_H_

#include <memory>
#include <string_view>

#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/variant.h"

namespace qor::db {

inline bool NamesMatch(const Variant& a, const Variant& b) {
  Variant left = TrimUpper(a);
  Variant right = TrimUpper(b);
  return left.IsString() && right.IsString() && left.AsString() == right.AsString();
}

// The first item of a collection whose name matches, or null.
template <typename CollectionT>
auto FindByName(CollectionT& collection, const Variant& name)
    -> std::remove_reference_t<decltype(collection.items().front())> {
  for (const auto& item : collection.items()) {
    if (NamesMatch(Variant(item->Name()), name)) return item;
  }
  return nullptr;
}

}  // namespace qor::db

#endif  // QOR_DB_NAMES_H_
