// Python values and the library's Variants, each way, for the qorsupport
// module.
//
// Python to Variant: None is Null; qorsupport.Empty, Missing and Nothing are
// Empty, an omitted argument and an object reference to no object; bool is a
// Boolean, int a Long (a Double beyond 32 bits), float a Double, str a
// String, bytes a Byte array, datetime and date a Date (to the second),
// decimal.Decimal a Currency (rounded to four decimals as CCur rounds, else
// exact), a list or tuple an array (a list of equally long lists a 2-D
// array), qorsupport.Record a record and a library object itself. Anything
// else raises qor::Error 13; a number or date out of its kind's range raises
// 6 or 5.
//
// Variant to Python gives the matching types back: Currency as a Decimal with
// four decimals, Date as a datetime, a Byte array as bytes, other arrays as
// lists (nested for two dimensions, bounds not kept), Nothing as None.

#ifndef QOR_PYTHON_VALUES_H_
#define QOR_PYTHON_VALUES_H_

#include <pybind11/pybind11.h>

#include "qorsupport/frame/error.h"
#include "qorsupport/frame/variant.h"

namespace qor::python {

namespace py = pybind11;

// A library object as Python holds it. object is null once
// qorsupport.release() let it go; using it then raises 424.
struct ObjectHandle {
  ObjectRef object;
  // The object; raises 424 when it was released.
  Object& Live() const;
};

// A record (user-defined type value) as Python holds it.
struct RecordValue {
  Record record;
};

// Converts a Python value; a qorsupport.ByRef is read through to its value.
Variant ToVariant(py::handle value);

// Converts a result or a by-reference value back.
py::object FromVariant(const Variant& value);

// Whether value is a qorsupport.ByRef.
bool IsByRef(py::handle value);

// Sets a Python qorsupport.Error for a library error (for the module's
// exception translator).
void SetPythonError(const Error& error);

}  // namespace qor::python

#endif  // QOR_PYTHON_VALUES_H_
