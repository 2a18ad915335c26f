// Late-bound registration of qorWinAPI and qorWinAPIPrinter.

#include "qorsupport/automation/dispatch.h"
#include "qorsupport/shell/printer.h"
#include "qorsupport/shell/winapi.h"

namespace qor::automation {

void RegisterShellClasses(Registry& registry) {
  using V = VarType;
  ClassBuilder<qorWinAPI>(registry, "qorWinAPI")
      .Method("SwabString", {Req("pString", V::kString)},
              [](qorWinAPI& w, Args& a) { return Variant(w.SwabString(a.Str(0))); })
      .Method("GetSysErrorMsg", {Req("pErr", V::kLong)},
              [](qorWinAPI& w, Args& a) { return w.GetSysErrorMsg(a.Lng(0)); })
      .Method("ExecCmd",
              {Req("pCmdLine", V::kString), Opt("pWaitFlag", V::kBoolean, Variant(false))},
              [](qorWinAPI& w, Args& a) { return Variant(w.ExecCmd(a.Str(0), a.Bool(1))); })
      .Method("ExecDoc",
              {Req("pDocPath", V::kString), Opt("pMode", V::kInteger, Int16(1)),
               Opt("pPrintFlag", V::kBoolean, Variant(false)),
               Opt("pWaitFlag", V::kBoolean, Variant(false)),
               Opt("Verbose", V::kBoolean, Variant(false))},
              [](qorWinAPI& w, Args& a) {
                return Variant(w.ExecDoc(a.Str(0), a.Int(1), a.Bool(2), a.Bool(3), a.Bool(4)));
              })
      .Method(
          "CopyFile",
          {Req("pSource", V::kString), Req("pDest", V::kString),
           Opt("pForceRWAttr", V::kBoolean, Variant(false))},
          [](qorWinAPI& w, Args& a) { return Variant(w.CopyFile(a.Str(0), a.Str(1), a.Bool(2))); })
      .Method("GetValidDrives", {}, [](qorWinAPI& w, Args&) { return Variant(w.GetValidDrives()); })
      .Method("ConvertPixelsToTwips", {Ref("pPixels", V::kLong), Ref("pDirection", V::kBoolean)},
              [](qorWinAPI& w, Args& a) {
                int32_t pixels = a.Lng(0);
                bool direction = a.Bool(1);
                int32_t twips = w.ConvertPixelsToTwips(pixels, direction);
                a[0] = Variant(pixels);
                a[1] = Variant(direction);
                return Variant(twips);
              });

  ClassBuilder<qorWinAPIPrinter>(registry, "qorWinAPIPrinter")
      .Method("GetDefaultPrinter", {},
              [](qorWinAPIPrinter& p, Args&) { return p.GetDefaultPrinter(); })
      .Method("SetDefaultPrinter", {Req("pPrinter")},
              [](qorWinAPIPrinter& p, Args& a) { return Variant(p.SetDefaultPrinter(a[0])); })
      .Method("SetPrinter", {Req("pPrinter")},
              [](qorWinAPIPrinter& p, Args& a) { return Variant(p.SetPrinter(a[0])); })
      .Method("ReSetPrinter", {},
              [](qorWinAPIPrinter& p, Args&) { return Variant(p.ReSetPrinter()); })
      .Method("GetPrinters", {ArrayRef("pPrinters", V::kString)},
              [](qorWinAPIPrinter& p, Args& a) { return Variant(p.GetPrinters(a[0])); })
      .Method("SelectPrinter", {Opt("pMsg", V::kString, Variant(""))},
              [](qorWinAPIPrinter& p, Args& a) { return Variant(p.SelectPrinter(a.Str(0))); })
      .Method("GetPrinterListForControl", {},
              [](qorWinAPIPrinter& p, Args&) { return p.GetPrinterListForControl(); });
}

}  // namespace qor::automation
