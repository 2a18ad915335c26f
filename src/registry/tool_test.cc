// qorWinAPIReg as other programs use it: through `qor automation`, and
// through `qor reg import` killed in the middle of its work.

#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <thread>

#include "registry/registry_test_fixture.h"

extern char** environ;

namespace qor::registry {
namespace {

using Json = nlohmann::json;
using Tool = RegistryFixture;

std::vector<Json> Host(const std::string& script) {
  return qor::testing::RunAutomation<Json>(script);
}

TEST_F(Tool, AutomationHostCallsTheRegistryClass) {
  setenv("QOR_INI_DIR", dir_.path().c_str(), 1);
  auto r = Host(
      R"({"id":1,"create":"qorWinAPIReg"})"
      "\n"
      R"({"id":2,"on":1,"call":"RegistrySaveValueString","args":[-2147483647,"Software\\Acme","Name","Main"]})"
      "\n"
      R"({"id":3,"on":1,"call":"registrygetvaluelong","args":[-2147483647,"Software\\Acme","None",5,true]})"
      "\n"
      R"({"id":4,"on":1,"call":"RegistryGetAllKeys","args":[-2147483647,"Software",{"$":"Array","type":"String","bounds":[[0,0]],"v":["old"]}]})"
      "\n"
      R"({"id":5,"on":1,"call":"RegErrorMsg","args":[3]})"
      "\n"
      R"({"id":6,"on":1,"call":"IniWrite","args":["t.ini","S","K","v"]})"
      "\n"
      R"({"id":7,"create":"qorWinAPI"})"
      "\n"
      R"({"id":8,"on":2,"call":"SwabString","args":["ab\u0000cd"]})"
      "\n"
      R"({"id":9,"on":1,"call":"RegistryReadKeyFromFile","args":["/nonexistent/file"]})"
      "\n");
  unsetenv("QOR_INI_DIR");
  ASSERT_EQ(r.size(), 9u);
  EXPECT_EQ(r[1]["result"], true);
  EXPECT_EQ(r[2]["result"], (Json{{"$", "Long"}, {"v", 5}}));
  EXPECT_EQ(r[2]["byref"]["3"], (Json{{"$", "Long"}, {"v", 5}}));
  EXPECT_EQ(r[2]["ui"][0]["text"], "key size error");
  EXPECT_EQ(r[3]["byref"]["2"]["v"], Json::array({"Acme"}));
  EXPECT_EQ(r[4]["result"], "Undefined Error Code:   3");
  EXPECT_EQ(r[5]["result"], true);
  EXPECT_EQ(r[7]["result"], "ab");
  EXPECT_EQ(r[8]["error"]["number"], 53);
  EXPECT_EQ(reg_->RegistryGetValueString(kCurrentUser, "Software\\Acme", "Name"), Variant("Main"));
}

// Starts `qor reg import file` with the test's environment.
pid_t StartImport(const std::string& file) {
  std::string qor = qor::testing::QorBinary();
  std::vector<char*> argv = {qor.data(), const_cast<char*>("reg"), const_cast<char*>("import"),
                             const_cast<char*>(file.c_str()), nullptr};
  pid_t pid = -1;
  posix_spawn(&pid, qor.c_str(), nullptr, nullptr, argv.data(), environ);
  return pid;
}

int64_t Count(sqlite3* db, const char* sql) {
  sqlite3_stmt* stmt = nullptr;
  sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr);
  int64_t n = sqlite3_step(stmt) == SQLITE_ROW ? sqlite3_column_int64(stmt, 0) : -1;
  sqlite3_finalize(stmt);
  return n;
}

// The import is killed while it writes; the store is intact, what was
// applied is a prefix of the file, and the import runs again to the end.
TEST_F(Tool, KillDuringImportLeavesTheStoreIntact) {
  reg_->RegistrySaveValueString(kCurrentUser, "Before", "Kept", "yes");
  constexpr int kKeys = 400;
  constexpr int kValues = 4;
  std::string file = dir_.File("big.txt");
  {
    std::ofstream out(file, std::ios::binary);
    for (int k = 0; k < kKeys; ++k) {
      out << "[HKEY_CURRENT_USER]Imported\\K" << k << "\r\n";
      for (int v = 0; v < kValues; ++v) out << "V" << v << "=DWORD:" << k << "\r\n";
    }
  }
  pid_t pid = StartImport(file);
  ASSERT_GT(pid, 0);
  // Kill it once it has made some progress.
  for (int i = 0; i < 2000 && !reg_->RegistryCheckKey(kCurrentUser, "Imported\\K20"); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  ::kill(pid, SIGKILL);
  int status = 0;
  ::waitpid(pid, &status, 0);
  ASSERT_TRUE(WIFSIGNALED(status)) << "the import finished before it could be killed";

  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open((dir_.path() / "HKEY_CURRENT_USER.db").c_str(), &db), SQLITE_OK);
  sqlite3_stmt* check = nullptr;
  sqlite3_prepare_v2(db, "PRAGMA integrity_check", -1, &check, nullptr);
  ASSERT_EQ(sqlite3_step(check), SQLITE_ROW);
  EXPECT_STREQ(reinterpret_cast<const char*>(sqlite3_column_text(check, 0)), "ok");
  sqlite3_finalize(check);
  int64_t values = Count(db, "SELECT count(*) FROM reg_value");
  sqlite3_close(db);
  EXPECT_GT(values, 20);
  EXPECT_LT(values, 1 + kKeys * kValues);

  // Applied in file order: every key before the last one is complete.
  EXPECT_EQ(reg_->RegistryGetValueString(kCurrentUser, "Before", "Kept"), Variant("yes"));
  bool gap = false;
  for (int k = 0; k < kKeys; ++k) {
    std::string key = "Imported\\K" + std::to_string(k);
    int present = 0;
    for (int v = 0; v < kValues; ++v) {
      present += reg_->RegistryGetValueLong(kCurrentUser, key, "V" + std::to_string(v), -1) != -1;
    }
    bool exists = reg_->RegistryCheckKey(kCurrentUser, key);
    if (gap) {
      ASSERT_FALSE(exists) << key;
    } else if (present < kValues) {
      gap = true;
    }
  }
  EXPECT_TRUE(gap);

  pid = StartImport(file);
  ::waitpid(pid, &status, 0);
  ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_EQ(reg_->RegistryGetValueLong(kCurrentUser, "Imported\\K399", "V3", -1), 0x399);
}

}  // namespace
}  // namespace qor::registry
