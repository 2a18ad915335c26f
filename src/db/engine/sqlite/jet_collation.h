// Jet's general sort order for texts, by ICU's collator: ICU's root order
// at secondary strength, so that case is ignored ("a" = "A"), accents count
// ("MÜLLER" = "Müller" but <> "MULLER") and accented letters sort beside
// their base letter ("Ärger" before "Berg", "Pâté" before "Pavlova").
//
// It is the SQLite collation qor_jet, which the engine declares on its text
// columns and writes after text comparisons, orderings and groupings, and
// the order of the VB runtime's text comparisons (vb::SetTextCollation).
// Texts of ASCII characters only compare by a table taken from ICU (the
// same order, checked when the table is made), the others through ICU.
#ifndef QOR_DB_ENGINE_SQLITE_JET_COLLATION_H_
#define QOR_DB_ENGINE_SQLITE_JET_COLLATION_H_

#include <sqlite3.h>

#include <string_view>

namespace qor::dao::sqlite {

inline constexpr const char* kJetCollation = "qor_jet";

// <0, 0 or >0 as a sorts before, with or after b.
int JetCompare(std::string_view a, std::string_view b);

// Registers qor_jet (and the engine's SQL functions) on a connection.
void RegisterCollation(sqlite3* db);

// Makes qor_jet the VB runtime's text order and registers it, with the
// engine's SQL functions, on every SQLite connection the process opens from
// now on (so that any writer of an engine file can keep its indexes).
// Idempotent; the engine calls it when it is loaded.
void InstallJetCollation();

}  // namespace qor::dao::sqlite

#endif  // QOR_DB_ENGINE_SQLITE_JET_COLLATION_H_
