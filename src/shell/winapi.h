// qorWinAPI: thin wrappers over the operating system for client
// applications. This part holds the text helper that every string read back
// from a fixed platform buffer goes through.

#ifndef QOR_SHELL_WINAPI_H_
#define QOR_SHELL_WINAPI_H_

#include <string>
#include <string_view>

#include "frame/variant.h"

namespace qor {

class qorWinAPI : public Object {
 public:
  std::string_view ClassName() const override { return "qorWinAPI"; }

  // The text before the first NUL character; the whole text when it has
  // none.
  std::string SwabString(std::string_view pString) const;
};

}  // namespace qor

#endif  // QOR_SHELL_WINAPI_H_
