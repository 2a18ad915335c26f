// qorForms.Requester: the yes/no question in the library's own form.

#include "qorsupport/dialogs/forms.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/ui/backend.h"

namespace qor {

namespace {

std::string OrDefault(const std::string& value, const char* fallback) {
  return IsBlank(Variant(value), true) ? std::string(fallback) : value;
}

int SizeOrDefault(int16_t size, int fallback) {
  if (size < 0) Raise(err::kInvalidCall);
  return size == 0 ? fallback : size;
}

}  // namespace

std::string CutToWidth(const std::string& line, const std::string& font, int size,
                       double width_mm) {
  ui::Backend& backend = ui::Current();
  if (backend.TextWidthMm(font, size, line) <= width_mm) return line;
  // Dropping the last character until the line fits finds the longest
  // prefix that fits; widths grow with the prefix, so search for it.
  std::u32string chars = vb::ToUtf32(line);
  size_t fits = 0;                 // a prefix known to fit
  size_t too_long = chars.size();  // a prefix known not to
  while (too_long - fits > 1) {
    size_t mid = fits + (too_long - fits) / 2;
    if (backend.TextWidthMm(font, size, vb::ToUtf8(chars.substr(0, mid))) <= width_mm) {
      fits = mid;
    } else {
      too_long = mid;
    }
  }
  return vb::ToUtf8(chars.substr(0, fits));
}

bool qorForms::Requester(const std::string& msg1, const std::string& msg2, const std::string& msg3,
                         const std::string& msg_yes, const std::string& msg_no,
                         const std::string& title_bar, const std::string& msg_font,
                         int16_t msg_font_size, const std::string& button_font,
                         int16_t button_font_size) {
  ui::RequesterRequest request;
  request.message_font = OrDefault(msg_font, "MS Sans Serif");
  request.message_font_size = SizeOrDefault(msg_font_size, 10);
  request.button_font = OrDefault(button_font, "Arial");
  request.button_font_size = SizeOrDefault(button_font_size, 12);
  request.title = OrDefault(title_bar, "  Request Form  ");
  const std::string* lines[] = {&msg1, &msg2, &msg3};
  for (size_t i = 0; i < 3; ++i) {
    request.lines[i] = CutToWidth(*lines[i], request.message_font, request.message_font_size,
                                  kRequesterLineWidthMm);
  }
  request.yes = OrDefault(msg_yes, "Yes");
  if (IsNotBlank(Variant(msg_no), true)) request.no = msg_no;
  std::optional<int> answer = ui::Current().Requester(request);
  return answer == ui::kIdYes;
}

}  // namespace qor
