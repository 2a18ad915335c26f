// The library's value type.
//
// Every value that crosses the public interface is a Variant: one of the
// kinds a late-bound caller knows (Empty, Null, an omitted optional argument,
// Boolean, Byte, Integer, Long, Single, Double, Currency, Date, String, Object,
// a user-defined record, or an array of one or two dimensions with bounds).
//
// A Variant owns its value: copying a Variant copies strings, arrays and
// records; objects are shared references (Object handles). The conversions
// between kinds follow the rules of the VB runtime and live in frame/vb.h; this
// header only stores and inspects values.

#ifndef QOR_FRAME_VARIANT_H_
#define QOR_FRAME_VARIANT_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace qor {

// The kinds, numbered as VB's VarType numbers them. Missing reports as
// kError, the way VB represents an omitted optional argument.
enum class VarType : int {
  kEmpty = 0,
  kNull = 1,
  kInteger = 2,
  kLong = 3,
  kSingle = 4,
  kDouble = 5,
  kCurrency = 6,
  kDate = 7,
  kString = 8,
  kObject = 9,
  kError = 10,
  kBoolean = 11,
  kVariant = 12,
  kRecord = 36,
  kByte = 17,
  kArray = 0x2000,
};

// Base of every object a Variant can refer to: the library's public classes
// and the database engine's objects. Objects are shared between the Variants
// that refer to them and live as long as the last reference.
class Object {
 public:
  virtual ~Object() = default;
  // The class name under which late-bound callers know the object.
  virtual std::string_view ClassName() const = 0;
};

using ObjectRef = std::shared_ptr<Object>;

// A fixed-point number with four decimals, held as ten-thousandths.
struct Currency {
  int64_t scaled = 0;
  static constexpr int64_t kScale = 10000;
  double ToDouble() const { return static_cast<double>(scaled) / kScale; }
  friend bool operator==(Currency a, Currency b) { return a.scaled == b.scaled; }
};

// An OLE automation date: days since 1899-12-30, the time of day as the
// fraction (taken as a positive fraction also for negative day numbers).
struct Date {
  double serial = 0;
  friend bool operator==(Date a, Date b) { return a.serial == b.serial; }
};

class Array;
class Record;

class Variant {
 public:
  struct EmptyTag {};
  struct NullTag {
    friend bool operator==(NullTag, NullTag) { return true; }
  };
  struct MissingTag {
    friend bool operator==(MissingTag, MissingTag) { return true; }
  };

  Variant() = default;  // Empty
  Variant(EmptyTag) {}
  Variant(NullTag) : value_(NullTag{}) {}
  Variant(MissingTag) : value_(MissingTag{}) {}
  Variant(bool v) : value_(v) {}
  Variant(uint8_t v) : value_(v) {}
  Variant(int16_t v) : value_(v) {}
  Variant(int32_t v) : value_(v) {}
  Variant(float v) : value_(v) {}
  Variant(double v) : value_(v) {}
  Variant(Currency v) : value_(v) {}
  Variant(Date v) : value_(v) {}
  Variant(std::string v) : value_(std::move(v)) {}
  Variant(std::string_view v) : value_(std::string(v)) {}
  Variant(const char* v) : value_(std::string(v)) {}
  Variant(ObjectRef v) : value_(std::move(v)) {}
  Variant(Array v);
  Variant(Record v);
  // Other integer widths are deliberately not convertible: say which kind.
  Variant(int64_t) = delete;
  Variant(uint32_t) = delete;

  Variant(const Variant& other);
  Variant& operator=(const Variant& other);
  Variant(Variant&&) noexcept = default;
  Variant& operator=(Variant&&) noexcept = default;

  static Variant Null() { return Variant(NullTag{}); }
  static Variant Missing() { return Variant(MissingTag{}); }
  static Variant Nothing() { return Variant(ObjectRef()); }

  // VB's VarType: the kind's number, with kArray added to the element type
  // for an array; Missing gives kError.
  int VarTypeCode() const;
  VarType type() const;

  bool IsEmpty() const { return std::holds_alternative<std::monostate>(value_); }
  bool IsNull() const { return std::holds_alternative<NullTag>(value_); }
  bool IsMissing() const { return std::holds_alternative<MissingTag>(value_); }
  bool IsBoolean() const { return std::holds_alternative<bool>(value_); }
  bool IsString() const { return std::holds_alternative<std::string>(value_); }
  bool IsDate() const { return std::holds_alternative<Date>(value_); }
  bool IsObject() const { return std::holds_alternative<ObjectRef>(value_); }
  bool IsArray() const { return std::holds_alternative<std::shared_ptr<Array>>(value_); }
  bool IsRecord() const { return std::holds_alternative<std::shared_ptr<Record>>(value_); }
  // Byte, Integer, Long, Single, Double or Currency.
  bool IsNumber() const;

