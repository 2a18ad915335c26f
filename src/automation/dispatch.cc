#include "qorsupport/automation/dispatch.h"

#include <cctype>

#include "qorsupport/frame/vb.h"

namespace qor::automation {

std::string LowerAscii(std::string_view s) {
  std::string out(s);
  for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return out;
}

Param Req(std::string name, VarType type) {
  Param p;
  p.name = std::move(name);
  p.type = type;
  return p;
}

Param Opt(std::string name, VarType type, Variant default_value) {
  Param p = Req(std::move(name), type);
  p.optional = true;
  p.default_value = std::move(default_value);
  return p;
}

Param Ref(std::string name, VarType type) {
  Param p = Req(std::move(name), type);
  p.by_ref = true;
  return p;
}

Param OptRef(std::string name, VarType type, Variant default_value) {
  Param p = Opt(std::move(name), type, std::move(default_value));
  p.by_ref = true;
  return p;
}

Param ArrayRef(std::string name, VarType element_type) {
  Param p = Ref(std::move(name), element_type);
  p.is_array = true;
  return p;
}

std::string Args::Str(size_t i) const { return vb::CStr((*this)[i]); }
int16_t Args::Int(size_t i) const { return vb::CInt((*this)[i]); }
int32_t Args::Lng(size_t i) const { return vb::CLng((*this)[i]); }
bool Args::Bool(size_t i) const { return vb::CBool((*this)[i]); }
double Args::Dbl(size_t i) const { return vb::CDbl((*this)[i]); }
Date Args::Dat(size_t i) const { return vb::CDate((*this)[i]); }

const Member* ClassInfo::Find(std::string_view name, MemberKind kind) const {
  auto it = members.find(LowerAscii(name));
  if (it == members.end()) return nullptr;
  for (const Member& m : it->second) {
    if (m.kind == kind) return &m;
  }
  return nullptr;
}

Registry& Registry::Global() {
  static Registry* registry = [] {
    auto* r = new Registry;
    RegisterAllClasses(*r);
    return r;
  }();
  return *registry;
}

ClassInfo& Registry::AddClass(const std::string& name, std::function<ObjectRef()> factory) {
  ClassInfo& info = classes_[LowerAscii(name)];
  info.name = name;
  if (factory) info.factory = std::move(factory);
  return info;
}

const ClassInfo* Registry::FindClass(std::string_view name) const {
  std::string key = LowerAscii(name);
  static const std::string kPrefix = "qorsupport.";
  if (key.rfind(kPrefix, 0) == 0) key = key.substr(kPrefix.size());
  auto it = classes_.find(key);
  return it == classes_.end() ? nullptr : &it->second;
}

ObjectRef Registry::Create(std::string_view class_name) const {
  const ClassInfo* info = FindClass(class_name);
  if (!info || !info->factory) Raise(err::kCannotCreate);
  return info->factory();
}

const ClassInfo& Registry::ClassOf(Object& target) const {
  const ClassInfo* info = FindClass(target.ClassName());
  if (!info) Raise(err::kNoSuchMember);
  return *info;
}

namespace {

Variant ConvertArgument(const Param& param, const Variant& value) {
  if (param.is_array) {
    if (!value.IsArray()) Raise(err::kTypeMismatch);
    return value;
  }
  if (param.type == VarType::kVariant) return value;
  if (param.type == VarType::kObject) {
    if (!value.IsObject()) Raise(err::kTypeMismatch);
    return value;
  }
  return vb::ConvertTo(value, param.type);
}

}  // namespace

Variant Registry::Invoke(const Member& member, Object& target, std::vector<Variant>& args) const {
  if (args.size() > member.params.size()) Raise(err::kWrongArgCount);
  std::vector<Variant> converted;
  converted.reserve(member.params.size());
  for (size_t i = 0; i < member.params.size(); ++i) {
    const Param& param = member.params[i];
    if (i >= args.size() || args[i].IsMissing()) {
      if (!param.optional) Raise(i >= args.size() ? err::kWrongArgCount : err::kArgNotOptional);
      converted.push_back(param.default_value);
    } else {
      converted.push_back(ConvertArgument(param, args[i]));
    }
  }
  Args call_args(&converted);
  Variant result = member.invoke(target, call_args);
  for (size_t i = 0; i < args.size() && i < member.params.size(); ++i) {
    if (member.params[i].by_ref && !args[i].IsMissing()) args[i] = std::move(converted[i]);
  }
  return member.returns_value ? result : Variant();
}

Variant Registry::Call(Object& target, std::string_view member, std::vector<Variant>& args) const {
  const ClassInfo& info = ClassOf(target);
  const Member* m = info.Find(member, MemberKind::kMethod);
  if (!m) m = info.Find(member, MemberKind::kPropertyGet);
  if (!m) Raise(err::kNoSuchMember);
  return Invoke(*m, target, args);
}

Variant Registry::Get(Object& target, std::string_view property, std::vector<Variant>& args) const {
  const ClassInfo& info = ClassOf(target);
  const Member* m = info.Find(property, MemberKind::kPropertyGet);
  if (!m) m = info.Find(property, MemberKind::kMethod);
  if (!m || !m->returns_value) Raise(err::kNoSuchMember);
  return Invoke(*m, target, args);
}

void Registry::Set(Object& target, std::string_view property, std::vector<Variant>& args,
                   const Variant& value) const {
  const ClassInfo& info = ClassOf(target);
  const Member* m = info.Find(property, MemberKind::kPropertyPut);
  if (!m) Raise(err::kNoSuchMember);
  std::vector<Variant> all = args;
  if (all.size() + 1 != m->params.size()) Raise(err::kWrongArgCount);
  all.push_back(value);
  Invoke(*m, target, all);
}

bool Registry::ReturnsValue(Object& target, std::string_view member) const {
  const ClassInfo& info = ClassOf(target);
  const Member* m = info.Find(member, MemberKind::kMethod);
  if (!m) m = info.Find(member, MemberKind::kPropertyGet);
  return m && m->returns_value;
}

const std::vector<Param>* Registry::Params(Object& target, std::string_view member) const {
  const ClassInfo& info = ClassOf(target);
  const Member* m = info.Find(member, MemberKind::kMethod);
  if (!m) m = info.Find(member, MemberKind::kPropertyGet);
  return m ? &m->params : nullptr;
}

void Registry::AddRecordType(const std::string& name,
                             std::vector<std::pair<std::string, Variant>> fields) {
  Record record(name);
  for (auto& field : fields) record.Set(field.first, std::move(field.second));
  record_types_[LowerAscii(name)] = std::move(record);
}

Record Registry::NewRecord(std::string_view type_name) const {
  auto it = record_types_.find(LowerAscii(type_name));
  if (it == record_types_.end()) Raise(err::kTypeMismatch);
  return it->second;
}

std::vector<const ClassInfo*> Registry::Classes() const {
  std::vector<const ClassInfo*> out;
  for (const auto& entry : classes_) out.push_back(&entry.second);
  return out;
}

void SetRecordField(Record& record, std::string_view name, Variant value) {
  Variant* field = record.Find(name);
  if (!field) {
    throw Error(err::kTypeMismatch, "qorSupport",
                "Type mismatch: the record has no field " + std::string(name));
  }
  if (!field->IsEmpty() && !field->IsArray() && !value.IsArray()) {
    value = vb::ConvertTo(value, field->type());
  }
  *field = std::move(value);
}

void RegisterAllClasses(Registry& registry) {
  RegisterFrameClasses(registry);
  RegisterDialogClasses(registry);
  RegisterProcsClasses(registry);
  RegisterEngineClasses(registry);
  RegisterDbClasses(registry);
  RegisterRegistryClasses(registry);
  RegisterRequesterClasses(registry);
  RegisterShellClasses(registry);
}

}  // namespace qor::automation
