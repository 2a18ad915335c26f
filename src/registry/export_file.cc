// qorWinAPIReg: writing a key's subtree to the export file and applying an
// export file to the registry.

#include <cstdio>
#include <fstream>

#include "qorsupport/frame/error.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/report.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/frame/vb_date.h"
#include "qorsupport/registry/winapireg.h"
#include "registry/codepage.h"
#include "registry/export_format.h"

namespace qor::registry {
namespace {

// "dd-mm-yyyy hh:nn:ss".
std::string ExportTimeStamp(Date when) {
  vb::DateParts p = vb::SplitDate(when);
  char text[32];
  std::snprintf(text, sizeof text, "%02d-%02d-%04d %02d:%02d:%02d", p.day, p.month, p.year, p.hour,
                p.minute, p.second);
  return text;
}

// Each line opens the file for appending, writes and closes it again;
// start empties (or makes) the file first.
void AppendLine(const std::string& file, std::string_view line, bool start = false) {
  std::ofstream out(file, std::ios::binary | (start ? std::ios::trunc : std::ios::app));
  if (out) out << line << "\r\n";
  if (!out) Raise(75, "RegistryWriteKeyToFile()", ErrorText(75));
}

// Runs a body whose 9999 errors go to the caller; every other error is
// reported as usual and gives False.
template <typename Body>
bool PassingCritical(const Reporter& rep, Body&& body) {
  try {
    return body();
  } catch (const Error& e) {
    if (e.number() == err::kCritical) throw;
    rep.Unexpected(e);
  } catch (...) {
    rep.Unexpected(ErrorFromException(std::current_exception()));
  }
  return false;
}

}  // namespace
}  // namespace qor::registry

namespace qor {

using registry::HKey;
using registry::ScopedKey;

bool qorWinAPIReg::RegistryWriteKeyToFile(const Variant& pSrcKey, const Variant& pSrcPath,
                                          const Variant& pFilePath, bool pAppendMode,
                                          bool Verbose) {
  Reporter rep("RegistryWriteKeyToFile", Verbose);
  return registry::PassingCritical(rep, [&] {
    int32_t root = vb::CLng(pSrcKey);
    std::string path = vb::CStr(pSrcPath);
    std::string file = vb::CStr(pFilePath);
    std::string stamp = registry::ExportTimeStamp(vb::Now());
    if (!pAppendMode) registry::AppendLine(file, "", true);
    registry::AppendLine(file, "// " + stamp);
    registry::AppendLine(file, "");
    return WriteSubtree(root, path, file, Verbose);
  });
}

bool qorWinAPIReg::WriteSubtree(int32_t root, const std::string& path, const std::string& file,
                                bool verbose) {
  Reporter rep("RegistryWriteKeyToFile", verbose);
  ScopedKey key(*store_);
  std::string cp_path = registry::ToCodePage(path);
  if (store_->OpenKey(root, cp_path, key.out()) != registry::kSuccess) {
    rep.Fail("Unable to open Source key");
    return false;
  }
  registry::AppendLine(file, registry::KeyLine(root, cp_path));
  std::string name;
  std::string data;
  uint32_t type = 0;
  for (uint32_t index = 0; EnumValueAt(key.get(), index, &name, &type, &data) == 0; ++index) {
    if (type == registry::kRegDword || type == registry::kRegBinary) {
      if (!RereadValue(key.get(), name, type, &data, rep)) return false;
    } else if (type != registry::kRegSz && type != registry::kRegExpandSz) {
      rep.Fail("Unsupported value type " + std::to_string(type) + " on " +
               registry::FromCodePage(name));
      return false;
    }
    registry::AppendLine(file, registry::ValueLine(type, name, data, data.size()));
  }
  registry::AppendLine(file, "");
  for (uint32_t index = 0; EnumKeyAt(key.get(), index, &name) == 0; ++index) {
    if (!WriteSubtree(root, path + "\\" + registry::FromCodePage(name), file, verbose)) {
      rep.Fail("Recursive call error on " + path);
      return false;
    }
  }
  return true;
}

bool qorWinAPIReg::RegistryReadKeyFromFile(const Variant& pFilePath, bool Verbose) {
  constexpr const char* kSource = "RegistryReadKeyFromFile()";
  std::string file = vb::CStr(pFilePath);
  std::ifstream in(file, std::ios::binary);
  if (!in) Raise(err::kFileNotFound, kSource, ErrorText(err::kFileNotFound));
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  int32_t root = 0;
  std::string path;
  for (std::string_view raw : registry::SplitExportLines(bytes)) {
    registry::ExportLine line = registry::ParseExportLine(raw);
    if (!line.content) continue;
    if (line.root != 0 && line.type == 0) {
      root = line.root;
      path = registry::FromCodePage(line.key_path);
      if (!RegistryCreateKey(root, path, Verbose)) {
        Raise(err::kCritical, kSource, "Error creating key " + path);
      }
      continue;
    }
    std::string name = registry::FromCodePage(line.value_name);
    if (line.root != 0 || line.type == 0 || IsBlank(Variant(name), true)) {
      Raise(err::kCritical, kSource, "State error");
    }
    if (line.type == registry::kRegBinary) {
      if (!RegistrySaveValueBinary(root, path, name, registry::FromCodePage(line.data),
                                   static_cast<int32_t>(line.data.size()), Verbose)) {
        Raise(err::kCritical, kSource, "Error writing REG_BINARY " + name);
      }
    } else if (line.type == registry::kRegDword) {
      if (!RegistrySaveValueLong(root, path, name, line.number, Verbose)) {
        Raise(err::kCritical, kSource, "Error writing REG_DWORD " + name);
      }
    } else if (!RegistrySaveValueString(root, path, name, registry::FromCodePage(line.data),
                                        Verbose)) {
      Raise(err::kCritical, kSource, "Error writing REG_SZ " + name);
    }
  }
  return true;
}

}  // namespace qor
