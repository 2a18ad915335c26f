// qorProcs: the general procedures for paths and files, dates and SQL date
// criteria, strings and memos, and the error-number lookup tool.

#ifndef QOR_PROCS_PROCS_H_
#define QOR_PROCS_PROCS_H_

#include <string_view>

#include "frame/variant.h"

namespace qor {

class qorProcs : public Object {
 public:
  std::string_view ClassName() const override { return "qorProcs"; }

  // Asks for error numbers until a blank answer and shows each one's
  // platform text; always Empty. A non-numeric answer raises 13.
  Variant DisplayErrorString();
};

}  // namespace qor

#endif  // QOR_PROCS_PROCS_H_
