// The Python extension qorsupport._qorsupport: the library's late-bound
// dispatch (qorsupport/automation/dispatch.h) for Python programs.
//
// Dispatch(name) creates an object by class name, as the automation host's
// "create" does (also "qorExportGlobals", the module of shared procedures).
// On an object, attribute access goes through the dispatch by name without
// regard to case: a property that needs no argument is read at once, a
// method or an indexed property gives a callable, assignment writes a
// property. Calling an object calls its Item (so rs.Fields("Name") works),
// len() reads Count and iteration runs over Item(0) .. Item(Count - 1).
// Arguments may be given by position or by keyword (the declared names);
// those left out are omitted. A qorsupport.ByRef argument holds the value
// the call left there.
//
// Every library error, and every input the dispatch refuses, reaches Python
// as qorsupport.Error with the number, source and description the library
// gives; names starting with "_" are left to Python (AttributeError).
//
// Dialogs go to the current UI backend (QOR_UI); queue_answers and
// take_dialogs (and clear_answers) work with the scripted one.

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <exception>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "qorsupport/automation/dispatch.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/report.h"
#include "qorsupport/ui/backend.h"
#include "qorsupport/ui/scripted.h"
#include "values.h"

namespace qor::python {

namespace {

using automation::ClassInfo;
using automation::GlobalsModule;
using automation::LowerAscii;
using automation::Member;
using automation::MemberKind;
using automation::Param;
using automation::Registry;

const Registry& Dispatcher() { return Registry::Global(); }

const ClassInfo& ClassOf(const Object& object) {
  const ClassInfo* info = Dispatcher().FindClass(object.ClassName());
  if (!info) Raise(err::kNoSuchMember);
  return *info;
}

[[noreturn]] void NoSuchMember(const Object& object, const std::string& name) {
  throw Error(err::kNoSuchMember, "qorsupport",
              "Object doesn't support this property or method: " + std::string(object.ClassName()) +
                  "." + name);
}

// The text of a name given from Python; raises 13 for anything but a str.
std::string NameText(py::handle name) {
  if (!PyUnicode_Check(name.ptr())) {
    throw Error(err::kTypeMismatch, "qorsupport", "Type mismatch: a name is a str");
  }
  return name.cast<std::string>();
}

ObjectHandle Dispatch(py::handle name) {
  const std::string class_name = NameText(name);
  const ClassInfo* info = Dispatcher().FindClass(class_name);
  if (info && info->name == GlobalsModule().ClassName()) {
    return ObjectHandle{std::make_shared<GlobalsModule>()};
  }
  return ObjectHandle{Dispatcher().Create(class_name)};
}

void Release(py::handle object) {
  if (!py::isinstance<ObjectHandle>(object)) {
    throw Error(err::kTypeMismatch, "qorsupport", "Type mismatch: release takes a library object");
  }
  object.cast<ObjectHandle&>().object.reset();
  // The methods it kept hold the object too.
  py::dict(object.attr("__dict__")).clear();
}

// The position of a declared argument by name (without regard to case);
// raises 448 when the member has no such argument.
size_t ParamIndex(const std::vector<Param>& params, const std::string& name) {
  const std::string key = LowerAscii(name);
  for (size_t i = 0; i < params.size(); ++i) {
    if (LowerAscii(params[i].name) == key) return i;
  }
  throw Error(448, "qorsupport", "Named argument not found: " + name);
}

// The member a call of name on target means: the method, else the property
// read (an indexed property); raises 438 when there is neither.
const Member& CalledMember(Object& target, const std::string& name) {
  const ClassInfo& info = ClassOf(target);
  const Member* member = info.Find(name, MemberKind::kMethod);
  if (!member) member = info.Find(name, MemberKind::kPropertyGet);
  if (!member) NoSuchMember(target, name);
  return *member;
}

// Calls a member with Python arguments; writes back into each ByRef.
py::object Invoke(Object& target, const Member& member, const py::args& args,
                  const py::kwargs& kwargs) {
  const std::vector<Param>* params = &member.params;
  std::vector<Variant> values;
  values.reserve(args.size());
  std::vector<std::pair<size_t, py::handle>> by_ref;
  for (py::handle arg : args) {
    if (IsByRef(arg)) by_ref.emplace_back(values.size(), arg);
    values.push_back(ToVariant(arg));
  }
  for (auto item : kwargs) {
    size_t i = ParamIndex(*params, item.first.cast<std::string>());
    if (i < values.size() && !values[i].IsMissing()) {
      throw Error(err::kInvalidCall, "qorsupport",
                  "Argument given twice: " + item.first.cast<std::string>());
    }
    if (i >= values.size()) values.resize(i + 1, Variant::Missing());
    if (IsByRef(item.second)) by_ref.emplace_back(i, item.second);
    values[i] = ToVariant(item.second);
  }
  Variant result = Dispatcher().Invoke(member, target, values);
  for (auto& [i, holder] : by_ref) holder.attr("value") = FromVariant(values[i]);
  return member.returns_value ? FromVariant(result) : py::none();
}

// A method or indexed property of one object, to be called; the member is
// resolved once, when the attribute is read.
struct BoundMember {
  ObjectRef object;
  const Member* member;
};

// A property that needs no argument is read at every access; a method (or an
// indexed property) comes back as a BoundMember, which is also kept in the
// Python object's own attributes under the name used, so that the next
// access finds it without coming here.
py::object GetAttribute(py::handle self_object, const std::string& name) {
  if (name.empty() || name[0] == '_') throw py::attribute_error(name);
  const ObjectHandle& self = self_object.cast<const ObjectHandle&>();
  Object& target = self.Live();
  const ClassInfo& info = ClassOf(target);
  const Member* get = info.Find(name, MemberKind::kPropertyGet);
  bool needs_arguments = false;
  if (get) {
    for (const Param& p : get->params) needs_arguments |= !p.optional;
  }
  if (get && !needs_arguments && get->returns_value) {
    std::vector<Variant> none;
    return FromVariant(Dispatcher().Invoke(*get, target, none));
  }
  const Member* method = info.Find(name, MemberKind::kMethod);
  if (!method && !get) NoSuchMember(target, name);
  py::object bound = py::cast(BoundMember{self.object, method ? method : get});
  py::dict(self_object.attr("__dict__"))[py::str(name)] = bound;
  return bound;
}

void SetAttribute(const ObjectHandle& self, const std::string& name, py::handle value) {
  if (name.empty() || name[0] == '_') throw py::attribute_error(name);
  Object& target = self.Live();
  std::vector<Variant> none;
  Dispatcher().Set(target, name, none, ToVariant(value));
}

int32_t Count(const ObjectHandle& self) {
  std::vector<Variant> none;
  Variant count = Dispatcher().Get(self.Live(), "Count", none);
  return static_cast<int32_t>(count.NumericValue());
}

py::list Items(const ObjectHandle& self) {
  py::list out;
  const int32_t count = Count(self);
  for (int32_t i = 0; i < count; ++i) {
    std::vector<Variant> index{Variant(i)};
    out.append(FromVariant(Dispatcher().Call(self.Live(), "Item", index)));
  }
  return out;
}

std::vector<std::string> MemberNames(const ObjectHandle& self) {
  std::vector<std::string> names;
  for (const auto& entry : ClassOf(self.Live()).members) names.push_back(entry.second[0].name);
  return names;
}

// The backend of the dialogs when it is the scripted one; raises 5 otherwise.
ui::ScriptedBackend& Scripted() {
  auto* backend = dynamic_cast<ui::ScriptedBackend*>(&ui::Current());
  if (!backend) {
    throw Error(err::kInvalidCall, "qorsupport",
                "Invalid procedure call or argument: scripted dialogs need QOR_UI=scripted");
  }
  return *backend;
}

void QueueAnswers(const py::iterable& answers) {
  std::vector<Variant> queued;
  for (py::handle answer : answers) queued.push_back(ToVariant(answer));
  ui::ScriptedBackend& backend = Scripted();
  for (Variant& v : queued) backend.Queue(std::move(v));
}

py::list TakeDialogs() {
  py::list out;
  for (const ui::UiEvent& event : Scripted().TakeEvents()) {
    py::dict e;
    e["kind"] = event.kind;
    for (const auto& field : event.fields) e[py::str(field.first)] = FromVariant(field.second);
    if (event.mismatch) e["mismatch"] = true;
    out.append(std::move(e));
  }
  return out;
}

// The dispatch's classes for the type stubs: per class its name, whether
// Dispatch can create it, and its members with kind and arguments.
py::list ClassList() {
  py::list out;
  for (const ClassInfo* info : Dispatcher().Classes()) {
    py::list members;
    for (const auto& entry : info->members) {
      for (const Member& m : entry.second) {
        py::list params;
        for (const Param& p : m.params) {
          params.append(py::make_tuple(p.name, p.optional, p.by_ref));
        }
        const char* kind = m.kind == MemberKind::kMethod        ? "method"
                           : m.kind == MemberKind::kPropertyGet ? "get"
                                                                : "put";
        members.append(py::make_tuple(m.name, kind, params, m.returns_value));
      }
    }
    out.append(py::make_tuple(info->name, static_cast<bool>(info->factory), members));
  }
  return out;
}

std::string RecordRepr(const RecordValue& self) {
  std::string text =
      "qorsupport.Record(" + py::repr(py::str(self.record.type_name())).cast<std::string>();
  for (const auto& field : self.record.fields()) {
    text += ", " + field.first + "=" + py::repr(FromVariant(field.second)).cast<std::string>();
  }
  return text + ")";
}

const Variant& RecordField(const RecordValue& self, const std::string& name) {
  const Variant* field = self.record.Find(name);
  if (!field) {
    throw Error(err::kTypeMismatch, "qorsupport", "Type mismatch: the record has no field " + name);
  }
  return *field;
}

void TranslateErrors(std::exception_ptr exception) {
  try {
    std::rethrow_exception(exception);
  } catch (const py::error_already_set&) {
    throw;
  } catch (const py::builtin_exception&) {
    throw;
  } catch (const std::exception&) {
    SetPythonError(ErrorFromException(std::current_exception()));
  }
}

}  // namespace

PYBIND11_MODULE(_qorsupport, m) {
  m.doc() = "The qorSupport library's late-bound dispatch.";
  py::register_exception_translator(&TranslateErrors);

  py::class_<ObjectHandle>(m, "Object", py::dynamic_attr())
      .def("__getattr__", &GetAttribute)
      .def("__setattr__", &SetAttribute)
      .def("__call__",
           [](const ObjectHandle& self, const py::args& args, const py::kwargs& kwargs) {
             Object& target = self.Live();
             return Invoke(target, CalledMember(target, "Item"), args, kwargs);
           })
      .def("__len__", &Count)
      .def("__iter__", [](const ObjectHandle& self) { return py::iter(Items(self)); })
      .def("__dir__", &MemberNames)
      .def("__eq__",
           [](const ObjectHandle& self, py::handle other) {
             return py::isinstance<ObjectHandle>(other) &&
                    other.cast<const ObjectHandle&>().object == self.object;
           })
      .def("__hash__",
           [](const ObjectHandle& self) { return std::hash<const Object*>()(self.object.get()); })
      .def("__repr__", [](const ObjectHandle& self) {
        if (!self.object) return std::string("<qorsupport.Object (released)>");
        return "<qorsupport.Object " + std::string(self.object->ClassName()) + ">";
      });

  py::class_<BoundMember>(m, "BoundMember")
      .def("__call__",
           [](const BoundMember& self, const py::args& args, const py::kwargs& kwargs) {
             return Invoke(ObjectHandle{self.object}.Live(), *self.member, args, kwargs);
           })
      .def("__repr__", [](const BoundMember& self) {
        return "<qorsupport member " + std::string(self.object->ClassName()) + "." +
               self.member->name + ">";
      });

  py::class_<RecordValue>(m, "Record")
      .def(py::init([](py::handle type_name, const py::kwargs& fields) {
             RecordValue value{Dispatcher().NewRecord(NameText(type_name))};
             for (auto item : fields) {
               automation::SetRecordField(value.record, item.first.cast<std::string>(),
                                          ToVariant(item.second));
             }
             return value;
           }),
           py::arg("type_name"))
      .def("__getattr__",
           [](const RecordValue& self, const std::string& name) {
             if (name.empty() || name[0] == '_') throw py::attribute_error(name);
             return FromVariant(RecordField(self, name));
           })
      .def("__setattr__",
           [](RecordValue& self, const std::string& name, py::handle value) {
             automation::SetRecordField(self.record, name, ToVariant(value));
           })
      .def("_type_name", [](const RecordValue& self) { return self.record.type_name(); })
      .def("_fields",
           [](const RecordValue& self) {
             py::dict out;
             for (const auto& f : self.record.fields())
               out[py::str(f.first)] = FromVariant(f.second);
             return out;
           })
      .def("__eq__",
           [](const RecordValue& self, py::handle other) {
             return py::isinstance<RecordValue>(other) &&
                    other.cast<const RecordValue&>().record == self.record;
           })
      .def("__repr__", &RecordRepr);

  m.def("Dispatch", &Dispatch, py::arg("class_name"),
        "Creates an object of the library by class name (\"qorDb\", \"qorSupport.qorDb\", "
        "\"DBEngine\", ...).");
  m.def("release", &Release, py::arg("object"),
        "Lets go of an object now; using it afterwards raises qorsupport.Error 424.");
  m.def("queue_answers", &QueueAnswers, py::arg("answers"),
        "Queues answers for the coming dialogs (scripted dialogs only).");
  m.def(
      "clear_answers", [] { Scripted().ClearAnswers(); },
      "Drops the answers queued and not yet used (scripted dialogs only).");
  m.def("take_dialogs", &TakeDialogs,
        "The dialogs shown since the last call, oldest first, and forgets them.");
  m.def("_classes", &ClassList);
}

}  // namespace qor::python
