// The printer profile over a Windows-style profile text file, read and
// written with the INI engine's rules (registry/profile.h), texts in the
// Windows code page as the files that come from Windows hold them.

#include "qorsupport/shell/printer_profile.h"
#include "registry/codepage.h"
#include "registry/profile.h"

namespace qor::shell {

namespace {

constexpr char kWindows[] = "Windows";
constexpr char kDevice[] = "Device";
constexpr char kDevices[] = "DEVICES";
// The buffers the profile calls fill: a device text, and the whole DEVICES
// section (the characters beyond are cut, as GetProfileSection cuts them).
constexpr uint32_t kDeviceSize = 1024;
constexpr uint32_t kSectionSize = 2048;

class FileProfile : public PrinterProfile {
 public:
  explicit FileProfile(std::string file) : file_(std::move(file)) {}

  std::string GetDevice() override {
    std::string buffer(kDeviceSize, '\0');
    uint32_t count =
        registry::GetPrivateProfileString(kWindows, kDevice, "", buffer.data(), kDeviceSize, file_);
    return registry::FromCodePage(std::string_view(buffer).substr(0, count));
  }

  bool SetDevice(const std::string& device) override {
    return registry::WritePrivateProfileString(kWindows, kDevice, registry::ToCodePage(device),
                                               file_);
  }

  std::string GetDevicesSection() override {
    std::string buffer(kSectionSize, '\0');
    uint32_t count =
        registry::GetPrivateProfileSection(kDevices, buffer.data(), kSectionSize, file_);
    return registry::FromCodePage(std::string_view(buffer).substr(0, count));
  }

 private:
  std::string file_;
};

}  // namespace

std::unique_ptr<PrinterProfile> MakeFilePrinterProfile(const std::string& file) {
  return std::make_unique<FileProfile>(file);
}

}  // namespace qor::shell
