// The shared value procedures every part of the library tests its arguments
// with (the module qorExportGlobals): what blank means, text and number
// normalisation, yes/no values, flag tests, and the library's own error 999.
//
// Only IsBlank handles failures itself; the others let a conversion error
// (13, 94) pass to their caller, which reports it by the convention of
// report.h.

#ifndef QOR_FRAME_GLOBALS_H_
#define QOR_FRAME_GLOBALS_H_

#include <cstdint>
#include <string>

#include "qorsupport/frame/variant.h"

namespace qor {

// The stored application name, or "Unknown Application" while it is blank.
std::string GetAppName();
// Stores the value's text as the application name (Null raises 94).
void StoreAppName(const Variant& value);

// Null, False, Empty and numeric zero are blank; so is a text of length 0
// (after trimming spaces when trim is set). A Date is never blank; a value
// without a text form (an object, an array) is.
bool IsBlank(const Variant& value, bool trim);
bool IsNotBlank(const Variant& value, bool trim);

// Trimmed and upper- (lower-) cased text, or Null when that is blank.
Variant TrimUpper(const Variant& value);
Variant TrimLower(const Variant& value);

// Val of the value's text when the value is numeric, else 0.
double NumOrZero(const Variant& value);

// True for True, a text "TRUE" or a text with a non-zero leading number, and
// a non-zero number; False for everything else.
bool IsTrue(const Variant& value);

// False when either is 0; else whether value AND flag is not 0.
bool FlagIsSet(int32_t value, int32_t flag);

// The text before the first NUL, as every text from a platform buffer is
// cut; the whole text when it holds none.
std::string CutAtNul(const std::string& text);

// Raises error 999 with the given source and description.
[[noreturn]] void RaiseError(const std::string& source, const std::string& description);

}  // namespace qor

#endif  // QOR_FRAME_GLOBALS_H_
