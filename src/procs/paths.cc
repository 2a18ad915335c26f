// The path text procedures of qorProcs: taking paths apart and cleaning
// names, character by character, with "/", "\" and ":" as breaks.

#include <cstdlib>

#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/report.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/procs/procs.h"

namespace qor {

namespace {

bool IsSeparator(char c) { return c == '/' || c == '\\'; }
bool IsPathBreak(char c) { return IsSeparator(c) || c == ':'; }

// The separator a path already uses (its last one), "/" when it has none.
char SeparatorOf(std::string_view path) {
  for (size_t i = path.size(); i > 0; --i) {
    if (IsSeparator(path[i - 1])) return path[i - 1];
  }
  return '/';
}

// The characters after the last break; with stop_at_dot, the scan ends at
// the first "." and gives what it has read by then.
std::string FilePart(std::string_view path, bool stop_at_dot) {
  std::string accumulator;
  for (char c : path) {
    if (stop_at_dot && c == '.') break;
    if (IsPathBreak(c)) {
      accumulator.clear();
    } else {
      accumulator += c;
    }
  }
  return accumulator;
}

}  // namespace

std::string qorProcs::GetFileNameWithoutExt(const std::string& pFileName) {
  size_t dot = pFileName.rfind('.');
  return dot == std::string::npos ? std::string() : pFileName.substr(0, dot);
}

std::string qorProcs::GetFileExt(const std::string& pFileName) {
  size_t dot = pFileName.rfind('.');
  return dot == std::string::npos ? std::string() : pFileName.substr(dot + 1);
}

Variant qorProcs::ExtractFilenameFromPath(const Variant& pPath) {
  if (IsBlank(pPath, true)) return Variant::Null();
  return Variant(FilePart(vb::CStr(pPath), true));
}

Variant qorProcs::ExtractFileWithExtFromPath(const Variant& pPath) {
  if (IsBlank(pPath, true)) return Variant::Null();
  return Variant(FilePart(vb::CStr(pPath), false));
}

Variant qorProcs::ExtractPathFromPath(const Variant& pPath) {
  Variant file = ExtractFileWithExtFromPath(pPath);
  if (IsBlank(file, false)) return Variant::Null();
  std::string path = vb::CStr(pPath);
  return Variant(vb::Left(path, vb::Len(path) - vb::Len(file.AsString())));
}

std::string qorProcs::NormaliseDir(const std::string& pPath, bool pRemoveTrailingSlash) {
  bool ends_in_separator = !pPath.empty() && IsSeparator(pPath.back());
  if (!pRemoveTrailingSlash) {
    return ends_in_separator ? pPath : pPath + SeparatorOf(pPath);
  }
  if (!ends_in_separator) return pPath;
  bool has_drive = pPath.find(':') != std::string::npos;
  if (has_drive && vb::Len(pPath) < 4) return pPath;  // a drive root keeps its separator
  return pPath.substr(0, pPath.size() - 1);
}

Variant qorProcs::CleanFilename(const std::string& pFname) {
  Variant name(pFname);
  for (std::string_view c : {" ", "*", "?", "#", "&"}) name = RemoveChar(name, c);
  return Variant(vb::Left(vb::CStr(name), 8));
}

Variant qorProcs::RemoveChar(const Variant& pText, std::string_view pChar) {
  if (IsBlank(pText, false) || pChar.empty()) return pText;
  std::u32string text = vb::ToUtf32(vb::CStr(pText));
  char32_t target = vb::ToUtf32(pChar)[0];
  std::u32string kept;
  for (char32_t c : text) {
    if (c != target) kept += c;
  }
  return Variant(vb::ToUtf8(kept));
}

std::string qorProcs::GetTempDir(bool Verbose) {
  const char* temp = std::getenv("TEMP");
  Variant value(temp ? temp : "");
  if (IsBlank(value, true)) {
    Reporter("GetTempDir", Verbose).Fail("The TEMP environment variable is NOT set");
    return std::string();
  }
  return NormaliseDir(value.AsString(), false);
}

bool qorProcs::ContainsWildcard(const std::string& pString) {
  return pString.find_first_of("*?") != std::string::npos;
}

}  // namespace qor
