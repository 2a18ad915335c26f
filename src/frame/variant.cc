#include "qorsupport/frame/variant.h"

#include <algorithm>
#include <cctype>

#include "qorsupport/frame/error.h"

namespace qor {

namespace {

bool EqualsNoCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) ==
                  std::tolower(static_cast<unsigned char>(y));
         });
}

}  // namespace

// ---- Array ----------------------------------------------------------------

Array::Array(VarType element_type, std::vector<Bounds> bounds)
    : element_type_(element_type), bounds_(std::move(bounds)) {
  if (bounds_.empty() || bounds_.size() > 2) Raise(err::kSubscript);
  int64_t count = 1;
  for (const Bounds& b : bounds_) count *= b.Count();
  elements_.assign(static_cast<size_t>(count), ZeroValue(element_type_));
}

const Array::Bounds& Array::DimensionBounds(int dimension) const {
  if (dimension < 1 || dimension > Dimensions()) Raise(err::kSubscript);
  return bounds_[dimension - 1];
}

size_t Array::Offset(const int32_t* indexes, size_t count) const {
  if (count != bounds_.size()) Raise(err::kSubscript);
  int64_t offset = 0;
  for (size_t i = 0; i < count; ++i) {
    const Bounds& b = bounds_[i];
    if (indexes[i] < b.lower || indexes[i] > b.upper) Raise(err::kSubscript);
    offset = offset * b.Count() + (int64_t{indexes[i]} - b.lower);
  }
  return static_cast<size_t>(offset);
}

Variant& Array::At(std::initializer_list<int32_t> indexes) {
  return elements_[Offset(indexes.begin(), indexes.size())];
}
const Variant& Array::At(std::initializer_list<int32_t> indexes) const {
  return elements_[Offset(indexes.begin(), indexes.size())];
}
Variant& Array::At(const std::vector<int32_t>& indexes) {
  return elements_[Offset(indexes.data(), indexes.size())];
}
const Variant& Array::At(const std::vector<int32_t>& indexes) const {
  return elements_[Offset(indexes.data(), indexes.size())];
}

void Array::RedimPreserve(const std::vector<Bounds>& bounds) {
  if (bounds.size() != bounds_.size()) Raise(err::kSubscript);
  for (size_t i = 0; i + 1 < bounds.size(); ++i) {
    if (bounds[i].lower != bounds_[i].lower || bounds[i].upper != bounds_[i].upper) {
      Raise(err::kSubscript);
    }
  }
  if (bounds.back().lower != bounds_.back().lower) Raise(err::kSubscript);
  // Only the last dimension changes. With two dimensions each row of the
  // first index keeps its leading elements.
  const int64_t old_last = bounds_.back().Count();
  const int64_t new_last = bounds.back().Count();
  const int64_t rows = bounds.size() == 2 ? bounds[0].Count() : 1;
  std::vector<Variant> resized(static_cast<size_t>(rows * new_last), ZeroValue(element_type_));
  for (int64_t r = 0; r < rows; ++r) {
    for (int64_t c = 0; c < std::min(old_last, new_last); ++c) {
      resized[r * new_last + c] = std::move(elements_[r * old_last + c]);
    }
  }
  elements_ = std::move(resized);
  bounds_ = bounds;
}

bool operator==(const Array& a, const Array& b) {
  if (a.element_type_ != b.element_type_ || a.bounds_.size() != b.bounds_.size()) return false;
  for (size_t i = 0; i < a.bounds_.size(); ++i) {
    if (a.bounds_[i].lower != b.bounds_[i].lower || a.bounds_[i].upper != b.bounds_[i].upper) {
      return false;
    }
  }
  return a.elements_ == b.elements_;
}

// ---- Record ---------------------------------------------------------------

Variant* Record::Find(std::string_view name) {
  for (auto& field : fields_) {
    if (EqualsNoCase(field.first, name)) return &field.second;
  }
  return nullptr;
}

const Variant* Record::Find(std::string_view name) const {
  return const_cast<Record*>(this)->Find(name);
}

void Record::Set(std::string_view name, Variant value) {
  if (Variant* field = Find(name)) {
    *field = std::move(value);
  } else {
    fields_.emplace_back(std::string(name), std::move(value));
  }
}

bool operator==(const Record& a, const Record& b) {
  return EqualsNoCase(a.type_name_, b.type_name_) && a.fields_ == b.fields_;
}

// ---- Variant --------------------------------------------------------------

Variant::Variant(Array v) : value_(std::make_shared<Array>(std::move(v))) {}
Variant::Variant(Record v) : value_(std::make_shared<Record>(std::move(v))) {}

Variant::Variant(const Variant& other) : value_(other.value_) {
  // Arrays and records have value semantics: copy them, not the pointer.
  if (auto* a = std::get_if<std::shared_ptr<Array>>(&value_)) {
    *a = std::make_shared<Array>(**a);
  } else if (auto* r = std::get_if<std::shared_ptr<Record>>(&value_)) {
    *r = std::make_shared<Record>(**r);
  }
}

Variant& Variant::operator=(const Variant& other) {
  if (this != &other) {
    Variant copy(other);
    *this = std::move(copy);
  }
  return *this;
}

VarType Variant::type() const {
  switch (value_.index()) {
    case 0:
      return VarType::kEmpty;
    case 1:
      return VarType::kNull;
    case 2:
      return VarType::kError;
    case 3:
      return VarType::kBoolean;
    case 4:
      return VarType::kByte;
    case 5:
      return VarType::kInteger;
    case 6:
      return VarType::kLong;
    case 7:
      return VarType::kSingle;
    case 8:
      return VarType::kDouble;
    case 9:
      return VarType::kCurrency;
    case 10:
      return VarType::kDate;
    case 11:
      return VarType::kString;
    case 12:
      return VarType::kObject;
    case 13:
      return VarType::kArray;
    default:
      return VarType::kRecord;
  }
}

