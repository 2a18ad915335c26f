// ExecCmd against real child processes.

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "qorsupport/shell/winapi.h"
#include "shell/test_files.h"
#include "testing/test_util.h"

namespace qor {
namespace {

using Clock = std::chrono::steady_clock;

void WriteScript(const std::string& path, const std::string& body) {
  std::ofstream(path) << "#!/bin/sh\n" << body;
  chmod(path.c_str(), 0755);
}

// Children of this process that have ended but were not reaped.
int ZombieChildren() {
  int zombies = 0;
  DIR* proc = opendir("/proc");
  while (struct dirent* item = readdir(proc)) {
    std::ifstream stat(std::string("/proc/") + item->d_name + "/stat");
    std::string line;
    if (!std::getline(stat, line)) continue;
    size_t close = line.rfind(')');
    std::istringstream rest(line.substr(close + 2));
    char state;
    int ppid;
    rest >> state >> ppid;
    zombies += state == 'Z' && ppid == getpid();
  }
  closedir(proc);
  return zombies;
}

bool WaitFor(const std::function<bool()>& done, int seconds = 10) {
  auto deadline = Clock::now() + std::chrono::seconds(seconds);
  while (Clock::now() < deadline) {
    if (done()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return done();
}

TEST(ExecCmd, WaitsForTheExitCodeOrReturnsAtOnce) {
  qorWinAPI api;
  testing::TempDir dir;
  EXPECT_EQ(api.ExecCmd("sh -c \"exit 3\"", true), 3);
  EXPECT_EQ(api.ExecCmd("true", true), 0);
  EXPECT_EQ(api.ExecCmd("sh -c \"kill -9 $$\"", true), 128 + 9);

  std::string marker = dir.File("marker");
  auto start = Clock::now();
  EXPECT_EQ(api.ExecCmd("sh -c \"sleep 1; echo done > '" + marker + "'\""), 0);
  EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(500));
  EXPECT_FALSE(std::filesystem::exists(marker)) << "the child should still be sleeping";
  EXPECT_TRUE(WaitFor([&] { return shell::ReadText(marker) == "done\n"; }));
  EXPECT_TRUE(WaitFor([] { return ZombieChildren() == 0; }, 3)) << "a child was left as a zombie";
}

TEST(ExecCmd, ArgumentsArriveAsTheWindowsRulesSplitThem) {
  qorWinAPI api;
  testing::TempDir dir;
  std::filesystem::create_directory(dir.path() / "with space");
  std::string script = dir.File("with space/args.sh");
  WriteScript(script, "out=$1; shift; for a; do printf '[%s]\\n' \"$a\"; done > \"$out\"\n");
  std::string out = dir.File("out");
  std::string line = "\"" + script + "\" " + out +
                     R"( "a b" C:\dir\file.txt "say \"hi\"" "" "tail\\" x\\\"y "c""d")";
  ASSERT_EQ(api.ExecCmd(line, true), 0);
  EXPECT_EQ(shell::ReadText(out),
            "[a b]\n[C:\\dir\\file.txt]\n[say \"hi\"]\n[]\n[tail\\]\n[x\\\"y]\n[c\"d]\n");

  // A bare name is found on PATH, never by a shell.
  std::string old_path = std::getenv("PATH");
  setenv("PATH", (dir.path().string() + "/with space:" + old_path).c_str(), 1);
  EXPECT_EQ(api.ExecCmd("args.sh " + out + " $HOME;|x", true), 0);
  setenv("PATH", old_path.c_str(), 1);
  EXPECT_EQ(shell::ReadText(out), "[$HOME;|x]\n");
}

TEST(ExecCmd, MinusOneWhenTheProgramCannotStart) {
  qorWinAPI api;
  testing::TempDir dir;
  std::string plain = dir.File("plain.sh");
  std::ofstream(plain) << "#!/bin/sh\nexit 0\n";
  chmod(plain.c_str(), 0644);
  EXPECT_EQ(api.ExecCmd("no-such-program-qor-10", true), -1);
  EXPECT_EQ(api.ExecCmd("no-such-program-qor-10"), -1);
  EXPECT_EQ(api.ExecCmd(dir.File("missing"), true), -1);
  EXPECT_EQ(api.ExecCmd(plain, true), -1);                // not executable
  EXPECT_EQ(api.ExecCmd(dir.path().string(), true), -1);  // a folder
  EXPECT_EQ(api.ExecCmd("", true), -1);
  EXPECT_EQ(api.ExecCmd("   ", true), -1);
  EXPECT_EQ(api.ExecCmd(std::string("true\0 x", 7), true), -1);
  EXPECT_EQ(api.ExecCmd("\"\" x", true), -1);  // an empty program name
}

TEST(ExecCmd, NoDescriptorLeaksIntoTheChild) {
  qorWinAPI api;
  testing::TempDir dir;
  std::string secret = dir.File("leak-marker");
  int fd = open(secret.c_str(), O_WRONLY | O_CREAT, 0600);  // deliberately inheritable
  ASSERT_GE(fd, 3);
  std::string out = dir.File("fds");
  EXPECT_EQ(api.ExecCmd("sh -c \"ls -l /proc/$$/fd > '" + out + "'\"", true), 0);
  close(fd);
  std::string listing = shell::ReadText(out);
  EXPECT_NE(listing.find(out), std::string::npos) << listing;  // the listing itself is open
  EXPECT_EQ(listing.find("leak-marker"), std::string::npos) << listing;
}

}  // namespace
}  // namespace qor
