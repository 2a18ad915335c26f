#include "qorsupport/shell/printer.h"

#include <cstdlib>

#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/report.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/ui/backend.h"

namespace qor {

namespace {

// The printer SetPrinter replaced, for ReSetPrinter on the same thread.
thread_local std::string remembered_printer;

}  // namespace

namespace shell {

Variant ahtGetToken(const Variant& value, const std::string& delimiter, int16_t piece) {
  try {
    const std::string text = vb::CStr(value);
    if (delimiter.empty()) return Variant(text);
    // The first character of the delimiter, whole even when it takes
    // several bytes.
    std::string delim = vb::Left(delimiter, 1);
    if (text.find(delim) == std::string::npos || piece < 1) return Variant(text);
    size_t last = 0, next = 0;  // byte offsets just past the delimiters
    int pos = 1;
    for (; pos <= piece; ++pos) {
      last = next;
      size_t found = text.find(delim, last);
      if (found == std::string::npos) {
        next = text.size() + delim.size();
        break;
      }
      next = found + delim.size();
    }
    if (pos < piece) return Variant::Null();
    return Variant(text.substr(last, next - delim.size() - last));
  } catch (const Error& e) {
    ShowError(Variant("Error in ahtGetToken: " + e.description()));
    return Variant::Null();
  }
}

std::unique_ptr<PrinterProfile> MakePrinterProfile() {
  const char* file = std::getenv("QOR_PRINTER_PROFILE");
  if (file && *file) return MakeFilePrinterProfile(file);
  return MakeCupsPrinterProfile();
}

std::optional<int> ChooseFromList(const std::vector<std::string>& items,
                                  const std::string& prompt) {
  ui::ListRequest request;
  request.title = prompt.empty() ? "List Form" : prompt;
  request.items = items;
  ui::ListAnswer answer = ui::Current().List(request);
  if (!answer || answer->empty()) return std::nullopt;
  return answer->front();
}

}  // namespace shell

qorWinAPIPrinter::qorWinAPIPrinter() : qorWinAPIPrinter(shell::MakePrinterProfile()) {}

qorWinAPIPrinter::qorWinAPIPrinter(std::shared_ptr<shell::PrinterProfile> profile,
                                   ListChooser chooser)
    : profile_(std::move(profile)),
      chooser_(chooser ? std::move(chooser) : ListChooser(shell::ChooseFromList)) {}

Variant qorWinAPIPrinter::GetDefaultPrinter() {
  std::string device = profile_->GetDevice();
  if (device.empty()) return Variant::Null();
  Variant text(device);
  PrinterRecord record{vb::ConcatText(shell::ahtGetToken(text, ",", 1)),
                       vb::ConcatText(shell::ahtGetToken(text, ",", 2)),
                       vb::ConcatText(shell::ahtGetToken(text, ",", 3))};
  return Variant(record.Device());
}

bool qorWinAPIPrinter::SetDefaultPrinter(const Variant& printer) {
  return profile_->SetDevice(vb::ConcatText(printer));
}

bool qorWinAPIPrinter::SetPrinter(const Variant& printer) {
  Variant chosen = printer;
  if (IsBlank(chosen, false)) chosen = Variant(SelectPrinter("Please select printer"));
  if (IsBlank(chosen, false)) return false;
  remembered_printer = vb::ConcatText(GetDefaultPrinter());
  return SetDefaultPrinter(chosen);
}

bool qorWinAPIPrinter::ReSetPrinter() {
  if (IsBlank(Variant(remembered_printer), false)) return false;
  return SetDefaultPrinter(Variant(remembered_printer));
}

std::vector<qorWinAPIPrinter::PrinterRecord> qorWinAPIPrinter::ListPrinters() {
  std::vector<PrinterRecord> printers;
  Variant section(profile_->GetDevicesSection());
  if (IsBlank(section, false)) return printers;
  const std::string nul(1, '\0');
  int16_t count = 0;
  for (char c : section.AsString()) count += c == '\0';
  for (int16_t i = 1; i <= count; ++i) {
    Variant entry = shell::ahtGetToken(section, nul, i);
    Variant rest = shell::ahtGetToken(entry, "=", 2);
    printers.push_back({vb::ConcatText(shell::ahtGetToken(entry, "=", 1)),
                        vb::ConcatText(shell::ahtGetToken(rest, ",", 1)),
                        vb::ConcatText(shell::ahtGetToken(rest, ",", 2))});
  }
  return printers;
}

bool qorWinAPIPrinter::GetPrinters(Variant& printers) {
  std::vector<PrinterRecord> list = ListPrinters();
  if (list.empty()) return false;
  Array array(VarType::kString, {{0, static_cast<int32_t>(list.size()) - 1}});
  for (size_t i = 0; i < list.size(); ++i) array.elements()[i] = Variant(list[i].Device());
  printers = Variant(std::move(array));
  return true;
}

std::string qorWinAPIPrinter::SelectPrinter(const std::string& msg) {
  std::vector<PrinterRecord> list = ListPrinters();
  if (list.empty()) return "";
  if (list.size() == 1) return list[0].Device();
  std::vector<std::string> devices;
  for (const PrinterRecord& printer : list) devices.push_back(printer.Device());
  std::string prompt = IsBlank(Variant(msg), false) ? "" : msg;
  std::optional<int> chosen = chooser_(devices, prompt);
  if (!chosen || *chosen < 0 || *chosen >= static_cast<int>(devices.size())) return "";
  return devices[*chosen];
}

Variant qorWinAPIPrinter::GetPrinterListForControl() {
  std::string joined;
  for (const PrinterRecord& printer : ListPrinters()) {
    if (!joined.empty()) joined += ";";
    joined += printer.Device();
  }
  return Variant(joined);
}

}  // namespace qor
