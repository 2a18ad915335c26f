// Late-bound registration of qorApp and the shared procedures.

#include "qorsupport/automation/dispatch.h"
#include "qorsupport/frame/app.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/report.h"
#include "qorsupport/frame/vb.h"

namespace qor::automation {

void RegisterFrameClasses(Registry& registry) {
  using V = VarType;
  ClassBuilder<qorApp>(registry, "qorApp")
      .Property(
          "AppName", V::kString, [](qorApp& a) { return Variant(a.AppName()); },
          [](qorApp& a, const Variant& v) { a.SetAppName(v.AsString()); })
      .Property(
          "AppPath", V::kString, [](qorApp& a) { return Variant(a.AppPath()); },
          [](qorApp& a, const Variant& v) { a.SetAppPath(v.AsString()); });

  ClassBuilder<GlobalsModule>(registry, "qorExportGlobals", nullptr)
      .Method("GetAppName", {}, [](GlobalsModule&, Args&) { return Variant(GetAppName()); })
      .Sub("StoreAppName", {Req("value")}, [](GlobalsModule&, Args& a) { StoreAppName(a[0]); })
      .Method("IsBlank", {Req("value"), Req("trim", V::kBoolean)},
              [](GlobalsModule&, Args& a) { return Variant(IsBlank(a[0], a.Bool(1))); })
      .Method("IsNotBlank", {Req("value"), Req("trim", V::kBoolean)},
              [](GlobalsModule&, Args& a) { return Variant(IsNotBlank(a[0], a.Bool(1))); })
      .Method("TrimUpper", {Req("value")}, [](GlobalsModule&, Args& a) { return TrimUpper(a[0]); })
      .Method("TrimLower", {Req("value")}, [](GlobalsModule&, Args& a) { return TrimLower(a[0]); })
      .Method("NumOrZero", {Req("value")},
              [](GlobalsModule&, Args& a) { return Variant(NumOrZero(a[0])); })
      .Method("IsTrue", {Req("value")},
              [](GlobalsModule&, Args& a) { return Variant(IsTrue(a[0])); })
      .Method("FlagIsSet", {Req("value", V::kLong), Req("flag", V::kLong)},
              [](GlobalsModule&, Args& a) { return Variant(FlagIsSet(a.Lng(0), a.Lng(1))); })
      .Sub("RaiseError", {Req("source", V::kString), Req("description", V::kString)},
           [](GlobalsModule&, Args& a) { RaiseError(a.Str(0), a.Str(1)); })
      .Sub("ShowErrorBox",
           {Req("source", V::kString), Req("number", V::kLong), Req("description", V::kString)},
           [](GlobalsModule&, Args& a) { ShowErrorBox(a.Str(0), a.Lng(1), a.Str(2)); })
      .Sub("ShowError",
           {Req("pMsg1"), Opt("pMsg2", V::kVariant, Variant::Null()),
            Opt("pMsg3", V::kVariant, Variant::Null())},
           [](GlobalsModule&, Args& a) { ShowError(a[0], a[1], a[2]); })
      .Sub("ShowMessage",
           {Req("pMsg1"), Opt("pMsg2", V::kVariant, Variant::Null()),
            Opt("pMsg3", V::kVariant, Variant::Null())},
           [](GlobalsModule&, Args& a) { ShowMessage(a[0], a[1], a[2]); })
      .Sub("ShowUnderConstruction", {}, [](GlobalsModule&, Args&) { ShowUnderConstruction(); });
}

}  // namespace qor::automation
