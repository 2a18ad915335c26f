#include "registry/export_format.h"

#include <cstdio>

#include "qorsupport/frame/error.h"

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

}  // namespace qor::registry
