#include "automation/host.h"

#include <gtest/gtest.h>

#include <sstream>

#include "testing/test_util.h"

namespace qor::automation {
namespace {

// The host as a client sees it: qor automation in a child process.
std::vector<Json> RunHost(const std::string& script) {
  return testing::RunAutomation<Json>(script);
}

TEST(AutomationHost, CreateSetGetAndCall) {
  auto r = RunHost(
      R"({"id":1,"create":"qorSupport.qorApp"})"
      "\n"
      R"({"id":2,"on":1,"set":"appname","value":"Payroll"})"
      "\n"
      R"({"id":3,"on":1,"get":"AppName"})"
      "\n"
      R"({"id":4,"on":"qorExportGlobals","call":"GetAppName"})"
      "\n"
      R"({"id":"five","on":"qorExportGlobals","call":"IsBlank","args":["   ",false]})"
      "\n"
      R"({"id":6,"on":"qorExportGlobals","call":"NumOrZero","args":[" 12 "]})"
      "\n"
      R"({"id":7,"on":"qorExportGlobals","call":"TrimUpper","args":["  "]})"
      "\n"
      R"({"id":8,"on":"qorExportGlobals","call":"StoreAppName","args":[{"$":"Date","v":"2003-03-07T14:05:09"}]})"
      "\n"
      R"({"id":9,"on":"qorExportGlobals","call":"GetAppName"})"
      "\n"
      R"({"id":10,"release":1})"
      "\n"
      R"({"id":11,"on":1,"get":"AppName"})"
      "\n");
  ASSERT_EQ(r.size(), 11u);
  EXPECT_EQ(r[0]["result"], (Json{{"$", "Object"}, {"v", 1}}));
  EXPECT_FALSE(r[1].contains("result"));
  EXPECT_EQ(r[2]["result"], "Payroll");
  EXPECT_EQ(r[3]["result"], "Payroll");
  EXPECT_EQ(r[4]["id"], "five");
  EXPECT_EQ(r[4]["result"], false);
  EXPECT_EQ(r[5]["result"], (Json{{"$", "Double"}, {"v", 12.0}}));
  EXPECT_EQ(r[6]["result"], nullptr);
  EXPECT_FALSE(r[7].contains("result"));  // a procedure has no result
  EXPECT_EQ(r[8]["result"], "3/7/2003 2:05:09 PM");
  EXPECT_FALSE(r[9].contains("error"));
  EXPECT_EQ(r[10]["error"]["number"], 424);
  for (const Json& reply : r) EXPECT_TRUE(reply["ui"].is_array());
}

TEST(AutomationHost, DialogsAreAnsweredAndReported) {
  auto r = RunHost(R"({"id":1,"create":"qorForms"})"
                   "\n"
                   R"({"id":2,"answers":[6,"typed",null]})"
                   "\n"
                   R"({"id":3,"on":1,"call":"MsgYN","args":["Post?","March"]})"
                   "\n"
                   R"({"id":4,"on":1,"call":"InputForm","args":["Name?","x"]})"
                   "\n"
                   R"({"id":5,"on":1,"call":"InputForm","args":["Name?"]})"
                   "\n"
                   R"({"id":6,"on":1,"call":"MsgYNCancel","args":["Save?"]})"
                   "\n"
                   R"({"id":7,"answers":["not a code"]})"
                   "\n"
                   R"({"id":8,"on":1,"call":"MsgOkCancel","args":["Go?"]})"
                   "\n"
                   R"({"id":9,"on":1,"call":"AlertCritical","args":["Fire"]})"
                   "\n");
  ASSERT_EQ(r.size(), 9u);
  EXPECT_EQ(r[2]["result"], true);
  ASSERT_EQ(r[2]["ui"].size(), 1u);
  EXPECT_EQ(r[2]["ui"][0], (Json{{"kind", "MsgBox"},
                                 {"title", "Unknown Application Message"},
                                 {"text", "Post?\r\nMarch"},
                                 {"style", 4 + 32 + 256},
                                 {"answer", 6}}));
  EXPECT_EQ(r[3]["result"], "typed");
  EXPECT_EQ(r[3]["ui"][0]["default"], "x");
  EXPECT_EQ(r[4]["result"], "");
  EXPECT_EQ(r[4]["ui"][0]["answer"], nullptr);
  // With nothing queued the default button answers: No.
  EXPECT_EQ(r[5]["result"], (Json{{"$", "Integer"}, {"v", 7}}));
  EXPECT_EQ(r[7]["result"], false);
  EXPECT_EQ(r[7]["ui"][0]["mismatch"], true);
  EXPECT_EQ(r[8]["error"]["number"], 9999);
  EXPECT_EQ(r[8]["error"]["source"], "Unknown");
  EXPECT_EQ(r[8]["error"]["description"], "Unknown critical error");
  EXPECT_EQ(r[8]["ui"][0]["style"], 16);
}

// A program the host starts gets neither the client's requests nor the
// reply stream: it reads /dev/null and writes onto the host's stderr.
TEST(AutomationHost, ChildrenStayOffTheProtocolStreams) {
  auto r = RunHost(
      R"({"id":1,"create":"qorWinAPI"})"
      "\n"
      R"({"id":2,"on":1,"call":"ExecCmd","args":["sh -c \"echo leaked; cat; echo read\"",true]})"
      "\n"
      R"({"id":3,"on":"qorExportGlobals","call":"IsBlank","args":["",true]})"
      "\n");
  ASSERT_EQ(r.size(), 3u);
  EXPECT_EQ(r[1]["result"], (Json{{"$", "Long"}, {"v", 0}}));
  EXPECT_EQ(r[2]["id"], 3);
  EXPECT_EQ(r[2]["result"], true);
}

