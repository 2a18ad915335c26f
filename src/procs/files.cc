// The file-system procedures of qorProcs: the directory query that stands
// in for VB's Dir, folder creation and VB's Kill, on the real file system.

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "qorsupport/frame/error.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/report.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/procs/procs.h"

namespace qor {

namespace {

constexpr int32_t kBadFileName = 52;
constexpr int32_t kAccessError = 75;
constexpr int32_t kPathNotFound = 76;

bool HasWildcard(std::string_view s) { return s.find_first_of("*?") != std::string_view::npos; }

// Whether name matches a pattern of "*" (any run) and "?" (one character),
// character by character; "*.*" matches every name, as on Windows.
bool Matches(std::string_view pattern, std::string_view name) {
  if (pattern == "*.*") return true;
  std::u32string p = vb::ToUtf32(pattern), n = vb::ToUtf32(name);
  size_t pi = 0, ni = 0, star = std::u32string::npos, resume = 0;
  while (ni < n.size()) {
    if (pi < p.size() && (p[pi] == U'?' || p[pi] == n[ni])) {
      ++pi;
      ++ni;
    } else if (pi < p.size() && p[pi] == U'*') {
      star = pi++;
      resume = ni;
    } else if (star != std::u32string::npos) {
      pi = star + 1;
      ni = ++resume;
    } else {
      return false;
    }
  }
  while (pi < p.size() && p[pi] == U'*') ++pi;
  return pi == p.size();
}

// A path taken apart for the query: the folder to list and the name or
// pattern within it. A path ending in "/" lists everything in the folder.
struct QueryPath {
  std::string folder;
  std::string pattern;
  bool listing = false;  // a pattern to match against the folder's entries
};

QueryPath SplitQueryPath(const std::string& path) {
  if (path.empty() || path.find('\0') != std::string::npos) Raise(kBadFileName);
  size_t slash = path.rfind('/');
  bool in_folder = slash != std::string::npos;
  std::string folder = in_folder ? path.substr(0, slash + 1) : std::string(1, '.');
  std::string pattern = in_folder ? path.substr(slash + 1) : path;
  bool ends_in_slash = pattern.empty();
  if (ends_in_slash) pattern.push_back('*');  // a folder ending in "/": everything in it
  bool listing = ends_in_slash || HasWildcard(pattern);
  return QueryPath{std::move(folder), std::move(pattern), listing};
}

struct DirCloser {
  void operator()(DIR* d) const { closedir(d); }
};

// The entries of a folder that match the pattern, in the order the folder
// lists them; at most one when first_only. Folders are included when
// include_folders, always followed through symbolic links. A missing folder
// raises missing_error (0: gives no entries).
std::vector<std::string> ListFolder(const QueryPath& q, bool include_folders, bool first_only,
                                    int32_t missing_error) {
  std::vector<std::string> names;
  std::unique_ptr<DIR, DirCloser> dir(opendir(q.folder.c_str()));
  if (!dir) {
    if (errno != ENOENT) Raise(kAccessError);
    if (missing_error != 0) Raise(missing_error);
    return names;
  }
  while (true) {
    errno = 0;
    dirent* entry = readdir(dir.get());
    if (entry == nullptr) {
      if (errno != 0) Raise(kAccessError);
      return names;
    }
    std::string_view name = entry->d_name;
    if (!Matches(q.pattern, name)) continue;
    struct stat st;
    bool is_folder =
        fstatat(dirfd(dir.get()), entry->d_name, &st, 0) == 0 ? S_ISDIR(st.st_mode) : false;
    if (is_folder && !include_folders) continue;
    names.emplace_back(name);
    if (first_only) return names;
  }
}

// The directory query (VB's Dir): the first matching name, "" for none.
std::string FirstMatch(const std::string& path, bool include_folders) {
  QueryPath q = SplitQueryPath(path);
  if (q.listing) {
    std::vector<std::string> names = ListFolder(q, include_folders, true, 0);
    return names.empty() ? std::string() : names.front();
  }
  struct stat st;
  if (stat(path.c_str(), &st) != 0) {
    if (errno == ENOENT) return std::string();
    Raise(kAccessError);
  }
  if (S_ISDIR(st.st_mode) && !include_folders) return std::string();
  return q.pattern;
}

void Unlink(const std::string& path) {
  if (unlink(path.c_str()) != 0) Raise(kAccessError);
}

// VB's Kill: deletes a file, or every file a pattern matches; folders are
// never deleted. Raises 53 when nothing matches.
void Kill(const std::string& path) {
  QueryPath q = SplitQueryPath(path);
  if (!q.listing) {
    struct stat st;
    if (lstat(path.c_str(), &st) != 0) {
      if (errno == ENOENT) Raise(err::kFileNotFound);
      Raise(kAccessError);
    }
    if (S_ISDIR(st.st_mode)) Raise(err::kFileNotFound);
    Unlink(path);
    return;
  }
  std::vector<std::string> names = ListFolder(q, false, false, kPathNotFound);
  if (names.empty()) Raise(err::kFileNotFound);
  for (const std::string& name : names) Unlink(q.folder + name);
}

}  // namespace

bool qorProcs::CheckDirPath(const Variant& pPath) {
  try {
    std::string path = vb::CStr(pPath);
    if (!FirstMatch(path, true).empty()) return true;
    std::string inside = path + (!path.empty() && path.back() == '/' ? "*.*" : "/*.*");
    return !FirstMatch(inside, true).empty();
  } catch (const Error&) {
    return false;
  }
}

bool qorProcs::CheckFileExists(const Variant& pPath) {
  try {
    return !FirstMatch(vb::CStr(pPath), false).empty();
  } catch (const Error&) {
    return false;
  }
}

bool qorProcs::CheckFilePath(const Variant& pPath) {
  try {
    FirstMatch(vb::CStr(pPath), false);
    return true;
  } catch (const Error&) {
    return false;
  }
}

bool qorProcs::CreateAllDirsInPath(const std::string& pPath) {
  if (pPath.find('\0') != std::string::npos) return false;
  auto ensure = [this](const std::string& folder) {
    return CheckDirPath(Variant(folder)) || mkdir(folder.c_str(), 0777) == 0;
  };
  for (size_t i = 0; i < pPath.size(); ++i) {
    // The part before a leading "/" is the root, which always exists.
    if (pPath[i] == '/' && i > 0 && !ensure(pPath.substr(0, i))) return false;
  }
  return ensure(pPath);
}

bool qorProcs::DeleteFile(const Variant& mFname, bool Verbose) {
  return Guard(Reporter("DeleteFile", Verbose), false, [&] {
    Kill(vb::CStr(mFname));
    return true;
  });
}

}  // namespace qor
