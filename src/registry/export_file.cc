#include "registry/export_file.h"

#include <cstdio>
#include <fstream>

#include "frame/error.h"
#include "frame/globals.h"
#include "frame/report.h"
#include "frame/vb.h"
#include "frame/vb_date.h"
#include "registry/codepage.h"
#include "registry/winapireg.h"

namespace qor::registry {
namespace {

struct RootText {
  std::string_view text;
  HKey root;
};
// In the order the parser tries them.
constexpr RootText kRoots[] = {
    {"[HKEY_CLASSES_ROOT]", kClassesRoot},     {"[HKEY_CURRENT_USER]", kCurrentUser},
    {"[HKEY_LOCAL_MACHINE]", kLocalMachine},   {"[HKEY_USERS]", kUsers},
    {"[HKEY_CURRENT_CONFIG]", kCurrentConfig},
};

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Val("&H" + text): the leading hexadecimal digits as a 32-bit number in
// two's complement, 0 when there are none; more than eight significant
// digits overflow (error 6).
int32_t HexVal(std::string_view text) {
  size_t i = 0;
  while (i < text.size() && text[i] == ' ') ++i;
  uint64_t value = 0;
  for (; i < text.size() && HexDigit(text[i]) >= 0; ++i) {
    value = value * 16 + HexDigit(text[i]);
    if (value > 0xFFFFFFFFull) Raise(err::kOverflow, "regParseFileLine()", ErrorText(6));
  }
  return static_cast<int32_t>(static_cast<uint32_t>(value));
}

bool IsBlankText(std::string_view s) { return s.find_first_not_of(' ') == std::string_view::npos; }

}  // namespace

ExportLine ParseExportLine(std::string_view line) {
  ExportLine out;
  if (IsBlankText(line)) return out;
  if (line.substr(0, 2) == "//" || line.substr(0, 1) == ";" || line.substr(0, 1) == "#") return out;
  for (const RootText& r : kRoots) {
    if (line.find(r.text) != std::string_view::npos) {
      out.root = r.root;
      out.key_path = std::string(line.substr(std::min(line.size(), r.text.size())));
      out.content = true;
      return out;
    }
  }
  size_t eq = line.find('=');
  if (eq == std::string_view::npos) {
    Raise(err::kCritical, "regParseFileLine()", "Panic - no equals sign");
  }
  out.value_name = std::string(line.substr(0, eq));
  std::string_view data = line.substr(eq + 1);
  if (data.find("HEX:") != std::string_view::npos) {
    std::string_view hex = data.substr(std::min<size_t>(4, data.size()));
    for (size_t pos = 0; pos < hex.size(); pos += 3) {
      out.data.push_back(static_cast<char>(HexVal(hex.substr(pos, 2))));
    }
    out.type = kRegBinary;
  } else if (data.find("DWORD:") != std::string_view::npos) {
    out.number = HexVal(data.substr(std::min<size_t>(6, data.size())));
    out.type = kRegDword;
  } else {
    out.data = std::string(data);
    out.type = kRegSz;
  }
  out.content = true;
  return out;
}

std::vector<std::string_view> SplitExportLines(std::string_view bytes) {
  std::vector<std::string_view> lines;
  size_t start = 0;
  while (start < bytes.size()) {
    size_t end = bytes.find_first_of("\r\n", start);
    if (end == std::string_view::npos) {
      lines.push_back(bytes.substr(start));
      break;
    }
    lines.push_back(bytes.substr(start, end - start));
    start = end + (bytes.compare(end, 2, "\r\n") == 0 ? 2 : 1);
  }
  return lines;
}

std::string KeyLine(HKey root, std::string_view path) {
  for (const RootText& r : kRoots) {
    if (r.root == root) return std::string(r.text) + std::string(path);
  }
  Raise(err::kCritical, "writeLineRegKey()", "Invalid registry key");
}

std::string ValueLine(uint32_t type, std::string_view name, std::string_view data,
                      uint32_t length) {
  std::string line = std::string(name) + "=";
  char hex[16];
  switch (type) {
    case kRegSz:
    case kRegExpandSz:
      return line + std::string(data.substr(0, data.find('\0')));
    case kRegDword: {
      uint32_t u = 0;
      for (size_t i = 0; i < 4 && i < data.size(); ++i) {
        u |= uint32_t{static_cast<uint8_t>(data[i])} << (8 * i);
      }
      std::snprintf(hex, sizeof hex, "%08X", u);
      return line + "DWORD:" + hex;
    }
    case kRegBinary:
      line += "HEX:";
      for (uint32_t i = 0; i < length && i < data.size(); ++i) {
        std::snprintf(hex, sizeof hex, i ? ",%02X" : "%02X", static_cast<uint8_t>(data[i]));
        line += hex;
      }
      return line;
    default:
      Raise(err::kCritical, "writeLineRegValue()", "Invalid value type");
  }
}

std::string ExportTimeStamp(Date when) {
  vb::DateParts p = vb::SplitDate(when);
  char text[32];
  std::snprintf(text, sizeof text, "%02d-%02d-%04d %02d:%02d:%02d", p.day, p.month, p.year, p.hour,
                p.minute, p.second);
  return text;
}

namespace {

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
