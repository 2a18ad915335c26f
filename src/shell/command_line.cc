#include "shell/command_line.h"

namespace qor::shell {

namespace {

bool IsBlankChar(char c) { return c == ' ' || c == '\t'; }

// Reads the program name from line[*pos]: quotes group, nothing escapes.
std::string ReadProgramName(std::string_view line, size_t* pos) {
  std::string name;
  bool quoted = false;
  size_t i = *pos;
  for (; i < line.size(); ++i) {
    char c = line[i];
    if (c == '"') {
      quoted = !quoted;
    } else if (!quoted && IsBlankChar(c)) {
      break;
    } else {
      name += c;
    }
  }
  *pos = i;
  return name;
}

// Reads one argument from line[*pos] by the backslash and quote rules.
std::string ReadArgument(std::string_view line, size_t* pos) {
  std::string arg;
  bool quoted = false;
  size_t i = *pos;
  while (i < line.size()) {
    char c = line[i];
    if (!quoted && IsBlankChar(c)) break;
    if (c == '\\') {
      size_t run = 0;
      while (i < line.size() && line[i] == '\\') {
        ++run;
        ++i;
      }
      if (i < line.size() && line[i] == '"') {
        arg.append(run / 2, '\\');
        if (run % 2 == 1) {
          arg += '"';
          ++i;
        }
        // An even run leaves the quote to the next round, which toggles.
      } else {
        arg.append(run, '\\');
      }
      continue;
    }
    if (c == '"') {
      if (quoted && i + 1 < line.size() && line[i + 1] == '"') {
        arg += '"';
        i += 2;
        continue;
      }
      quoted = !quoted;
      ++i;
      continue;
    }
    arg += c;
    ++i;
  }
  *pos = i;
  return arg;
}

}  // namespace

std::vector<std::string> SplitCommandLine(std::string_view line) {
  std::vector<std::string> args;
  size_t pos = 0;
  while (pos < line.size() && IsBlankChar(line[pos])) ++pos;
  if (pos == line.size()) return args;
  args.push_back(ReadProgramName(line, &pos));
  while (true) {
    while (pos < line.size() && IsBlankChar(line[pos])) ++pos;
    if (pos == line.size()) break;
    args.push_back(ReadArgument(line, &pos));
  }
  return args;
}

}  // namespace qor::shell
