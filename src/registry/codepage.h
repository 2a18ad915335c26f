// The 8-bit code page of texts handed to the platform: Windows-1252.
//
// The library's strings are UTF-8. Texts that go to the registry and the
// registry export file are converted to Windows-1252 (through iconv), the
// code page of the Windows systems whose files are exchanged; a character
// the code page lacks becomes "?". Converting back maps each byte to its
// character; the five bytes 1252 leaves undefined map to the control
// characters of the same number, as Windows does.

#ifndef QOR_REGISTRY_CODEPAGE_H_
#define QOR_REGISTRY_CODEPAGE_H_

#include <string>
#include <string_view>

namespace qor::registry {

// UTF-8 to Windows-1252 bytes. Invalid UTF-8 bytes become "?" too.
std::string ToCodePage(std::string_view utf8);
// Windows-1252 bytes to UTF-8.
std::string FromCodePage(std::string_view bytes);

// The upper-case form of a Windows-1252 text, for comparing names without
// regard to case (ASCII and the accented letters of the code page).
std::string FoldCase(std::string_view bytes);

}  // namespace qor::registry

#endif  // QOR_REGISTRY_CODEPAGE_H_
