// Documents of the rich-text editor in and out of text and files.
//
// The editor holds its text in a QTextDocument; callers hand it RTF or plain
// text and get RTF back. These functions decide between the two (content
// starting with "{\rtf" is RTF, anything else plain text), so that a caller
// can pass either and ".txt" files open as text. Errors come back as a false
// result with a message fit to show the user; the document is then left as
// it was.

#ifndef QOR_UI_QT_RTF_DOCUMENT_IO_H_
#define QOR_UI_QT_RTF_DOCUMENT_IO_H_

#include <QTextDocument>
#include <string>
#include <string_view>

namespace qor::rtf {

// Files larger than this are refused before they are read.
inline constexpr size_t kMaxDocumentFileBytes = 64u << 20;

// Puts `text` into `doc`: RTF when LooksLikeRtf, otherwise plain text in
// UTF-8 (an empty text gives an empty document).
bool SetDocumentText(std::string_view text, QTextDocument* doc, std::string* error = nullptr);

// The document as RTF (WriteRtf).
std::string DocumentToRtf(const QTextDocument& doc);

// Loads the file at `path` into `doc`: RTF by content, otherwise plain text,
// read as UTF-8 when it is valid UTF-8 and as Windows-1252 when not, with CR
// LF and CR line ends taken as paragraph breaks.
bool LoadDocumentFile(const std::string& path, QTextDocument* doc, std::string* error = nullptr);

// Saves `doc` as RTF to `path`. The file is replaced in one step: a failed
// save leaves the previous file as it was.
bool SaveDocumentFile(const QTextDocument& doc, const std::string& path,
                      std::string* error = nullptr);

}  // namespace qor::rtf

#endif  // QOR_UI_QT_RTF_DOCUMENT_IO_H_
