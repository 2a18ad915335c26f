// The operating system's error texts on Linux: strerror for the errno
// numbers the C library knows.

#include <string.h>

#include "qorsupport/frame/error.h"
#include "qorsupport/shell/platform.h"

namespace qor::shell {

namespace {

class StrerrorTexts : public ErrorTexts {
 public:
  std::optional<std::string> Lookup(int32_t number) override {
    // strerror invents "Unknown error N" for numbers it does not know;
    // strerrorname_np tells them apart by having no name for them.
    if (number != 0 && strerrorname_np(number) == nullptr) return std::nullopt;
    return SystemErrorText(number);
  }
};

}  // namespace

ErrorTexts& PosixErrorTexts() {
  static StrerrorTexts texts;
  return texts;
}

}  // namespace qor::shell
