#include "dialogs/forms.h"

#include "frame/error.h"
#include "frame/globals.h"
#include "ui/backend.h"

namespace qor {

int MsgGruntStyle(int16_t button_type, int16_t icon_type, int16_t default_button) {
  int buttons;
  switch (button_type) {
    case 1:
      buttons = 1;
      break;  // OK, Cancel
    case 2:
      buttons = 5;
      break;  // Retry, Cancel
    case 3:
      buttons = 4;
      break;  // Yes, No
    case 4:
      buttons = 3;
      break;  // Yes, No, Cancel
    default:
      buttons = 0;
      break;
  }
  int icon;
  switch (icon_type) {
    case 1:
      icon = 32;
      break;
    case 2:
      icon = 48;
      break;
    case 3:
      icon = 16;
      break;
    default:
      icon = 64;
      break;
  }
  int default_flag;
  switch (default_button) {
    case 2:
      default_flag = 256;
      break;
    case 3:
      default_flag = 512;
      break;
    default:
      default_flag = 0;
      break;
  }
  return buttons + icon + default_flag;
}

std::string MsgGruntTitleWord(int16_t icon_type) {
  switch (icon_type) {
    case 2:
      return "Alert";
    case 3:
      return "Critical Alert";
    default:
      return "Message";
  }
}

void qorForms::SetAppName(const Variant& app_name) { StoreAppName(app_name); }

int16_t qorForms::MsgGrunt(const std::string& msg1, const std::string& msg2,
                           const std::string& msg3, int16_t button_type, int16_t icon_type,
                           int16_t default_button) {
  std::string text = msg1;
  if (IsNotBlank(Variant(msg2), false)) text += "\r\n" + msg2;
  if (IsNotBlank(Variant(msg3), false)) text += "\r\n" + msg3;
  ui::MsgBoxRequest request;
  request.text = std::move(text);
  request.style = MsgGruntStyle(button_type, icon_type, default_button);
  request.title = GetAppName() + " " + MsgGruntTitleWord(icon_type);
  return static_cast<int16_t>(ui::Current().MsgBox(request));
}

bool qorForms::MsgYN(const std::string& msg1, const std::string& msg2, const std::string& msg3) {
  return MsgGrunt(msg1, msg2, msg3, 3, 1, 2) == ui::kIdYes;
}

int16_t qorForms::MsgYNCancel(const std::string& msg1, const std::string& msg2,
                              const std::string& msg3) {
  return MsgGrunt(msg1, msg2, msg3, 4, 1, 2);
}

bool qorForms::MsgOkCancel(const std::string& msg1, const std::string& msg2,
                           const std::string& msg3) {
  return MsgGrunt(msg1, msg2, msg3, 1, 1, 2) != ui::kIdCancel;
}

bool qorForms::CheckOk(const std::string& msg1) { return MsgOkCancel(msg1, "", ""); }

bool qorForms::AlertCancel(const std::string& msg1, const std::string& msg2,
                           const std::string& msg3) {
  return MsgGrunt(msg1, msg2, msg3, 1, 2, 2) == ui::kIdCancel;
}

void qorForms::AlertCritical(const std::string& msg1, const std::string& msg2,
                             const std::string& msg3) {
  MsgGrunt(msg1, msg2, msg3, 0, 3, 1);
  throw Error(err::kCritical, "Unknown", "Unknown critical error");
}

bool qorForms::AlertRetry(const std::string& msg1, const std::string& msg2,
                          const std::string& msg3) {
  return MsgGrunt(msg1, msg2, msg3, 2, 2, 1) == ui::kIdRetry;
}

bool qorForms::MsgRetry(const std::string& msg1, const std::string& msg2, const std::string& msg3) {
  return MsgGrunt(msg1, msg2, msg3, 2, 0, 1) == ui::kIdOk;
}

std::optional<std::string> AskInput(const std::string& msg, const std::string& default_text) {
  ui::InputBoxRequest request;
  request.title = GetAppName();
  request.prompt = msg;
  if (IsNotBlank(Variant(default_text), false)) request.default_text = default_text;
  return ui::Current().InputBox(request);
}

Variant qorForms::InputForm(const std::string& msg, const std::string& default_text) {
  return Variant(AskInput(msg, default_text).value_or(std::string()));
}

}  // namespace qor
