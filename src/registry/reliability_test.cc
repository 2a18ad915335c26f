// The qor tools under kills, concurrent writers and hostile files: `qor reg
// import` and `qor reg clone` killed at random moments are all or nothing,
// `qor ini set` killed or run by several processes at once loses no entry
// and leaves no temporary file, and the file readers refuse FIFOs, devices,
// folders, endless files and huge lines at once. Each test prints its
// counts and fails on any loss, crash or hang.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <random>
#include <thread>

#include "registry/profile.h"
#include "registry/registry_test_fixture.h"

extern char** environ;

namespace qor::registry {
namespace {

using Clock = std::chrono::steady_clock;

// A qor process started with the test's environment, its stdout and stderr
// on /dev/null.
class QorRun {
 public:
  explicit QorRun(std::vector<std::string> args) {
    std::string qor = qor::testing::QorBinary();
    args.insert(args.begin(), qor);
    std::vector<char*> argv;
    for (std::string& a : args) argv.push_back(a.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    if (posix_spawn(&pid_, qor.c_str(), &actions, nullptr, argv.data(), environ) != 0) pid_ = -1;
    posix_spawn_file_actions_destroy(&actions);
  }
  ~QorRun() {
    if (pid_ > 0 && status_ == kRunning) Kill();
  }
  // The exit status; -1 after a signal, kHung (and killed) past the limit.
  int Wait(std::chrono::milliseconds limit = std::chrono::seconds(20)) {
    Clock::time_point end = Clock::now() + limit;
    while (status_ == kRunning) {
      int raw = 0;
      pid_t r = ::waitpid(pid_, &raw, WNOHANG);
      if (r == pid_) {
        status_ = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
      } else if (r < 0) {
        status_ = -1;
      } else if (Clock::now() > end) {
        Kill();
        status_ = kHung;
      } else {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      }
    }
    return status_;
  }
  // Kills it; true when it was still running.
  bool Kill() {
    ::kill(pid_, SIGKILL);
    int raw = 0;
    ::waitpid(pid_, &raw, 0);
    bool killed = WIFSIGNALED(raw);
    status_ = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    return killed;
  }
  bool started() const { return pid_ > 0; }

  static constexpr int kRunning = -100;
  static constexpr int kHung = -99;

 private:
  pid_t pid_ = -1;
  int status_ = kRunning;
};

int64_t CountRows(const std::filesystem::path& db_file, const char* sql) {
  sqlite3* db = nullptr;
  if (sqlite3_open(db_file.c_str(), &db) != SQLITE_OK) return -1;
  sqlite3_stmt* stmt = nullptr;
  sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr);
  int64_t n = sqlite3_step(stmt) == SQLITE_ROW ? sqlite3_column_int64(stmt, 0) : -1;
  sqlite3_finalize(stmt);
  sqlite3_close(db);
  return n;
}

std::string IntegrityOf(const std::filesystem::path& db_file) {
  sqlite3* db = nullptr;
  sqlite3_open(db_file.c_str(), &db);
  sqlite3_stmt* stmt = nullptr;
  sqlite3_prepare_v2(db, "PRAGMA integrity_check", -1, &stmt, nullptr);
  std::string result = sqlite3_step(stmt) == SQLITE_ROW
                           ? reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0))
                           : "no answer";
  sqlite3_finalize(stmt);
  sqlite3_close(db);
  return result;
}

class Reliability : public RegistryFixture {
 protected:
  Reliability() { setenv("QOR_INI_DIR", dir_.path().c_str(), 1); }
  ~Reliability() override { unsetenv("QOR_INI_DIR"); }

  std::filesystem::path Store() const { return dir_.path() / "HKEY_CURRENT_USER.db"; }
  // The names left beside an INI file by a writer.
  int TempsBeside(const std::string& name) {
    int n = 0;
    for (const auto& e : std::filesystem::directory_iterator(dir_.path())) {
      n += e.path().filename().string().starts_with(name + ".");
    }
    return n;
  }
  std::mt19937 random_{20261125};
};

