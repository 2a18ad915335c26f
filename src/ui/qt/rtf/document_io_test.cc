#include "ui/qt/rtf/document_io.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QTextCursor>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "testing/test_util.h"
#include "ui/qt/rtf/test_support.h"

namespace qor::rtf {
namespace {

using qor::testing::TempDir;
using testing::AttributesAt;
using testing::TextOf;

void WriteFile(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream content;
  content << in.rdbuf();
  return content.str();
}

TEST(DocumentIo, TextIsRtfByContentAndPlainOtherwise) {
  QTextDocument doc;
  ASSERT_TRUE(SetDocumentText("{\\rtf1 {\\b rich}}", &doc));
  EXPECT_EQ(TextOf(doc), "rich");
  EXPECT_TRUE(AttributesAt(doc, "rich").bold);
  ASSERT_TRUE(SetDocumentText("{\\b not rtf}\nGrüße", &doc));
  EXPECT_EQ(TextOf(doc), "{\\b not rtf}\nGrüße");
  ASSERT_TRUE(SetDocumentText("", &doc));
  EXPECT_EQ(TextOf(doc), "");
  std::string error;
  EXPECT_FALSE(SetDocumentText("{\\rtf1" + std::string(300, '{'), &doc, &error));
  EXPECT_EQ(TextOf(doc), "");
  EXPECT_EQ(error, "The RTF text nests groups deeper than 256 levels.");
}

TEST(DocumentIo, LoadsRtfAndTextFilesInTheirEncodings) {
  TempDir dir;
  QTextDocument doc;
  WriteFile(dir.File("notes.txt"),
            "\xEF\xBB\xBFline 1\r\nGr\xC3\xBC\xC3\x9F"
            "e\rend");
  ASSERT_TRUE(LoadDocumentFile(dir.File("notes.txt"), &doc));
  EXPECT_EQ(TextOf(doc), "line 1\nGrüße\nend");
  WriteFile(dir.File("windows.txt"), "caf\xE9 \x80");  // not UTF-8: Windows-1252
  ASSERT_TRUE(LoadDocumentFile(dir.File("windows.txt"), &doc));
  EXPECT_EQ(TextOf(doc), "café €");
  WriteFile(dir.File("named.txt"), "{\\rtf1\\ansi {\\i slanted}\\par}");
  ASSERT_TRUE(LoadDocumentFile(dir.File("named.txt"), &doc));
  EXPECT_EQ(TextOf(doc), "slanted");
  EXPECT_TRUE(AttributesAt(doc, "slanted").italic);
}

TEST(DocumentIo, FailedLoadsExplainAndLeaveTheDocument) {
  TempDir dir;
  QTextDocument doc;
  doc.setPlainText("kept");
  std::string error;
  std::string missing = dir.File("missing.rtf");
  EXPECT_FALSE(LoadDocumentFile(missing, &doc, &error));
  EXPECT_EQ(error.rfind("The file \"" + missing + "\" cannot be read: ", 0), 0u) << error;
  EXPECT_FALSE(LoadDocumentFile(dir.path().string(), &doc, &error));
  WriteFile(dir.File("deep.rtf"), "{\\rtf1" + std::string(1000, '{'));
  EXPECT_FALSE(LoadDocumentFile(dir.File("deep.rtf"), &doc, &error));
  EXPECT_EQ(error, "The file \"" + dir.File("deep.rtf") +
                       "\" cannot be opened. The RTF text nests groups deeper than 256 levels.");
  std::filesystem::resize_file(dir.File("deep.rtf"), kMaxDocumentFileBytes + 1);
  EXPECT_FALSE(LoadDocumentFile(dir.File("deep.rtf"), &doc, &error));
  EXPECT_EQ(error, "The file \"" + dir.File("deep.rtf") + "\" is larger than 64 MB.");
  EXPECT_EQ(TextOf(doc), "kept");
}

TEST(DocumentIo, SavesRtfThatLoadsBackAndKeepsOldFilesOnFailure) {
  TempDir dir;
  QTextDocument doc;
  QTextCursor cursor(&doc);
  QTextCharFormat red;
  red.setForeground(QColor(255, 0, 0));
  cursor.insertText("red text", red);
  std::string path = dir.File("saved.rtf");
  std::string error;
  ASSERT_TRUE(SaveDocumentFile(doc, path, &error)) << error;
  EXPECT_EQ(ReadFile(path), DocumentToRtf(doc));
  QTextDocument loaded;
  ASSERT_TRUE(LoadDocumentFile(path, &loaded));
  EXPECT_EQ(AttributesAt(loaded, "red").color, "#ff0000");

  // A folder that cannot be written to: the save fails, the file stays.
  if (geteuid() != 0) {
    std::filesystem::permissions(
        dir.path(), std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    doc.setPlainText("new");
    EXPECT_FALSE(SaveDocumentFile(doc, path, &error));
    EXPECT_EQ(error.rfind("The file \"" + path + "\" cannot be saved: ", 0), 0u) << error;
    std::filesystem::permissions(dir.path(), std::filesystem::perms::owner_all);
    EXPECT_EQ(ReadFile(path), DocumentToRtf(loaded));
  }
  EXPECT_FALSE(SaveDocumentFile(doc, dir.File("no/such/folder/x.rtf"), &error));
}

}  // namespace
}  // namespace qor::rtf
