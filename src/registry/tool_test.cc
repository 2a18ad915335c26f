// qorWinAPIReg as other programs use it: through `qor automation`.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "registry/registry_test_fixture.h"

namespace qor::registry {
namespace {

using Json = nlohmann::json;
using Tool = RegistryFixture;

std::vector<Json> Host(const std::string& script) {
  return qor::testing::RunAutomation<Json>(script);
}

TEST_F(Tool, AutomationHostCallsTheRegistryClass) {
  setenv("QOR_INI_DIR", dir_.path().c_str(), 1);
  auto r = Host(
      R"({"id":1,"create":"qorWinAPIReg"})"
      "\n"
      R"({"id":2,"on":1,"call":"RegistrySaveValueString","args":[-2147483647,"Software\\Acme","Name","Main"]})"
      "\n"
      R"({"id":3,"on":1,"call":"registrygetvaluelong","args":[-2147483647,"Software\\Acme","None",5,true]})"
      "\n"
      R"({"id":4,"on":1,"call":"RegistryGetAllKeys","args":[-2147483647,"Software",{"$":"Array","type":"String","bounds":[[0,0]],"v":["old"]}]})"
      "\n"
      R"({"id":5,"on":1,"call":"RegErrorMsg","args":[3]})"
      "\n"
      R"({"id":6,"on":1,"call":"IniWrite","args":["t.ini","S","K","v"]})"
      "\n"
      R"({"id":7,"create":"qorWinAPI"})"
      "\n"
      R"({"id":8,"on":2,"call":"SwabString","args":["ab\u0000cd"]})"
      "\n"
      R"({"id":9,"on":1,"call":"RegistryReadKeyFromFile","args":["/nonexistent/file"]})"
      "\n");
  unsetenv("QOR_INI_DIR");
  ASSERT_EQ(r.size(), 9u);
  EXPECT_EQ(r[1]["result"], true);
  EXPECT_EQ(r[2]["result"], (Json{{"$", "Long"}, {"v", 5}}));
  EXPECT_EQ(r[2]["byref"]["3"], (Json{{"$", "Long"}, {"v", 5}}));
  EXPECT_EQ(r[2]["ui"][0]["text"], "key size error");
  EXPECT_EQ(r[3]["byref"]["2"]["v"], Json::array({"Acme"}));
  EXPECT_EQ(r[4]["result"], "Undefined Error Code:   3");
  EXPECT_EQ(r[5]["result"], true);
  EXPECT_EQ(r[7]["result"], "ab");
  EXPECT_EQ(r[8]["error"]["number"], 53);
  EXPECT_EQ(reg_->RegistryGetValueString(kCurrentUser, "Software\\Acme", "Name"), Variant("Main"));
}

// qor ini reads whole values and lists, not IniRead's 254 characters, and
// writes no line break.
TEST_F(Tool, IniToolReadsWholeValuesAndListsAndRefusesLineBreaks) {
  qor::testing::ScopedEnv ini_dir("QOR_INI_DIR", dir_.path().c_str());
  std::string qor = qor::testing::QorBinary();
  std::string value(1000, 'v');
  ASSERT_EQ(qor::testing::RunProgram({qor, "ini", "set", "t.ini", "S", "K", value}, "").status, 0);
  std::string names;
  for (int i = 0; i < 60; ++i) {
    std::string key = "Key" + std::to_string(i);
    ASSERT_TRUE(reg_->IniWrite("t.ini", "S", key, Variant("1")));
    names += key + "\n";
  }
  EXPECT_EQ(qor::testing::RunProgram({qor, "ini", "get", "t.ini", "S", "K"}, "").out, value + "\n");
  EXPECT_EQ(qor::testing::RunProgram({qor, "ini", "get", "t.ini", "S", ""}, "").out, "K\n" + names);
  auto bad = qor::testing::RunProgram({qor, "ini", "set", "t.ini", "S", "K2", "a\nb"}, "");
  EXPECT_EQ(bad.status, 1);
  EXPECT_NE(bad.err.find("error 5"), std::string::npos);
}

}  // namespace
}  // namespace qor::registry
