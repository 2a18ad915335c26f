#include "ui/qt/rtf/code_page.h"

#include <gtest/gtest.h>

namespace qor::rtf {
namespace {

TEST(CodePage, DecodesAndEncodesSingleByteCodePages) {
  CodePage ansi(1252);
  EXPECT_EQ(ansi.number(), 1252);
  EXPECT_EQ(ansi.Decode("a\x80\xe9\x9f"), QString::fromUtf8("a€éŸ"));
  EXPECT_EQ(ansi.EncodeByte(u'a'), 'a');
  EXPECT_EQ(ansi.EncodeByte(u'€'), 0x80);
  EXPECT_EQ(ansi.EncodeByte(u'é'), 0xe9);
  EXPECT_EQ(ansi.EncodeByte(u'Ω'), -1);
  EXPECT_EQ(ansi.EncodeByte(0xFFFD), -1);

  CodePage cyrillic(1251);
  EXPECT_EQ(cyrillic.Decode("\xcf\xf0\xe8"), QString::fromUtf8("При"));
  EXPECT_EQ(cyrillic.EncodeByte(u'Д'), 0xc4);
  EXPECT_EQ(cyrillic.EncodeByte(u'é'), -1);
}

TEST(CodePage, UndefinedBytesBecomeReplacementCharacters) {
  CodePage ansi(1252);
  EXPECT_EQ(ansi.Decode("x\x81y\x8dz"), QString::fromUtf8("x\ufffdy\ufffdz"));
  CodePage japanese(932);
  EXPECT_EQ(japanese.Decode("\x82\xa0\x82"), QString::fromUtf8("あ\ufffd"));  // cut pair
  EXPECT_EQ(japanese.EncodeByte(u'あ'), -1);  // two bytes, never one
  EXPECT_EQ(CodePage(65001).Decode("\xc3\xa9\xff"), QString::fromUtf8("é\ufffd"));
}

TEST(CodePage, UnknownNumbersFallBackToWindows1252) {
  EXPECT_EQ(CodePage(4242).number(), 1252);
  EXPECT_EQ(CodePage(0).number(), 1252);
  EXPECT_EQ(CodePage(-1).Decode("\xe9"), QString::fromUtf8("é"));
  EXPECT_EQ(CodePage(10000).Decode("\x8e"), QString::fromUtf8("é"));
}

}  // namespace
}  // namespace qor::rtf
