// The file-system procedures on real temporary folders.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "qorsupport/procs/procs.h"
#include "testing/test_util.h"

namespace qor {
namespace {

namespace fs = std::filesystem;

void Touch(const fs::path& path) { std::ofstream(path) << "x"; }

class ProcsFiles : public ::testing::Test {
 protected:
  ProcsFiles() {
    Touch(tmp_.path() / "a.txt");
    Touch(tmp_.path() / "b.tmp");
    Touch(tmp_.path() / "c.tmp");
    fs::create_directory(tmp_.path() / "sub");
    fs::create_directory(tmp_.path() / "folder.tmp");
  }
  std::string P(const std::string& name) const { return tmp_.File(name); }

  qorProcs procs_;
  testing::TempDir tmp_;
};

TEST_F(ProcsFiles, CheckFileExistsFindsFilesOnly) {
  EXPECT_TRUE(procs_.CheckFileExists(P("a.txt")));
  EXPECT_TRUE(procs_.CheckFileExists(P("*.tmp")));
  EXPECT_TRUE(procs_.CheckFileExists(P("?.txt")));
  EXPECT_TRUE(procs_.CheckFileExists(P("*.*")));
  EXPECT_FALSE(procs_.CheckFileExists(P("sub")));  // a folder is not a file
  EXPECT_FALSE(procs_.CheckFileExists(P("*.csv")));
  EXPECT_FALSE(procs_.CheckFileExists(P("missing.txt")));
  EXPECT_FALSE(procs_.CheckFileExists(P("nowhere/a.txt")));
  EXPECT_FALSE(procs_.CheckFileExists(Variant::Null()));
  EXPECT_FALSE(procs_.CheckFileExists(P("sub/")));  // an empty folder holds no file
}

TEST_F(ProcsFiles, CheckDirPathFindsFoldersAndWhatIsInThem) {
  EXPECT_TRUE(procs_.CheckDirPath(tmp_.path().string()));
  EXPECT_TRUE(procs_.CheckDirPath(P("sub")));
  EXPECT_TRUE(procs_.CheckDirPath(P("sub/")));  // the empty folder's own entries
  EXPECT_TRUE(procs_.CheckDirPath("/"));
  EXPECT_TRUE(procs_.CheckDirPath(P("a.txt")));  // the query includes files, as Dir does
  EXPECT_FALSE(procs_.CheckDirPath(P("missing")));
  EXPECT_FALSE(procs_.CheckDirPath(P("missing/deeper")));
  EXPECT_FALSE(procs_.CheckDirPath(""));
  EXPECT_FALSE(procs_.CheckDirPath(Variant::Null()));
}

TEST_F(ProcsFiles, CheckFilePathTellsWellFormedFromUnaskable) {
  EXPECT_TRUE(procs_.CheckFilePath(P("a.txt")));
  EXPECT_TRUE(procs_.CheckFilePath(P("missing.txt")));  // need not exist
  EXPECT_TRUE(procs_.CheckFilePath(P("missing/x.txt")));
  EXPECT_FALSE(procs_.CheckFilePath(P("a.txt/x")));  // a file where a folder should be
  EXPECT_FALSE(procs_.CheckFilePath(P("a.txt/*.x")));
  EXPECT_FALSE(procs_.CheckFilePath(std::string("bad\0name", 8)));
  EXPECT_FALSE(procs_.CheckFilePath(""));
  EXPECT_FALSE(procs_.CheckFilePath(P(std::string(300, 'n'))));  // name too long
}

TEST_F(ProcsFiles, CreateAllDirsInPathMakesEveryLevel) {
  EXPECT_TRUE(procs_.CreateAllDirsInPath(P("x/y/z")));
  EXPECT_TRUE(fs::is_directory(P("x/y/z")));
  EXPECT_TRUE(procs_.CreateAllDirsInPath(P("x/y/z")));  // already there
  EXPECT_TRUE(procs_.CreateAllDirsInPath(P("x/w/")));
  EXPECT_TRUE(fs::is_directory(P("x/w")));
  EXPECT_TRUE(procs_.CreateAllDirsInPath(P("x//v")));
  EXPECT_TRUE(fs::is_directory(P("x/v")));
}

TEST_F(ProcsFiles, CreateAllDirsInPathStopsAtTheFirstFailureKeepingWhatItMade) {
  EXPECT_FALSE(procs_.CreateAllDirsInPath(P("a.txt/inner/deeper")));
  EXPECT_TRUE(fs::is_regular_file(P("a.txt")));

  std::string too_long(300, 'n');
  EXPECT_FALSE(procs_.CreateAllDirsInPath(P("made/" + too_long + "/x")));
  EXPECT_TRUE(fs::is_directory(P("made")));  // nothing is rolled back

  EXPECT_FALSE(procs_.CreateAllDirsInPath(P(std::string("nul\0/x", 6))));
  EXPECT_FALSE(fs::exists(P("nul")));
  EXPECT_FALSE(procs_.CreateAllDirsInPath(""));
}

TEST_F(ProcsFiles, DeleteFileDeletesFilesAndPatterns) {
  testing::ScriptedUi ui;
  EXPECT_TRUE(procs_.DeleteFile(P("a.txt")));
  EXPECT_FALSE(fs::exists(P("a.txt")));

  EXPECT_TRUE(procs_.DeleteFile(P("*.tmp")));
  EXPECT_FALSE(fs::exists(P("b.tmp")));
  EXPECT_FALSE(fs::exists(P("c.tmp")));
  EXPECT_TRUE(fs::is_directory(P("folder.tmp")));  // folders are never deleted

  EXPECT_FALSE(procs_.DeleteFile(P("*.tmp")));  // nothing left to match
  EXPECT_FALSE(procs_.DeleteFile(P("sub")));
  EXPECT_TRUE(fs::is_directory(P("sub")));
  EXPECT_FALSE(procs_.DeleteFile(P("missing/*.txt")));
  EXPECT_FALSE(procs_.DeleteFile(Variant::Null()));
  EXPECT_TRUE(ui->Events().empty());  // silent without Verbose
}

TEST_F(ProcsFiles, DeleteFileReportsWhenVerbose) {
  testing::ScriptedUi ui;
  EXPECT_FALSE(procs_.DeleteFile(P("missing.txt"), true));
  Touch(tmp_.path() / "blocker");
  EXPECT_FALSE(procs_.DeleteFile(P("blocker/x"), true));
  auto events = ui->Events();
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].Field("title").AsString(), "Error Message");
  EXPECT_EQ(events[0].Field("text").AsString(), "ERROR  53, DeleteFile()\r\nFile not found");
  EXPECT_EQ(events[1].Field("text").AsString(),
            "ERROR  75, DeleteFile()\r\nPath/File access error");
}

