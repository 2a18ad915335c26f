// qorWinAPIPrinter: reads and changes the user's default printer and lists
// the installed printers, working on the printer profile of
// printer_profile.h. A printer is a device text "name,driver,port".
//
// SetPrinter remembers the default it replaces, one remembered printer per
// thread (shared by the objects on that thread), and ReSetPrinter restores
// it. Failures give False, Null or "" and are not reported, except an
// error inside ahtGetToken.

#ifndef QOR_SHELL_PRINTER_H_
#define QOR_SHELL_PRINTER_H_

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "qorsupport/frame/variant.h"
#include "qorsupport/shell/printer_profile.h"

namespace qor {

class qorWinAPIPrinter : public Object {
 public:
  // Shows the device texts as a list for one choice with prompt as its
  // title ("" for the list's own title); the chosen position, or nullopt
  // when the user cancels.
  using ListChooser =
      std::function<std::optional<int>(const std::vector<std::string>&, const std::string&)>;

  qorWinAPIPrinter();
  // A printer class over the given profile; an empty chooser uses the
  // library's list selection.
  explicit qorWinAPIPrinter(std::shared_ptr<shell::PrinterProfile> profile,
                            ListChooser chooser = nullptr);

  std::string_view ClassName() const override { return "qorWinAPIPrinter"; }

  // The default printer's device text, or Null when none is set.
  Variant GetDefaultPrinter();
  // Writes the text of pPrinter as the default; True when written.
  bool SetDefaultPrinter(const Variant& printer);
  // Makes pPrinter (or, when it is blank, the user's choice from
  // SelectPrinter("Please select printer")) the default, remembering the
  // old default; False and nothing remembered when no printer is given.
  bool SetPrinter(const Variant& printer);
  // Restores the remembered printer; False when none is remembered.
  bool ReSetPrinter();
  // pPrinters becomes a String array 0 to count-1 of the installed
  // printers' device texts; with none installed it is left as it is. True
  // when there were printers.
  bool GetPrinters(Variant& printers);
  // "" with no printer, the only one without asking, else the user's
  // choice from a list with pMsg as its prompt ("" when cancelled).
  std::string SelectPrinter(const std::string& msg = "");
  // The installed printers' device texts joined by ";".
  Variant GetPrinterListForControl();

 private:
  struct PrinterRecord {
    std::string name, driver, port;
    std::string Device() const { return name + "," + driver + "," + port; }
  };
  std::vector<PrinterRecord> ListPrinters();

  std::shared_ptr<shell::PrinterProfile> profile_;
  ListChooser chooser_;
};

namespace shell {

// The piece-th field (from 1) of value split at the first character of
// delimiter: the whole value when the delimiter does not occur or piece is
// below 1, Null when there is no such piece ("a,b,c" piece 4). An error
// (a Null value) is shown as "Error in ahtGetToken: " + its description
// and gives Null.
Variant ahtGetToken(const Variant& value, const std::string& delimiter, int16_t piece);

// The one call through which SelectPrinter shows its choice: a list
// selection for one item among the device texts, titled with prompt ("List
// Form" when prompt is ""). Returns the chosen position, nullopt for Cancel.
// It asks the ui backend's list directly; this is the seam where qorList
// (Init, AddItem for each text, Display) serves the same request.
std::optional<int> ChooseFromList(const std::vector<std::string>& items, const std::string& prompt);

}  // namespace shell

}  // namespace qor

#endif  // QOR_SHELL_PRINTER_H_
