// Differential test against Wine, the reference implementation of the Win32
// calls our registry store and INI engine imitate. A small Windows program
// (wine/oracle.c, built with mingw-w64) runs a random sequence of profile
// and registry calls under wine64 in a private prefix; the same sequence runs
// against our code; every result line and every file content must agree.
//
// The differences we keep on purpose are left out of the sequences and
// listed here:
// - Profile files with a UTF-8 or UTF-16 byte-order mark: Wine converts
//   them; our engine reads every file as code-page bytes.
// - WritePrivateProfileString with neither section nor key: Wine 8 crashes;
//   we return False. GetPrivateProfileString with a buffer of size 0.
// - Registry names with characters outside Windows-1252.
// - The order of values: Wine lists them sorted by name, we list them in
//   creation order as Windows does; value listings are compared as sets.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <random>
#include <sstream>

#include "registry/profile.h"
#include "registry/sqlite_store.h"
#include "testing/test_util.h"

namespace qor::registry {
namespace {

std::string Hex(std::string_view bytes) {
  if (bytes.empty()) return " .";
  std::string out = " ";
  char two[3];
  for (unsigned char c : bytes) {
    std::snprintf(two, sizeof two, "%02X", c);
    out += two;
  }
  return out;
}

// A field of an operation line: hexadecimal bytes, "." for "", "~" for none.
std::string Field(const std::optional<std::string>& s) { return s ? Hex(*s) : " ~"; }

std::optional<std::string> Unhex(std::istringstream& in) {
  std::string f;
  in >> f;
  if (f == "~") return std::nullopt;
  std::string out;
  for (size_t i = 0; i + 1 < f.size(); i += 2) {
    out.push_back(static_cast<char>(std::stoi(f.substr(i, 2), nullptr, 16)));
  }
  return out;
}

OptText View(const std::optional<std::string>& s) {
  return s ? OptText(*s) : OptText(std::nullopt);
}

// Runs one operation line against our code; the reply as the oracle prints it.
class Ours {
 public:
  Ours(std::filesystem::path files, std::filesystem::path registry)
      : files_(std::move(files)), store_(SqliteStore::Locations{registry, registry}) {}

  std::string Run(const std::string& line) {
    std::istringstream in(line);
    std::string op;
    in >> op;
    std::string out = op;
    auto file = [&] { return (files_ / *Unhex(in)).string(); };
    if (op == "G") {
      auto s = Unhex(in), k = Unhex(in), d = Unhex(in);
      uint32_t size;
      in >> size;
      std::string f = file();
      std::string buffer(size + 1, '#');
      uint32_t n = GetPrivateProfileString(View(s), View(k), View(d), buffer.data(), size, f);
      return out + " " + std::to_string(n) + Hex(buffer.substr(0, size));
    }
    if (op == "S") {
      auto s = Unhex(in);
      uint32_t size;
      in >> size;
      std::string f = file();
      std::string buffer(size + 1, '#');
      uint32_t n = GetPrivateProfileSection(*s, buffer.data(), size, f);
      return out + " " + std::to_string(n) + Hex(buffer.substr(0, size));
    }
    if (op == "W") {
      auto s = Unhex(in), k = Unhex(in), v = Unhex(in);
      std::string f = file();
      return out + " " + std::to_string(WritePrivateProfileString(View(s), View(k), View(v), f));
    }
    if (op == "F") {
      std::ifstream fin(file(), std::ios::binary);
      if (!fin) return out + " -";
      std::stringstream all;
      all << fin.rdbuf();
      return out + Hex(all.str());
    }
    std::string path = "Software\\QorDiff";
    if (auto rel = *Unhex(in); !rel.empty()) path += "\\" + rel;
    HKey h = 0;
    if (op == "RC" || op == "RO") {
      int32_t rc = op == "RC" ? store_.CreateKey(kCurrentUser, path, &h)
                              : store_.OpenKey(kCurrentUser, path, &h);
      if (rc == 0) store_.CloseKey(h);
      return out + " " + std::to_string(rc);
    }
    if (op == "RK" || op == "RT") {
      return out + " " +
             std::to_string(op == "RK" ? store_.DeleteKey(kCurrentUser, path)
                                       : store_.DeleteTree(kCurrentUser, path));
    }
    int32_t rc = store_.OpenKey(kCurrentUser, path, &h);
    out += " " + std::to_string(rc);
    if (rc != 0) return out;
    if (op == "RS") {
      std::string name = *Unhex(in);
      uint32_t type;
      in >> type;
      std::string data = *Unhex(in);
      out += " " + std::to_string(store_.SetValue(h, name, type,
                                                  reinterpret_cast<const uint8_t*>(data.c_str()),
                                                  static_cast<uint32_t>(data.size())));
    } else if (op == "RQ") {
      std::string name = *Unhex(in);
      int want;
      in >> want;
      uint32_t type = 99, size = want < 0 ? 0 : want;
      std::string buffer(size + 1, '#');
      rc = store_.QueryValue(h, name, &type,
                             want < 0 ? nullptr : reinterpret_cast<uint8_t*>(buffer.data()), &size);
      out += " " + std::to_string(rc) + " " + std::to_string(type) + " " + std::to_string(size);
      if (rc == 0 && want >= 0) out += Hex(buffer.substr(0, size));
    } else if (op == "RD") {
      out += " " + std::to_string(store_.DeleteValue(h, *Unhex(in)));
    } else if (op == "EK") {
      uint32_t size;
      in >> size;
      std::string buffer(size + 1, '\0');
      for (uint32_t i = 0;; ++i) {
        rc = store_.EnumKey(h, i, buffer.data(), size);
        if (rc) break;
        out += Hex(buffer.c_str());
      }
      out += " =" + std::to_string(rc);
    } else if (op == "EV") {
      uint32_t nsize, dsize;
      in >> nsize >> dsize;
      std::string name(nsize + 1, '\0'), data(dsize + 1, '\0');
      for (uint32_t i = 0; i < 1000; ++i) {
        uint32_t ns = nsize, ds = dsize, type = 99;
        rc = store_.EnumValue(h, i, name.data(), &ns, &type,
                              reinterpret_cast<uint8_t*>(data.data()), &ds);
        if (rc == kNoMoreItems) break;
        out += " {" + std::to_string(rc);
        if (rc == 0) {
          out += Hex(name.substr(0, ns)) + " " + std::to_string(type) + " " + std::to_string(ds) +
                 Hex(data.substr(0, ds));
        }
        out += "}";
      }
      out += " =" + std::to_string(rc);
    }
    store_.CloseKey(h);
    return out;
  }

