#include "automation/json_value.h"

#include <cmath>
#include <cstdio>

#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/frame/vb_date.h"

namespace qor::automation {

namespace {

constexpr int kMaxDepth = 32;
constexpr int64_t kMaxArrayElements = 10'000'000;

[[noreturn]] void BadForm(const std::string& what) {
  throw Error(err::kTypeMismatch, "qor automation", "Type mismatch: " + what);
}

double NumberOf(const Json& v) {
  if (v.is_number()) return v.get<double>();
  if (v.is_string()) {
    std::optional<double> n = vb::ParseNumber(v.get<std::string>());
    if (n) return *n;
  }
  BadForm("a number was expected");
}

Variant TypedNumber(VarType type, const Json& v) {
  double x = NumberOf(v);
  if (type == VarType::kSingle) return Variant(vb::CSng(Variant(x)));
  if (type == VarType::kDouble) return Variant(x);
  if (x != std::trunc(x)) BadForm("a whole number was expected");
  return vb::ConvertTo(Variant(x), type);
}

Variant ReadArray(const Json& json, HandleTable& handles, const Registry& registry, int depth);

Variant Read(const Json& json, HandleTable& handles, const Registry& registry, int depth) {
  if (depth > kMaxDepth) BadForm("nesting too deep");
  if (json.is_null()) return Variant::Null();
  if (json.is_boolean()) return Variant(json.get<bool>());
  if (json.is_string()) return Variant(json.get<std::string>());
  if (json.is_number_integer()) {
    if (json.is_number_unsigned()) {
      uint64_t u = json.get<uint64_t>();
      if (u <= 2147483647u) return Variant(static_cast<int32_t>(u));
      return Variant(static_cast<double>(u));
    }
    int64_t i = json.get<int64_t>();
    if (i >= INT32_MIN && i <= INT32_MAX) return Variant(static_cast<int32_t>(i));
    return Variant(static_cast<double>(i));
  }
  if (json.is_number()) return Variant(json.get<double>());
  if (json.is_array()) {
    Array array(VarType::kVariant, {{0, static_cast<int32_t>(json.size()) - 1}});
    for (size_t i = 0; i < json.size(); ++i) {
      array.elements()[i] = Read(json[i], handles, registry, depth + 1);
    }
    return Variant(std::move(array));
  }
  if (!json.is_object() || !json.contains("$") || !json["$"].is_string()) {
    BadForm("an object value needs a \"$\" kind");
  }
  const std::string kind = json["$"].get<std::string>();
  const Json v = json.contains("v") ? json["v"] : Json();
  VarType type;
  if (kind == "Missing") return Variant::Missing();
  if (kind == "Array") return ReadArray(json, handles, registry, depth);
  if (kind == "Record") {
    if (!json.contains("type") || !json["type"].is_string()) BadForm("a record needs its type");
    Record record = registry.NewRecord(json["type"].get<std::string>());
    if (!v.is_null()) {
      if (!v.is_object()) BadForm("a record's fields are an object");
      for (auto it = v.begin(); it != v.end(); ++it) {
        if (!record.Find(it.key())) BadForm("the record has no field " + it.key());
        SetRecordField(record, it.key(), Read(it.value(), handles, registry, depth + 1));
      }
    }
    return Variant(std::move(record));
  }
  if (!VarTypeFromName(kind, &type)) BadForm("unknown kind " + kind);
  switch (type) {
    case VarType::kEmpty:
      return Variant();
    case VarType::kNull:
      return Variant::Null();
    case VarType::kBoolean:
      if (!v.is_boolean()) BadForm("a Boolean needs true or false");
      return Variant(v.get<bool>());
    case VarType::kString:
      if (!v.is_string()) BadForm("a String needs a text");
      return Variant(v.get<std::string>());
    case VarType::kByte:
    case VarType::kInteger:
    case VarType::kLong:
    case VarType::kSingle:
    case VarType::kDouble:
      return TypedNumber(type, v);
    case VarType::kCurrency:
      return Variant(vb::CCur(Variant(NumberOf(v))));
    case VarType::kDate: {
      Date d;
      if (!v.is_string() || !ParseIsoDate(v.get<std::string>(), &d)) {
        BadForm("a Date needs the form yyyy-mm-ddThh:mm:ss");
      }
      return Variant(d);
    }
    case VarType::kObject:
      if (v.is_null()) return Variant::Nothing();
      if (!v.is_number_integer()) BadForm("an Object needs a handle");
      return Variant(handles.Resolve(v.get<int64_t>()));
    default:
      BadForm("unknown kind " + kind);
  }
}

void ReadElements(const Json& v, const std::vector<Array::Bounds>& bounds, size_t dim,
                  std::vector<Variant>::iterator* out, VarType element_type, HandleTable& handles,
                  const Registry& registry, int depth) {
  if (!v.is_array() || static_cast<int64_t>(v.size()) != bounds[dim].Count()) {
    BadForm("an array's values do not match its bounds");
  }
  for (const Json& item : v) {
    if (dim + 1 < bounds.size()) {
      ReadElements(item, bounds, dim + 1, out, element_type, handles, registry, depth + 1);
    } else {
      Variant value = Read(item, handles, registry, depth + 1);
      **out =
          element_type == VarType::kVariant ? std::move(value) : vb::ConvertTo(value, element_type);
      ++*out;
    }
  }
}

Variant ReadArray(const Json& json, HandleTable& handles, const Registry& registry, int depth) {
  VarType element_type = VarType::kVariant;
  if (json.contains("type")) {
    if (!json["type"].is_string() ||
        !VarTypeFromName(json["type"].get<std::string>(), &element_type)) {
      BadForm("unknown array type");
    }
  }
  const Json& bounds_json = json.contains("bounds") ? json["bounds"] : Json();
  if (!bounds_json.is_array() || bounds_json.empty() || bounds_json.size() > 2) {
    BadForm("an array needs one or two bounds");
  }
  std::vector<Array::Bounds> bounds;
  for (const Json& b : bounds_json) {
    if (!b.is_array() || b.size() != 2 || !b[0].is_number_integer() || !b[1].is_number_integer()) {
      BadForm("bounds are [lower, upper]");
    }
    int64_t lower = b[0].get<int64_t>(), upper = b[1].get<int64_t>();
    if (lower < INT32_MIN || upper > INT32_MAX || upper - lower > 1000000 || upper < lower - 1) {
      BadForm("bounds out of range");
    }
    bounds.push_back({static_cast<int32_t>(lower), static_cast<int32_t>(upper)});
  }
  int64_t elements = 1;
  for (const Array::Bounds& b : bounds) elements *= b.Count();
  if (elements > kMaxArrayElements) BadForm("an array of more than ten million elements");
  Array array(element_type, bounds);
  if (json.contains("v") && array.ElementCount() > 0) {
    auto it = array.elements().begin();
    ReadElements(json["v"], bounds, 0, &it, element_type, handles, registry, depth);
  }
  return Variant(std::move(array));
}

Json Typed(std::string_view kind, Json v) {
  return Json{{"$", std::string(kind)}, {"v", std::move(v)}};
}

Json Number(double x) {
  if (!std::isfinite(x)) return Json();
  return Json(x);
}

void WriteElements(const Array& array, size_t dim, size_t* index, Json* out,
                   const std::function<Json(const Variant&)>& write) {
  const Array::Bounds& b = array.DimensionBounds(static_cast<int>(dim) + 1);
  *out = Json::array();
  for (int64_t i = 0; i < b.Count(); ++i) {
    if (dim + 1 < static_cast<size_t>(array.Dimensions())) {
      Json inner;
      WriteElements(array, dim + 1, index, &inner, write);
      out->push_back(std::move(inner));
    } else {
      out->push_back(write(array.elements()[(*index)++]));
    }
  }
}

}  // namespace

Variant VariantFromJson(const Json& json, HandleTable& handles, const Registry& registry) {
  return Read(json, handles, registry, 0);
}

Json VariantToJson(const Variant& value, HandleTable& handles) {
  switch (value.type()) {
    case VarType::kString:
      return Json(value.AsString());
    case VarType::kBoolean:
      return Json(value.AsBoolean());
    case VarType::kNull:
      return Json();
    case VarType::kEmpty:
      return Json{{"$", "Empty"}};
    case VarType::kError:
      return Json{{"$", "Missing"}};
    case VarType::kByte:
    case VarType::kInteger:
    case VarType::kLong:
      return Typed(VarTypeName(value.type()), Json(static_cast<int64_t>(value.NumericValue())));
    case VarType::kSingle:
    case VarType::kDouble:
      return Typed(VarTypeName(value.type()), Number(value.NumericValue()));
    case VarType::kCurrency: {
      Currency c = value.AsCurrency();
      char buffer[48];
      int64_t whole = c.scaled / Currency::kScale, frac = c.scaled % Currency::kScale;
      std::snprintf(buffer, sizeof(buffer), "%s%lld.%04lld", c.scaled < 0 ? "-" : "",
                    static_cast<long long>(whole < 0 ? -whole : whole),
                    static_cast<long long>(frac < 0 ? -frac : frac));
      return Typed("Currency", Json(buffer));
    }
    case VarType::kDate:
      return Typed("Date", Json(IsoDateText(value.AsDate())));
    case VarType::kObject: {
      const ObjectRef& object = value.AsObject();
      return Typed("Object", object ? Json(handles.HandleOf(object)) : Json());
    }
    case VarType::kArray: {
      const Array& array = value.AsArray();
      Json bounds = Json::array();
      for (int d = 1; d <= array.Dimensions(); ++d) {
        bounds.push_back({array.DimensionBounds(d).lower, array.DimensionBounds(d).upper});
      }
      Json v;
      size_t index = 0;
      WriteElements(array, 0, &index, &v,
                    [&handles](const Variant& e) { return VariantToJson(e, handles); });
      return Json{{"$", "Array"},
                  {"type", std::string(VarTypeName(array.element_type()))},
                  {"bounds", bounds},
                  {"v", v}};
    }
    case VarType::kRecord: {
      const Record& record = value.AsRecord();
      Json fields = Json::object();
      for (const auto& field : record.fields())
        fields[field.first] = VariantToJson(field.second, handles);
      return Json{{"$", "Record"}, {"type", record.type_name()}, {"v", fields}};
    }
    default:
      return Json();
  }
}

Json EventFieldToJson(const Variant& value) {
  switch (value.type()) {
    case VarType::kString:
      return Json(value.AsString());
    case VarType::kBoolean:
      return Json(value.AsBoolean());
    case VarType::kNull:
    case VarType::kEmpty:
      return Json();
    case VarType::kDate:
      return Typed("Date", Json(IsoDateText(value.AsDate())));
    case VarType::kArray: {
      Json out = Json::array();
      for (const Variant& e : value.AsArray().elements()) out.push_back(EventFieldToJson(e));
      return out;
    }
    default:
      if (value.IsNumber()) {
        double x = value.NumericValue();
        if (x == std::trunc(x) && std::fabs(x) < 9e15) return Json(static_cast<int64_t>(x));
        return Number(x);
      }
      return Json();
  }
}

std::string IsoDateText(Date d) {
  vb::DateParts p = vb::SplitDate(d);
  char buffer[32];
  std::snprintf(buffer, sizeof(buffer), "%04d-%02d-%02dT%02d:%02d:%02d", p.year, p.month, p.day,
                p.hour, p.minute, p.second);
  return buffer;
}

bool ParseIsoDate(const std::string& text, Date* out) {
  vb::DateParts p;
  p.hour = p.minute = p.second = 0;
  char sep = 0;
  int consumed = 0;
  int fields = std::sscanf(text.c_str(), "%4d-%2d-%2d%c%2d:%2d:%2d%n", &p.year, &p.month, &p.day,
                           &sep, &p.hour, &p.minute, &p.second, &consumed);
  if (fields == 7 && (sep == 'T' || sep == ' ') && static_cast<size_t>(consumed) == text.size()) {
    return vb::MakeDate(p, out);
  }
  consumed = 0;
  fields = std::sscanf(text.c_str(), "%4d-%2d-%2d%n", &p.year, &p.month, &p.day, &consumed);
  if (fields == 3 && static_cast<size_t>(consumed) == text.size()) {
    p.hour = p.minute = p.second = 0;
    return vb::MakeDate(p, out);
  }
  return false;
}

}  // namespace qor::automation
