// A private CUPS server for the tests: cupsd -f with its own configuration
// in a temporary folder, reached only through a Unix socket, with file:
// devices allowed. While it runs, CUPS_SERVER points at it and HOME at a
// folder of its own (for the user's lpoptions file).

#ifndef QOR_SHELL_CUPS_TEST_SERVER_H_
#define QOR_SHELL_CUPS_TEST_SERVER_H_

#include <sys/types.h>

#include <string>

#include "testing/test_util.h"

namespace qor::shell {

class CupsServer {
 public:
  // Starts the server and waits until it answers; check running().
  CupsServer();
  // Stops the server and restores the environment.
  ~CupsServer();
  CupsServer(const CupsServer&) = delete;
  CupsServer& operator=(const CupsServer&) = delete;

  bool running() const { return running_; }
  // What went wrong while starting (the server's log), for a test message.
  std::string StartError() const;

  // Adds an enabled queue whose jobs are written to the file out (text
  // documents pass through unchanged).
  bool AddQueue(const std::string& name, const std::string& out);
  // Removes a queue (lpadmin -x).
  bool RemoveQueue(const std::string& name);
  // Makes name the server's default destination (lpadmin -d).
  bool SetServerDefault(const std::string& name);
  // Waits up to ten seconds for the file to hold text; returns its content.
  std::string WaitForOutput(const std::string& file) const;

  const std::string& folder() const { return folder_; }
  const std::string& home() const { return home_; }

 private:
  testing::TempDir dir_;
  std::string folder_;
  std::string home_;
  std::string socket_;
  std::string old_server_, old_home_, old_path_;
  bool had_server_ = false, had_home_ = false;
  pid_t pid_ = -1;
  bool running_ = false;
};

}  // namespace qor::shell

#endif  // QOR_SHELL_CUPS_TEST_SERVER_H_
