#include "qorsupport/dialogs/forms.h"

#include <gtest/gtest.h>

#include "frame/message_box.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/ui/headless.h"
#include "testing/test_util.h"

namespace qor {
namespace {

class FormsTest : public ::testing::Test {
 protected:
  void TearDown() override { StoreAppName(Variant("")); }
  testing::ScriptedUi ui_;
  qorForms forms_;
};

TEST_F(FormsTest, StyleMapping) {
  EXPECT_EQ(MsgGruntStyle(0, 0, 1), 64);
  EXPECT_EQ(MsgGruntStyle(1, 1, 2), 1 + 32 + 256);
  EXPECT_EQ(MsgGruntStyle(2, 2, 1), 5 + 48);
  EXPECT_EQ(MsgGruntStyle(3, 0, 0), 4 + 64);        // Yes, No
  EXPECT_EQ(MsgGruntStyle(4, 3, 3), 3 + 16 + 512);  // Yes, No, Cancel
  EXPECT_EQ(MsgGruntStyle(9, 7, 9), 64);            // unknown codes fall back
  EXPECT_EQ(MsgGruntTitleWord(2), "Alert");
  EXPECT_EQ(MsgGruntTitleWord(3), "Critical Alert");
  EXPECT_EQ(MsgGruntTitleWord(7), "Message");
}

TEST_F(FormsTest, MsgGruntJoinsPartsAndTitles) {
  forms_.MsgGrunt("");
  forms_.MsgGrunt("", "second");
  forms_.MsgGrunt("a", "   ", "c");
  forms_.MsgGrunt("a", "", "c");
  forms_.SetAppName(Variant("Payroll"));
  forms_.MsgGrunt("a", "", "", 0, 2);
  auto events = ui_->TakeEvents();
  ASSERT_EQ(events.size(), 5u);
  EXPECT_EQ(events[0].Field("text"), Variant(""));
  EXPECT_EQ(events[0].Field("title"), Variant("Unknown Application Message"));
  EXPECT_EQ(events[1].Field("text"), Variant("\r\nsecond"));
  EXPECT_EQ(events[2].Field("text"), Variant("a\r\n   \r\nc"));
  EXPECT_EQ(events[3].Field("text"), Variant("a\r\nc"));
  EXPECT_EQ(events[4].Field("title"), Variant("Payroll Alert"));
}

TEST_F(FormsTest, FixedVariantsReadTheirAnswers) {
  ui_->Queue(Variant(6));
  EXPECT_TRUE(forms_.MsgYN("q"));
  ui_->Queue(Variant(7));
  EXPECT_FALSE(forms_.MsgYN("q"));
  EXPECT_FALSE(forms_.MsgYN("q"));  // default button is No
  ui_->Queue(Variant(2));
  EXPECT_EQ(forms_.MsgYNCancel("q"), 2);
  ui_->Queue(Variant(1));
  EXPECT_TRUE(forms_.MsgOkCancel("q"));
  EXPECT_FALSE(forms_.MsgOkCancel("q"));  // default is Cancel
  ui_->Queue(Variant(2));
  EXPECT_TRUE(forms_.AlertCancel("q"));
  ui_->Queue(Variant(4));
  EXPECT_TRUE(forms_.AlertRetry("q"));
  ui_->Queue(Variant(2));
  EXPECT_FALSE(forms_.AlertRetry("q"));
  ui_->Queue(Variant(4));
  EXPECT_FALSE(forms_.MsgRetry("q"));  // compares with OK: never True
  ui_->Queue(Variant(2));
  EXPECT_FALSE(forms_.MsgRetry("q"));
  ui_->Queue(Variant(1));
  EXPECT_TRUE(forms_.CheckOk());

  auto events = ui_->TakeEvents();
  ASSERT_EQ(events.size(), 12u);
  EXPECT_EQ(events[0].Field("style"), Variant(4 + 32 + 256));
  EXPECT_EQ(events[3].Field("style"), Variant(3 + 32 + 256));
  EXPECT_EQ(events[6].Field("style"), Variant(1 + 48 + 256));
  EXPECT_EQ(events[7].Field("style"), Variant(5 + 48));
  EXPECT_EQ(events[9].Field("style"), Variant(5 + 64));
  EXPECT_EQ(events[11].Field("text"), Variant(""));
}

TEST_F(FormsTest, AlertCriticalRaisesAfterTheBox) {
  try {
    forms_.AlertCritical("disk on fire");
    FAIL();
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 9999);
    EXPECT_EQ(e.source(), "Unknown");
    EXPECT_EQ(e.description(), "Unknown critical error");
  }
  auto events = ui_->TakeEvents();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].Field("style"), Variant(16));
  EXPECT_EQ(events[0].Field("title"), Variant("Unknown Application Critical Alert"));
}

TEST_F(FormsTest, InputForm) {
  forms_.SetAppName(Variant("Payroll"));
  ui_->Queue(Variant("typed"));
  EXPECT_EQ(forms_.InputForm("Name?", "   "), Variant("typed"));
  ui_->Queue(Variant::Null());
  EXPECT_EQ(forms_.InputForm("Name?"), Variant(""));  // Cancel gives ""
  auto events = ui_->TakeEvents();
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].Field("title"), Variant("Payroll"));
  EXPECT_EQ(events[0].Field("default"), Variant("   "));  // spaces are not blank here
  EXPECT_EQ(events[1].Field("answer"), Variant::Null());
}

TEST_F(FormsTest, WrongKindOfAnswerFallsBackToTheDefault) {
  ui_->Queue(Variant("yes please"));
  EXPECT_FALSE(forms_.MsgYN("q"));
  auto events = ui_->TakeEvents();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_TRUE(events[0].mismatch);
  EXPECT_EQ(events[0].Field("answer"), Variant(7));
}

TEST(MsgBoxButtons, DefaultAndCloseAnswers) {
  EXPECT_EQ(ui::MsgBoxDefaultAnswer(3 + 256), ui::kIdNo);
  EXPECT_EQ(ui::MsgBoxDefaultAnswer(5 + 512), ui::kIdRetry);  // no third button
  EXPECT_EQ(ui::MsgBoxCloseAnswer(3), ui::kIdCancel);
  EXPECT_EQ(ui::MsgBoxCloseAnswer(0), ui::kIdOk);
  EXPECT_FALSE(ui::MsgBoxCloseAnswer(4).has_value());
}

TEST(Headless, WritesTheBoxAndAnswersTheDefault) {
  testing::TempDir dir;
  std::string path = dir.File("stderr");
  FILE* out = std::fopen(path.c_str(), "w+");
  ASSERT_NE(out, nullptr);
  {
    ui::ScopedBackend scope(std::make_shared<ui::HeadlessBackend>(out));
    qorForms forms;
    EXPECT_FALSE(forms.MsgYN("Delete?", "All of it"));
    EXPECT_EQ(forms.InputForm("Name?", "x"), Variant(""));
  }
  std::rewind(out);
  char buffer[256] = {};
  size_t n = std::fread(buffer, 1, sizeof(buffer) - 1, out);
  std::fclose(out);
  EXPECT_EQ(std::string(buffer, n),
            "[Unknown Application Message]\nDelete?\nAll of it\n[Unknown Application]\nName?\n");
}

}  // namespace
}  // namespace qor
