// The dialog subcommands: qor msgbox, input, list, calendar, menu and
// requester. Each shows the library's dialog, prints the answer on standard
// output and leaves with status 1 when the user cancelled.

#include <charconv>
#include <cstdio>
#include <iostream>

#include "command.h"
#include "dialog_args.h"
#include "qorsupport/dialogs/forms.h"
#include "qorsupport/dialogs/list.h"
#include "qorsupport/frame/vb_date.h"
#include "qorsupport/ui/backend.h"

namespace qor::tool {

namespace {

// A whole number option; false (after a usage error) when it is not one.
bool IntOption(const char* command, const DialogArgs& args, const std::string& name, int fallback,
               int* value, int* status) {
  std::string text = args.Value(name);
  if (text.empty()) {
    *value = fallback;
    return true;
  }
  auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), *value);
  if (ec != std::errc() || end != text.data() + text.size()) {
    *status = UsageError(CommandNamed(command), "--" + name + " needs a whole number");
    return false;
  }
  return true;
}

std::string Word(const DialogArgs& args, size_t i) {
  return i < args.words.size() ? args.words[i] : std::string();
}

}  // namespace

int RunMsgBox(const std::vector<std::string>& raw) {
  DialogArgs args;
  int status = 0, buttons = 0, icon = 0, default_button = 0;
  if (!ParseDialogArgs("msgbox", raw, {"buttons", "icon", "default"}, {}, &args, &status) ||
      !IntOption("msgbox", args, "buttons", 0, &buttons, &status) ||
      !IntOption("msgbox", args, "icon", 0, &icon, &status) ||
      !IntOption("msgbox", args, "default", 0, &default_button, &status)) {
    return status;
  }
  if (args.words.empty() || args.words.size() > 3) {
    return UsageError(CommandNamed("msgbox"), "give one to three message parts");
  }
  RegisterUiBackends();
  int code = qorForms().MsgGrunt(Word(args, 0), Word(args, 1), Word(args, 2),
                                 static_cast<int16_t>(buttons), static_cast<int16_t>(icon),
                                 static_cast<int16_t>(default_button));
  std::printf("%d\n", code);
  return code == ui::kIdCancel ? 1 : 0;
}

int RunInput(const std::vector<std::string>& raw) {
  DialogArgs args;
  int status = 0;
  if (!ParseDialogArgs("input", raw, {}, {}, &args, &status)) return status;
  if (args.words.empty() || args.words.size() > 2) {
    return UsageError(CommandNamed("input"), "give a prompt and optionally a default answer");
  }
  RegisterUiBackends();
  std::optional<std::string> answer = AskInput(Word(args, 0), Word(args, 1));
  if (!answer) return 1;
  std::printf("%s\n", answer->c_str());
  return 0;
}

int RunList(const std::vector<std::string>& raw) {
  DialogArgs args;
  int status = 0, sorted = 0;
  if (!ParseDialogArgs("list", raw, {"title", "sorted"}, {"multi", "fixed", "big", "index"}, &args,
                       &status) ||
      !IntOption("list", args, "sorted", 0, &sorted, &status)) {
    return status;
  }
  if (sorted < 0 || sorted > 2) return UsageError(CommandNamed("list"), "--sorted is 0, 1 or 2");
  std::vector<std::string> items = args.words;
  if (items.empty()) {
    for (std::string line; std::getline(std::cin, line);) items.push_back(line);
  }
  RegisterUiBackends();
  qorList list;
  list.Init();
  for (const std::string& item : items) list.AddItem(item);
  if (args.values.count("title")) list.SetTitle(args.Value("title"));
  list.SetSorted(static_cast<int16_t>(sorted));
  list.SetUseFixedWidthFont(args.Has("fixed"));
  list.SetBigFlag(args.Has("big"));
  if (!args.Has("multi")) {
    if (!list.Display(true)) return 1;
    if (args.Has("index")) {
      std::printf("%d\n", list.SelectedIndex());
    } else {
      std::printf("%s\n", items[static_cast<size_t>(list.SelectedIndex())].c_str());
    }
    return 0;
  }
  Variant chosen;
  if (!list.DisplayMultiSelect(chosen, true)) return 1;
  for (const Variant& text : chosen.AsArray().elements())
    std::printf("%s\n", text.AsString().c_str());
  return 0;
}

int RunCalendar(const std::vector<std::string>& raw) {
  DialogArgs args;
  int status = 0;
  if (!ParseDialogArgs("calendar", raw, {"title"}, {}, &args, &status)) return status;
  if (args.words.size() > 1) return UsageError(CommandNamed("calendar"), "give at most one date");
  RegisterUiBackends();
  Variant initial = args.words.empty() ? Variant::Missing() : Variant(args.words[0]);
  CalendarOutcome outcome = ShowCalendarForm(initial, args.Value("title"));
  if (!outcome.ok) return 1;
  vb::DateParts parts = vb::SplitDate(outcome.result.AsDate());
  std::printf("%04d-%02d-%02d\n", parts.year, parts.month, parts.day);
  return 0;
}

int RunMenu(const std::vector<std::string>& raw) {
  DialogArgs args;
  int status = 0;
  if (!ParseDialogArgs("menu", raw, {"title", "heading1", "heading2"}, {}, &args, &status)) {
    return status;
  }
  if (args.words.empty() || args.words.size() > 13) {
    return UsageError(CommandNamed("menu"), "give one to thirteen items");
  }
  RegisterUiBackends();
  std::array<std::string, 13> labels;
  for (size_t i = 0; i < args.words.size(); ++i) labels[i] = args.words[i];
  int choice = qorForms().MenuForm(labels, args.Value("heading1"), args.Value("heading2"),
                                   args.Value("title"));
  std::printf("%d\n", choice);
  return choice == 0 ? 1 : 0;
}

int RunRequester(const std::vector<std::string>& raw) {
  DialogArgs args;
  int status = 0, font_size = 0, button_font_size = 0;
  if (!ParseDialogArgs(
          "requester", raw,
          {"yes", "no", "title", "font", "font-size", "button-font", "button-font-size"}, {}, &args,
          &status) ||
      !IntOption("requester", args, "font-size", 0, &font_size, &status) ||
      !IntOption("requester", args, "button-font-size", 0, &button_font_size, &status)) {
    return status;
  }
  if (args.words.empty() || args.words.size() > 3) {
    return UsageError(CommandNamed("requester"), "give one to three lines");
  }
  RegisterUiBackends();
  bool yes = qorForms().Requester(Word(args, 0), Word(args, 1), Word(args, 2), args.Value("yes"),
                                  args.Value("no"), args.Value("title"), args.Value("font"),
                                  static_cast<int16_t>(font_size), args.Value("button-font"),
                                  static_cast<int16_t>(button_font_size));
  std::printf("%d\n", yes ? ui::kIdYes : ui::kIdNo);
  return yes ? 0 : 1;
}

}  // namespace qor::tool
