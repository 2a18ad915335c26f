#include "shell/desktop_entry.h"

#include <fstream>

#include "qorsupport/frame/vb.h"

namespace qor::shell {

namespace {

// Undoes the string escapes of a desktop entry value (\s \n \t \r \\).
std::string Unescape(const std::string& value) {
  std::string out;
  for (size_t i = 0; i < value.size(); ++i) {
    if (value[i] != '\\' || i + 1 == value.size()) {
      out += value[i];
      continue;
    }
    char c = value[++i];
    switch (c) {
      case 's':
        out += ' ';
        break;
      case 'n':
        out += '\n';
        break;
      case 't':
        out += '\t';
        break;
      case 'r':
        out += '\r';
        break;
      case '\\':
        out += '\\';
        break;
      default:
        out += '\\';
        out += c;
    }
  }
  return out;
}

// Splits an Exec value into its words; nullopt for an unclosed quote.
std::optional<std::vector<std::string>> SplitExec(const std::string& exec) {
  std::vector<std::string> words;
  size_t i = 0;
  while (true) {
    while (i < exec.size() && (exec[i] == ' ' || exec[i] == '\t')) ++i;
    if (i == exec.size()) break;
    std::string word;
    if (exec[i] == '"') {
      ++i;
      while (i < exec.size() && exec[i] != '"') {
        if (exec[i] == '\\' && i + 1 < exec.size() &&
            std::string("\"`$\\").find(exec[i + 1]) != std::string::npos) {
          ++i;
        }
        word += exec[i++];
      }
      if (i == exec.size()) return std::nullopt;
      ++i;
    } else {
      while (i < exec.size() && exec[i] != ' ' && exec[i] != '\t') word += exec[i++];
    }
    words.push_back(word);
  }
  return words;
}

std::string FileUri(const std::string& path) {
  static const char kHex[] = "0123456789ABCDEF";
  std::string uri = "file://";
  for (unsigned char c : path) {
    if (std::isalnum(c) || std::string("/-_.~").find(static_cast<char>(c)) != std::string::npos) {
      uri += static_cast<char>(c);
    } else {
      uri += '%';
      uri += kHex[c >> 4];
      uri += kHex[c & 15];
    }
  }
  return uri;
}

}  // namespace

std::vector<std::string> SplitDesktopList(const std::string& value) {
  std::vector<std::string> items;
  std::string item;
  for (char c : value) {
    if (c == ';') {
      if (!item.empty()) items.push_back(item);
      item.clear();
    } else {
      item += c;
    }
  }
  if (!item.empty()) items.push_back(item);
  return items;
}

std::optional<DesktopEntry> ReadDesktopEntry(const std::string& path) {
  std::ifstream in(path);
  if (!in) return std::nullopt;
  DesktopEntry entry;
  entry.path = path;
  bool in_group = false, seen = false;
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.empty() || line[0] == '#') continue;
    if (line[0] == '[') {
      in_group = line == "[Desktop Entry]";
      seen = seen || in_group;
      continue;
    }
    size_t eq = line.find('=');
    if (!in_group || eq == std::string::npos) continue;
    std::string key = vb::Trim(line.substr(0, eq));
    std::string value = Unescape(vb::Trim(line.substr(eq + 1)));
    if (key == "Type") entry.type = value;
    if (key == "Name") entry.name = value;
    if (key == "Exec") entry.exec = value;
    if (key == "Icon") entry.icon = value;
    if (key == "Hidden") entry.hidden = value == "true";
    if (key == "MimeType") entry.mime_types = SplitDesktopList(value);
  }
  if (!seen) return std::nullopt;
  return entry;
}

std::optional<std::vector<std::string>> ExpandExec(const DesktopEntry& entry,
                                                   const std::string& file_path) {
  if (entry.hidden || (!entry.type.empty() && entry.type != "Application")) return std::nullopt;
  std::optional<std::vector<std::string>> words = SplitExec(entry.exec);
  if (!words || words->empty()) return std::nullopt;
  std::vector<std::string> argv;
  bool file_given = false;
  for (const std::string& word : *words) {
    if (word == "%i") {
      if (!entry.icon.empty()) argv.insert(argv.end(), {"--icon", entry.icon});
      continue;
    }
    std::string arg;
    bool dropped = false;
    for (size_t i = 0; i < word.size(); ++i) {
      if (word[i] != '%' || i + 1 == word.size()) {
        arg += word[i];
        continue;
      }
      char code = word[++i];
      switch (code) {
        case 'f':
        case 'F':
          arg += file_path;
          file_given = true;
          break;
        case 'u':
        case 'U':
          arg += FileUri(file_path);
          file_given = true;
          break;
        case 'c':
          arg += entry.name;
          break;
        case 'k':
          arg += entry.path;
          break;
        case '%':
          arg += '%';
          break;
        default:
          dropped = word.size() == 2;  // a deprecated code standing alone
      }
    }
    if (!dropped) argv.push_back(arg);
  }
  if (argv.empty() || argv[0].empty()) return std::nullopt;
  if (!file_given) argv.push_back(file_path);
  return argv;
}

}  // namespace qor::shell