TEST_F(Reliability, KilledImportAndCloneAreAllOrNothing) {
  reg_->RegistrySaveValueString(kCurrentUser, "Before", "Kept", "yes");
  constexpr int kKeys = 300;
  constexpr int kValues = 4;
  constexpr int kTotal = kKeys * kValues;
  std::string file = dir_.File("big.txt");
  {
    std::ofstream out(file, std::ios::binary);
    for (int k = 0; k < kKeys; ++k) {
      out << "[HKEY_CURRENT_USER]Imported\\K" << k << "\r\n";
      for (int v = 0; v < kValues; ++v) out << "V" << v << "=DWORD:" << k << "\r\n";
    }
  }
  int runs = 0, kills = 0, failures = 0, partial = 0;
  std::uniform_int_distribution<int> delay_us(0, 120000);  // a run takes about 100 ms
  for (int i = 0; i < 12; ++i) {
    bool clone = i % 2 == 1;
    if (clone) {
      ASSERT_TRUE(reg_->RegistryCheckKey(kCurrentUser, "Imported\\K299") ||
                  reg_->RegistryReadKeyFromFile(Variant(file)));
    }
    ++runs;
    QorRun run = clone ? QorRun({"reg", "clone", "HKCU\\Imported", "HKCU\\Copy"})
                       : QorRun({"reg", "import", file});
    ASSERT_TRUE(run.started());
    std::this_thread::sleep_for(std::chrono::microseconds(delay_us(random_)));
    if (run.Kill()) {
      ++kills;
    } else if (run.Wait() != 0) {
      ++failures;
    }
    ASSERT_EQ(IntegrityOf(Store()), "ok");
    const char* count = clone ? "SELECT count(*) FROM reg_value v JOIN reg_key k ON v.key = k.id "
                                "JOIN reg_key p ON k.parent = p.id WHERE p.name = 'Copy'"
                              : "SELECT count(*) FROM reg_value v JOIN reg_key k ON v.key = k.id "
                                "JOIN reg_key p ON k.parent = p.id WHERE p.name = 'Imported'";
    int64_t n = CountRows(Store(), count);
    if (n != 0 && n != kTotal) ++partial;
    EXPECT_TRUE(n == 0 || n == kTotal) << (clone ? "clone" : "import") << " left " << n;
    reg_->RegistryDestroyKey(kCurrentUser, clone ? "Copy" : "Imported");
  }
  EXPECT_EQ(reg_->RegistryGetValueString(kCurrentUser, "Before", "Kept"), Variant("yes"));
  std::printf("import/clone: %d runs, %d kills, %d failures, %d partial\n", runs, kills, failures,
              partial);
  EXPECT_EQ(failures, 0);
  EXPECT_GT(kills, 0);
}

TEST_F(Reliability, KilledIniWritesLoseNothing) {
  std::string ini = "kill.ini";
  std::filesystem::path path = dir_.path() / ini;
  int runs = 0, kills = 0, failures = 0, lost = 0;
  int written = 0;  // keys K0 .. K(written-1) are known to be in the file
  std::uniform_int_distribution<int> delay_us(0, 80000);  // a run takes about 50 ms
  for (int i = 0; i < 40; ++i) {
    ++runs;
    QorRun run({"ini", "set", ini, "S", "K" + std::to_string(written), "v"});
    std::this_thread::sleep_for(std::chrono::microseconds(delay_us(random_)));
    if (run.Kill()) {
      ++kills;
    } else if (run.Wait() == 0) {
      ++written;
    } else {
      ++failures;
    }
    char buffer[64];
    for (int k = 0; k < written; ++k) {
      std::string key = "K" + std::to_string(k);
      GetPrivateProfileString("S", key, "missing", buffer, sizeof buffer, path.string());
      lost += std::string(buffer) != "v";
    }
  }
  // The next write removes what a killed writer left.
  QorRun last({"ini", "set", ini, "S", "Last", "v"});
  EXPECT_EQ(last.Wait(), 0);
  int temps = TempsBeside(ini);
  std::printf("ini set: %d runs, %d kills, %d failures, %d lost entries, %d temporary files\n",
              runs, kills, failures, lost, temps);
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(lost, 0);
  EXPECT_EQ(temps, 0);
}

