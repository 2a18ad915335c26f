// Writing Qt's document model as RTF.
//
// WriteRtf produces RTF 1.x that other word processors read: the text of
// every paragraph with its alignment, and per run of characters bold,
// italic, underline, font name, size and colour, which is what ReadRtf reads
// back. The output is 7-bit ASCII: characters of Windows-1252 are written as
// \'xx, all others as \uN with "?" as the fallback for old readers. Tabs,
// line breaks (U+2028) and non-breaking spaces become \tab, \line and \~;
// other control characters and embedded objects are left out.

#ifndef QOR_UI_QT_RTF_RTF_WRITER_H_
#define QOR_UI_QT_RTF_RTF_WRITER_H_

#include <QTextDocument>
#include <string>

namespace qor::rtf {

std::string WriteRtf(const QTextDocument& doc);

}  // namespace qor::rtf

#endif  // QOR_UI_QT_RTF_RTF_WRITER_H_
