// Variants as JSON, in the forms of the automation protocol.
//
// Arguments may be plain JSON (a string is a String, true/false a Boolean,
// null is Null, an integer that fits 32 bits a Long, any other number a
// Double, a list an array of variants) or typed: {"$":"Integer","v":5},
// {"$":"Date","v":"2003-03-07T14:05:09"}, {"$":"Array",...}, and so on.
// Results use plain JSON only for String, Boolean and Null and the typed form
// for every other kind. Dialog event fields are plain JSON apart from dates.

#ifndef QOR_AUTOMATION_JSON_VALUE_H_
#define QOR_AUTOMATION_JSON_VALUE_H_

#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>

#include "qorsupport/automation/dispatch.h"
#include "qorsupport/frame/variant.h"

namespace qor::automation {

using Json = nlohmann::ordered_json;

// Maps object handles to objects and back; the host implements it.
class HandleTable {
 public:
  virtual ~HandleTable() = default;
  // The object of a handle; raises 424 when the handle is unknown.
  virtual ObjectRef Resolve(int64_t handle) = 0;
  // The handle of an object, made on first sight.
  virtual int64_t HandleOf(const ObjectRef& object) = 0;
};

// Reads a value; raises 13 for a form it does not know, 6 for a typed
// number out of its kind's range.
Variant VariantFromJson(const Json& json, HandleTable& handles, const Registry& registry);

// Writes a result value.
Json VariantToJson(const Variant& value, HandleTable& handles);

// Writes a dialog event field.
Json EventFieldToJson(const Variant& value);

// "2003-03-07T14:05:09" and back; false for a text that is not one.
std::string IsoDateText(Date d);
bool ParseIsoDate(const std::string& text, Date* out);

}  // namespace qor::automation

#endif  // QOR_AUTOMATION_JSON_VALUE_H_