 private:
  std::filesystem::path files_;
  SqliteStore store_;
};

// Random operations over small pools of names, so that they meet.
class Generator {
 public:
  explicit Generator(uint32_t seed) : rng_(seed) {}

  std::string Next() {
    int kind = Pick(100);
    if (kind < 30) return Get();
    if (kind < 36) return GetSection();
    if (kind < 54) return Write();
    if (kind < 58) return "F" + Field(File());
    return Registry();
  }

 private:
  int Pick(int n) { return std::uniform_int_distribution<int>(0, n - 1)(rng_); }
  template <typename T>
  const T& Of(const std::vector<T>& pool) {
    return pool[Pick(static_cast<int>(pool.size()))];
  }
  std::string File() { return Pick(4) ? "a.ini" : "b.ini"; }
  std::optional<std::string> Section(bool allow_none) {
    static const std::vector<std::string> pool = {"Main",  "main", " Main ",  "Other",   "x y",
                                                  "Sec]x", "",     "caf\xe9", "CAF\xc9", "Tab\t"};
    if (allow_none && Pick(8) == 0) return std::nullopt;
    return Of(pool);
  }
  std::optional<std::string> Key(bool for_write) {
    static const std::vector<std::string> pool = {"Key", "KEY",  " key ", "k2",       "a=b",
                                                  ";c",  "Long", "q",     "\xe9t\xe9"};
    if (Pick(8) == 0) return for_write && Pick(2) ? std::optional<std::string>("") : std::nullopt;
    return Of(pool);
  }
  std::optional<std::string> Value() {
    static const std::vector<std::string> pool = {
        "v", "  spaced  ", "\"quoted\"", "'q'", "\"", "x=y", "", "'a\"", "\"\"", "tail \t"};
    int p = Pick(12);
    if (p == 0) return std::nullopt;
    if (p == 1) return std::string(Pick(320), 'L');
    return Of(pool);
  }
  std::string Get() {
    static const std::vector<std::string> defs = {"dflt", "d  ", "", "\"q\"", "  lead"};
    static const std::vector<int> sizes = {1, 2, 3, 4, 5, 8, 16, 64, 300};
    std::optional<std::string> def = Pick(6) ? std::optional<std::string>(Of(defs)) : std::nullopt;
    auto key = Key(true);
    return "G" + Field(Section(true)) + Field(key) + Field(def) + " " + std::to_string(Of(sizes)) +
           Field(File());
  }
  std::string GetSection() {
    static const std::vector<int> sizes = {1, 2, 3, 5, 16, 64, 2048};
    return "S" + Field(Section(false)) + " " + std::to_string(Of(sizes)) + Field(File());
  }
  std::string Write() {
    auto section = Section(true);
    auto key = Key(true);
    if (!section && !key) key = "Key";
    return "W" + Field(section) + Field(key) + Field(Value()) + Field(File());
  }
  std::string Path() {
    static const std::vector<std::string> pool = {"",
                                                  "A",
                                                  "a",
                                                  "A\\B",
                                                  "a\\b\\C",
                                                  "Z",
                                                  "A\\\\B",
                                                  "\\A",
                                                  "A\\",
                                                  "\xe9",
                                                  "\xc9",
                                                  std::string(255, 'n'),
                                                  std::string(256, 'n'),
                                                  "A\\" + std::string(300, 'x')};
    return Of(pool);
  }
  std::string Registry() {
    static const std::vector<std::string> names = {"", "N", "n", "Val", "\xe9", "\xc9"};
    switch (Pick(10)) {
      case 0:
      case 1:
        return "RC" + Field(Path());
      case 2:
        return "RO" + Field(Path());
      case 3:
        return (Pick(2) ? "RK" : "RT") + Field(Path());
      case 4:
      case 5: {
        static const std::vector<int> types = {1, 2, 3, 4, 7};
        int type = Of(types);
        std::string data;
        int len = type == 4 ? 4 : Pick(12);
        for (int i = 0; i < len; ++i)
          data.push_back(static_cast<char>(type == 3 ? Pick(256) : 'a' + Pick(26)));
        return "RS" + Field(Path()) + Field(Of(names)) + " " + std::to_string(type) + Field(data);
      }
      case 6: {
        static const std::vector<int> sizes = {-1, 0, 2, 5, 100};
        return "RQ" + Field(Path()) + Field(Of(names)) + " " + std::to_string(Of(sizes));
      }
      case 7:
        return "RD" + Field(Path()) + Field(Of(names));
      case 8: {
        static const std::vector<int> sizes = {2, 4, 255};
        return "EK" + Field(Path()) + " " + std::to_string(Of(sizes));
      }
      default: {
        static const std::vector<int> nsizes = {2, 5, 2000}, dsizes = {0, 3, 2000};
        return "EV" + Field(Path()) + " " + std::to_string(Of(nsizes)) + " " +
               std::to_string(Of(dsizes));
      }
    }
  }

