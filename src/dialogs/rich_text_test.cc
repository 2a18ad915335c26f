// qorForms.RichTextForm over the scripted backend: what the form opens
// with when it is given a file. The form itself and the result rules are
// tested on real widgets (ui/qt/rich_text_form_test.cc) and through qor
// automation (automation_test.cc).

#include <gtest/gtest.h>

#include <fstream>

#include "qorsupport/dialogs/forms.h"
#include "testing/test_util.h"

namespace qor {
namespace {

class RichTextFormTest : public ::testing::Test {
 protected:
  testing::ScriptedUi ui_;
  qorForms forms_;
};

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
