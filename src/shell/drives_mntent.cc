// The roots of the real file systems on Linux, from the mount table.
//
// A file system is real when the kernel does not list its type as "nodev"
// in /proc/filesystems (so proc, sysfs, tmpfs, cgroup and the like are left
// out); the root "/" always counts, whatever its type (a container's root is
// an overlay).

#include <mntent.h>
#include <stdio.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>

#include "qorsupport/shell/platform.h"

namespace qor::shell {

namespace {

std::set<std::string> NodevTypes() {
  std::set<std::string> types;
  std::ifstream in("/proc/filesystems");
  std::string line;
  while (std::getline(in, line)) {
    std::istringstream fields(line);
    std::string first, second;
    fields >> first >> second;
    if (first == "nodev" && !second.empty()) types.insert(second);
  }
  return types;
}

class MntentDrives : public DriveTable {
 public:
  std::vector<std::string> Roots() override {
    std::vector<std::string> roots;
    FILE* table = setmntent("/proc/self/mounts", "re");
    if (!table) table = setmntent("/etc/mtab", "re");
    if (!table) return roots;
    std::set<std::string> nodev = NodevTypes();
    struct mntent entry;
    char buffer[4096];
    while (getmntent_r(table, &entry, buffer, sizeof(buffer)) != nullptr) {
      std::string dir = entry.mnt_dir;
      bool real = dir == "/" || nodev.count(entry.mnt_type) == 0;
      if (real && std::find(roots.begin(), roots.end(), dir) == roots.end()) roots.push_back(dir);
    }
    endmntent(table);
    return roots;
  }
};

}  // namespace

DriveTable& MountTable() {
  static MntentDrives drives;
  return drives;
}

}  // namespace qor::shell
