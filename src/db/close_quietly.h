// Closing what a toolkit operation opened itself (recordsets, databases) as
// its last step, on the success path and the error path alike: an error
// while closing changes nothing already written and is passed over.
#ifndef QOR_DB_CLOSE_QUIETLY_H_
#define QOR_DB_CLOSE_QUIETLY_H_

#include <memory>

namespace qor::db {

// Closes object when there is one, ignoring any error.
template <typename T>
void CloseQuietly(const std::shared_ptr<T>& object) {
  if (!object) return;
  try {
    object->Close();
  } catch (...) {
    // Passed over: see above.
  }
}

}  // namespace qor::db

#endif  // QOR_DB_CLOSE_QUIETLY_H_
