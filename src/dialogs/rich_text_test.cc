// qorForms.RichTextForm over the scripted backend: what the form is asked
// with, and what the caller gets back.

#include <gtest/gtest.h>

#include <fstream>

#include "dialogs/forms.h"
#include "testing/test_util.h"

namespace qor {
namespace {

class RichTextFormTest : public ::testing::Test {
 protected:
  testing::ScriptedUi ui_;
  qorForms forms_;
};

TEST_F(RichTextFormTest, OkGivesTheEditedRtfAndCancelLeavesTheText) {
  Variant text("{\\rtf1 start}");
  ui_->Queue(Variant("{\\rtf1 edited}"));
  EXPECT_TRUE(forms_.RichTextForm(text, "", true, false, true, "Memo"));
  EXPECT_EQ(text, Variant("{\\rtf1 edited}"));
  ui_->Queue(Variant::Null());
  EXPECT_FALSE(forms_.RichTextForm(text));
  EXPECT_EQ(text, Variant("{\\rtf1 edited}"));
  Variant nothing = Variant::Null();  // no answer queued: Cancel
  EXPECT_FALSE(forms_.RichTextForm(nothing, "", false, false, false, "   "));
  EXPECT_TRUE(nothing.IsNull());

  auto events = ui_->TakeEvents();
  ASSERT_EQ(events.size(), 3u);
  EXPECT_EQ(events[0].kind, "RichText");
  EXPECT_EQ(events[0].Field("title"), Variant("Memo"));
  EXPECT_EQ(events[0].Field("text"), Variant("{\\rtf1 start}"));
  EXPECT_EQ(events[0].Field("open"), Variant(true));
  EXPECT_EQ(events[0].Field("save"), Variant(false));
  EXPECT_EQ(events[0].Field("print"), Variant(true));
  EXPECT_EQ(events[1].Field("title"), Variant("  RichText Edit Form"));
  EXPECT_EQ(events[1].Field("text"), Variant("{\\rtf1 edited}"));
  EXPECT_EQ(events[2].Field("title"), Variant("  RichText Edit Form"));  // blank title
  EXPECT_EQ(events[2].Field("text"), Variant(""));                       // Null as no text
}

TEST_F(RichTextFormTest, FileToLoadReplacesTheTextUnlessItCannotBeRead) {
  testing::TempDir dir;
  const std::string content = "{\\rtf1\\ansi {\\b from} file\\par}\r\n";
  std::ofstream(dir.File("letter.rtf"), std::ios::binary) << content;
  Variant text("given");
  EXPECT_FALSE(forms_.RichTextForm(text, dir.File("letter.rtf")));
  EXPECT_EQ(text, Variant("given"));
  EXPECT_FALSE(forms_.RichTextForm(text, dir.File("missing.rtf")));
  EXPECT_FALSE(forms_.RichTextForm(text, dir.path().string()));  // a folder

  auto events = ui_->TakeEvents();
  ASSERT_EQ(events.size(), 5u);
  EXPECT_EQ(events[0].Field("text"), Variant(content));  // the file's bytes as they are
  for (size_t i : {1u, 3u}) {
    EXPECT_EQ(events[i].kind, "MsgBox");
    EXPECT_EQ(events[i].Field("title"), Variant("Unknown Application Alert"));
    EXPECT_EQ(events[i + 1].kind, "RichText");
    EXPECT_EQ(events[i + 1].Field("text"), Variant("given"));
  }
  EXPECT_EQ(events[1].Field("text"), Variant("The file \"" + dir.File("missing.rtf") +
                                             "\" cannot be read.\r\nNo such file or directory\r\n"
                                             "The form opens with the text given."));
  EXPECT_NE(events[3].Field("text").AsString().find("Is a directory"), std::string::npos);
}

}  // namespace
}  // namespace qor