  std::mt19937 rng_;
};

// A value listing as a set: Wine keeps values sorted by name, we keep them
// in creation order (as Windows does), so the {...} groups are sorted.
std::string Normalized(const std::string& line) {
  if (line.rfind("EV", 0) != 0) return line;
  size_t first = line.find(" {");
  size_t last = line.rfind(" =");
  if (first == std::string::npos || last == std::string::npos) return line;
  std::vector<std::string> groups;
  for (size_t at = first; at < last;) {
    size_t end = line.find('}', at);
    groups.push_back(line.substr(at, end + 1 - at));
    at = end + 1;
  }
  std::sort(groups.begin(), groups.end());
  std::string out = line.substr(0, first);
  for (const std::string& g : groups) out += g;
  return out + line.substr(last);
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(line);
  }
  return lines;
}

TEST(WineDifferential, ProfileAndRegistryCallsAgreeWithWine) {
  qor::testing::TempDir dir;
  for (const char* sub : {"prefix", "wine", "ours", "registry"}) {
    std::filesystem::create_directories(dir.path() / sub);
  }
  uint32_t seed = 20261123;
  if (const char* s = std::getenv("QOR_WINE_SEED")) seed = static_cast<uint32_t>(std::stoul(s));
  int count = 3000;
  if (const char* n = std::getenv("QOR_WINE_OPS")) count = std::stoi(n);
  Generator gen(seed);
  std::vector<std::string> ops;
  std::string script;
  for (int i = 0; i < count; ++i) {
    ops.push_back(gen.Next());
    script += ops.back() + "\n";
  }
  for (const char* f : {"a.ini", "b.ini"}) {
    ops.push_back(std::string("F") + Field(std::string(f)));
    script += ops.back() + "\n";
  }

  if (const char* dump = std::getenv("QOR_WINE_DUMP")) std::ofstream(dump) << script;
  setenv("WINEPREFIX", (dir.path() / "prefix").c_str(), 1);
  setenv("WINEDEBUG", "-all", 1);
  setenv("LANG", "en_US.UTF-8", 1);  // the code page 1252
  std::string wine_dir = "Z:" + (dir.path() / "wine").string();
  for (char& c : wine_dir) {
    if (c == '/') c = '\\';
  }
  qor::testing::RunResult run =
      qor::testing::RunProgram({QOR_WINE64, QOR_WINE_ORACLE, wine_dir}, script);
  ASSERT_EQ(run.status, 0) << run.err;
  std::vector<std::string> theirs = Lines(run.out);
  ASSERT_EQ(theirs.size(), ops.size()) << run.err;

  Ours ours(dir.path() / "ours", dir.path() / "registry");
  int differences = 0;
  for (size_t i = 0; i < ops.size(); ++i) {
    std::string mine = ours.Run(ops[i]);
    if (Normalized(mine) != Normalized(theirs[i]) && ++differences <= 15) {
      ADD_FAILURE() << "operation " << i << ": " << ops[i] << "\n  wine: " << theirs[i]
                    << "\n  ours: " << mine;
    }
  }
  EXPECT_EQ(differences, 0) << "seed " << seed << ", " << ops.size() << " operations";
}

}  // namespace
}  // namespace qor::registry
