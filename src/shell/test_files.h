// File helpers for the shell tests: reading a file whole, and waiting for a
// child process or a print server to write one.

#ifndef QOR_SHELL_TEST_FILES_H_
#define QOR_SHELL_TEST_FILES_H_

#include <string>

namespace qor::shell {

// The file's content; "" when it cannot be read.
std::string ReadText(const std::string& path);

// Waits up to ten seconds for the file to hold text; returns its content,
// "" when nothing arrived.
std::string WaitForText(const std::string& path);

}  // namespace qor::shell

#endif  // QOR_SHELL_TEST_FILES_H_
