// The tokenizer of Jet SQL (used by jet_sql.cc).
//
// Splits a text into numbers, strings (either quote; a doubled quote is a
// quote), #date# literals, names (bare or [bracketed]; a bracketed name is
// never a keyword) and symbols. A malformed token (an unterminated string,
// bracket or date, a stray or NUL character) throws LexError.
#ifndef QOR_DB_ENGINE_JET_LEXER_H_
#define QOR_DB_ENGINE_JET_LEXER_H_

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "qorsupport/frame/variant.h"

namespace qor::dao::jet {

enum class TokenKind { kNumber, kString, kDate, kName, kSymbol, kEnd };

struct Token {
  TokenKind kind = TokenKind::kEnd;
  std::string text;  // the value: digits, the unquoted string, the name, the symbol
  bool bracketed = false;
  size_t offset = 0;  // byte offset in the source
  size_t end = 0;     // byte offset just past the token

  // A bare (unbracketed) name equal to word (ASCII) without regard to case.
  bool IsKeyword(std::string_view word) const;
  bool IsSymbol(std::string_view symbol) const {
    return kind == TokenKind::kSymbol && text == symbol;
  }
};

struct LexError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// All tokens of text, ending with a kEnd token.
std::vector<Token> Tokenize(std::string_view text);

// The value of a number, string or date token: a whole number that fits is
// a Long, any other number a Double, a string a String, a date a Date.
// False for a date that is none, or a number too large.
bool LiteralValue(const Token& token, Variant* out);

}  // namespace qor::dao::jet

#endif  // QOR_DB_ENGINE_JET_LEXER_H_
