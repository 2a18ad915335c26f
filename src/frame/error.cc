#include "qorsupport/frame/error.h"

#include <cstring>
#include <map>
#include <mutex>

namespace qor {

namespace {

struct ErrorTable {
  std::mutex mu;
  std::map<int32_t, std::string> texts{
      {3, "Return without GoSub"},
      {5, "Invalid procedure call or argument"},
      {6, "Overflow"},
      {7, "Out of memory"},
      {9, "Subscript out of range"},
      {10, "This array is fixed or temporarily locked"},
      {11, "Division by zero"},
      {13, "Type mismatch"},
      {14, "Out of string space"},
      {28, "Out of stack space"},
      {48, "Error in loading DLL"},
      {51, "Internal error"},
      {52, "Bad file name or number"},
      {53, "File not found"},
      {54, "Bad file mode"},
      {55, "File already open"},
      {57, "Device I/O error"},
      {58, "File already exists"},
      {61, "Disk full"},
      {62, "Input past end of file"},
      {67, "Too many files"},
      {68, "Device unavailable"},
      {70, "Permission denied"},
      {71, "Disk not ready"},
      {75, "Path/File access error"},
      {76, "Path not found"},
      {91, "Object variable or With block variable not set"},
      {92, "For loop not initialized"},
      {93, "Invalid pattern string"},
      {94, "Invalid use of Null"},
      {380, "Invalid property value"},
      {424, "Object required"},
      {429, "ActiveX component can't create object"},
      {438, "Object doesn't support this property or method"},
      {440, "Automation error"},
      {449, "Argument not optional"},
      {450, "Wrong number of arguments or invalid property assignment"},
      {999, "Library error"},
      {9999, "Unknown critical error"},
  };
};

ErrorTable& Table() {
  static ErrorTable* table = new ErrorTable;
  return *table;
}

}  // namespace

Error::Error(int32_t number, std::string source, std::string description)
    : std::runtime_error(description),
      number_(number),
      source_(std::move(source)),
      description_(std::move(description)) {}

std::string ErrorText(int32_t number) {
  ErrorTable& table = Table();
  std::lock_guard<std::mutex> lock(table.mu);
  auto it = table.texts.find(number);
  if (it == table.texts.end()) return "Application-defined or object-defined error";
  return it->second;
}

void RegisterErrorText(int32_t number, std::string text) {
  ErrorTable& table = Table();
  std::lock_guard<std::mutex> lock(table.mu);
  table.texts[number] = std::move(text);
}

void Raise(int32_t number) { throw Error(number, "qorSupport", ErrorText(number)); }

void Raise(int32_t number, std::string source, std::string description) {
  throw Error(number, std::move(source), std::move(description));
}

std::string SystemErrorText(int32_t number) {
  char buffer[512];
  buffer[0] = '\0';
  // GNU strerror_r returns a pointer that may or may not be the buffer.
  const char* text = strerror_r(number, buffer, sizeof(buffer));
  return text ? std::string(text) : std::string();
}

}  // namespace qor
