// Late-bound registration of the file and folder requesters of qorWinAPI,
// and of their parameter record type FileNameParams.
//
// The members are registered on the class name "qorWinAPI" for any object
// of that name: the requesters keep no state, so each call runs a fresh
// FileRequester. The factory made here stands in until the shell's own
// qorWinAPI registration (which runs later and replaces it) provides one.

#include "qorsupport/automation/dispatch.h"
#include "qorsupport/dialogs/requesters.h"

namespace qor::automation {

namespace {

class RequesterObject : public Object {
 public:
  std::string_view ClassName() const override { return "qorWinAPI"; }
};

}  // namespace

void RegisterRequesterClasses(Registry& registry) {
  using V = VarType;
  registry.AddRecordType("FileNameParams", FileNameParamsFields());
  ClassBuilder<Object>(registry, "qorWinAPI",
                       [] { return ObjectRef(std::make_shared<RequesterObject>()); })
      .Method("GetFileNameParam", {Ref("pParams")},
              [](Object&, Args& a) {
                if (!a[0].IsRecord()) Raise(err::kTypeMismatch);
                return Variant(FileRequester().GetFileNameParam(a[0].AsRecord()));
              })
      .Method(
          "GetFileName",
          {Opt("pInitialDir", V::kString, Variant("")), Opt("pFilterName", V::kString, Variant("")),
           Opt("pFilterExtents", V::kString, Variant("")),
           Opt("pSaveFlag", V::kBoolean, Variant(false)), Opt("pSaveExt", V::kString, Variant("")),
           Opt("pMessage", V::kString, Variant(""))},
          [](Object&, Args& a) {
            return Variant(FileRequester().GetFileName(a.Str(0), a.Str(1), a.Str(2), a.Bool(3),
                                                       a.Str(4), a.Str(5)));
          })
      .Method("GetFolderName",
              {Opt("pMessage", V::kString, Variant("Please Select a Folder")),
               Opt("pHwnd", V::kLong, Long(0))},
              [](Object&, Args& a) {
                return Variant(FileRequester().GetFolderName(a.Str(0), a.Lng(1)));
              });
}

}  // namespace qor::automation
