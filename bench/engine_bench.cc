// The cost of a keyed read through the engine: open a dynaset on a table,
// FindFirst on its indexed key, read one field, close. It must not grow
// with the table (a dynaset does not read the table to open), and it is
// compared with the same lookup by a raw prepared SQLite statement.
//
// Prints, after Google Benchmark's table, the ratio of the engine's CPU time
// on 1,000,000 rows to its time on 1,000 rows, and the ratio of the engine
// to the raw statement on each table.

#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <string>

#include "qorsupport/db/engine/engine.h"
#include "raw_keyed_read.h"

namespace {

using qor::Long;
using qor::Variant;
namespace dao = qor::dao;

constexpr int kSmall = 1000;
constexpr int kLarge = 1000000;

std::string Key(int i) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "K%07d", i);
  return buf;
}

// The database with rows rows, made once per size in a temporary folder.
const std::string& DatabaseWith(int rows) {
  static std::map<int, std::string> paths;
  auto it = paths.find(rows);
  if (it != paths.end()) return it->second;
  std::filesystem::path dir =
      std::filesystem::temp_directory_path() / ("qor-bench-" + std::to_string(::getpid()));
  std::filesystem::create_directories(dir);
  std::string path = (dir / ("rows" + std::to_string(rows) + ".mdb")).string();
  auto db = dao::DBEngine::Get()->CreateDatabase(path, dao::kLangGeneral);
  auto t = db->CreateTableDef("Parts");
  t->GetFields()->Append(t->CreateField("Code", Long(dao::kText), Long(12)));
  t->GetFields()->Append(t->CreateField("Qty", Long(dao::kLong)));
  t->GetFields()->Append(t->CreateField("Name", Long(dao::kText), Long(40)));
  auto ix = t->CreateIndex("Code");
  ix->GetFields()->Append(ix->CreateField("Code"));
  ix->SetPrimary(true);
  t->GetIndexes()->Append(ix);
  db->GetTableDefs()->Append(t);
  db->Execute("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
                  std::to_string(rows) +
                  ") INSERT INTO Parts (Code, Qty, Name) SELECT printf('K%07d', i), i, "
                  "'part ' || i FROM n",
              Long(dao::kSQLPassThrough));
  db->Close();
  return paths.emplace(rows, path).first->second;
}

void BM_EngineKeyedRead(benchmark::State& state) {
  int rows = static_cast<int>(state.range(0));
  auto db = dao::DBEngine::Get()->OpenDatabase(DatabaseWith(rows));
  int i = 0;
  for (auto _ : state) {
    int key = 1 + (i++ * 7919) % rows;
    auto rs = db->OpenRecordset("Parts", Long(dao::kOpenDynaset));
    rs->FindFirst("[Code] = \"" + Key(key) + "\"");
    Variant qty = rs->Value("Qty");
    benchmark::DoNotOptimize(qty);
    rs->Close();
  }
  db->Close();
}

void BM_RawSqliteKeyedRead(benchmark::State& state) {
  int rows = static_cast<int>(state.range(0));
  qor::bench::RawKeyedRead(state, DatabaseWith(rows), "SELECT Qty FROM Parts WHERE Code = ?1",
                           rows);
}

BENCHMARK(BM_EngineKeyedRead)->Arg(kSmall)->Arg(kLarge);
BENCHMARK(BM_RawSqliteKeyedRead)->Arg(kSmall)->Arg(kLarge);

// Keeps each run's CPU time per iteration (steadier than the wall clock on
// a shared machine) to print the ratios.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      times_[run.benchmark_name()] = run.GetAdjustedCPUTime();
    }
    ConsoleReporter::ReportRuns(runs);
  }
  double Time(const std::string& name) const {
    auto it = times_.find(name);
    return it == times_.end() ? 0 : it->second;
  }

 private:
  std::map<std::string, double> times_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  auto ratio = [&](const std::string& a, const std::string& b) {
    double tb = reporter.Time(b);
    return tb > 0 ? reporter.Time(a) / tb : 0.0;
  };
  std::string small = std::to_string(kSmall), large = std::to_string(kLarge);
  std::printf("\nengine, %s rows / %s rows:       %.2f\n", large.c_str(), small.c_str(),
              ratio("BM_EngineKeyedRead/" + large, "BM_EngineKeyedRead/" + small));
  std::printf("engine / raw statement, %s rows:   %.2f\n", small.c_str(),
              ratio("BM_EngineKeyedRead/" + small, "BM_RawSqliteKeyedRead/" + small));
  std::printf("engine / raw statement, %s rows: %.2f\n", large.c_str(),
              ratio("BM_EngineKeyedRead/" + large, "BM_RawSqliteKeyedRead/" + large));
  std::error_code ignored;
  std::filesystem::remove_all(
      std::filesystem::temp_directory_path() / ("qor-bench-" + std::to_string(::getpid())),
      ignored);
  benchmark::Shutdown();
  return 0;
}
