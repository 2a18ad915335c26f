// qorWinAPIReg: writing a key's subtree to the export file and applying an
// export file to the registry.

#include <cstdio>
#include <cstring>
#include <fstream>

#include "qorsupport/frame/error.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/report.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/frame/vb_date.h"
#include "qorsupport/registry/winapireg.h"
#include "registry/bounded_file.h"
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

// Writes the export text in one piece: appended, or replacing the file.
void WriteExport(const std::string& file, std::string_view text, bool append) {
  // A FIFO, device or folder is refused before it is opened (a FIFO without
  // a reader would hold the call).
  FileIdentity identity;
  if (FileError e = StatFile(file, &identity); e && e.number != 53) {
    Raise(e.number, "RegistryWriteKeyToFile()", e.description);
  }
  std::ofstream out(file, std::ios::binary | (append ? std::ios::app : std::ios::trunc));
  if (out) out << text;
  if (out) out.flush();
  if (!out) Raise(75, "RegistryWriteKeyToFile()", ErrorText(75));
}

// Whether a value line reads back as the value it was written from.
bool Carries(std::string_view line, std::string_view name, uint32_t type, std::string_view data) {
  if (name.find_first_not_of(' ') == std::string_view::npos) return false;
  if (line.find_first_of("\r\n") != std::string_view::npos) return false;
  if (type == kRegExpandSz) return false;
  try {
    ExportLine back = ParseExportLine(line);
    if (!back.content || back.root != 0 || back.type != type || back.value_name != name) {
      return false;
    }
    if (type == kRegDword) {
      return data.size() == 4 && std::memcmp(&back.number, data.data(), 4) == 0;
    }
    // A string reads back with the one NUL that ends it, and no more.
    return back.data == data || (type == kRegSz && back.data + '\0' == data);
  } catch (const Error&) {
    return false;
  }
}

// Whether a key line reads back as the key it was written from.
bool CarriesKey(std::string_view line, HKey root, std::string_view path) {
  if (line.find_first_of("\r\n") != std::string_view::npos) return false;
  ExportLine back = ParseExportLine(line);
  return back.root == root && back.type == 0 && back.key_path == path;
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
    // A new file starts with an empty line; an appended tree does not.
    std::string text = pAppendMode ? "" : "\r\n";
    text += "// " + registry::ExportTimeStamp(vb::Now()) + "\r\n\r\n";
    if (!pAppendMode) registry::WriteExport(file, "", false);
    std::vector<std::string> left_out;
    bool ok = WriteSubtree(root, path, &text, &left_out, rep);
    registry::WriteExport(file, text, true);
    if (ok && !left_out.empty()) {
      std::string names;
      for (const std::string& n : left_out) names += (names.empty() ? "" : ", ") + n;
      rep.Fail("The export file cannot carry " + std::to_string(left_out.size()) +
               " value(s), left out: " + names);
      return false;
    }
    if (ok && text.size() > registry::kMaxTextFileSize) {
      rep.Fail("The export file is larger than 64 MB and cannot be read back");
      return false;
    }
    return ok;
  });
}

bool qorWinAPIReg::WriteSubtree(int32_t root, const std::string& path, std::string* out,
                                std::vector<std::string>* left_out, const Reporter& rep) {
  ScopedKey key(*store_);
  std::string cp_path = registry::ToCodePage(path);
  if (store_->OpenKey(root, cp_path, key.out()) != registry::kSuccess) {
    rep.Fail("Unable to open Source key");
    return false;
  }
  std::string line = registry::KeyLine(root, cp_path);
  if (!registry::CarriesKey(line, root, cp_path)) {
    left_out->push_back("key " + std::string(registry::RootName(root)) + "\\" + path);
    return true;
  }
  *out += line + "\r\n";
  std::string name;
  std::string data;
  uint32_t type = 0;
  int32_t rc;
  for (uint32_t index = 0; (rc = EnumValueAt(key.get(), index, &name, &type, &data, true)) == 0;
       ++index) {
    if (type != registry::kRegDword && type != registry::kRegBinary && type != registry::kRegSz &&
        type != registry::kRegExpandSz) {
      rep.Fail("Unsupported value type " + std::to_string(type) + " on " +
               registry::FromCodePage(name));
      return false;
    }
    line = registry::ValueLine(type, name, data, static_cast<uint32_t>(data.size()));
    if (!registry::Carries(line, name, type, data)) {
      left_out->push_back(path + "\\" +
                          (name.empty() ? "(default)" : registry::FromCodePage(name)));
      continue;
    }
    *out += line + "\r\n";
  }
  if (rc != registry::kNoMoreItems) {
    rep.Fail("Error reading the values of " + path);
    return false;
  }
  *out += "\r\n";
  for (uint32_t index = 0; (rc = EnumKeyAt(key.get(), index, &name, true)) == 0; ++index) {
    if (!WriteSubtree(root, path + "\\" + registry::FromCodePage(name), out, left_out, rep)) {
      rep.Fail("Recursive call error on " + path);
      return false;
    }
  }
  if (rc != registry::kNoMoreItems) {
    rep.Fail("Error reading the subkeys of " + path);
    return false;
  }
  return true;
}

bool qorWinAPIReg::RegistryReadKeyFromFile(const Variant& pFilePath, bool Verbose) {
  constexpr const char* kSource = "RegistryReadKeyFromFile()";
  std::string file = vb::CStr(pFilePath);
  std::string bytes;
  if (registry::FileError e = registry::ReadBoundedFile(file, &bytes)) {
    Raise(e.number, kSource, e.description);
  }
  // One batch: a failure (or a kill) leaves the store as it was.
  registry::StoreBatch batch(*store_);
  if (batch.begun() != registry::kSuccess) {
    Raise(err::kCritical, kSource, "The registry store is busy");
  }
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
  if (int32_t rc = batch.Commit(); rc != registry::kSuccess) {
    Raise(err::kCritical, kSource,
          "The changes could not be committed (" + std::to_string(rc) + ")");
  }
  return true;
}

}  // namespace qor
