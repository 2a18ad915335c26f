// The one way the library reports failures.
//
// Two fixed reports: ShowError, for an anticipated failure told in up to
// three parts (an exclamation box titled "<app> Alert"), and ShowErrorBox, for
// an error that reached an operation's handler ("ERROR  53, DeleteFile()" and
// the description, titled "Error Message"). ShowMessage is the information
// box for plain messages.
//
// Every public operation follows one convention, carried out by Reporter and
// Guard below: the whole body runs under a handler; an anticipated failure is
// reported with Reporter::Fail and the operation returns its failure value;
// an error that leaves the body is reported with ShowErrorBox, the source
// being the operation's name followed by "()", and the failure value is
// returned. An operation with a Verbose argument shows either report only
// when Verbose is True. The reporting procedures themselves catch nothing: a
// failure to show a box passes on to the caller.

#ifndef QOR_FRAME_REPORT_H_
#define QOR_FRAME_REPORT_H_

#include <cstdint>
#include <exception>
#include <new>
#include <string>
#include <type_traits>
#include <utility>

#include "qorsupport/frame/error.h"
#include "qorsupport/frame/variant.h"

namespace qor {

// "ERROR " + number with its sign position + ", " + source + CR LF +
// description, in an OK box with the exclamation icon titled "Error Message".
void ShowErrorBox(const std::string& source, int32_t number, const std::string& description);
// The parts (Null as "") through qorForms.MsgGrunt: OK, exclamation, "Alert".
void ShowError(const Variant& part1, const Variant& part2 = Variant::Null(),
               const Variant& part3 = Variant::Null());
// The parts through qorForms.MsgGrunt: OK, information, "Message".
void ShowMessage(const Variant& part1, const Variant& part2 = Variant::Null(),
                 const Variant& part3 = Variant::Null());
void ShowUnderConstruction();

// The text ShowErrorBox shows.
std::string ErrorBoxText(const std::string& source, int32_t number, const std::string& description);

// The reporting of one public operation.
class Reporter {
 public:
  // name is the operation's name without "()" ("DeleteFile", "qorList.Display").
  explicit Reporter(std::string name, bool verbose = true)
      : name_(std::move(name)), verbose_(verbose) {}

  bool verbose() const { return verbose_; }
  // Text added to the source after "()", such as ", " + an index name.
  void set_detail(std::string detail) { detail_ = std::move(detail); }
  // The source an unexpected error is shown with: name + "()" + detail.
  std::string Source() const { return name_ + "()" + detail_; }

  // An anticipated failure: ShowError with the parts when verbose.
  void Fail(const Variant& part1, const Variant& part2 = Variant::Null(),
            const Variant& part3 = Variant::Null()) const;
  // An error that reached the handler: ShowErrorBox when verbose.
  void Unexpected(const Error& error) const;

 private:
  std::string name_;
  std::string detail_;
  bool verbose_;
};

// The Error that stands for an exception of another kind.
Error ErrorFromException(std::exception_ptr exception);

// Runs body() under the reporting convention: returns its result, or, when
// an error leaves it, reports the error through reporter.Unexpected and
// returns failure. For a body returning void, failure is not given.
template <typename T, typename Body>
T Guard(const Reporter& reporter, T failure, Body&& body) {
  try {
    return std::forward<Body>(body)();
  } catch (...) {
    reporter.Unexpected(ErrorFromException(std::current_exception()));
  }
  return failure;
}

template <typename Body>
void Guard(const Reporter& reporter, Body&& body) {
  try {
    std::forward<Body>(body)();
  } catch (...) {
    reporter.Unexpected(ErrorFromException(std::current_exception()));
  }
}

}  // namespace qor

#endif  // QOR_FRAME_REPORT_H_