TEST_F(ProcsFiles, FoldersWithoutPermissionAnswerFalse) {
  fs::create_directory(P("locked"));
  Touch(tmp_.path() / "locked" / "inside.txt");
  fs::create_directory(P("readonly"));
  Touch(tmp_.path() / "readonly" / "kept.txt");
  chmod(tmp_.path().c_str(), 0755);
  chmod(P("locked").c_str(), 0);
  chmod(P("readonly").c_str(), 0555);
  int failed = testing::RunUnprivileged([this] {
    int bits = 0;
    auto expect = [&bits](int bit, bool ok) { bits |= ok ? 0 : 1 << bit; };
    expect(0, !procs_.CheckFileExists(P("locked/inside.txt")));
    expect(1, !procs_.CheckFilePath(P("locked/inside.txt")));
    expect(2, !procs_.CheckFileExists(P("locked/*.txt")));
    expect(3, !procs_.CreateAllDirsInPath(P("locked/x/y")));
    expect(4, !procs_.DeleteFile(P("locked/inside.txt")));
    expect(5, !procs_.DeleteFile(P("readonly/kept.txt")));  // listed but not writable
    expect(6, procs_.CheckFileExists(P("readonly/kept.txt")));
    expect(7, !procs_.CreateAllDirsInPath(P("readonly/new")));
    return bits;
  });
  chmod(P("locked").c_str(), 0700);
  chmod(P("readonly").c_str(), 0700);
  EXPECT_EQ(failed, 0) << "a bit per failed expectation, in the order of the checks";
  EXPECT_TRUE(fs::exists(P("locked/inside.txt")));
  EXPECT_TRUE(fs::exists(P("readonly/kept.txt")));
  EXPECT_FALSE(fs::exists(P("readonly/new")));
}

}  // namespace
}  // namespace qor
