#include "qorsupport/ui/scripted.h"

#include "qorsupport/frame/vb.h"

namespace qor::ui {

namespace {

const Variant kNoField;

Variant Text(const std::string& s) { return Variant(s); }
Variant Number(int n) { return Variant(static_cast<int32_t>(n)); }
Variant TextOrNull(const std::optional<std::string>& s) {
  return s ? Variant(*s) : Variant::Null();
}

bool IsWholeNumber(const Variant& v) {
  return v.IsNumber() && v.NumericValue() == static_cast<int32_t>(v.NumericValue());
}

Variant StringArray(const std::vector<std::string>& items) {
  Array array(VarType::kString, {{0, static_cast<int32_t>(items.size()) - 1}});
  for (size_t i = 0; i < items.size(); ++i) array.elements()[i] = Variant(items[i]);
  return Variant(std::move(array));
}

template <size_t N>
Variant StringArray(const std::array<std::string, N>& items) {
  return StringArray(std::vector<std::string>(items.begin(), items.end()));
}

}  // namespace

const Variant& UiEvent::Field(std::string_view name) const {
  for (const auto& field : fields) {
    if (field.first == name) return field.second;
  }
  return kNoField;
}

void ScriptedBackend::Queue(Variant answer) {
  std::lock_guard<std::mutex> lock(mu_);
  answers_.push_back(std::move(answer));
}

size_t ScriptedBackend::PendingAnswers() const {
  std::lock_guard<std::mutex> lock(mu_);
  return answers_.size();
}

void ScriptedBackend::ClearAnswers() {
  std::lock_guard<std::mutex> lock(mu_);
  answers_.clear();
}

std::vector<UiEvent> ScriptedBackend::Events() const {
  std::lock_guard<std::mutex> lock(mu_);
  return events_;
}

std::vector<UiEvent> ScriptedBackend::TakeEvents() {
  std::lock_guard<std::mutex> lock(mu_);
  std::vector<UiEvent> taken;
  taken.swap(events_);
  return taken;
}

std::optional<Variant> ScriptedBackend::Next() {
  std::lock_guard<std::mutex> lock(mu_);
  if (answers_.empty()) return std::nullopt;
  Variant v = std::move(answers_.front());
  answers_.pop_front();
  return v;
}

void ScriptedBackend::Record(UiEvent event) {
  std::lock_guard<std::mutex> lock(mu_);
  events_.push_back(std::move(event));
}

int ScriptedBackend::NumberAnswer(UiEvent event, int fallback, int low, int high) {
  int answer = fallback;
  if (std::optional<Variant> next = Next()) {
    if (IsWholeNumber(*next) && next->NumericValue() >= low && next->NumericValue() <= high) {
      answer = vb::CLng(*next);
    } else {
      event.mismatch = true;
    }
  }
  event.fields.emplace_back("answer", Number(answer));
  Record(std::move(event));
  return answer;
}

int ScriptedBackend::MsgBox(const MsgBoxRequest& request) {
  return NumberAnswer(UiEvent{"MsgBox",
                              {{"title", Text(request.title)},
                               {"text", Text(request.text)},
                               {"style", Number(request.style)}}},
                      defaults_.MsgBox(request), INT32_MIN, INT32_MAX);
}

std::optional<std::string> ScriptedBackend::TextAnswer(UiEvent event,
                                                       std::optional<std::string> fallback) {
  std::optional<std::string> answer = std::move(fallback);
  if (std::optional<Variant> next = Next()) {
    if (next->IsString()) {
      answer = next->AsString();
    } else if (next->IsNull()) {
      answer = std::nullopt;
    } else {
      event.mismatch = true;
    }
  }
  event.fields.emplace_back("answer", TextOrNull(answer));
  Record(std::move(event));
  return answer;
}

std::optional<std::string> ScriptedBackend::InputBox(const InputBoxRequest& request) {
  return TextAnswer(UiEvent{"InputBox",
                            {{"title", Text(request.title)},
                             {"prompt", Text(request.prompt)},
                             {"default", Text(request.default_text)}}},
                    defaults_.InputBox(request));
}

ListAnswer ScriptedBackend::List(const ListRequest& request) {
  UiEvent event{"List",
                {{"title", Text(request.title)},
                 {"items", StringArray(request.items)},
                 {"multi", Variant(request.multi)}}};
  ListAnswer answer = defaults_.List(request);
  auto valid = [&](const Variant& v) {
    return IsWholeNumber(v) && v.NumericValue() >= 0 &&
           v.NumericValue() < static_cast<double>(request.items.size());
  };
  if (std::optional<Variant> next = Next()) {
    if (next->IsNull()) {
      answer = std::nullopt;
    } else if (valid(*next)) {
      answer = std::vector<int>{vb::CLng(*next)};
    } else if (next->IsArray() && request.multi) {
      std::vector<int> chosen;
      bool ok = true;
      for (const Variant& e : next->AsArray().elements()) {
        if (!valid(e))
          ok = false;
        else
          chosen.push_back(vb::CLng(e));
      }
      if (ok)
        answer = chosen;
      else
        event.mismatch = true;
    } else {
      event.mismatch = true;
    }
  }
  Variant shown = Variant::Null();
  if (answer) {
    if (request.multi) {
      Array array(VarType::kLong, {{0, static_cast<int32_t>(answer->size()) - 1}});
      for (size_t i = 0; i < answer->size(); ++i) array.elements()[i] = Number((*answer)[i]);
      shown = Variant(std::move(array));
    } else if (!answer->empty()) {
      shown = Number(answer->front());
    }
  }
  event.fields.emplace_back("answer", shown);
  Record(std::move(event));
  return answer;
}

std::optional<double> ScriptedBackend::Calendar(const CalendarRequest& request) {
  UiEvent event{"Calendar",
                {{"title", Text(request.title)}, {"initial", Variant(Date{request.initial})}}};
  std::optional<double> answer = defaults_.Calendar(request);
  if (std::optional<Variant> next = Next()) {
    if (next->IsDate()) {
      answer = next->AsDate().serial;
    } else if (next->IsNull()) {
      answer = std::nullopt;
    } else {
      event.mismatch = true;
    }
  }
  event.fields.emplace_back("answer", answer ? Variant(Date{*answer}) : Variant::Null());
  Record(std::move(event));
  return answer;
}

int ScriptedBackend::Menu(const MenuRequest& request) {
  return NumberAnswer(UiEvent{"Menu",
                              {{"title", Text(request.title)},
                               {"headings", StringArray(request.headings)},
                               {"items", StringArray(request.items)}}},
                      defaults_.Menu(request), 0, 13);
}

std::optional<int> ScriptedBackend::Requester(const RequesterRequest& request) {
  UiEvent event{"Requester",
                {{"title", Text(request.title)},
                 {"lines", StringArray(request.lines)},
                 {"yes", Text(request.yes)},
                 {"no", Text(request.no)},
                 {"messageFont", Text(request.message_font)},
                 {"messageFontSize", Number(request.message_font_size)},
                 {"buttonFont", Text(request.button_font)},
                 {"buttonFontSize", Number(request.button_font_size)}}};
  std::optional<int> answer = defaults_.Requester(request);
  if (std::optional<Variant> next = Next()) {
    if (next->IsNull()) {
      answer = std::nullopt;
    } else if (IsWholeNumber(*next) &&
               (vb::CLng(*next) == kIdYes || (vb::CLng(*next) == kIdNo && !request.no.empty()))) {
      answer = vb::CLng(*next);
    } else {
      event.mismatch = true;
    }
  }
  event.fields.emplace_back("answer", answer ? Number(*answer) : Variant::Null());
  Record(std::move(event));
  return answer;
}

std::optional<std::string> ScriptedBackend::FileDialog(const FileDialogRequest& request) {
  return TextAnswer(UiEvent{"FileDialog",
                            {{"title", Text(request.title)},
                             {"filter", Text(request.filter)},
                             {"initialDir", Text(request.initial_dir)},
                             {"flags", Number(request.flags)}}},
                    defaults_.FileDialog(request));
}

std::optional<std::string> ScriptedBackend::FolderDialog(const FolderDialogRequest& request) {
  return TextAnswer(UiEvent{"FolderDialog", {{"title", Text(request.title)}}},
                    defaults_.FolderDialog(request));
}

std::optional<std::string> ScriptedBackend::RichText(const RichTextRequest& request) {
  return TextAnswer(UiEvent{"RichText",
                            {{"title", Text(request.title)},
                             {"text", Text(request.text)},
                             {"open", Variant(request.open)},
                             {"save", Variant(request.save)},
                             {"print", Variant(request.print)}}},
                    defaults_.RichText(request));
}

double ScriptedBackend::TextWidthMm(const std::string& font, int size, const std::string& text) {
  return defaults_.TextWidthMm(font, size, text);
}

void ScriptedBackend::Beep() { Record(UiEvent{"Beep", {}}); }

namespace {

// Loading the library makes the backend selectable by name.
[[maybe_unused]] const bool kRegistered =
    (RegisterBackendMaker("scripted", [] { return std::make_shared<ScriptedBackend>(); }), true);

}  // namespace

}  // namespace qor::ui
