// The registry store of the Linux build: one SQLite database per root.
//
// Where the files live:
// - QOR_REGISTRY_DIR set: every root in that folder, as <root name>.db
//   (HKEY_CURRENT_USER.db, HKEY_LOCAL_MACHINE.db, ...);
// - else HKEY_CURRENT_USER in $XDG_CONFIG_HOME/qorSupport/registry (default
//   ~/.config/qorSupport/registry) and the other roots in
//   /var/lib/qorSupport/registry.
// A root file is created on the first change below that root; until then
// the root reads as an empty key. The HKEY_CURRENT_USER file (and its folder)
// is readable by its owner only. A root whose file cannot be created or
// written gives kAccessDenied for changes and stays readable.
//
// Every call runs in one SQLite transaction (or, inside a batch, in one
// savepoint of the batch's transaction) (changes take the write lock at
// once), so a crash or a kill never leaves a change half done, and several
// processes may use the same files at the same time: a writer waits for the
// other's transaction to end. A damaged file gives kBadDb.

#ifndef QOR_REGISTRY_SQLITE_STORE_H_
#define QOR_REGISTRY_SQLITE_STORE_H_

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "qorsupport/registry/store.h"

struct sqlite3;

namespace qor::registry {

class SqliteStore : public RegistryStore {
 public:
  struct Locations {
    std::filesystem::path current_user;  // folder of HKEY_CURRENT_USER.db
    std::filesystem::path system;        // folder of the other roots
  };
  // The folders chosen by the environment, as described above.
  static Locations DefaultLocations();

  explicit SqliteStore(Locations locations);
  ~SqliteStore() override;
  SqliteStore(const SqliteStore&) = delete;
  SqliteStore& operator=(const SqliteStore&) = delete;

  // The file that holds a root; empty for a value that is no root.
  std::filesystem::path FileOf(HKey root) const;

  int32_t OpenKey(HKey key, std::string_view path, HKey* result) override;
  int32_t CreateKey(HKey key, std::string_view path, HKey* result) override;
  int32_t CloseKey(HKey key) override;
  int32_t QueryValue(HKey key, std::string_view name, uint32_t* type, uint8_t* data,
                     uint32_t* size) override;
  int32_t SetValue(HKey key, std::string_view name, uint32_t type, const uint8_t* data,
                   uint32_t size) override;
  int32_t DeleteValue(HKey key, std::string_view name) override;
  int32_t DeleteKey(HKey key, std::string_view path) override;
  int32_t EnumKey(HKey key, uint32_t index, char* name, uint32_t size) override;
  int32_t EnumValue(HKey key, uint32_t index, char* name, uint32_t* name_size, uint32_t* type,
                    uint8_t* data, uint32_t* data_size) override;
  int32_t DeleteTree(HKey key, std::string_view path) override;
  // A batch keeps one write transaction open on each root file it touches
  // and commits them one after another at its end (with the durable commit
  // of each file); a batch over several roots is all or nothing per root.
  int32_t BeginBatch() override;
  int32_t EndBatch(bool commit) override;

 private:
  class Session;
  struct Target {
    int root = -1;   // index of the root file
    int64_t id = 0;  // key row
  };

  struct Call;
  int32_t Begin(HKey key, bool write, bool create, Call* call);
  // Resolves a handle to its root and key row; 0 or an error code.
  int32_t Resolve(HKey key, Target* target);
  // The root's connection, opened (and, with create, the file made) on
  // first use; nullptr when there is no file (yet) or it cannot be made.
  sqlite3* Connection(int root, bool create, int32_t* error);
  HKey NewHandle(const Target& target);

  // The subkeys (name order) or values (creation order) of a call's key,
  // read once and kept while the file stays the same, so that enumerating
  // a key by index does not read it again for every index.
  struct Listing {
    struct Row {
      std::string name;
      uint32_t type = 0;
      std::string data;
    };
    sqlite3* db = nullptr;
    int root = -1;
    int64_t key = 0;
    unsigned int version = 0;
    int64_t changes = -1;
    std::vector<Row> rows;
  };
  const Listing& ListOf(const Call& c, bool keys);
  void ForgetListings() {
    key_listing_ = Listing{};
    value_listing_ = Listing{};
  }

  Locations locations_;
  std::mutex mu_;
  std::map<int, sqlite3*> connections_;
  std::map<HKey, Target> handles_;
  HKey next_handle_ = 0x100;
  bool batch_ = false;
  std::set<int> batch_roots_;  // the roots whose transaction the batch holds
  Listing key_listing_;
  Listing value_listing_;
};

}  // namespace qor::registry

#endif  // QOR_REGISTRY_SQLITE_STORE_H_
