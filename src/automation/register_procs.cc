// Late-bound registration of qorProcs.

#include "qorsupport/automation/dispatch.h"
#include "qorsupport/procs/procs.h"

namespace qor::automation {

namespace {

using V = VarType;

void RegisterPathMembers(ClassBuilder<qorProcs>& c) {
  c.Method("GetFileNameWithoutExt", {Req("pFileName", V::kString)},
           [](qorProcs& p, Args& a) { return Variant(p.GetFileNameWithoutExt(a.Str(0))); })
      .Method("GetFileExt", {Req("pFileName", V::kString)},
              [](qorProcs& p, Args& a) { return Variant(p.GetFileExt(a.Str(0))); })
      .Method("ExtractFilenameFromPath", {Req("pPath")},
              [](qorProcs& p, Args& a) { return p.ExtractFilenameFromPath(a[0]); })
      .Method("ExtractFileWithExtFromPath", {Req("pPath")},
              [](qorProcs& p, Args& a) { return p.ExtractFileWithExtFromPath(a[0]); })
      .Method("ExtractPathFromPath", {Req("pPath")},
              [](qorProcs& p, Args& a) { return p.ExtractPathFromPath(a[0]); })
      .Method("NormaliseDir",
              {Req("pPath", V::kString), Opt("pRemoveTrailingSlash", V::kBoolean, Variant(false))},
              [](qorProcs& p, Args& a) { return Variant(p.NormaliseDir(a.Str(0), a.Bool(1))); })
      .Method("CheckDirPath", {Req("pPath")},
              [](qorProcs& p, Args& a) { return Variant(p.CheckDirPath(a[0])); })
      .Method("CheckFileExists", {Req("pPath")},
              [](qorProcs& p, Args& a) { return Variant(p.CheckFileExists(a[0])); })
      .Method("CheckFilePath", {Req("pPath")},
              [](qorProcs& p, Args& a) { return Variant(p.CheckFilePath(a[0])); })
      .Method("CreateAllDirsInPath", {Req("pPath", V::kString)},
              [](qorProcs& p, Args& a) { return Variant(p.CreateAllDirsInPath(a.Str(0))); })
      .Method("CleanFilename", {Req("pFname", V::kString)},
              [](qorProcs& p, Args& a) { return p.CleanFilename(a.Str(0)); })
      .Method("DeleteFile", {Req("mFname"), Opt("Verbose", V::kBoolean, Variant(false))},
              [](qorProcs& p, Args& a) { return Variant(p.DeleteFile(a[0], a.Bool(1))); })
      .Method("GetTempDir", {Opt("Verbose", V::kBoolean, Variant(false))},
              [](qorProcs& p, Args& a) { return Variant(p.GetTempDir(a.Bool(0))); })
      .Method("ContainsWildcard", {Req("pString", V::kString)},
              [](qorProcs& p, Args& a) { return Variant(p.ContainsWildcard(a.Str(0))); });
}

void RegisterDateMembers(ClassBuilder<qorProcs>& c) {
  c.Method("WhereDate", {Req("pDate")},
           [](qorProcs& p, Args& a) { return Variant(p.WhereDate(a[0])); })
      .Method("WhereDateString", {Req("pDate")},
              [](qorProcs& p, Args& a) { return p.WhereDateString(a[0]); })
      .Method("WhereDateTimestamp", {Req("pTimeStamp")},
              [](qorProcs& p, Args& a) { return p.WhereDateTimestamp(a[0]); })
      .Method("DateOfMondayInWeek", {Req("pDateInWeek")},
              [](qorProcs& p, Args& a) { return p.DateOfMondayInWeek(a[0]); })
      .Method("DateOfMondayThisWeek", {},
              [](qorProcs& p, Args&) { return p.DateOfMondayThisWeek(); })
      .Method("DayName",
              {Req("pDay"), Opt("pLongVersion", V::kBoolean, Variant(false)),
               Opt("pIndex", V::kVariant)},
              [](qorProcs& p, Args& a) { return Variant(p.DayName(a[0], a.Bool(1), a[2])); })
      .Method("IsItWeekNumOfMonth", {Ref("pWeekNum"), Req("pDate")},
              [](qorProcs& p, Args& a) { return Variant(p.IsItWeekNumOfMonth(a[0], a[1])); })
      .Method("qorCVDate", {Req("pVar")}, [](qorProcs& p, Args& a) { return p.qorCVDate(a[0]); })
      .Sub("Delay", {Ref("pTenths", V::kLong)}, [](qorProcs& p, Args& a) {
        int32_t tenths = a.Lng(0);
        p.Delay(tenths);
        a[0] = Variant(tenths);
      });
}

void RegisterStringMembers(ClassBuilder<qorProcs>& c) {
  c.Sub("QuickSort",
        {ArrayRef("pArray"), Opt("pDescending", V::kBoolean, Variant(false)),
         Opt("pLow", V::kLong, Long(-1)), Opt("pHigh", V::kLong, Long(-1))},
        [](qorProcs& p, Args& a) { p.QuickSort(a[0], a.Bool(1), a.Lng(2), a.Lng(3)); })
      .Method("CalcAvg", {Req("pTotalAmount"), Req("pNumberOfItems")},
              [](qorProcs& p, Args& a) { return Variant(p.CalcAvg(a[0], a[1])); })
      .Method("DivideZero", {Req("pDividend"), Req("pDivisor")},
              [](qorProcs& p, Args& a) { return p.DivideZero(a[0], a[1]); })
      .Method("GetRandomString", {Req("pLength", V::kInteger)},
              [](qorProcs& p, Args& a) { return Variant(p.GetRandomString(a.Int(0))); })
      .Method("RemoveAmpersand", {Req("pText")},
              [](qorProcs& p, Args& a) { return p.RemoveAmpersand(a[0]); })
      .Method("RemoveBlanks", {Req("pText")},
              [](qorProcs& p, Args& a) { return p.RemoveBlanks(a[0]); })
      .Method("RemovePunctuation", {Req("pString", V::kString)},
              [](qorProcs& p, Args& a) { return p.RemovePunctuation(a.Str(0)); })
      .Method("MemoTrim", {Req("pMemo")}, [](qorProcs& p, Args& a) { return p.MemoTrim(a[0]); })
      .Method(
          "PadString",
          {Req("pString", V::kString), Req("pLength", V::kInteger), Req("pPadChr", V::kString)},
          [](qorProcs& p, Args& a) { return Variant(p.PadString(a.Str(0), a.Int(1), a.Str(2))); })
      .Method("PadNumber", {Req("pNumber"), Req("pFormat", V::kString), Req("pSize", V::kInteger)},
              [](qorProcs& p, Args& a) { return p.PadNumber(a[0], a.Str(1), a.Int(2)); })
      .Method("GetNextLineFromMemo",
              {Ref("pPos", V::kLong), Req("pStr"), Opt("pLineLen", V::kInteger, Int16(0))},
              [](qorProcs& p, Args& a) {
                int32_t pos = a.Lng(0);
                Variant line = p.GetNextLineFromMemo(pos, a[1], a.Int(2));
                a[0] = Variant(pos);
                return line;
              })
      .Method("MemoGetLine",
              {Req("pMemo"), Opt("pLineNum", V::kVariant), Opt("pMemoWidth", V::kVariant)},
              [](qorProcs& p, Args& a) { return p.MemoGetLine(a[0], a[1], a[2]); })
      .Method("LastName", {Req("pFullName")},
              [](qorProcs& p, Args& a) { return p.LastName(a[0]); });
}

}  // namespace

void RegisterProcsClasses(Registry& registry) {
  ClassBuilder<qorProcs> procs(registry, "qorProcs");
  RegisterPathMembers(procs);
  RegisterDateMembers(procs);
  RegisterStringMembers(procs);
  procs.Method("DisplayErrorString", {}, [](qorProcs& p, Args&) { return p.DisplayErrorString(); });
}

}  // namespace qor::automation
