// Choosing the application for a document the way xdg-open does on a
// desktop without its own opener: the document's MIME type, then the
// user's default application for that type.
//
// The MIME type comes from the glob patterns of the shared MIME database
// (mime/globs2 in $XDG_DATA_HOME and each of $XDG_DATA_DIRS; the heaviest,
// then the longest pattern wins); a file no pattern matches is text/plain
// when its first 4 KiB hold no NUL byte, else application/octet-stream.
//
// The application is the first installed desktop entry named for the type
// under [Default Applications] in the mimeapps.list files ($XDG_CONFIG_HOME,
// $XDG_CONFIG_DIRS, then applications/ of $XDG_DATA_HOME and $XDG_DATA_DIRS),
// else under [Added Associations] in the same files, else the first entry
// (by data folder, then by file name) whose MimeType lists the type.

#ifndef QOR_SHELL_XDG_MIME_H_
#define QOR_SHELL_XDG_MIME_H_

#include <optional>
#include <string>
#include <vector>

#include "shell/desktop_entry.h"

namespace qor::shell {

// $XDG_DATA_HOME then $XDG_DATA_DIRS, with their defaults.
std::vector<std::string> XdgDataDirs();

// The MIME type of the file at path.
std::string MimeTypeOf(const std::string& path);

// The application that opens documents of the type; nullopt for none.
std::optional<DesktopEntry> DefaultApplication(const std::string& mime_type);

}  // namespace qor::shell

#endif  // QOR_SHELL_XDG_MIME_H_
