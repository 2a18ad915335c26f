// qorForms.RichTextForm: editing rich text in the library's editor form.
//
// The form itself belongs to the ui backend (the Qt one edits the text in a
// rich-text box); this side decides what the form opens with and what the
// caller gets back.

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>

#include "qorsupport/dialogs/forms.h"
#include "qorsupport/dialogs/requesters.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/report.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/ui/backend.h"

namespace qor {

namespace {

// The bytes of the file at path, or nullopt after ShowError has told the
// user why they cannot be read.
std::optional<std::string> ReadFileToEdit(const std::string& path) {
  auto fail = [&](const std::string& reason) -> std::optional<std::string> {
    ShowError(Variant("The file \"" + path + "\" cannot be read."), Variant(reason),
              Variant("The form opens with the text given."));
    return std::nullopt;
  };
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) return fail(std::strerror(errno));
  std::string content;
  char buffer[1 << 16];
  size_t count;
  while ((count = std::fread(buffer, 1, sizeof buffer, file)) > 0) {
    content.append(buffer, count);
    if (content.size() > kRichTextMaxFileBytes) {
      std::fclose(file);
      return fail("It is larger than " + std::to_string(kRichTextMaxFileBytes >> 20) + " MB.");
    }
  }
  const int error = std::ferror(file) ? errno : 0;
  std::fclose(file);
  if (error != 0) return fail(std::strerror(error));
  return content;
}

}  // namespace

bool qorForms::RichTextForm(Variant& text_rtf, const std::string& filename_to_load,
                            bool file_open_allow, bool file_save_allow, bool print_allow,
                            const std::string& title_bar) {
  return Guard(Reporter("RichTextForm"), false, [&] {
    ui::RichTextRequest request;
    request.title = IsBlank(Variant(title_bar), true) ? kRichTextDefaultTitle : title_bar;
    request.open = file_open_allow;
    request.save = file_save_allow;
    request.print = print_allow;
    request.choose_file = [](bool save) {
      return save ? FileRequester().GetFileName("", "Rich Text Files", "*.rtf", true)
                  : FileRequester().GetFileName("", "Rich Text Files", "*.rtf;*.wrf;*.txt");
    };
    std::optional<std::string> loaded;
    if (IsNotBlank(Variant(filename_to_load), true)) loaded = ReadFileToEdit(filename_to_load);
    request.text = loaded ? std::move(*loaded) : vb::ConcatText(text_rtf);

    std::optional<std::string> edited = ui::Current().RichText(request);
    if (!edited) return false;
    text_rtf = Variant(std::move(*edited));
    return true;
  });
}

}  // namespace qor
