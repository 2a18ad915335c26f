// The per-user printer settings qorWinAPIPrinter works on, in the form of
// the Windows profile: the entry Device of section Windows (the default
// printer as "name,driver,port") and section DEVICES (one "name=driver,port"
// entry per installed printer).
//
// Implementations: CUPS (printer_profile_cups.cc), the default, and a
// Windows-style profile text file (printer_profile_file.cc), chosen by
// `QOR_PRINTER_PROFILE=<path>` for machines without a printing system and for
// settings that come from Windows.

#ifndef QOR_SHELL_PRINTER_PROFILE_H_
#define QOR_SHELL_PRINTER_PROFILE_H_

#include <memory>
#include <string>

namespace qor::shell {

class PrinterProfile {
 public:
  virtual ~PrinterProfile() = default;
  // GetProfileString("Windows", "Device"): the default printer's device
  // text, "" when none is set or it cannot be read.
  virtual std::string GetDevice() = 0;
  // WriteProfileString("Windows", "Device", device): true when written.
  virtual bool SetDevice(const std::string& device) = 0;
  // GetProfileSection("DEVICES"): the entries in order, each ended by a NUL
  // character; "" when there are none or they cannot be read.
  virtual std::string GetDevicesSection() = 0;
};

// CUPS: a destination is the device text name + ",cups," + its device URI
// (the section entry name + "=cups," + URI); the default is the user's
// default as `lpoptions -d` keeps it, else the server's. SetDevice takes the
// text up to the first "," (the whole text without one) as the destination
// to make the user's default, so every device text GetDevice and
// GetDevicesSection give can be written back.
std::unique_ptr<PrinterProfile> MakeCupsPrinterProfile();

// The profile file `file`, read and written with the INI rules of
// registry/profile.h: a path, or a bare name in the INI files' profile
// folder. GetDevice is "" and GetDevicesSection "" (no printers) when the
// file does not exist or cannot be read; SetDevice makes a missing file,
// and is false when the file cannot be read or replaced (it is then left
// as it was). The DEVICES section is read into 2048 characters, as the
// profile call's buffer holds it; its texts are in the Windows code page.
std::unique_ptr<PrinterProfile> MakeFilePrinterProfile(const std::string& file);

// The profile for this process, chosen when called: the profile file
// $QOR_PRINTER_PROFILE when it is set and not empty, else CUPS.
std::unique_ptr<PrinterProfile> MakePrinterProfile();

}  // namespace qor::shell

#endif  // QOR_SHELL_PRINTER_PROFILE_H_
