// ExecDoc "open" with applications registered in a temporary XDG data
// folder, and the failures it reports.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "qorsupport/shell/winapi.h"
#include "shell/desktop_entry.h"
#include "shell/test_files.h"
#include "shell/xdg_mime.h"
#include "testing/test_util.h"

namespace qor {
namespace {

namespace fs = std::filesystem;

void Write(const fs::path& path, const std::string& text) {
  fs::create_directories(path.parent_path());
  std::ofstream(path) << text;
}

// A desktop of its own: XDG data and config folders in a temporary folder,
// with a MIME type for *.qortest files and a marker application.
class XdgDesktop : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* name :
         {"XDG_DATA_HOME", "XDG_DATA_DIRS", "XDG_CONFIG_HOME", "XDG_CONFIG_DIRS"}) {
      const char* value = std::getenv(name);
      saved_.emplace_back(name, value ? std::optional<std::string>(value) : std::nullopt);
    }
    data_ = dir_.path() / "data";
    setenv("XDG_DATA_HOME", data_.c_str(), 1);
    setenv("XDG_DATA_DIRS", (dir_.path() / "system").c_str(), 1);
    setenv("XDG_CONFIG_HOME", (dir_.path() / "config").c_str(), 1);
    setenv("XDG_CONFIG_DIRS", (dir_.path() / "etc").c_str(), 1);
    Write(data_ / "mime/globs2", "# weight:type:glob\n50:text/x-qor-test:*.qortest\n");
    marker_ = dir_.File("received");
    std::string program = dir_.File("marker app.sh");
    Write(program, "#!/bin/sh\nprintf '%s|' \"$@\" > \"" + marker_ + ".args\"\ncat \"$1\" > \"" +
                       marker_ + "\"\n");
    chmod(program.c_str(), 0755);
    Write(data_ / "applications/qor-marker.desktop",
          "[Desktop Entry]\nType=Application\nName=Marker\nExec=\"" + program +
              "\" %f --from %c\nMimeType=text/x-qor-test;\n");
  }
  void TearDown() override {
    for (auto& [name, value] : saved_) {
      if (value) {
        setenv(name.c_str(), value->c_str(), 1);
      } else {
        unsetenv(name.c_str());
      }
    }
  }

  testing::TempDir dir_;
  fs::path data_;
  std::string marker_;
  std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

TEST_F(XdgDesktop, OpenHandsTheDocumentToItsApplicationAndReturnsFalse) {
  testing::ScriptedUi ui;
  qorWinAPI api;
  std::string doc = dir_.File("letter.QORTEST");
  Write(doc, "Dear reader");
  EXPECT_EQ(shell::MimeTypeOf(doc), "text/x-qor-test");
  EXPECT_FALSE(api.ExecDoc(doc, 1, false, false, true));
  EXPECT_EQ(shell::WaitForText(marker_), "Dear reader");
  EXPECT_EQ(shell::ReadText(marker_ + ".args"), doc + "|--from|Marker|");
  EXPECT_TRUE(ui->Events().empty());
}

TEST_F(XdgDesktop, TheUsersDefaultApplicationWins) {
  std::string other = dir_.File("other.sh");
  Write(other, "#!/bin/sh\necho other > \"" + marker_ + "\"\n");
  chmod(other.c_str(), 0755);
  Write(data_ / "applications/qor-other.desktop",
        "[Desktop Entry]\nType=Application\nName=Other\nExec=" + other + "\n");
  Write(dir_.path() / "config/mimeapps.list",
        "[Default Applications]\ntext/x-qor-test=qor-missing.desktop;qor-other.desktop\n");
  // A relative path is taken from the current folder.
  fs::path old = fs::current_path();
  fs::current_path(dir_.path());
  Write(dir_.path() / "memo.qortest", "memo");
  qorWinAPI api;
  EXPECT_FALSE(api.ExecDoc("memo.qortest"));
  fs::current_path(old);
  EXPECT_EQ(shell::WaitForText(marker_), "other\n");
}

