// The whole public surface of qorSupport in one include: the values and
// reporting of frame, the dialogs, the registry and INI files, the shell and
// printers, the general procedures, the database engine and toolkit, and
// late-bound dispatch. Applications may include the single headers instead.
// The Qt backend's header (<qorsupport/ui/qt/qt_backend.h>) comes with the
// qorSupport::qt target and is not included here.

#ifndef QOR_QORSUPPORT_H_
#define QOR_QORSUPPORT_H_

#include "qorsupport/automation/dispatch.h"
#include "qorsupport/db/engine/engine.h"
#include "qorsupport/db/qor_db.h"
#include "qorsupport/dialogs/forms.h"
#include "qorsupport/dialogs/list.h"
#include "qorsupport/dialogs/pick_list.h"
#include "qorsupport/dialogs/requesters.h"
#include "qorsupport/frame/app.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/report.h"
#include "qorsupport/frame/variant.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/frame/vb_date.h"
#include "qorsupport/frame/vb_format.h"
#include "qorsupport/frame/vb_functions.h"
#include "qorsupport/procs/procs.h"
#include "qorsupport/registry/store.h"
#include "qorsupport/registry/winapireg.h"
#include "qorsupport/shell/printer.h"
#include "qorsupport/shell/winapi.h"
#include "qorsupport/ui/backend.h"
#include "qorsupport/ui/scripted.h"
#include "qorsupport/version.h"

#endif  // QOR_QORSUPPORT_H_
