#include "ui/qt/rtf/rtf_reader.h"

#include <QColor>
#include <QTextBlockFormat>
#include <QTextCharFormat>
#include <QTextCursor>
#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <vector>

#include "ui/qt/rtf/code_page.h"
#include "ui/qt/rtf/tokenizer.h"

namespace qor::rtf {
namespace {

using Kind = Token::Kind;

enum class Destination { kText, kFontTable, kColorTable, kSkip };

// What a group carries: RTF scopes both character and paragraph properties.
struct GroupState {
  Destination destination = Destination::kText;
  bool bold = false;
  bool italic = false;
  bool underline = false;
  bool hidden = false;
  int font = -1;        // -1: the document's default font (\deff)
  int half_points = 0;  // 0: no size given
  int color = 0;        // 0: automatic
  Qt::Alignment alignment = Qt::AlignLeft;
  int unicode_skip = 1;  // \ucN
};

struct FontEntry {
  QString name;
  int code_page = 0;  // 0: the document's
};

// Destinations whose content is not document text.
constexpr std::array<std::string_view, 42> kSkippedDestinations = {"annotation",
                                                                   "atnauthor",
                                                                   "atnid",
                                                                   "author",
                                                                   "background",
                                                                   "buptim",
                                                                   "colorschememapping",
                                                                   "comment",
                                                                   "creatim",
                                                                   "datastore",
                                                                   "docvar",
                                                                   "doccomm",
                                                                   "falt",
                                                                   "filetbl",
                                                                   "fldinst",
                                                                   "footer",
                                                                   "footerf",
                                                                   "footerl",
                                                                   "footerr",
                                                                   "footnote",
                                                                   "generator",
                                                                   "header",
                                                                   "headerf",
                                                                   "headerl",
                                                                   "headerr",
                                                                   "info",
                                                                   "latentstyles",
                                                                   "listoverridetable",
                                                                   "listtable",
                                                                   "nonshppict",
                                                                   "object",
                                                                   "pict",
                                                                   "printim",
                                                                   "revtbl",
                                                                   "revtim",
                                                                   "rsidtbl",
                                                                   "rxe",
                                                                   "stylesheet",
                                                                   "tc",
                                                                   "template",
                                                                   "themedata",
                                                                   "xe"};

bool IsSkippedDestination(std::string_view word) {
  return std::find(kSkippedDestinations.begin(), kSkippedDestinations.end(), word) !=
         kSkippedDestinations.end();
}

// The character a control word stands for, or 0.
char16_t SpecialCharacter(std::string_view word) {
  static constexpr std::pair<std::string_view, char16_t> kTable[] = {
      {"tab", u'\t'},        {"cell", u'\t'},       {"line", 0x2028},    {"emdash", 0x2014},
      {"endash", 0x2013},    {"bullet", 0x2022},    {"lquote", 0x2018},  {"rquote", 0x2019},
      {"ldblquote", 0x201C}, {"rdblquote", 0x201D}, {"emspace", 0x2003}, {"enspace", 0x2002},
      {"qmspace", 0x2005},   {"zwj", 0x200D},       {"zwnj", 0x200C},    {"zwbo", 0x200B},
      {"ltrmark", 0x200E},   {"rtlmark", 0x200F}};
  for (const auto& [name, c] : kTable) {
    if (name == word) return c;
  }
  return 0;
}

bool IsParagraphBreak(std::string_view word) {
  return word == "par" || word == "sect" || word == "page" || word == "row";
}

// Text as the document may hold it: control characters other than tab,
// paragraph separators and object marks removed, unpaired surrogates replaced.
QString Sanitize(const QString& text) {
  QString out;
  out.reserve(text.size());
  for (qsizetype i = 0; i < text.size(); ++i) {
    char16_t c = text[i].unicode();
    if ((c < 0x20 && c != u'\t') || c == 0x7F || c == 0x2029 || c == 0xFFFC || c == 0xFFFE ||
        c == 0xFFFF) {
      continue;
    }
    if (QChar::isHighSurrogate(c) && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
      out.append(text[i]);
      out.append(text[++i]);
    } else if (QChar::isSurrogate(c)) {
      out.append(QChar(0xFFFD));
    } else {
      out.append(QChar(c));
    }
  }
  return out;
}

class Reader {
 public:
  explicit Reader(QTextDocument* doc) : doc_(doc), cursor_(doc) {}

  void Run(std::string_view rtf);

 private:
  void OpenGroup();
  bool CloseGroup();  // true when the document's group closed
  bool ConsumeFallback(Token& token);
  void HandleWord(const Token& token);
  void HandleFontTableWord(const Token& token);
  void HandleSymbol(char symbol);
  void HandleText(std::string_view bytes);
  void HandleByte(char byte);

