// The SQL functions that translated Jet SQL calls, registered on every
// connection of the SQLite backend (and, through SQLite's automatic
// extensions, on every SQLite connection of the process), with the
// collation qor_jet (jet_collation.h):
//
// - qor_expr(program, values...): the parts of an expression that the
//   translator leaves to the VB runtime (jet_eval.h);
// - qor_like(text, pattern): Jet's Like, -1, 0 or Null;
// - the aggregates qor_first, qor_last, qor_stdev, qor_stdevp, qor_var and
//   qor_varp (Jet's First, Last, StDev, StDevP, Var, VarP);
// - the functions SQL written by earlier versions calls (qor_cstr,
//   qor_dateadd, qor_mod, ...), each a VB runtime function.
//
// Every one computes with frame/vb_functions.h, so that a query and C++
// agree. Dates come and go as "yyyy-mm-dd hh:nn:ss" texts, Booleans as -1
// and 0.
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
