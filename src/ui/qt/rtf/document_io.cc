#include "ui/qt/rtf/document_io.h"

#include <QFile>
#include <QSaveFile>
#include <QStringDecoder>

#include "ui/qt/rtf/code_page.h"
#include "ui/qt/rtf/rtf_reader.h"
#include "ui/qt/rtf/rtf_writer.h"

namespace qor::rtf {
namespace {

bool Fail(std::string* error, const std::string& message) {
  if (error != nullptr) *error = message;
  return false;
}

// Plain text in UTF-8 when it is valid UTF-8, else in Windows-1252.
QString DecodePlainText(std::string_view bytes) {
  if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
  QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
  QString text = utf8.decode(QByteArrayView(bytes.data(), static_cast<qsizetype>(bytes.size())));
  if (utf8.hasError()) text = CodePage(kDefaultCodePage).Decode(bytes);
  text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
  text.replace(QLatin1Char('\r'), QLatin1Char('\n'));
  return text;
}

}  // namespace

bool SetDocumentText(std::string_view text, QTextDocument* doc, std::string* error) {
  if (LooksLikeRtf(text)) return ReadRtf(text, doc, error);
  doc->setPlainText(DecodePlainText(text));
  return true;
}

std::string DocumentToRtf(const QTextDocument& doc) { return WriteRtf(doc); }

bool LoadDocumentFile(const std::string& path, QTextDocument* doc, std::string* error) {
  QFile file(QString::fromStdString(path));
  if (!file.open(QIODevice::ReadOnly)) {
    return Fail(error,
                "The file \"" + path + "\" cannot be read: " + file.errorString().toStdString());
  }
  if (file.size() > static_cast<qint64>(kMaxDocumentFileBytes)) {
    return Fail(error, "The file \"" + path + "\" is larger than " +
                           std::to_string(kMaxDocumentFileBytes >> 20) + " MB.");
  }
  QByteArray data = file.readAll();
  if (file.error() != QFileDevice::NoError) {
    return Fail(error,
                "The file \"" + path + "\" cannot be read: " + file.errorString().toStdString());
  }
  std::string problem;
  if (!SetDocumentText(std::string_view(data.constData(), data.size()), doc, &problem)) {
    return Fail(error, "The file \"" + path + "\" cannot be opened. " + problem);
  }
  return true;
}

bool SaveDocumentFile(const QTextDocument& doc, const std::string& path, std::string* error) {
  std::string rtf = WriteRtf(doc);
  QSaveFile file(QString::fromStdString(path));
  if (!file.open(QIODevice::WriteOnly) ||
      file.write(rtf.data(), static_cast<qint64>(rtf.size())) != static_cast<qint64>(rtf.size()) ||
      !file.commit()) {
    return Fail(error,
                "The file \"" + path + "\" cannot be saved: " + file.errorString().toStdString());
  }
  return true;
}

}  // namespace qor::rtf
