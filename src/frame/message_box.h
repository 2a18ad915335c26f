// The composition of the library's message boxes: three message parts and
// three small codes (buttons, icon, default button) become one box request
// titled with the application name and a title word. qorForms::MsgGrunt and
// the reporting helpers both show their boxes through ShowMessageBox, so a box
// reads the same whoever shows it.

#ifndef QOR_FRAME_MESSAGE_BOX_H_
#define QOR_FRAME_MESSAGE_BOX_H_

#include <cstdint>
#include <string>

namespace qor {

// The platform style value of the codes: buttons 0 OK, 1 OK/Cancel,
// 2 Retry/Cancel, 3 Yes/No, 4 Yes/No/Cancel; icon 0 information,
// 1 question, 2 exclamation, 3 stop; default button 1 to 3. Unknown codes
// fall back to the first of each list.
int MsgGruntStyle(int16_t button_type, int16_t icon_type, int16_t default_button);

// "Alert" for icon 2, "Critical Alert" for icon 3, else "Message".
std::string MsgGruntTitleWord(int16_t icon_type);

// Shows the box on the current ui backend and returns the button chosen
// (ui::kIdOk, ...). The second and third parts each start a new line when
// they are not blank.
int ShowMessageBox(const std::string& msg1, const std::string& msg2, const std::string& msg3,
                   int16_t button_type, int16_t icon_type, int16_t default_button);

}  // namespace qor

#endif  // QOR_FRAME_MESSAGE_BOX_H_
