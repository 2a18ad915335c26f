#include "ui/qt/gallery.h"

#include <gtest/gtest.h>

#include <QImage>
#include <algorithm>
#include <map>

#include "testing/test_util.h"

namespace qor::ui::qt {
namespace {

bool Has(const std::vector<std::string>& list, const std::string& item) {
  return std::find(list.begin(), list.end(), item) != list.end();
}

TEST(Gallery, EveryDialogRendersWithItsNamedWidgetsAndTexts) {
  testing::TempDir dir;
  std::vector<GalleryShot> shots = RenderGallery(dir.File("gallery"));
  std::map<std::string, const GalleryShot*> by_name;
  for (const GalleryShot& shot : shots) {
    by_name[shot.name] = &shot;
    QImage image(QString::fromStdString(shot.file));
    EXPECT_FALSE(image.isNull()) << shot.file;
    EXPECT_GT(image.width(), 100) << shot.name;
    EXPECT_GT(image.height(), 60) << shot.name;
  }
  const std::map<std::string, std::vector<std::string>> names = {
      {"msgbox-question", {"cbYes", "cbNo"}},
      {"msgbox-yes-no-cancel", {"cbYes", "cbNo", "cbCancel"}},
      {"msgbox-alert-retry", {"cbRetry", "cbCancel"}},
      {"msgbox-critical", {"cbOk"}},
      {"input", {"lblPrompt", "txtAnswer", "cbOk", "cbCancel"}},
      {"list", {"List1", "cbOk", "cbCancel"}},
      {"list-multi-fixed", {"List1", "cbOk", "cbCancel"}},
      {"calendar", {"cal01", "cbOk", "cbCancel"}},
      {"menu", {"tHeading1", "tHeading2", "cb01", "t01", "cb02", "cb05", "cb11", "cbCancel"}},
      {"requester", {"lblMsg1", "lblMsg2", "cbYes", "cbNo"}},
      {"richtext",
       {"tb01", "Open", "Bold", "JustCentre", "tbcbFontName", "tbcbFontSize", "tbcbFontColour",
        "rtf01", "sbStatus", "cbOk", "cbCancel"}},
  };
  for (const auto& [shot, widgets] : names) {
    ASSERT_TRUE(by_name.count(shot)) << shot;
    for (const std::string& widget : widgets) {
      EXPECT_TRUE(Has(by_name[shot]->object_names, widget)) << shot << ": " << widget;
    }
  }
  EXPECT_FALSE(Has(by_name["menu"]->object_names, "cb03"));  // unused rows stay hidden
  EXPECT_TRUE(Has(by_name["menu"]->texts, "Post the ledger"));
  EXPECT_TRUE(Has(by_name["menu"]->texts, "  Ledger"));
  EXPECT_TRUE(Has(by_name["msgbox-question"]->texts, "Post the March payroll?"));
  EXPECT_TRUE(Has(by_name["requester"]->texts, "Post now"));
  EXPECT_TRUE(Has(by_name["list"]->texts, "Carter Inc"));
  EXPECT_TRUE(Has(by_name["file"]->texts, "Payroll File Open Requester"));
  EXPECT_TRUE(Has(by_name["folder"]->texts, "Please Select a Folder"));
  EXPECT_TRUE(Has(by_name["richtext"]->texts, "  RichText Edit Form"));
  EXPECT_TRUE(Has(by_name["richtext"]->texts, " Line 2, Column 18"));  // the caret after "12%"
  EXPECT_TRUE(Has(by_name["richtext"]->texts, "Black"));
}

}  // namespace
}  // namespace qor::ui::qt
