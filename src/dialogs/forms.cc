#include "qorsupport/dialogs/forms.h"

#include "frame/message_box.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/ui/backend.h"

namespace qor {

void qorForms::SetAppName(const Variant& app_name) { StoreAppName(app_name); }

int16_t qorForms::MsgGrunt(const std::string& msg1, const std::string& msg2,
                           const std::string& msg3, int16_t button_type, int16_t icon_type,
                           int16_t default_button) {
  return static_cast<int16_t>(
      ShowMessageBox(msg1, msg2, msg3, button_type, icon_type, default_button));
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
