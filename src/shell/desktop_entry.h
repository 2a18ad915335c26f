// Desktop entries (the freedesktop.org desktop entry format): the
// files that register an application with the desktop, and the command line
// their Exec key gives for a document.

#ifndef QOR_SHELL_DESKTOP_ENTRY_H_
#define QOR_SHELL_DESKTOP_ENTRY_H_

#include <optional>
#include <string>
#include <vector>

namespace qor::shell {

struct DesktopEntry {
  std::string path;  // the file it was read from
  std::string type;  // "Application", ...
  std::string name;
  std::string exec;  // the Exec value, string escapes already undone
  std::string icon;
  bool hidden = false;
  std::vector<std::string> mime_types;
};

// The items of a ";"-separated list value (MimeType, mimeapps.list
// entries), empty items left out.
std::vector<std::string> SplitDesktopList(const std::string& value);

// Reads the [Desktop Entry] group of the file (unlocalised keys only);
// nullopt when the file cannot be read or has no such group.
std::optional<DesktopEntry> ReadDesktopEntry(const std::string& path);

// The program and arguments that open the document at file_path (an
// absolute path) with the entry: the Exec value split by its quoting rules
// (double quotes, with \" \` \$ \\ as escapes inside them) and its field
// codes expanded (%f %F the path, %u %U its file: URI, %c the name, %k the
// entry's path, %i "--icon" and the icon, %% a percent sign; deprecated
// codes are dropped). When Exec names no file code, the path is added as
// the last argument. nullopt for an entry that is not an application, is
// hidden, or has an empty or malformed Exec.
std::optional<std::vector<std::string>> ExpandExec(const DesktopEntry& entry,
                                                   const std::string& file_path);

}  // namespace qor::shell

#endif  // QOR_SHELL_DESKTOP_ENTRY_H_
