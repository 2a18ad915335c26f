#include "qorsupport/dialogs/requesters.h"

#include "qorsupport/frame/error.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/report.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/ui/backend.h"

namespace qor {

namespace {

constexpr int32_t kFilterSlots = 21;  // indexes 0 to 20; 20 is never used
constexpr int32_t kFiltersUsed = 20;

Variant FilterArray() { return Variant(Array(VarType::kVariant, {{0, kFilterSlots - 1}})); }

Variant& FieldOf(Record& record, std::string_view name) {
  Variant* field = record.Find(name);
  if (!field) Raise(err::kTypeMismatch);
  return *field;
}

const Array& ArrayField(Record& record, std::string_view name) {
  const Variant& field = FieldOf(record, name);
  if (!field.IsArray()) Raise(err::kTypeMismatch);
  return field.AsArray();
}

// The entry i of a filter array, Empty where the array has no such index.
Variant Entry(const Array& array, int32_t i) {
  if (array.Dimensions() != 1) Raise(err::kSubscript);
  const Array::Bounds& b = array.DimensionBounds(1);
  return i < b.lower || i > b.upper ? Variant() : array.At({i});
}

// The position after the last folder separator ("/" or "\").
size_t NameOffset(const std::string& path) {
  size_t slash = path.find_last_of("/\\");
  return slash == std::string::npos ? 0 : slash + 1;
}

}  // namespace

std::vector<std::pair<std::string, Variant>> FileNameParamsFields() {
  return {{"FiltMsg", FilterArray()}, {"FilText", FilterArray()}, {"Flags", Long(0)},
          {"InitialDir", Variant()},  {"Title", Variant()},       {"FilePath", Variant()},
          {"Filename", Variant()},    {"FileTitle", Variant()},   {"DirName", Variant()},
          {"hWndOwner", Long(0)}};
}

Record NewFileNameParams() {
  Record record("FileNameParams");
  for (auto& field : FileNameParamsFields()) record.Set(field.first, std::move(field.second));
  return record;
}

std::string BuildFileFilter(const Array& names, const Array& patterns) {
  std::string filter;
  for (int32_t i = 0; i < kFiltersUsed; ++i) {
    Variant name = Entry(names, i);
    Variant pattern = Entry(patterns, i);
    if (IsBlank(name, true) || IsBlank(pattern, true)) break;
    std::string name_text = vb::CStr(name);
    std::string pattern_text = vb::CStr(pattern);
    if (name_text.find('\0') != std::string::npos || pattern_text.find('\0') != std::string::npos) {
      Raise(err::kInvalidCall, "BuildFileFilter",
            "A file filter's name or pattern contains a NUL character");
    }
    filter += name_text + " (" + pattern_text + ")" + '\0' + pattern_text + '\0';
  }
  if (!filter.empty()) filter += '\0';
  return filter;
}

bool FileRequester::GetFileNameParam(Record& params) {
  return Guard(Reporter("GetFileNameParam"), false, [&] {
    FieldOf(params, "FilePath") = Variant::Null();
    FieldOf(params, "FileTitle") = Variant::Null();
    ui::FileDialogRequest request;
    request.filter = BuildFileFilter(ArrayField(params, "FiltMsg"), ArrayField(params, "FilText"));
    const Variant& initial_dir = FieldOf(params, "InitialDir");
    if (IsNotBlank(initial_dir, true)) request.initial_dir = vb::CStr(initial_dir);
    const Variant& title = FieldOf(params, "Title");
    request.title = IsNotBlank(title, true) ? vb::CStr(title) : GetAppName() + " File Requester";
    int32_t flags = vb::CLng(FieldOf(params, "Flags"));
    request.flags = flags != 0 ? flags : kOfnFileMustExist;

    std::optional<std::string> answer = ui::Current().FileDialog(request);
    if (!answer) return false;
    std::string path = CutAtNul(*answer);
    size_t offset = NameOffset(path);
    FieldOf(params, "FilePath") = Variant(path);
    FieldOf(params, "FileTitle") = Variant(path.substr(offset));
    FieldOf(params, "DirName") = Variant(path.substr(0, offset));
    return true;
  });
}

std::string FileRequester::GetFileName(const std::string& initial_dir,
                                       const std::string& filter_name,
                                       const std::string& filter_extents, bool save_flag,
                                       const std::string& save_ext, const std::string& message) {
  Record params = NewFileNameParams();
  FieldOf(params, "FiltMsg").AsArray().At({0}) = Variant(filter_name);
  FieldOf(params, "FilText").AsArray().At({0}) = Variant(filter_extents);
  FieldOf(params, "InitialDir") = Variant(initial_dir);
  FieldOf(params, "Flags") = Long(save_flag ? kOfnLongNames : 0);
  if (IsNotBlank(Variant(message), true)) {
    FieldOf(params, "Title") = Variant(message);
  } else {
    FieldOf(params, "Title") = Variant(
        GetAppName() + (save_flag ? " File Save/Save As Requester" : " File Open Requester"));
  }
  if (!GetFileNameParam(params)) return "";
  std::string result = CutAtNul(vb::CStr(FieldOf(params, "FilePath")));
  if (save_flag && IsNotBlank(Variant(save_ext), true)) {
    Variant ending = TrimUpper(Variant(vb::Right(result, vb::Len(save_ext))));
    if (!(ending == TrimUpper(Variant(save_ext)))) result += "." + save_ext;
  }
  return result;
}

std::string FileRequester::GetFolderName(const std::string& message, int32_t /*hwnd*/) {
  ui::FolderDialogRequest request;
  request.title = message;
  return CutAtNul(ui::Current().FolderDialog(request).value_or(std::string()));
}

}  // namespace qor