TEST_F(Reliability, ConcurrentIniWritersLoseNothing) {
  for (int writers : {4, 8}) {
    std::string ini = "shared" + std::to_string(writers) + ".ini";
    constexpr int kKeysEach = 12;
    std::vector<std::thread> threads;
    std::atomic<int> failures = 0;
    for (int w = 0; w < writers; ++w) {
      threads.emplace_back([&, w] {
        for (int k = 0; k < kKeysEach; ++k) {
          QorRun run({"ini", "set", ini, "S" + std::to_string(k % 3),
                      "W" + std::to_string(w) + "K" + std::to_string(k), std::to_string(k)});
          if (run.Wait() != 0) ++failures;
        }
      });
    }
    for (std::thread& t : threads) t.join();
    int lost = 0;
    char buffer[64];
    for (int w = 0; w < writers; ++w) {
      for (int k = 0; k < kKeysEach; ++k) {
        std::string key = "W" + std::to_string(w) + "K" + std::to_string(k);
        GetPrivateProfileString("S" + std::to_string(k % 3), key, "missing", buffer, sizeof buffer,
                                (dir_.path() / ini).string());
        lost += std::string(buffer) != std::to_string(k);
      }
    }
    std::printf("%d concurrent writers: %d writes, %d failures, %d lost entries\n", writers,
                writers * kKeysEach, failures.load(), lost);
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(lost, 0);
    EXPECT_EQ(TempsBeside(ini), 0);
  }
}

TEST_F(Reliability, HostileFilesAreRefusedAtOnce) {
  std::filesystem::path fifo = dir_.path() / "fifo";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  std::filesystem::path folder = dir_.path() / "folder";
  std::filesystem::create_directory(folder);
  // A file past the size cap (sparse, so it costs nothing) and one line of
  // more than 1 MB.
  std::filesystem::path endless = dir_.path() / "endless";
  {
    int fd = ::open(endless.c_str(), O_CREAT | O_WRONLY, 0600);
    ASSERT_EQ(::ftruncate(fd, off_t{65} << 20), 0);
    ::close(fd);
  }
  std::filesystem::path long_line = dir_.path() / "long";
  {
    std::ofstream out(long_line, std::ios::binary);
    out << "[S]\r\nK=" << std::string((1 << 20) + 10, 'x') << "\r\n";
  }
  reg_->RegistrySaveValueString(kCurrentUser, "Exported", "V", "1");
  int runs = 0, failures = 0, hangs = 0;
  for (const std::filesystem::path& file :
       {fifo, folder, endless, long_line, std::filesystem::path("/dev/zero")}) {
    std::vector<std::vector<std::string>> commands = {{"reg", "import", file.string()},
                                                      {"ini", "get", file.string(), "S", "K"},
                                                      {"ini", "set", file.string(), "S", "K", "v"}};
    // An export is written over a regular file, but never into a FIFO,
    // device or folder.
    if (!std::filesystem::is_regular_file(file)) {
      commands.push_back({"reg", "export", "HKCU\\Exported", file.string()});
    }
    for (const std::vector<std::string>& args : commands) {
      ++runs;
      QorRun run(args);
      int status = run.Wait(std::chrono::seconds(10));
      hangs += status == QorRun::kHung;
      // Refused with a non-zero status, never crashed or hung.
      if (status <= 0) {
        ++failures;
        ADD_FAILURE() << args[0] << " " << args[1] << " " << file << ": status " << status;
      }
    }
  }
  // Through the library: the numbered error, at once.
  char buffer[16];
  GetPrivateProfileString("S", "K", "", buffer, sizeof buffer, fifo.string());
  EXPECT_EQ(LastProfileError().number, 54);
  GetPrivateProfileString("S", "K", "", buffer, sizeof buffer, endless.string());
  EXPECT_EQ(LastProfileError().number, 7);
  GetPrivateProfileString("S", "K", "", buffer, sizeof buffer, long_line.string());
  EXPECT_EQ(LastProfileError().number, 7);
  EXPECT_EQ(
      qor::testing::ErrorNumberOf([&] { reg_->RegistryReadKeyFromFile(Variant("/dev/zero")); }),
      54);
  std::printf("hostile files: %d runs, %d failures, %d hangs\n", runs, failures, hangs);
}

