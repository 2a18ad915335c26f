#include "qorsupport/db/qor_db.h"

namespace qor {

qorDb::qorDb() : procs_(std::make_unique<qorProcs>()) {}

qorDb::~qorDb() = default;

}  // namespace qor
