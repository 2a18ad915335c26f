// The export file byte for byte, the parser's marker rules and errors, and
// bad input that must leave the store as it was.

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <sstream>

#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb.h"
#include "registry/codepage.h"
#include "registry/export_format.h"
#include "registry/registry_test_fixture.h"

namespace qor::registry {
namespace {

std::string ReadAll(const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

void WriteAll(const std::string& file, const std::string& bytes) {
  std::ofstream(file, std::ios::binary) << bytes;
}

// The file with its time stamps replaced by "<stamp>", after checking them.
std::string Unstamped(const std::string& bytes) {
  static const std::regex stamp(
      "// [0-3][0-9]-[01][0-9]-[0-9]{4} [0-2][0-9]:[0-5][0-9]:[0-5][0-9]\r");
  return std::regex_replace(bytes, stamp, "// <stamp>\r");
}

// The error a call raises, as "number source description".
template <typename Call>
std::string Raised(Call&& call) {
  try {
    call();
  } catch (const Error& e) {
    return std::to_string(e.number()) + " " + e.source() + " " + e.description();
  }
  return "no error";
}

class ExportFile : public RegistryFixture {
 protected:
  std::string file_ = dir_.File("export.txt");
};

TEST_F(ExportFile, WritesTheFormatByteForByte) {
  reg_->RegistrySaveValueString(kCurrentUser, "Software\\Acme", "Name", "Main");
  reg_->RegistrySaveValueLong(kCurrentUser, "Software\\Acme\\Window", "Left", 100);
  reg_->RegistrySaveValueBinary(kCurrentUser, "Software\\Acme\\Window", "Flags",
                                std::string("\x01", 1), 2);
  reg_->RegistryCreateKey(kCurrentUser, "Software\\Acme\\Window\\Empty");
  ASSERT_TRUE(reg_->RegistryWriteKeyToFile(kCurrentUser, "Software\\Acme", Variant(file_)));
  EXPECT_EQ(Unstamped(ReadAll(file_)),
            "\r\n// <stamp>\r\n\r\n"
            "[HKEY_CURRENT_USER]Software\\Acme\r\nName=Main\r\n\r\n"
            "[HKEY_CURRENT_USER]Software\\Acme\\Window\r\nLeft=DWORD:00000064\r\n"
            "Flags=HEX:01,00\r\n\r\n"
            "[HKEY_CURRENT_USER]Software\\Acme\\Window\\Empty\r\n\r\n");
  // Append mode adds the stamp, an empty line and the tree, no leading line.
  ASSERT_TRUE(reg_->RegistryWriteKeyToFile(kCurrentUser, "Software\\Acme\\Window\\Empty",
                                           Variant(file_), true));
  EXPECT_TRUE(Unstamped(ReadAll(file_))
                  .ends_with("Empty\r\n\r\n// <stamp>\r\n\r\n"
                             "[HKEY_CURRENT_USER]Software\\Acme\\Window\\Empty\r\n\r\n"));
}

TEST_F(ExportFile, EncodingsRoundTrip) {
  reg_->RegistrySaveValueLong(kCurrentUser, "R", "Minus", -1);
  reg_->RegistrySaveValueLong(kCurrentUser, "R", "Byte", 255);
  reg_->RegistrySaveValueBinary(kCurrentUser, "R", "Mask",
                                FromCodePage(std::string("\x0a\xff\x00", 3)), 3);
  reg_->RegistrySaveValueBinary(kCurrentUser, "R", "None", "", 0);
  reg_->RegistrySaveValueString(kCurrentUser, "R", "Caf\u00e9", "cr\u00e8me");
  HKey h = 0;
  ASSERT_EQ(reg_->store().OpenKey(kCurrentUser, "R", &h), kSuccess);
  reg_->store().SetValue(h, "Path", kRegExpandSz, reinterpret_cast<const uint8_t*>("%HOME%\0x"), 8);
  reg_->store().CloseKey(h);
  // The expandable string has no place in the format: it is left out and
  // named, the rest is written.
  EXPECT_FALSE(reg_->RegistryWriteKeyToFile(kCurrentUser, "R", Variant(file_), false, true));
  EXPECT_EQ(
      Reports(),
      (std::vector<std::string>{"The export file cannot carry 1 value(s), left out: R\\Path"}));
  std::string text = ReadAll(file_);
  EXPECT_NE(text.find("\r\nMinus=DWORD:FFFFFFFF\r\nByte=DWORD:000000FF\r\nMask=HEX:0A,FF,00\r\n"
                      "None=HEX:\r\nCaf\xe9=cr\xe8me\r\n\r\n"),
            std::string::npos)
      << text;
  reg_->RegistryDestroyKey(kCurrentUser, "R");
  ASSERT_TRUE(reg_->RegistryReadKeyFromFile(Variant(file_)));
  EXPECT_EQ(reg_->RegistryGetValueLong(kCurrentUser, "R", "Minus"), -1);
  EXPECT_EQ(reg_->RegistryGetValueLong(kCurrentUser, "R", "Byte"), 255);
  std::string mask;
  ASSERT_TRUE(reg_->RegistryGetValueBinary(kCurrentUser, "R", "Mask", mask));
  EXPECT_EQ(ToCodePage(mask).substr(0, 4), std::string("\x0a\xff\x00 ", 4));
  EXPECT_EQ(reg_->RegistryGetValueString(kCurrentUser, "R", "caf\u00c9"), Variant("cr\u00e8me"));
  EXPECT_EQ(reg_->RegistryGetValue(kCurrentUser, "R", "Path", Variant("none")), Variant("none"));
}

TEST_F(ExportFile, ParserRulesAndQuirks) {
  EXPECT_FALSE(ParseExportLine("   ").content);
  EXPECT_FALSE(ParseExportLine(";Name=x").content);
  EXPECT_FALSE(ParseExportLine("#x").content);
  EXPECT_FALSE(ParseExportLine("// x").content);
  EXPECT_EQ(Raised([] { ParseExportLine("  // x"); }),
            "9999 regParseFileLine() Panic - no equals sign");
  EXPECT_EQ(Raised([] { ParseExportLine("Name"); }),
            "9999 regParseFileLine() Panic - no equals sign");
  // A root name anywhere makes a key line, cut by the root's length.
  ExportLine key = ParseExportLine("xx[HKEY_USERS]A\\B");
  EXPECT_EQ(key.root, kUsers);
  EXPECT_EQ(key.key_path, "S]A\\B");
  // Markers anywhere in the data, then a fixed cut from the front.
  ExportLine s = ParseExportLine("Note=see HEX:41");
  EXPECT_EQ(s.type, kRegBinary);
  EXPECT_EQ(s.data, std::string("\0\0", 2));  // "HEX:41" read in pairs "HE", ":4"
  ExportLine odd = ParseExportLine("Odd=HEX:1,G2,ZZ,A");
  EXPECT_EQ(odd.data, std::string("\x01\x02\x00", 3));  // "1,", "2,", "Z,"
  ExportLine d = ParseExportLine("D=DWORD:7fffffff");
  EXPECT_EQ(d.type, kRegDword);
  EXPECT_EQ(d.number, 0x7fffffff);
  EXPECT_EQ(ParseExportLine("a=b=c").data, "b=c");
  EXPECT_EQ(Raised([] { KeyLine(static_cast<HKey>(0x80000004u), "x"); }),
            "9999 writeLineRegKey() Invalid registry key");
  EXPECT_EQ(Raised([] { ValueLine(7, "m", "", 0); }),
            "9999 writeLineRegValue() Invalid value type");
  EXPECT_EQ(SplitExportLines("a\r\nb\rc\nd"), (std::vector<std::string_view>{"a", "b", "c", "d"}));
}

TEST_F(ExportFile, ReaderErrorsLeaveTheStoreAsItWas) {
  reg_->RegistrySaveValueString(kCurrentUser, "Keep", "v", "old");
  struct Case {
    std::string file;
    std::string error;
  } cases[] = {
      {"Orphan=1\r\n", "9999 RegistryReadKeyFromFile() Error writing REG_SZ Orphan"},
      {"[HKEY_CURRENT_USER]Imp\r\nA=1\r\n=default\r\nB=2\r\n",
       "9999 RegistryReadKeyFromFile() State error"},
      {"[HKEY_CURRENT_USER]Imp\r\nA=1\r\nbroken line\r\n",
       "9999 regParseFileLine() Panic - no equals sign"},
      {"[HKEY_CURRENT_USER]\\Imp\r\n", "9999 RegistryReadKeyFromFile() Error creating key \\Imp"},
      {"[HKEY_CURRENT_USER]Imp\r\nD=DWORD:123456789\r\n", "6 regParseFileLine() Overflow"},
      {std::string("[HKEY_CURRENT_USER]Imp\r\nJunk=\x00\x01\xff\r\n\x00\x01\xff\r\n", 40),
       "9999 regParseFileLine() Panic - no equals sign"},
  };
  for (const Case& c : cases) {
    WriteAll(file_, c.file);
    EXPECT_EQ(Raised([&] { reg_->RegistryReadKeyFromFile(Variant(file_)); }), c.error) << c.file;
  }
  EXPECT_FALSE(reg_->RegistryCheckKey(kCurrentUser, "Imp"));
  EXPECT_EQ(reg_->RegistryGetValueString(kCurrentUser, "Keep", "v"), Variant("old"));
  EXPECT_EQ(Raised([&] { reg_->RegistryReadKeyFromFile(Variant(dir_.File("none"))); }),
            "53 RegistryReadKeyFromFile() " + dir_.File("none") + ": file not found");
  // A huge line is read whole.
  WriteAll(file_, "[HKEY_CURRENT_USER]Imp\r\nBig=" + std::string(100000, 'x') + "\r\n");
  EXPECT_TRUE(reg_->RegistryReadKeyFromFile(Variant(file_)));
  EXPECT_EQ(vb::Len(reg_->RegistryGetValueString(kCurrentUser, "Imp", "Big").AsString()), 100000);
}

// Every value goes out whole, or is named and the call gives False; what
// comes back from the file is what went out.
TEST_F(ExportFile, WriterCarriesValuesWholeOrNamesThem) {
  std::string long_text(3000, 'x');
  reg_->RegistrySaveValueString(kCurrentUser, "W", "Long", long_text);
  for (const char* name : {"x=y", "Text", "Cr"}) {
    reg_->RegistrySaveValueString(kCurrentUser, "W", name, "1");
  }
  reg_->RegistrySaveValueString(kCurrentUser, "W", "Text", "DWORD:0000002A");
  reg_->RegistrySaveValueString(kCurrentUser, "W", "Cr", "a\r\n[HKEY_LOCAL_MACHINE]Evil");
  reg_->RegistrySaveValueString(kCurrentUser, "W", "", "default");
  reg_->RegistrySaveValueLong(kCurrentUser, "W", "After", 7);
  EXPECT_FALSE(reg_->RegistryWriteKeyToFile(kCurrentUser, "W", Variant(file_), false, true));
  EXPECT_EQ(Reports(), (std::vector<std::string>{"The export file cannot carry 4 value(s), left "
                                                 "out: W\\x=y, W\\Text, W\\Cr, W\\(default)"}));
  reg_->RegistryDestroyKey(kCurrentUser, "W");
  ASSERT_TRUE(reg_->RegistryReadKeyFromFile(Variant(file_)));
  EXPECT_EQ(reg_->RegistryGetValueString(kCurrentUser, "W", "Long"), Variant(long_text));
  EXPECT_EQ(reg_->RegistryGetValueLong(kCurrentUser, "W", "After"), 7);
  EXPECT_EQ(reg_->RegistryGetValue(kCurrentUser, "W", "Text", Variant("none")), Variant("none"));
  EXPECT_FALSE(reg_->RegistryCheckKey(kLocalMachine, "Evil"));
}

TEST_F(ExportFile, WriterStopsAtAnUnsupportedValueAndReportsEveryLevel) {
  reg_->RegistrySaveValueString(kCurrentUser, "T\\A\\B", "ok", "1");
  HKey h = 0;
  ASSERT_EQ(reg_->store().OpenKey(kCurrentUser, "T\\A\\B", &h), kSuccess);
  reg_->store().SetValue(h, "Multi", kRegMultiSz, reinterpret_cast<const uint8_t*>("a\0b\0\0"), 5);
  reg_->store().CloseKey(h);
  EXPECT_FALSE(reg_->RegistryWriteKeyToFile(kCurrentUser, "T", Variant(file_), false, true));
  EXPECT_EQ(Reports(), (std::vector<std::string>{"Unsupported value type 7 on Multi",
                                                 "Recursive call error on T\\A",
                                                 "Recursive call error on T"}));
  // What was written before the failure stays.
  EXPECT_NE(ReadAll(file_).find("[HKEY_CURRENT_USER]T\\A\\B\r\nok=1\r\n"), std::string::npos);
  EXPECT_FALSE(reg_->RegistryWriteKeyToFile(kCurrentUser, "Missing", Variant(file_), false, true));
  EXPECT_EQ(Reports(), (std::vector<std::string>{"Unable to open Source key"}));
  EXPECT_EQ(Raised([&] {
              reg_->RegistryWriteKeyToFile(static_cast<int32_t>(0x80000004u), "", Variant(file_));
            }),
            "no error");  // the key cannot be opened before its line is written
}

}  // namespace
}  // namespace qor::registry
