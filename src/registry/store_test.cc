// The SQLite registry store through its platform interface: names, order,
// error codes, handles, file modes, and several processes at once.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

#include "registry/sqlite_store.h"
#include "testing/test_util.h"

namespace qor::registry {
namespace {

class StoreTest : public ::testing::Test {
 protected:
  SqliteStore::Locations Here() { return {dir_.path() / "user", dir_.path() / "system"}; }

  HKey Create(const std::string& path) {
    HKey h = 0;
    EXPECT_EQ(store_.CreateKey(kCurrentUser, path, &h), kSuccess) << path;
    return h;
  }
  void SetString(HKey h, const std::string& name, const std::string& data) {
    ASSERT_EQ(store_.SetValue(h, name, kRegSz, reinterpret_cast<const uint8_t*>(data.data()),
                              static_cast<uint32_t>(data.size())),
              kSuccess);
  }
  std::vector<std::string> Subkeys(HKey h) {
    std::vector<std::string> names;
    char buf[256];
    for (uint32_t i = 0; store_.EnumKey(h, i, buf, sizeof buf) == kSuccess; ++i) {
      names.push_back(buf);
    }
    return names;
  }
  std::vector<std::string> Values(HKey h) {
    std::vector<std::string> names;
    char buf[300];
    for (uint32_t i = 0;; ++i) {
      uint32_t size = sizeof buf;
      uint32_t type = 0;
      if (store_.EnumValue(h, i, buf, &size, &type, nullptr, nullptr) != kSuccess) break;
      names.push_back(buf);
    }
    return names;
  }

