// qorWinAPI's system texts, file copy, drives and twips.

#include "qorsupport/shell/winapi.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "qorsupport/frame/error.h"
#include "shell/test_files.h"
#include "testing/test_util.h"

namespace qor {
namespace {

mode_t Mode(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 ? st.st_mode & 07777 : 0;
}

TEST(WinApi, SwabStringCutsAtTheFirstNul) {
  qorWinAPI api;
  EXPECT_EQ(api.SwabString("plain"), "plain");
  EXPECT_EQ(api.SwabString(std::string("abc\0def\0", 8)), "abc");
  EXPECT_EQ(api.SwabString(std::string("\0abc", 4)), "");
  EXPECT_EQ(api.SwabString(""), "");
}

TEST(WinApi, GetSysErrorMsgGivesTheTextOrReportsAndNull) {
  testing::ScriptedUi ui;
  qorWinAPI api;
  EXPECT_EQ(api.GetSysErrorMsg(2), Variant("No such file or directory"));
  EXPECT_EQ(api.GetSysErrorMsg(13), Variant("Permission denied"));
  EXPECT_TRUE(ui->Events().empty());
  EXPECT_TRUE(api.GetSysErrorMsg(99999).IsNull());
  EXPECT_TRUE(api.GetSysErrorMsg(-5).IsNull());
  auto events = ui->TakeEvents();
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].Field("text"), Variant("FormatMessage Error: 99999"));
  EXPECT_EQ(events[1].Field("text"), Variant("FormatMessage Error: -5"));
  EXPECT_EQ(events[0].Field("title"), Variant("Unknown Application Alert"));
}

TEST(WinApi, CopyFileOverwritesAndKeepsNoHalfFiles) {
  qorWinAPI api;
  testing::TempDir dir;
  std::string src = dir.File("src.txt"), dst = dir.File("dst.txt");
  std::ofstream(src) << "new content";
  std::ofstream(dst) << "old";
  EXPECT_TRUE(api.CopyFile(src, dst));
  EXPECT_EQ(shell::ReadText(dst), "new content");
  // Nothing but the two files is left in the folder.
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 2);

  EXPECT_FALSE(api.CopyFile(dir.File("missing"), dst));
  EXPECT_EQ(shell::ReadText(dst), "new content");
  EXPECT_FALSE(api.CopyFile(src, dir.File("no-folder/dst.txt")));
  EXPECT_FALSE(api.CopyFile(dir.path().string(), dst));  // a folder is not copied
  EXPECT_FALSE(api.CopyFile("", dst));
}

TEST(WinApi, CopyFileCarriesReadOnlyAndForceRwAttrClearsItEvenAfterAFailure) {
  qorWinAPI api;
  testing::TempDir dir;
  std::string src = dir.File("src.txt"), dst = dir.File("dst.txt");
  std::ofstream(src) << "v1";
  chmod(src.c_str(), 0444);
  EXPECT_TRUE(api.CopyFile(src, dst));
  EXPECT_EQ(Mode(dst), 0444u);
  // A read-only destination is not overwritten ...
  EXPECT_FALSE(api.CopyFile(src, dst));
  // ... but pForceRWAttr still makes it writable, failure or not.
  EXPECT_FALSE(api.CopyFile(dir.File("missing"), dst, true));
  EXPECT_EQ(Mode(dst), 0644u);
  EXPECT_TRUE(api.CopyFile(src, dst, true));
  EXPECT_EQ(Mode(dst), 0644u);
}

TEST(WinApi, GetValidDrivesListsRealMountPoints) {
  qorWinAPI api;
  std::string drives = api.GetValidDrives();
  ASSERT_FALSE(drives.empty());
  std::vector<std::string> roots;
  std::stringstream list(drives);
  for (std::string root; std::getline(list, root, ';');) roots.push_back(root);
  EXPECT_NE(std::find(roots.begin(), roots.end(), "/"), roots.end()) << drives;
  EXPECT_EQ(std::find(roots.begin(), roots.end(), "/proc"), roots.end()) << drives;
  EXPECT_EQ(std::find(roots.begin(), roots.end(), "/sys"), roots.end()) << drives;
  for (const std::string& root : roots) EXPECT_TRUE(std::filesystem::is_directory(root)) << root;
}

// A screen of a chosen density.
class DensityUi : public ui::ScriptedBackend {
 public:
  explicit DensityUi(int per_inch) : per_inch_(per_inch) {}
  int PixelsPerInch() override { return per_inch_; }

 private:
  int per_inch_;
};

TEST(WinApi, ConvertPixelsToTwipsAtTheScreensDensity) {
  qorWinAPI api;
  auto convert = [&](int per_inch, int32_t pixels) {
    ui::ScopedBackend screen(std::make_shared<DensityUi>(per_inch));
    bool vertical = true;
    return api.ConvertPixelsToTwips(pixels, vertical);
  };
  EXPECT_EQ(convert(96, 1), 15);
  EXPECT_EQ(convert(96, 3), 45);
  EXPECT_EQ(convert(96, -2), -30);
  EXPECT_EQ(convert(120, 5), 60);
  EXPECT_EQ(convert(64, 1), 22);  // 22.5: halves go to even
  EXPECT_EQ(convert(64, 3), 68);  // 67.5
  try {
    convert(0, 1);
    ADD_FAILURE() << "no error for a density of 0";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 11);
  }
  try {
    convert(1, 2000000);
    ADD_FAILURE() << "no overflow";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), err::kOverflow);
  }
}

}  // namespace
}  // namespace qor
