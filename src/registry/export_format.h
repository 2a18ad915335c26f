// The registry export file: a text file in Windows-1252 with CR LF line
// ends, holding key lines ("[HKEY_CURRENT_USER]Software\Acme"), value lines
// ("Name=text", "Count=DWORD:0000001F", "Mask=HEX:0A,FF,00"), comments and
// empty lines. qorWinAPIReg::RegistryWriteKeyToFile and
// RegistryReadKeyFromFile (export_file.cc) are built on the pieces here,
// which work on code-page bytes and need nothing but the error type (so the
// fuzz target builds them alone).
//
// The parser keeps the format's rules as they are: the root names and the
// "HEX:" and "DWORD:" markers are found anywhere in a line and a fixed
// number of characters is then cut from its front, so a string holding a
// marker reads back as the wrong kind. Errors are raised as error 9999 with
// the routine's name and "()" as the source.

#ifndef QOR_REGISTRY_EXPORT_FORMAT_H_
#define QOR_REGISTRY_EXPORT_FORMAT_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "qorsupport/registry/store.h"

namespace qor::registry {

// What regParseFileLine finds in one line.
struct ExportLine {
  bool content = false;
  HKey root = 0;  // non-zero for a key line
  std::string key_path;
  std::string value_name;
  uint32_t type = 0;   // 1 text, 3 bytes, 4 number; 0 for a key line
  std::string data;    // the text, or the bytes for type 3
  int32_t number = 0;  // the number for type 4
};

// Parses one line (without its line end). A value line without "=" raises
// 9999 "Panic - no equals sign" from "regParseFileLine()".
ExportLine ParseExportLine(std::string_view line);

// The file's lines: each ends at CR LF (a lone CR or LF ends one too); a
// last line without a line end counts.
std::vector<std::string_view> SplitExportLines(std::string_view bytes);

// A key line; a root the format does not know raises 9999 "Invalid
// registry key" from "writeLineRegKey()".
std::string KeyLine(HKey root, std::string_view path);
// A value line for type 1 or 2 (data cut at its first NUL), 4 (data holds
// the four bytes) or 3 (the first length bytes of data); another type
// raises 9999 "Invalid value type" from "writeLineRegValue()".
std::string ValueLine(uint32_t type, std::string_view name, std::string_view data, uint32_t length);

}  // namespace qor::registry

#endif  // QOR_REGISTRY_EXPORT_FORMAT_H_
