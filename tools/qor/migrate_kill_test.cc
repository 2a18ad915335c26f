// qor migrate killed (SIGKILL) at moments spread over its run, again and
// again: after every kill the target is either absent or the whole
// migration, no temporary file is left in its folder and no process the
// migration started outlives it. Prints the counts; bounded to a few
// seconds.
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "db/engine/mdb/mdb_test_files.h"
#include "qorsupport/db/engine/engine.h"
#include "testing/test_util.h"

namespace qor::tool {
namespace {

using Clock = std::chrono::steady_clock;

// What a migrated database holds, in short: each table with its fields,
// indexes and rows, and the query definitions.
std::string Contents(const std::string& path) {
  auto db = dao::DBEngine::Get()->OpenDatabase(path, Variant(false), Variant(true));
  std::string out;
  auto tables = db->GetTableDefs();
  for (int32_t i = 0; i < tables->Count(); ++i) {
    auto t = tables->Item(Variant(i));
    if (t->Attributes() & dao::kSystemObject) continue;
    out += t->Name() + ":" + std::to_string(t->GetFields()->Count()) + "/" +
           std::to_string(t->GetIndexes()->Count()) + "/" + std::to_string(t->RecordCount()) + ";";
  }
  out += "queries:" + std::to_string(db->GetQueryDefs()->Count());
  db->Close();
  return out;
}

// Starts `qor migrate --quiet source target` with its output discarded.
pid_t StartMigrate(const std::string& source, const std::string& target) {
  pid_t pid = ::fork();
  if (pid == 0) {
    std::FILE* null = std::fopen("/dev/null", "w");
    if (null) {
      ::dup2(::fileno(null), STDOUT_FILENO);
      ::dup2(::fileno(null), STDERR_FILENO);
    }
    std::string qor = testing::QorBinary();
    ::execlp(qor.c_str(), qor.c_str(), "migrate", "--quiet", source.c_str(), target.c_str(),
             static_cast<char*>(nullptr));
    ::_exit(127);
  }
  return pid;
}

// Waits up to limit for pid; kills it and returns -1 when it does not end.
int WaitFor(pid_t pid, std::chrono::milliseconds limit) {
  auto deadline = Clock::now() + limit;
  int status = 0;
  while (::waitpid(pid, &status, WNOHANG) == 0) {
    if (Clock::now() > deadline) {
      ::kill(pid, SIGKILL);
      ::waitpid(pid, &status, 0);
      return -1;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return status;
}

// The processes whose parent is this one.
std::vector<pid_t> Children() {
  std::vector<pid_t> out;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    std::string name = entry.path().filename().string();
    if (name.find_first_not_of("0123456789") != std::string::npos) continue;
    std::ifstream in(entry.path() / "stat");
    std::string stat((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    size_t close = stat.rfind(')');
    if (close == std::string::npos) continue;
    char state = 0;
    int ppid = 0;
    if (std::sscanf(stat.c_str() + close + 1, " %c %d", &state, &ppid) == 2 && ppid == ::getpid() &&
        state != 'Z') {
      out.push_back(std::stoi(name));
    }
  }
  return out;
}

// This process adopts the orphans of its children (it is their subreaper).
// Reaps those that end within limit; kills and counts the others.
int LeftoverProcesses(std::chrono::milliseconds limit) {
  auto deadline = Clock::now() + limit;
  for (;;) {
    while (::waitpid(-1, nullptr, WNOHANG) > 0) {
    }
    std::vector<pid_t> alive = Children();
    if (alive.empty()) return 0;
    if (Clock::now() > deadline) {
      for (pid_t pid : alive) ::kill(pid, SIGKILL);
      while (::waitpid(-1, nullptr, 0) > 0) {
      }
      return static_cast<int>(alive.size());
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

TEST(QorMigrateKilled, LeavesTheWholeTargetOrNothing) {
  ASSERT_EQ(::prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
  testing::TempDir dir;
  const std::string source = dao::mdb::FruitMdb();
  const std::string folder = dir.File("out");
  std::filesystem::create_directory(folder);
  const std::string target = folder + "/fruit.db";

  // One run to the end: the complete result and how long it takes.
  auto start = Clock::now();
  pid_t pid = StartMigrate(source, target);
  int status = WaitFor(pid, std::chrono::seconds(20));
  ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  const auto full = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start);
  const std::string complete = Contents(target);
  dao::RemoveDatabaseFiles(target);

  constexpr int kRuns = 40;
  int kills = 0, finished = 0, failures = 0;
  for (int run = 0; run < kRuns; ++run) {
    SCOPED_TRACE("run " + std::to_string(run));
    // Kill moments spread evenly over two runs' time (the machine's load
    // varies): most land inside a run, some after its end.
    auto delay = full * 2 * (run + 1) / kRuns;
    pid = StartMigrate(source, target);
    std::this_thread::sleep_for(delay);
    bool killed = ::kill(pid, SIGKILL) == 0;
    status = WaitFor(pid, std::chrono::seconds(20));
    bool was_killed = killed && WIFSIGNALED(status);
    kills += was_killed ? 1 : 0;
    finished += was_killed ? 0 : 1;
    bool ok = status != -1 && (was_killed || (WIFEXITED(status) && WEXITSTATUS(status) == 0));
    EXPECT_TRUE(ok) << "status " << status;

    int leftover = LeftoverProcesses(std::chrono::seconds(2));
    EXPECT_EQ(leftover, 0) << "processes outlived qor migrate";
    ok = ok && leftover == 0;

    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      names.push_back(entry.path().filename().string());
    }
    bool clean = names.empty() || (names.size() == 1 && names[0] == "fruit.db");
    EXPECT_TRUE(clean) << "left in the folder: " << ::testing::PrintToString(names);
    ok = ok && clean;
    if (std::filesystem::exists(target)) {
      std::string got = Contents(target);
      EXPECT_EQ(got, complete) << "a target that is not the whole migration";
      ok = ok && got == complete;
    }
    failures += ok ? 0 : 1;
    std::filesystem::remove_all(folder);
    std::filesystem::create_directory(folder);
  }
  std::printf(
      "qor migrate killed: %d runs of %lld us each, %d kills, %d ran to the end, %d failures\n",
      kRuns, static_cast<long long>(full.count()), kills, finished, failures);
  EXPECT_GT(kills, kRuns / 4);
  EXPECT_EQ(failures, 0);
}

}  // namespace
}  // namespace qor::tool
