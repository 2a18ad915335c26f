// Fuzzes the INI engine: the input is an INI file; every section and key
// listing and every lookup runs with several buffer sizes, then an entry is
// written and must read back.

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "registry/profile.h"

namespace {

std::string TempFile() {
  static std::string path = [] {
    char dir[] = "/tmp/qor-ini-fuzz-XXXXXX";
    if (!mkdtemp(dir)) std::abort();
    return std::string(dir) + "/fuzz.ini";
  }();
  return path;
}

// The NUL-separated names of a listing.
std::vector<std::string> Names(const std::string& buffer, uint32_t count) {
  std::vector<std::string> names;
  for (size_t at = 0; at < count;) {
    size_t end = buffer.find('\0', at);
    names.push_back(buffer.substr(at, end - at));
    at = end + 1;
  }
  return names;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using qor::registry::GetPrivateProfileString;
  const std::string file = TempFile();
  std::ofstream(file, std::ios::binary | std::ios::trunc)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  for (uint32_t len : {1u, 2u, 3u, 17u, 4096u}) {
    std::string buffer(len, '#');
    uint32_t count =
        GetPrivateProfileString(std::nullopt, std::nullopt, "d", buffer.data(), len, file);
    if (count >= len) std::abort();
    if (len < 4096) continue;
    for (const std::string& section : Names(buffer, count)) {
      std::string keys(4096, '#');
      uint32_t n = GetPrivateProfileString(section, std::nullopt, "d", keys.data(), 4096, file);
      for (const std::string& key : Names(keys, n)) {
        std::string value(64, '#');
        if (GetPrivateProfileString(section, key, "d", value.data(), 64, file) >= 64) std::abort();
      }
    }
  }
  if (!qor::registry::WritePrivateProfileString("Fuzz Section", "Fuzz Key", "value", file)) {
    return 0;  // a file name the platform cannot write
  }
  char value[16];
  uint32_t n = GetPrivateProfileString("fuzz section", "FUZZ KEY", "", value, sizeof value, file);
  if (n != 5 || std::memcmp(value, "value", 6) != 0) std::abort();
  return 0;
}
