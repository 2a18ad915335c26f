#include "qorsupport/dialogs/requesters.h"

#include <gtest/gtest.h>

#include "qorsupport/frame/globals.h"
#include "testing/test_util.h"

namespace qor {
namespace {

class RequestersTest : public ::testing::Test {
 protected:
  void TearDown() override { StoreAppName(Variant("")); }
  static void SetFilter(Record& params, int32_t i, const std::string& name,
                        const std::string& pattern) {
    params.Find("FiltMsg")->AsArray().At({i}) = Variant(name);
    params.Find("FilText")->AsArray().At({i}) = Variant(pattern);
  }
  testing::ScriptedUi ui_;
  FileRequester requester_;
};

TEST_F(RequestersTest, FilterTextStopsAtTheFirstBlankPairAndIgnoresIndex20) {
  Record params = NewFileNameParams();
  SetFilter(params, 1, "Later", "*.x");
  EXPECT_EQ(BuildFileFilter(params.Find("FiltMsg")->AsArray(), params.Find("FilText")->AsArray()),
            "");  // entry 0 blank: no filter at all
  for (int32_t i = 0; i <= 20; ++i) SetFilter(params, i, "F" + std::to_string(i), "*.f");
  std::string filter =
      BuildFileFilter(params.Find("FiltMsg")->AsArray(), params.Find("FilText")->AsArray());
  EXPECT_NE(filter.find(std::string("F19 (*.f)\0*.f\0", 14)), std::string::npos);
  EXPECT_EQ(filter.find("F20"), std::string::npos);
  EXPECT_EQ(filter.back(), '\0');
  EXPECT_EQ(filter.substr(filter.size() - 2), std::string("\0\0", 2));

  SetFilter(params, 0, "Text", "*.txt;*.log");
  SetFilter(params, 1, "  ", "*.x");
  EXPECT_EQ(BuildFileFilter(params.Find("FiltMsg")->AsArray(), params.Find("FilText")->AsArray()),
            std::string("Text (*.txt;*.log)\0*.txt;*.log\0\0", 32));
}

TEST_F(RequestersTest, GetFileNameParamFillsTheAnswersOrNull) {
  StoreAppName(Variant("Payroll"));
  Record params = NewFileNameParams();
  SetFilter(params, 0, "Text", "*.txt");
  *params.Find("InitialDir") = Variant("/tmp");
  std::string long_path = "/data/" + std::string(300, 'd') + "/report.txt";
  ui_->Queue(Variant(long_path));
  EXPECT_TRUE(requester_.GetFileNameParam(params));
  EXPECT_EQ(*params.Find("FilePath"), Variant(long_path));  // whole, any length
  EXPECT_EQ(*params.Find("FileTitle"), Variant("report.txt"));
  EXPECT_EQ(*params.Find("DirName"), Variant("/data/" + std::string(300, 'd') + "/"));

  EXPECT_FALSE(requester_.GetFileNameParam(params));  // cancelled
  EXPECT_EQ(*params.Find("FilePath"), Variant::Null());
  EXPECT_EQ(*params.Find("FileTitle"), Variant::Null());

  auto events = ui_->TakeEvents();
  ASSERT_EQ(events.size(), 2u);  // nothing shown for the cancel
  EXPECT_EQ(events[0].Field("title"), Variant("Payroll File Requester"));
  EXPECT_EQ(events[0].Field("flags"), Variant(0x1000));
  EXPECT_EQ(events[0].Field("initialDir"), Variant("/tmp"));
  EXPECT_EQ(events[0].Field("filter"), Variant(std::string("Text (*.txt)\0*.txt\0\0", 20)));

  // A NUL inside a filter is refused with a clear error, not shown garbled.
  SetFilter(params, 0, std::string("Te\0xt", 5), "*.txt");
  EXPECT_FALSE(requester_.GetFileNameParam(params));
  events = ui_->TakeEvents();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].kind, "MsgBox");
  EXPECT_NE(events[0].Field("text").AsString().find("GetFileNameParam()"), std::string::npos);
}

TEST_F(RequestersTest, GetFileNameTitlesAndSaveExtension) {
  ui_->Queue(Variant("/a/letter"));
  EXPECT_EQ(requester_.GetFileName("", "Rich Text Files", "*.rtf", true, "rtf"), "/a/letter.rtf");
  ui_->Queue(Variant("/a/letter.RTF"));
  EXPECT_EQ(requester_.GetFileName("", "Rich Text Files", "*.rtf", true, "rtf"), "/a/letter.RTF");
  ui_->Queue(Variant("/a/report.TXT"));
  EXPECT_EQ(requester_.GetFileName("", "", "", true, "txt", "Save it"), "/a/report.TXT");
  ui_->Queue(Variant("/a/letter"));
  EXPECT_EQ(requester_.GetFileName("/a", "All", "*.*"), "/a/letter");
  EXPECT_EQ(requester_.GetFileName(), "");  // cancelled

  auto events = ui_->TakeEvents();
  ASSERT_EQ(events.size(), 5u);
  EXPECT_EQ(events[0].Field("title"), Variant("Unknown Application File Save/Save As Requester"));
  EXPECT_EQ(events[0].Field("flags"), Variant(0x200000));
  EXPECT_EQ(events[2].Field("title"), Variant("Save it"));
  EXPECT_EQ(events[2].Field("filter"), Variant(""));
  EXPECT_EQ(events[3].Field("title"), Variant("Unknown Application File Open Requester"));
  EXPECT_EQ(events[3].Field("flags"), Variant(0x1000));
}

TEST_F(RequestersTest, GetFolderName) {
  ui_->Queue(Variant("/home/user/books"));
  EXPECT_EQ(requester_.GetFolderName(), "/home/user/books");
  EXPECT_EQ(requester_.GetFolderName("Where to?"), "");
  auto events = ui_->TakeEvents();
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].Field("title"), Variant("Please Select a Folder"));
  EXPECT_EQ(events[1].Field("title"), Variant("Where to?"));
}

}  // namespace
}  // namespace qor
