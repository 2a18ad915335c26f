#include "qorsupport/frame/app.h"

namespace qor {

namespace {

struct ThreadState {
  std::string app_name;
  std::string app_path;
};

ThreadState& State() {
  thread_local ThreadState state;
  return state;
}

}  // namespace

const std::string& StoredAppName() { return State().app_name; }
void SetStoredAppName(std::string name) { State().app_name = std::move(name); }
const std::string& StoredAppPath() { return State().app_path; }
void SetStoredAppPath(std::string path) { State().app_path = std::move(path); }

std::string qorApp::AppName() const { return StoredAppName(); }
void qorApp::SetAppName(const std::string& name) { SetStoredAppName(name); }
std::string qorApp::AppPath() const { return StoredAppPath(); }
void qorApp::SetAppPath(const std::string& path) { SetStoredAppPath(path); }

}  // namespace qor
