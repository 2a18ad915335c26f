#include "qorsupport/frame/report.h"

#include <gtest/gtest.h>

#include "qorsupport/frame/globals.h"
#include "qorsupport/procs/procs.h"
#include "testing/test_util.h"

namespace qor {
namespace {

class ReportTest : public ::testing::Test {
 protected:
  void SetUp() override { StoreAppName(Variant("Payroll")); }
  void TearDown() override { StoreAppName(Variant("")); }
  testing::ScriptedUi ui_;
};

TEST_F(ReportTest, ErrorBoxLayout) {
  ShowErrorBox("DeleteFile()", 53, "File not found");
  ShowErrorBox("X()", -5, "");
  ShowErrorBox("Y()", 0, "zero");
  auto events = ui_->TakeEvents();
  ASSERT_EQ(events.size(), 3u);
  EXPECT_EQ(events[0].Field("title"), Variant("Error Message"));
  EXPECT_EQ(events[0].Field("text"), Variant("ERROR  53, DeleteFile()\r\nFile not found"));
  EXPECT_EQ(events[0].Field("style"), Variant(48));
  EXPECT_EQ(events[1].Field("text"), Variant("ERROR -5, X()\r\n"));
  EXPECT_EQ(events[2].Field("text"), Variant("ERROR  0, Y()\r\nzero"));
}

TEST_F(ReportTest, ShowErrorAndShowMessage) {
  ShowError(Variant("Invalid database name"));
  ShowError(Variant("one"), Variant::Null(), Variant("three"));
  ShowMessage(Variant(12), Variant("   "));
  ShowUnderConstruction();
  auto events = ui_->TakeEvents();
  ASSERT_EQ(events.size(), 4u);
  EXPECT_EQ(events[0].Field("title"), Variant("Payroll Alert"));
  EXPECT_EQ(events[0].Field("text"), Variant("Invalid database name"));
  EXPECT_EQ(events[0].Field("style"), Variant(48));
  EXPECT_EQ(events[1].Field("text"), Variant("one\r\nthree"));
  EXPECT_EQ(events[2].Field("title"), Variant("Payroll Message"));
  EXPECT_EQ(events[2].Field("text"), Variant("12\r\n   "));
  EXPECT_EQ(events[2].Field("style"), Variant(64));
  EXPECT_EQ(events[3].Field("text"), Variant("Under Construction"));
}

// An operation written by the convention: anticipated failures through
// Fail, anything else through the handler.
bool DeleteThing(const std::string& name, bool verbose) {
  Reporter report("DeleteThing", verbose);
  return Guard(report, false, [&] {
    if (IsBlank(Variant(name), true)) {
      report.Fail(Variant("Invalid thing name"));
      return false;
    }
    if (name == "boom") Raise(53);
    if (name == "std") throw std::runtime_error("library failure");
    return true;
  });
}

TEST_F(ReportTest, ConventionReportsOnlyWhenVerbose) {
  EXPECT_FALSE(DeleteThing("  ", false));
  EXPECT_FALSE(DeleteThing("boom", false));
  EXPECT_TRUE(ui_->Events().empty());

  EXPECT_FALSE(DeleteThing("  ", true));
  EXPECT_FALSE(DeleteThing("boom", true));
  EXPECT_FALSE(DeleteThing("std", true));
  EXPECT_TRUE(DeleteThing("ok", true));
  auto events = ui_->TakeEvents();
  ASSERT_EQ(events.size(), 3u);
  EXPECT_EQ(events[0].Field("text"), Variant("Invalid thing name"));
  EXPECT_EQ(events[1].Field("text"), Variant("ERROR  53, DeleteThing()\r\nFile not found"));
  EXPECT_EQ(events[2].Field("text"), Variant("ERROR  51, DeleteThing()\r\nlibrary failure"));
}

TEST_F(ReportTest, SourceDetail) {
  Reporter report("DeleteIndex", true);
  report.set_detail(", PrimaryKey");
  EXPECT_EQ(report.Source(), "DeleteIndex(), PrimaryKey");
}

TEST_F(ReportTest, DisplayErrorStringLoopsUntilBlank) {
  ui_->Queue(Variant("2"));
  ui_->Queue(Variant("   "));
  qorProcs procs;
  EXPECT_TRUE(procs.DisplayErrorString().IsEmpty());
  auto events = ui_->TakeEvents();
  ASSERT_EQ(events.size(), 3u);
  EXPECT_EQ(events[0].kind, "InputBox");
  EXPECT_EQ(events[0].Field("prompt"), Variant("Please enter the Error Number"));
  EXPECT_EQ(events[0].Field("title"), Variant("Payroll"));
  EXPECT_EQ(events[1].Field("text"), Variant("2\r\n" + SystemErrorText(2)));
  EXPECT_EQ(events[1].Field("title"), Variant("Payroll Message"));
  EXPECT_EQ(events[2].kind, "InputBox");
}

TEST_F(ReportTest, DisplayErrorStringLetsABadNumberThrough) {
  ui_->Queue(Variant("abc"));
  qorProcs procs;
  try {
    procs.DisplayErrorString();
    FAIL();
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), err::kTypeMismatch);
  }
}

}  // namespace
}  // namespace qor
