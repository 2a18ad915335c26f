// Splitting a Windows-style command line into program arguments.
//
// Applications hand qorWinAPI.ExecCmd one command line, written for a
// platform whose programs split it themselves. SplitCommandLine applies the
// rules of the Microsoft C runtime (as CommandLineToArgvW does), so that a
// program started on Linux receives the arguments a Windows program would:
//
// - Arguments are separated by spaces and tabs outside double quotes.
// - The program name (the first argument) ends at the first space or tab
//   outside quotes; quotes in it only group, backslashes are plain.
// - In the other arguments, 2n backslashes before a double quote give n
//   backslashes and the quote opens or closes a quoted part; 2n+1
//   backslashes before a quote give n backslashes and a literal quote.
//   Backslashes not followed by a quote are taken literally.
// - Inside a quoted part, two double quotes in a row give one literal quote.
// - "" gives an empty argument; a quote left open runs to the end of the line.

#ifndef QOR_SHELL_COMMAND_LINE_H_
#define QOR_SHELL_COMMAND_LINE_H_

#include <string>
#include <string_view>
#include <vector>

namespace qor::shell {

// The arguments of the line, program name first; empty for a line of only
// spaces and tabs. NUL characters are kept as they are (callers that pass
// the arguments on to the operating system reject them).
std::vector<std::string> SplitCommandLine(std::string_view line);

}  // namespace qor::shell

#endif  // QOR_SHELL_COMMAND_LINE_H_
