// Late-bound registration of qorForms.

#include "automation/dispatch.h"
#include "dialogs/forms.h"

namespace qor::automation {

namespace {

// The three message parts every box method takes.
std::vector<Param> Parts() {
  return {Req("pMsg1", VarType::kString), Opt("pMsg2", VarType::kString, Variant("")),
          Opt("pMsg3", VarType::kString, Variant(""))};
}

}  // namespace

void RegisterDialogClasses(Registry& registry) {
  using V = VarType;
  std::vector<Param> grunt = Parts();
  grunt.push_back(Opt("pButtonType", V::kInteger, Int16(0)));
  grunt.push_back(Opt("pIconType", V::kInteger, Int16(0)));
  grunt.push_back(Opt("pDefaultButton", V::kInteger, Int16(0)));

  ClassBuilder<qorForms>(registry, "qorForms")
      .Sub("SetAppName", {Req("pAppName")}, [](qorForms& f, Args& a) { f.SetAppName(a[0]); })
      .Method("InputForm", {Req("pMsg", V::kString), Opt("pDefault", V::kString, Variant(""))},
              [](qorForms& f, Args& a) { return f.InputForm(a.Str(0), a.Str(1)); })
      .Method("MsgYN", Parts(),
              [](qorForms& f, Args& a) { return Variant(f.MsgYN(a.Str(0), a.Str(1), a.Str(2))); })
      .Method(
          "MsgYNCancel", Parts(),
          [](qorForms& f, Args& a) { return Variant(f.MsgYNCancel(a.Str(0), a.Str(1), a.Str(2))); })
      .Method(
          "MsgOkCancel", Parts(),
          [](qorForms& f, Args& a) { return Variant(f.MsgOkCancel(a.Str(0), a.Str(1), a.Str(2))); })
      .Method("CheckOk", {Opt("pMsg1", V::kString, Variant(""))},
              [](qorForms& f, Args& a) { return Variant(f.CheckOk(a.Str(0))); })
      .Method(
          "MsgGrunt", grunt,
          [](qorForms& f, Args& a) {
            return Variant(f.MsgGrunt(a.Str(0), a.Str(1), a.Str(2), a.Int(3), a.Int(4), a.Int(5)));
          })
      .Method(
          "AlertCancel", Parts(),
          [](qorForms& f, Args& a) { return Variant(f.AlertCancel(a.Str(0), a.Str(1), a.Str(2))); })
      .Sub("AlertCritical", Parts(),
           [](qorForms& f, Args& a) { f.AlertCritical(a.Str(0), a.Str(1), a.Str(2)); })
      .Method(
          "AlertRetry", Parts(),
          [](qorForms& f, Args& a) { return Variant(f.AlertRetry(a.Str(0), a.Str(1), a.Str(2))); })
      .Method("MsgRetry", Parts(), [](qorForms& f, Args& a) {
        return Variant(f.MsgRetry(a.Str(0), a.Str(1), a.Str(2)));
      });
}

}  // namespace qor::automation
