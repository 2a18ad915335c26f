// The cost of one late-bound call made from C++: qorProcs.PadNumber(42,
// "0", 8) and reading qorApp.AppName through Registry::Call, the path every
// automation client ends on. python_dispatch_bench.py runs this benchmark and
// times the same calls made from Python through the qorsupport module, and
// prints the ratio of the two.

#include <benchmark/benchmark.h>

#include <vector>

#include "qorsupport/automation/dispatch.h"

namespace {

using qor::Variant;
using qor::automation::Registry;

void BM_CallMethod(benchmark::State& state) {
  const Registry& registry = Registry::Global();
  qor::ObjectRef procs = registry.Create("qorProcs");
  for (auto _ : state) {
    std::vector<Variant> args{qor::Long(42), Variant("0"), qor::Long(8)};
    benchmark::DoNotOptimize(registry.Call(*procs, "PadNumber", args));
  }
}
BENCHMARK(BM_CallMethod);

void BM_GetProperty(benchmark::State& state) {
  const Registry& registry = Registry::Global();
  qor::ObjectRef app = registry.Create("qorApp");
  for (auto _ : state) {
    std::vector<Variant> args;
    benchmark::DoNotOptimize(registry.Get(*app, "AppName", args));
  }
}
BENCHMARK(BM_GetProperty);

}  // namespace

BENCHMARK_MAIN();
