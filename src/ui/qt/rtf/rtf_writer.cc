#include "ui/qt/rtf/rtf_writer.h"

#include <QColor>
#include <QHash>
#include <QTextBlock>
#include <QTextCharFormat>
#include <QTextFragment>
#include <cmath>
#include <vector>

#include "ui/qt/rtf/code_page.h"

namespace qor::rtf {
namespace {

QString FontName(const QTextCharFormat& format) {
  QStringList families = format.fontFamilies().toStringList();
  return families.isEmpty() ? QString() : families.first();
}

bool HasColor(const QTextCharFormat& format) {
  return format.hasProperty(QTextFormat::ForegroundBrush) &&
         format.foreground().style() != Qt::NoBrush;
}

const char* AlignmentWord(Qt::Alignment alignment) {
  switch (alignment & Qt::AlignHorizontal_Mask) {
    case Qt::AlignRight:
      return "\\qr";
    case Qt::AlignHCenter:
      return "\\qc";
    case Qt::AlignJustify:
      return "\\qj";
    default:
      return "\\ql";
  }
}

class Writer {
 public:
  explicit Writer(const QTextDocument& doc) : doc_(doc), code_page_(kDefaultCodePage) {}

  std::string Run();

 private:
  void CollectTables();
  int FontIndex(const QString& name) const { return font_index_.value(name, 0); }
  int ColorIndex(const QColor& color) const { return color_index_.value(color.rgb(), 0); }
  void WriteFormat(const QTextCharFormat& format);
  void WriteText(const QString& text);
  void WriteWord(const char* word, int param);

  const QTextDocument& doc_;
  CodePage code_page_;
  QStringList fonts_;  // the font table; entry 0 is the document's default font
  QHash<QString, int> font_index_;
  std::vector<QColor> colors_;  // the colour table without its automatic entry 0
  QHash<QRgb, int> color_index_;
  std::string out_;
};

std::string Writer::Run() {
  CollectTables();
  out_ = "{\\rtf1\\ansi\\ansicpg1252\\deff0\\uc1\n{\\fonttbl";
  for (int i = 0; i < fonts_.size(); ++i) {
    WriteWord("{\\f", i);
    out_ += "\\fnil\\fcharset0 ";
    // A ";" ends the name unless it comes as a byte escape.
    const QStringList parts = fonts_[i].split(';');
    for (qsizetype part = 0; part < parts.size(); ++part) {
      if (part > 0) out_ += "\\'3b";
      WriteText(parts[part]);
    }
    out_ += ";}";
  }
  out_ += "}\n{\\colortbl;";
  for (const QColor& color : colors_) {
    WriteWord("\\red", color.red());
    WriteWord("\\green", color.green());
    WriteWord("\\blue", color.blue());
    out_ += ';';
  }
  out_ += "}\n";
  for (QTextBlock block = doc_.begin(); block.isValid(); block = block.next()) {
    out_ += "\\pard\\plain";
    out_ += AlignmentWord(block.blockFormat().alignment());
    for (auto it = block.begin(); !it.atEnd(); ++it) {
      QTextFragment fragment = it.fragment();
      if (!fragment.isValid()) continue;
      out_ += '{';
      WriteFormat(fragment.charFormat());
      out_ += ' ';
      WriteText(fragment.text());
      out_ += '}';
    }
    out_ += "\\par\n";
  }
  out_ += "}\n";
  return std::move(out_);
}

void Writer::CollectTables() {
  fonts_.append(doc_.defaultFont().family());
  font_index_.insert(fonts_.first(), 0);
  for (QTextBlock block = doc_.begin(); block.isValid(); block = block.next()) {
    for (auto it = block.begin(); !it.atEnd(); ++it) {
      QTextCharFormat format = it.fragment().charFormat();
      QString name = FontName(format);
      if (!name.isEmpty() && !font_index_.contains(name)) {
        font_index_.insert(name, static_cast<int>(fonts_.size()));
        fonts_.append(name);
      }
      if (HasColor(format) && !color_index_.contains(format.foreground().color().rgb())) {
        colors_.push_back(format.foreground().color());
        color_index_.insert(colors_.back().rgb(), static_cast<int>(colors_.size()));
      }
    }
  }
}

void Writer::WriteFormat(const QTextCharFormat& format) {
  WriteWord("\\f", FontIndex(FontName(format)));
  double points = format.fontPointSize();
  if (points > 0) WriteWord("\\fs", static_cast<int>(std::lround(points * 2)));
  if (format.fontWeight() >= QFont::DemiBold) out_ += "\\b";
  if (format.fontItalic()) out_ += "\\i";
  if (format.fontUnderline()) out_ += "\\ul";
  if (HasColor(format)) WriteWord("\\cf", ColorIndex(format.foreground().color()));
}

void Writer::WriteText(const QString& text) {
  for (QChar qc : text) {
    char16_t c = qc.unicode();
    switch (c) {
      case u'\\':
        out_ += "\\\\";
        continue;
      case u'{':
        out_ += "\\{";
        continue;
      case u'}':
        out_ += "\\}";
        continue;
      case u'\t':
        out_ += "\\tab ";
        continue;
      case 0x2028:
        out_ += "\\line ";
        continue;
      case 0x00A0:
        out_ += "\\~";
        continue;
      case 0x2029:
      case 0xFFFC:
        continue;
      default:
        break;
    }
    if (c < 0x20 || c == 0x7F) continue;
    if (c < 0x80) {
      out_ += static_cast<char>(c);
      continue;
    }
    int byte = code_page_.EncodeByte(c);
    if (byte >= 0) {
      static constexpr char kHex[] = "0123456789abcdef";
      out_ += "\\'";
      out_ += kHex[byte >> 4];
      out_ += kHex[byte & 15];
    } else {
      WriteWord("\\u", static_cast<int16_t>(c));
      out_ += '?';
    }
  }
}

void Writer::WriteWord(const char* word, int param) {
  out_ += word;
  out_ += std::to_string(param);
}

}  // namespace

std::string WriteRtf(const QTextDocument& doc) { return Writer(doc).Run(); }

}  // namespace qor::rtf
