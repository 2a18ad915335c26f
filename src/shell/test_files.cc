#include "shell/test_files.h"

#include <chrono>
#include <fstream>
#include <sstream>
#include <thread>

namespace qor::shell {

std::string ReadText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

std::string WaitForText(const std::string& path) {
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (std::chrono::steady_clock::now() < deadline) {
    std::string text = ReadText(path);
    if (!text.empty()) return text;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return "";
}

}  // namespace qor::shell