TEST_F(Reliability, WritesKeepLinksOwnersAndModes) {
  // A registry folder that exists keeps its mode; the file made in it gets
  // the private one.
  std::filesystem::path shared = dir_.path() / "shared";
  std::filesystem::create_directory(shared);
  ::chmod(shared.c_str(), 01777);
  {
    qor::testing::ScopedEnv env("QOR_REGISTRY_DIR", shared.c_str());
    qorWinAPIReg reg;
    ASSERT_TRUE(reg.RegistrySaveValueString(kCurrentUser, "K", "V", "1"));
  }
  struct stat st;
  ASSERT_EQ(::stat(shared.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 01777u);
  ASSERT_EQ(::stat((shared / "HKEY_CURRENT_USER.db").c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0600u);

  std::filesystem::path target = dir_.path() / "real.ini";
  std::filesystem::path link = dir_.path() / "link.ini";
  { std::ofstream(target) << "[S]\r\nA=1\r\n"; }
  ::chmod(target.c_str(), 0640);
  std::filesystem::create_symlink("real.ini", link);
  ASSERT_TRUE(WritePrivateProfileString("S", "B", "2", link.string()));
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  ASSERT_EQ(::stat(target.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0640u);
  char buffer[16];
  GetPrivateProfileString("S", "A", "", buffer, sizeof buffer, target.string());
  EXPECT_STREQ(buffer, "1");
  GetPrivateProfileString("S", "B", "", buffer, sizeof buffer, target.string());
  EXPECT_STREQ(buffer, "2");
  // A change by another writer is seen at the next read, even one of the
  // same size within the same clock tick.
  ASSERT_TRUE(WritePrivateProfileString("S", "B", "3", link.string()));
  GetPrivateProfileString("S", "B", "", buffer, sizeof buffer, target.string());
  EXPECT_STREQ(buffer, "3");
  // A rewrite by another user keeps the file's owner.
  if (::geteuid() == 0) {
    ASSERT_EQ(::chown(target.c_str(), 65534, 65534), 0);
    ASSERT_TRUE(WritePrivateProfileString("S", "C", "4", target.string()));
    ASSERT_EQ(::stat(target.c_str(), &st), 0);
    EXPECT_EQ(st.st_uid, 65534u);
    EXPECT_EQ(st.st_gid, 65534u);
    EXPECT_EQ(st.st_mode & 07777, 0640u);
  }
  // A user who may write the folder but cannot give the file away rewrites
  // it in place: owner and mode stay.
  if (::geteuid() == 0) {
    std::filesystem::path open_dir = dir_.path() / "open";
    std::filesystem::create_directory(open_dir);
    ::chmod(dir_.path().c_str(), 0755);
    ::chmod(open_dir.c_str(), 0777);
    std::filesystem::path owned = open_dir / "owned.ini";
    { std::ofstream(owned) << "[S]\r\nA=1\r\n"; }
    ::chmod(owned.c_str(), 0666);
    int failed = qor::testing::RunUnprivileged(
        [&] { return WritePrivateProfileString("S", "B", "2", owned.string()) ? 0 : 1; });
    EXPECT_EQ(failed, 0);
    ASSERT_EQ(::stat(owned.c_str(), &st), 0);
    EXPECT_EQ(st.st_uid, 0u);
    EXPECT_EQ(st.st_mode & 07777, 0666u);
    GetPrivateProfileString("S", "B", "", buffer, sizeof buffer, owned.string());
    EXPECT_STREQ(buffer, "2");
  }
  // CR or LF in what `qor ini set` writes is refused.
  QorRun cr({"ini", "set", "real.ini", "S", "C", "x\r\n[T]"});
  EXPECT_EQ(cr.Wait(), 1);
}

}  // namespace
}  // namespace qor::registry
