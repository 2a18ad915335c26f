#include "registry/profile.h"

#include <time.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "registry/bounded_file.h"

namespace qor::registry {
namespace {

struct Entry {
  std::string name;
  std::optional<std::string> value;
};

struct Section {
  std::string name;  // empty for the entries before the first section
  std::vector<Entry> entries;
};

bool IsSpace(unsigned char c) { return (c >= '\t' && c <= '\r') || c == 0x1A || c == ' '; }

std::string_view TrimLeft(std::string_view s) {
  while (!s.empty() && IsSpace(s.front())) s.remove_prefix(1);
  return s;
}
std::string_view TrimRight(std::string_view s) {
  while (!s.empty() && IsSpace(s.back())) s.remove_suffix(1);
  return s;
}
std::string_view Trim(std::string_view s) { return TrimRight(TrimLeft(s)); }
std::string UpTo(std::string_view s) { return std::string(s.substr(0, s.find('\0'))); }
// Names compare without regard to the case of ASCII letters only, as the
// platform's profile calls do.
bool SameName(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    char x = a[i] >= 'A' && a[i] <= 'Z' ? static_cast<char>(a[i] + 32) : a[i];
    char y = b[i] >= 'A' && b[i] <= 'Z' ? static_cast<char>(b[i] + 32) : b[i];
    if (x != y) {
      return false;
    }
  }
  return true;
}

// The parsed file. A file with content starts with a section without a name
// holding the entries before the first "[...]" line.
class Profile {
 public:
  // Parses the file's bytes.
  explicit Profile(std::string_view bytes = {}) {
    if (!bytes.empty()) Parse(bytes);
  }

  std::string Text() const {
    std::string out;
    for (const Section& s : sections_) {
      if (!s.name.empty()) out += "[" + s.name + "]\r\n";
      for (const Entry& e : s.entries) {
        out += e.name;
        if (e.value) out += "=" + *e.value;
        out += "\r\n";
      }
    }
    return out;
  }

  // The first section of a name, compared as given.
  Section* FindSection(std::string_view name) {
    return const_cast<Section*>(std::as_const(*this).FindSection(name));
  }
  const Section* FindSection(std::string_view name) const {
    for (const Section& s : sections_) {
      if (SameName(s.name, name)) return &s;
    }
    return nullptr;
  }
  // The entry for trimmed names, or null.
  const Entry* Find(std::string_view section, std::string_view key) const {
    const Section* s = FindSection(Trim(section));
    if (s) {
      for (const Entry& e : s->entries) {
        if (SameName(e.name, Trim(key))) return &e;
      }
    }
    return nullptr;
  }
  // The entry for trimmed names; made (with its section) when asked, the
  // new names trimmed on the left only, as the platform does.
  Entry* Find(std::string_view section, std::string_view key, bool create) {
    Section* s = FindSection(Trim(section));
    if (s) {
      for (Entry& e : s->entries) {
        if (SameName(e.name, Trim(key))) return &e;
      }
    }
    if (!create) return nullptr;
    if (!s) s = &sections_.emplace_back(Section{std::string(TrimLeft(section)), {}});
    return &s->entries.emplace_back(Entry{std::string(TrimLeft(key)), std::nullopt});
  }
  bool DeleteSection(std::string_view name) {
    for (auto it = sections_.begin(); it != sections_.end(); ++it) {
      if (SameName(it->name, name)) {
        sections_.erase(it);
        return true;
      }
    }
    return false;
  }
  bool DeleteEntry(std::string_view section, std::string_view key) {
    for (Section& s : sections_) {
      if (!SameName(s.name, section)) continue;
      for (auto it = s.entries.begin(); it != s.entries.end(); ++it) {
        if (SameName(it->name, key)) {
          s.entries.erase(it);
          return true;
        }
      }
    }
    return false;
  }
  const std::vector<Section>& sections() const { return sections_; }

 private:
  void Parse(std::string_view text) {
    Section* current = &sections_.emplace_back();
    const Entry* last = nullptr;
    while (!text.empty()) {
      size_t end = text.find_first_of("\r\n");
      std::string_view line = Trim(text.substr(0, end));
      size_t next = text.find_first_not_of("\r\n", end);
      text.remove_prefix(next == std::string_view::npos ? text.size() : next);
      if (line.empty()) continue;
      if (line.front() == '[') {
        size_t close = line.rfind(']');
        if (close != std::string_view::npos && close > 0) {
          current = &sections_.emplace_back(Section{UpTo(Trim(line.substr(1, close - 1))), {}});
          last = nullptr;
          continue;
        }
      }
      Entry e;
      size_t eq = line.find('=');
      std::string_view name = line;
      if (eq != std::string_view::npos) {
        name = TrimRight(line.substr(0, eq));
        e.value = UpTo(TrimLeft(line.substr(eq + 1)));
      }
      e.name = UpTo(name);
      // A run of entries without a name keeps only its first.
      if (!e.name.empty() || !last || !last->name.empty()) {
        current->entries.push_back(std::move(e));
        last = &current->entries.back();
      }
    }
  }

