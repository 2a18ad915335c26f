// The file and folder requesters of qorWinAPI.
//
// FileRequester asks the user for a file or a folder through the current
// ui backend's file and folder dialogs: GetFileNameParam (driven by a
// FileNameParams record that also carries the answers back), GetFileName
// (one filter, open or save) and GetFolderName. Late-bound callers reach
// them as methods of qorWinAPI (automation/register_requesters.cc).
//
// A cancelled dialog is no error: the result is False or "" and nothing is
// shown. A chosen path comes back whole, whatever its length. Titles
// default to the application name followed by a fixed phrase.

#ifndef QOR_DIALOGS_REQUESTERS_H_
#define QOR_DIALOGS_REQUESTERS_H_

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "qorsupport/frame/variant.h"

namespace qor {

// Option bits of the file dialog.
inline constexpr int32_t kOfnFileMustExist = 0x1000;
inline constexpr int32_t kOfnLongNames = 0x200000;

// The fields of the FileNameParams record type, in order, at their zero
// values: FiltMsg and FilText (variant arrays 0 to 20), Flags (Long),
// InitialDir, Title, FilePath, Filename, FileTitle, DirName (variants) and
// hWndOwner (Long).
std::vector<std::pair<std::string, Variant>> FileNameParamsFields();
// A FileNameParams record with every field at its zero value.
Record NewFileNameParams();

// The dialog's filter text: for each pair of entries 0 to 19 up to the
// first blank name or pattern, name + " (" + patterns + ")" NUL patterns
// NUL, and one more NUL at the end; "" when the first pair is blank. A
// NUL inside a name or pattern raises error 5.
std::string BuildFileFilter(const Array& names, const Array& patterns);

class FileRequester {
 public:
  // Shows the file dialog as the record asks (Flags 0 means the file must
  // exist; a blank Title means GetAppName() + " File Requester"). On a
  // choice sets FilePath, FileTitle (the name without folder) and DirName
  // (the folder with its closing separator) and returns True; otherwise
  // FilePath and FileTitle are Null and the result is False. Errors are
  // caught and shown with ShowErrorBox (source "GetFileNameParam()"), such
  // as a filter with a NUL inside; the result is then False.
  bool GetFileNameParam(Record& params);

  // The chosen path, or "" when cancelled. In save mode (pSaveFlag) a blank
  // pSaveExt leaves the name as chosen; otherwise "." + pSaveExt is added
  // unless the name already ends in it (compared trimmed, any case).
  std::string GetFileName(const std::string& initial_dir = "", const std::string& filter_name = "",
                          const std::string& filter_extents = "", bool save_flag = false,
                          const std::string& save_ext = "", const std::string& message = "");

  // The chosen folder's path, or "" when cancelled.
  std::string GetFolderName(const std::string& message = "Please Select a Folder",
                            int32_t hwnd = 0);
};

}  // namespace qor

#endif  // QOR_DIALOGS_REQUESTERS_H_
