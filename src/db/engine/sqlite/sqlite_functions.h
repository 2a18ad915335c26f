// The SQL functions that Jet SQL needs and SQLite lacks, registered on
// every connection of the SQLite backend: qor_like (Jet's Like), the VB
// conversions (qor_cstr, qor_clng, qor_val, ...), the date functions
// (qor_date, qor_dateadd, qor_datepart, ...) and VB arithmetic (qor_idiv,
// qor_mod, qor_pow). They follow the VB runtime of frame/vb.h; dates come
// and go as ISO-8601 texts.
#ifndef QOR_DB_ENGINE_SQLITE_SQLITE_FUNCTIONS_H_
#define QOR_DB_ENGINE_SQLITE_SQLITE_FUNCTIONS_H_

#include <sqlite3.h>

#include <string_view>

namespace qor::dao::sqlite {

void RegisterFunctions(sqlite3* db);

// Jet's Like: * any run of characters, ? one character, # one digit,
// [abc], [a-z] and [!a-z] character lists; letters match without regard to
// case. A malformed list ("[a") matches nothing.
bool JetLike(std::string_view text, std::string_view pattern);

}  // namespace qor::dao::sqlite

#endif  // QOR_DB_ENGINE_SQLITE_SQLITE_FUNCTIONS_H_
