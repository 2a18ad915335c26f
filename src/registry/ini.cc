// qorWinAPIReg: reading and writing INI entries through the private
// profile calls (profile.h).

#include "qorsupport/frame/error.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/report.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/registry/winapireg.h"
#include "registry/codepage.h"
#include "registry/profile.h"

namespace qor {

Variant qorWinAPIReg::IniRead(const std::string& pIniName, const std::string& pIniSection,
                              const std::string& pIniKey) {
  return Guard(Reporter("IniRead", false), Variant::Null(), [&] {
    constexpr const char* kMissing = "!!ERROR!!";
    std::string buffer(256, '\0');
    std::string section = registry::ToCodePage(pIniSection);
    std::string key = registry::ToCodePage(pIniKey);
    registry::OptText section_arg, key_arg;
    if (!IsBlank(Variant(pIniSection), true)) {
      section_arg = section;
      if (!IsBlank(Variant(pIniKey), true)) key_arg = key;
    }
    uint32_t count = registry::GetPrivateProfileString(section_arg, key_arg, kMissing,
                                                       buffer.data(), 254, pIniName);
    if (const registry::FileError& e = registry::LastProfileError()) {
      Raise(e.number, "IniRead", e.description);
    }
    // The whole buffer is compared and returned, filler included: a caller
    // cuts it at its first NUL, and a missing entry comes back as the
    // default text followed by a NUL.
    if (count > 0 && buffer != kMissing) return Variant(registry::FromCodePage(buffer));
    return Variant::Null();
  });
}

bool qorWinAPIReg::IniWrite(const std::string& pIniName, const std::string& pIniSection,
                            const std::string& pIniKey, const Variant& pIniValue) {
  return Guard(Reporter("IniWrite", false), false, [&] {
    std::string section = registry::ToCodePage(pIniSection);
    std::string key = registry::ToCodePage(pIniKey);
    registry::OptText value;
    std::string text;
    if (!IsBlank(pIniValue, true)) value = text = registry::ToCodePage(vb::CStr(pIniValue));
    bool ok = registry::WritePrivateProfileString(section, key, value, pIniName);
    if (const registry::FileError& e = registry::LastProfileError()) {
      Raise(e.number, "IniWrite", e.description);
    }
    return ok;
  });
}

}  // namespace qor
