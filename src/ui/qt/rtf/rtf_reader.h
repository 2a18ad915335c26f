// Reading RTF into Qt's document model.
//
// ReadRtf fills a QTextDocument from RTF text with what the rich-text editor
// shows: the text with its paragraph breaks, tabs and line breaks, and per
// character bold, italic, underline, font name, size and colour, per
// paragraph the alignment. It follows the rules that let files of other word
// processors open: destinations marked \* and known non-text destinations
// (style sheet, info, pictures, headers, field instructions, ...) are skipped,
// unknown control words are ignored, \'xx bytes are decoded in the code page
// of the font (\fcharset) or of the document (\ansicpg, Windows-1252 when
// absent), \uN takes the \ucN fallback characters after it, hidden text (\v)
// is left out. A paragraph mark at the very end ends the last paragraph
// instead of starting an empty one.
//
// Hostile input is refused, never followed: input longer than kMaxRtfBytes,
// groups nested deeper than kMaxGroupDepth or more than kMaxParagraphs
// paragraph marks give an error and leave the document as it was. Every
// table the reader keeps is capped (fonts, colours, names, code pages), so
// memory stays proportional to the input and time linear in it.

#ifndef QOR_UI_QT_RTF_RTF_READER_H_
#define QOR_UI_QT_RTF_RTF_READER_H_

#include <QTextDocument>
#include <cstddef>
#include <string>
#include <string_view>

namespace qor::rtf {

inline constexpr size_t kMaxRtfBytes = 64u << 20;
inline constexpr int kMaxGroupDepth = 256;
inline constexpr int kMaxParagraphs = 1000000;
inline constexpr int kMaxFonts = 4096;
inline constexpr int kMaxColors = 4096;
inline constexpr int kMaxFontNameLength = 256;

// True when `data` starts, after optional white space, with "{\rtf".
bool LooksLikeRtf(std::string_view data);

// Replaces the content of `doc` with the RTF document `rtf`. Returns false and
// sets *error (when error is not null) for input that is not RTF, too long,
// nested too deeply or with too many paragraphs; `doc` is then unchanged.
// Text after the group that encloses the document is ignored; a document cut
// off before its last "}" reads as far as it goes.
bool ReadRtf(std::string_view rtf, QTextDocument* doc, std::string* error = nullptr);

}  // namespace qor::rtf

#endif  // QOR_UI_QT_RTF_RTF_READER_H_
