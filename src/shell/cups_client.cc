#include "shell/cups_client.h"

#include <cups/cups.h>

namespace qor::shell {

namespace {

constexpr int kConnectMsec = 5000;
constexpr double kReplySeconds = 15.0;

// One connection to the current server, closed when it goes.
class Connection {
 public:
  Connection() {
    cupsSetServer(nullptr);  // follow CUPS_SERVER as it is now
    http_ = httpConnect2(cupsServer(), ippPort(), nullptr, AF_UNSPEC, cupsEncryption(), 1,
                         kConnectMsec, nullptr);
    if (http_) httpSetTimeout(http_, kReplySeconds, nullptr, nullptr);
  }
  ~Connection() {
    if (http_) httpClose(http_);
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  http_t* get() const { return http_; }

 private:
  http_t* http_ = nullptr;
};

// The destinations of a connection, freed when the object goes.
class DestList {
 public:
  explicit DestList(http_t* http) { count_ = cupsGetDests2(http, &dests_); }
  ~DestList() { cupsFreeDests(count_, dests_); }
  DestList(const DestList&) = delete;
  DestList& operator=(const DestList&) = delete;

  int count() const { return count_; }
  cups_dest_t* dests() const { return dests_; }
  // Whether the server could not be asked (a server without queues answers
  // "not found", which is no failure).
  bool failed() const {
    ipp_status_t status = cupsLastError();
    return count_ == 0 && status > IPP_STATUS_OK_EVENTS_COMPLETE &&
           status != IPP_STATUS_ERROR_NOT_FOUND;
  }

 private:
  int count_ = 0;
  cups_dest_t* dests_ = nullptr;
};

}  // namespace

std::optional<std::vector<CupsDestination>> CupsListDestinations() {
  Connection connection;
  if (!connection.get()) return std::nullopt;
  DestList list(connection.get());
  if (list.failed()) return std::nullopt;
  std::vector<CupsDestination> result;
  for (int i = 0; i < list.count(); ++i) {
    const cups_dest_t& dest = list.dests()[i];
    if (dest.instance) continue;
    const char* uri = cupsGetOption("device-uri", dest.num_options, dest.options);
    result.push_back({dest.name, uri ? uri : "", dest.is_default != 0});
  }
  return result;
}

bool CupsSetUserDefault(const std::string& name) {
  Connection connection;
  if (!connection.get()) return false;
  DestList list(connection.get());
  bool found = false;
  for (int i = 0; i < list.count(); ++i) {
    cups_dest_t& dest = list.dests()[i];
    dest.is_default = !dest.instance && name == dest.name;
    found = found || dest.is_default;
  }
  return found && cupsSetDests2(connection.get(), list.count(), list.dests()) == 0;
}

CupsPrintResult CupsPrintFile(const std::string& path, const std::string& title) {
  Connection connection;
  if (!connection.get()) return CupsPrintResult::kNoPrinter;
  cups_dest_t* dest = cupsGetNamedDest(connection.get(), nullptr, nullptr);
  if (!dest) return CupsPrintResult::kNoPrinter;
  int job = cupsPrintFile2(connection.get(), dest->name, path.c_str(), title.c_str(), 0, nullptr);
  cupsFreeDests(1, dest);
  if (job > 0) return CupsPrintResult::kPrinted;
  if (cupsLastError() == IPP_STATUS_ERROR_DOCUMENT_FORMAT_NOT_SUPPORTED) {
    return CupsPrintResult::kUnsupported;
  }
  return CupsPrintResult::kRefused;
}

}  // namespace qor::shell
