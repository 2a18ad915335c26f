// qorWinAPIPrinter on a Windows-style profile file (QOR_PRINTER_PROFILE),
// through the class and through the qor program.

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>
#include <sstream>
#include <thread>

#include "qorsupport/shell/printer.h"
#include "testing/test_util.h"

namespace qor {
namespace {

// A win.ini as Windows keeps it: CR LF lines, texts in Windows-1252 ("\xFC"
// is u-umlaut), section names in any case.
constexpr char kWinIni[] =
    "[windows]\r\n"
    "load=\r\n"
    "Device=Office Laser,winspool,LPT1:\r\n"
    "[Devices]\r\n"
    "Office Laser=winspool,LPT1:\r\n"
    "B\xFCro Jet = winspool,Ne01:\r\n"
    ";Old Printer=winspool,LPT2:\r\n"
    "Fax=FAXDRV\r\n"
    "Plain\r\n"
    "[PrinterPorts]\r\n"
    "Office Laser=winspool,LPT1:,15,45\r\n";

constexpr char kOffice[] = "Office Laser,winspool,LPT1:";
constexpr char kBuero[] = "B\xC3\xBCro Jet,winspool,Ne01:";

// Runs body on a thread of its own, which starts with nothing remembered.
void OnFreshThread(const std::function<void()>& body) { std::thread(body).join(); }

class ProfileFilePrinters : public ::testing::Test {
 protected:
  ProfileFilePrinters() { setenv("QOR_PRINTER_PROFILE", file_.c_str(), 1); }
  ~ProfileFilePrinters() override { unsetenv("QOR_PRINTER_PROFILE"); }

  void Put(const std::string& bytes) { std::ofstream(file_, std::ios::binary) << bytes; }
  std::string Text() const {
    std::ifstream in(file_, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
  }
  static std::vector<Variant> Listed(qorWinAPIPrinter& printers) {
    Variant list(Array(VarType::kString, {{0, -1}}));
    if (!printers.GetPrinters(list)) return {};
    EXPECT_EQ(list.AsArray().DimensionBounds(1).lower, 0);
    return list.AsArray().elements();
  }

  testing::TempDir dir_;
  std::string file_ = dir_.File("win.ini");
};

TEST_F(ProfileFilePrinters, ReadsTheDefaultAndTheDevicesOfAWindowsProfile) {
  testing::ScriptedUi ui;
  Put(kWinIni);
  qorWinAPIPrinter printers;
  EXPECT_EQ(printers.GetDefaultPrinter(), Variant(kOffice));
  // Comments are left out; an entry without "," has its text as driver and
  // port, one without "=" its name as all three.
  std::vector<Variant> expected = {Variant(kOffice), Variant(kBuero), Variant("Fax,FAXDRV,FAXDRV"),
                                   Variant("Plain,Plain,Plain")};
  EXPECT_EQ(Listed(printers), expected);
  EXPECT_EQ(printers.GetPrinterListForControl(),
            Variant(std::string(kOffice) + ";" + kBuero + ";Fax,FAXDRV,FAXDRV;Plain,Plain,Plain"));

  // The list offers the file's printers in order; the answer is the chosen
  // one's device text.
  ui->Queue(Variant(3));
  EXPECT_EQ(printers.SelectPrinter("Which printer?"), "Plain,Plain,Plain");
  auto events = ui->TakeEvents();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].Field("items").AsArray().elements(), expected);

