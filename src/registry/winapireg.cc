#include "qorsupport/registry/winapireg.h"

#include <cstring>

#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/report.h"
#include "qorsupport/frame/vb.h"
#include "registry/codepage.h"

namespace qor {

using registry::HKey;
using registry::ScopedKey;
using registry::ToCodePage;

namespace {

constexpr uint32_t kNameBuffer = 2000;
constexpr uint32_t kDataBuffer = 2000;
constexpr uint32_t kKeyBuffer = 255;

int32_t LongFromBytes(const uint8_t* bytes) {
  uint32_t u = uint32_t{bytes[0]} | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 |
               uint32_t{bytes[3]} << 24;
  return static_cast<int32_t>(u);
}

}  // namespace

qorWinAPIReg::qorWinAPIReg() : qorWinAPIReg(registry::DefaultStore()) {}

qorWinAPIReg::qorWinAPIReg(std::shared_ptr<registry::RegistryStore> store)
    : store_(std::move(store)) {}

bool qorWinAPIReg::RegistryCheckKey(int32_t pKey, const std::string& pKeyPath) {
  return Guard(Reporter("RegistryCheckKey", false), false, [&] {
    ScopedKey key(*store_);
    return store_->OpenKey(pKey, ToCodePage(pKeyPath), key.out()) == registry::kSuccess;
  });
}

bool qorWinAPIReg::RegistryCreateKey(int32_t pKey, const std::string& pKeyPath, bool /*Verbose*/) {
  return Guard(Reporter("RegistryCreateKey", false), false, [&] {
    ScopedKey key(*store_);
    return store_->CreateKey(pKey, ToCodePage(pKeyPath), key.out()) == registry::kSuccess;
  });
}

bool qorWinAPIReg::RegistryDestroyKey(int32_t pKey, const std::string& pKeyPath, bool Verbose) {
  Reporter rep("RegistryDestroyKey", Verbose);
  return Guard(rep, false, [&] {
    int32_t rc = store_->DeleteTree(pKey, ToCodePage(pKeyPath));
    if (rc == registry::kSuccess) return true;
    rep.Fail("SHDeleteKey returned error code: " + std::to_string(rc));
    return false;
  });
}

bool qorWinAPIReg::RegistryDeleteKey(int32_t pKey, const std::string& pKeyPath, bool /*Verbose*/) {
  return Guard(Reporter("RegistryDeleteKey", false), false, [&] {
    ScopedKey key(*store_);
    if (store_->OpenKey(pKey, ToCodePage(pKeyPath), key.out()) != registry::kSuccess) return false;
    std::string name;
    std::string data;
    uint32_t type = 0;
    for (uint32_t index = 0; EnumValueAt(key.get(), index, &name, &type, &data) == 0; ++index) {
      if (!RegistryDeleteValue(pKey, pKeyPath, registry::FromCodePage(name))) return false;
    }
    for (uint32_t index = 0; EnumKeyAt(key.get(), index, &name) == 0; ++index) {
      if (!RegistryDeleteKey(pKey, pKeyPath + "\\" + registry::FromCodePage(name), false)) {
        return false;
      }
    }
    if (key.Close() != registry::kSuccess) return false;
    return store_->DeleteKey(pKey, ToCodePage(pKeyPath)) == registry::kSuccess;
  });
}

int32_t qorWinAPIReg::EnumValueAt(HKey key, uint32_t index, std::string* name, uint32_t* type,
                                  std::string* data, bool whole) {
  uint32_t name_buffer_size = whole ? registry::kMaxValueNameLength + 1 : kNameBuffer;
  std::string name_buffer(name_buffer_size, '\0');
  data->assign(kDataBuffer, '\0');
  for (;;) {
    uint32_t name_size = name_buffer_size;
    uint32_t data_size = static_cast<uint32_t>(data->size());
    int32_t rc = store_->EnumValue(key, index, name_buffer.data(), &name_size, type,
                                   reinterpret_cast<uint8_t*>(data->data()), &data_size);
    if (whole && rc == registry::kMoreData && data_size > data->size()) {
      data->assign(data_size, '\0');
      continue;
    }
    if (rc != registry::kSuccess) return rc;
    *name = CutAtNul(name_buffer);
    data->resize(data_size);
    return rc;
  }
}

int32_t qorWinAPIReg::EnumKeyAt(HKey key, uint32_t index, std::string* name, bool whole) {
  uint32_t size = whole ? registry::kMaxKeyNameLength + 1 : kKeyBuffer;
  std::string buffer(size, ' ');
  int32_t rc = store_->EnumKey(key, index, buffer.data(), size);
  if (rc == registry::kSuccess) *name = CutAtNul(buffer);
  return rc;
}

bool qorWinAPIReg::RegistryDeleteValue(int32_t pKey, const std::string& pKeyPath,
                                       const std::string& pValue) {
  return Guard(Reporter("RegistryDeleteValue", false), false, [&] {
    ScopedKey key(*store_);
    if (store_->OpenKey(pKey, ToCodePage(pKeyPath), key.out()) != registry::kSuccess) return false;
    return store_->DeleteValue(key.get(), ToCodePage(pValue)) == registry::kSuccess;
  });
}

Variant qorWinAPIReg::RegistryGetValueString(int32_t pKey, const std::string& pKeyPath,
                                             const std::string& pValue, const std::string& pDefault,
                                             bool Verbose) {
  Reporter rep("RegistryGetValueString", Verbose);
  return Guard(rep, Variant(pDefault), [&] {
    Variant result(pDefault);
    ScopedKey key(*store_);
    if (store_->OpenKey(pKey, ToCodePage(pKeyPath), key.out()) != registry::kSuccess) {
      rep.Fail("error opening key");
      return result;
    }
    std::string name = ToCodePage(pValue);
    uint32_t type = 0;
    uint32_t size = 0;
    if (store_->QueryValue(key.get(), name, &type, nullptr, &size) != registry::kSuccess) {
      rep.Fail("key get size error");
      return result;
    }
    if (type == registry::kRegSz || type == registry::kRegExpandSz) {
      std::string buffer(size, ' ');
      store_->QueryValue(key.get(), name, &type, reinterpret_cast<uint8_t*>(buffer.data()), &size);
      result = registry::FromCodePage(CutAtNul(buffer));
    } else {
      rep.Fail("key is not a string, type is : " + std::to_string(type));
    }
    return result;
  });
}

bool qorWinAPIReg::OpenOrCreate(int32_t pKey, const std::string& pKeyPath, HKey* handle) {
  std::string path = ToCodePage(pKeyPath);
  if (RegistryCheckKey(pKey, pKeyPath)) {
    return store_->OpenKey(pKey, path, handle) == registry::kSuccess;
  }
  return store_->CreateKey(pKey, path, handle) == registry::kSuccess;
}

bool qorWinAPIReg::RegistrySaveValueString(int32_t pKey, const std::string& pKeyPath,
                                           const std::string& pValue, const std::string& pData,
                                           bool /*Verbose*/) {
  return Guard(Reporter("RegistrySaveValueString", false), false, [&] {
    ScopedKey key(*store_);
    if (!OpenOrCreate(pKey, pKeyPath, key.out())) return false;
    std::string bytes = ToCodePage(pData);
    return store_->SetValue(key.get(), ToCodePage(pValue), registry::kRegSz,
                            reinterpret_cast<const uint8_t*>(bytes.data()),
                            static_cast<uint32_t>(bytes.size())) == registry::kSuccess;
  });
}

int32_t qorWinAPIReg::RegistryGetValueLong(int32_t pKey, const std::string& pKeyPath,
                                           const std::string& pValue, int32_t pDefault,
                                           bool Verbose) {
  Reporter rep("RegistryGetValueLong", Verbose);
  return Guard(rep, pDefault, [&] {
    ScopedKey key(*store_);
    if (store_->OpenKey(pKey, ToCodePage(pKeyPath), key.out()) != registry::kSuccess) {
      return pDefault;
    }
    uint8_t bytes[4] = {0, 0, 0, 0};
    uint32_t type = 0;
    uint32_t size = 4;
    int32_t rc = store_->QueryValue(key.get(), ToCodePage(pValue), &type, bytes, &size);
    if (rc == registry::kSuccess && type == registry::kRegDword) return LongFromBytes(bytes);
    rep.Fail(rc != registry::kSuccess ? "key size error" : "key is not a long");
    return pDefault;
  });
}

bool qorWinAPIReg::RegistrySaveValueLong(int32_t pKey, const std::string& pKeyPath,
                                         const std::string& pValue, int32_t pData,
                                         bool /*Verbose*/) {
  return Guard(Reporter("RegistrySaveValueLong", false), false, [&] {
    ScopedKey key(*store_);
    if (!OpenOrCreate(pKey, pKeyPath, key.out())) return false;
    uint32_t u = static_cast<uint32_t>(pData);
    uint8_t bytes[4] = {static_cast<uint8_t>(u), static_cast<uint8_t>(u >> 8),
                        static_cast<uint8_t>(u >> 16), static_cast<uint8_t>(u >> 24)};
    return store_->SetValue(key.get(), ToCodePage(pValue), registry::kRegDword, bytes, 4) ==
           registry::kSuccess;
  });
}

bool qorWinAPIReg::RegistryGetValueBinary(int32_t pKey, const std::string& pKeyPath,
                                          const std::string& pValueName, std::string& pValue,
                                          bool Verbose) {
  Reporter rep("RegistryGetValueBinary", Verbose);
  return Guard(rep, false, [&] {
    ScopedKey key(*store_);
    if (store_->OpenKey(pKey, ToCodePage(pKeyPath), key.out()) != registry::kSuccess) {
      rep.Fail("Unable to open key");
      return false;
    }
    std::string buffer(kDataBuffer, ' ');
    uint32_t type = registry::kRegBinary;
    uint32_t size = kDataBuffer;
    if (store_->QueryValue(key.get(), ToCodePage(pValueName), &type,
                           reinterpret_cast<uint8_t*>(buffer.data()),
                           &size) != registry::kSuccess) {
      rep.Fail("Error reading BINARY value " + pValueName);
      return false;
    }
    if (type != registry::kRegBinary) {
      rep.Fail("BINARY value type mis-match on " + pValueName);
      return false;
    }
    pValue = registry::FromCodePage(buffer);
    return true;
  });
}

bool qorWinAPIReg::RegistrySaveValueBinary(int32_t pKey, const std::string& pKeyPath,
                                           const std::string& pValueName, const std::string& pValue,
                                           int32_t pValueLength, bool Verbose) {
  Reporter rep("RegistrySaveValueBinary", Verbose);
  return Guard(rep, false, [&] {
    ScopedKey key(*store_);
    std::string path = ToCodePage(pKeyPath);
    if (RegistryCheckKey(pKey, pKeyPath)) {
      if (store_->OpenKey(pKey, path, key.out()) != registry::kSuccess) {
        rep.Fail("Unable to open key");
        return false;
      }
    } else if (store_->CreateKey(pKey, path, key.out()) != registry::kSuccess) {
      rep.Fail("Unable to create key");
      return false;
    }
    int32_t rc = registry::kInvalidParameter;
    if (pValueLength >= 0) {
      std::string bytes = ToCodePage(pValue);
      bytes.resize(static_cast<size_t>(pValueLength), '\0');
      rc = store_->SetValue(key.get(), ToCodePage(pValueName), registry::kRegBinary,
                            reinterpret_cast<const uint8_t*>(bytes.data()),
                            static_cast<uint32_t>(bytes.size()));
    }
    if (rc != registry::kSuccess) {
      rep.Fail("Error writing BINARY value " + pValueName);
      return false;
    }
    return true;
  });
}

Variant qorWinAPIReg::RegistryGetValue(int32_t pKey, const std::string& pKeyPath,
                                       const std::string& pValue, const Variant& pDefault,
                                       bool Verbose) {
  Reporter rep("RegistryGetValue", Verbose);
  return Guard(rep, pDefault, [&] {
    Variant result = pDefault;
    ScopedKey key(*store_);
    if (store_->OpenKey(pKey, ToCodePage(pKeyPath), key.out()) != registry::kSuccess) {
      rep.Fail("Error opening key");
      return result;
    }
    std::string name = ToCodePage(pValue);
    uint32_t type = 0;
    uint32_t size = 0;
    if (store_->QueryValue(key.get(), name, &type, nullptr, &size) != registry::kSuccess) {
      rep.Fail("Key get size error");
      return result;
    }
    if (type == registry::kRegDword) {
      uint8_t bytes[4] = {0, 0, 0, 0};
      uint32_t four = 4;
      store_->QueryValue(key.get(), name, &type, bytes, &four);
      result = Variant(LongFromBytes(bytes));
    } else if (type == registry::kRegSz || type == registry::kRegExpandSz) {
      std::string buffer(size, ' ');
      store_->QueryValue(key.get(), name, &type, reinterpret_cast<uint8_t*>(buffer.data()), &size);
      result = registry::FromCodePage(CutAtNul(buffer));
    } else {
      rep.Fail("Un-Supported Key Size");
    }
    return result;
  });
}

std::string qorWinAPIReg::RegErrorMsg(int32_t pErrorCode) {
  switch (pErrorCode) {
    case 2:
    case 1010:
      return "Bad Key Name";
    case 4:
    case 1012:
      return "Can't Read Key";
    case 5:
      return "Access to this key is denied";
    case 8:
    case 14:
      return "Out of memory";
    case 87:
      return "Invalid Parameter";
    case 234:
      return "There is more data than the buffer has been allocated to hold.";
    case 1009:
    case 1015:
      return "The Registry Database is corrupt!";
    case 1011:
      return "Can't Open Key";
    case 1013:
      return "Can't Write Key";
    default:
      return "Undefined Error Code:  " + std::string(pErrorCode < 0 ? "" : " ") +
             std::to_string(pErrorCode);
  }
}

}  // namespace qor
