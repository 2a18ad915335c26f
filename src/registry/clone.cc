// qorWinAPIReg: copying a key with its subtree, and listing a key's subkeys
// and values.

#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/report.h"
#include "qorsupport/registry/winapireg.h"
#include "registry/codepage.h"

namespace qor {

using registry::FromCodePage;
using registry::HKey;
using registry::ScopedKey;
using registry::ToCodePage;

bool qorWinAPIReg::RegistryCloneKey(int32_t pSrcKey, const std::string& pSrcPath, int32_t pDestKey,
                                    const std::string& pDestPath, bool pCreateIfRequired,
                                    bool Verbose) {
  Reporter rep("RegistryCloneKey", Verbose);
  return Guard(rep, false, [&] {
    // One batch: a failure (or a kill) leaves the destination as it was.
    registry::StoreBatch batch(*store_);
    if (batch.begun() != registry::kSuccess) {
      rep.Fail("The registry store is busy");
      return false;
    }
    if (!CloneSubtree(pSrcKey, pSrcPath, pDestKey, pDestPath, pCreateIfRequired, rep)) {
      return false;
    }
    if (int32_t rc = batch.Commit(); rc != registry::kSuccess) {
      rep.Fail("The copy could not be committed (" + std::to_string(rc) + ")");
      return false;
    }
    return true;
  });
}

bool qorWinAPIReg::CloneSubtree(int32_t pSrcKey, const std::string& pSrcPath, int32_t pDestKey,
                                const std::string& pDestPath, bool pCreateIfRequired,
                                const Reporter& rep) {
  ScopedKey src(*store_);
  ScopedKey dest(*store_);
  if (store_->OpenKey(pSrcKey, ToCodePage(pSrcPath), src.out()) != registry::kSuccess) {
    rep.Fail("Unable to open Source key");
    return false;
  }
  std::string dest_path = ToCodePage(pDestPath);
  if (store_->OpenKey(pDestKey, dest_path, dest.out()) != registry::kSuccess) {
    if (!pCreateIfRequired) {
      rep.Fail("Unable to open Destination key");
      return false;
    }
    if (store_->CreateKey(pDestKey, dest_path, dest.out()) != registry::kSuccess) {
      rep.Fail("Unable to create new key");
      return false;
    }
  }
  // Subkeys first; their destinations are made as the copy goes.
  std::string name;
  int32_t rc;
  for (uint32_t index = 0; (rc = EnumKeyAt(src.get(), index, &name, true)) == 0; ++index) {
    std::string sub = "\\" + FromCodePage(name);
    if (!CloneSubtree(pSrcKey, pSrcPath + sub, pDestKey, pDestPath + sub, true, rep)) {
      rep.Fail("Recursive call error on " + pSrcPath);
      return false;
    }
  }
  if (rc != registry::kNoMoreItems) {
    rep.Fail("Error reading the subkeys of " + pSrcPath);
    return false;
  }
  std::string data;
  uint32_t type = 0;
  for (uint32_t index = 0; (rc = EnumValueAt(src.get(), index, &name, &type, &data, true)) == 0;
       ++index) {
    std::string shown = FromCodePage(name);
    std::string kind;
    if (type == registry::kRegDword || type == registry::kRegBinary) {
      kind = type == registry::kRegDword ? "DWORD" : "BINARY";
    } else if (type == registry::kRegSz || type == registry::kRegExpandSz) {
      kind = "string";
    } else {
      rep.Fail("Unsupported value type " + std::to_string(type) + " on " + shown);
      return false;
    }
    // The data as stored, its NUL included: SetValue counts it again only
    // when it is missing.
    data.push_back('\0');
    if (store_->SetValue(dest.get(), name, type, reinterpret_cast<const uint8_t*>(data.data()),
                         static_cast<uint32_t>(data.size() - 1)) != registry::kSuccess) {
      rep.Fail("Error writing " + kind + " value " + shown);
      return false;
    }
  }
  if (rc != registry::kNoMoreItems) {
    rep.Fail("Error reading the values of " + pSrcPath);
    return false;
  }
  return true;
}

bool qorWinAPIReg::RegistryGetAllKeys(int32_t pKey, const std::string& pKeyPath, Variant& pNames,
                                      bool Verbose) {
  Reporter rep("RegistryGetAllKeys", Verbose);
  return Guard(rep, false, [&] {
    ScopedKey key(*store_);
    if (store_->OpenKey(pKey, ToCodePage(pKeyPath), key.out()) != registry::kSuccess) {
      rep.Fail("key open error");
      return false;
    }
    std::string name;
    for (int32_t index = 0; EnumKeyAt(key.get(), static_cast<uint32_t>(index), &name) == 0;
         ++index) {
      // ReDim Preserve pNames(index).
      if (pNames.IsArray()) {
        pNames.AsArray().RedimPreserve({{0, index}});
      } else {
        pNames = Array(VarType::kString, {{0, index}});
      }
      pNames.AsArray().At({index}) = Variant(FromCodePage(name));
    }
    return true;
  });
}

bool qorWinAPIReg::RegistryGetAllValues(int32_t pKey, const std::string& pKeyPath, Variant& pValues,
                                        bool Verbose) {
  Reporter rep("RegistryGetAllValues", Verbose);
  pValues = Array(VarType::kVariant, {{0, 0}, {0, 1}});
  return Guard(rep, false, [&] {
    ScopedKey key(*store_);
    if (store_->OpenKey(pKey, ToCodePage(pKeyPath), key.out()) != registry::kSuccess) {
      rep.Fail("Cannot open keyzzz");
      return false;
    }
    std::vector<std::pair<std::string, int32_t>> rows;
    for (uint32_t index = 0;; ++index) {
      std::string name(2000, '\0');
      uint32_t name_size = 2000;
      uint32_t type = 0;
      if (store_->EnumValue(key.get(), index, name.data(), &name_size, &type, nullptr, nullptr) !=
          registry::kSuccess) {
        break;
      }
      rows.emplace_back(FromCodePage(CutAtNul(name)), static_cast<int32_t>(type));
    }
    if (!rows.empty()) {
      Array grown(VarType::kVariant, {{0, static_cast<int32_t>(rows.size()) - 1}, {0, 1}});
      for (int32_t i = 0; i < static_cast<int32_t>(rows.size()); ++i) {
        grown.At({i, 0}) = Variant(rows[i].first);
        grown.At({i, 1}) = Variant(rows[i].second);
      }
      pValues = std::move(grown);
    }
    return true;
  });
}

}  // namespace qor