  // A default without commas is every piece.
  Put("[Windows]\r\nDevice=Office\r\n[DEVICES]\r\nOffice=winspool,LPT1:\r\n");
  EXPECT_EQ(printers.GetDefaultPrinter(), Variant("Office,Office,Office"));
  EXPECT_EQ(printers.SelectPrinter("Which printer?"), "Office,winspool,LPT1:");  // not asked
  EXPECT_TRUE(ui->Events().empty());
}

TEST_F(ProfileFilePrinters, SetDefaultPrinterWritesTheEntryAndKeepsTheRest) {
  testing::ScriptedUi ui;
  Put(kWinIni);
  qorWinAPIPrinter printers;
  EXPECT_TRUE(printers.SetDefaultPrinter(Variant(kBuero)));
  EXPECT_EQ(printers.GetDefaultPrinter(), Variant(kBuero));
  std::string text = Text();
  EXPECT_NE(text.find("[windows]\r\nload=\r\nDevice=B\xFCro Jet,winspool,Ne01:\r\n[Devices]\r\n"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find(";Old Printer=winspool,LPT2:\r\n"), std::string::npos);
  EXPECT_NE(text.find("Office Laser=winspool,LPT1:,15,45\r\n"), std::string::npos);

  OnFreshThread([&] {
    // Twice in a row, the second time the user's choice: ReSetPrinter
    // writes back the printer of the first call.
    EXPECT_TRUE(printers.SetPrinter(Variant("Fax,FAXDRV,FAXDRV")));
    ui->Queue(Variant(0));
    EXPECT_TRUE(printers.SetPrinter(Variant("")));
    EXPECT_EQ(ui->TakeEvents().size(), 1u);
    EXPECT_EQ(printers.GetDefaultPrinter(), Variant(kOffice));
    EXPECT_TRUE(printers.ReSetPrinter());
    EXPECT_NE(Text().find("\r\nDevice=Fax,FAXDRV,FAXDRV\r\n"), std::string::npos);
  });

  // A missing file is made with the one section.
  std::remove(file_.c_str());
  EXPECT_TRUE(printers.SetDefaultPrinter(Variant(kOffice)));
  EXPECT_EQ(Text(), "[Windows]\r\nDevice=Office Laser,winspool,LPT1:\r\n");
  EXPECT_TRUE(Listed(printers).empty());
  EXPECT_TRUE(ui->Events().empty());
}

TEST_F(ProfileFilePrinters, TheSectionIsReadInto2048Characters) {
  std::string ini = "[DEVICES]\r\n";
  for (int i = 0; i < 100; ++i) {
    ini += "Printer " + std::to_string(100 + i) + "=winspool,LPT1:\r\n";
  }
  Put(ini);
  qorWinAPIPrinter printers;
  // 27 characters an entry: 75 whole ones fit, the cut 76th is no printer.
  std::vector<Variant> listed = Listed(printers);
  ASSERT_EQ(listed.size(), 75u);
  EXPECT_EQ(listed.back(), Variant("Printer 174,winspool,LPT1:"));
}

TEST_F(ProfileFilePrinters, MissingUnreadableAndUnwritableFilesFailQuietly) {
  testing::ScriptedUi ui;
  Variant kept(Array(VarType::kString, {{0, 0}}));
  kept.AsArray().elements()[0] = Variant("kept");
  // The checks on the file QOR_PRINTER_PROFILE names, a bit per failure.
  auto fails_quietly = [&kept] {
    qorWinAPIPrinter printers;
    int bits = 0;
    auto expect = [&bits](int bit, bool ok) { bits |= ok ? 0 : 1 << bit; };
    expect(0, printers.GetDefaultPrinter().IsNull());
    expect(1, !printers.GetPrinters(kept));
    expect(2, kept.AsArray().elements()[0] == Variant("kept"));
    expect(3, printers.SelectPrinter("Pick").empty());
    expect(4, printers.GetPrinterListForControl() == Variant(""));
    expect(5, !printers.SetPrinter(Variant("")));
    expect(6, !printers.SetDefaultPrinter(Variant(kBuero)));
    return bits;
  };
  // A file that does not exist, in a folder that does not either.
  setenv("QOR_PRINTER_PROFILE", dir_.File("none/win.ini").c_str(), 1);
  EXPECT_EQ(fails_quietly(), 0);
  EXPECT_FALSE(std::filesystem::exists(dir_.File("none")));

  // A file its user may not read, and one in a folder they may not write.
  Put(kWinIni);
  ASSERT_EQ(chmod(dir_.path().c_str(), 0755), 0);
  ASSERT_EQ(chmod(file_.c_str(), 0600), 0);
  std::string readable = dir_.File("readable.ini");
  std::ofstream(readable, std::ios::binary) << kWinIni;
  ASSERT_EQ(chmod(readable.c_str(), 0644), 0);
  setenv("QOR_PRINTER_PROFILE", file_.c_str(), 1);
  int failed = testing::RunUnprivileged([&] {
    int bits = fails_quietly();
    setenv("QOR_PRINTER_PROFILE", readable.c_str(), 1);
    qorWinAPIPrinter printers;
    bits |= printers.GetDefaultPrinter() == Variant(kOffice) ? 0 : 1 << 7;
    bits |= printers.SetDefaultPrinter(Variant(kBuero)) ? 1 << 8 : 0;
    return bits;
  });
  EXPECT_EQ(failed, 0) << "a bit per failed expectation, in the order of the checks";
  EXPECT_EQ(Text(), kWinIni);
  std::ifstream in(readable, std::ios::binary);
  std::stringstream after;
  after << in.rdbuf();
  EXPECT_EQ(after.str(), kWinIni);
  EXPECT_TRUE(ui->Events().empty());
}

TEST_F(ProfileFilePrinters, TheQorProgramUsesTheProfileFile) {
  Put(kWinIni);
  testing::RunResult list = testing::RunProgram({testing::QorBinary(), "printers"}, "");
  EXPECT_EQ(list.status, 0) << list.err;
  EXPECT_EQ(list.out, std::string(kOffice) + "  (default)\n" + kBuero +
                          "\nFax,FAXDRV,FAXDRV\nPlain,Plain,Plain\n");
  testing::RunResult run = testing::RunProgram(
      {testing::QorBinary(), "automation"}, R"({"id":1,"create":"qorSupport.qorWinAPIPrinter"})"
                                            "\n"
                                            R"({"id":2,"answers":[3]})"
                                            "\n"
                                            R"({"id":3,"on":1,"call":"SetPrinter","args":[null]})"
                                            "\n"
                                            R"({"id":4,"on":1,"call":"GetDefaultPrinter"})"
                                            "\n"
                                            R"({"id":5,"on":1,"call":"ReSetPrinter"})"
                                            "\n");
  ASSERT_EQ(run.status, 0) << run.err;
  std::vector<nlohmann::json> r;
  std::istringstream lines(run.out);
  for (std::string line; std::getline(lines, line);) r.push_back(nlohmann::json::parse(line));
  ASSERT_EQ(r.size(), 5u) << run.out;
  EXPECT_EQ(r[2]["result"], true);
  EXPECT_EQ(r[2]["ui"][0]["title"], "Please select printer");
  EXPECT_EQ(r[3]["result"], "Plain,Plain,Plain");
  EXPECT_EQ(r[4]["result"], true);
  EXPECT_NE(Text().find("\r\nDevice=Office Laser,winspool,LPT1:\r\n"), std::string::npos);
}

}  // namespace
}  // namespace qor
