// Helpers for the tests: temporary folders that clean up after themselves,
// a scripted dialog backend installed for the length of a test, and the
// locations of the qor program and the shared test data.

#ifndef QOR_TESTING_TEST_UTIL_H_
#define QOR_TESTING_TEST_UTIL_H_

#include <gtest/gtest.h>
#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "qorsupport/frame/error.h"
#include "qorsupport/ui/backend.h"
#include "qorsupport/ui/scripted.h"

namespace qor::testing {

// A fresh folder under the system's temporary folder, removed with
// everything in it when the object goes.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::filesystem::path& path() const { return path_; }
  // path() / name, as a string.
  std::string File(const std::string& name) const;

 private:
  std::filesystem::path path_;
};

// Installs a scripted backend as the current one until destroyed.
class ScriptedUi {
 public:
  ScriptedUi();
  ScriptedUi(const ScriptedUi&) = delete;
  ScriptedUi& operator=(const ScriptedUi&) = delete;

  ui::ScriptedBackend& operator*() { return *backend_; }
  ui::ScriptedBackend* operator->() { return backend_.get(); }

 private:
  std::shared_ptr<ui::ScriptedBackend> backend_;
  ui::ScopedBackend scope_;
};

// Sets an environment variable (value null: removes it) for the length of
// a test, and puts the old one back.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const char* value);
  ~ScopedEnv();
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  const char* name_;
  std::optional<std::string> old_;
};

// The number of the qor::Error that fn raises, 0 when it raises none.
template <typename Fn>
int ErrorNumberOf(Fn&& fn) {
  try {
    fn();
  } catch (const Error& e) {
    return e.number();
  }
  return 0;
}

// The qor program built with the tests (QOR_BIN).
std::string QorBinary();
// The repository's folder of test files (testdata/): QOR_TESTDATA_DIR, else
// the one of the source tree the build was configured from.
std::filesystem::path TestDataDir();

// Runs checks as an unprivileged user: in this process when it is one, else
// in a forked child that has switched to user nobody (root is not held to
// permission bits). Returns what checks returns (e.g. a bit per failed
// expectation, since a child's gtest failures are lost), 255 when the child
// cannot switch, 254 when it does not exit normally.
int RunUnprivileged(const std::function<int()>& checks);

// Another process working beside the test (on a database file, say): a fork
// that runs body and exits without running the parent's destructors. The
// body signals with Ready() when it holds what the test needs and may then
// wait for Go(); the object's end sends Go and waits for the child.
class ChildProcess {
 public:
  explicit ChildProcess(std::function<void(ChildProcess&)> body);
  ~ChildProcess() { Wait(); }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // In the child.
  void Ready();
  void AwaitGo();

  // In the parent: true when the child said Ready (false when it failed or
  // ended first).
  bool AwaitReady();
  void Go();
  // The child's exit status: 0 when body returned, 1 when it raised an
  // Error, -1 when it did not exit normally.
  int Wait();

 private:
  int up_[2];
  int down_[2];
  pid_t pid_ = 0;
  int exit_ = 0;
};

// Runs a program with the given standard input, returning its exit status
// and standard output.
struct RunResult {
  int status = -1;
  std::string out;
  std::string err;
};
RunResult RunProgram(const std::vector<std::string>& argv, const std::string& input);

// Runs `qor automation` on a script (JSON lines) and parses each reply line
// as JsonT (nlohmann::json or ordered_json); expects the program to exit 0.
template <typename JsonT>
std::vector<JsonT> RunAutomation(const std::string& script) {
  RunResult run = RunProgram({QorBinary(), "automation"}, script);
  EXPECT_EQ(run.status, 0) << run.err;
  std::vector<JsonT> replies;
  size_t start = 0;
  while (start < run.out.size()) {
    size_t end = run.out.find('\n', start);
    if (end == std::string::npos) end = run.out.size();
    replies.push_back(JsonT::parse(run.out.substr(start, end - start)));
    start = end + 1;
  }
  return replies;
}

// Numbers the requests 1, 2, ... as their ids, runs them through RunAutomation
// and expects one reply per request.
template <typename JsonT>
std::vector<JsonT> RunAutomationRequests(std::vector<JsonT> requests) {
  std::string script;
  for (size_t i = 0; i < requests.size(); ++i) {
    requests[i]["id"] = static_cast<int>(i + 1);
    script += requests[i].dump() + "\n";
  }
  std::vector<JsonT> replies = RunAutomation<JsonT>(script);
  EXPECT_EQ(replies.size(), requests.size());
  return replies;
}

}  // namespace qor::testing

#endif  // QOR_TESTING_TEST_UTIL_H_
