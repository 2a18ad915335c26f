#include "ui/qt/rtf/code_page.h"

#include <iconv.h>

#include <cerrno>
#include <string>

namespace qor::rtf {
namespace {

constexpr char16_t kReplacement = 0xFFFD;

iconv_t OpenDecoder(int number) {
  std::string name;
  switch (number) {
    case 10000:
      name = "MACINTOSH";
      break;
    case 65001:
      name = "UTF-8";
      break;
    default:
      name = "CP" + std::to_string(number);
  }
  return iconv_open("UTF-16LE", name.c_str());
}

bool IsOpen(iconv_t cd) { return cd != reinterpret_cast<iconv_t>(-1); }

}  // namespace

int CodePageForCharset(int charset) {
  switch (charset) {
    case 77:
      return 10000;
    case 128:
      return 932;
    case 129:
      return 949;
    case 130:
      return 1361;
    case 134:
      return 936;
    case 136:
      return 950;
    case 161:
      return 1253;
    case 162:
      return 1254;
    case 163:
      return 1258;
    case 177:
      return 1255;
    case 178:
      return 1256;
    case 186:
      return 1257;
    case 204:
      return 1251;
    case 222:
      return 874;
    case 238:
      return 1250;
    case 254:
      return 437;
    case 255:
      return 850;
    default:
      return 0;
  }
}

CodePage::CodePage(int number) : number_(number), decoder_(nullptr) {
  iconv_t cd = number > 0 ? OpenDecoder(number) : reinterpret_cast<iconv_t>(-1);
  if (!IsOpen(cd)) {
    number_ = kDefaultCodePage;
    cd = OpenDecoder(kDefaultCodePage);
  }
  if (IsOpen(cd)) decoder_ = cd;
}

CodePage::~CodePage() {
  if (decoder_ != nullptr) iconv_close(static_cast<iconv_t>(decoder_));
}

QString CodePage::Decode(std::string_view bytes) {
  QString out;
  if (decoder_ == nullptr) {  // no converter at all: Latin-1 keeps the text readable
    return QString::fromLatin1(bytes.data(), static_cast<qsizetype>(bytes.size()));
  }
  iconv_t cd = static_cast<iconv_t>(decoder_);
  iconv(cd, nullptr, nullptr, nullptr, nullptr);
  char* in = const_cast<char*>(bytes.data());
  size_t in_left = bytes.size();
  char buffer[1024];
  while (in_left > 0) {
    char* out_ptr = buffer;
    size_t out_left = sizeof buffer;
    size_t result = iconv(cd, &in, &in_left, &out_ptr, &out_left);
    int error = errno;
    out.append(
        QString::fromUtf16(reinterpret_cast<const char16_t*>(buffer), (out_ptr - buffer) / 2));
    if (result == static_cast<size_t>(-1) && error != E2BIG) {
      // EILSEQ or EINVAL: one byte the code page does not define here.
      out.append(QChar(kReplacement));
      ++in;
      --in_left;
      iconv(cd, nullptr, nullptr, nullptr, nullptr);
    }
  }
  return out;
}

void CodePage::BuildEncodeTable() {
  encode_table_built_ = true;
  for (int byte = 0x80; byte <= 0xFF; ++byte) {
    char c = static_cast<char>(byte);
    QString decoded = Decode(std::string_view(&c, 1));
    if (decoded.size() == 1 && decoded[0] != QChar(kReplacement)) {
      high_bytes_[byte - 0x80] = decoded[0].unicode();
    }
  }
}

int CodePage::EncodeByte(char16_t c) {
  if (c < 0x80) return c;
  if (!encode_table_built_) BuildEncodeTable();
  for (int i = 0; i < 128; ++i) {
    if (high_bytes_[i] == c) return 0x80 + i;
  }
  return -1;
}

}  // namespace qor::rtf
