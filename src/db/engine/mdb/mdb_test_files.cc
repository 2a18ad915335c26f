#include "db/engine/mdb/mdb_test_files.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "testing/test_util.h"

namespace qor::dao::mdb {

std::string UsersMdb() { return (testing::TestDataDir() / "legacy/users.mdb").string(); }

std::string FruitMdb() {
  // Kept between runs in the temporary folder: fetched once, then reused.
  static const std::string path = [] {
    std::filesystem::path cache = std::filesystem::temp_directory_path() / "qor-legacy-fixtures";
    std::string file = (cache / "fruit.mdb").string();
    if (std::filesystem::exists(file)) return file;
    testing::TempDir dir;
    testing::RunResult pack =
        testing::RunProgram({"/bin/sh", "-c",
                             "cd '" + dir.path().string() +
                                 "' && timeout 60 npm pack --silent mdb@0.1.0 >/dev/null 2>&1 && "
                                 "tar xzf mdb-0.1.0.tgz package/test/fruit.mdb && mkdir -p '" +
                                 cache.string() + "' && mv package/test/fruit.mdb '" + file +
                                 ".part.'$$ && mv '" + file + ".part.'$$ '" + file + "'"},
                            "");
    return pack.status == 0 && std::filesystem::exists(file) ? file : std::string();
  }();
  return path;
}

std::string UsersTemplateMdb(const std::string& dir) {
  std::ifstream in(UsersMdb(), std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  // The property entry: its length (404), flags, type (11, binary), the
  // index of its name in the name pool (6, NameMap) and the value's length
  // (396), all little-endian.
  const std::string entry("\x94\x01\x00\x0b\x06\x00\x8c\x01", 8);
  size_t at = bytes.find(entry);
  EXPECT_NE(at, std::string::npos) << "users.mdb is not the file this copy was made for";
  if (at == std::string::npos) return "";
  bytes[at + 3] = 10;  // text
  bytes[at + 4] = 17;  // the pool's Description
  std::string text = "TEMPLATE DATA" + std::string(396 / 2 - 13, ' ');
  for (size_t i = 0; i < text.size(); ++i) {  // UTF-16LE
    bytes[at + 8 + 2 * i] = text[i];
    bytes[at + 9 + 2 * i] = 0;
  }
  std::string path = (std::filesystem::path(dir) / "users_template.mdb").string();
  std::ofstream(path, std::ios::binary) << bytes;
  return path;
}

std::vector<std::string> LegacyFiles() {
  std::vector<std::string> files = {UsersMdb()};
  if (!FruitMdb().empty()) files.push_back(FruitMdb());
  return files;
}

}  // namespace qor::dao::mdb
