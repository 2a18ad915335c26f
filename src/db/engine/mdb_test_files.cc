#include "db/engine/mdb_test_files.h"

#include <cstdlib>
#include <filesystem>

#include "testing/test_util.h"

namespace qor::dao::mdb {

std::string UsersMdb() {
  return (testing::SharedDir() / "testdata/legacy/users.mdb").string();
}

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

std::vector<std::string> LegacyFiles() {
  std::vector<std::string> files = {UsersMdb()};
  if (!FruitMdb().empty()) files.push_back(FruitMdb());
  return files;
}

}  // namespace qor::dao::mdb
