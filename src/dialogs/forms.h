// qorForms: the message boxes and small modal dialogs an application and the
// library itself show.
//
// MsgGrunt turns three message parts and three small codes into a message
// box titled with the application name and a title word; the fixed variants
// (MsgYN, AlertRetry, ...) are MsgGrunt with set codes and a reading of the
// result. None of these methods catches errors; AlertCritical always raises
// error 9999 once its box is closed. The boxes go to the current ui backend.

#ifndef QOR_DIALOGS_FORMS_H_
#define QOR_DIALOGS_FORMS_H_

#include <cstdint>
#include <string>

#include "frame/variant.h"

namespace qor {

// The platform style value of MsgGrunt's codes, and its title word.
int MsgGruntStyle(int16_t button_type, int16_t icon_type, int16_t default_button);
std::string MsgGruntTitleWord(int16_t icon_type);

class qorForms : public Object {
 public:
  std::string_view ClassName() const override { return "qorForms"; }

  // Stores the application name every title uses.
  void SetAppName(const Variant& app_name);

  // Shows pMsg1, then pMsg2 and pMsg3 each on a line of its own when not
  // zero-length; returns the box's result code.
  int16_t MsgGrunt(const std::string& msg1, const std::string& msg2 = "",
                   const std::string& msg3 = "", int16_t button_type = 0, int16_t icon_type = 0,
                   int16_t default_button = 0);

  bool MsgYN(const std::string& msg1, const std::string& msg2 = "", const std::string& msg3 = "");
  int16_t MsgYNCancel(const std::string& msg1, const std::string& msg2 = "",
                      const std::string& msg3 = "");
  bool MsgOkCancel(const std::string& msg1, const std::string& msg2 = "",
                   const std::string& msg3 = "");
  bool CheckOk(const std::string& msg1 = "");
  // True when the user chose Cancel.
  bool AlertCancel(const std::string& msg1, const std::string& msg2 = "",
                   const std::string& msg3 = "");
  // Shows a critical alert, then raises error 9999 "Unknown critical error".
  [[noreturn]] void AlertCritical(const std::string& msg1, const std::string& msg2 = "",
                                  const std::string& msg3 = "");
  bool AlertRetry(const std::string& msg1, const std::string& msg2 = "",
                  const std::string& msg3 = "");
  // Compares with OK although the box offers Retry and Cancel: always False.
  bool MsgRetry(const std::string& msg1, const std::string& msg2 = "",
                const std::string& msg3 = "");

  // Asks for one line of text, titled with the application name; the text
  // confirmed, or "" when cancelled.
  Variant InputForm(const std::string& msg, const std::string& default_text = "");
};

}  // namespace qor

#endif  // QOR_DIALOGS_FORMS_H_
