// The application's identity: the name and path the library keeps for the
// application that uses it, one pair per client thread, and the public
// class qorApp that exposes them.
//
// Both values start empty in every thread. The name titles every message
// box; the path is only kept for the application to read back.

#ifndef QOR_FRAME_APP_H_
#define QOR_FRAME_APP_H_

#include <string>
#include <string_view>

#include "qorsupport/frame/variant.h"

namespace qor {

// The raw per-thread values, as stored (no default applied).
const std::string& StoredAppName();
void SetStoredAppName(std::string name);
const std::string& StoredAppPath();
void SetStoredAppPath(std::string path);

class qorApp : public Object {
 public:
  std::string_view ClassName() const override { return "qorApp"; }

  // The shared application name, as stored; setting it is StoreAppName.
  std::string AppName() const;
  void SetAppName(const std::string& name);
  std::string AppPath() const;
  void SetAppPath(const std::string& path);
};

}  // namespace qor

#endif  // QOR_FRAME_APP_H_
