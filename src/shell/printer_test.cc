// qorWinAPIPrinter and ExecDoc "print" against a private CUPS server.

#include "qorsupport/shell/printer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <set>
#include <sstream>
#include <thread>

#include "qorsupport/shell/winapi.h"
#include "shell/cups_test_server.h"
#include "shell/test_files.h"
#include "testing/test_util.h"

namespace qor {
namespace {

using shell::ahtGetToken;

// Runs body on a thread of its own, which starts with nothing remembered.
void OnFreshThread(const std::function<void()>& body) { std::thread(body).join(); }

TEST(AhtGetToken, PiecesOfADelimitedText) {
  EXPECT_EQ(ahtGetToken(Variant("a,b,c"), ",", 1), Variant("a"));
  EXPECT_EQ(ahtGetToken(Variant("a,b,c"), ",", 2), Variant("b"));
  EXPECT_EQ(ahtGetToken(Variant("a,b,c"), ",", 3), Variant("c"));
  EXPECT_TRUE(ahtGetToken(Variant("a,b,c"), ",", 4).IsNull());
  EXPECT_TRUE(ahtGetToken(Variant("a,b,c"), ",", 9).IsNull());
  EXPECT_EQ(ahtGetToken(Variant("a,,c"), ",", 2), Variant(""));
  EXPECT_EQ(ahtGetToken(Variant("a,b,"), ",", 3), Variant(""));
  // Only the delimiter's first character counts.
  EXPECT_EQ(ahtGetToken(Variant("a,b;c"), ",;", 2), Variant("b;c"));
  // Without the delimiter, or below piece 1: the whole text.
  EXPECT_EQ(ahtGetToken(Variant("Office Laser"), ",", 3), Variant("Office Laser"));
  EXPECT_EQ(ahtGetToken(Variant("a,b"), ",", 0), Variant("a,b"));
  EXPECT_EQ(ahtGetToken(Variant("a,b"), ",", -1), Variant("a,b"));
  EXPECT_EQ(ahtGetToken(Variant("x\xC3\xA9y\xC3\xA9z"), "\xC3\xA9!", 3), Variant("z"));
  EXPECT_EQ(ahtGetToken(Variant(std::string("p=d,1\0q=e,2\0", 12)), std::string(1, '\0'), 2),
            Variant("q=e,2"));
}

TEST(AhtGetToken, AnErrorIsReportedAndGivesNull) {
  testing::ScriptedUi ui;
  EXPECT_TRUE(ahtGetToken(Variant::Null(), ",", 1).IsNull());
  auto events = ui->TakeEvents();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].Field("text").AsString().rfind("Error in ahtGetToken: ", 0), 0u);
}

class CupsPrinters : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { server_ = new shell::CupsServer(); }
  static void TearDownTestSuite() {
    delete server_;
    server_ = nullptr;
  }
  void SetUp() override { ASSERT_TRUE(server_->running()) << server_->StartError(); }

  // Brings the server to exactly these queues, the first the server's
  // default, and forgets the user's own default.
  static void UseQueues(const std::vector<std::string>& names) {
    for (std::string name : {"Office", "Zebra"}) {
      bool wanted = std::find(names.begin(), names.end(), name) != names.end();
      bool present = queues_.count(name) > 0;
      if (wanted && !present) {
        ASSERT_TRUE(server_->AddQueue(name, Out(name)));
        queues_.insert(name);
      } else if (!wanted && present) {
        ASSERT_TRUE(server_->RemoveQueue(name));
        queues_.erase(name);
      }
    }
    if (!names.empty()) {
      ASSERT_TRUE(server_->SetServerDefault(names[0]));
    }
    std::remove((server_->home() + "/.cups/lpoptions").c_str());
  }

  static std::string Out(const std::string& queue) {
    return server_->folder() + "/" + queue + ".out";
  }
  static std::string Device(const std::string& queue) {
    return queue + ",cups,file://" + Out(queue);
  }

  static shell::CupsServer* server_;
  static std::set<std::string> queues_;
};

