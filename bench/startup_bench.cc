// Start-up cost of the qor program: `qor --help` and `qor ini get` as
// processes, in processor time (user and system, from the children's
// rusage), against the same commands with the libraries the program used to
// load at start preloaded (libcups.so.2 and the Qt backend's library with
// Qt), which is the program as it was before those became loaded on first
// use. Prints the ratios (ours / preloaded) after Google Benchmark's table.

#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

namespace {

double ChildrenCpuSeconds() {
  rusage usage;
  getrusage(RUSAGE_CHILDREN, &usage);
  return usage.ru_utime.tv_sec + usage.ru_stime.tv_sec +
         (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * 1e-6;
}

std::string IniFile() {
  static const std::string file = [] {
    std::string f = (std::filesystem::temp_directory_path() /
                     ("qor-startup-bench-" + std::to_string(::getpid()) + ".ini"))
                        .string();
    std::ofstream(f) << "[S]\r\nK=v\r\n";
    return f;
  }();
  return file;
}

// Times one process per iteration by the processor time it used.
void TimeCommand(benchmark::State& state, const std::string& preload, const std::string& args) {
  std::string command = (preload.empty() ? "" : "LD_PRELOAD='" + preload + "' ") +
                        std::string(QOR_BIN) + " " + args + " >/dev/null";
  for (auto _ : state) {
    double before = ChildrenCpuSeconds();
    if (std::system(command.c_str()) != 0) state.SkipWithError(("failed: " + command).c_str());
    state.SetIterationTime(ChildrenCpuSeconds() - before);
  }
}

const std::string kPreload = std::string("libcups.so.2 ") + QOR_QT_LIBRARY_PATH;

class Ratios : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      times[run.run_name.function_name] =
          run.real_accumulated_time / static_cast<double>(run.iterations);
    }
  }
  std::map<std::string, double> times;
};

}  // namespace

int main(int argc, char** argv) {
  std::string ini = "ini get " + IniFile() + " S K";
  benchmark::RegisterBenchmark("Help", [](benchmark::State& s) { TimeCommand(s, "", "--help"); })
      ->UseManualTime()
      ->Iterations(100);
  benchmark::RegisterBenchmark("HelpPreloaded",
                               [](benchmark::State& s) { TimeCommand(s, kPreload, "--help"); })
      ->UseManualTime()
      ->Iterations(100);
  benchmark::RegisterBenchmark("IniGet", [ini](benchmark::State& s) { TimeCommand(s, "", ini); })
      ->UseManualTime()
      ->Iterations(100);
  benchmark::RegisterBenchmark("IniGetPreloaded",
                               [ini](benchmark::State& s) { TimeCommand(s, kPreload, ini); })
      ->UseManualTime()
      ->Iterations(100);
  benchmark::Initialize(&argc, argv);
  Ratios reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  auto& t = reporter.times;
  std::printf("qor --help: %.2f ms CPU, with the old start-up libraries %.2f ms: ratio %.2f\n",
              t["Help"] * 1e3, t["HelpPreloaded"] * 1e3, t["Help"] / t["HelpPreloaded"]);
  std::printf("qor ini get: %.2f ms CPU, with the old start-up libraries %.2f ms: ratio %.2f\n",
              t["IniGet"] * 1e3, t["IniGetPreloaded"] * 1e3, t["IniGet"] / t["IniGetPreloaded"]);
  std::filesystem::remove(IniFile());
  return 0;
}
