// The registry as a platform facility.
//
// RegistryStore offers exactly the registry calls the library makes, with the
// meaning and error codes of their Win32 counterparts (RegOpenKeyA,
// RegCreateKeyA, RegCloseKey, RegQueryValueExA, RegSetValueExA,
// RegDeleteValueA, RegDeleteKeyA, RegEnumKeyA, RegEnumValueA, SHDeleteKeyA),
// so that a Windows build maps it one to one and the logic above it runs
// unchanged. Names and string data are bytes in the 8-bit code page, as the
// "A" calls take them; the caller converts.
//
// Promises of every implementation:
// - key and value names are matched without regard to case and kept as first
//   written; subkeys enumerate in name order, values in creation order (a
//   value that is replaced keeps its place);
// - paths follow the platform: runs of "\" and a trailing "\" are passed
//   over, a leading "\" is kBadPathname, a path of more than
//   kMaxPathLength characters kMoreData, a component of more than
//   kMaxKeyNameLength characters kInvalidParameter;
// - every call that changes the registry is atomic;
// - the result is 0 or a platform error code (the constants below).

#ifndef QOR_REGISTRY_STORE_H_
#define QOR_REGISTRY_STORE_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace qor::registry {

// A key handle: one of the predefined roots or a handle returned by
// OpenKey/CreateKey. Handles are 32-bit values, as the library passes them.
using HKey = int32_t;

inline constexpr HKey kClassesRoot = static_cast<HKey>(0x80000000u);
inline constexpr HKey kCurrentUser = static_cast<HKey>(0x80000001u);
inline constexpr HKey kLocalMachine = static_cast<HKey>(0x80000002u);
inline constexpr HKey kUsers = static_cast<HKey>(0x80000003u);
inline constexpr HKey kCurrentConfig = static_cast<HKey>(0x80000005u);

// Value types.
inline constexpr uint32_t kRegNone = 0;
inline constexpr uint32_t kRegSz = 1;
inline constexpr uint32_t kRegExpandSz = 2;
inline constexpr uint32_t kRegBinary = 3;
inline constexpr uint32_t kRegDword = 4;
inline constexpr uint32_t kRegMultiSz = 7;

// Platform error codes.
inline constexpr int32_t kSuccess = 0;
inline constexpr int32_t kFileNotFound = 2;
inline constexpr int32_t kAccessDenied = 5;
inline constexpr int32_t kInvalidHandle = 6;
inline constexpr int32_t kOutOfMemory = 14;
inline constexpr int32_t kInvalidParameter = 87;
inline constexpr int32_t kBadPathname = 161;
inline constexpr int32_t kBusy = 170;
inline constexpr int32_t kMoreData = 234;
inline constexpr int32_t kNoMoreItems = 259;
inline constexpr int32_t kBadDb = 1009;
inline constexpr int32_t kKeyDeleted = 1018;

// The platform's limits: a key name component of 256 characters, a path
// of 260 characters handed to one call, a value name of 16383 characters.
inline constexpr size_t kMaxKeyNameLength = 256;
inline constexpr size_t kMaxPathLength = 260;
inline constexpr size_t kMaxValueNameLength = 16383;

class RegistryStore {
 public:
  virtual ~RegistryStore() = default;

