// The anchor of the keyed-read benchmarks: the lookup of one row by its
// indexed text key ("K0000001" and on) through a raw prepared SQLite
// statement, on the same file the engine reads.
#ifndef QOR_BENCH_RAW_KEYED_READ_H_
#define QOR_BENCH_RAW_KEYED_READ_H_

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdio>
#include <string>

namespace qor::bench {

// Runs state's loop: binds the key of row 1 + (i * 7919) % rows to ?1 of
// sql (a SELECT of one integer column) on the file at path, steps once,
// resets.
inline void RawKeyedRead(benchmark::State& state, const std::string& path, const char* sql,
                         int rows) {
  sqlite3* db = nullptr;
  sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
  sqlite3_stmt* stmt = nullptr;
  sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr);
  int i = 0;
  char key[16];
  for (auto _ : state) {
    std::snprintf(key, sizeof key, "K%07d", 1 + (i++ * 7919) % rows);
    sqlite3_bind_text(stmt, 1, key, -1, SQLITE_TRANSIENT);
    if (sqlite3_step(stmt) == SQLITE_ROW) benchmark::DoNotOptimize(sqlite3_column_int(stmt, 0));
    sqlite3_reset(stmt);
  }
  sqlite3_finalize(stmt);
  sqlite3_close(db);
}

}  // namespace qor::bench

#endif  // QOR_BENCH_RAW_KEYED_READ_H_