TEST(AutomationHost, BadRequestsGetErrorRepliesAndTheHostReadsOn) {
  auto r = RunHost(
      "this is not json\n"
      "[1,2]\n"
      R"({"id":3,"create":"NoSuchClass"})"
      "\n"
      R"({"id":4,"on":"qorExportGlobals","call":"NoSuchMethod"})"
      "\n"
      R"({"id":5,"on":"qorExportGlobals","call":"IsBlank","args":[1]})"
      "\n"
      R"({"id":6,"on":"qorExportGlobals","call":"FlagIsSet","args":["x",1]})"
      "\n"
      R"({"id":7,"on":99,"call":"X"})"
      "\n"
      R"({"id":8,"on":"qorExportGlobals","call":"IsBlank","args":[{"$":"Nonsense"},true]})"
      "\n"
      R"({"id":9,"on":"qorExportGlobals","call":"IsBlank","args":[{"$":"Integer","v":70000},true]})"
      "\n"
      R"({"id":10})"
      "\n"
      R"({"id":11,"on":"qorExportGlobals","call":"RaiseError","args":["Global","boom"]})"
      "\n"
      R"({"id":12,"on":"qorExportGlobals","call":"IsTrue","args":["yes"]})"
      "\n");
  ASSERT_EQ(r.size(), 12u);
  EXPECT_EQ(r[0]["id"], nullptr);
  EXPECT_TRUE(r[0].contains("error"));
  EXPECT_TRUE(r[1].contains("error"));
  EXPECT_EQ(r[2]["error"]["number"], 429);
  EXPECT_EQ(r[3]["error"]["number"], 438);
  EXPECT_EQ(r[4]["error"]["number"], 450);
  EXPECT_EQ(r[5]["error"]["number"], 13);
  EXPECT_EQ(r[6]["error"]["number"], 424);
  EXPECT_EQ(r[7]["error"]["number"], 13);
  EXPECT_EQ(r[8]["error"]["number"], 6);
  EXPECT_TRUE(r[9].contains("error"));
  EXPECT_EQ(r[10]["error"], (Json{{"number", 999}, {"source", "Global"}, {"description", "boom"}}));
  EXPECT_EQ(r[11]["result"], false);
}

// A class with by-reference arguments and typed results, served in-process.
class Box : public Object {
 public:
  std::string_view ClassName() const override { return "Box"; }
};

