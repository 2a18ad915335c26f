// The speed of qorDb's table copy and keyed field read.
//
// CloneTable with data copies a table row by row through recordsets
// (AddNew, a value per field, Update), as its contract asks: every row
// stands on its own, so a failure leaves the rows copied before it. Beside
// it, in the same run, the plain SQLite baseline copies the same rows with
// one INSERT INTO ... SELECT between two attached files. Both print rows
// per second; the ratio follows the table.
//
// FieldDataReadWriteDb reads one field by its indexed key on a table of
// 1,000 and of 1,000,000 rows: the cost per call must not grow with the
// table. Beside it, the same lookup by a raw prepared SQLite statement on
// the same file; the ratios follow the table.
//
// The copies run on 5,000, 200,000 and 1,000,000 rows, to show that the rate
// holds as the table grows; each reports the process's peak resident set
// (maxrss_MiB, from getrusage) after its runs, which must stay flat: rows
// stream through SQLite.

#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <string>

#include "qorsupport/db/engine/engine.h"
#include "qorsupport/db/qor_db.h"
#include "raw_keyed_read.h"

namespace {

using qor::Long;
using qor::Variant;
namespace dao = qor::dao;

constexpr int kCopyRows = 5000;         // copied by each benchmark run
constexpr int kCopyRowsLarge = 200000;  // and by a second one, to show the growth
constexpr int kCopyRowsHuge = 1000000;  // and a third, to show it stays linear
constexpr int kSmall = 1000;
constexpr int kLarge = 1000000;

std::filesystem::path BenchDir() {
  static const std::filesystem::path dir =
      std::filesystem::temp_directory_path() / ("qor-clone-bench-" + std::to_string(::getpid()));
  std::filesystem::create_directories(dir);
  return dir;
}

// A database whose table Parts (Id counter, Code text key, Qty, Price,
// Added, Note) holds rows rows, made once per size.
const std::string& SourceWith(int rows) {
  static std::map<int, std::string> paths;
  auto it = paths.find(rows);
  if (it != paths.end()) return it->second;
  std::string path = (BenchDir() / ("src" + std::to_string(rows) + ".mdb")).string();
  auto db = dao::DBEngine::Get()->CreateDatabase(path, dao::kLangGeneral);
  auto t = db->CreateTableDef("Parts");
  auto id = t->CreateField("Id", Long(dao::kLong));
  id->SetAttributes(id->Attributes() | dao::kAutoIncrField);
  t->GetFields()->Append(id);
  t->GetFields()->Append(t->CreateField("Code", Long(dao::kText), Long(12)));
  t->GetFields()->Append(t->CreateField("Qty", Long(dao::kLong)));
  t->GetFields()->Append(t->CreateField("Price", Long(dao::kDouble)));
  t->GetFields()->Append(t->CreateField("Added", Long(dao::kDate)));
  t->GetFields()->Append(t->CreateField("Note", Long(dao::kText), Long(40)));
  auto ix = t->CreateIndex("Code");
  ix->GetFields()->Append(ix->CreateField("Code"));
  ix->SetUnique(true);
  t->GetIndexes()->Append(ix);
  db->GetTableDefs()->Append(t);
  db->Execute("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
                  std::to_string(rows) +
                  ") INSERT INTO Parts (Code, Qty, Price, Note) SELECT printf('K%07d', i),"
                  " i, i * 0.25, 'part ' || i FROM n",
              Long(dao::kSQLPassThrough));
  db->Execute("UPDATE Parts SET Added = #3/7/2003#");  // in the engine's own date form
  db->Close();
  return paths.emplace(rows, path).first->second;
}

// The process's peak resident set so far, in MiB.
double PeakResidentMiB() {
  struct rusage usage {};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024;  // ru_maxrss is in KiB
}

// A destination file name not used before.
std::string FreshDestination() {
  static int n = 0;
  return (BenchDir() / ("dest" + std::to_string(++n) + ".mdb")).string();
}

void BM_CloneTableWithData(benchmark::State& state) {
  const int rows = static_cast<int>(state.range(0));
  const std::string& src_path = SourceWith(rows);
  qor::qorDb qdb;
  for (auto _ : state) {
    state.PauseTiming();
    auto src = dao::DBEngine::Get()->OpenDatabase(src_path);
    auto dest = dao::DBEngine::Get()->CreateDatabase(FreshDestination(), dao::kLangGeneral);
    state.ResumeTiming();
    bool copied = qdb.CloneTable("Parts", *src, *dest, true);
    state.PauseTiming();
    dest->Close();
    src->Close();
    if (!copied) {
      state.SkipWithError("CloneTable failed");
      break;
    }
    state.ResumeTiming();
  }
  state.counters["rows/s"] =
      benchmark::Counter(rows, benchmark::Counter::kIsIterationInvariantRate);
  state.counters["maxrss_MiB"] = PeakResidentMiB();
}

void BM_SqliteInsertSelect(benchmark::State& state) {
  const int rows = static_cast<int>(state.range(0));
  const std::string& src_path = SourceWith(rows);
  for (auto _ : state) {
    state.PauseTiming();
    std::string dest_path = FreshDestination();
    sqlite3* db = nullptr;
    sqlite3_open(dest_path.c_str(), &db);
    sqlite3_exec(db, "PRAGMA journal_mode=WAL", nullptr, nullptr, nullptr);
    std::string attach = "ATTACH DATABASE '" + src_path + "' AS src";
    sqlite3_exec(db, attach.c_str(), nullptr, nullptr, nullptr);
    sqlite3_exec(db,
                 "CREATE TABLE Parts (Id INTEGER PRIMARY KEY AUTOINCREMENT, Code TEXT COLLATE "
                 "NOCASE, Qty INTEGER, Price REAL, Added REAL, Note TEXT);"
                 "CREATE UNIQUE INDEX Code ON Parts (Code)",
                 nullptr, nullptr, nullptr);
    state.ResumeTiming();
    int rc = sqlite3_exec(db,
                          "INSERT INTO Parts (Id, Code, Qty, Price, Added, Note) SELECT Id, Code,"
                          " Qty, Price, Added, Note FROM src.Parts",
                          nullptr, nullptr, nullptr);
    state.PauseTiming();
    sqlite3_close(db);
    if (rc != SQLITE_OK) {
      state.SkipWithError("INSERT failed");
      break;
    }
    state.ResumeTiming();
  }
  state.counters["rows/s"] =
      benchmark::Counter(rows, benchmark::Counter::kIsIterationInvariantRate);
  state.counters["maxrss_MiB"] = PeakResidentMiB();
}

void BM_FieldDataRead(benchmark::State& state) {
  int rows = static_cast<int>(state.range(0));
  auto db = dao::DBEngine::Get()->OpenDatabase(SourceWith(rows));
  qor::qorDb qdb;
  int i = 0;
  char key[16];
  for (auto _ : state) {
    std::snprintf(key, sizeof key, "K%07d", 1 + (i++ * 7919) % rows);
    Variant qty;
    if (!qdb.FieldDataReadWriteDb(qty, *db, "Parts", "Code", Variant(key), "Qty")) {
      state.SkipWithError("read failed");
      break;
    }
    benchmark::DoNotOptimize(qty);
  }
  db->Close();
}

void BM_RawFieldDataRead(benchmark::State& state) {
  int rows = static_cast<int>(state.range(0));
  qor::bench::RawKeyedRead(state, SourceWith(rows), "SELECT Qty FROM Parts WHERE Code = ?1", rows);
}

// Rows per second by the clock on the wall: a copy waits for the disk too.
BENCHMARK(BM_CloneTableWithData)
    ->Arg(kCopyRows)
    ->Arg(kCopyRowsLarge)
    ->Arg(kCopyRowsHuge)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3)
    ->UseRealTime();
