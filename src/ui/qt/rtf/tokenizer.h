// The lexical layer of RTF.
//
// A Tokenizer splits RTF bytes into group starts and ends, control words with
// their optional numeric parameter, control symbols, \'xx bytes, runs of plain
// text and \binN data. It keeps no state beyond its position, takes time
// linear in the input and never reads past its end: an unfinished escape at
// the end is dropped, an oversized parameter is clamped, a \binN longer than
// the rest of the input takes what is left.

#ifndef QOR_UI_QT_RTF_TOKENIZER_H_
#define QOR_UI_QT_RTF_TOKENIZER_H_

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace qor::rtf {

struct Token {
  enum class Kind {
    kGroupStart,     // {
    kGroupEnd,       // }
    kControlWord,    // \word or \wordN; a line break after a backslash is \par
    kControlSymbol,  // \ followed by one character that is not a letter: symbol
    kHexByte,        // \'xx: byte
    kText,           // plain text bytes, without CR and LF: text
    kBinary,         // the data of \binN: text
    kEnd,            // no more input
  };
  Kind kind = Kind::kEnd;
  std::string_view word;  // kControlWord: its letters (at most kMaxWordLength)
  bool has_param = false;
  int32_t param = 0;
  char symbol = 0;
  uint8_t byte = 0;
  std::string_view text;
};

class Tokenizer {
 public:
  // Control words are at most this long; longer ones keep their first letters.
  static constexpr size_t kMaxWordLength = 32;

  explicit Tokenizer(std::string_view input) : input_(input) {}

  Token Next();

 private:
  Token ReadBackslash();
  bool AtEnd() const { return pos_ >= input_.size(); }

  std::string_view input_;
  size_t pos_ = 0;
};

}  // namespace qor::rtf

#endif  // QOR_UI_QT_RTF_TOKENIZER_H_
