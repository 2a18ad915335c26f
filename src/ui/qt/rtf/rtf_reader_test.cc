#include "ui/qt/rtf/rtf_reader.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "ui/qt/rtf/test_support.h"

namespace qor::rtf {
namespace {

using testing::AlignmentsOf;
using testing::Attributes;
using testing::AttributesAt;
using testing::Read;
using testing::ReadText;
using testing::TextOf;

constexpr char kTables[] =
    "{\\rtf1\\ansi\\deff0"
    "{\\fonttbl{\\f0\\froman\\fcharset0 Times New Roman;}{\\f1\\fmodern Courier New;}"
    "{\\f2\\fnil\\fcharset204 Cyr Font;}}"
    "{\\colortbl;\\red0\\green0\\blue0;\\red255\\green0\\blue0;\\red0\\green0\\blue255;}\n";

std::string Doc(const std::string& body) { return kTables + body + "}"; }

// Attributes from flags ("b", "i", "u" in any mix) and the other values.
Attributes Attr(std::string_view flags, std::string font, double size = 0, std::string color = "") {
  Attributes a;
  a.bold = flags.find('b') != std::string_view::npos;
  a.italic = flags.find('i') != std::string_view::npos;
  a.underline = flags.find('u') != std::string_view::npos;
  a.font = std::move(font);
  a.size = size;
  a.color = std::move(color);
  return a;
}

TEST(RtfReader, CharacterFormattingFollowsGroupsAndResets) {
  QTextDocument doc;
  Read(Doc("plain {\\b bold {\\i both} }{\\ul under\\ulnone  off} \\b on\\b0  off "
           "{\\f1\\fs40\\cf2 mono} {\\uldb double} {\\b\\i\\plain reset}"),
       &doc);
  EXPECT_EQ(TextOf(doc), "plain bold both under off on off mono double reset");
  Attributes plain = Attr("", "Times New Roman");
  EXPECT_EQ(AttributesAt(doc, "plain"), plain);
  EXPECT_EQ(AttributesAt(doc, "bold"), Attr("b", "Times New Roman"));
  EXPECT_EQ(AttributesAt(doc, "both"), Attr("bi", "Times New Roman"));
  EXPECT_EQ(AttributesAt(doc, "under"), Attr("u", "Times New Roman"));
  EXPECT_EQ(AttributesAt(doc, " off on"), plain);
  EXPECT_EQ(AttributesAt(doc, "on"), Attr("b", "Times New Roman"));
  EXPECT_EQ(AttributesAt(doc, "mono"), Attr("", "Courier New", 20, "#ff0000"));
  EXPECT_EQ(AttributesAt(doc, "double").underline, true);
  EXPECT_EQ(AttributesAt(doc, "reset"), plain);
}

TEST(RtfReader, ColourZeroAndUnknownFontsLeaveAttributesUnset) {
  QTextDocument doc;
  Read(Doc("{\\cf0 auto}{\\cf9 missing}{\\cf3 blue}{\\f7 nofont}"), &doc);
  EXPECT_EQ(AttributesAt(doc, "auto").color, "");
  EXPECT_EQ(AttributesAt(doc, "missing").color, "");
  EXPECT_EQ(AttributesAt(doc, "blue").color, "#0000ff");
  EXPECT_EQ(AttributesAt(doc, "nofont").font, "");
}

TEST(RtfReader, ParagraphsTakeTheAlignmentInEffectAtTheirMark) {
  QTextDocument doc;
  Read(Doc("\\qc centred\\par\\pard right? \\qr yes\\par\\pard\\qj just\\par left\\par\\pard\\par"),
       &doc);
  EXPECT_EQ(TextOf(doc), "centred\nright? yes\njust\nleft\n");
  EXPECT_EQ(AlignmentsOf(doc),
            (std::vector<std::string>{"centre", "right", "justify", "justify", "left"}));
}

TEST(RtfReader, TheLastParagraphMarkAddsNoParagraph) {
  QTextDocument doc;
  EXPECT_EQ(ReadText("{\\rtf1 one\\par}"), "one");
  EXPECT_EQ(ReadText("{\\rtf1 one\\par\\par}"), "one\n");
  EXPECT_EQ(ReadText("{\\rtf1 one\\\ntwo\\par\\qc}"),
            "one\ntwo");  // backslash and line break is \par
  Read("{\\rtf1}", &doc);
  EXPECT_EQ(TextOf(doc), "");
  EXPECT_EQ(doc.blockCount(), 1);
}

TEST(RtfReader, SpecialCharactersAndEscapes) {
  QTextDocument doc;
  Read(Doc("a\\tab b\\line c\\~d\\emdash\\endash\\bullet\\lquote x\\rquote\\ldblquote y\\rdblquote"
           " \\{\\}\\\\ e\\_f\\-g\n\rh"),
       &doc);
  EXPECT_EQ(TextOf(doc),
            "a\tb\u2028c\u00a0d\u2014\u2013\u2022\u2018x\u2019\u201cy\u201d{}\\ e\u2011fgh");
}

TEST(RtfReader, BytesDecodeInTheCodePageOfDocumentOrFont) {
  EXPECT_EQ(ReadText(Doc("\\'e9\\'80\\'81 {\\f2 \\'e9\\'c4}")),
            "é€\ufffd йД");  // 0x81 is not in Windows-1252
  EXPECT_EQ(ReadText("{\\rtf1\\ansi\\ansicpg1251 \\'e9\\'c4}"), "йД");
  EXPECT_EQ(ReadText("{\\rtf1\\ansi\\ansicpg1253 \\'e1\\'e2}"), "αβ");
  EXPECT_EQ(ReadText("{\\rtf1\\ansi\\ansicpg932 \\'82\\'a0\\'93\\'fa x}"),
            "あ日 x");  // double-byte pairs
  EXPECT_EQ(ReadText("{\\rtf1\\ansi\\ansicpg99999 \\'e9}"),
            "é");  // unknown code page: Windows-1252
  EXPECT_EQ(ReadText("{\\rtf1\\mac \\'8e}"), "é");
  // \\fcharset0 (ANSI) stands for the document's code page.
  EXPECT_EQ(ReadText("{\\rtf1\\ansicpg1251{\\fonttbl{\\f0\\fcharset0 A;}}\\f0 \\'e9}"), "й");
}

TEST(RtfReader, UnicodeEscapesSkipTheirFallback) {
  EXPECT_EQ(ReadText("{\\rtf1 \\u8364?\\u937\\'3f|}"),
            "€Ω|");  // \uc1 by default, \'xx counts as one
  EXPECT_EQ(ReadText("{\\rtf1\\uc2 \\u8364\\'80\\'80x{\\uc0\\u937 y}\\u937 ab}"), "€xΩyΩ");
  EXPECT_EQ(ReadText("{\\rtf1 \\u-10179?\\u-8704?!}"),
            "😀!");  // a surrogate pair, as Word writes it
  EXPECT_EQ(ReadText("{\\rtf1 \\uc0 \\u55357\\uc1 \\u56832\\'3f.}"),
            "😀.");  // the same as Writer writes it
  EXPECT_EQ(ReadText("{\\rtf1\\uc3 \\u8364{x}y {\\uc1\\u-10179? z}}"),
            "€xy \ufffd z");  // a group ends the fallback
}

TEST(RtfReader, SkipsDestinationsThatAreNotText) {
  QTextDocument doc;
  Read(Doc("{\\*\\generator Writer;}{\\info{\\title Title}{\\author Me}}"
           "{\\stylesheet{\\s0 Normal;}}{\\header head}{\\*\\unknowndest {nested} text}"
           "{\\pict\\wmetafile8\\bin4 {}}\\'ff}a{\\field{\\*\\fldinst HYPERLINK \"x\"}"
           "{\\fldrslt link}}b \\unknownword42 c {\\v hidden}d{\\footnote note}"),
       &doc);
  EXPECT_EQ(TextOf(doc), "alinkb c d");
}

// What the Windows rich-text control (and WordPad) writes.
TEST(RtfReader, ReadsRichEditOutput) {
  QTextDocument doc;
  Read(
      "{\\rtf1\\ansi\\ansicpg1252\\deff0\\nouicompat\\deflang1033{\\fonttbl{\\f0\\fnil"
      "\\fcharset0 Calibri;}{\\f1\\fnil\\fcharset204 Arial;}}\r\n"
      "{\\colortbl ;\\red255\\green0\\blue0;}\r\n"
      "{\\*\\generator Riched20 10.0.19041}\\viewkind4\\uc1 \r\n"
      "\\pard\\sa200\\sl276\\slmult1\\cf1\\b\\f0\\fs22\\lang9 Hello\\cf0\\b0  world\\par\r\n"
      "\\pard\\sa200\\sl276\\slmult1\\qc\\f1\\lang1049\\'cf\\'f0\\'e8\\'e2\\'e5\\'f2\\par\r\n}\r\n",
      &doc);
  EXPECT_EQ(TextOf(doc), "Hello world\nПривет");
  EXPECT_EQ(AttributesAt(doc, "Hello"), Attr("b", "Calibri", 11, "#ff0000"));
  EXPECT_EQ(AttributesAt(doc, "world"), Attr("", "Calibri", 11));
  EXPECT_EQ(AttributesAt(doc, "Привет"), Attr("", "Arial", 11));
  EXPECT_EQ(AlignmentsOf(doc), (std::vector<std::string>{"left", "centre"}));
}

TEST(RtfReader, FontTableForms) {
  QTextDocument doc;
  // Entries with and without groups, alternative names, charsets, escapes.
  Read(
      "{\\rtf1{\\fonttbl\\f0\\fswiss Arial;\\f1 {\\*\\falt Other}Sans\\'e9 Name;"
      "{\\f2\\fcharset204 \\'c4\\u1046?;}}{\\f0 a}{\\f1 b}{\\f2 c}}",
      &doc);
  EXPECT_EQ(AttributesAt(doc, "a").font, "Arial");
  EXPECT_EQ(AttributesAt(doc, "b").font, "Sansé Name");
  EXPECT_EQ(AttributesAt(doc, "c").font, "ДЖ");
}

TEST(RtfReader, RefusesWhatIsNotRtfOrTooDeep) {
  QTextDocument doc;
  doc.setPlainText("before");
  std::string error;
  EXPECT_FALSE(ReadRtf("plain text", &doc, &error));
  EXPECT_EQ(error, "The text is not RTF: it does not start with \"{\\rtf\".");
  EXPECT_FALSE(ReadRtf("", &doc, &error));

  std::string deep = "{\\rtf1 " + std::string(kMaxGroupDepth, '{') + "x}";
  EXPECT_FALSE(ReadRtf(deep, &doc, &error));
  EXPECT_EQ(error, "The RTF text nests groups deeper than 256 levels.");
  EXPECT_EQ(TextOf(doc), "before");

  std::string limit = "{\\rtf1 " + std::string(kMaxGroupDepth - 1, '{') + "x" +
                      std::string(kMaxGroupDepth - 1, '}') + "}";
  EXPECT_TRUE(ReadRtf(limit, &doc, &error)) << error;
  EXPECT_EQ(TextOf(doc), "x");

  std::string paragraphs = "{\\rtf1 ";
  for (int i = 0; i <= kMaxParagraphs; ++i) paragraphs += i % 2 ? "\\par " : "\\\n";
  EXPECT_FALSE(ReadRtf(paragraphs, &doc, &error));
  EXPECT_EQ(error, "The RTF text has more than 1000000 paragraphs.");
  EXPECT_EQ(TextOf(doc), "x");

  // Deep nesting after the document's group has closed is not looked at.
  EXPECT_TRUE(ReadRtf("{\\rtf1 y}" + std::string(100000, '{'), &doc, &error));
  EXPECT_EQ(TextOf(doc), "y");
}

TEST(RtfReader, TruncatedAndUnbalancedInputReadsAsFarAsItGoes) {
  EXPECT_EQ(ReadText("  \r\n{\\rtf1 {\\b cut off"), "cut off");
  EXPECT_EQ(ReadText("{\\rtf1 one}} two"), "one");
  EXPECT_EQ(ReadText("{\\rtf1 broken \\'zz escape\\'4"), "broken zz escape4");
  EXPECT_EQ(ReadText("{\\rtf1 trailing backslash\\"), "trailing backslash");
}

// Hostile inputs end in bounded time with bounded tables: huge parameters,
// endless control words, binary lengths beyond the input, thousands of
// fonts and colours, a font name of megabytes, depth at every level.
TEST(RtfReader, HostileInputStaysBounded) {
  auto start = std::chrono::steady_clock::now();
  QTextDocument doc;
  Read(
      "{\\rtf1\\fs99999999999999 \\u99999999999? ab\\uc2147483647 \\ansicpg-5 \\u1 "
      "0123456789abcdefXY\\bin2147483647 cd}",
      &doc);
  EXPECT_EQ(TextOf(doc), " abXY");                // \\uc is capped at 16, \\bin at the input's end
  EXPECT_EQ(AttributesAt(doc, "ab").size, 1600);  // and sizes at 1600 points

  EXPECT_EQ(ReadText("{\\rtf1\\" + std::string(1 << 20, 'x') + "99 text}"), "text");

  std::string fonts = "{\\rtf1{\\fonttbl";
  for (int i = 0; i <= kMaxFonts; ++i)
    fonts += "{\\f" + std::to_string(i) + " F" + std::to_string(i) + ";}";
  fonts += "{\\f99999 " + std::string(1 << 20, 'n') + ";}}";
  fonts += "{\\f1 one}{\\f" + std::to_string(kMaxFonts) + " over}{\\f99999 long}}";
  Read(fonts, &doc);
  EXPECT_EQ(AttributesAt(doc, "one").font, "F1");
  EXPECT_EQ(AttributesAt(doc, "over").font, "");  // beyond the cap
  EXPECT_EQ(AttributesAt(doc, "long").font, "");

  std::string name = "{\\rtf1{\\fonttbl{\\f0 " + std::string(1 << 20, 'n') + ";}}{\\f0 x}}";
  Read(name, &doc);
  EXPECT_EQ(AttributesAt(doc, "x").font.size(), static_cast<size_t>(kMaxFontNameLength));

  std::string colors = "{\\rtf1{\\colortbl;";
  for (int i = 0; i < 100000; ++i) colors += "\\red1;";
  colors += "}{\\cf" + std::to_string(kMaxColors + 5) + " x}}";
  Read(colors, &doc);
  EXPECT_EQ(AttributesAt(doc, "x").color, "");

  std::string code_pages = "{\\rtf1 ";
  for (int i = 0; i < 2000; ++i) code_pages += "\\ansicpg" + std::to_string(i) + " \\'e9";
  Read(code_pages + "}", &doc);
  EXPECT_LE(doc.characterCount(), 2001);

  std::string error;
  std::string every_level;
  for (int i = 0; i < 300; ++i) every_level += "{\\b\\'e9\\u1?";
  EXPECT_FALSE(ReadRtf("{\\rtf1" + every_level, &doc, &error));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

}  // namespace
}  // namespace qor::rtf
