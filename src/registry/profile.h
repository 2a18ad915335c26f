// Private profile (INI) files with the rules of the Windows profile calls
// GetPrivateProfileStringA and WritePrivateProfileStringA.
//
// Reading a file: a line ends at any run of CR and LF; white space around
// a line is dropped and empty lines are dropped. "[name]" starts a section
// (the name runs to the last "]" and is trimmed; a line with "[" but no "]"
// is an entry); "name=value" is an entry with white space around the "="
// dropped; a line without "=" is an entry without a value; the entries
// before the first section belong to the section with the empty name.
// Lines beginning with ";" are kept as entries but never listed. Names are
// matched without regard to the case of ASCII letters, the first section or
// entry of a name wins, and the names asked for are trimmed of white space
// (the names of a deletion are compared as given). A value in matching
// single or double quotes is read without them.
//
// Writing: a missing file, section or entry is made (new ones go at the
// end); an absent value deletes the entry, an absent entry name the
// section. A file is rewritten only when something changed, as CR LF lines
// without blank lines, and it is replaced atomically (written beside,
// flushed, renamed over), so a crash never leaves it truncated. Names and
// values are bytes in the 8-bit code page; a NUL in the file ends the name
// or value it is in. Wine's implementation of these calls is the reference
// (see wine_diff_test.cc).
//
// Where a file lives: a name with a folder ("/" or "\") is a path, relative
// to the current folder unless absolute, "\" read as "/"; a bare name goes
// into the profile folder: $QOR_INI_DIR when set, else
// $XDG_CONFIG_HOME/qorSupport (default ~/.config/qorSupport), made on the
// first write. This is the Linux counterpart of the Windows folder.
//
// A file is read at most once per version: the parsed file is kept with
// its identity (bounded_file.h), checked by one stat per call, so a change
// written by another process is seen at the next call. A file that is not a
// regular file, or is past the size or line cap, reads as missing, and
// LastProfileError tells why.

#ifndef QOR_REGISTRY_PROFILE_H_
#define QOR_REGISTRY_PROFILE_H_

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "registry/bounded_file.h"

namespace qor::registry {

using OptText = std::optional<std::string_view>;

// The file a profile name refers to.
std::filesystem::path ProfilePath(std::string_view file);

// GetPrivateProfileStringA into buffer[0 .. size): with no section the
// section names, with no key the section's entry names (each followed by a
// NUL, the list by one more NUL, cut to fit), else the entry's value or
// default_text (trailing blanks dropped). Returns the characters copied
// without the final NUL (size - 2 for a list cut short). Only the text and
// its terminating NUL(s) are written into the buffer.
uint32_t GetPrivateProfileString(OptText section, OptText key, OptText default_text, char* buffer,
                                 uint32_t size, std::string_view file);

// GetPrivateProfileSectionA into buffer[0 .. size): the section's entries
// as "name=value" (an entry without "=" as its bare name; comments left
// out), each followed by a NUL, the list by one more NUL. A list that does
// not fit with a character to spare is cut after size - 2 characters, even
// inside an entry, and ended by two NULs. Returns the characters copied
// without the final NUL (size - 2 for a cut list); 0 and two NULs for a
// missing or empty section or a file that cannot be read.
uint32_t GetPrivateProfileSection(std::string_view section, char* buffer, uint32_t size,
                                  std::string_view file);

// WritePrivateProfileStringA: true when the file holds the change; false
// without a section. Writers of the files in one folder take the folder's
// lock (FolderLock) across their read, change and replace, so concurrent
// writers lose nothing; a symbolic link is written through to the file it
// names, which keeps its owner and mode (bounded_file.h).
bool WritePrivateProfileString(OptText section, OptText key, OptText value, std::string_view file);

// Why the last call of this thread could not read or write its file (a
// FIFO, device or folder, a file past the size or line cap, a failed
// write); number 0 after a call that could.
const FileError& LastProfileError();

}  // namespace qor::registry

#endif  // QOR_REGISTRY_PROFILE_H_
