// qorProcs: the general procedures for paths and files, dates and SQL date
// criteria, strings and memos, and the error-number lookup tool.
//
// The class is stateless; every member works on the caller's values only.
//
// Paths. The text procedures take Windows paths and Linux paths alike: "/"
// and "\" both separate folders and ":" ends a drive, so that paths handed
// over by data files split the same way as local ones. A procedure that adds
// a separator uses the last one the path already holds, "/" when it holds
// none. The file-system procedures (CheckDirPath, CheckFileExists,
// CheckFilePath, CreateAllDirsInPath, DeleteFile) work on the real file
// system, where "/" is the only separator, and answer False on failure.
//
// Their directory query stands in for VB's Dir: a name, or a folder followed
// by a pattern of "*" and "?" (where "*.*" matches every name), or a folder
// ending in a separator (every name in it). It answers the first matching
// name ("" when nothing matches, also when a folder of the path is missing);
// with folders included, the entries "." and ".." of a listed folder count.
// The query fails (error 52) for an empty name or one holding a NUL byte,
// and (error 75) when a folder of the path cannot be searched or read or a
// file stands where a folder is expected.
//
// GetTempDir reads the TEMP variable only: a blank TEMP gives "" with its
// report, so that a caller can tell a missing setting from a folder (TMPDIR
// is deliberately not consulted in its place).
//
// Dates use the value module's date test and conversion (frame/vb_date.h)
// and its Format (frame/vb_format.h). Weeks start on Monday.
//
// Strings count characters, not bytes.
//
// Reporting follows frame/report.h. The text, date and string procedures
// report nothing; where a member raises, its comment says so.

#ifndef QOR_PROCS_PROCS_H_
#define QOR_PROCS_PROCS_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "qorsupport/frame/variant.h"

namespace qor {

class qorProcs : public Object {
 public:
  std::string_view ClassName() const override { return "qorProcs"; }

  // ---- Paths and files (paths.cc) -------------------------------------------

  // Everything left of the last "." (folders included); "" when the text
  // holds no "." at all.
  std::string GetFileNameWithoutExt(const std::string& pFileName);
  // Everything right of the last "."; "" when there is none. A dot in a
  // folder name counts when the file part has none.
  std::string GetFileExt(const std::string& pFileName);
  // The part after the last separator or ":", but the scan stops at the first
  // "." anywhere, so a dotted folder name ends it ("c:\x.y\f.txt" gives "x").
  // Null for a blank path.
  Variant ExtractFilenameFromPath(const Variant& pPath);
  // The part after the last separator or ":", extension included; Null for a
  // blank path.
  Variant ExtractFileWithExtFromPath(const Variant& pPath);
  // The path less its file part (the folder with its trailing separator, or
  // the drive with its ":"); "" for a bare name; Null when the file part is
  // blank (a path ending in a separator).
  Variant ExtractPathFromPath(const Variant& pPath);
  // Ensures a trailing separator, or with pRemoveTrailingSlash removes one
  // (keeping it on a drive root such as "c:\", a path with ":" and fewer than
  // 4 characters).
  std::string NormaliseDir(const std::string& pPath, bool pRemoveTrailingSlash = false);
  // Whether the directory query finds pPath with folders included (so an
  // existing file answers True too, as VB's Dir does), or finds anything in
  // it when taken as a folder.
  bool CheckDirPath(const Variant& pPath);
  // Whether the directory query finds pPath as a file (folders excluded).
  bool CheckFileExists(const Variant& pPath);
  // Whether the directory query for pPath succeeds, whether or not it finds
  // anything: False only for a name that cannot be asked about.
  bool CheckFilePath(const Variant& pPath);
  // Creates every missing folder of the path, from the top. False when one
  // cannot be made; folders made before stay. Reports nothing.
  bool CreateAllDirsInPath(const std::string& pPath);
  // The name without " ", "*", "?", "#" and "&", cut to 8 characters.
  Variant CleanFilename(const std::string& pFname);
  // Deletes the file, or every file a pattern matches (folders are never
  // deleted). False when nothing matches (error 53) or a deletion fails
  // (error 75, after deleting those before it); reported with ShowErrorBox
  // ("DeleteFile()") when Verbose.
  bool DeleteFile(const Variant& mFname, bool Verbose = false);
  // TEMP with a trailing separator; "" when TEMP is blank, reported with
  // "The TEMP environment variable is NOT set" when Verbose.
  std::string GetTempDir(bool Verbose = false);
  // Whether the text holds "*" or "?".
  bool ContainsWildcard(const std::string& pString);

  // ---- Dates (dates.cc) ------------------------------------------------------

