// Starting programs on Linux: a PATH search of our own and posix_spawn,
// never a shell.

#include <errno.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <thread>

#include "qorsupport/shell/platform.h"

extern char** environ;

namespace qor::shell {

namespace {

bool IsExecutableFile(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode) && access(path.c_str(), X_OK) == 0;
}

// The file to execute for name: name itself when it has a "/", else the
// first executable match in PATH (an empty entry is the current folder).
std::optional<std::string> FindProgram(const std::string& name) {
  if (name.find('/') != std::string::npos) {
    return IsExecutableFile(name) ? std::optional<std::string>(name) : std::nullopt;
  }
  const char* env = std::getenv("PATH");
  std::string path = env ? env : "/usr/local/bin:/usr/bin:/bin";
  size_t start = 0;
  while (true) {
    size_t end = path.find(':', start);
    std::string dir = path.substr(start, end == std::string::npos ? end : end - start);
    std::string candidate = (dir.empty() ? std::string(".") : dir) + "/" + name;
    if (IsExecutableFile(candidate)) return candidate;
    if (end == std::string::npos) return std::nullopt;
    start = end + 1;
  }
}

int WaitForExit(pid_t pid) {
  int status = 0;
  while (waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR) return -1;
  }
  if (WIFEXITED(status)) return WEXITSTATUS(status);
  if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
  return -1;
}

// Spawn attributes: an empty signal mask and default handling of the
// signals a caller commonly ignores, since ignored signals survive exec.
class SpawnAttributes {
 public:
  SpawnAttributes() {
    posix_spawnattr_init(&attr_);
    sigset_t none, defaults;
    sigemptyset(&none);
    sigemptyset(&defaults);
    for (int sig :
         {SIGPIPE, SIGINT, SIGQUIT, SIGHUP, SIGTERM, SIGCHLD, SIGUSR1, SIGUSR2, SIGALRM}) {
      sigaddset(&defaults, sig);
    }
    posix_spawnattr_setsigmask(&attr_, &none);
    posix_spawnattr_setsigdefault(&attr_, &defaults);
    posix_spawnattr_setflags(&attr_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  ~SpawnAttributes() { posix_spawnattr_destroy(&attr_); }
  const posix_spawnattr_t* get() const { return &attr_; }

 private:
  posix_spawnattr_t attr_;
};

// File actions: the child keeps descriptors 0, 1 and 2 and nothing else,
// whether or not the other descriptors were opened close-on-exec.
class SpawnFileActions {
 public:
  SpawnFileActions() {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_addclosefrom_np(&actions_, 3);
  }
  ~SpawnFileActions() { posix_spawn_file_actions_destroy(&actions_); }
  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_;
};

class PosixLauncher : public ProcessLauncher {
 public:
  int32_t Run(const std::vector<std::string>& argv, bool wait) override {
    if (argv.empty() || argv[0].empty()) return -1;
    for (const std::string& arg : argv) {
      if (arg.find('\0') != std::string::npos) return -1;
    }
    std::optional<std::string> program = FindProgram(argv[0]);
    if (!program) return -1;
    std::vector<char*> args;
    for (const std::string& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
    args.push_back(nullptr);
    SpawnAttributes attributes;
    SpawnFileActions actions;
    pid_t pid = 0;
    if (posix_spawn(&pid, program->c_str(), actions.get(), attributes.get(), args.data(),
                    environ) != 0) {
      return -1;
    }
    if (wait) return WaitForExit(pid);
    // Nobody waits for this child; a thread of its own reaps it when it ends.
    std::thread([pid] { WaitForExit(pid); }).detach();
    return 0;
  }
};

}  // namespace

ProcessLauncher& PosixProcessLauncher() {
  static PosixLauncher launcher;
  return launcher;
}

}  // namespace qor::shell
