// Legacy Jet files for the tests: the repository's users.mdb, and fruit.mdb
// taken from the npm package mdb 0.1.0 when npm can fetch it.
#ifndef QOR_DB_ENGINE_MDB_MDB_TEST_FILES_H_
#define QOR_DB_ENGINE_MDB_MDB_TEST_FILES_H_

#include <string>
#include <vector>

namespace qor::dao::mdb {

// The path of users.mdb (Jet 4, one table Users).
std::string UsersMdb();
// The path of fruit.mdb (Jet 4, five tables, stored queries), or "" when
// it cannot be fetched; fetched once per test program.
std::string FruitMdb();
// A copy of users.mdb in folder dir whose table Users is marked as a
// template with data: its Description is "TEMPLATE DATA" followed by
// blanks. Made by rewriting one stored property of the table in place (its
// NameMap, a binary value of 396 bytes that only the Jet user interface
// reads) as the text property Description of the same length, since
// libmdb cannot add properties. Returns the copy's path.
std::string UsersTemplateMdb(const std::string& dir);
// Every file available.
std::vector<std::string> LegacyFiles();

}  // namespace qor::dao::mdb

#endif  // QOR_DB_ENGINE_MDB_MDB_TEST_FILES_H_
