"""A late-bound call from Python against the same call from C++.

    python3 bench/python_dispatch_bench.py BUILD_DIR     (e.g. build/ci)

Runs BUILD_DIR/bench/dispatch_bench (Google Benchmark, C++ straight into
Registry::Call) and times the same calls through the qorsupport module in
BUILD_DIR/python, then prints each pair and the ratio Python / C++.
"""

import json
import os
import subprocess
import sys
import timeit


def cxx_times(build):
    out = subprocess.run([os.path.join(build, "bench", "dispatch_bench"),
                          "--benchmark_format=json", "--benchmark_min_time=0.2"],
                         check=True, capture_output=True, text=True).stdout
    return {b["name"]: b["cpu_time"] for b in json.loads(out)["benchmarks"]}  # ns


def python_times(build):
    sys.path.insert(0, os.path.join(build, "python"))
    import qorsupport

    procs = qorsupport.Dispatch("qorProcs")
    app = qorsupport.Dispatch("qorApp")
    calls = {"BM_CallMethod": lambda: procs.PadNumber(42, "0", 8),
             "BM_GetProperty": lambda: app.AppName}
    times = {}
    for name, call in calls.items():
        number, _ = timeit.Timer(call).autorange()
        best = min(timeit.repeat(call, number=number, repeat=5))
        times[name] = best / number * 1e9
    return times


def main(build):
    cxx = cxx_times(build)
    py = python_times(build)
    print(f"{'call':<16}{'C++ ns':>10}{'Python ns':>12}{'ratio':>8}")
    for name in cxx:
        print(f"{name:<16}{cxx[name]:>10.0f}{py[name]:>12.0f}{py[name] / cxx[name]:>8.2f}")


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else "build/ci")
