// The print system on Linux: CUPS destinations, the user's default
// destination and print jobs, through libcups.
//
// libcups.so.2 is loaded (dlopen) on the first call, so a program that never
// prints loads no printing library; without it every call finds no server.
//
// The server is the one CUPS_SERVER (or the client.conf files) names at the
// time of each call. Every call opens its own connection with a bounded
// connect and reply time, so a server that is not running or not answering
// gives a failure, never a hang.

#ifndef QOR_SHELL_CUPS_CLIENT_H_
#define QOR_SHELL_CUPS_CLIENT_H_

#include <optional>
#include <string>
#include <vector>

namespace qor::shell {

struct CupsDestination {
  std::string name;
  std::string device_uri;   // the queue's device ("file:///...", "ipp://..."), or ""
  bool is_default = false;  // the user's default (lpoptions), else the server's
};

enum class CupsPrintResult {
  kPrinted,      // the job was accepted
  kNoPrinter,    // no default destination, or no server
  kUnsupported,  // the destination does not take this kind of document
  kRefused,      // the server refused the job for another reason
};

// The destinations (queues, not their instances) in the server's order;
// nullopt when the server cannot be reached.
std::optional<std::vector<CupsDestination>> CupsListDestinations();

// Makes name the user's default destination, as `lpoptions -d name` does
// (written to the user's lpoptions file). False when there is no such
// destination or the file cannot be written.
bool CupsSetUserDefault(const std::string& name);

// Submits the file to the default destination as one job titled title.
CupsPrintResult CupsPrintFile(const std::string& path, const std::string& title);

}  // namespace qor::shell

#endif  // QOR_SHELL_CUPS_CLIENT_H_
