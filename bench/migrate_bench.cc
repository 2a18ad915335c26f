// Migration speed: `qor migrate` of a legacy Jet file into a new database
// file, against the mdbtools way of doing the same in the same run:
// `mdb-schema FILE sqlite | sqlite3 TARGET`, then for every table
// `mdb-export -I sqlite FILE TABLE | sqlite3 TARGET`.
//
// Both run as processes from start to end (opening, schema, rows, closing)
// and both are counted in rows per second, of real time and of the
// processor time the processes used. The file is QOR_BENCH_MDB, else the
// users.mdb of testdata/legacy. Prints the ratios after Google Benchmark's table.

#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "qorsupport/db/engine/engine.h"

namespace {

namespace dao = qor::dao;

std::string SourceFile() {
  if (const char* file = std::getenv("QOR_BENCH_MDB")) return file;
  return QOR_TESTDATA_DIR "/legacy/users.mdb";
}

struct Source {
  std::vector<std::string> tables;
  int64_t rows = 0;
};

// The user tables of the file and their rows, read once.
const Source& Describe() {
  static const Source source = [] {
    Source s;
    auto db = dao::DBEngine::Get()->OpenDatabase(SourceFile());
    auto tables = db->GetTableDefs();
    for (int32_t i = 0; i < tables->Count(); ++i) {
      auto t = tables->Item(qor::Variant(i));
      if (t->Attributes() != 0) continue;
      s.tables.push_back(t->Name());
      s.rows += t->RecordCount();
    }
    db->Close();
    return s;
  }();
  return source;
}

std::string Quote(const std::string& s) {
  std::string out = "'";
  for (char c : s) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

std::string Target() {
  static const std::string dir = [] {
    auto d = std::filesystem::temp_directory_path() /
             ("qor-migrate-bench-" + std::to_string(::getpid()));
    std::filesystem::create_directories(d);
    return d.string();
  }();
  return dir + "/target.db";
}

void Clear() {
  for (const char* suffix : {"", "-wal", "-shm"}) std::filesystem::remove(Target() + suffix);
  std::filesystem::remove(std::filesystem::path(Target()).replace_extension(".ldb"));
}

// The processor time that finished child processes used, in seconds.
double ChildCpuSeconds() {
  struct rusage usage;
  ::getrusage(RUSAGE_CHILDREN, &usage);
  auto seconds = [](const timeval& t) { return t.tv_sec + t.tv_usec / 1e6; };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// Runs command once per iteration after clearing the target, and counts
// rows per second of real time and of the processor time the processes
// used (the steadier figure on a shared machine). A command that fails
// marks the benchmark as failed, leaves *cpu_rate at 0 and stops its loop;
// the other benchmarks still run.
void RunCommand(benchmark::State& state, const std::string& command, double* cpu_rate) {
  *cpu_rate = 0;
  double cpu = 0;
  for (auto _ : state) {
    state.PauseTiming();
    Clear();
    double before = ChildCpuSeconds();
    state.ResumeTiming();
    int status = std::system(command.c_str());
    state.PauseTiming();  // no timing call may follow SkipWithError
    cpu += ChildCpuSeconds() - before;
    if (status != 0) {
      state.SkipWithError(("failed: " + command).c_str());
      std::fprintf(stderr, "failed (status %d): %s\n", status, command.c_str());
      return;
    }
    state.ResumeTiming();
  }
  double rows = static_cast<double>(Describe().rows);
  state.counters["rows/s"] =
      benchmark::Counter(rows, benchmark::Counter::kIsIterationInvariantRate);
  *cpu_rate = cpu > 0 ? rows * static_cast<double>(state.iterations()) / cpu : 0;
  state.counters["rows/cpu-s"] = *cpu_rate;
}

double qor_rate = 0;
double mdbtools_rate = 0;
double qor_cpu_rate = 0;
double mdbtools_cpu_rate = 0;

void BM_QorMigrate(benchmark::State& state) {
  RunCommand(state,
             Quote(QOR_BIN) + " migrate --quiet " + Quote(SourceFile()) + " " + Quote(Target()) +
                 " >/dev/null",
             &qor_cpu_rate);
}

void BM_MdbExportSqlite3(benchmark::State& state) {
  std::string command =
      "mdb-schema " + Quote(SourceFile()) + " sqlite | sqlite3 " + Quote(Target());
  for (const std::string& table : Describe().tables) {
    command += " && mdb-export -I sqlite " + Quote(SourceFile()) + " " + Quote(table) +
               " | sqlite3 " + Quote(Target());
  }
  RunCommand(state, command, &mdbtools_cpu_rate);
}

BENCHMARK(BM_QorMigrate)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_MdbExportSqlite3)->Unit(benchmark::kMillisecond)->UseRealTime();

// Keeps each benchmark's rate for the ratio printed at the end.
class RateReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      auto it = run.counters.find("rows/s");
      if (run.error_occurred || it == run.counters.end()) continue;
      if (run.benchmark_name().rfind("BM_QorMigrate", 0) == 0) qor_rate = it->second;
      if (run.benchmark_name().rfind("BM_MdbExportSqlite3", 0) == 0) mdbtools_rate = it->second;
    }
  }
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  std::printf("source %s: %zu tables, %lld rows\n", SourceFile().c_str(), Describe().tables.size(),
              static_cast<long long>(Describe().rows));
  RateReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  if (qor_rate > 0 && mdbtools_rate > 0) {
    std::printf("qor migrate: %.0f rows/s; mdb-export | sqlite3: %.0f rows/s; ratio %.2f\n",
                qor_rate, mdbtools_rate, qor_rate / mdbtools_rate);
  }
  if (qor_cpu_rate > 0 && mdbtools_cpu_rate > 0) {
    std::printf(
        "per processor second: qor migrate %.0f rows, mdb-export | sqlite3 %.0f rows;"
        " ratio %.2f\n",
        qor_cpu_rate, mdbtools_cpu_rate, qor_cpu_rate / mdbtools_cpu_rate);
  }
  if (qor_rate == 0 || mdbtools_rate == 0) {
    std::printf("no ratio: %s failed on this file\n",
                qor_rate == 0 ? (mdbtools_rate == 0 ? "both commands" : "qor migrate")
                              : "the mdbtools pipeline");
  }
  Clear();
  std::filesystem::remove(std::filesystem::path(Target()).parent_path());
  return 0;
}