  // Raw access. Each requires the matching kind (checked: a wrong kind
  // raises error 13); use the conversions of frame/vb.h to convert.
  bool AsBoolean() const;
  const std::string& AsString() const;
  Date AsDate() const;
  Currency AsCurrency() const;
  const ObjectRef& AsObject() const;
  Array& AsArray();
  const Array& AsArray() const;
  Record& AsRecord();
  const Record& AsRecord() const;
  // The numeric value of a number, Boolean or Date kind (Booleans as -1 and
  // 0, dates as their serial, Empty as 0); raises error 13 otherwise.
  double NumericValue() const;

  // Identity of kind and value (strings exactly, objects by reference); not
  // VB's comparison, which is vb::Compare.
  friend bool operator==(const Variant& a, const Variant& b);

 private:
  using Storage = std::variant<std::monostate, NullTag, MissingTag, bool, uint8_t, int16_t, int32_t,
                               float, double, Currency, Date, std::string, ObjectRef,
                               std::shared_ptr<Array>, std::shared_ptr<Record>>;
  Storage value_;
  friend struct VariantAccess;
};

// An array of one or two dimensions, each with its own lower and upper bound.
// Elements are stored by the first index, then the second.
class Array {
 public:
  struct Bounds {
    int32_t lower = 0;
    int32_t upper = -1;  // upper < lower: an empty dimension
    int64_t Count() const { return upper < lower ? 0 : int64_t{upper} - lower + 1; }
  };

  // element_type is the declared type of the elements (kVariant for a
  // variant array); new elements start as that type's zero value.
  Array(VarType element_type, std::vector<Bounds> bounds);

  VarType element_type() const { return element_type_; }
  int Dimensions() const { return static_cast<int>(bounds_.size()); }
  // dimension is 1-based, as LBound and UBound count; out of range raises 9.
  const Bounds& DimensionBounds(int dimension) const;
  int64_t ElementCount() const { return static_cast<int64_t>(elements_.size()); }

  // Element access by indexes, one per dimension; raises error 9 (subscript
  // out of range) for a wrong index or a wrong number of indexes.
  Variant& At(std::initializer_list<int32_t> indexes);
  const Variant& At(std::initializer_list<int32_t> indexes) const;
  Variant& At(const std::vector<int32_t>& indexes);
  const Variant& At(const std::vector<int32_t>& indexes) const;

  // All elements, in storage order (first index outermost).
  std::vector<Variant>& elements() { return elements_; }
  const std::vector<Variant>& elements() const { return elements_; }

  // ReDim Preserve: changes the upper bound of the last dimension keeping
  // the elements; other bounds must stay as they are (else error 9).
  void RedimPreserve(const std::vector<Bounds>& bounds);

  friend bool operator==(const Array& a, const Array& b);

 private:
  size_t Offset(const int32_t* indexes, size_t count) const;

  VarType element_type_;
  std::vector<Bounds> bounds_;
  std::vector<Variant> elements_;
};

// A value of a user-defined type: a type name and its fields in declared
// order. Field names are matched without regard to case.
class Record {
 public:
  Record() = default;
  explicit Record(std::string type_name) : type_name_(std::move(type_name)) {}

  const std::string& type_name() const { return type_name_; }
  // The field's value; nullptr when the record has no such field.
  Variant* Find(std::string_view name);
  const Variant* Find(std::string_view name) const;
  // Sets a field, adding it when missing.
  void Set(std::string_view name, Variant value);
  // Fields in declared order.
  std::vector<std::pair<std::string, Variant>>& fields() { return fields_; }
  const std::vector<std::pair<std::string, Variant>>& fields() const { return fields_; }

  friend bool operator==(const Record& a, const Record& b);

 private:
  std::string type_name_;
  std::vector<std::pair<std::string, Variant>> fields_;
};

// Shorthand for making typed values in calls: Int16(5), Long(5).
inline Variant Int16(int v) { return Variant(static_cast<int16_t>(v)); }
inline Variant Long(int32_t v) { return Variant(v); }
inline Variant Byte(int v) { return Variant(static_cast<uint8_t>(v)); }

// The zero value of a declared element type (0, "", False, Empty, ...).
Variant ZeroValue(VarType type);

// The VB name of a kind: "Long", "String", "Variant()", ...
std::string TypeName(const Variant& v);
std::string_view VarTypeName(VarType type);
// The kind for a VB type name ("Integer", "Date", "Variant", ...), case
// insensitive; false when the name is unknown.
bool VarTypeFromName(std::string_view name, VarType* type);

}  // namespace qor

#endif  // QOR_FRAME_VARIANT_H_
