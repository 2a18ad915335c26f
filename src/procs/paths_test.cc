#include <gtest/gtest.h>

#include <cstdlib>

#include "qorsupport/procs/procs.h"
#include "testing/test_util.h"

namespace qor {
namespace {

std::string Text(const Variant& v) { return v.IsString() ? v.AsString() : "<not a string>"; }

TEST(ProcsPaths, NameAndExtensionSplitAtTheLastDot) {
  qorProcs p;
  EXPECT_EQ(p.GetFileNameWithoutExt("c:\\data\\a.b.txt"), "c:\\data\\a.b");
  EXPECT_EQ(p.GetFileNameWithoutExt("/srv/data/a.b.txt"), "/srv/data/a.b");
  EXPECT_EQ(p.GetFileNameWithoutExt("README"), "");  // no dot: nothing, not the name
  EXPECT_EQ(p.GetFileExt("report.final.PDF"), "PDF");
  EXPECT_EQ(p.GetFileExt("name."), "");
  EXPECT_EQ(p.GetFileExt("README"), "");
  EXPECT_EQ(p.GetFileExt("/home/x.y/file"), "y/file");  // a folder's dot counts
}

TEST(ProcsPaths, FilePartsSplitOnBothSeparatorsAndDrives) {
  qorProcs p;
  EXPECT_EQ(Text(p.ExtractFileWithExtFromPath("c:\\data\\ledger.mdb")), "ledger.mdb");
  EXPECT_EQ(Text(p.ExtractFileWithExtFromPath("/srv/data/ledger.mdb")), "ledger.mdb");
  EXPECT_EQ(Text(p.ExtractFileWithExtFromPath("c:ledger.mdb")), "ledger.mdb");
  EXPECT_EQ(Text(p.ExtractFileWithExtFromPath("/srv\\mixed/a\\b.txt")), "b.txt");
  EXPECT_EQ(Text(p.ExtractFileWithExtFromPath("c:\\data\\")), "");
  EXPECT_TRUE(p.ExtractFileWithExtFromPath("   ").IsNull());
  EXPECT_TRUE(p.ExtractFileWithExtFromPath(Variant::Null()).IsNull());

  EXPECT_EQ(Text(p.ExtractFilenameFromPath("c:\\data\\ledger.mdb")), "ledger");
  EXPECT_EQ(Text(p.ExtractFilenameFromPath("/home/x.y/ledger.mdb")),
            "x");  // stops at the first dot
  EXPECT_EQ(Text(p.ExtractFilenameFromPath("d:notes")), "notes");
  EXPECT_TRUE(p.ExtractFilenameFromPath(Variant()).IsNull());

  EXPECT_EQ(Text(p.ExtractPathFromPath("c:\\data\\ledger.mdb")), "c:\\data\\");
  EXPECT_EQ(Text(p.ExtractPathFromPath("/srv/data/ledger.mdb")), "/srv/data/");
  EXPECT_EQ(Text(p.ExtractPathFromPath("c:ledger.mdb")), "c:");
  EXPECT_EQ(Text(p.ExtractPathFromPath("ledger.mdb")), "");
  EXPECT_EQ(Text(p.ExtractPathFromPath("/srv/données/é.txt")), "/srv/données/");
  EXPECT_TRUE(p.ExtractPathFromPath("c:\\data\\").IsNull());
  EXPECT_TRUE(p.ExtractPathFromPath("/srv/data/").IsNull());
}

TEST(ProcsPaths, NormaliseDirAddsOrRemovesTheTrailingSeparator) {
  qorProcs p;
  EXPECT_EQ(p.NormaliseDir("c:\\data"), "c:\\data\\");
  EXPECT_EQ(p.NormaliseDir("/srv/data"), "/srv/data/");
  EXPECT_EQ(p.NormaliseDir("/srv/data/"), "/srv/data/");
  EXPECT_EQ(p.NormaliseDir("data"), "data/");  // no separator yet: the Linux one
  EXPECT_EQ(p.NormaliseDir(""), "/");

  EXPECT_EQ(p.NormaliseDir("c:\\", true), "c:\\");  // a drive root keeps it
  EXPECT_EQ(p.NormaliseDir("c:\\d\\", true), "c:\\d");
  EXPECT_EQ(p.NormaliseDir("\\", true), "");
  EXPECT_EQ(p.NormaliseDir("/", true), "");
  EXPECT_EQ(p.NormaliseDir("/srv/data/", true), "/srv/data");
  EXPECT_EQ(p.NormaliseDir("/srv/data", true), "/srv/data");
}

TEST(ProcsPaths, CleanFilenameAndWildcards) {
  qorProcs p;
  EXPECT_EQ(Text(p.CleanFilename("my file 1.txt")), "myfile1.");  // 12 characters, two spaces
  EXPECT_EQ(Text(p.CleanFilename("a*b?c#d&e")), "abcde");
  EXPECT_EQ(Text(p.CleanFilename("éèàùçôîâ.txt")), "éèàùçôîâ");  // characters, not bytes
  EXPECT_EQ(Text(p.CleanFilename("")), "");
  EXPECT_TRUE(p.ContainsWildcard("*.mdb"));
  EXPECT_TRUE(p.ContainsWildcard("a?c"));
  EXPECT_FALSE(p.ContainsWildcard("plain.txt"));
  EXPECT_FALSE(p.ContainsWildcard(""));
}

TEST(ProcsPaths, GetTempDirReadsTemp) {
  qorProcs p;
  testing::ScriptedUi ui;
  const char* saved = std::getenv("TEMP");
  std::string previous = saved ? saved : "";

  setenv("TEMP", "/var/tmp", 1);
  EXPECT_EQ(p.GetTempDir(), "/var/tmp/");
  setenv("TEMP", "C:\\Temp", 1);
  EXPECT_EQ(p.GetTempDir(), "C:\\Temp\\");
  setenv("TEMP", "/var/tmp/", 1);
  EXPECT_EQ(p.GetTempDir(true), "/var/tmp/");
  EXPECT_TRUE(ui->Events().empty());

  unsetenv("TEMP");
  EXPECT_EQ(p.GetTempDir(), "");
  EXPECT_TRUE(ui->Events().empty());  // silent without Verbose
  EXPECT_EQ(p.GetTempDir(true), "");
  ASSERT_EQ(ui->Events().size(), 1u);
  EXPECT_EQ(ui->Events()[0].Field("text").AsString(), "The TEMP environment variable is NOT set");

  if (saved) setenv("TEMP", previous.c_str(), 1);
}

}  // namespace
}  // namespace qor