TEST_F(XdgDesktop, WaitFlagShowsTheThreeLineMessageAfterAHandOver) {
  testing::ScriptedUi ui;
  qorWinAPI api;
  std::string doc = dir_.File("a.qortest");
  Write(doc, "x");
  EXPECT_FALSE(api.ExecDoc(doc, 1, false, true));
  auto events = ui->TakeEvents();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].Field("text"),
            Variant("Click Ok to continue\r\n(Please wait until the external operation has\r\n"
                    "completed - File saved or Printing finished)"));
  EXPECT_EQ(events[0].Field("title"), Variant("Unknown Application Message"));
  shell::WaitForText(marker_);
}

TEST_F(XdgDesktop, FailuresReportTheShellsNumbersOnlyWhenVerbose) {
  testing::ScriptedUi ui;
  qorWinAPI api;
  std::string binary = dir_.File("data.bin");
  Write(binary, std::string("\x01\x00\x02", 3));
  std::string broken = dir_.File("b.qorbroken");
  Write(broken, "text");
  Write(data_ / "mime/globs2", "50:text/x-qor-test:*.qortest\n50:text/x-qor-broken:*.qorbroken\n");
  Write(data_ / "applications/qor-broken.desktop",
        "[Desktop Entry]\nType=Application\nName=Broken\nExec=/no/such/program %f\n"
        "MimeType=text/x-qor-broken;\n");
  struct Case {
    std::string path;
    int number;
  };
  for (const Case& c :
       {Case{dir_.File("missing.qortest"), 2}, Case{"", 2},
        Case{dir_.File("no-folder/x.qortest"), 3}, Case{binary, 31}, Case{broken, 27}}) {
    EXPECT_FALSE(api.ExecDoc(c.path, 1, false, true, true));
    EXPECT_FALSE(api.ExecDoc(c.path, 1, false, true, false));
    auto events = ui->TakeEvents();
    ASSERT_EQ(events.size(), 1u) << c.path;
    EXPECT_EQ(events[0].Field("text"),
              Variant("Error trying to ShellExecute " + std::to_string(c.number)))
        << c.path;
  }
  EXPECT_FALSE(fs::exists(marker_));
}

TEST_F(XdgDesktop, AddedAssociationsAndDesktopIdsWithSubfolders) {
  // Without a default the added association comes before entries that
  // merely declare the type; "vendor-viewer.desktop" may live in vendor/.
  Write(data_ / "applications/vendor/viewer.desktop",
        "[Desktop Entry]\nType=Application\nName=Viewer\nExec=viewer %u\n");
  Write(data_ / "applications/mimeapps.list",
        "[Added Associations]\ntext/x-qor-test=vendor-viewer.desktop;\n");
  auto app = shell::DefaultApplication("text/x-qor-test");
  ASSERT_TRUE(app);
  EXPECT_EQ(app->name, "Viewer");
  // A hidden default is passed over.
  Write(data_ / "applications/qor-hidden.desktop",
        "[Desktop Entry]\nType=Application\nName=Hidden\nExec=x\nHidden=true\n");
  Write(dir_.path() / "config/mimeapps.list",
        "[Default Applications]\ntext/x-qor-test=qor-hidden.desktop\n");
  EXPECT_EQ(shell::DefaultApplication("text/x-qor-test")->name, "Viewer");
  EXPECT_FALSE(shell::DefaultApplication("application/x-qor-nothing"));
}

TEST(DesktopEntry, ExecQuotingAndFieldCodes) {
  testing::TempDir dir;
  Write(dir.path() / "e.desktop",
        "[Desktop Entry]\nName=Viewer\nExec=view \"a b\" \"q\\\\\"x\" 100%% %U %d\nIcon=v\n"
        "[Desktop Action New]\nExec=ignored\n");
  auto entry = shell::ReadDesktopEntry((dir.path() / "e.desktop").string());
  ASSERT_TRUE(entry);
  auto argv = shell::ExpandExec(*entry, "/tmp/a b#.txt");
  ASSERT_TRUE(argv);
  EXPECT_EQ(*argv,
            (std::vector<std::string>{"view", "a b", "q\"x", "100%", "file:///tmp/a%20b%23.txt"}));
  entry->exec = "view \"open";
  EXPECT_FALSE(shell::ExpandExec(*entry, "/x"));
  entry->exec = "view";  // no file code: the document goes last
  EXPECT_EQ(*shell::ExpandExec(*entry, "/x"), (std::vector<std::string>{"view", "/x"}));
  entry->hidden = true;
  EXPECT_FALSE(shell::ExpandExec(*entry, "/x"));
}

}  // namespace
}  // namespace qor