  std::vector<Section> sections_;
};

// lstrcpyn: at most size - 1 characters and a NUL.
void CopyN(char* buffer, std::string_view text, uint32_t size) {
  if (size == 0) return;
  size_t n = std::min<size_t>(text.size(), size - 1);
  std::memcpy(buffer, text.data(), n);
  buffer[n] = '\0';
}

// Copies a value, dropping matching quotes around it; the closing quote is
// cut from what fits.
void CopyValue(char* buffer, std::string_view value, uint32_t size) {
  bool quoted = value.size() >= 2 && (value.front() == '\'' || value.front() == '"') &&
                value.back() == value.front();
  if (quoted) value.remove_prefix(1);
  CopyN(buffer, value, size);
  if (quoted && size >= value.size()) {
    size_t len = std::strlen(buffer);
    if (len) buffer[len - 1] = '\0';
  }
}

// The entry names of a section (as given, not trimmed); with values, every
// entry as "name=value" (an entry without "=" as its name alone).
uint32_t ListEntries(const Profile& profile, std::string_view section, bool with_values,
                     char* buffer, uint32_t size) {
  const Section* s = profile.FindSection(section);
  if (!s) {
    if (size > 0) buffer[0] = '\0';
    if (size > 1) buffer[1] = '\0';
    return 0;
  }
  uint32_t left = size;
  uint32_t pos = 0;
  for (const Entry& e : s->entries) {
    if (left <= 2) break;
    if ((e.name.empty() && !e.value) || (!e.name.empty() && e.name.front() == ';') ||
        (!with_values && !e.value)) {
      continue;
    }
    CopyN(buffer + pos, e.name, left - 1);
    uint32_t n = static_cast<uint32_t>(std::strlen(buffer + pos)) + 1;
    left -= n;
    pos += n;
    if (left < 2) break;
    if (with_values && e.value) {
      buffer[pos - 1] = '=';
      CopyN(buffer + pos, *e.value, left - 1);
      n = static_cast<uint32_t>(std::strlen(buffer + pos)) + 1;
      left -= n;
      pos += n;
      if (left < 2) break;
    }
  }
  buffer[pos] = '\0';
  if (left <= 1 && pos > 0) {
    buffer[pos - 1] = '\0';
    return size - 2;
  }
  return size - left;
}

uint32_t ListSections(const Profile& profile, char* buffer, uint32_t size) {
  if (size == 0) return 0;
  if (size == 1) {
    buffer[0] = '\0';
    return 0;
  }
  uint32_t left = size - 1;
  uint32_t pos = 0;
  for (const Section& s : profile.sections()) {
    if (s.name.empty()) continue;
    uint32_t n = static_cast<uint32_t>(s.name.size()) + 1;
    if (n >= left) {
      if (left > 0) {
        std::memcpy(buffer + pos, s.name.data(), left - 1);
        pos += left - 1;
        buffer[pos++] = '\0';
      }
      buffer[pos] = '\0';
      return size - 2;
    }
    std::memcpy(buffer + pos, s.name.c_str(), n);
    pos += n;
    left -= n;
  }
  buffer[pos] = '\0';
  return pos;
}

std::filesystem::path ProfileFolder() {
  if (const char* dir = std::getenv("QOR_INI_DIR"); dir && *dir) return dir;
  if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg && *xdg) {
    return std::filesystem::path(xdg) / "qorSupport";
  }
  const char* home = std::getenv("HOME");
  return std::filesystem::path(home && *home ? home : "/tmp") / ".config" / "qorSupport";
}

bool HasFolder(std::string_view file) {
  return file.find_first_of("/\\") != std::string_view::npos;
}

thread_local FileError last_error;

// The parsed files last read, each with the identity of the version it was
// read from; a call costs one stat while the file stays as it was.
class ProfileCache {
 public:
  // The profile of the file; an empty one for a missing file, null (and
  // last_error set) for a file that cannot be read.
  std::shared_ptr<const Profile> Get(const std::filesystem::path& path) {
    last_error = {};
    FileIdentity identity;
    FileError error = StatFile(path, &identity);
    if (error.number == 53) return std::make_shared<Profile>();
    if (error) {
      last_error = std::move(error);
      return nullptr;
    }
    std::string key = path.string();
    {
      std::lock_guard<std::mutex> lock(mu_);
      auto it = files_.find(key);
      if (it != files_.end() && it->second.identity == identity && !it->second.racy) {
        return it->second.profile;
      }
    }
    std::string bytes;
    error = ReadBoundedFile(path, &bytes, &identity);
    if (error.number == 53) return std::make_shared<Profile>();
    if (error) {
      last_error = std::move(error);
      return nullptr;
    }
    auto profile = std::make_shared<const Profile>(bytes);
    // The clock of file times moves in ticks of a few milliseconds: a file
    // changed within the last moments may change again with the same size
    // and time, so it is read again until its time lies well behind.
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    int64_t now_ns = static_cast<int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec;
    bool racy = now_ns - identity.mtime_ns < kSettleNs;
    std::lock_guard<std::mutex> lock(mu_);
    if (files_.size() >= kFiles) files_.erase(files_.begin());
    files_[key] = Cached{identity, profile, racy};
    return profile;
  }

