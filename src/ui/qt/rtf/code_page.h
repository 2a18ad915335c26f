// Windows code pages for RTF text.
//
// RTF carries text outside ASCII as bytes in the document's code page (\ansicpg,
// Windows-1252 by default) or in the code page that a font's \fcharset names. A
// CodePage converts such bytes to Unicode and single characters back, through
// iconv. Decoding never fails: a byte sequence the code page does not define
// becomes U+FFFD, so a damaged file still opens with the rest of its text.

#ifndef QOR_UI_QT_RTF_CODE_PAGE_H_
#define QOR_UI_QT_RTF_CODE_PAGE_H_

#include <QString>
#include <array>
#include <string_view>

namespace qor::rtf {

inline constexpr int kDefaultCodePage = 1252;

// The code page that an RTF \fcharset value selects; 0 for the charsets that
// mean "the document's code page" (ANSI, default, symbol) and for unknown ones.
int CodePageForCharset(int charset);

class CodePage {
 public:
  // Opens Windows code page `number` (1250 to 1258, 874, 932, 936, 949, 950,
  // 437, 850, 10000 for Macintosh Roman, 65001 for UTF-8). A number that the
  // platform's iconv does not know gives Windows-1252; number() tells which.
  explicit CodePage(int number);
  ~CodePage();
  CodePage(const CodePage&) = delete;
  CodePage& operator=(const CodePage&) = delete;

  int number() const { return number_; }

  // The Unicode text of `bytes`; undefined or incomplete sequences give U+FFFD
  // each and decoding goes on after them.
  QString Decode(std::string_view bytes);

  // The single byte that stands for `c` in this code page, or -1 when it has
  // none (multi-byte characters are never returned). ASCII maps to itself.
  int EncodeByte(char16_t c);

 private:
  void BuildEncodeTable();

  int number_;
  void* decoder_;  // iconv_t, or nullptr when not even Windows-1252 opened
  bool encode_table_built_ = false;
  std::array<char16_t, 128> high_bytes_{};  // Unicode of bytes 0x80..0xFF, 0 if undefined
};

}  // namespace qor::rtf

#endif  // QOR_UI_QT_RTF_CODE_PAGE_H_
