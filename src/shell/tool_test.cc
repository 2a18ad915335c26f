// The shell classes as clients meet them: `qor automation`, and the
// `qor printers`, `qor print` and `qor open` commands, against a private
// CUPS server.

#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "shell/cups_test_server.h"
#include "testing/test_util.h"

namespace qor {
namespace {

using Json = nlohmann::json;

class ShellTool : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(server_.running()) << server_.StartError();
    ASSERT_TRUE(server_.AddQueue("Office", Out("Office")));
    ASSERT_TRUE(server_.AddQueue("Zebra", Out("Zebra")));
    ASSERT_TRUE(server_.SetServerDefault("Office"));
  }
  std::string Out(const std::string& queue) const {
    return server_.folder() + "/" + queue + ".out";
  }
  std::string Device(const std::string& queue) const {
    return queue + ",cups,file://" + Out(queue);
  }
  testing::RunResult Qor(const std::vector<std::string>& args, const std::string& input = "") {
    std::vector<std::string> argv = {testing::QorBinary()};
    argv.insert(argv.end(), args.begin(), args.end());
    return testing::RunProgram(argv, input);
  }

  shell::CupsServer server_;
};

TEST_F(ShellTool, AutomationServesBothClasses) {
  testing::RunResult run = Qor(
      {"automation"},
      R"({"id":1,"create":"qorWinAPI"})"
      "\n"
      R"({"id":2,"on":1,"call":"SwabString","args":["abc\u0000def"]})"
      "\n"
      R"({"id":3,"on":1,"call":"ExecCmd","args":["sh -c \"exit 3\"",true]})"
      "\n"
      R"({"id":4,"on":1,"call":"ConvertPixelsToTwips","args":[3,false]})"
      "\n"
      R"({"id":5,"on":1,"call":"GetSysErrorMsg","args":[99999]})"
      "\n"
      R"({"id":6,"on":1,"call":"ExecDoc","args":["/tmp/qor-no-such-file-10.txt",1,false,false,true]})"
      "\n"
      R"({"id":7,"create":"qorSupport.qorWinAPIPrinter"})"
      "\n"
      R"({"id":8,"on":2,"call":"GetPrinters","args":[[]]})"
      "\n"
      R"({"id":9,"answers":[1]})"
      "\n"
      R"({"id":10,"on":2,"call":"SelectPrinter","args":["Which one?"]})"
      "\n"
      R"({"id":11,"on":2,"call":"GetDefaultPrinter"})"
      "\n");
  ASSERT_EQ(run.status, 0) << run.err;
  std::vector<Json> r;
  std::istringstream lines(run.out);
  for (std::string line; std::getline(lines, line);) r.push_back(Json::parse(line));
  ASSERT_EQ(r.size(), 11u) << run.out;
  EXPECT_EQ(r[1]["result"], "abc");
  EXPECT_EQ(r[2]["result"], (Json{{"$", "Long"}, {"v", 3}}));
  EXPECT_EQ(r[3]["result"], (Json{{"$", "Long"}, {"v", 45}}));
  EXPECT_EQ(r[3]["byref"]["0"], (Json{{"$", "Long"}, {"v", 3}}));
  EXPECT_EQ(r[4]["result"], nullptr);
  EXPECT_EQ(r[4]["ui"][0]["text"], "FormatMessage Error: 99999");
  EXPECT_EQ(r[5]["result"], false);
  EXPECT_EQ(r[5]["ui"][0]["text"], "Error trying to ShellExecute 2");
  EXPECT_EQ(r[7]["result"], true);
  EXPECT_EQ(r[7]["byref"]["0"], (Json{{"$", "Array"},
                                      {"type", "String"},
                                      {"bounds", {{0, 1}}},
                                      {"v", {Device("Office"), Device("Zebra")}}}));
  EXPECT_EQ(r[9]["result"], Device("Zebra"));
  EXPECT_EQ(r[9]["ui"][0]["kind"], "List");
  EXPECT_EQ(r[9]["ui"][0]["title"], "Which one?");
  EXPECT_EQ(r[10]["result"], Device("Office"));
}

TEST_F(ShellTool, PrintersCommandListsShowsAndSetsTheDefault) {
  testing::RunResult list = Qor({"printers"});
  EXPECT_EQ(list.status, 0) << list.err;
  EXPECT_EQ(list.out, Device("Office") + "  (default)\n" + Device("Zebra") + "\n");
  EXPECT_EQ(Qor({"printers", "--set", "Zebra"}).status, 0);
  EXPECT_EQ(Qor({"printers", "--default"}).out, Device("Zebra") + "\n");
  testing::RunResult bad = Qor({"printers", "--set", "Nowhere"});
  EXPECT_EQ(bad.status, 1);
  EXPECT_NE(bad.err.find("Nowhere"), std::string::npos);
  EXPECT_EQ(Qor({"printers", "--frobnicate"}).status, 2);
}

TEST_F(ShellTool, PrintAndOpenCommandsHandDocumentsOver) {
  std::string doc = server_.folder() + "/invoice.txt";
  std::ofstream(doc) << "Invoice 42\n";
  testing::RunResult print = Qor({"print", doc});
  EXPECT_EQ(print.status, 0) << print.err;
  EXPECT_EQ(server_.WaitForOutput(Out("Office")), "Invoice 42\n");

  testing::RunResult missing = Qor({"print", server_.folder() + "/none.txt"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_NE(missing.err.find("no such file (2)"), std::string::npos) << missing.err;
  testing::RunResult open = Qor({"open", server_.folder() + "/no-folder/x.txt"});
  EXPECT_EQ(open.status, 1);
  EXPECT_NE(open.err.find("no such folder (3)"), std::string::npos) << open.err;
  EXPECT_EQ(Qor({"open"}).status, 2);
}

// libcups is loaded by the first printer call only: help and an INI read
// load no printing library, `qor printers` does.
TEST_F(ShellTool, OnlyPrinterCallsLoadTheCupsLibrary) {
  auto loads_cups = [&](const std::vector<std::string>& args) {
    std::vector<std::string> argv = {"env", "LD_DEBUG=libs", testing::QorBinary()};
    argv.insert(argv.end(), args.begin(), args.end());
    return testing::RunProgram(argv, "").err.find("libcups.so") != std::string::npos;
  };
  EXPECT_FALSE(loads_cups({"--help"}));
  EXPECT_FALSE(loads_cups({"ini", "get", server_.folder() + "/none.ini", "S", "K"}));
  EXPECT_TRUE(loads_cups({"printers"}));
}

}  // namespace
}  // namespace qor