 private:
  static constexpr size_t kFiles = 16;
  static constexpr int64_t kSettleNs = 100'000'000;
  struct Cached {
    FileIdentity identity;
    std::shared_ptr<const Profile> profile;
    bool racy = false;  // read within kSettleNs of its modification
  };
  std::mutex mu_;
  std::map<std::string, Cached> files_;
};

std::shared_ptr<const Profile> LoadProfile(const std::filesystem::path& path) {
  static ProfileCache* cache = new ProfileCache;
  return cache->Get(path);
}

}  // namespace

std::filesystem::path ProfilePath(std::string_view file) {
  if (!HasFolder(file)) return ProfileFolder() / std::string(file);
  std::string path(file);
  for (char& c : path) {
    if (c == '\\') c = '/';
  }
  return std::filesystem::absolute(path);
}

uint32_t GetPrivateProfileString(OptText section, OptText key, OptText default_text, char* buffer,
                                 uint32_t size, std::string_view file) {
  if (!buffer || size == 0) return 0;
  std::string_view def = default_text.value_or("");
  // The platform fills a buffer of its own and copies the text with a
  // terminating NUL into the caller's.
  std::string work(size, '\0');
  char* w = work.data();
  uint32_t count = 0;
  std::shared_ptr<const Profile> loaded = LoadProfile(ProfilePath(file));
  static const Profile kUnreadable;
  const Profile& profile = loaded ? *loaded : kUnreadable;
  if (!section) {
    count = loaded ? ListSections(profile, w, size) : 0;
  } else if (!key) {
    count = loaded ? ListEntries(profile, *section, false, w, size) : 0;
    if (w[0] == '\0') {
      CopyValue(w, def, size);
      count = static_cast<uint32_t>(std::strlen(w));
    }
  } else {
    while (!def.empty() && def.back() == ' ') def.remove_suffix(1);
    if (loaded) {
      const Entry* e = profile.Find(*section, *key);
      CopyValue(w, e && e->value ? std::string_view(*e->value) : def, size);
    } else {
      CopyN(w, def, size);
    }
    count = static_cast<uint32_t>(std::strlen(w));
  }
  std::memcpy(buffer, w, std::min<uint32_t>(count + 1, size));
  return count;
}

uint32_t GetPrivateProfileSection(std::string_view section, char* buffer, uint32_t size,
                                  std::string_view file) {
  if (!buffer || size == 0) return 0;
  // As the platform's A call does: the list is made in a buffer of twice the
  // size and copied over when it fits with a character to spare; otherwise
  // its first size - 2 characters are, followed by two NULs.
  uint32_t work_size = size > UINT32_MAX / 2 ? UINT32_MAX : 2 * size;
  std::string work(work_size, '\0');
  uint32_t count = 0;
  if (auto profile = LoadProfile(ProfilePath(file))) {
    count = ListEntries(*profile, section, true, work.data(), work_size);
  }
  if (count > 0 && count + 2 <= size) {
    std::memcpy(buffer, work.data(), count + 1);
    return count;
  }
  count = count > 0 && size > 2 ? size - 2 : 0;
  std::memcpy(buffer, work.data(), count);
  buffer[count] = '\0';
  if (count + 1 < size) buffer[count + 1] = '\0';
  return count;
}

bool WritePrivateProfileString(OptText section, OptText key, OptText value, std::string_view file) {
  last_error = {};
  if (!section) return false;
  std::filesystem::path path = ProfilePath(file);
  if (!HasFolder(file)) {
    std::error_code ec;
    std::filesystem::create_directories(path.parent_path(), ec);
  }
  // A link is written through: the change goes to the file it names.
  path = FollowLinks(path);
  FolderLock lock(path.parent_path());
  if (!lock.locked()) {
    last_error = FileError{75, path.parent_path().string() + ": cannot be locked"};
    return false;
  }
  std::string bytes;
  FileError error = ReadBoundedFile(path, &bytes);
  if (error && error.number != 53) {
    last_error = std::move(error);
    return false;
  }
  Profile profile(bytes);
  bool changed = false;
  if (!key) {
    changed = profile.DeleteSection(*section);  // true also when there was none
  } else if (!value) {
    changed = profile.DeleteEntry(*section, *key);
  } else {
    Entry* e = profile.Find(*section, *key, true);
    std::string text(TrimLeft(UpTo(*value)));
    if (!e->value || *e->value != text) {
      e->value = std::move(text);
      changed = true;
    }
  }
  if (!changed) return true;
  last_error = ReplaceFileText(path, profile.Text());
  return !last_error;
}

const FileError& LastProfileError() { return last_error; }

}  // namespace qor::registry
