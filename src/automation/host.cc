#include "automation/host.h"

#include <fcntl.h>
#include <unistd.h>

#include <ext/stdio_filebuf.h>
#include <istream>
#include <ostream>

#include "qorsupport/frame/error.h"
#include "qorsupport/frame/report.h"

namespace qor::automation {

namespace {

[[noreturn]] void BadRequest(const std::string& what) {
  throw Error(err::kInvalidCall, "qor automation", "Invalid request: " + what);
}

Json ErrorJson(const Error& e) {
  return Json{{"number", e.number()}, {"source", e.source()}, {"description", e.description()}};
}

const Json& Field(const Json& request, const char* name) {
  static const Json kNull;
  auto it = request.find(name);
  return it == request.end() ? kNull : *it;
}

std::string MemberName(const Json& value) {
  if (!value.is_string() || value.get<std::string>().empty()) BadRequest("a member name is a text");
  return value.get<std::string>();
}

}  // namespace

Host::Host(const Registry& registry)
    : registry_(registry),
      backend_(std::make_shared<ui::ScriptedBackend>()),
      scoped_backend_(std::make_unique<ui::ScopedBackend>(backend_)),
      globals_(std::make_shared<GlobalsModule>()) {}

Host::~Host() = default;

ObjectRef Host::Resolve(int64_t handle) {
  auto it = objects_.find(handle);
  if (it == objects_.end()) {
    throw Error(424, "qor automation",
                "Object required: no object has handle " + std::to_string(handle));
  }
  return it->second;
}

int64_t Host::HandleOf(const ObjectRef& object) {
  auto it = handles_.find(object.get());
  if (it != handles_.end()) return it->second;
  int64_t handle = next_handle_++;
  objects_[handle] = object;
  handles_[object.get()] = handle;
  return handle;
}

ObjectRef Host::Target(const Json& on) {
  if (on.is_string()) {
    std::string name = LowerAscii(on.get<std::string>());
    if (name == "qorexportglobals" || name == "qorsupport.qorexportglobals") return globals_;
    BadRequest("\"on\" is a handle or \"qorExportGlobals\"");
  }
  if (!on.is_number_integer()) BadRequest("\"on\" is a handle or \"qorExportGlobals\"");
  return Resolve(on.get<int64_t>());
}

std::vector<Variant> Host::ReadArgs(const Json& request) {
  std::vector<Variant> args;
  const Json& list = Field(request, "args");
  if (list.is_null()) return args;
  if (!list.is_array()) BadRequest("\"args\" is a list");
  for (const Json& item : list) args.push_back(VariantFromJson(item, *this, registry_));
  return args;
}

Json Host::TakeUiEvents() {
  Json events = Json::array();
  for (const ui::UiEvent& event : backend_->TakeEvents()) {
    Json e = Json::object();
    e["kind"] = event.kind;
    for (const auto& field : event.fields) e[field.first] = EventFieldToJson(field.second);
    if (event.mismatch) e["mismatch"] = true;
    events.push_back(std::move(e));
  }
  return events;
}

Json Host::Handle(const Json& request) {
  Json reply = Json::object();
  reply["id"] = Field(request, "id");
  if (request.contains("create")) {
    const Json& name = request["create"];
    if (!name.is_string()) BadRequest("\"create\" names a class");
    ObjectRef object = registry_.Create(name.get<std::string>());
    reply["result"] = VariantToJson(Variant(object), *this);
  } else if (request.contains("call")) {
    ObjectRef target = Target(Field(request, "on"));
    std::string member = MemberName(request["call"]);
    std::vector<Variant> args = ReadArgs(request);
    const size_t supplied = args.size();
    Variant result = registry_.Call(*target, member, args);
    if (registry_.ReturnsValue(*target, member)) reply["result"] = VariantToJson(result, *this);
    if (const std::vector<Param>* params = registry_.Params(*target, member)) {
      Json byref = Json::object();
      for (size_t i = 0; i < supplied && i < params->size(); ++i) {
        if ((*params)[i].by_ref) byref[std::to_string(i)] = VariantToJson(args[i], *this);
      }
      if (!byref.empty()) reply["byref"] = std::move(byref);
    }
  } else if (request.contains("get")) {
    ObjectRef target = Target(Field(request, "on"));
    std::vector<Variant> args = ReadArgs(request);
    reply["result"] =
        VariantToJson(registry_.Get(*target, MemberName(request["get"]), args), *this);
  } else if (request.contains("set")) {
    ObjectRef target = Target(Field(request, "on"));
    std::vector<Variant> args = ReadArgs(request);
    if (!request.contains("value")) BadRequest("\"set\" needs a \"value\"");
    Variant value = VariantFromJson(request["value"], *this, registry_);
    registry_.Set(*target, MemberName(request["set"]), args, value);
  } else if (request.contains("release")) {
    const Json& handle = request["release"];
    if (!handle.is_number_integer()) BadRequest("\"release\" takes a handle");
    ObjectRef object = Resolve(handle.get<int64_t>());
    handles_.erase(object.get());
    objects_.erase(handle.get<int64_t>());
  } else if (request.contains("answers")) {
    const Json& answers = request["answers"];
    if (!answers.is_array()) BadRequest("\"answers\" is a list");
    std::vector<Variant> queued;
    for (const Json& answer : answers) queued.push_back(VariantFromJson(answer, *this, registry_));
    for (Variant& v : queued) backend_->Queue(std::move(v));
  } else {
    BadRequest("no create, call, get, set, release or answers");
  }
  reply["ui"] = TakeUiEvents();
  return reply;
}

std::string Host::HandleLine(std::string_view line) {
  Json request;
  try {
    request = Json::parse(line);
  } catch (const std::exception& e) {
    Json reply{{"id", nullptr},
               {"error", ErrorJson(Error(err::kInvalidCall, "qor automation",
                                         std::string("Malformed request: ") + e.what()))},
               {"ui", Json::array()}};
    return reply.dump(-1, ' ', false, Json::error_handler_t::replace);
  }
  Json reply;
  try {
    if (!request.is_object()) BadRequest("a request is a JSON object");
    reply = Handle(request);
  } catch (...) {
    Error error = ErrorFromException(std::current_exception());
    reply = Json{{"id", request.is_object() ? Field(request, "id") : Json()},
                 {"error", ErrorJson(error)},
                 {"ui", TakeUiEvents()}};
  }
  return reply.dump(-1, ' ', false, Json::error_handler_t::replace);
}

int Host::Run(std::istream& in, std::ostream& out) {
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.find_first_not_of(" \t") == std::string::npos) continue;
    out << HandleLine(line) << '\n';
    out.flush();
  }
  return 0;
}

int Host::RunOnStandardStreams() {
  int in_fd = ::fcntl(0, F_DUPFD_CLOEXEC, 3);
  int out_fd = ::fcntl(1, F_DUPFD_CLOEXEC, 3);
  if (in_fd < 0 || out_fd < 0) return 1;
  int null_fd = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
  if (null_fd < 0 || ::dup2(null_fd, 0) < 0 || ::dup2(2, 1) < 0) return 1;
  ::close(null_fd);
  __gnu_cxx::stdio_filebuf<char> in_buf(in_fd, std::ios::in);
  __gnu_cxx::stdio_filebuf<char> out_buf(out_fd, std::ios::out);
  std::istream in(&in_buf);
  std::ostream out(&out_buf);
  return Run(in, out);
}

}  // namespace qor::automation
