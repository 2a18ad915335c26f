// qorForms.MenuForm: up to 13 numbered choices, answered by click or key.

#include <string_view>

#include "qorsupport/dialogs/forms.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/ui/backend.h"

namespace qor {

std::optional<int> MenuKeyChoice(char32_t key) {
  if (key >= U'1' && key <= U'9') return static_cast<int>(key - U'0');
  if (key >= U'a' && key <= U'd') return static_cast<int>(key - U'a') + 10;
  if (key >= U'A' && key <= U'D') return static_cast<int>(key - U'A') + 10;
  if (key == U'n' || key == U'N') return 0;
  return std::nullopt;
}

int16_t qorForms::MenuForm(const std::array<std::string, 13>& labels, const std::string& heading1,
                           const std::string& heading2, const std::string& title_bar) {
  ui::MenuRequest request;
  for (size_t i = 0; i < labels.size(); ++i) {
    if (IsNotBlank(Variant(labels[i]), true)) request.items[i] = labels[i];
  }
  request.headings[0] = heading1;
  if (IsNotBlank(Variant(heading2), true)) request.headings[1] = heading2;
  request.title = IsBlank(Variant(title_bar), true) ? "Menu Form" : "  " + title_bar;
  for (char32_t key : std::u32string_view(U"123456789abcdABCDnN")) {
    request.keys[key] = *MenuKeyChoice(key);
  }
  int choice = ui::Current().Menu(request);
  return static_cast<int16_t>(choice >= 0 && choice <= 13 ? choice : 0);
}

}  // namespace qor