BENCHMARK(BM_SqliteInsertSelect)
    ->Arg(kCopyRows)
    ->Arg(kCopyRowsLarge)
    ->Arg(kCopyRowsHuge)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3)
    ->UseRealTime();
BENCHMARK(BM_FieldDataRead)->Arg(kSmall)->Arg(kLarge);
BENCHMARK(BM_RawFieldDataRead)->Arg(kSmall)->Arg(kLarge);

// Keeps each run's time per iteration and its counters to print the
// summary.
class SummaryReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      times_[run.benchmark_name()] = run.GetAdjustedRealTime();
      cpu_times_[run.benchmark_name()] = run.GetAdjustedCPUTime();
      auto it = run.counters.find("rows/s");
      if (it != run.counters.end()) rates_[run.benchmark_name()] = it->second.value;
    }
    ConsoleReporter::ReportRuns(runs);
  }
  double Time(const std::string& prefix) const { return Find(times_, prefix); }
  double Rate(const std::string& prefix) const { return Find(rates_, prefix); }
  double CpuTime(const std::string& prefix) const { return Find(cpu_times_, prefix); }

 private:
  static double Find(const std::map<std::string, double>& values, const std::string& prefix) {
    for (const auto& [name, value] : values) {
      if (name.rfind(prefix, 0) == 0) return value;
    }
    return 0;
  }
  std::map<std::string, double> times_;
  std::map<std::string, double> rates_;
  std::map<std::string, double> cpu_times_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  SummaryReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  // The CPU time leaves out waiting for the disk and for other processes.
  std::printf("\n                                 rows/s (wall)   rows/s (CPU)\n");
  for (int rows : {kCopyRows, kCopyRowsLarge, kCopyRowsHuge}) {
    const std::string arg = "/" + std::to_string(rows) + "/";
    auto cpu_rate = [&](const std::string& name) {
      double ms = reporter.CpuTime(name + arg);
      return ms > 0 ? rows / (ms / 1000) : 0.0;
    };
    double clone = reporter.Rate("BM_CloneTableWithData" + arg);
    double baseline = reporter.Rate("BM_SqliteInsertSelect" + arg);
    double clone_cpu = cpu_rate("BM_CloneTableWithData");
    double baseline_cpu = cpu_rate("BM_SqliteInsertSelect");
    std::printf("CloneTable with data, %7d rows: %12.0f %14.0f\n", rows, clone, clone_cpu);
    std::printf("INSERT INTO ... SELECT, %6d rows:%12.0f %14.0f\n", rows, baseline, baseline_cpu);
    std::printf("baseline / CloneTable, %7d rows: %11.1f %14.1f\n", rows,
                clone > 0 ? baseline / clone : 0.0, clone_cpu > 0 ? baseline_cpu / clone_cpu : 0.0);
  }
  double small = reporter.CpuTime("BM_FieldDataRead/" + std::to_string(kSmall));
  double large = reporter.CpuTime("BM_FieldDataRead/" + std::to_string(kLarge));
  std::printf("FieldDataReadWriteDb, CPU time on %d rows / on %d rows: %.2f\n", kLarge, kSmall,
              small > 0 ? large / small : 0.0);
  for (int rows : {kSmall, kLarge}) {
    double engine = reporter.CpuTime("BM_FieldDataRead/" + std::to_string(rows));
    double raw = reporter.CpuTime("BM_RawFieldDataRead/" + std::to_string(rows));
    std::printf("FieldDataReadWriteDb / raw statement, CPU time on %d rows: %.2f\n", rows,
                raw > 0 ? engine / raw : 0.0);
  }
  std::error_code ignored;
  std::filesystem::remove_all(BenchDir(), ignored);
  benchmark::Shutdown();
  return 0;
}
