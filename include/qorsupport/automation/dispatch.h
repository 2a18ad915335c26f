// Late-bound access to the library's classes: a class factory by name and
// invoke-by-name with variant arguments.
//
// Each public class is registered once with a ClassBuilder: its name, how to
// create it, and per member the metadata a late-bound caller needs (argument
// names, declared kinds, which are optional and their defaults, which are
// taken by reference) together with the code that calls the C++ method.
// Registry::Call converts the caller's variants to the declared kinds before
// the method runs, so registrations read typed values from Args.
//
// Dispatch faults raise Errors with VB's numbers: 429 (no such class), 438
// (no such member), 450 (wrong number of arguments), 449 (a required
// argument given as Missing), 13 (an argument of the wrong kind), 94 (Null
// where a text or number is declared).
//
// Names of classes, members and record fields are matched without regard to
// case. The prefixed class form "qorSupport.qorDb" is accepted.

#ifndef QOR_AUTOMATION_DISPATCH_H_
#define QOR_AUTOMATION_DISPATCH_H_

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qorsupport/frame/error.h"
#include "qorsupport/frame/variant.h"

namespace qor::automation {

// One declared argument.
struct Param {
  std::string name;
  VarType type = VarType::kVariant;  // kVariant: any value, unconverted
  bool optional = false;
  bool by_ref = false;
  bool is_array = false;                       // declared as an array: any array is accepted
  Variant default_value = Variant::Missing();  // for an omitted optional argument
};

// A required argument, an optional one with its default, a by-reference one.
Param Req(std::string name, VarType type = VarType::kVariant);
Param Opt(std::string name, VarType type, Variant default_value = Variant::Missing());
Param Ref(std::string name, VarType type = VarType::kVariant);
Param OptRef(std::string name, VarType type, Variant default_value = Variant::Missing());
// A by-reference array argument.
Param ArrayRef(std::string name, VarType element_type = VarType::kVariant);

// The arguments of one call, converted to their declared kinds, one per
// declared parameter (omitted optional ones hold their default). Changes to
// by-reference arguments go back to the caller.
class Args {
 public:
  explicit Args(std::vector<Variant>* values) : values_(values) {}

  size_t size() const { return values_->size(); }
  Variant& operator[](size_t i) { return values_->at(i); }
  const Variant& operator[](size_t i) const { return values_->at(i); }

  std::string Str(size_t i) const;
  int16_t Int(size_t i) const;
  int32_t Lng(size_t i) const;
  bool Bool(size_t i) const;
  double Dbl(size_t i) const;
  Date Dat(size_t i) const;
  // The object argument as class T; raises 91 for Nothing and 13 for an
  // object of another class.
  template <typename T>
  std::shared_ptr<T> Obj(size_t i) const {
    const ObjectRef& ref = (*this)[i].AsObject();
    if (!ref) Raise(err::kObjectNotSet);
    auto typed = std::dynamic_pointer_cast<T>(ref);
    if (!typed) Raise(err::kTypeMismatch);
    return typed;
  }

 private:
  std::vector<Variant>* values_;
};

enum class MemberKind { kMethod, kPropertyGet, kPropertyPut };

struct Member {
  std::string name;
  MemberKind kind = MemberKind::kMethod;
  // For a property put, the index parameters, then the value as the last.
  std::vector<Param> params;
  bool returns_value = true;
  std::function<Variant(Object& self, Args& args)> invoke;
};

struct ClassInfo {
  std::string name;
  std::function<ObjectRef()> factory;                  // empty: not creatable by name
  std::map<std::string, std::vector<Member>> members;  // by lower-case name

  const Member* Find(std::string_view name, MemberKind kind) const;
};

class Registry {
 public:
  // The registry with every class of the library.
  static Registry& Global();

  ClassInfo& AddClass(const std::string& name, std::function<ObjectRef()> factory);
  const ClassInfo* FindClass(std::string_view name) const;

  // Creates an object by class name; raises 429 when there is none.
  ObjectRef Create(std::string_view class_name) const;

  // Calls a method (or reads a property, as a late-bound caller may).
  // args are the caller's values; by-reference arguments are updated in
  // place. Returns Empty for a procedure without a value.
  Variant Call(Object& target, std::string_view member, std::vector<Variant>& args) const;
  Variant Get(Object& target, std::string_view property, std::vector<Variant>& args) const;
  void Set(Object& target, std::string_view property, std::vector<Variant>& args,
           const Variant& value) const;
  // Whether the member returns a value (false for a procedure).
  bool ReturnsValue(Object& target, std::string_view member) const;
  // The member's declared parameters; nullptr when there is no such member.
  const std::vector<Param>* Params(Object& target, std::string_view member) const;

  // Record (user-defined) types: their fields in order with zero values.
  void AddRecordType(const std::string& name, std::vector<std::pair<std::string, Variant>> fields);
  // A record of the type with every field at its zero value; raises 13
  // for an unknown type.
  Record NewRecord(std::string_view type_name) const;

