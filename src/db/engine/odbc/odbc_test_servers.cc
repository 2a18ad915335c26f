#include "db/engine/odbc/odbc_test_servers.h"

#include <arpa/inet.h>
#include <glob.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

namespace qor::dao::odbc::testing {

namespace {

constexpr uid_t kNobody = 65534;

std::string PostgresBin() {
  glob_t found{};
  std::string bin;
  if (glob("/usr/lib/postgresql/*/bin/pg_ctl", 0, nullptr, &found) == 0 && found.gl_pathc > 0) {
    bin = found.gl_pathv[found.gl_pathc - 1];  // the newest version
    bin.resize(bin.size() - std::string("/pg_ctl").size());
  }
  globfree(&found);
  return bin;
}

}  // namespace

int FreePort() {
  int fd = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof addr;
  int port = 0;
  if (bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0 &&
      getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &length) == 0) {
    port = ntohs(addr.sin_port);
  }
  close(fd);
  return port;
}

PostgresServer::PostgresServer() : bin_(PostgresBin()) {
  if (bin_.empty()) {
    failure_ = "PostgreSQL is not installed (no /usr/lib/postgresql/*/bin/pg_ctl)";
    return;
  }
  const std::string dir = dir_.path().string();
  if (geteuid() == 0 && chown(dir.c_str(), kNobody, kNobody) != 0) {
    failure_ = "cannot hand the data folder to the unprivileged user";
    return;
  }
  port_ = FreePort();
  std::string log = dir + "/server.log";
  bool made =
      Run("umask 077 && echo '" + std::string(kPassword) + "' > " + dir + "/pw && " + bin_ +
          "/initdb -D " + dir + "/data -U " + kUser + " --pwfile=" + dir +
          "/pw --auth-local=trust --auth-host=scram-sha-256 -E UTF8 --no-sync >" + log + " 2>&1");
  running_ = made && Run(bin_ + "/pg_ctl -D " + dir + "/data -l " + log + " -w -t 60 -o \"-c " +
                         "listen_addresses=127.0.0.1 -p " + std::to_string(port_) + " -k " + dir +
                         " -c fsync=off\" start >>" + log + " 2>&1");
  if (!running_) {
    std::ifstream in(log);
    failure_.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
}

PostgresServer::~PostgresServer() { Stop(); }

void PostgresServer::Stop() {
  if (!running_) return;
  running_ = false;
  const std::string dir = dir_.path().string();
  Run(bin_ + "/pg_ctl -D " + dir + "/data -m immediate -w stop >/dev/null 2>&1");
}

bool PostgresServer::Run(const std::string& command) {
  return qor::testing::RunUnprivileged([&] { return std::system(command.c_str()) == 0 ? 0 : 1; }) ==
         0;
}

DataSource PostgresServer::Source(const std::string& name) const {
  return {name,
          FindDriver("psqlodbca.so"),
          {{"Servername", "127.0.0.1"},
           {"Port", std::to_string(port_)},
           {"Database", "postgres"},
           {"SSLmode", "disable"},
           {"BoolsAsChar", "0"}}};
}

}  // namespace qor::dao::odbc::testing
