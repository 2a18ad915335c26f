// qorWinAPIReg: one-call access to the registry and to INI files.
//
// Every registry operation opens the key it needs, does one thing and closes
// the key again; no handle is kept between calls. Roots are the platform's
// predefined handle values (store.h) and are passed through unchecked. Texts
// are UTF-8 here and go to the registry in the 8-bit code page
// (codepage.h); every string read back is cut at its first NUL with
// CutAtNul (globals.h).
//
// Failures never raise: they give False, the caller's default or an
// unchanged by-reference argument, and, when Verbose is True, one ShowError
// report with the texts given at each operation. Two exceptions raise error
// 9999 (Error) to the caller: the export file's reader, and the export file's
// line writers for an unknown root or value type.
//
// The work is split over several files: registry access (winapireg.cc), the
// export file (export_file.cc), cloning and listing (clone.cc) and INI files
// (ini.cc).

#ifndef QOR_REGISTRY_WINAPIREG_H_
#define QOR_REGISTRY_WINAPIREG_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "qorsupport/frame/variant.h"
#include "qorsupport/registry/store.h"

namespace qor {

class Reporter;

class qorWinAPIReg : public Object {
 public:
  // Uses registry::DefaultStore() as it is when the object is made.
  qorWinAPIReg();
  explicit qorWinAPIReg(std::shared_ptr<registry::RegistryStore> store);
  std::string_view ClassName() const override { return "qorWinAPIReg"; }

  // ---- Keys and values ----------------------------------------------------
  bool RegistryCheckKey(int32_t pKey, const std::string& pKeyPath);
  // Creates the key and its missing parents. Verbose is accepted, not used.
  bool RegistryCreateKey(int32_t pKey, const std::string& pKeyPath, bool Verbose = false);
  // Deletes the key with its whole subtree in one platform call.
  bool RegistryDestroyKey(int32_t pKey, const std::string& pKeyPath, bool Verbose = false);
  // Deletes the key by its own walk, which advances its index after every
  // deletion and so passes over every second value and subkey of a level:
  // a key with more than one subkey is left in place and False returned.
  bool RegistryDeleteKey(int32_t pKey, const std::string& pKeyPath, bool Verbose = false);
  bool RegistryDeleteValue(int32_t pKey, const std::string& pKeyPath, const std::string& pValue);

  Variant RegistryGetValueString(int32_t pKey, const std::string& pKeyPath,
                                 const std::string& pValue, const std::string& pDefault = "",
                                 bool Verbose = false);
  bool RegistrySaveValueString(int32_t pKey, const std::string& pKeyPath, const std::string& pValue,
                               const std::string& pData, bool Verbose = false);
  int32_t RegistryGetValueLong(int32_t pKey, const std::string& pKeyPath, const std::string& pValue,
                               int32_t pDefault = 0, bool Verbose = false);
  bool RegistrySaveValueLong(int32_t pKey, const std::string& pKeyPath, const std::string& pValue,
                             int32_t pData, bool Verbose = false);
  // pValue receives the 2000-character buffer: the bytes as characters,
  // then the buffer's blank filler.
  bool RegistryGetValueBinary(int32_t pKey, const std::string& pKeyPath,
                              const std::string& pValueName, std::string& pValue,
                              bool Verbose = false);
  // Writes exactly pValueLength bytes: the characters of pValue in the code
  // page, padded with zero bytes when pValue is shorter.
  bool RegistrySaveValueBinary(int32_t pKey, const std::string& pKeyPath,
                               const std::string& pValueName, const std::string& pValue,
                               int32_t pValueLength, bool Verbose = false);
  // A Long for a DWORD value, a String for a string value, else pDefault.
  Variant RegistryGetValue(int32_t pKey, const std::string& pKeyPath, const std::string& pValue,
                           const Variant& pDefault = Variant(), bool Verbose = false);
  std::string RegErrorMsg(int32_t pErrorCode);

  // ---- Export file --------------------------------------------------------
  // Writes the key's subtree with every value whole; a name or value the
  // format cannot carry as it is (an empty name, a CR or LF, a line that
  // reads back as another kind, a REG_EXPAND_SZ) is left out, named in the
  // report, and gives False. The file is written in one piece.
  bool RegistryWriteKeyToFile(const Variant& pSrcKey, const Variant& pSrcPath,
                              const Variant& pFilePath, bool pAppendMode = false,
                              bool Verbose = false);

  // Applies the file in one batch of the store: all or nothing, with one
  // durable commit. Raises error 9999 for every failure of the content, and
  // the file's own errors (54 for a FIFO, device or folder, 7
  // past 64 MB or a line of 1 MB, 53 for a missing file).
  bool RegistryReadKeyFromFile(const Variant& pFilePath, bool Verbose = false);

  // ---- Cloning and listing ------------------------------------------------
  // Copies the subtree with every value whole, in one batch of the store:
  // a failure or a kill leaves the destination as it was.
  bool RegistryCloneKey(int32_t pSrcKey, const std::string& pSrcPath, int32_t pDestKey,
                        const std::string& pDestPath, bool pCreateIfRequired = false,
                        bool Verbose = false);
  // pNames: a String array receiving the subkey names at 0 .. count-1; left
  // as it is for a key without subkeys. True when the key could be opened.
  bool RegistryGetAllKeys(int32_t pKey, const std::string& pKeyPath, Variant& pNames,
                          bool Verbose = false);
  // pValues: made a (0 To 0, 0 To 1) Variant array first, then rows of
  // name and type for each value. True when the key could be opened.
  bool RegistryGetAllValues(int32_t pKey, const std::string& pKeyPath, Variant& pValues,
                            bool Verbose = false);

  // ---- INI files ----------------------------------------------------------
  // The 256-character buffer as filled (see ini.cc), or Null.
  Variant IniRead(const std::string& pIniName, const std::string& pIniSection,
                  const std::string& pIniKey);
  bool IniWrite(const std::string& pIniName, const std::string& pIniSection,
                const std::string& pIniKey, const Variant& pIniValue);

  registry::RegistryStore& store() { return *store_; }

 private:
  // One entry of an enumeration into the fixed platform buffers (names of
  // 2000 characters, data of 2000 bytes, subkey names of 255), the name cut
  // at its first NUL; 0 or the platform's code. With whole, the buffers
  // grow to hold every name and value the store can hold (the export file
  // and the clone carry them all).
  int32_t EnumValueAt(registry::HKey key, uint32_t index, std::string* name, uint32_t* type,
                      std::string* data, bool whole = false);
  int32_t EnumKeyAt(registry::HKey key, uint32_t index, std::string* name, bool whole = false);
  // Appends the subtree's lines to *out; the values the export file cannot
  // carry are left out and named in *left_out.
  bool WriteSubtree(int32_t root, const std::string& path, std::string* out,
                    std::vector<std::string>* left_out, const Reporter& rep);
  bool CloneSubtree(int32_t pSrcKey, const std::string& pSrcPath, int32_t pDestKey,
                    const std::string& pDestPath, bool pCreateIfRequired, const Reporter& rep);
  bool OpenOrCreate(int32_t pKey, const std::string& pKeyPath, registry::HKey* handle);

  std::shared_ptr<registry::RegistryStore> store_;
};

}  // namespace qor

#endif  // QOR_REGISTRY_WINAPIREG_H_
