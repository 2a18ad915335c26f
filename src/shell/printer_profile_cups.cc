// The printer profile over CUPS.

#include "qorsupport/shell/printer_profile.h"
#include "shell/cups_client.h"

namespace qor::shell {

namespace {

constexpr char kDriverWord[] = "cups";

class CupsProfile : public PrinterProfile {
 public:
  std::string GetDevice() override {
    std::optional<std::vector<CupsDestination>> dests = CupsListDestinations();
    if (!dests) return "";
    for (const CupsDestination& dest : *dests) {
      if (dest.is_default) return dest.name + "," + kDriverWord + "," + dest.device_uri;
    }
    return "";
  }

  bool SetDevice(const std::string& device) override {
    std::string name = device.substr(0, device.find(','));
    return !name.empty() && CupsSetUserDefault(name);
  }

  std::string GetDevicesSection() override {
    std::string section;
    std::optional<std::vector<CupsDestination>> dests = CupsListDestinations();
    if (!dests) return section;
    for (const CupsDestination& dest : *dests) {
      section += dest.name + "=" + kDriverWord + "," + dest.device_uri;
      section += '\0';
    }
    return section;
  }
};

}  // namespace

std::unique_ptr<PrinterProfile> MakeCupsPrinterProfile() { return std::make_unique<CupsProfile>(); }

}  // namespace qor::shell
