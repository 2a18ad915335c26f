// The INI engine's private-profile rules and qorWinAPIReg's IniRead and
// IniWrite on real files.

#include "registry/profile.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>
#include <sstream>

#include "qorsupport/frame/vb.h"
#include "registry/registry_test_fixture.h"

namespace qor::registry {
namespace {

class Ini : public RegistryFixture {
 protected:
  Ini() { setenv("QOR_INI_DIR", dir_.path().c_str(), 1); }
  ~Ini() override { unsetenv("QOR_INI_DIR"); }

  void Put(const std::string& bytes) { std::ofstream(file_, std::ios::binary) << bytes; }
  std::string Text() {
    std::ifstream in(file_, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
  }
  // The call's count and the buffer up to and with its final NUL(s).
  std::pair<uint32_t, std::string> Get(OptText section, OptText key, uint32_t size = 64,
                                       OptText def = "dflt") {
    std::string buffer(size, '#');
    uint32_t n = GetPrivateProfileString(section, key, def, buffer.data(), size, file_);
    size_t end = buffer.find('#');
    return {n, buffer.substr(0, end)};
  }

  std::string file_ = dir_.File("app.ini");
};

TEST_F(Ini, ReadsWithThePlatformRules) {
  Put("top=never found\r\n"
      "  [Colours]  \r\n"
      "  Fore  =  Blue  \r\n"
      "quoted=\"  spaced  \"\r\n"
      "single='x'\r\n"
      "half=\"open\r\n"
      "noequals\r\n"
      ";comment=1\r\n"
      "[colours]\r\n"
      "fore=Second section is never reached\r\n"
      "[Other\r\n"
      "[Sizes] trailing\n"
      "Width=10");  // no final newline
  EXPECT_EQ(Get("COLOURS", " fore "), std::make_pair(4u, std::string("Blue\0", 5)));
  EXPECT_EQ(Get("Colours", "quoted").second, std::string("  spaced  \0", 11));
  EXPECT_EQ(Get("Colours", "single").second, std::string("x\0", 2));
  EXPECT_EQ(Get("Colours", "half").second, std::string("\"open\0", 6));
  EXPECT_EQ(Get("Colours", "noequals").second, std::string("dflt\0", 5));
  EXPECT_EQ(Get("Sizes", "width").second, std::string("10\0", 3));
  // An empty section name is the part before the first section.
  EXPECT_EQ(Get("", "top").second, std::string("never found\0", 12));
  // "[Other" has no "]" and is an entry of [colours].
  EXPECT_EQ(Get("Colours", std::nullopt),
            std::make_pair(24u, std::string("Fore\0quoted\0single\0half\0\0", 25)));
  EXPECT_EQ(Get(std::nullopt, std::nullopt),
            std::make_pair(22u, std::string("Colours\0colours\0Sizes\0\0", 23)));
  EXPECT_EQ(Get("Missing", std::nullopt).second, std::string("dflt\0", 5));
  EXPECT_EQ(Get("Missing", "x", 64, "with blanks   ").second, std::string("with blanks\0", 12));
  // Truncation: a value to size - 1 (a closing quote is only dropped when
  // the value fits); a list cut short counts size - 2, and only count + 1
  // characters reach the caller's buffer.
  EXPECT_EQ(Get("Colours", "fore", 3), std::make_pair(2u, std::string("Bl\0", 3)));
  EXPECT_EQ(Get("Colours", "quoted", 4).second, std::string("  s\0", 4));
  EXPECT_EQ(Get("Colours", std::nullopt, 8), std::make_pair(6u, std::string("Fore\0q\0", 7)));
  EXPECT_EQ(Get(std::nullopt, std::nullopt, 10), std::make_pair(8u, std::string("Colours\0\0", 9)));
  EXPECT_EQ(Get(std::nullopt, std::nullopt, 5), std::make_pair(3u, std::string("Col\0", 4)));
  // A missing file reads as empty.
  std::string none(8, '#');
  EXPECT_EQ(GetPrivateProfileString("a", "b", "d", none.data(), 8, dir_.File("none.ini")), 1u);
}

TEST_F(Ini, ReadsAWholeSectionWithItsValues) {
  Put("[Devices]\r\n"
      "Laser = winspool,LPT1:\r\n"
      ";Old=x\r\n"
      "Bare\r\n"
      "Empty=\r\n"
      "Quoted=\"a b\"\r\n"
      "[Next]\r\nk=v\r\n");
  auto section = [&](std::string_view name, uint32_t size) {
    std::string buffer(size, '#');
    uint32_t n = GetPrivateProfileSection(name, buffer.data(), size, file_);
    return std::make_pair(n, buffer.substr(0, buffer.find('#')));
  };
  // Comments are left out, values are kept as written (quotes too), an
  // entry without "=" is its name alone.
  EXPECT_EQ(section("devices", 64),
            std::make_pair(
                46u, std::string("Laser=winspool,LPT1:\0Bare\0Empty=\0Quoted=\"a b\"\0\0", 47)));
  // Cut short: the count is size - 2 and the last text is cut and ended by
  // two NULs, as Wine writes them.
  EXPECT_EQ(section("Devices", 12), std::make_pair(10u, std::string("Laser=wins\0\0", 12)));
  EXPECT_EQ(section("Missing", 64), std::make_pair(0u, std::string("\0\0", 2)));
  EXPECT_EQ(GetPrivateProfileSection("Devices", nullptr, 64, file_), 0u);
}

TEST_F(Ini, WritesCreateReplaceAndDelete) {
  EXPECT_TRUE(WritePrivateProfileString("Main", "Colour", "  Blue", file_));
  EXPECT_EQ(Text(), "[Main]\r\nColour=Blue\r\n");
  EXPECT_TRUE(WritePrivateProfileString(" main ", "COLOUR", "Red", file_));
  EXPECT_TRUE(WritePrivateProfileString("Second", "k", "v", file_));
  EXPECT_TRUE(WritePrivateProfileString("Main", "Size", "1", file_));
  EXPECT_EQ(Text(), "[Main]\r\nColour=Red\r\nSize=1\r\n[Second]\r\nk=v\r\n");
  EXPECT_TRUE(WritePrivateProfileString("main", "colour", std::nullopt, file_));
  EXPECT_TRUE(WritePrivateProfileString("second", std::nullopt, std::nullopt, file_));
  EXPECT_EQ(Text(), "[Main]\r\nSize=1\r\n");
  EXPECT_FALSE(WritePrivateProfileString(std::nullopt, "k", "v", file_));
  // Deleting what is not there leaves no file behind.
  EXPECT_TRUE(WritePrivateProfileString("a", "b", std::nullopt, dir_.File("never.ini")));
  EXPECT_FALSE(std::filesystem::exists(dir_.File("never.ini")));
  // Comments, junk and NUL bytes survive a rewrite as the platform keeps them.
  Put(std::string("; note\r\n[S]\r\njunk \x01 line\r\nnul=a\0b\r\n", 35));
  EXPECT_TRUE(WritePrivateProfileString("S", "new", "1", file_));
  EXPECT_EQ(Text(), "; note\r\n[S]\r\njunk \x01 line\r\nnul=a\r\nnew=1\r\n");
  // A folder that does not exist cannot be written; nothing is made.
  EXPECT_FALSE(WritePrivateProfileString("S", "k", "v", dir_.File("no/such/dir.ini")));
}

TEST_F(Ini, BareNamesGoToTheProfileFolder) {
  EXPECT_EQ(ProfilePath("app.ini"), dir_.path() / "app.ini");
  unsetenv("QOR_INI_DIR");
  setenv("XDG_CONFIG_HOME", dir_.File("cfg").c_str(), 1);
  EXPECT_EQ(ProfilePath("app.ini"), dir_.path() / "cfg" / "qorSupport" / "app.ini");
  EXPECT_TRUE(WritePrivateProfileString("S", "k", "v", "made.ini"));
  EXPECT_TRUE(std::filesystem::exists(dir_.path() / "cfg" / "qorSupport" / "made.ini"));
  unsetenv("XDG_CONFIG_HOME");
  EXPECT_EQ(ProfilePath("sub\\x.ini"), std::filesystem::absolute("sub/x.ini"));
}

TEST_F(Ini, IniReadAndIniWrite) {
  EXPECT_TRUE(reg_->IniWrite("app.ini", "Main", "Colour", Variant("Blue")));
  EXPECT_TRUE(reg_->IniWrite("app.ini", "Main", "Empty", Variant("\"\"")));
  Variant v = reg_->IniRead("app.ini", "main", "colour");
  ASSERT_TRUE(v.IsString());
  EXPECT_EQ(vb::Len(v.AsString()), 256);
  EXPECT_EQ(v.AsString().substr(0, 5), std::string("Blue\0", 5));
  // An entry with an empty value reads as Null; a missing one as the
  // default text and its NUL.
  EXPECT_TRUE(reg_->IniRead("app.ini", "Main", "Empty").IsNull());
  EXPECT_EQ(reg_->IniRead("app.ini", "Main", "None").AsString().substr(0, 10),
            std::string("!!ERROR!!\0", 10));
  EXPECT_EQ(reg_->IniRead("app.ini", "  ", "x").AsString().substr(0, 6),
            std::string("Main\0\0", 6));
  EXPECT_EQ(reg_->IniRead("app.ini", "Main", "").AsString().substr(0, 13),
            std::string("Colour\0Empty\0\0", 13));
  // A value longer than 253 characters comes back cut to 253.
  std::string long_value(300, 'v');
  EXPECT_TRUE(reg_->IniWrite("app.ini", "Main", "Long", Variant(long_value)));
  std::string got = reg_->IniRead("app.ini", "Main", "Long").AsString();
  EXPECT_EQ(got.find('\0'), 253u);
  // A blank value deletes the key.
  EXPECT_TRUE(reg_->IniWrite("app.ini", "Main", "Colour", Variant("   ")));
  EXPECT_EQ(reg_->IniRead("app.ini", "Main", "Colour").AsString().substr(0, 9), "!!ERROR!!");
  // Texts go to the file in the code page.
  EXPECT_TRUE(reg_->IniWrite("app.ini", "Main", "Name", Variant("Caf\u00e9")));
  EXPECT_NE(Text().find("Name=Caf\xe9\r\n"), std::string::npos);
  EXPECT_EQ(reg_->IniRead("app.ini", "Main", "Name").AsString().substr(0, 5), "Caf\u00e9");
}

}  // namespace
}  // namespace qor::registry
