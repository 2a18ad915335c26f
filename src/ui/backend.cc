#include "qorsupport/ui/backend.h"

#include <cstdlib>
#include <map>
#include <mutex>
#include <stdexcept>

namespace qor::ui {

namespace {

struct State {
  std::mutex mu;
  std::shared_ptr<Backend> current;
  std::map<std::string, BackendMaker> makers;
};

State& GetState() {
  static State* state = new State;
  return *state;
}

bool HasDisplay() {
  const char* platform = std::getenv("QT_QPA_PLATFORM");
  if (platform && *platform) return true;
  const char* x = std::getenv("DISPLAY");
  const char* wayland = std::getenv("WAYLAND_DISPLAY");
  return (x && *x) || (wayland && *wayland);
}

std::shared_ptr<Backend> ChooseDefault() {
  const char* chosen = std::getenv("QOR_UI");
  if (chosen && *chosen) {
    if (auto backend = MakeBackend(chosen)) return backend;
  }
  if (HasDisplay()) {
    if (auto backend = MakeBackend("qt")) return backend;
  }
  if (auto backend = MakeBackend("headless")) return backend;
  throw std::logic_error("qorSupport: no user-interface backend is registered");
}

}  // namespace

std::vector<int> MsgBoxButtons(int style) {
  switch (style & 0xF) {
    case 1:
      return {kIdOk, kIdCancel};
    case 2:
      return {kIdAbort, kIdRetry, kIdIgnore};
    case 3:
      return {kIdYes, kIdNo, kIdCancel};
    case 4:
      return {kIdYes, kIdNo};
    case 5:
      return {kIdRetry, kIdCancel};
    default:
      return {kIdOk};
  }
}

int MsgBoxDefaultAnswer(int style) {
  std::vector<int> buttons = MsgBoxButtons(style);
  size_t index = static_cast<size_t>((style & 0xF00) >> 8);
  return index < buttons.size() ? buttons[index] : buttons.front();
}

std::optional<int> MsgBoxCloseAnswer(int style) {
  std::vector<int> buttons = MsgBoxButtons(style);
  for (int b : buttons) {
    if (b == kIdCancel) return kIdCancel;
  }
  if (buttons.size() == 1 && buttons[0] == kIdOk) return kIdOk;
  return std::nullopt;
}

Backend& Current() {
  State& state = GetState();
  std::unique_lock<std::mutex> lock(state.mu);
  if (!state.current) {
    // Makers take the lock themselves: choose outside it.
    lock.unlock();
    std::shared_ptr<Backend> chosen = ChooseDefault();
    lock.lock();
    if (!state.current) state.current = std::move(chosen);
  }
  return *state.current;
}

std::shared_ptr<Backend> SetCurrent(std::shared_ptr<Backend> backend) {
  State& state = GetState();
  std::lock_guard<std::mutex> lock(state.mu);
  std::shared_ptr<Backend> previous = std::move(state.current);
  state.current = std::move(backend);
  return previous;
}

std::shared_ptr<Backend> MakeBackend(const std::string& name) {
  State& state = GetState();
  BackendMaker maker;
  {
    std::lock_guard<std::mutex> lock(state.mu);
    auto it = state.makers.find(name);
    if (it == state.makers.end()) return nullptr;
    maker = it->second;
  }
  return maker();
}

void RegisterBackendMaker(const std::string& name, BackendMaker maker) {
  State& state = GetState();
  std::lock_guard<std::mutex> lock(state.mu);
  state.makers[name] = std::move(maker);
}

}  // namespace qor::ui
