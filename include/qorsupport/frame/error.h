// Errors raised inside the library.
//
// An Error is VB's Err: a number, a source and a description. Operations
// raise it (Raise), the reporting convention of report.h catches it, and the
// automation host turns one that leaves a call into an error reply.
//
// The numbers and their standard texts form one table (ErrorText), shared by
// the VB runtime errors (5, 6, 9, 13, 94, ...), the dispatch errors (429, 438,
// 450) and the database engine's errors (3xxx), which later modules add to
// the same table.

#ifndef QOR_FRAME_ERROR_H_
#define QOR_FRAME_ERROR_H_

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace qor {

// Error numbers the library raises by name.
namespace err {
inline constexpr int32_t kInvalidCall = 5;       // Invalid procedure call or argument
inline constexpr int32_t kOverflow = 6;          // Overflow
inline constexpr int32_t kOutOfMemory = 7;       // Out of memory
inline constexpr int32_t kSubscript = 9;         // Subscript out of range
inline constexpr int32_t kTypeMismatch = 13;     // Type mismatch
inline constexpr int32_t kInternal = 51;         // Internal error
inline constexpr int32_t kFileNotFound = 53;     // File not found
inline constexpr int32_t kObjectNotSet = 91;     // Object variable not set
inline constexpr int32_t kInvalidNull = 94;      // Invalid use of Null
inline constexpr int32_t kCannotCreate = 429;    // ActiveX component can't create object
inline constexpr int32_t kNoSuchMember = 438;    // Object doesn't support this property or method
inline constexpr int32_t kArgNotOptional = 449;  // Argument not optional
inline constexpr int32_t kWrongArgCount = 450;   // Wrong number of arguments
inline constexpr int32_t kLibrary = 999;         // the library's own RaiseError
inline constexpr int32_t kCritical = 9999;       // AlertCritical, export file errors
}  // namespace err

class Error : public std::runtime_error {
 public:
  Error(int32_t number, std::string source, std::string description);

  int32_t number() const { return number_; }
  const std::string& source() const { return source_; }
  const std::string& description() const { return description_; }

 private:
  int32_t number_;
  std::string source_;
  std::string description_;
};

// The standard text of an error number; "Application-defined or
// object-defined error" for a number the table does not know.
std::string ErrorText(int32_t number);

// Adds or replaces a number's text. Modules that bring their own errors
// (the database engine) register them once at start-up.
void RegisterErrorText(int32_t number, std::string text);

// Raises an Error with the number's standard text and the source "qorSupport".
[[noreturn]] void Raise(int32_t number);
// Raises an Error with the given text.
[[noreturn]] void Raise(int32_t number, std::string source, std::string description);

// The platform's own text for an operating-system error number (strerror).
std::string SystemErrorText(int32_t number);

}  // namespace qor

#endif  // QOR_FRAME_ERROR_H_
