// Helpers shared by the RTF tests: a QGuiApplication on the offscreen
// platform for the whole test program, and ways to look at what a document
// holds.

#ifndef QOR_UI_QT_RTF_TEST_SUPPORT_H_
#define QOR_UI_QT_RTF_TEST_SUPPORT_H_

#include <QColor>
#include <QTextCharFormat>
#include <QTextDocument>
#include <ostream>
#include <string>
#include <vector>

namespace qor::rtf::testing {

// The attributes the editor offers, as one character of a document has them.
struct Attributes {
  bool bold = false;
  bool italic = false;
  bool underline = false;
  std::string font;   // empty when not set
  double size = 0;    // 0 when not set
  std::string color;  // "#rrggbb", empty when not set
  bool operator==(const Attributes&) const = default;
};
std::ostream& operator<<(std::ostream& os, const Attributes& a);

Attributes AttributesOf(const QTextCharFormat& format);

// A run of text with one set of attributes; paragraphs are separate runs.
struct Run {
  std::string text;
  Attributes attributes;
  bool operator==(const Run&) const = default;
};
std::ostream& operator<<(std::ostream& os, const Run& r);

// Every fragment of every paragraph, in order.
std::vector<Run> RunsOf(const QTextDocument& doc);

// The alignment of each paragraph as "left", "right", "centre" or "justify".
std::vector<std::string> AlignmentsOf(const QTextDocument& doc);

// The attributes of the first character of the first occurrence of `text`;
// fails the test when the document lacks it.
Attributes AttributesAt(const QTextDocument& doc, const QString& text);

// The document's text, paragraphs joined with "\n", in UTF-8.
std::string TextOf(const QTextDocument& doc);

// Reads `rtf` into `doc`, failing the test on an error.
void Read(const std::string& rtf, QTextDocument* doc);

// The text (TextOf) of `rtf` read into a new document.
std::string ReadText(const std::string& rtf);

}  // namespace qor::rtf::testing

#endif  // QOR_UI_QT_RTF_TEST_SUPPORT_H_
