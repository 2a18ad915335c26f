// Conversion of Python values to Variants and back (see values.h).

#include "values.h"

#include <Python.h>

#include <climits>
#include <string>
#include <utility>
#include <vector>

#include "qorsupport/frame/vb_date.h"

namespace qor::python {

namespace {

constexpr int kMaxDepth = 32;
constexpr size_t kMaxArrayElements = 10'000'000;

// The Python classes the conversions recognise, loaded on first use and kept
// for the life of the process (never destroyed: the interpreter may be gone
// by the time static destructors run).
struct Kinds {
  py::object error, empty, missing, nothing, by_ref, decimal, decimal_context, datetime, date;
};

const Kinds& K() {
  static const Kinds* kinds = [] {
    auto* k = new Kinds;
    py::module_ types = py::module_::import("qorsupport._types");
    k->error = types.attr("Error");
    k->empty = types.attr("Empty");
    k->missing = types.attr("Missing");
    k->nothing = types.attr("Nothing");
    k->by_ref = types.attr("ByRef");
    py::module_ decimal = py::module_::import("decimal");
    k->decimal = decimal.attr("Decimal");
    // Wide enough for every Currency and for a Decimal far beyond them, so
    // that scaling never rounds before the range check.
    k->decimal_context = decimal.attr("Context")(py::arg("prec") = 80);
    py::module_ datetime = py::module_::import("datetime");
    k->datetime = datetime.attr("datetime");
    k->date = datetime.attr("date");
    return k;
  }();
  return *kinds;
}

[[noreturn]] void Mismatch(const std::string& what) {
  throw Error(err::kTypeMismatch, "qorsupport", "Type mismatch: " + what);
}

[[noreturn]] void Overflow(const std::string& what) {
  throw Error(err::kOverflow, "qorsupport", "Overflow: " + what);
}

Variant FromInt(py::handle value) {
  int overflow = 0;
  long long n = PyLong_AsLongLongAndOverflow(value.ptr(), &overflow);
  if (overflow == 0 && n == -1 && PyErr_Occurred()) throw py::error_already_set();
  if (overflow == 0 && n >= INT32_MIN && n <= INT32_MAX) return Variant(static_cast<int32_t>(n));
  if (overflow == 0) return Variant(static_cast<double>(n));
  double x = PyLong_AsDouble(value.ptr());
  if (x == -1.0 && PyErr_Occurred()) {
    PyErr_Clear();
    Overflow("an int too large for a Double");
  }
  return Variant(x);
}

Variant FromText(py::handle value) {
  Py_ssize_t size = 0;
  const char* text = PyUnicode_AsUTF8AndSize(value.ptr(), &size);
  if (!text) {
    PyErr_Clear();
    Mismatch("a str that is not valid Unicode");
  }
  return Variant(std::string(text, static_cast<size_t>(size)));
}

Variant FromBytes(py::handle value) {
  std::string bytes = PyByteArray_Check(value.ptr())
                          ? std::string(PyByteArray_AsString(value.ptr()),
                                        static_cast<size_t>(PyByteArray_Size(value.ptr())))
                          : std::string(py::reinterpret_borrow<py::bytes>(value));
  if (bytes.size() > kMaxArrayElements) Mismatch("an array of more than ten million elements");
  Array array(VarType::kByte, {{0, static_cast<int32_t>(bytes.size()) - 1}});
  for (size_t i = 0; i < bytes.size(); ++i) {
    array.elements()[i] = Variant(static_cast<uint8_t>(bytes[i]));
  }
  return Variant(std::move(array));
}

Variant FromDate(py::handle value, bool with_time) {
  vb::DateParts parts;
  parts.year = value.attr("year").cast<int>();
  parts.month = value.attr("month").cast<int>();
  parts.day = value.attr("day").cast<int>();
  parts.hour = parts.minute = parts.second = 0;
  if (with_time) {
    parts.hour = value.attr("hour").cast<int>();
    parts.minute = value.attr("minute").cast<int>();
    parts.second = value.attr("second").cast<int>();
  }
  Date date;
  if (!vb::MakeDate(parts, &date)) {
    throw Error(err::kInvalidCall, "qorsupport",
                "Invalid procedure call or argument: a Date runs from the year 100 to 9999");
  }
  return Variant(date);
}

Variant FromDecimal(py::handle value) {
  const Kinds& k = K();
  if (!value.attr("is_finite")().cast<bool>()) Overflow("a Decimal that is not finite");
  py::object scaled = value.attr("scaleb")(4, k.decimal_context)
                          .attr("to_integral_value")("ROUND_HALF_EVEN", k.decimal_context);
  py::int_ whole(scaled);
  int overflow = 0;
  long long n = PyLong_AsLongLongAndOverflow(whole.ptr(), &overflow);
  if (overflow != 0) Overflow("a Decimal beyond the range of Currency");
  Currency c;
  c.scaled = n;
  return Variant(c);
}

Variant Convert(py::handle value, int depth);

// A list of lists that are all as long as each other (and not empty) is a
// 2-D array; any other list a 1-D array of its converted elements.
Variant FromSequence(py::handle value, int depth) {
  py::sequence items = py::reinterpret_borrow<py::sequence>(value);
  const size_t rows = items.size();
  if (rows > kMaxArrayElements) Mismatch("an array of more than ten million elements");
  bool two_d = rows > 0;
  size_t columns = 0;
  for (size_t i = 0; two_d && i < rows; ++i) {
    py::handle row = items[i];
    if (!PyList_Check(row.ptr()) && !PyTuple_Check(row.ptr())) {
      two_d = false;
    } else {
      size_t n = static_cast<size_t>(py::len(row));
      if (i == 0) columns = n;
      two_d = n == columns && n > 0;
    }
  }
  if (!two_d) {
    Array array(VarType::kVariant, {{0, static_cast<int32_t>(rows) - 1}});
    for (size_t i = 0; i < rows; ++i) array.elements()[i] = Convert(items[i], depth + 1);
    return Variant(std::move(array));
  }
  if (rows * columns > kMaxArrayElements) Mismatch("an array of more than ten million elements");
  Array array(VarType::kVariant,
              {{0, static_cast<int32_t>(rows) - 1}, {0, static_cast<int32_t>(columns) - 1}});
  auto out = array.elements().begin();
  for (size_t i = 0; i < rows; ++i) {
    py::sequence row = py::reinterpret_borrow<py::sequence>(items[i]);
    for (size_t j = 0; j < columns; ++j) *out++ = Convert(row[j], depth + 2);
  }
  return Variant(std::move(array));
}

Variant Convert(py::handle value, int depth) {
  if (depth > kMaxDepth) Mismatch("nesting too deep");
  const Kinds& k = K();
  if (value.is_none()) return Variant::Null();
  if (value.is(k.empty)) return Variant();
  if (value.is(k.missing)) return Variant::Missing();
  if (value.is(k.nothing)) return Variant::Nothing();
  if (IsByRef(value)) return Convert(value.attr("value"), depth + 1);
  PyObject* p = value.ptr();
  if (PyBool_Check(p)) return Variant(p == Py_True);
  if (PyLong_Check(p)) return FromInt(value);
  if (PyFloat_Check(p)) return Variant(PyFloat_AsDouble(p));
  if (PyUnicode_Check(p)) return FromText(value);
  if (PyBytes_Check(p) || PyByteArray_Check(p)) return FromBytes(value);
  if (py::isinstance(value, k.datetime)) return FromDate(value, true);
  if (py::isinstance(value, k.date)) return FromDate(value, false);
  if (py::isinstance(value, k.decimal)) return FromDecimal(value);
  if (PyList_Check(p) || PyTuple_Check(p)) return FromSequence(value, depth);
  if (py::isinstance<ObjectHandle>(value)) {
    const ObjectHandle& handle = value.cast<const ObjectHandle&>();
    handle.Live();
    return Variant(handle.object);
  }
  if (py::isinstance<RecordValue>(value)) return Variant(value.cast<const RecordValue&>().record);
  Mismatch("a Python " + std::string(Py_TYPE(p)->tp_name) + " has no Variant kind");
}

py::object FromCurrency(Currency c) {
  return K().decimal(py::int_(c.scaled)).attr("scaleb")(-4, K().decimal_context);
}

py::object FromDateValue(Date d) {
  vb::DateParts p = vb::SplitDate(d);
  return K().datetime(p.year, p.month, p.day, p.hour, p.minute, p.second);
}

py::object FromArray(const Array& array) {
  const std::vector<Variant>& elements = array.elements();
  if (array.element_type() == VarType::kByte && array.Dimensions() == 1) {
    std::string bytes;
    bytes.reserve(elements.size());
    for (const Variant& e : elements) {
      bytes.push_back(static_cast<char>(static_cast<uint8_t>(e.NumericValue())));
    }
    return py::bytes(bytes);
  }
  if (array.Dimensions() == 1) {
    py::list out;
    for (const Variant& e : elements) out.append(FromVariant(e));
    return out;
  }
  const int64_t rows = array.DimensionBounds(1).Count();
  const int64_t columns = array.DimensionBounds(2).Count();
  py::list out;
  for (int64_t i = 0; i < rows; ++i) {
    py::list row;
    for (int64_t j = 0; j < columns; ++j) row.append(FromVariant(elements[i * columns + j]));
    out.append(std::move(row));
  }
  return out;
}

}  // namespace

Object& ObjectHandle::Live() const {
  if (!object) {
    throw Error(424, "qorsupport", "Object required: the object was released");
  }
  return *object;
}

bool IsByRef(py::handle value) { return py::isinstance(value, K().by_ref); }

Variant ToVariant(py::handle value) { return Convert(value, 0); }

py::object FromVariant(const Variant& value) {
  switch (value.type()) {
    case VarType::kEmpty:
      return K().empty;
    case VarType::kNull:
      return py::none();
    case VarType::kError:
      return K().missing;
    case VarType::kBoolean:
      return py::bool_(value.AsBoolean());
    case VarType::kByte:
    case VarType::kInteger:
    case VarType::kLong:
      return py::int_(static_cast<long long>(value.NumericValue()));
    case VarType::kSingle:
    case VarType::kDouble:
      return py::float_(value.NumericValue());
    case VarType::kCurrency:
      return FromCurrency(value.AsCurrency());
    case VarType::kDate:
      return FromDateValue(value.AsDate());
    case VarType::kString: {
      const std::string& s = value.AsString();
      return py::reinterpret_steal<py::object>(
          PyUnicode_DecodeUTF8(s.data(), static_cast<Py_ssize_t>(s.size()), "replace"));
    }
    case VarType::kObject:
      if (!value.AsObject()) return py::none();
      return py::cast(ObjectHandle{value.AsObject()});
    case VarType::kArray:
      return FromArray(value.AsArray());
    case VarType::kRecord:
      return py::cast(RecordValue{value.AsRecord()});
    default:
      return py::none();
  }
}

void SetPythonError(const Error& error) {
  py::object instance = K().error(error.number(), error.source(), error.description());
  PyErr_SetObject(K().error.ptr(), instance.ptr());
}

}  // namespace qor::python
