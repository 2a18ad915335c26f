#include "qorsupport/frame/report.h"

#include "frame/message_box.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/ui/backend.h"

namespace qor {

namespace {

void ShowParts(const Variant& part1, const Variant& part2, const Variant& part3, int icon) {
  std::string p1 = vb::ConcatText(part1), p2 = vb::ConcatText(part2), p3 = vb::ConcatText(part3);
  ShowMessageBox(p1, p2, p3, 0, static_cast<int16_t>(icon), 1);
}

}  // namespace

std::string ErrorBoxText(const std::string& source, int32_t number,
                         const std::string& description) {
  // VB's Str: a space stands where a minus sign would.
  std::string number_text = number < 0 ? std::to_string(number) : " " + std::to_string(number);
  return "ERROR " + number_text + ", " + source + "\r\n" + description;
}

void ShowErrorBox(const std::string& source, int32_t number, const std::string& description) {
  ui::MsgBoxRequest request;
  request.title = "Error Message";
  request.text = ErrorBoxText(source, number, description);
  request.style = 0 + 48;  // OK, exclamation
  ui::Current().MsgBox(request);
}

void ShowError(const Variant& part1, const Variant& part2, const Variant& part3) {
  ShowParts(part1, part2, part3, 2);
}

void ShowMessage(const Variant& part1, const Variant& part2, const Variant& part3) {
  ShowParts(part1, part2, part3, 0);
}

void ShowUnderConstruction() { ShowMessage(Variant("Under Construction")); }

void Reporter::Fail(const Variant& part1, const Variant& part2, const Variant& part3) const {
  if (verbose_) ShowError(part1, part2, part3);
}

void Reporter::Unexpected(const Error& error) const {
  if (verbose_) ShowErrorBox(Source(), error.number(), error.description());
}

Error ErrorFromException(std::exception_ptr exception) {
  try {
    std::rethrow_exception(exception);
  } catch (const Error& e) {
    return e;
  } catch (const std::bad_alloc&) {
    return Error(err::kOutOfMemory, "qorSupport", ErrorText(err::kOutOfMemory));
  } catch (const std::exception& e) {
    return Error(err::kInternal, "qorSupport", e.what());
  } catch (...) {
    return Error(err::kInternal, "qorSupport", ErrorText(err::kInternal));
  }
}

}  // namespace qor
