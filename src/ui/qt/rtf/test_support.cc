#include "ui/qt/rtf/test_support.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextFragment>
#include <memory>

#include "ui/qt/rtf/rtf_reader.h"

namespace qor::rtf::testing {
namespace {

// Qt's fonts need a QGuiApplication; the offscreen platform needs no display.
class QtEnvironment : public ::testing::Environment {
 public:
  void SetUp() override {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static int argc = 1;
    static char name[] = "rtf_test";
    static char* argv[] = {name, nullptr};
    app_ = std::make_unique<QGuiApplication>(argc, argv);
  }
  void TearDown() override { app_.reset(); }

 private:
  std::unique_ptr<QGuiApplication> app_;
};

[[maybe_unused]] ::testing::Environment* const kQtEnvironment =
    ::testing::AddGlobalTestEnvironment(new QtEnvironment);

std::string AlignmentName(Qt::Alignment alignment) {
  switch (alignment & Qt::AlignHorizontal_Mask) {
    case Qt::AlignRight:
      return "right";
    case Qt::AlignHCenter:
      return "centre";
    case Qt::AlignJustify:
      return "justify";
    default:
      return "left";
  }
}

}  // namespace

std::ostream& operator<<(std::ostream& os, const Attributes& a) {
  return os << (a.bold ? "b" : "") << (a.italic ? "i" : "") << (a.underline ? "u" : "")
            << " font=" << a.font << " size=" << a.size << " color=" << a.color;
}

std::ostream& operator<<(std::ostream& os, const Run& r) {
  return os << '"' << r.text << "\" " << r.attributes;
}

Attributes AttributesOf(const QTextCharFormat& format) {
  Attributes a;
  a.bold = format.fontWeight() >= QFont::DemiBold;
  a.italic = format.fontItalic();
  a.underline = format.fontUnderline();
  QStringList families = format.fontFamilies().toStringList();
  if (!families.isEmpty()) a.font = families.first().toStdString();
  a.size = format.fontPointSize();
  if (format.hasProperty(QTextFormat::ForegroundBrush)) {
    a.color = format.foreground().color().name().toStdString();
  }
  return a;
}

std::vector<Run> RunsOf(const QTextDocument& doc) {
  std::vector<Run> runs;
  for (QTextBlock block = doc.begin(); block.isValid(); block = block.next()) {
    for (auto it = block.begin(); !it.atEnd(); ++it) {
      runs.push_back(
          {it.fragment().text().toStdString(), AttributesOf(it.fragment().charFormat())});
    }
  }
  return runs;
}

std::vector<std::string> AlignmentsOf(const QTextDocument& doc) {
  std::vector<std::string> alignments;
  for (QTextBlock block = doc.begin(); block.isValid(); block = block.next()) {
    alignments.push_back(AlignmentName(block.blockFormat().alignment()));
  }
  return alignments;
}

Attributes AttributesAt(const QTextDocument& doc, const QString& text) {
  QTextCursor found = doc.find(text);
  EXPECT_FALSE(found.isNull()) << "no \"" << text.toStdString() << "\" in: " << TextOf(doc);
  if (found.isNull()) return {};
  QTextCursor at(const_cast<QTextDocument*>(&doc));
  at.setPosition(found.selectionStart() + 1);
  return AttributesOf(at.charFormat());
}

std::string TextOf(const QTextDocument& doc) {
  return doc.toRawText().replace(QChar::ParagraphSeparator, QLatin1Char('\n')).toStdString();
}

void Read(const std::string& rtf, QTextDocument* doc) {
  std::string error;
  ASSERT_TRUE(ReadRtf(rtf, doc, &error)) << error;
}

std::string ReadText(const std::string& rtf) {
  QTextDocument doc;
  Read(rtf, &doc);
  return TextOf(doc);
}

}  // namespace qor::rtf::testing
