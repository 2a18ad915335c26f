#include "shell/xdg_mime.h"

#include <fcntl.h>
#include <fnmatch.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "qorsupport/frame/vb.h"

namespace qor::shell {

namespace {

namespace fs = std::filesystem;

std::string EnvOr(const char* name, const std::string& fallback) {
  const char* value = std::getenv(name);
  return value && *value ? value : fallback;
}

std::string Home() { return EnvOr("HOME", "/"); }

std::vector<std::string> SplitPath(const std::string& list) {
  std::vector<std::string> dirs;
  size_t start = 0;
  while (start <= list.size()) {
    size_t end = list.find(':', start);
    if (end == std::string::npos) end = list.size();
    if (end > start) dirs.push_back(list.substr(start, end - start));
    start = end + 1;
  }
  return dirs;
}

std::vector<std::string> XdgConfigDirs() {
  std::vector<std::string> dirs = {EnvOr("XDG_CONFIG_HOME", Home() + "/.config")};
  for (const std::string& dir : SplitPath(EnvOr("XDG_CONFIG_DIRS", "/etc/xdg"))) {
    dirs.push_back(dir);
  }
  return dirs;
}

struct Glob {
  int weight = 0;
  std::string type;
  std::string pattern;
  bool case_sensitive = false;
};

std::vector<Glob> ReadGlobs() {
  std::vector<Glob> globs;
  for (const std::string& dir : XdgDataDirs()) {
    std::ifstream in(dir + "/mime/globs2");
    std::string line;
    while (std::getline(in, line)) {
      if (line.empty() || line[0] == '#') continue;
      size_t a = line.find(':'), b = a == std::string::npos ? a : line.find(':', a + 1);
      if (b == std::string::npos) continue;
      size_t c = line.find(':', b + 1);
      Glob glob;
      glob.weight = static_cast<int>(vb::Val(line.substr(0, a)));
      glob.type = line.substr(a + 1, b - a - 1);
      glob.pattern = line.substr(b + 1, c == std::string::npos ? c : c - b - 1);
      glob.case_sensitive = c != std::string::npos && line.find("cs", c) != std::string::npos;
      globs.push_back(glob);
    }
  }
  return globs;
}

bool LooksLikeText(const std::string& path) {
  int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  char buffer[4096];
  ssize_t n = read(fd, buffer, sizeof(buffer));
  close(fd);
  return n >= 0 && std::find(buffer, buffer + n, '\0') == buffer + n;
}

// The sections' entries for the type in one mimeapps.list file.
std::vector<std::string> ListedApps(const std::string& file, const std::string& section,
                                    const std::string& mime_type) {
  std::ifstream in(file);
  std::string line;
  bool in_section = false;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (!line.empty() && line[0] == '[') {
      in_section = line == "[" + section + "]";
      continue;
    }
    size_t eq = line.find('=');
    if (!in_section || eq == std::string::npos || vb::Trim(line.substr(0, eq)) != mime_type) {
      continue;
    }
    return SplitDesktopList(vb::Trim(line.substr(eq + 1)));
  }
  return {};
}

// The desktop entry file of a desktop file ID ("org.app.desktop"; a "-"
// may stand for a sub-folder of applications/).
std::optional<DesktopEntry> FindEntry(const std::string& id) {
  for (const std::string& dir : XdgDataDirs()) {
    std::string relative = id;
    while (true) {
      std::string path = dir + "/applications/" + relative;
      if (fs::is_regular_file(path)) return ReadDesktopEntry(path);
      size_t dash = relative.find('-');
      if (dash == std::string::npos) break;
      relative[dash] = '/';
    }
  }
  return std::nullopt;
}

std::vector<std::string> MimeAppsLists() {
  std::vector<std::string> files;
  for (const std::string& dir : XdgConfigDirs()) files.push_back(dir + "/mimeapps.list");
  for (const std::string& dir : XdgDataDirs()) files.push_back(dir + "/applications/mimeapps.list");
  return files;
}

std::optional<DesktopEntry> FirstInstalled(const std::string& section,
                                           const std::string& mime_type) {
  for (const std::string& file : MimeAppsLists()) {
    for (const std::string& id : ListedApps(file, section, mime_type)) {
      std::optional<DesktopEntry> entry = FindEntry(id);
      if (entry && !entry->hidden) return entry;
    }
  }
  return std::nullopt;
}

std::optional<DesktopEntry> FirstDeclaring(const std::string& mime_type) {
  for (const std::string& dir : XdgDataDirs()) {
    std::error_code ec;
    std::vector<std::string> files;
    for (const auto& item : fs::directory_iterator(dir + "/applications", ec)) {
      if (item.path().extension() == ".desktop") files.push_back(item.path().string());
    }
    std::sort(files.begin(), files.end());
    for (const std::string& file : files) {
      std::optional<DesktopEntry> entry = ReadDesktopEntry(file);
      if (entry && !entry->hidden &&
          std::count(entry->mime_types.begin(), entry->mime_types.end(), mime_type) > 0) {
        return entry;
      }
    }
  }
  return std::nullopt;
}

}  // namespace

std::vector<std::string> XdgDataDirs() {
  std::vector<std::string> dirs = {EnvOr("XDG_DATA_HOME", Home() + "/.local/share")};
  for (const std::string& dir : SplitPath(EnvOr("XDG_DATA_DIRS", "/usr/local/share:/usr/share"))) {
    dirs.push_back(dir);
  }
  return dirs;
}

std::string MimeTypeOf(const std::string& path) {
  if (fs::is_directory(path)) return "inode/directory";
  std::string name = fs::path(path).filename().string();
  const Glob* best = nullptr;
  std::vector<Glob> globs = ReadGlobs();
  for (const Glob& glob : globs) {
    int flags = glob.case_sensitive ? 0 : FNM_CASEFOLD;
    if (fnmatch(glob.pattern.c_str(), name.c_str(), flags) != 0) continue;
    if (!best || glob.weight > best->weight ||
        (glob.weight == best->weight && glob.pattern.size() > best->pattern.size())) {
      best = &glob;
    }
  }
  if (best) return best->type;
  return LooksLikeText(path) ? "text/plain" : "application/octet-stream";
}

std::optional<DesktopEntry> DefaultApplication(const std::string& mime_type) {
  if (auto entry = FirstInstalled("Default Applications", mime_type)) return entry;
  if (auto entry = FirstInstalled("Added Associations", mime_type)) return entry;
  return FirstDeclaring(mime_type);
}

}  // namespace qor::shell