int Variant::VarTypeCode() const {
  if (IsArray())
    return static_cast<int>(VarType::kArray) + static_cast<int>(AsArray().element_type());
  return static_cast<int>(type());
}

bool Variant::IsNumber() const {
  switch (type()) {
    case VarType::kByte:
    case VarType::kInteger:
    case VarType::kLong:
    case VarType::kSingle:
    case VarType::kDouble:
    case VarType::kCurrency:
      return true;
    default:
      return false;
  }
}

bool Variant::AsBoolean() const {
  if (const bool* b = std::get_if<bool>(&value_)) return *b;
  Raise(err::kTypeMismatch);
}

const std::string& Variant::AsString() const {
  if (const auto* s = std::get_if<std::string>(&value_)) return *s;
  Raise(err::kTypeMismatch);
}

Date Variant::AsDate() const {
  if (const Date* d = std::get_if<Date>(&value_)) return *d;
  Raise(err::kTypeMismatch);
}

Currency Variant::AsCurrency() const {
  if (const Currency* c = std::get_if<Currency>(&value_)) return *c;
  Raise(err::kTypeMismatch);
}

const ObjectRef& Variant::AsObject() const {
  if (const auto* o = std::get_if<ObjectRef>(&value_)) return *o;
  Raise(err::kTypeMismatch);
}

Array& Variant::AsArray() {
  if (auto* a = std::get_if<std::shared_ptr<Array>>(&value_)) return **a;
  Raise(err::kTypeMismatch);
}

const Array& Variant::AsArray() const { return const_cast<Variant*>(this)->AsArray(); }

Record& Variant::AsRecord() {
  if (auto* r = std::get_if<std::shared_ptr<Record>>(&value_)) return **r;
  Raise(err::kTypeMismatch);
}

const Record& Variant::AsRecord() const { return const_cast<Variant*>(this)->AsRecord(); }

double Variant::NumericValue() const {
  switch (type()) {
    case VarType::kEmpty:
      return 0;
    case VarType::kBoolean:
      return std::get<bool>(value_) ? -1 : 0;
    case VarType::kByte:
      return std::get<uint8_t>(value_);
    case VarType::kInteger:
      return std::get<int16_t>(value_);
    case VarType::kLong:
      return std::get<int32_t>(value_);
    case VarType::kSingle:
      return std::get<float>(value_);
    case VarType::kDouble:
      return std::get<double>(value_);
    case VarType::kCurrency:
      return std::get<Currency>(value_).ToDouble();
    case VarType::kDate:
      return std::get<Date>(value_).serial;
    default:
      Raise(err::kTypeMismatch);
  }
}

bool operator==(const Variant& a, const Variant& b) {
  if (a.value_.index() != b.value_.index()) return false;
  if (a.IsArray()) return a.AsArray() == b.AsArray();
  if (a.IsRecord()) return a.AsRecord() == b.AsRecord();
  if (a.IsNull() || a.IsEmpty() || a.IsMissing()) return true;
  return a.value_ == b.value_;
}

Variant ZeroValue(VarType type) {
  switch (type) {
    case VarType::kBoolean:
      return Variant(false);
    case VarType::kByte:
      return Variant(uint8_t{0});
    case VarType::kInteger:
      return Variant(int16_t{0});
    case VarType::kLong:
      return Variant(int32_t{0});
    case VarType::kSingle:
      return Variant(0.0f);
    case VarType::kDouble:
      return Variant(0.0);
    case VarType::kCurrency:
      return Variant(Currency{});
    case VarType::kDate:
      return Variant(Date{});
    case VarType::kString:
      return Variant(std::string());
    case VarType::kObject:
      return Variant::Nothing();
    default:
      return Variant();
  }
}

namespace {

struct TypeNameEntry {
  VarType type;
  std::string_view name;
};

constexpr TypeNameEntry kTypeNames[] = {
    {VarType::kEmpty, "Empty"},       {VarType::kNull, "Null"},     {VarType::kInteger, "Integer"},
    {VarType::kLong, "Long"},         {VarType::kSingle, "Single"}, {VarType::kDouble, "Double"},
    {VarType::kCurrency, "Currency"}, {VarType::kDate, "Date"},     {VarType::kString, "String"},
    {VarType::kObject, "Object"},     {VarType::kError, "Error"},   {VarType::kBoolean, "Boolean"},
    {VarType::kVariant, "Variant"},   {VarType::kByte, "Byte"},     {VarType::kRecord, "Record"},
};

}  // namespace

std::string_view VarTypeName(VarType type) {
  for (const auto& entry : kTypeNames) {
    if (entry.type == type) return entry.name;
  }
  return "Unknown";
}

bool VarTypeFromName(std::string_view name, VarType* type) {
  for (const auto& entry : kTypeNames) {
    if (EqualsNoCase(entry.name, name)) {
      *type = entry.type;
      return true;
    }
  }
  return false;
}

std::string TypeName(const Variant& v) {
  if (v.IsArray()) return std::string(VarTypeName(v.AsArray().element_type())) + "()";
  if (v.IsObject()) return v.AsObject() ? std::string(v.AsObject()->ClassName()) : "Nothing";
  if (v.IsRecord()) return v.AsRecord().type_name();
  return std::string(VarTypeName(v.type()));
}

}  // namespace qor