shell::CupsServer* CupsPrinters::server_ = nullptr;
std::set<std::string> CupsPrinters::queues_;

TEST_F(CupsPrinters, WithoutPrintersEverythingFailsQuietly) {
  testing::ScriptedUi ui;
  ASSERT_NO_FATAL_FAILURE(UseQueues({}));
  qorWinAPIPrinter printers;
  EXPECT_TRUE(printers.GetDefaultPrinter().IsNull());
  Variant list(Array(VarType::kString, {{0, 0}}));
  list.AsArray().elements()[0] = Variant("kept");
  EXPECT_FALSE(printers.GetPrinters(list));
  EXPECT_EQ(list.AsArray().elements()[0], Variant("kept"));
  EXPECT_EQ(printers.SelectPrinter("Pick"), "");
  EXPECT_EQ(printers.GetPrinterListForControl(), Variant(""));
  OnFreshThread([&] {
    EXPECT_FALSE(printers.SetPrinter(Variant("")));
    EXPECT_FALSE(printers.ReSetPrinter());
  });
  EXPECT_FALSE(printers.SetDefaultPrinter(Variant("nosuch,cups,file:///x")));
  EXPECT_TRUE(ui->Events().empty());
}

TEST_F(CupsPrinters, OnePrinterIsChosenWithoutAskingAndPrintsDocuments) {
  testing::ScriptedUi ui;
  ASSERT_NO_FATAL_FAILURE(UseQueues({"Office"}));
  qorWinAPIPrinter printers;
  EXPECT_EQ(printers.GetDefaultPrinter(), Variant(Device("Office")));
  EXPECT_EQ(printers.SelectPrinter("Pick"), Device("Office"));
  EXPECT_TRUE(ui->Events().empty());

  std::string doc = server_->folder() + "/report.txt";
  std::ofstream(doc) << "Quarterly report\n";
  qorWinAPI api;
  EXPECT_FALSE(api.ExecDoc(doc, 1, true, false, true));
  EXPECT_EQ(server_->WaitForOutput(Out("Office")), "Quarterly report\n");
  EXPECT_TRUE(ui->Events().empty());
}

TEST_F(CupsPrinters, TwoPrintersListSelectAndSwitchTheDefault) {
  testing::ScriptedUi ui;
  ASSERT_NO_FATAL_FAILURE(UseQueues({"Office", "Zebra"}));
  qorWinAPIPrinter printers;
  Variant list(Array(VarType::kString, {{0, -1}}));
  EXPECT_TRUE(printers.GetPrinters(list));
  ASSERT_EQ(list.AsArray().ElementCount(), 2);
  EXPECT_EQ(list.AsArray().DimensionBounds(1).lower, 0);
  EXPECT_EQ(list.AsArray().elements()[0], Variant(Device("Office")));
  EXPECT_EQ(list.AsArray().elements()[1], Variant(Device("Zebra")));
  EXPECT_EQ(printers.GetPrinterListForControl(), Variant(Device("Office") + ";" + Device("Zebra")));

  ui->Queue(Variant(1));
  EXPECT_EQ(printers.SelectPrinter("Which printer?"), Device("Zebra"));
  ui->Queue(Variant::Null());
  EXPECT_EQ(printers.SelectPrinter(), "");
  auto events = ui->TakeEvents();
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].kind, "List");
  EXPECT_EQ(events[0].Field("title"), Variant("Which printer?"));
  EXPECT_EQ(events[1].Field("title"), Variant("List Form"));

  // The user's default, as lpoptions keeps it, round-trips the device text.
  EXPECT_TRUE(printers.SetDefaultPrinter(list.AsArray().elements()[1]));
  EXPECT_EQ(printers.GetDefaultPrinter(), Variant(Device("Zebra")));
  EXPECT_NE(shell::ReadText(server_->home() + "/.cups/lpoptions").find("Default Zebra"),
            std::string::npos);
  EXPECT_TRUE(printers.SetDefaultPrinter(Variant("Office")));  // a text without commas
  EXPECT_EQ(printers.GetDefaultPrinter(), Variant(Device("Office")));
  EXPECT_FALSE(printers.SetDefaultPrinter(Variant("Nowhere,cups,file:///x")));
  EXPECT_FALSE(printers.SetDefaultPrinter(Variant::Null()));
  EXPECT_EQ(printers.GetDefaultPrinter(), Variant(Device("Office")));
}

