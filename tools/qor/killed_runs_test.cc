// qor migrate and qor db clone --data killed (SIGKILL) at moments spread
// over their run, again and again: after every kill the target (the
// migrated file, the cloned table) is either absent or whole, no temporary
// file is left and no process qor started outlives it. Prints the counts;
// bounded to a few seconds each.
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
#include "db/test_databases.h"
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

// Starts qor with args, its output discarded.
pid_t StartQor(const std::vector<std::string>& args) {
  std::string qor = testing::QorBinary();
  std::vector<char*> argv{qor.data()};
  std::vector<std::string> copies = args;
  for (std::string& a : copies) argv.push_back(a.data());
  argv.push_back(nullptr);
  pid_t pid = ::fork();
  if (pid == 0) {
    std::FILE* null = std::fopen("/dev/null", "w");
    if (null) {
      ::dup2(::fileno(null), STDOUT_FILENO);
      ::dup2(::fileno(null), STDERR_FILENO);
    }
    ::execvp(argv[0], argv.data());
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

// Starts qor with args, kills it after delay and waits for it and its
// orphans. Counts the run in *kills or *finished; returns false (after
// saying why) when qor hung or failed, or a process outlived it.
bool RunAndKill(const std::vector<std::string>& args, std::chrono::microseconds delay, int* kills,
                int* finished) {
  pid_t pid = StartQor(args);
  std::this_thread::sleep_for(delay);
  bool killed = ::kill(pid, SIGKILL) == 0;
  int status = WaitFor(pid, std::chrono::seconds(20));
  bool was_killed = killed && status != -1 && WIFSIGNALED(status);
  ++*(was_killed ? kills : finished);
  bool ok = status != -1 && (was_killed || (WIFEXITED(status) && WEXITSTATUS(status) == 0));
  EXPECT_TRUE(ok) << "status " << status;
  int leftover = LeftoverProcesses(std::chrono::seconds(2));
  EXPECT_EQ(leftover, 0) << "processes outlived qor";
  return ok && leftover == 0;
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
  int status = WaitFor(StartQor({"migrate", "--quiet", source, target}), std::chrono::seconds(20));
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
    bool ok = RunAndKill({"migrate", "--quiet", source, target}, delay, &kills, &finished);

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

// A source database whose table Parts (db::test::AddItemsTable: a counter,
// rules, two unique indexes, display properties) holds rows rows.
std::string CloneSource(const testing::TempDir& dir, int rows) {
  std::string path = dir.File("source.mdb");
  auto db = db::test::NewDatabase(path);
  db::test::AddItemsTable(*db, "Parts", false);
  db->Execute("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
                  std::to_string(rows) +
                  ") INSERT INTO Parts (Code, Qty, Price, Note) SELECT printf('K%07d', i), i,"
                  " i % 900, 'part ' || i FROM n",
              Long(dao::kSQLPassThrough));
  db->Close();
  return path;
}

// The cloned table in short ("absent" when it is not there).
std::string ClonedTable(const std::string& path) {
  auto db = dao::DBEngine::Get()->OpenDatabase(path);
  std::string out = "absent";
  auto tables = db->GetTableDefs();
  for (int32_t i = 0; i < tables->Count(); ++i) {
    auto t = tables->Item(Variant(i));
    if (t->Name() != "Parts") continue;
    out = std::to_string(t->GetFields()->Count()) + "/" + std::to_string(t->GetIndexes()->Count()) +
          "/" + std::to_string(t->RecordCount());
  }
  db->Close();
  return out;
}

TEST(QorDbCloneKilled, LeavesTheWholeTableOrNone) {
  ASSERT_EQ(::prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
  testing::TempDir dir;
  const std::string source = CloneSource(dir, 60000);
  const std::string dest = dir.File("dest.mdb");
  auto fresh_dest = [&] {
    dao::RemoveDatabaseFiles(dest);
    dao::DBEngine::Get()->CreateDatabase(dest, dao::kLangGeneral)->Close();
  };
  const std::vector<std::string> args = {"db", "clone", source, dest, "Parts", "--data"};

  fresh_dest();
  auto start = Clock::now();
  int status = WaitFor(StartQor(args), std::chrono::seconds(20));
  ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  const auto full = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start);
  const std::string complete = ClonedTable(dest);
  ASSERT_EQ(complete, "6/2/60000");

  constexpr int kRuns = 20;
  int kills = 0, finished = 0, failures = 0;
  for (int run = 0; run < kRuns; ++run) {
    SCOPED_TRACE("run " + std::to_string(run));
    fresh_dest();
    bool ok = RunAndKill(args, full * 2 * (run + 1) / kRuns, &kills, &finished);
    std::string got = ClonedTable(dest);
    EXPECT_TRUE(got == "absent" || got == complete) << got;
    ok = ok && (got == "absent" || got == complete);
    failures += ok ? 0 : 1;
  }
  std::printf(
      "qor db clone --data killed: %d runs of %lld us each, %d kills, %d ran to the end, %d "
      "failures\n",
      kRuns, static_cast<long long>(full.count()), kills, finished, failures);
  EXPECT_GT(kills, kRuns / 4);
  EXPECT_EQ(failures, 0);
}

}  // namespace
}  // namespace qor::tool
