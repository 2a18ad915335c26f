#include "shell/cups_client.h"

#include <cups/cups.h>
#include <dlfcn.h>

namespace qor::shell {

namespace {

constexpr int kConnectMsec = 5000;
constexpr double kReplySeconds = 15.0;

// libcups, loaded on the first printer call: a program that never prints
// (qor --help, an INI read) loads no printing library. The header gives
// only the types; every function comes through dlsym.
struct Cups {
  decltype(&::cupsSetServer) SetServer = nullptr;
  decltype(&::cupsServer) Server = nullptr;
  decltype(&::ippPort) Port = nullptr;
  decltype(&::cupsEncryption) Encryption = nullptr;
  decltype(&::httpConnect2) Connect = nullptr;
  decltype(&::httpSetTimeout) SetTimeout = nullptr;
  decltype(&::httpClose) Close = nullptr;
  decltype(&::cupsGetDests2) GetDests = nullptr;
  decltype(&::cupsSetDests2) SetDests = nullptr;
  decltype(&::cupsFreeDests) FreeDests = nullptr;
  decltype(&::cupsGetNamedDest) GetNamedDest = nullptr;
  decltype(&::cupsGetOption) GetOption = nullptr;
  decltype(&::cupsPrintFile2) PrintFile = nullptr;
  decltype(&::cupsLastError) LastError = nullptr;
  bool loaded = false;
};

template <typename Fn>
bool Resolve(void* library, const char* name, Fn* fn) {
  *fn = reinterpret_cast<Fn>(::dlsym(library, name));
  return *fn != nullptr;
}

// The library's functions; loaded is false when libcups.so.2 is missing,
// and every call then finds no server.
const Cups& Library() {
  static const Cups cups = [] {
    Cups c;
    void* library = ::dlopen("libcups.so.2", RTLD_NOW | RTLD_LOCAL);
    if (!library) return c;
    c.loaded = Resolve(library, "cupsSetServer", &c.SetServer) &&
               Resolve(library, "cupsServer", &c.Server) && Resolve(library, "ippPort", &c.Port) &&
               Resolve(library, "cupsEncryption", &c.Encryption) &&
               Resolve(library, "httpConnect2", &c.Connect) &&
               Resolve(library, "httpSetTimeout", &c.SetTimeout) &&
               Resolve(library, "httpClose", &c.Close) &&
               Resolve(library, "cupsGetDests2", &c.GetDests) &&
               Resolve(library, "cupsSetDests2", &c.SetDests) &&
               Resolve(library, "cupsFreeDests", &c.FreeDests) &&
               Resolve(library, "cupsGetNamedDest", &c.GetNamedDest) &&
               Resolve(library, "cupsGetOption", &c.GetOption) &&
               Resolve(library, "cupsPrintFile2", &c.PrintFile) &&
               Resolve(library, "cupsLastError", &c.LastError);
    return c;
  }();
  return cups;
}

// One connection to the current server, closed when it goes.
class Connection {
 public:
  Connection() : cups_(Library()) {
    if (!cups_.loaded) return;
    cups_.SetServer(nullptr);  // follow CUPS_SERVER as it is now
    http_ = cups_.Connect(cups_.Server(), cups_.Port(), nullptr, AF_UNSPEC, cups_.Encryption(), 1,
                          kConnectMsec, nullptr);
    if (http_) cups_.SetTimeout(http_, kReplySeconds, nullptr, nullptr);
  }
  ~Connection() {
    if (http_) cups_.Close(http_);
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  http_t* get() const { return http_; }
  // The library; loaded whenever get() is not null.
  const Cups& cups() const { return cups_; }

 private:
  const Cups& cups_;
  http_t* http_ = nullptr;
};

// The destinations of a connection, freed when the object goes.
class DestList {
 public:
  explicit DestList(const Connection& connection) : cups_(connection.cups()) {
    count_ = cups_.GetDests(connection.get(), &dests_);
  }
  ~DestList() { cups_.FreeDests(count_, dests_); }
  DestList(const DestList&) = delete;
  DestList& operator=(const DestList&) = delete;

  int count() const { return count_; }
  cups_dest_t* dests() const { return dests_; }
  // Whether the server could not be asked (a server without queues answers
  // "not found", which is no failure).
  bool failed() const {
    ipp_status_t status = cups_.LastError();
    return count_ == 0 && status > IPP_STATUS_OK_EVENTS_COMPLETE &&
           status != IPP_STATUS_ERROR_NOT_FOUND;
  }

 private:
  const Cups& cups_;
  int count_ = 0;
  cups_dest_t* dests_ = nullptr;
};

}  // namespace

std::optional<std::vector<CupsDestination>> CupsListDestinations() {
  Connection connection;
  if (!connection.get()) return std::nullopt;
  DestList list(connection);
  if (list.failed()) return std::nullopt;
  std::vector<CupsDestination> result;
  for (int i = 0; i < list.count(); ++i) {
    const cups_dest_t& dest = list.dests()[i];
    if (dest.instance) continue;
    const char* uri = connection.cups().GetOption("device-uri", dest.num_options, dest.options);
    result.push_back({dest.name, uri ? uri : "", dest.is_default != 0});
  }
  return result;
}

bool CupsSetUserDefault(const std::string& name) {
  Connection connection;
  if (!connection.get()) return false;
  DestList list(connection);
  bool found = false;
  for (int i = 0; i < list.count(); ++i) {
    cups_dest_t& dest = list.dests()[i];
    dest.is_default = !dest.instance && name == dest.name;
    found = found || dest.is_default;
  }
  return found && connection.cups().SetDests(connection.get(), list.count(), list.dests()) == 0;
}

CupsPrintResult CupsPrintFile(const std::string& path, const std::string& title) {
  Connection connection;
  if (!connection.get()) return CupsPrintResult::kNoPrinter;
  const Cups& cups = connection.cups();
  cups_dest_t* dest = cups.GetNamedDest(connection.get(), nullptr, nullptr);
  if (!dest) return CupsPrintResult::kNoPrinter;
  int job = cups.PrintFile(connection.get(), dest->name, path.c_str(), title.c_str(), 0, nullptr);
  cups.FreeDests(1, dest);
  if (job > 0) return CupsPrintResult::kPrinted;
  if (cups.LastError() == IPP_STATUS_ERROR_DOCUMENT_FORMAT_NOT_SUPPORTED) {
    return CupsPrintResult::kUnsupported;
  }
  return CupsPrintResult::kRefused;
}

}  // namespace qor::shell
