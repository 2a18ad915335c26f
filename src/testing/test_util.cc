#include "testing/test_util.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>

extern char** environ;

namespace qor::testing {

TempDir::TempDir() {
  std::filesystem::path base = std::filesystem::temp_directory_path();
  std::random_device rd;
  for (int attempt = 0; attempt < 100; ++attempt) {
    std::filesystem::path candidate = base / ("qor-test-" + std::to_string(rd()));
    if (std::filesystem::create_directory(candidate)) {
      path_ = candidate;
      return;
    }
  }
  throw std::runtime_error("cannot create a temporary folder");
}

TempDir::~TempDir() {
  std::error_code ec;
  // Make read-only folders removable again.
  for (auto it = std::filesystem::recursive_directory_iterator(path_, ec);
       it != std::filesystem::recursive_directory_iterator(); it.increment(ec)) {
    std::filesystem::permissions(it->path(), std::filesystem::perms::owner_all,
                                 std::filesystem::perm_options::add, ec);
  }
  std::filesystem::remove_all(path_, ec);
}

std::string TempDir::File(const std::string& name) const { return (path_ / name).string(); }

ScriptedUi::ScriptedUi() : backend_(std::make_shared<ui::ScriptedBackend>()), scope_(backend_) {}

std::string QorBinary() {
  const char* bin = std::getenv("QOR_BIN");
  return bin ? bin : "qor";
}

ScopedEnv::ScopedEnv(const char* name, const char* value) : name_(name) {
  if (const char* old = std::getenv(name)) old_ = old;
  if (value) {
    ::setenv(name, value, 1);
  } else {
    ::unsetenv(name);
  }
}

ScopedEnv::~ScopedEnv() {
  if (old_) {
    ::setenv(name_, old_->c_str(), 1);
  } else {
    ::unsetenv(name_);
  }
}

std::filesystem::path TestDataDir() {
  const char* dir = std::getenv("QOR_TESTDATA_DIR");
  return dir ? std::filesystem::path(dir) : std::filesystem::path(QOR_TESTDATA_DIR_DEFAULT);
}

int RunUnprivileged(const std::function<int()>& checks) {
  if (geteuid() != 0) return checks();
  pid_t child = fork();
  if (child == 0) {
    constexpr uid_t kNobody = 65534;
    if (setgid(kNobody) != 0 || setuid(kNobody) != 0) _exit(255);
    _exit(checks());
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 254;
}

ChildProcess::ChildProcess(std::function<void(ChildProcess&)> body) {
  if (::pipe(up_) != 0 || ::pipe(down_) != 0) std::abort();
  pid_ = ::fork();
  if (pid_ == 0) {
    int status = 0;
    try {
      body(*this);
    } catch (const Error&) {
      status = 1;
      char c = 'E';
      (void)!::write(up_[1], &c, 1);
    }
    ::_exit(status);  // no destructors: the parent's objects are not ours
  }
}

void ChildProcess::Ready() {
  char c = 'R';
  (void)!::write(up_[1], &c, 1);
}

void ChildProcess::AwaitGo() {
  char c;
  (void)!::read(down_[0], &c, 1);
}

bool ChildProcess::AwaitReady() {
  char c = 0;
  return ::read(up_[0], &c, 1) == 1 && c == 'R';
}

void ChildProcess::Go() {
  char c = 'G';
  (void)!::write(down_[1], &c, 1);
}

int ChildProcess::Wait() {
  if (pid_ <= 0) return exit_;
  Go();
  int status = 0;
  ::waitpid(pid_, &status, 0);
  pid_ = 0;
  exit_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return exit_;
}

RunResult RunProgram(const std::vector<std::string>& argv, const std::string& input) {
  TempDir dir;
  std::string in_path = dir.File("in"), out_path = dir.File("out"), err_path = dir.File("err");
  { std::ofstream(in_path, std::ios::binary) << input; }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, in_path.c_str(), O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, out_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                   0600);
  posix_spawn_file_actions_addopen(&actions, 2, err_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                   0600);
  std::vector<char*> args;
  for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  pid_t pid;
  RunResult result;
  int rc = posix_spawnp(&pid, args[0], &actions, nullptr, args.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (rc != 0) return result;
  int status = 0;
  waitpid(pid, &status, 0);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  std::stringstream out, err;
  out << std::ifstream(out_path, std::ios::binary).rdbuf();
  err << std::ifstream(err_path, std::ios::binary).rdbuf();
  result.out = out.str();
  result.err = err.str();
  return result;
}

}  // namespace qor::testing
