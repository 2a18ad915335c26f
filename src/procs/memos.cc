// The memo procedures of qorProcs: trimming a memo, breaking it into display
// lines between words, and reading one of its lines.

#include <string>

#include "qorsupport/frame/error.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/procs/procs.h"

namespace qor {

Variant qorProcs::MemoTrim(const Variant& pMemo) {
  if (pMemo.IsNull()) Raise(err::kInvalidNull);
  std::u32string text = vb::ToUtf32(vb::CStr(pMemo));
  while (true) {
    // An all-blank memo ends by asking for the code of an empty text.
    if (text.empty()) Raise(err::kInvalidCall);
    char32_t last = text.back();
    if (last >= 33 && last <= 126) break;
    text.pop_back();
  }
  return Variant(vb::ToUtf8(text));
}

Variant qorProcs::GetNextLineFromMemo(int32_t& pPos, const Variant& pStr, int16_t pLineLen) {
  if (pPos < 1) Raise(err::kInvalidCall);
  std::u32string text = pStr.IsNull() ? std::u32string() : vb::ToUtf32(vb::CStr(pStr));
  const int64_t length = static_cast<int64_t>(text.size());
  int64_t pos = pPos;
  const int64_t line_end = pos + pLineLen - 1;  // the last position the line may use
  int64_t restart = pos;                        // where the unfinished word began
  std::u32string line, word;
  while (true) {
    char32_t c = pos <= length ? text[pos - 1] : U'\0';
    if (pos <= length && c == U'\r') {
      line += word;
      pos += 2;  // over the carriage return and the line feed after it
      if (pos > length) pos = 0;
      break;
    }
    if (pos <= length && c == U' ') {
      ++pos;
      restart = pos;
      line += word + U" ";
      word.clear();
      if (pos > line_end) break;
    } else {
      if (pos <= length) word += c;
      ++pos;
    }
    if (pos > length) {
      pos = 0;
      line += word;
      break;
    }
    if (pos > line_end) {
      pos = restart;  // the unfinished word starts the next line
      break;
    }
  }
  pPos = static_cast<int32_t>(pos);
  return Variant(vb::ToUtf8(line));
}

Variant qorProcs::MemoGetLine(const Variant& pMemo, const Variant& pLineNum,
                              const Variant& /*pMemoWidth*/) {
  if (!IsNotBlank(pMemo, false)) return Variant::Null();
  if (pLineNum.IsMissing() || pLineNum.IsNull()) return Variant::Null();
  const double wanted = vb::CDbl(pLineNum);
  std::u32string text = vb::ToUtf32(vb::CStr(pMemo));
  std::u32string line;
  double count = 0;
  for (char32_t c : text) {
    if (c == U'\n') {
      if (++count == wanted) return Variant(vb::ToUtf8(line));
      line.clear();
    } else if (c > 32 || c == 8) {
      line += c;
    }
  }
  // Text after the last line feed is the last line.
  if (!text.empty() && text.back() != U'\n' && ++count == wanted) {
    return Variant(vb::ToUtf8(line));
  }
  return Variant::Null();
}

}  // namespace qor
