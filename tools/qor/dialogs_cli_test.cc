// The dialog subcommands of qor, run as a shell script runs them, on the
// headless backend (each dialog answered as a user accepting the default).

#include <gtest/gtest.h>

#include "testing/test_util.h"

namespace qor {
namespace {

testing::RunResult Qor(std::vector<std::string> args, const std::string& input = "") {
  args.insert(args.begin(), {"/usr/bin/env", "QOR_UI=headless", testing::QorBinary()});
  return testing::RunProgram(args, input);
}

TEST(DialogCommands, AnswersGoToStandardOutputAndCancelToTheStatus) {
  auto r = Qor({"msgbox", "--app", "Payroll", "--buttons", "3", "--icon", "1", "--default", "2",
                "Post?", "March"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "7\n");  // No is the default
  EXPECT_EQ(r.err, "[Payroll Message]\nPost?\nMarch\n");
  r = Qor({"msgbox", "--buttons", "1", "--default", "2", "Go?"});
  EXPECT_EQ(r.status, 1);  // Cancel
  EXPECT_EQ(r.out, "2\n");

  r = Qor({"input", "Name?", "World"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "");

  r = Qor({"list", "--sorted", "2", "--title", "Pick one"}, "b\na\nc\n");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "[Pick one]\n  c\n  b\n  a\n\n");

  r = Qor({"menu", "--heading1", "Ledger", "Post", "", "Quit"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "0\n");
  EXPECT_NE(r.err.find("  Quit"), std::string::npos);

  EXPECT_EQ(Qor({"requester", "--no", "Later", "Post now?"}).status, 1);
  EXPECT_EQ(Qor({"calendar", "2003-03-07"}).status, 1);
  EXPECT_EQ(Qor({"file", "--filter-name", "Text", "--filter", "*.txt"}).status, 1);
  EXPECT_EQ(Qor({"folder"}).status, 1);

  r = Qor({"richtext", "--title", "Memo", "{\\rtf1 text}"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, "[Memo]\n(rich-text editor)\n");
}

TEST(DialogCommands, BadArgumentsAreUsageErrors) {
  EXPECT_EQ(Qor({"msgbox"}).status, 2);
  EXPECT_EQ(Qor({"msgbox", "--buttons", "x", "a"}).status, 2);
  EXPECT_EQ(Qor({"list", "--sorted", "5", "a"}).status, 2);
  EXPECT_EQ(Qor({"menu", "--bogus", "a"}).status, 2);
  EXPECT_EQ(Qor({"menu", "1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11", "12", "13", "14"})
                .status,
            2);
  EXPECT_EQ(Qor({"folder", "--title"}).status, 2);
  auto r = Qor({"calendar", "not a date"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("error 13"), std::string::npos);
  r = Qor({"--help"});
  for (const char* name :
       {"msgbox", "input", "list", "calendar", "menu", "requester", "file", "folder", "richtext"}) {
    EXPECT_NE(r.out.find(std::string("  ") + name + " "), std::string::npos) << name;
  }
}

}  // namespace
}  // namespace qor