  // Opens an existing key below key; an empty path opens key itself again.
  virtual int32_t OpenKey(HKey key, std::string_view path, HKey* result) = 0;
  // Opens the key, creating it and every missing parent in one change.
  virtual int32_t CreateKey(HKey key, std::string_view path, HKey* result) = 0;
  // Releases a handle; closing a root is accepted and does nothing.
  virtual int32_t CloseKey(HKey key) = 0;
  // With data null: stores the type and byte size. Else copies the data when
  // *size is large enough (else kMoreData) and sets *size to the byte count.
  // type may be null.
  virtual int32_t QueryValue(HKey key, std::string_view name, uint32_t* type, uint8_t* data,
                             uint32_t* size) = 0;
  // Creates or replaces a value. For the string types (1, 2, 7) a NUL
  // just past size that size left out is counted, as the platform does, so
  // data must be readable at data[size] for them.
  virtual int32_t SetValue(HKey key, std::string_view name, uint32_t type, const uint8_t* data,
                           uint32_t size) = 0;
  virtual int32_t DeleteValue(HKey key, std::string_view name) = 0;
  // Deletes one key without subkeys (its values go with it); a key that has
  // subkeys gives kAccessDenied.
  virtual int32_t DeleteKey(HKey key, std::string_view path) = 0;
  // The name of the subkey at index (in name order) into a buffer of size
  // characters including the terminating NUL; kMoreData when it does not
  // fit, kNoMoreItems past the last.
  virtual int32_t EnumKey(HKey key, uint32_t index, char* name, uint32_t size) = 0;
  // The value at index (in creation order): its name into name (*name_size
  // characters with the NUL in, the length without it out), its type, and
  // its data when data is not null (*data_size in and out). kMoreData when
  // the name or the data does not fit.
  virtual int32_t EnumValue(HKey key, uint32_t index, char* name, uint32_t* name_size,
                            uint32_t* type, uint8_t* data, uint32_t* data_size) = 0;
  // Deletes a key with its whole subtree in one change.
  virtual int32_t DeleteTree(HKey key, std::string_view path) = 0;

  // Groups the calls that follow, up to EndBatch, into one transaction per
  // root: EndBatch(true) makes every change durable at once, EndBatch(false)
  // (or a failed commit) leaves the store as it was at BeginBatch. Each call
  // inside stays atomic on its own: a failing call undoes only itself.
  // Batches do not nest (kBusy for a second BeginBatch); the calls of every
  // thread on this store join the open batch.
  virtual int32_t BeginBatch() = 0;
  virtual int32_t EndBatch(bool commit) = 0;
};

// A batch that ends with the object: committed by Commit, else rolled back.
class StoreBatch {
 public:
  explicit StoreBatch(RegistryStore& store) : store_(store), begun_(store.BeginBatch()) {}
  ~StoreBatch() {
    if (begun_ == kSuccess && !ended_) store_.EndBatch(false);
  }
  StoreBatch(const StoreBatch&) = delete;
  StoreBatch& operator=(const StoreBatch&) = delete;
  // The result of BeginBatch.
  int32_t begun() const { return begun_; }
  // Makes the changes durable; 0 or the platform code of the failed commit
  // (the changes are then gone).
  int32_t Commit() {
    ended_ = true;
    return begun_ == kSuccess ? store_.EndBatch(true) : begun_;
  }

 private:
  RegistryStore& store_;
  int32_t begun_;
  bool ended_ = false;
};

// Closes a handle when it goes (0: nothing to close).
class ScopedKey {
 public:
  explicit ScopedKey(RegistryStore& store) : store_(store) {}
  ~ScopedKey() { Close(); }
  ScopedKey(const ScopedKey&) = delete;
  ScopedKey& operator=(const ScopedKey&) = delete;
  HKey* out() { return &key_; }
  HKey get() const { return key_; }
  // The close's result; 0 when there was nothing to close.
  int32_t Close() {
    int32_t rc = key_ ? store_.CloseKey(key_) : kSuccess;
    key_ = 0;
    return rc;
  }

 private:
  RegistryStore& store_;
  HKey key_ = 0;
};

// The store the library uses: the SQLite store of the folder that
// QOR_REGISTRY_DIR names, else of the default folders (see sqlite_store.h).
// The variable is read at every call; a change of it switches stores.
std::shared_ptr<RegistryStore> DefaultStore();

// The root's name ("HKEY_CURRENT_USER"); "" for a value that is no root.
std::string_view RootName(HKey root);

}  // namespace qor::registry

#endif  // QOR_REGISTRY_STORE_H_
