#include "db/engine/odbc/odbc_config.h"

#include <glob.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>

#include "qorsupport/frame/error.h"

namespace qor::dao::odbc {

std::string FindDriver(const std::string& library) {
  for (const char* folder :
       {"/usr/lib/*/odbc/", "/usr/lib/odbc/", "/usr/lib64/", "/usr/lib/*/", "/usr/local/lib/"}) {
    std::string pattern = folder + library;
    glob_t found{};
    bool ok = glob(pattern.c_str(), 0, nullptr, &found) == 0 && found.gl_pathc > 0;
    std::string path = ok ? found.gl_pathv[0] : "";
    globfree(&found);
    if (ok) return path;
  }
  return "";
}

void UseDataSources(const std::string& folder, const std::vector<DataSource>& sources) {
  namespace fs = std::filesystem;
  std::string ini = (fs::path(folder) / "odbc.ini").string();
  std::string inst = (fs::path(folder) / "odbcinst.ini").string();
  {
    std::ofstream out(ini, std::ios::trunc);
    for (const DataSource& source : sources) {
      out << "[" << source.name << "]\nDriver=" << source.driver << "\n";
      for (const auto& [key, value] : source.keywords) out << key << "=" << value << "\n";
      out << "\n";
    }
    if (!out) Raise(75, "qorSupport", "Path/File access error: " + ini);
  }
  if (!fs::exists(inst)) {
    std::ofstream out(inst);
    if (!out) Raise(75, "qorSupport", "Path/File access error: " + inst);
  }
  setenv("ODBCSYSINI", folder.c_str(), 1);
  setenv("ODBCINI", ini.c_str(), 1);
}

DataSource SqliteDataSource(const std::string& name, const std::string& path) {
  return {name, FindDriver("libsqlite3odbc.so"), {{"Database", path}, {"Timeout", "5000"}}};
}

}  // namespace qor::dao::odbc
