// The JSON-lines automation host: late-bound dispatch served on a stream.
//
// One JSON object per line in, one reply per line out, in order. Requests
// create objects, call methods, read and write properties, release handles
// and queue answers for the coming dialogs; every reply carries the
// request's id, the dialogs shown while it ran ("ui") and either its result
// (and by-reference values) or an error with number, source and
// description. Nothing a client sends stops the host: a line that is not a
// request gets an error reply with id null and the host reads on.
//
// While it runs, the host answers dialogs through a scripted backend: queued
// answers first, then the answers a user accepting every default would give.

#ifndef QOR_AUTOMATION_HOST_H_
#define QOR_AUTOMATION_HOST_H_

#include <cstdint>
#include <iosfwd>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "automation/json_value.h"
#include "qorsupport/automation/dispatch.h"
#include "qorsupport/ui/backend.h"
#include "qorsupport/ui/scripted.h"

namespace qor::automation {

class Host : public HandleTable {
 public:
  explicit Host(const Registry& registry = Registry::Global());
  ~Host() override;

  // Answers one request line; returns the reply line (without newline).
  std::string HandleLine(std::string_view line);

  // Serves requests from in until its end; returns the exit status.
  int Run(std::istream& in, std::ostream& out);

  // Serves requests on the process's standard input and output, which the
  // host takes for itself: they move to private close-on-exec descriptors,
  // descriptor 0 becomes /dev/null and descriptor 1 a copy of 2. A program
  // started while the host runs (ExecCmd), or anything the process prints,
  // then neither reads the client's requests nor writes into the replies.
  int RunOnStandardStreams();

  ObjectRef Resolve(int64_t handle) override;
  int64_t HandleOf(const ObjectRef& object) override;

 private:
  Json Handle(const Json& request);
  ObjectRef Target(const Json& on);
  std::vector<Variant> ReadArgs(const Json& request);
  Json TakeUiEvents();

  const Registry& registry_;
  std::shared_ptr<ui::ScriptedBackend> backend_;
  std::unique_ptr<ui::ScopedBackend> scoped_backend_;
  std::map<int64_t, ObjectRef> objects_;
  std::map<const Object*, int64_t> handles_;
  int64_t next_handle_ = 1;
  ObjectRef globals_;
};

}  // namespace qor::automation

#endif  // QOR_AUTOMATION_HOST_H_
