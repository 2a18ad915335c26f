// Differential tests against a real word processor: LibreOffice Writer,
// run headless with a profile of its own in the test's temporary folder.
// RTF that Writer writes must read here with its text and formatting, and
// RTF written here must come out of Writer with the same.

#include <gtest/gtest.h>

#include <QTextBlockFormat>
#include <QTextCursor>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>

#include "testing/test_util.h"
#include "ui/qt/rtf/document_io.h"
#include "ui/qt/rtf/test_support.h"

namespace qor::rtf {
namespace {

using qor::testing::TempDir;
using testing::AlignmentsOf;
using testing::AttributesAt;
using testing::TextOf;

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream content;
  content << in.rdbuf();
  return content.str();
}

// Converts `input` with Writer to `target` ("rtf:Rich Text Format", ...) and
// returns the converted file's content, failing the test when Writer fails.
std::string Convert(const TempDir& dir, const std::string& input, const std::string& target,
                    const std::string& extension, const std::string& infilter = "") {
  std::vector<std::string> argv = {"soffice", "-env:UserInstallation=file://" + dir.File("profile"),
                                   "--headless", "--norestore"};
  if (!infilter.empty()) argv.push_back("--infilter=" + infilter);
  argv.insert(argv.end(), {"--convert-to", target, "--outdir", dir.File("out"), input});
  qor::testing::RunResult result = qor::testing::RunProgram(argv, "");
  std::string stem = std::filesystem::path(input).stem().string();
  std::string output = dir.File("out/" + stem + "." + extension);
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(std::filesystem::exists(output))
      << "soffice made no " << output << ": " << result.out << result.err;
  return ReadFile(output);
}

TEST(WordProcessor, ItsRtfReadsWithTextAndFormatting) {
  TempDir dir;
  std::ofstream(dir.File("source.html")) << R"(<html><head><meta charset="utf-8"></head><body>
<p>Plain <b>bold</b> <i>italic</i> <u>under</u> <font face="Courier New">mono</font>
<span style="font-size:20pt">big</span> <font color="#ff0000">red</font> <font color="#0000ff">blue</font></p>
<p align="center">Centred Grüße € Ωμέγα 日本 😀</p>
<p align="right">Right</p>
<p align="justify">Justified</p>
</body></html>)";
  std::string rtf =
      Convert(dir, dir.File("source.html"), "rtf:Rich Text Format", "rtf", "HTML (StarWriter)");
  ASSERT_TRUE(rtf.starts_with("{\\rtf1")) << rtf.substr(0, 200);

  QTextDocument doc;
  testing::Read(rtf, &doc);
  EXPECT_EQ(TextOf(doc),
            "Plain bold italic under mono big red blue\nCentred Grüße € Ωμέγα 日本 😀\nRight\n"
            "Justified");
  EXPECT_EQ(AlignmentsOf(doc), (std::vector<std::string>{"left", "centre", "right", "justify"}));
  testing::Attributes plain = AttributesAt(doc, "Plain");
  EXPECT_FALSE(plain.bold || plain.italic || plain.underline) << plain;
  EXPECT_TRUE(AttributesAt(doc, "bold").bold);
  EXPECT_TRUE(AttributesAt(doc, "italic").italic);
  EXPECT_TRUE(AttributesAt(doc, "under").underline);
  EXPECT_EQ(AttributesAt(doc, "mono").font, "Courier New");
  EXPECT_NE(plain.font, "Courier New");
  EXPECT_EQ(AttributesAt(doc, "big").size, 20);
  EXPECT_EQ(AttributesAt(doc, "red").color, "#ff0000");
  EXPECT_EQ(AttributesAt(doc, "blue").color, "#0000ff");
  EXPECT_EQ(plain.color, "");
}

// A document in Writer's flat XML format: the properties of each automatic
// style, and per paragraph its style with the styles and texts of its spans.
struct FlatOdt {
  std::map<std::string, std::string> styles;
  struct Paragraph {
    std::string style;
    std::vector<std::pair<std::string, std::string>> spans;  // style, text
  };
  std::vector<Paragraph> paragraphs;

  explicit FlatOdt(const std::string& xml) {
    std::regex style_rule(R"re(<style:style style:name="(\w+)"[^>]*>([\s\S]*?)</style:style>)re");
    for (std::sregex_iterator it(xml.begin(), xml.end(), style_rule), end; it != end; ++it) {
      styles[(*it)[1]] = (*it)[2];
    }
    std::regex paragraph(R"re(<text:p text:style-name="(\w+)">(.*?)</text:p>)re");
    std::regex span(R"re(<text:span text:style-name="(\w+)">(.*?)</text:span>)re");
    for (std::sregex_iterator it(xml.begin(), xml.end(), paragraph), end; it != end; ++it) {
      Paragraph p{styles[(*it)[1]], {}};
      std::string inner = (*it)[2];
      for (std::sregex_iterator s(inner.begin(), inner.end(), span); s != end; ++s) {
        p.spans.emplace_back(styles[(*s)[1]], (*s)[2]);
      }
      paragraphs.push_back(p);
    }
  }

