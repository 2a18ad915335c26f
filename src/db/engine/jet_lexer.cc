#include "db/engine/jet_lexer.h"

#include <cctype>
#include <cmath>
#include <cstdlib>

#include "qorsupport/frame/vb_date.h"

namespace qor::dao::jet {

bool Token::IsKeyword(std::string_view word) const {
  if (kind != TokenKind::kName || bracketed || text.size() != word.size()) return false;
  for (size_t i = 0; i < word.size(); ++i) {
    char a = text[i], b = word[i];
    if (a >= 'a' && a <= 'z') a = static_cast<char>(a - 32);
    if (b >= 'a' && b <= 'z') b = static_cast<char>(b - 32);
    if (a != b) return false;
  }
  return true;
}

namespace {

bool IsNameStart(unsigned char c) { return std::isalpha(c) || c == '_' || c >= 0x80; }
bool IsNamePart(unsigned char c) { return std::isalnum(c) || c == '_' || c == '$' || c >= 0x80; }

}  // namespace

std::vector<Token> Tokenize(std::string_view s) {
  // A NUL would end the text early where SQLite reads it.
  if (s.find('\0') != std::string_view::npos) throw LexError("NUL character");
  std::vector<Token> tokens;
  size_t i = 0;
  while (true) {
    while (i < s.size() && std::isspace(static_cast<unsigned char>(s[i]))) ++i;
    Token t;
    t.offset = i;
    if (i >= s.size()) {
      t.end = i;
      tokens.push_back(t);
      return tokens;
    }
    unsigned char c = s[i];
    if (c == '"' || c == '\'') {
      t.kind = TokenKind::kString;
      ++i;
      while (true) {
        if (i >= s.size()) throw LexError("unterminated string");
        if (s[i] == c) {
          if (i + 1 < s.size() && s[i + 1] == c) {
            t.text += static_cast<char>(c);
            i += 2;
            continue;
          }
          ++i;
          break;
        }
        t.text += s[i++];
      }
    } else if (c == '[') {
      t.kind = TokenKind::kName;
      t.bracketed = true;
      size_t end = s.find(']', i + 1);
      if (end == std::string_view::npos) throw LexError("unterminated name");
      t.text = std::string(s.substr(i + 1, end - i - 1));
      if (t.text.empty() || t.text.find('[') != std::string::npos) throw LexError("bad name");
      i = end + 1;
    } else if (c == '#') {
      t.kind = TokenKind::kDate;
      size_t end = s.find('#', i + 1);
      if (end == std::string_view::npos) throw LexError("unterminated date");
      t.text = std::string(s.substr(i + 1, end - i - 1));
      i = end + 1;
    } else if (std::isdigit(c) || (c == '.' && i + 1 < s.size() &&
                                   std::isdigit(static_cast<unsigned char>(s[i + 1])))) {
      t.kind = TokenKind::kNumber;
      while (i < s.size() && std::isdigit(static_cast<unsigned char>(s[i]))) t.text += s[i++];
      if (i < s.size() && s[i] == '.') {
        t.text += s[i++];
        while (i < s.size() && std::isdigit(static_cast<unsigned char>(s[i]))) t.text += s[i++];
      }
      if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
        size_t j = i + 1;
        if (j < s.size() && (s[j] == '+' || s[j] == '-')) ++j;
        if (j < s.size() && std::isdigit(static_cast<unsigned char>(s[j]))) {
          t.text += s.substr(i, j - i);
          i = j;
          while (i < s.size() && std::isdigit(static_cast<unsigned char>(s[i]))) t.text += s[i++];
        }
      }
      if (t.text.front() == '.') t.text.insert(0, "0");
      if (t.text.back() == '.') t.text.pop_back();
      if (i < s.size() && IsNameStart(static_cast<unsigned char>(s[i]))) {
        throw LexError("bad number");
      }
    } else if (IsNameStart(c)) {
      t.kind = TokenKind::kName;
      while (i < s.size() && IsNamePart(static_cast<unsigned char>(s[i]))) t.text += s[i++];
    } else {
      t.kind = TokenKind::kSymbol;
      std::string_view two = s.substr(i, 2);
      if (two == "<>" || two == "<=" || two == ">=") {
        t.text = std::string(two);
        i += 2;
      } else if (std::string_view("=<>+-*/\\^&(),.;!?").find(static_cast<char>(c)) !=
                 std::string_view::npos) {
        t.text = std::string(1, static_cast<char>(c));
        ++i;
      } else {
        throw LexError("unexpected character");
      }
    }
    t.end = i;
    tokens.push_back(std::move(t));
  }
}

bool LiteralValue(const Token& t, Variant* out) {
  switch (t.kind) {
    case TokenKind::kNumber: {
      double x = std::strtod(t.text.c_str(), nullptr);
      if (t.text.find_first_of(".eE") == std::string::npos && x <= 2147483647.0) {
        *out = Long(static_cast<int32_t>(x));
        return true;
      }
      if (std::isinf(x)) return false;
      *out = Variant(x);
      return true;
    }
    case TokenKind::kString:
      *out = Variant(t.text);
      return true;
    case TokenKind::kDate: {
      Date d;
      if (!vb::ParseDate(t.text, &d)) return false;
      *out = Variant(d);
      return true;
    }
    default:
      return false;
  }
}

}  // namespace qor::dao::jet
