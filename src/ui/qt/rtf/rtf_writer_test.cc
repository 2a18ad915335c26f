#include "ui/qt/rtf/rtf_writer.h"

#include <gtest/gtest.h>

#include <QTextBlockFormat>
#include <QTextCursor>

#include "ui/qt/rtf/rtf_reader.h"
#include "ui/qt/rtf/test_support.h"

namespace qor::rtf {
namespace {

using testing::AlignmentsOf;
using testing::Read;
using testing::RunsOf;
using testing::TextOf;

QTextCharFormat Format(bool bold, bool italic, bool underline, const QString& font, double size,
                       QColor color) {
  QTextCharFormat format;
  format.setFontWeight(bold ? QFont::Bold : QFont::Normal);
  format.setFontItalic(italic);
  format.setFontUnderline(underline);
  format.setFontFamilies({font});
  format.setFontPointSize(size);
  if (color.isValid()) format.setForeground(color);
  return format;
}

// A document with every attribute the editor offers, in many combinations:
// the editor's four colours, its sizes 8 to 72, font names with spaces and
// accents, the four alignments, and text that needs escaping.
void BuildSample(QTextDocument* doc) {
  const QColor colors[] = {QColor(0, 0, 0), QColor(0, 0, 255), QColor(255, 0, 0), QColor(0, 255, 0),
                           QColor()};
  const QString fonts[] = {"DejaVu Sans", "Courier New", QString::fromUtf8("Schrift Ä"),
                           "Semi;colon"};
  const QString texts[] = {"plain",
                           QString::fromUtf8("Grüße €5"),
                           QString::fromUtf8("Ωμέγα"),
                           QString::fromUtf8("日本語 😀"),
                           "{braces} and \\back",
                           QString::fromUtf8("tab\there\u2028next line\u00a0nbsp")};
  const Qt::Alignment alignments[] = {Qt::AlignLeft, Qt::AlignRight, Qt::AlignHCenter,
                                      Qt::AlignJustify};
  QTextCursor cursor(doc);
  int n = 0;
  for (int paragraph = 0; paragraph < 8; ++paragraph) {
    if (paragraph > 0) cursor.insertBlock();
    QTextBlockFormat block;
    block.setAlignment(alignments[paragraph % 4]);
    cursor.setBlockFormat(block);
    if (paragraph == 5) continue;  // an empty paragraph
    for (int run = 0; run < 6; ++run, ++n) {
      cursor.insertText(texts[n % 6] + QString::number(n),
                        Format(n & 1, n & 2, n & 4, fonts[n % 4], 8 + 2 * (n % 33), colors[n % 5]));
    }
  }
  cursor.insertBlock();  // the document ends with an empty paragraph
}

TEST(RtfWriter, RoundTripKeepsTextAndEveryAttribute) {
  QTextDocument original;
  BuildSample(&original);
  std::string rtf = WriteRtf(original);
  QTextDocument copy;
  Read(rtf, &copy);
  EXPECT_EQ(TextOf(copy), TextOf(original));
  EXPECT_EQ(RunsOf(copy), RunsOf(original));
  EXPECT_EQ(AlignmentsOf(copy), AlignmentsOf(original));
  // Writing the copy again gives the same RTF: nothing drifts.
  EXPECT_EQ(WriteRtf(copy), rtf);
}

TEST(RtfWriter, WritesSevenBitRtfWithEscapes) {
  QTextDocument doc;
  QTextCursor cursor(&doc);
  cursor.insertText(QString::fromUtf8("é{}\\Ω😀\t\u00a0\x01"));
  std::string rtf = WriteRtf(doc);
  for (char c : rtf) ASSERT_TRUE(c > 0 && c < 0x7f) << rtf;
  EXPECT_TRUE(rtf.starts_with("{\\rtf1\\ansi\\ansicpg1252\\deff0\\uc1")) << rtf;
  EXPECT_NE(rtf.find(" \\'e9\\{\\}\\\\\\u937?\\u-10179?\\u-8704?\\tab \\~}\\par"),
            std::string::npos)
      << rtf;
}

TEST(RtfWriter, EmptyAndPlainDocumentsRoundTrip) {
  QTextDocument empty;
  QTextDocument copy;
  copy.setPlainText("old");
  Read(WriteRtf(empty), &copy);
  EXPECT_EQ(TextOf(copy), "");
  EXPECT_EQ(copy.blockCount(), 1);

  QTextDocument plain;
  plain.setPlainText("first\n\nthird\n");
  Read(WriteRtf(plain), &copy);
  EXPECT_EQ(TextOf(copy), "first\n\nthird\n");
  // Text without a font of its own gets the document's default font.
  EXPECT_EQ(testing::AttributesAt(copy, "first").font, plain.defaultFont().family().toStdString());
}

}  // namespace
}  // namespace qor::rtf