  // month/day/year without leading zeros, the year moved on by 100 when it is
  // before 1980; "" when pDate is not a date (by IsDate: a Date or a date
  // text, not a number).
  std::string WhereDate(const Variant& pDate);
  // "#" + WhereDate + "#" ("##" for a value that is not a date).
  Variant WhereDateString(const Variant& pDate);
  // "#" + WhereDate of the day + " " + the time as "hh:nn:ss AM/PM" + "#".
  // A date text counts as its Date; for a number the day part is not a date
  // (WhereDate gives ""), as VB's date test says of numbers; a value that is
  // neither gives "# #".
  Variant WhereDateTimestamp(const Variant& pTimeStamp);
  // The Monday of the value's week, its time kept; Null when the value does
  // not convert to a date.
  Variant DateOfMondayInWeek(const Variant& pDateInWeek);
  Variant DateOfMondayThisWeek();
  // "Monday" ... "Sunday" (pLongVersion) or "M" "T" "W" "Th" "F" "Sa" "Su"
  // for the whole numbers 1 to 7; "" for any other value. pIndex is ignored.
  std::string DayName(const Variant& pDay, bool pLongVersion = false,
                      const Variant& pIndex = Variant::Missing());
  // Whether pDate lies in week pWeekNum of its month, week 1 being the week
  // that starts on the month's first Monday (days before it belong to the
  // month before). False when pDate is not a date; a pWeekNum that is not
  // numeric raises 13 (94 for Null). pWeekNum is not changed.
  bool IsItWeekNumOfMonth(Variant& pWeekNum, const Variant& pDate);
  // The value as a Date; Null when it is Null or not a date.
  Variant qorCVDate(const Variant& pVar);
  // Busy-waits pTenths tenths of a second by the seconds-since-midnight
  // clock, letting the user interface process its events meanwhile. The
  // clock is not unwrapped: a wait that would end at or after midnight never
  // ends. pTenths is not changed.
  void Delay(int32_t& pTenths);

  // ---- Strings and memos (strings.cc, memos.cc) -----------------------------

  // Sorts the elements from pLow to pHigh (-1: the array's bounds) of a
  // one-dimensional array in place, by VB's variant comparison. Raises 13
  // when pArray is not an array.
  void QuickSort(Variant& pArray, bool pDescending = false, int32_t pLow = -1, int32_t pHigh = -1);
  // total / count, or 0 when either is Null or not numeric or the count is
  // not positive.
  double CalcAvg(const Variant& pTotalAmount, const Variant& pNumberOfItems);
  // a / b as VB divides (a Single for two Bytes, Integers or Singles, else
  // a Double); the Integer 0 when either is blank. A text that is not a
  // number raises 13; a divisor that is zero without being blank (the text
  // "0", 0.0) raises 11.
  Variant DivideZero(const Variant& pDividend, const Variant& pDivisor);
  // pLength random capital letters A to Z.
  std::string GetRandomString(int16_t pLength);
  // The text without "&", respectively " "; a blank text as it is.
  Variant RemoveAmpersand(const Variant& pText);
  Variant RemoveBlanks(const Variant& pText);
  // Every character other than a space, a digit or an ASCII letter becomes
  // one space; Null for a blank text.
  Variant RemovePunctuation(const std::string& pString);
  // The memo without trailing characters outside 33 to 126. A memo of only
  // such characters raises 5 (94 for Null).
  Variant MemoTrim(const Variant& pMemo);
  // pString unchanged: the pad run it appends is always empty.
  std::string PadString(const std::string& pString, int16_t pLength, const std::string& pPadChr);
  // Format(pNumber, pFormat), trimmed, right-aligned in pSize characters
  // (never cut).
  Variant PadNumber(const Variant& pNumber, const std::string& pFormat, int16_t pSize);
  // The next display line of at most pLineLen characters from character
  // position pPos (1-based), broken between words; pPos moves to the start
  // of the next line, or 0 when the text is exhausted. A word longer than
  // the line gives "" and leaves pPos where it was. An omitted pLineLen is 0,
  // as VB passes an omitted Integer, and so always gives "". A pPos below 1
  // raises 5.
  Variant GetNextLineFromMemo(int32_t& pPos, const Variant& pStr, int16_t pLineLen = 0);
  // Line pLineNum (from 1; lines end at line feeds) of the memo with every
  // character of code 32 or below dropped, except code 8; Null when the memo
  // is blank or shorter. pMemoWidth is ignored.
  Variant MemoGetLine(const Variant& pMemo, const Variant& pLineNum = Variant::Missing(),
                      const Variant& pMemoWidth = Variant::Missing());
  // The last word of the trimmed name; Null for Null or a blank name.
  Variant LastName(const Variant& pFullName);

  // ---- Error numbers (procs.cc) ----------------------------------------------

  // Asks for error numbers until a blank answer and shows each one's
  // platform text; always Empty. A non-numeric answer raises 13.
  Variant DisplayErrorString();

 private:
  // Every occurrence of the first character of pChar removed; a blank text
  // as it is.
  static Variant RemoveChar(const Variant& pText, std::string_view pChar);
};

}  // namespace qor

#endif  // QOR_PROCS_PROCS_H_
