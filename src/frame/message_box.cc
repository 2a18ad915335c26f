#include "frame/message_box.h"

#include "qorsupport/frame/globals.h"
#include "qorsupport/ui/backend.h"

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

int ShowMessageBox(const std::string& msg1, const std::string& msg2, const std::string& msg3,
                   int16_t button_type, int16_t icon_type, int16_t default_button) {
  std::string text = msg1;
  if (IsNotBlank(Variant(msg2), false)) text += "\r\n" + msg2;
  if (IsNotBlank(Variant(msg3), false)) text += "\r\n" + msg3;
  ui::MsgBoxRequest request;
  request.text = std::move(text);
  request.style = MsgGruntStyle(button_type, icon_type, default_button);
  request.title = GetAppName() + " " + MsgGruntTitleWord(icon_type);
  return ui::Current().MsgBox(request);
}

}  // namespace qor