TEST_F(CupsPrinters, SetPrinterRemembersPerThreadAndReSetPrinterRestores) {
  testing::ScriptedUi ui;
  ASSERT_NO_FATAL_FAILURE(UseQueues({"Office", "Zebra"}));
  OnFreshThread([&] {
    qorWinAPIPrinter printers;
    // A blank printer asks; cancelling changes nothing.
    ui->Queue(Variant::Null());
    EXPECT_FALSE(printers.SetPrinter(Variant::Null()));
    EXPECT_FALSE(printers.ReSetPrinter());
    auto events = ui->TakeEvents();
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].Field("title"), Variant("Please select printer"));
    EXPECT_EQ(printers.GetDefaultPrinter(), Variant(Device("Office")));

    // Twice in a row: the second call remembers the first one's printer.
    EXPECT_TRUE(printers.SetPrinter(Variant(Device("Zebra"))));
    ui->Queue(Variant(0));
    EXPECT_TRUE(printers.SetPrinter(Variant("")));  // the user picks Office
    EXPECT_EQ(printers.GetDefaultPrinter(), Variant(Device("Office")));
    qorWinAPIPrinter other;  // the same thread shares the remembered printer
    EXPECT_TRUE(other.ReSetPrinter());
    EXPECT_EQ(printers.GetDefaultPrinter(), Variant(Device("Zebra")));
    OnFreshThread([] { EXPECT_FALSE(qorWinAPIPrinter().ReSetPrinter()); });
    EXPECT_TRUE(printers.SetDefaultPrinter(Variant(Device("Office"))));
  });
}

TEST_F(CupsPrinters, PrintingWithoutADefaultOrServerIsNumber31) {
  testing::ScriptedUi ui;
  ASSERT_NO_FATAL_FAILURE(UseQueues({}));
  std::remove(Out("Office").c_str());
  qorWinAPI api;
  std::string doc = server_->folder() + "/note.txt";
  std::ofstream(doc) << "note\n";
  EXPECT_FALSE(api.ExecDoc(doc, 1, true, false, true));  // no default destination
  ASSERT_NO_FATAL_FAILURE(UseQueues({"Office"}));
  std::string server = std::getenv("CUPS_SERVER");
  setenv("CUPS_SERVER", (server_->folder() + "/not-running.sock").c_str(), 1);
  auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(api.ExecDoc(doc, 1, true, false, true));
  qorWinAPIPrinter printers;
  EXPECT_TRUE(printers.GetDefaultPrinter().IsNull());
  Variant list(Array(VarType::kString, {{0, -1}}));
  EXPECT_FALSE(printers.GetPrinters(list));
  EXPECT_FALSE(printers.SetDefaultPrinter(Variant(Device("Office"))));
  EXPECT_EQ(printers.GetPrinterListForControl(), Variant(""));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  setenv("CUPS_SERVER", server.c_str(), 1);
  auto events = ui->TakeEvents();
  ASSERT_EQ(events.size(), 2u);
  for (const ui::UiEvent& event : events) {
    EXPECT_EQ(event.Field("text"), Variant("Error trying to ShellExecute 31"));
  }
  EXPECT_EQ(shell::ReadText(Out("Office")), "");
}

}  // namespace
}  // namespace qor
