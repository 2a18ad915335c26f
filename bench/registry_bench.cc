// Registry and INI speed against Wine, the reference implementation of the
// Win32 calls, measured in the same run:
// - `qor reg import` of an export file of 10,000 values (100 keys of 50
//   strings and 50 numbers) against `wine64 regedit` importing the same
//   values from a .reg file, each as a process from start to end, in a
//   private Wine prefix;
// - `qor reg export` of the same subtree against `wine64 regedit /E`;
// - qorWinAPIReg::IniRead of an entry late in a 1,000-entry INI file against
//   GetPrivateProfileStringA under Wine (bench/wine/ini_reads.c, timed
//   inside the Windows process).
// Prints the ratios (Wine's time / ours; above 1 means faster than Wine)
// after Google Benchmark's table. Wine's prefix is made on the first run,
// which takes a while.

#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include "qorsupport/registry/winapireg.h"

namespace {

namespace fs = std::filesystem;

constexpr int kKeys = 100;
constexpr int kValuesPerKey = 100;

const fs::path& Dir() {
  static const fs::path dir = [] {
    fs::path d = fs::temp_directory_path() / ("qor-registry-bench-" + std::to_string(::getpid()));
    fs::create_directories(d / "registry");
    return d;
  }();
  return dir;
}

// The same values in the two formats.
void WriteFiles() {
  std::ofstream ours(Dir() / "bench.txt", std::ios::binary);
  std::ofstream theirs(Dir() / "bench.reg", std::ios::binary);
  ours << "\r\n";
  theirs << "REGEDIT4\r\n\r\n";
  for (int k = 0; k < kKeys; ++k) {
    ours << "[HKEY_CURRENT_USER]Software\\QorBench\\K" << k << "\r\n";
    theirs << "[HKEY_CURRENT_USER\\Software\\QorBench\\K" << k << "]\r\n";
    for (int v = 0; v < kValuesPerKey; ++v) {
      char hex[16];
      std::snprintf(hex, sizeof hex, "%08x", v);
      if (v % 2) {
        ours << "S" << v << "=value number " << v << "\r\n";
        theirs << "\"S" << v << "\"=\"value number " << v << "\"\r\n";
      } else {
        ours << "D" << v << "=DWORD:" << hex << "\r\n";
        theirs << "\"D" << v << "\"=dword:" << hex << "\r\n";
      }
    }
    ours << "\r\n";
    theirs << "\r\n";
  }
  std::ofstream ini(Dir() / "bench.ini", std::ios::binary);
  for (int s = 0; s < 10; ++s) {
    ini << "[Section" << s << "]\r\n";
    for (int e = 0; e < 100; ++e) ini << "Entry" << e << "=value " << s << "." << e << "\r\n";
  }
}

// The Windows name of a file, quoted for the shell.
std::string WinePath(const fs::path& p) {
  std::string s = "'Z:" + p.string() + "'";
  for (char& c : s) {
    if (c == '/') c = '\\';
  }
  return s;
}

std::string Wine() { return std::string(QOR_WINE64) + " "; }

bool Run(const std::string& command) { return std::system(command.c_str()) == 0; }

// Times one process per iteration.
void TimeCommand(benchmark::State& state, const std::string& command) {
  for (auto _ : state) {
    auto start = std::chrono::steady_clock::now();
    if (!Run(command)) state.SkipWithError(("failed: " + command).c_str());
    std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    state.SetIterationTime(took.count());
  }
}

void QorImport(benchmark::State& state) {
  TimeCommand(state, std::string(QOR_BIN) + " reg import " + (Dir() / "bench.txt").string());
}
void WineImport(benchmark::State& state) {
  TimeCommand(state, Wine() + "regedit /S " + WinePath(Dir() / "bench.reg") + " 2>/dev/null");
}
void QorExport(benchmark::State& state) {
  TimeCommand(state, std::string(QOR_BIN) + " reg export 'HKCU\\Software\\QorBench' " +
                         (Dir() / "out.txt").string());
}
void WineExport(benchmark::State& state) {
  TimeCommand(state, Wine() + "regedit /E " + WinePath(Dir() / "out.reg") +
                         " 'HKEY_CURRENT_USER\\Software\\QorBench' 2>/dev/null");
}

void QorIniRead(benchmark::State& state) {
  qor::qorWinAPIReg reg;
  std::string file = (Dir() / "bench.ini").string();
  for (auto _ : state) {
    benchmark::DoNotOptimize(reg.IniRead(file, "Section9", "Entry99"));
  }
}

// Wine's time of one read, in seconds, from the Windows program.
double WineIniRead() {
  std::string command = Wine() + QOR_INI_READS + std::string(" ") + WinePath(Dir() / "bench.ini") +
                        " Section9 Entry99 2000 2>/dev/null";
  FILE* p = ::popen(command.c_str(), "r");
  double us = 0;
  if (!p || std::fscanf(p, "%lf", &us) != 1) us = 0;
  if (p) ::pclose(p);
  return us * 1e-6;
}

class Ratios : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      double seconds = run.real_accumulated_time / static_cast<double>(run.iterations);
      if (run.run_name.function_name == "QorIniRead") {
        seconds = run.cpu_accumulated_time / static_cast<double>(run.iterations);
      }
      times[run.run_name.function_name] = seconds;
    }
  }
  std::map<std::string, double> times;
};

void PrintRatio(const char* what, double wine, double ours, const char* unit, double scale) {
  std::printf("%-8s Wine %.1f %s, qor %.1f %s: ratio %.2f\n", what, wine * scale, unit,
              ours * scale, unit, ours > 0 ? wine / ours : 0);
}

}  // namespace

int main(int argc, char** argv) {
  setenv("WINEPREFIX", (Dir() / "prefix").c_str(), 1);
  setenv("WINEDEBUG", "-all", 1);
  setenv("QOR_REGISTRY_DIR", (Dir() / "registry").c_str(), 1);
  WriteFiles();
  std::printf("Making the Wine prefix...\n");
  std::fflush(stdout);
  Run(Wine() + "wineboot -i >/dev/null 2>&1");
  // Both stores hold the values before the exports.
  Run(std::string(QOR_BIN) + " reg import " + (Dir() / "bench.txt").string());
  benchmark::RegisterBenchmark("QorImport", QorImport)->UseManualTime()->Iterations(3);
  benchmark::RegisterBenchmark("WineImport", WineImport)->UseManualTime()->Iterations(3);
  benchmark::RegisterBenchmark("QorExport", QorExport)->UseManualTime()->Iterations(3);
  benchmark::RegisterBenchmark("WineExport", WineExport)->UseManualTime()->Iterations(3);
  benchmark::RegisterBenchmark("QorIniRead", QorIniRead);
  benchmark::Initialize(&argc, argv);
  Ratios reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  double wine_ini = WineIniRead();
  auto& t = reporter.times;
  PrintRatio("import", t["WineImport"], t["QorImport"], "ms", 1e3);
  PrintRatio("export", t["WineExport"], t["QorExport"], "ms", 1e3);
  PrintRatio("IniRead", wine_ini, t["QorIniRead"], "us", 1e6);
  Run((fs::path(QOR_WINE64).parent_path() / "wineserver").string() + " -k 2>/dev/null");
  fs::remove_all(Dir());
  return 0;
}