  void AddChar(char16_t c);
  void DecodePendingBytes();
  void Flush(bool final = false);
  void FinishFontEntry();
  void FinishColor();
  void ParagraphBreak();
  void StartPendingBlock();
  void ApplyAlignment();
  void Finish();

  int CurrentFont() const { return state_.font >= 0 ? state_.font : default_font_; }
  CodePage& CurrentCodePage();
  QTextCharFormat CurrentCharFormat() const;

  QTextDocument* doc_;
  QTextCursor cursor_;
  GroupState state_;
  std::vector<GroupState> stack_;  // the states of the enclosing groups

  // Text read but not yet placed: bytes still in their code page, then text.
  std::string pending_bytes_;
  QString pending_text_;
  int fallback_left_ = 0;  // characters still to skip after \uN
  bool pending_break_ = false;

  int code_page_ = kDefaultCodePage;
  int default_font_ = 0;
  std::map<int, FontEntry> fonts_;
  int font_entry_ = -1;  // the font table entry being read
  int font_entry_code_page_ = 0;
  std::vector<QColor> colors_;
  int red_ = 0, green_ = 0, blue_ = 0;
  bool color_given_ = false;
  std::map<int, std::unique_ptr<CodePage>> code_pages_;
};

void Reader::Run(std::string_view rtf) {
  bool undo = doc_->isUndoRedoEnabled();
  doc_->setUndoRedoEnabled(false);
  doc_->clear();
  cursor_ = QTextCursor(doc_);
  cursor_.beginEditBlock();
  Tokenizer tokenizer(rtf);
  for (Token token = tokenizer.Next(); token.kind != Kind::kEnd; token = tokenizer.Next()) {
    if (token.kind == Kind::kGroupStart) {
      OpenGroup();
      continue;
    }
    if (token.kind == Kind::kGroupEnd) {
      if (CloseGroup()) break;
      continue;
    }
    if (stack_.empty()) continue;  // white space before the document's group
    if (fallback_left_ > 0 && ConsumeFallback(token)) continue;
    if (state_.destination == Destination::kSkip) continue;
    switch (token.kind) {
      case Kind::kControlWord:
        HandleWord(token);
        break;
      case Kind::kControlSymbol:
        HandleSymbol(token.symbol);
        break;
      case Kind::kHexByte:
        HandleByte(static_cast<char>(token.byte));
        break;
      case Kind::kText:
        HandleText(token.text);
        break;
      default:  // \bin data has no place in the text
        break;
    }
  }
  Finish();
  cursor_.endEditBlock();
  doc_->setUndoRedoEnabled(undo);
}

void Reader::OpenGroup() {
  fallback_left_ = 0;
  Flush();
  stack_.push_back(state_);
}

bool Reader::CloseGroup() {
  fallback_left_ = 0;
  Flush();
  if (state_.destination == Destination::kFontTable) FinishFontEntry();
  if (stack_.size() <= 1) return !stack_.empty();
  state_ = stack_.back();
  stack_.pop_back();
  return false;
}

// Skips the fallback characters after \uN: each byte of text, each \'xx and
// each control word counts as one. Returns true when `token` is used up.
bool Reader::ConsumeFallback(Token& token) {
  if (token.kind != Kind::kText) {
    --fallback_left_;
    return true;
  }
  size_t n = std::min(token.text.size(), static_cast<size_t>(fallback_left_));
  fallback_left_ -= static_cast<int>(n);
  token.text.remove_prefix(n);
  return token.text.empty();
}

void Reader::HandleWord(const Token& token) {
  std::string_view word = token.word;
  int param = token.param;
  bool on = !token.has_param || param != 0;
  if (word == "u") {  // no flush: surrogate pairs come as two \u in a row
    AddChar(static_cast<char16_t>(param));
    fallback_left_ = state_.unicode_skip;
    return;
  }
  Flush();
  if (state_.destination == Destination::kFontTable) {
    HandleFontTableWord(token);
    return;
  }
  if (state_.destination == Destination::kColorTable) {
    int value = std::clamp(param, 0, 255);
    int* component = word == "red"     ? &red_
                     : word == "green" ? &green_
                     : word == "blue"  ? &blue_
                                       : nullptr;
    if (component != nullptr) {
      *component = value;
      color_given_ = true;
    }
    return;
  }
  if (IsParagraphBreak(word)) {
    ParagraphBreak();
  } else if (char16_t c = SpecialCharacter(word); c != 0) {
    AddChar(c);
  } else if (IsSkippedDestination(word)) {
    state_.destination = Destination::kSkip;
  } else if (word == "fonttbl") {
    state_.destination = Destination::kFontTable;
  } else if (word == "colortbl") {
    state_.destination = Destination::kColorTable;
  } else if (word == "ansi") {
    code_page_ = kDefaultCodePage;
  } else if (word == "mac") {
    code_page_ = 10000;
  } else if (word == "pc") {
    code_page_ = 437;
  } else if (word == "pca") {
    code_page_ = 850;
  } else if (word == "ansicpg") {
    if (param > 0) code_page_ = param;
  } else if (word == "deff") {
    default_font_ = param;
  } else if (word == "f") {
    state_.font = param;
  } else if (word == "fs") {
    state_.half_points = std::clamp(param, 0, 3200);
  } else if (word == "b") {
    state_.bold = on;
  } else if (word == "i") {
    state_.italic = on;
  } else if (word == "ulnone") {
    state_.underline = false;
  } else if (word.starts_with("ul") && word != "ulc") {  // \ul, \uld, \uldb, \ulw, ...
    state_.underline = on;
  } else if (word == "v") {
    state_.hidden = on;
  } else if (word == "cf") {
    state_.color = param;
  } else if (word == "plain") {
    GroupState reset;
    reset.destination = state_.destination;
    reset.alignment = state_.alignment;
    reset.unicode_skip = state_.unicode_skip;
    state_ = reset;
  } else if (word == "pard") {
    state_.alignment = Qt::AlignLeft;
  } else if (word == "ql") {
    state_.alignment = Qt::AlignLeft;
  } else if (word == "qr") {
    state_.alignment = Qt::AlignRight;
  } else if (word == "qc") {
    state_.alignment = Qt::AlignHCenter;
  } else if (word == "qj" || word == "qd") {
    state_.alignment = Qt::AlignJustify;
  } else if (word == "uc") {
    state_.unicode_skip = token.has_param ? std::clamp(param, 0, 16) : 1;
  }
  // Every other control word sets something this document model does not show.
}

void Reader::HandleFontTableWord(const Token& token) {
  if (token.word == "f") {
    FinishFontEntry();
    font_entry_ = token.param;
    font_entry_code_page_ = 0;
  } else if (token.word == "fcharset") {
    font_entry_code_page_ = CodePageForCharset(token.param);
  } else if (token.word == "cpg") {
    if (token.param > 0) font_entry_code_page_ = token.param;
  } else if (char16_t c = SpecialCharacter(token.word); c != 0) {
    AddChar(c);
  }
}

void Reader::HandleSymbol(char symbol) {
  switch (symbol) {
    case '\\':
    case '{':
    case '}':
      HandleText(std::string_view(&symbol, 1));
      break;
    case '~':
      AddChar(0x00A0);
      break;
    case '_':
      AddChar(0x2011);
      break;
    case '*':
      Flush();
      state_.destination = Destination::kSkip;
      break;
    default:  // \- optional hyphen, \| and \: index marks, broken \'
      break;
  }
}

void Reader::HandleText(std::string_view bytes) {
  switch (state_.destination) {
    case Destination::kText:
      pending_bytes_.append(bytes);
      break;
    case Destination::kFontTable:
      for (char c : bytes) {
        if (c == ';') {
          FinishFontEntry();
        } else {
          HandleByte(c);
        }
      }
      break;
    case Destination::kColorTable:
      for (char c : bytes) {
        if (c == ';') FinishColor();
      }
      break;
    case Destination::kSkip:
      break;
  }
}

// One byte of text; in a font name even an escaped ";" is part of the name.
void Reader::HandleByte(char byte) {
  if (state_.destination == Destination::kText) {
    pending_bytes_.push_back(byte);
  } else if (state_.destination == Destination::kFontTable &&
             pending_bytes_.size() + pending_text_.size() < kMaxFontNameLength) {
    pending_bytes_.push_back(byte);
  }
}

void Reader::AddChar(char16_t c) {
  DecodePendingBytes();
  if (state_.destination == Destination::kFontTable && pending_text_.size() >= kMaxFontNameLength) {
    return;
  }
  if (state_.destination == Destination::kText || state_.destination == Destination::kFontTable) {
    pending_text_.append(QChar(c));
  }
}

CodePage& Reader::CurrentCodePage() {
  int number = code_page_;
  if (state_.destination == Destination::kFontTable) {
    if (font_entry_code_page_ != 0) number = font_entry_code_page_;
  } else if (auto it = fonts_.find(CurrentFont()); it != fonts_.end() && it->second.code_page) {
    number = it->second.code_page;
  }
  auto& slot = code_pages_[number];
  if (!slot) slot = std::make_unique<CodePage>(number);
  if (code_pages_.size() > 32) {  // \ansicpg with ever new numbers: keep the set small
    auto kept = std::move(slot);
    code_pages_.clear();
    return *(code_pages_[number] = std::move(kept));
  }
  return *slot;
}

void Reader::DecodePendingBytes() {
  if (pending_bytes_.empty()) return;
  pending_text_.append(CurrentCodePage().Decode(pending_bytes_));
  pending_bytes_.clear();
}

// Places the pending text in the document with the current format. A font
// name stays pending until its entry ends. A high surrogate at the end waits for the low one that
// may follow after other control words (Writer puts \uc0 between the halves).
void Reader::Flush(bool final) {
  if (state_.destination != Destination::kText) return;
  DecodePendingBytes();
  if (pending_text_.isEmpty()) return;
  QString held;
  if (!final && pending_text_.back().isHighSurrogate()) {
    held = pending_text_.back();
    pending_text_.chop(1);
  }
  QString text = Sanitize(pending_text_);
  pending_text_ = held;
  if (state_.hidden || text.isEmpty()) return;
  StartPendingBlock();
  cursor_.insertText(text, CurrentCharFormat());
}

void Reader::FinishFontEntry() {
  DecodePendingBytes();
  QString name = Sanitize(pending_text_).trimmed();
  pending_text_.clear();
  if (font_entry_ >= 0 && !name.isEmpty() &&
      (fonts_.size() < static_cast<size_t>(kMaxFonts) || fonts_.count(font_entry_))) {
    fonts_[font_entry_] = FontEntry{name, font_entry_code_page_};
  }
  font_entry_ = -1;
  font_entry_code_page_ = 0;
}

void Reader::FinishColor() {
  if (colors_.size() < static_cast<size_t>(kMaxColors)) {
    colors_.push_back(color_given_ ? QColor(red_, green_, blue_) : QColor());
  }
  red_ = green_ = blue_ = 0;
  color_given_ = false;
}

// A paragraph mark ends the current paragraph; the next one begins only when
// something follows, so that the mark closing the document adds no paragraph.
void Reader::ParagraphBreak() {
  StartPendingBlock();
  ApplyAlignment();
  pending_break_ = true;
}

void Reader::StartPendingBlock() {
  if (!pending_break_) return;
  pending_break_ = false;
  cursor_.insertBlock(QTextBlockFormat(), CurrentCharFormat());
}

void Reader::ApplyAlignment() {
  QTextBlockFormat format = cursor_.blockFormat();
  format.setAlignment(state_.alignment);
  cursor_.setBlockFormat(format);
}

void Reader::Finish() {
  Flush(/*final=*/true);
  if (!pending_break_) ApplyAlignment();
}

QTextCharFormat Reader::CurrentCharFormat() const {
  QTextCharFormat format;
  format.setFontWeight(state_.bold ? QFont::Bold : QFont::Normal);
  format.setFontItalic(state_.italic);
  format.setFontUnderline(state_.underline);
  if (auto it = fonts_.find(CurrentFont()); it != fonts_.end()) {
    format.setFontFamilies(QStringList{it->second.name});
  }
  if (state_.half_points > 0) format.setFontPointSize(state_.half_points / 2.0);
  if (state_.color > 0 && state_.color < static_cast<int>(colors_.size()) &&
      colors_[state_.color].isValid()) {
    format.setForeground(colors_[state_.color]);
  }
  return format;
}

// Checks what must hold before the document is touched.
std::string Check(std::string_view rtf) {
  if (rtf.size() > kMaxRtfBytes) {
    return "The RTF text is longer than " + std::to_string(kMaxRtfBytes >> 20) + " MB.";
  }
  if (!LooksLikeRtf(rtf)) return "The text is not RTF: it does not start with \"{\\rtf\".";
  Tokenizer tokenizer(rtf);
  int depth = 0;
  int paragraphs = 0;  // marks anywhere, also in skipped groups: a bound, not a count
  for (Token token = tokenizer.Next(); token.kind != Kind::kEnd; token = tokenizer.Next()) {
    if (token.kind == Kind::kGroupStart && ++depth > kMaxGroupDepth) {
      return "The RTF text nests groups deeper than " + std::to_string(kMaxGroupDepth) + " levels.";
    }
    if (token.kind == Kind::kControlWord && IsParagraphBreak(token.word) &&
        ++paragraphs > kMaxParagraphs) {
      return "The RTF text has more than " + std::to_string(kMaxParagraphs) + " paragraphs.";
    }
    if (token.kind == Kind::kGroupEnd && --depth == 0) break;
  }
  return {};
}

}  // namespace

bool LooksLikeRtf(std::string_view data) {
  if (data.starts_with("\xEF\xBB\xBF")) data.remove_prefix(3);
  size_t start = data.find_first_not_of(" \t\r\n");
  return start != std::string_view::npos && data.substr(start).starts_with("{\\rtf");
}

bool ReadRtf(std::string_view rtf, QTextDocument* doc, std::string* error) {
  std::string problem = Check(rtf);
  if (!problem.empty()) {
    if (error != nullptr) *error = problem;
    return false;
  }
  Reader(doc).Run(rtf);
  return true;
}

}  // namespace qor::rtf