  qor::testing::TempDir dir_;
  SqliteStore store_{Here()};
};

TEST_F(StoreTest, NamesIgnoreCaseKeepFirstSpellingAndEnumerateInOrder) {
  HKey h = Create("Software\\Acme");
  HKey again = 0;
  ASSERT_EQ(store_.OpenKey(kCurrentUser, "SOFTWARE\\acme", &again), kSuccess);
  for (const char* name : {"zeta", "Alpha", "beta", "ALPHA", "\xe9t\xe9", "\xc9T\xc9"}) {
    HKey sub = 0;
    ASSERT_EQ(store_.CreateKey(again, name, &sub), kSuccess);
    store_.CloseKey(sub);
  }
  // Subkeys in name order without regard to case; accented letters of the
  // code page fold too.
  EXPECT_EQ(Subkeys(h), (std::vector<std::string>{"Alpha", "beta", "zeta", "\xe9t\xe9"}));
  // Values in creation order; replacing keeps the place and the spelling.
  SetString(h, "Second", "2");
  SetString(h, "first", "1");
  SetString(h, "SECOND", "two");
  EXPECT_EQ(Values(h), (std::vector<std::string>{"Second", "first"}));
  uint8_t data[8];
  uint32_t size = sizeof data;
  uint32_t type = 0;
  ASSERT_EQ(store_.QueryValue(h, "second", &type, data, &size), kSuccess);
  // The NUL that follows a string's data is counted, as the platform does.
  EXPECT_EQ(std::string(reinterpret_cast<char*>(data), size), std::string("two\0", 4));
  store_.CloseKey(h);
  store_.CloseKey(again);
}

TEST_F(StoreTest, BuffersAndIndexesGiveThePlatformCodes) {
  HKey h = Create("K");
  SetString(h, "LongName", "0123456789");
  HKey sub = Create("K\\Subkey");
  char name[32];
  EXPECT_EQ(store_.EnumKey(h, 0, name, 6), kMoreData);  // "Subkey" needs 7
  EXPECT_EQ(store_.EnumKey(h, 0, name, 7), kSuccess);
  EXPECT_EQ(store_.EnumKey(h, 1, name, 32), kNoMoreItems);
  uint32_t name_size = 8;
  uint32_t type = 0;
  EXPECT_EQ(store_.EnumValue(h, 0, name, &name_size, &type, nullptr, nullptr), kMoreData);
  uint8_t data[4];
  uint32_t data_size = sizeof data;
  name_size = sizeof name;
  EXPECT_EQ(store_.EnumValue(h, 0, name, &name_size, &type, data, &data_size), kMoreData);
  uint32_t query_size = 4;
  EXPECT_EQ(store_.QueryValue(h, "LongName", &type, data, &query_size), kMoreData);
  EXPECT_EQ(query_size, 11u);
  EXPECT_EQ(store_.QueryValue(h, "Missing", &type, nullptr, &query_size), kFileNotFound);
  EXPECT_EQ(store_.DeleteValue(h, "Missing"), kFileNotFound);
  // A key with subkeys cannot be deleted alone; the tree can.
  EXPECT_EQ(store_.DeleteKey(kCurrentUser, "K"), kAccessDenied);
  EXPECT_EQ(store_.DeleteTree(kCurrentUser, "K"), kSuccess);
  // Handles to deleted keys stay valid handles of deleted keys.
  EXPECT_EQ(store_.QueryValue(h, "LongName", &type, nullptr, &query_size), kKeyDeleted);
  EXPECT_EQ(store_.EnumKey(sub, 0, name, 32), kKeyDeleted);
  EXPECT_EQ(store_.CloseKey(h), kSuccess);
  EXPECT_EQ(store_.CloseKey(h), kInvalidHandle);
  EXPECT_EQ(store_.OpenKey(static_cast<HKey>(0x80000004u), "", &h), kInvalidHandle);
  EXPECT_EQ(store_.OpenKey(12345, "", &h), kInvalidHandle);
}

TEST_F(StoreTest, PathsFollowThePlatformRules) {
  HKey h = 0;
  EXPECT_EQ(store_.CreateKey(kCurrentUser, "\\a", &h), kBadPathname);
  EXPECT_EQ(store_.OpenKey(kCurrentUser, "\\a", &h), kBadPathname);
  EXPECT_EQ(store_.CreateKey(kCurrentUser, "a\\" + std::string(257, 'x'), &h), kInvalidParameter);
  EXPECT_EQ(store_.CreateKey(kCurrentUser, "a\\" + std::string(259, 'x'), &h), kMoreData);
  EXPECT_EQ(store_.OpenKey(kCurrentUser, "a", &h), kFileNotFound);  // no parent was left behind
  // Runs of "\" and a trailing one are passed over.
  EXPECT_EQ(store_.CreateKey(kCurrentUser, "a\\\\" + std::string(256, 'x') + "\\", &h), kSuccess);
  store_.CloseKey(h);
  EXPECT_EQ(store_.OpenKey(kCurrentUser, "a\\" + std::string(256, 'X'), &h), kSuccess);
  store_.CloseKey(h);
  // The tree delete meets a long component only below keys that exist.
  EXPECT_EQ(store_.DeleteTree(kCurrentUser, "none\\" + std::string(300, 'x')), kFileNotFound);
  EXPECT_EQ(store_.DeleteTree(kCurrentUser, "a\\" + std::string(300, 'x')), kInvalidParameter);
  EXPECT_EQ(store_.DeleteKey(kCurrentUser, ""), kAccessDenied);  // a root stays
}

TEST_F(StoreTest, FilesAppearOnFirstChangeWithOwnerOnlyUserFile) {
  HKey h = 0;
  // Reading an absent root: an empty key, and no file is made.
  EXPECT_EQ(store_.OpenKey(kLocalMachine, "", &h), kSuccess);
  EXPECT_EQ(store_.EnumKey(h, 0, nullptr, 0), kNoMoreItems);
  EXPECT_FALSE(std::filesystem::exists(store_.FileOf(kLocalMachine)));
  store_.CloseKey(h);
  store_.CloseKey(Create("x"));
  struct stat st;
  ASSERT_EQ(::stat(store_.FileOf(kCurrentUser).c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0600u);
  EXPECT_EQ(store_.FileOf(kCurrentUser), dir_.path() / "user" / "HKEY_CURRENT_USER.db");
  EXPECT_EQ(store_.FileOf(kUsers), dir_.path() / "system" / "HKEY_USERS.db");
}

TEST_F(StoreTest, ReadOnlyAndDamagedFilesGiveTheirCodes) {
  if (::geteuid() != 0) {  // root ignores file modes
    // The system folder cannot be written: changes are denied.
    std::filesystem::create_directories(dir_.path() / "system");
    ::chmod((dir_.path() / "system").c_str(), 0500);
    HKey h = 0;
    EXPECT_EQ(store_.CreateKey(kLocalMachine, "Software", &h), kAccessDenied);
    ::chmod((dir_.path() / "system").c_str(), 0700);
  }
  std::filesystem::create_directories(dir_.path() / "system");
  std::ofstream(store_.FileOf(kUsers)) << "this is not a database, just some text";
  HKey h = 0;
  SqliteStore fresh(Here());
  EXPECT_EQ(fresh.CreateKey(kUsers, "x", &h), kBadDb);
}

// Two processes write into the same key at once; every value arrives.
TEST_F(StoreTest, ConcurrentProcessesLoseNoChange) {
  store_.CloseKey(Create("Shared"));
  constexpr int kEach = 60;
  std::vector<pid_t> children;
  for (int p = 0; p < 2; ++p) {
    pid_t pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      SqliteStore own(Here());
      int failures = 0;
      for (int i = 0; i < kEach; ++i) {
        HKey h = 0;
        std::string name = "p" + std::to_string(p) + "v" + std::to_string(i);
        if (own.CreateKey(kCurrentUser, "Shared\\" + std::to_string(i % 3), &h) != kSuccess ||
            own.SetValue(h, name, kRegDword, reinterpret_cast<const uint8_t*>(&i), 4) != kSuccess) {
          ++failures;
        }
        own.CloseKey(h);
      }
      ::_exit(failures == 0 ? 0 : 1);
    }
    children.push_back(pid);
  }
  for (pid_t pid : children) {
    int status = 0;
    ::waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  size_t total = 0;
  for (int k = 0; k < 3; ++k) {
    HKey h = 0;
    ASSERT_EQ(store_.OpenKey(kCurrentUser, "Shared\\" + std::to_string(k), &h), kSuccess);
    total += Values(h).size();
    store_.CloseKey(h);
  }
  EXPECT_EQ(total, 2u * kEach);
}

// A batch: one transaction per root, every call inside atomic on its own,
// a rollback undoes it all, and what another store (process) sees of it
// is nothing before the commit.
TEST_F(StoreTest, BatchIsAllOrNothingAndEachCallInsideStaysAtomic) {
  HKey h = Create("B");
  SetString(h, "Before", "1");
  {
    StoreBatch batch(store_);
    ASSERT_EQ(batch.begun(), kSuccess);
    EXPECT_EQ(store_.BeginBatch(), kBusy);  // no nesting
    SetString(h, "In", "2");
    HKey sub = Create("B\\Sub");
    EXPECT_EQ(store_.DeleteValue(h, "None"), kFileNotFound);  // undoes only itself
    EXPECT_EQ(Values(h), (std::vector<std::string>{"Before", "In"}));
    EXPECT_EQ(Subkeys(h), (std::vector<std::string>{"Sub"}));
    store_.CloseKey(sub);
  }  // rolled back
  EXPECT_EQ(Values(h), (std::vector<std::string>{"Before"}));
  EXPECT_TRUE(Subkeys(h).empty());

  StoreBatch batch(store_);
  SetString(h, "Kept", "3");
  SqliteStore other(Here());
  HKey seen = 0;
  ASSERT_EQ(other.OpenKey(kCurrentUser, "B", &seen), kSuccess);
  uint32_t size = 0;
  EXPECT_EQ(other.QueryValue(seen, "Kept", nullptr, nullptr, &size), kFileNotFound);
  ASSERT_EQ(batch.Commit(), kSuccess);
  EXPECT_EQ(other.QueryValue(seen, "Kept", nullptr, nullptr, &size), kSuccess);
  other.CloseKey(seen);
  store_.CloseKey(h);
}

}  // namespace
}  // namespace qor::registry
