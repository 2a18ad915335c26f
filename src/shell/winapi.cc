#include "shell/winapi.h"

namespace qor {

std::string qorWinAPI::SwabString(std::string_view pString) const {
  size_t nul = pString.find('\0');
  return std::string(nul == std::string_view::npos ? pString : pString.substr(0, nul));
}

}  // namespace qor
