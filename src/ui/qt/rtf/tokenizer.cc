#include "ui/qt/rtf/tokenizer.h"

#include <algorithm>
#include <limits>

namespace qor::rtf {
namespace {

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

int HexValue(char c) {
  if (IsDigit(c)) return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

Token Tokenizer::Next() {
  // Line breaks outside \bin carry no meaning.
  while (!AtEnd() && (input_[pos_] == '\r' || input_[pos_] == '\n')) ++pos_;
  Token token;
  if (AtEnd()) return token;
  char c = input_[pos_];
  if (c == '{' || c == '}') {
    ++pos_;
    token.kind = c == '{' ? Token::Kind::kGroupStart : Token::Kind::kGroupEnd;
    return token;
  }
  if (c == '\\') return ReadBackslash();
  size_t start = pos_;
  while (!AtEnd()) {
    c = input_[pos_];
    if (c == '{' || c == '}' || c == '\\' || c == '\r' || c == '\n') break;
    ++pos_;
  }
  token.kind = Token::Kind::kText;
  token.text = input_.substr(start, pos_ - start);
  return token;
}

Token Tokenizer::ReadBackslash() {
  Token token;
  ++pos_;  // the backslash
  if (AtEnd()) return token;
  char c = input_[pos_];
  if (!IsLetter(c)) {
    ++pos_;
    if (c == '\r' || c == '\n') {
      token.kind = Token::Kind::kControlWord;
      token.word = "par";
      return token;
    }
    if (c == '\'') {
      int high = pos_ < input_.size() ? HexValue(input_[pos_]) : -1;
      int low = pos_ + 1 < input_.size() ? HexValue(input_[pos_ + 1]) : -1;
      if (high >= 0 && low >= 0) {
        pos_ += 2;
        token.kind = Token::Kind::kHexByte;
        token.byte = static_cast<uint8_t>(high * 16 + low);
        return token;
      }
      // A broken escape comes back as the symbol ' that readers ignore.
    }
    token.kind = Token::Kind::kControlSymbol;
    token.symbol = c;
    return token;
  }

  size_t start = pos_;
  while (!AtEnd() && IsLetter(input_[pos_])) ++pos_;
  token.kind = Token::Kind::kControlWord;
  token.word = input_.substr(start, std::min(pos_ - start, kMaxWordLength));

  bool negative = false;
  if (pos_ + 1 < input_.size() && input_[pos_] == '-' && IsDigit(input_[pos_ + 1])) {
    negative = true;
    ++pos_;
  }
  if (!AtEnd() && IsDigit(input_[pos_])) {
    int64_t value = 0;
    constexpr int64_t kLimit = std::numeric_limits<int32_t>::max();
    while (!AtEnd() && IsDigit(input_[pos_])) {
      value = std::min(kLimit, value * 10 + (input_[pos_] - '0'));
      ++pos_;
    }
    token.has_param = true;
    token.param = static_cast<int32_t>(negative ? -value : value);
  }
  if (!AtEnd() && input_[pos_] == ' ') ++pos_;  // the delimiting space belongs to the word

  if (token.word == "bin" && token.has_param) {
    size_t length = std::min<size_t>(token.param > 0 ? token.param : 0, input_.size() - pos_);
    token.kind = Token::Kind::kBinary;
    token.text = input_.substr(pos_, length);
    pos_ += length;
  }
  return token;
}

}  // namespace qor::rtf
