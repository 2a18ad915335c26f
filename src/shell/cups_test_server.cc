#include "shell/cups_test_server.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "shell/test_files.h"

extern char** environ;

namespace qor::shell {

namespace {

void WriteFile(const std::string& path, const std::string& text, mode_t mode = 0644) {
  std::ofstream(path, std::ios::binary) << text;
  chmod(path.c_str(), mode);
}

// A minimal driver whose only filter passes text through to the device.
std::string PassThroughPpd(const std::string& filter) {
  return "*PPD-Adobe: \"4.3\"\n*FormatVersion: \"4.3\"\n*FileVersion: \"1.0\"\n"
         "*LanguageVersion: English\n*LanguageEncoding: ISOLatin1\n*PCFileName: \"QORTEST.PPD\"\n"
         "*Manufacturer: \"qor\"\n*Product: \"(qor test)\"\n*ModelName: \"qor test\"\n"
         "*ShortNickName: \"qor test\"\n*NickName: \"qor test\"\n*PSVersion: \"(3010.000) 0\"\n"
         "*LanguageLevel: \"3\"\n*ColorDevice: False\n*DefaultColorSpace: Gray\n"
         "*FileSystem: False\n*Throughput: \"1\"\n*LandscapeOrientation: Plus90\n"
         "*TTRasterizer: Type42\n*cupsVersion: 2.4\n"
         "*cupsFilter: \"text/plain 0 " +
         filter +
         "\"\n*OpenUI *PageSize/Page Size: PickOne\n*DefaultPageSize: A4\n"
         "*PageSize A4/A4: \"\"\n*CloseUI: *PageSize\n*DefaultImageableArea: A4\n"
         "*ImageableArea A4/A4: \"0 0 595 842\"\n*DefaultPaperDimension: A4\n"
         "*PaperDimension A4/A4: \"595 842\"\n";
}

bool Succeeds(const std::vector<std::string>& argv) {
  return testing::RunProgram(argv, "").status == 0;
}

}  // namespace

CupsServer::CupsServer() {
  folder_ = dir_.path().string();
  home_ = folder_ + "/home";
  socket_ = folder_ + "/cups.sock";
  for (const char* sub : {"/home", "/spool", "/tmp", "/cache", "/state", "/log"}) {
    std::filesystem::create_directories(folder_ + sub);
  }
  chmod(folder_.c_str(), 0755);
  WriteFile(folder_ + "/cupsd.conf",
            "Listen " + socket_ +
                "\nLogLevel debug\nWebInterface No\nBrowsing No\nDefaultAuthType None\n"
                "<Location />\n  Order allow,deny\n  Allow all\n</Location>\n"
                "<Policy default>\n  <Limit All>\n    Order deny,allow\n  </Limit>\n</Policy>\n");
  WriteFile(folder_ + "/cups-files.conf",
            "FileDevice Yes\nServerRoot " + folder_ + "\nRequestRoot " + folder_ +
                "/spool\nTempDir " + folder_ + "/tmp\nCacheDir " + folder_ + "/cache\nStateDir " +
                folder_ + "/state\nAccessLog " + folder_ + "/log/access_log\nErrorLog " + folder_ +
                "/log/error_log\nPageLog " + folder_ + "/log/page_log\nPrintcap " + folder_ +
                "/printcap\n");
  WriteFile(folder_ + "/passthru",
            "#!/bin/sh\nif [ -n \"$6\" ]; then exec cat \"$6\"; else exec cat; fi\n", 0755);
  WriteFile(folder_ + "/test.ppd", PassThroughPpd(folder_ + "/passthru"));

  const char* server = std::getenv("CUPS_SERVER");
  had_server_ = server != nullptr;
  if (server) old_server_ = server;
  const char* home = std::getenv("HOME");
  had_home_ = home != nullptr;
  if (home) old_home_ = home;
  setenv("CUPS_SERVER", socket_.c_str(), 1);
  setenv("HOME", home_.c_str(), 1);
  unsetenv("LPDEST");
  unsetenv("PRINTER");

  std::string log = folder_ + "/log/stdout";
  std::vector<std::string> argv = {
      "cupsd", "-f", "-c", folder_ + "/cupsd.conf", "-s", folder_ + "/cups-files.conf"};
  std::vector<char*> args;
  for (std::string& a : argv) args.push_back(a.data());
  args.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  posix_spawn_file_actions_adddup2(&actions, 1, 2);
  // cupsd lives in sbin, which a plain user's PATH may lack.
  old_path_ = std::getenv("PATH") ? std::getenv("PATH") : "/usr/bin:/bin";
  std::string path = old_path_ + ":/usr/sbin:/sbin";
  setenv("PATH", path.c_str(), 1);
  int rc = posix_spawnp(&pid_, "cupsd", &actions, nullptr, args.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (rc != 0) {
    pid_ = -1;
    return;
  }
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(15);
  while (std::chrono::steady_clock::now() < deadline) {
    if (waitpid(pid_, nullptr, WNOHANG) == pid_) {  // it gave up
      pid_ = -1;
      return;
    }
    if (std::filesystem::exists(socket_) && Succeeds({"lpstat", "-r"})) {
      running_ = true;
      return;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
}

CupsServer::~CupsServer() {
  if (pid_ > 0) {
    kill(pid_, SIGTERM);
    waitpid(pid_, nullptr, 0);
  }
  setenv("PATH", old_path_.c_str(), 1);
  if (had_server_) {
    setenv("CUPS_SERVER", old_server_.c_str(), 1);
  } else {
    unsetenv("CUPS_SERVER");
  }
  if (had_home_) {
    setenv("HOME", old_home_.c_str(), 1);
  } else {
    unsetenv("HOME");
  }
}

std::string CupsServer::StartError() const {
  return "cupsd did not start:\n" + ReadText(folder_ + "/log/stdout") +
         ReadText(folder_ + "/log/error_log");
}

bool CupsServer::AddQueue(const std::string& name, const std::string& out) {
  return Succeeds(
      {"lpadmin", "-p", name, "-E", "-v", "file://" + out, "-P", folder_ + "/test.ppd"});
}

bool CupsServer::RemoveQueue(const std::string& name) { return Succeeds({"lpadmin", "-x", name}); }

bool CupsServer::SetServerDefault(const std::string& name) {
  return Succeeds({"lpadmin", "-d", name});
}

std::string CupsServer::WaitForOutput(const std::string& file) const { return WaitForText(file); }

}  // namespace qor::shell
