#include "qorsupport/frame/globals.h"

#include "qorsupport/frame/app.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb.h"

namespace qor {

std::string GetAppName() {
  const std::string& stored = StoredAppName();
  if (IsBlank(Variant(stored), true)) return "Unknown Application";
  return stored;
}

void StoreAppName(const Variant& value) { SetStoredAppName(vb::CStr(value)); }

bool IsBlank(const Variant& value, bool trim) {
  try {
    if (value.IsNull()) return true;
    if (value.IsBoolean()) return !value.AsBoolean();
    if (!value.IsString() && vb::IsNumeric(value)) {
      // The length test is kept as the rule states it, although with it the
      // comparison alone decides.
      return vb::Len(vb::CStr(value)) <= 1 && value.NumericValue() == 0;
    }
    std::string text = vb::CStr(value);
    if (trim) text = vb::Trim(text);
    return text.empty();
  } catch (const Error&) {
    return true;
  }
}

bool IsNotBlank(const Variant& value, bool trim) { return !IsBlank(value, trim); }

namespace {

Variant TrimCase(const Variant& value, bool upper) {
  if (value.IsNull()) return Variant::Null();
  std::string text = vb::Trim(vb::CStr(value));
  text = upper ? vb::UCase(text) : vb::LCase(text);
  Variant result(text);
  if (IsBlank(result, true)) return Variant::Null();
  return result;
}

}  // namespace

Variant TrimUpper(const Variant& value) { return TrimCase(value, true); }
Variant TrimLower(const Variant& value) { return TrimCase(value, false); }

double NumOrZero(const Variant& value) {
  if (value.IsNull() || !vb::IsNumeric(value)) return 0;
  return vb::Val(vb::CStr(value));
}

bool IsTrue(const Variant& value) {
  if (value.IsBoolean()) return value.AsBoolean();
  if (value.IsString()) {
    std::string text = vb::UCase(vb::Trim(value.AsString()));
    if (text == "TRUE") return true;
    if (text == "FALSE") return false;
    return vb::Val(value.AsString()) != 0 && IsNotBlank(value, false);
  }
  if (vb::IsNumeric(value)) return value.NumericValue() != 0;
  return false;
}

bool FlagIsSet(int32_t value, int32_t flag) {
  if (value == 0 || flag == 0) return false;
  return IsNotBlank(Variant(static_cast<int32_t>(value & flag)), false);
}

std::string CutAtNul(const std::string& text) {
  size_t nul = text.find('\0');
  return nul == std::string::npos ? text : text.substr(0, nul);
}

void RaiseError(const std::string& source, const std::string& description) {
  throw Error(err::kLibrary, source, description);
}

}  // namespace qor