  // Every class, in the order of their lower-case names.
  std::vector<const ClassInfo*> Classes() const;

  // Calls a member found beforehand (ClassInfo::Find) on target: what Call,
  // Get and Set do once they have found it, for a client that keeps the
  // member it resolved. Converts each argument to the declared type, fills
  // omitted optional ones with their defaults (449 for an omitted required
  // one, 450 for too many), writes by-reference arguments back into args,
  // and returns Empty for a procedure.
  Variant Invoke(const Member& member, Object& target, std::vector<Variant>& args) const;

 private:
  const ClassInfo& ClassOf(Object& target) const;

  std::map<std::string, ClassInfo> classes_;    // by lower-case name
  std::map<std::string, Record> record_types_;  // by lower-case name
};

// Registers a class's members with typed callbacks.
template <typename T>
class ClassBuilder {
 public:
  // A creatable class (made with T's default constructor).
  ClassBuilder(Registry& registry, const std::string& name)
      : info_(registry.AddClass(name, [] { return ObjectRef(std::make_shared<T>()); })) {}
  // A class with the given factory (empty for one that cannot be created).
  ClassBuilder(Registry& registry, const std::string& name, std::function<ObjectRef()> factory)
      : info_(registry.AddClass(name, std::move(factory))) {}

  ClassBuilder& Method(const std::string& name, std::vector<Param> params,
                       std::function<Variant(T&, Args&)> fn) {
    return Add(name, MemberKind::kMethod, std::move(params), true, std::move(fn));
  }
  // A procedure without a result.
  ClassBuilder& Sub(const std::string& name, std::vector<Param> params,
                    std::function<void(T&, Args&)> fn) {
    return Add(name, MemberKind::kMethod, std::move(params), false,
               [fn = std::move(fn)](T& self, Args& args) {
                 fn(self, args);
                 return Variant();
               });
  }
  // A property: a getter, and a setter taking the value converted to type.
  ClassBuilder& Property(const std::string& name, VarType type, std::function<Variant(T&)> get,
                         std::function<void(T&, const Variant&)> set = nullptr) {
    if (get) {
      Add(name, MemberKind::kPropertyGet, {}, true,
          [get = std::move(get)](T& self, Args&) { return get(self); });
    }
    if (set) {
      Add(name, MemberKind::kPropertyPut, {Req("value", type)}, false,
          [set = std::move(set)](T& self, Args& args) {
            set(self, args[0]);
            return Variant();
          });
    }
    return *this;
  }
  // A property read with index arguments (Fields("Name")).
  ClassBuilder& IndexedGet(const std::string& name, std::vector<Param> params,
                           std::function<Variant(T&, Args&)> fn) {
    return Add(name, MemberKind::kPropertyGet, std::move(params), true, std::move(fn));
  }

 private:
  ClassBuilder& Add(const std::string& name, MemberKind kind, std::vector<Param> params,
                    bool returns_value, std::function<Variant(T&, Args&)> fn);

  ClassInfo& info_;
};

std::string LowerAscii(std::string_view s);

// Sets a field of a record made by Registry::NewRecord, converting the value
// to the field's kind; an Empty or array field, or an array value, is stored
// as given. Raises 13 when the record has no such field or the value does not
// convert.
void SetRecordField(Record& record, std::string_view name, Variant value);

template <typename T>
ClassBuilder<T>& ClassBuilder<T>::Add(const std::string& name, MemberKind kind,
                                      std::vector<Param> params, bool returns_value,
                                      std::function<Variant(T&, Args&)> fn) {
  Member member;
  member.name = name;
  member.kind = kind;
  member.params = std::move(params);
  member.returns_value = returns_value;
  member.invoke = [fn = std::move(fn)](Object& self, Args& args) {
    T* typed = dynamic_cast<T*>(&self);
    if (!typed) Raise(err::kNoSuchMember);
    return fn(*typed, args);
  };
  info_.members[LowerAscii(name)].push_back(std::move(member));
  return *this;
}

// Adds every class of the library to a registry; Registry::Global() calls it
// once. Each subsystem has its own Register function.
void RegisterAllClasses(Registry& registry);
void RegisterFrameClasses(Registry& registry);
void RegisterDialogClasses(Registry& registry);
void RegisterProcsClasses(Registry& registry);
void RegisterEngineClasses(Registry& registry);
void RegisterDbClasses(Registry& registry);
void RegisterRegistryClasses(Registry& registry);
void RegisterShellClasses(Registry& registry);
// The file and folder requesters of qorWinAPI and their FileNameParams.
void RegisterRequesterClasses(Registry& registry);

// The object that stands for the module of shared procedures.
class GlobalsModule : public Object {
 public:
  std::string_view ClassName() const override { return "qorExportGlobals"; }
};

}  // namespace qor::automation

#endif  // QOR_AUTOMATION_DISPATCH_H_
