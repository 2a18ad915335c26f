// qor migrate: a legacy database into a new file of the embedded engine or
// into an ODBC data source, with a progress bar on standard error and a
// summary on standard output.

#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "command.h"
#include "migrate.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb.h"

namespace qor::tool {

namespace {

// Draws the bar on one terminal line, redrawn in place; without a terminal
// it writes one line per table when the table is done.
class ProgressBar {
 public:
  explicit ProgressBar(bool quiet) : quiet_(quiet), tty_(::isatty(STDERR_FILENO) != 0) {}

  void Show(const MigrationProgress& p) {
    if (quiet_) return;
    if (!tty_) {
      if (p.table_done == p.table_rows) {
        std::fprintf(stderr, "%s: %lld rows\n", p.table.c_str(),
                     static_cast<long long>(p.table_rows));
      }
      return;
    }
    // Redraw at most once per percent, and at each table's start and end.
    int percent = p.total > 0 ? static_cast<int>(p.done * 100 / p.total) : 100;
    if (percent == last_percent_ && p.table_done != 0 && p.table_done != p.table_rows) return;
    last_percent_ = percent;
    constexpr int kWidth = 30;
    int filled = percent * kWidth / 100;
    std::string bar(static_cast<size_t>(filled), '#');
    bar.append(static_cast<size_t>(kWidth - filled), '-');
    std::fprintf(stderr, "\r[%s] %3d%%  %s %lld/%lld\x1b[K", bar.c_str(), percent, p.table.c_str(),
                 static_cast<long long>(p.table_done), static_cast<long long>(p.table_rows));
    drawn_ = true;
  }
  void Finish() {
    if (drawn_) std::fputc('\n', stderr);
  }

 private:
  bool quiet_;
  bool tty_;
  bool drawn_ = false;
  int last_percent_ = -1;
};

// The target as it may be shown: a password in a connect string as "***".
std::string Shown(const std::string& target) {
  if (!IsServerTarget(target)) return target;
  std::string shown;
  size_t start = 0;
  for (;;) {
    size_t end = target.find(';', start);
    std::string part = target.substr(start, end == std::string::npos ? end : end - start);
    if (start > 0) shown += ";";
    shown += vb::UCase(vb::Trim(part)).rfind("PWD=", 0) == 0 ? "PWD=***" : part;
    if (end == std::string::npos) return shown;
    start = end + 1;
  }
}

void PrintSummary(const std::string& source, const std::string& target,
                  const MigrationReport& report) {
  size_t width = 5;
  for (const auto& t : report.tables) width = std::max(width, t.name.size());
  std::printf("Migrated %s to %s: %zu tables, %lld query definitions\n", source.c_str(),
              Shown(target).c_str(), report.tables.size(), static_cast<long long>(report.queries));
  std::printf("%-*s %12s %12s\n", static_cast<int>(width), "table", "source rows", "target rows");
  for (const auto& t : report.tables) {
    std::printf("%-*s %12lld %12lld\n", static_cast<int>(width), t.name.c_str(),
                static_cast<long long>(t.source_rows), static_cast<long long>(t.target_rows));
  }
  if (report.left_out.empty()) {
    std::printf("Everything was carried over.\n");
    return;
  }
  std::printf("Not carried over:\n");
  for (const std::string& what : report.left_out) std::printf("  %s\n", what.c_str());
}

}  // namespace

int RunMigrate(const std::vector<std::string>& args) {
  const Command& command = FindCommand("migrate");
  bool quiet = false;
  std::vector<std::string> paths;
  for (const std::string& a : args) {
    if (a == "--quiet" || a == "-q") {
      quiet = true;
    } else if (!a.empty() && a[0] == '-') {
      return UsageError(command, "unknown option " + a);
    } else {
      paths.push_back(a);
    }
  }
  if (paths.size() != 2) return UsageError(command, "needs a source and a target");
  ProgressBar bar(quiet);
  try {
    MigrationReport report =
        Migrate(paths[0], paths[1], [&](const MigrationProgress& p) { bar.Show(p); });
    bar.Finish();
    PrintSummary(paths[0], paths[1], report);
    return 0;
  } catch (const Error& error) {
    bar.Finish();
    std::fprintf(stderr, "qor migrate: error %d: %s\n", error.number(),
                 error.description().c_str());
    if (!IsServerTarget(paths[1]) && ::access(paths[1].c_str(), F_OK) != 0) {
      std::fprintf(stderr, "qor migrate: nothing was written to %s\n", paths[1].c_str());
    }
    return 1;
  }
}

}  // namespace qor::tool