  // The style of the span holding `word`, and of its paragraph.
  std::string SpanStyle(const std::string& word) const {
    for (const Paragraph& p : paragraphs) {
      for (const auto& [style, text] : p.spans) {
        if (text.find(word) != std::string::npos) return style;
      }
    }
    ADD_FAILURE() << "no span with " << word;
    return "";
  }
  std::string ParagraphStyle(const std::string& word) const {
    for (const Paragraph& p : paragraphs) {
      for (const auto& span : p.spans) {
        if (span.second.find(word) != std::string::npos) return p.style;
      }
    }
    ADD_FAILURE() << "no paragraph with " << word;
    return "";
  }
};

TEST(WordProcessor, ReadsOurRtfWithTextAndFormatting) {
  QTextDocument doc;
  QTextCursor cursor(&doc);
  auto add = [&cursor](const QString& text, auto set) {
    QTextCharFormat format;
    set(format);
    cursor.insertText(text, format);
  };
  auto none = [](QTextCharFormat&) {};
  add("Plain ", none);
  add("bold", [](QTextCharFormat& f) { f.setFontWeight(QFont::Bold); });
  add(" ", none);
  add("italic", [](QTextCharFormat& f) { f.setFontItalic(true); });
  add(" ", none);
  add("under", [](QTextCharFormat& f) { f.setFontUnderline(true); });
  add(" ", none);
  add("mono", [](QTextCharFormat& f) { f.setFontFamilies({"Courier New"}); });
  add(" ", none);
  add("big", [](QTextCharFormat& f) { f.setFontPointSize(20); });
  add(" ", none);
  add("red", [](QTextCharFormat& f) { f.setForeground(QColor(255, 0, 0)); });
  add(" ", none);
  add("green", [](QTextCharFormat& f) { f.setForeground(QColor(0, 255, 0)); });
  const std::pair<Qt::Alignment, QString> paragraphs[] = {
      {Qt::AlignHCenter, QString::fromUtf8("Centred Grüße € Ωμέγα 日本 {x}\\")},
      {Qt::AlignRight, "Right"},
      {Qt::AlignJustify, "Justified\ttab"}};
  for (const auto& [alignment, text] : paragraphs) {
    QTextBlockFormat block;
    block.setAlignment(alignment);
    cursor.insertBlock(block);
    cursor.insertText(text);
  }

  TempDir dir;
  std::string error;
  ASSERT_TRUE(SaveDocumentFile(doc, dir.File("ours.rtf"), &error)) << error;
  std::string text = Convert(dir, dir.File("ours.rtf"), "txt:Text (encoded):UTF8", "txt");
  if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
  EXPECT_EQ(text,
            "Plain bold italic under mono big red green\nCentred Grüße € Ωμέγα 日本 {x}\\\n"
            "Right\nJustified\ttab\n");

  FlatOdt odt(Convert(dir, dir.File("ours.rtf"), "fodt", "fodt"));
  auto has = [](const std::string& style, const std::string& what) {
    return style.find(what) != std::string::npos;
  };
  EXPECT_TRUE(has(odt.SpanStyle("bold"), "fo:font-weight=\"bold\"")) << odt.SpanStyle("bold");
  EXPECT_FALSE(has(odt.SpanStyle("Plain"), "fo:font-weight=\"bold\""));
  EXPECT_TRUE(has(odt.SpanStyle("italic"), "fo:font-style=\"italic\""));
  EXPECT_TRUE(has(odt.SpanStyle("under"), "style:text-underline-style=\"solid\""));
  EXPECT_TRUE(has(odt.SpanStyle("mono"), "style:font-name=\"Courier New\""));
  EXPECT_TRUE(has(odt.SpanStyle("big"), "fo:font-size=\"20pt\""));
  EXPECT_TRUE(has(odt.SpanStyle("red"), "fo:color=\"#ff0000\""));
  EXPECT_TRUE(has(odt.SpanStyle("green"), "fo:color=\"#00ff00\""));
  EXPECT_TRUE(has(odt.ParagraphStyle("Plain"), "fo:text-align=\"start\""));
  EXPECT_TRUE(has(odt.ParagraphStyle("Centred"), "fo:text-align=\"center\""));
  EXPECT_TRUE(has(odt.ParagraphStyle("Right"), "fo:text-align=\"end\""));
  EXPECT_TRUE(has(odt.ParagraphStyle("Justified"), "fo:text-align=\"justify\""));
}

}  // namespace
}  // namespace qor::rtf