TEST(AutomationHost, TypedValuesAndByReference) {
  Registry registry;
  ClassBuilder<Box>(registry, "Box")
      .Method("Echo", {Req("v")}, [](Box&, Args& a) { return a[0]; })
      .Sub("Fill", {ArrayRef("pList"), OptRef("pCount", VarType::kLong, Variant(0))},
           [](Box&, Args& a) {
             Array list(VarType::kString, {{1, 2}});
             list.At({1}) = Variant("a");
             list.At({2}) = Variant("b");
             a[0] = Variant(std::move(list));
             a[1] = Variant(2);
           });
  Host host(registry);
  auto call = [&](const std::string& line) { return Json::parse(host.HandleLine(line)); };
  EXPECT_EQ(call(R"({"id":1,"create":"Box"})")["result"]["v"], 1);
  for (
      const char* typed :
      {R"({"$":"Integer","v":5})", R"({"$":"Currency","v":"12.3400"})",
       R"({"$":"Date","v":"2003-03-07T14:05:09"})", R"({"$":"Empty"})", R"({"$":"Single","v":1.5})",
       R"({"$":"Byte","v":255})",
       R"({"$":"Array","type":"Long","bounds":[[0,1],[1,2]],"v":[[{"$":"Long","v":1},{"$":"Long","v":2}],[{"$":"Long","v":3},{"$":"Long","v":4}]]})"}) {
    Json reply = call(std::string(R"({"id":2,"on":1,"call":"Echo","args":[)") + typed + "]}");
    EXPECT_EQ(reply["result"], Json::parse(typed)) << reply.dump();
  }
  EXPECT_EQ(call(R"({"id":3,"on":1,"call":"Echo","args":[2147483648]})")["result"],
            (Json{{"$", "Double"}, {"v", 2147483648.0}}));
  EXPECT_EQ(call(R"({"id":3,"on":1,"call":"Echo","args":[7]})")["result"],
            (Json{{"$", "Long"}, {"v", 7}}));

  Json filled = call(
      R"({"id":4,"on":1,"call":"Fill","args":[{"$":"Array","type":"String","bounds":[[0,-1]]}]})");
  EXPECT_FALSE(filled.contains("result"));
  EXPECT_EQ(filled["byref"]["0"],
            Json::parse(R"({"$":"Array","type":"String","bounds":[[1,2]],"v":["a","b"]})"));
  EXPECT_FALSE(filled["byref"].contains("1"));  // not supplied, not reported
  Json both = call(R"({"id":5,"on":1,"call":"Fill","args":[[],5]})");
  EXPECT_EQ(both["byref"]["1"], (Json{{"$", "Long"}, {"v", 2}}));
  EXPECT_EQ(call(R"({"id":6,"on":1,"call":"Fill","args":["not an array"]})")["error"]["number"],
            13);
}

// Mutated requests (cut, spliced, bytes flipped) never stop the host, and
// every reply is a JSON object with an id and either an error or a ui list.
TEST(AutomationHost, SurvivesMutatedRequests) {
  const std::vector<std::string> seeds = {
      R"({"id":1,"create":"qorForms"})",
      R"({"id":2,"on":1,"call":"MsgGrunt","args":["a","b","c",{"$":"Integer","v":4},2,3]})",
      R"({"id":3,"on":"qorExportGlobals","call":"IsBlank","args":[{"$":"Array","type":"Variant","bounds":[[0,1],[0,0]],"v":[[1],[{"$":"Date","v":"2003-03-07"}]]},true]})",
      R"({"id":4,"answers":[6,null,{"$":"Date","v":"2003-03-07T00:00:00"},[1,2]]})",
      R"({"id":5,"on":1,"call":"InputForm","args":["p",{"$":"Missing"}]})",
      R"({"id":6,"on":"qorExportGlobals","call":"StoreAppName","args":[{"$":"Record","type":"X","v":{}}]})",
  };
  Host host;
  uint32_t state = 12345;
  auto next = [&state] {
    state = state * 1103515245u + 12345u;
    return (state >> 8) & 0xFFFFFF;
  };
  for (int round = 0; round < 3000; ++round) {
    std::string line = seeds[next() % seeds.size()];
    int edits = 1 + next() % 4;
    for (int e = 0; e < edits && !line.empty(); ++e) {
      size_t at = next() % line.size();
      switch (next() % 4) {
        case 0:
          line.erase(at, 1 + next() % 8);
          break;
        case 1:
          line[at] = static_cast<char>(next() & 0xFF);
          break;
        case 2:
          line.insert(at, seeds[next() % seeds.size()].substr(0, next() % 20));
          break;
        default:
          line = line.substr(0, at);
          break;
      }
    }
    Json reply = Json::parse(host.HandleLine(line));
    ASSERT_TRUE(reply.is_object()) << line;
    ASSERT_TRUE(reply.contains("id")) << line;
    ASSERT_TRUE(reply.contains("error") || reply["ui"].is_array()) << line;
  }
}

}  // namespace
}  // namespace qor::automation
