// The forms, qorList and the requesters through `qor automation`, the way a
// late-bound client reaches them.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "testing/test_util.h"

namespace qor {
namespace {

using Json = nlohmann::json;

std::vector<Json> RunHost(const std::vector<std::string>& lines) {
  std::string script;
  for (const std::string& line : lines) script += line + "\n";
  std::vector<Json> replies = testing::RunAutomation<Json>(script);
  EXPECT_EQ(replies.size(), lines.size());
  return replies;
}

Json Long(int v) { return Json{{"$", "Long"}, {"v", v}}; }

TEST(DialogsAutomation, ListSortedSingleAndMultipleChoice) {
  auto r = RunHost({
      R"({"id":1,"create":"qorList"})",
      R"({"id":2,"on":1,"call":"AddItem","args":["x"]})",
      R"({"id":3,"on":1,"call":"Init"})",
      R"({"id":4,"on":1,"call":"AddItem","args":["b","data of b"]})",
      R"({"id":5,"on":1,"call":"AddItem","args":["a"]})",
      R"({"id":6,"on":1,"call":"AddItem","args":["c"]})",
      R"({"id":7,"on":1,"set":"Sorted","value":2})",
      R"({"id":8,"answers":[1]})",
      R"({"id":9,"on":1,"call":"Display"})",
      R"({"id":10,"on":1,"get":"SelectedIndex"})",
      R"({"id":11,"on":1,"get":"SelectedData"})",
      R"({"id":12,"answers":[[2,0]]})",
      R"({"id":13,"on":1,"call":"DisplayMultiSelect","args":[{"$":"Array","type":"String","bounds":[[0,0]],"v":[""]}]})",
      R"({"id":14,"on":1,"get":"Title"})",
  });
  EXPECT_EQ(r[1]["error"]["number"], 999);
  EXPECT_EQ(r[1]["error"]["description"], "Un-Initialised qorList");
  EXPECT_EQ(r[8]["result"], true);
  ASSERT_EQ(r[8]["ui"].size(), 1u);
  EXPECT_EQ(r[8]["ui"][0], (Json{{"kind", "List"},
                                 {"title", "List Form"},
                                 {"items", {"c", "b", "a"}},
                                 {"multi", false},
                                 {"answer", 1}}));
  EXPECT_EQ(r[9]["result"], Long(0));
  EXPECT_EQ(r[10]["result"], "data of b");
  EXPECT_EQ(r[12]["result"], true);
  EXPECT_EQ(r[12]["ui"][0]["answer"], (Json{2, 0}));
  EXPECT_EQ(r[12]["byref"]["0"],
            (Json{{"$", "Array"}, {"type", "String"}, {"bounds", {{1, 2}}}, {"v", {"c", "a"}}}));
  EXPECT_EQ(r[13]["result"], "List Form");
}

TEST(DialogsAutomation, FormsAnswerWithTheirEvents) {
  auto r = RunHost({
      R"({"id":1,"create":"qorForms"})",
      R"({"id":2,"answers":[11,6,{"$":"Date","v":"2024-02-29T00:00:00"}]})",
      R"({"id":3,"on":1,"call":"MenuForm","args":["One","Two",{"$":"Missing"},"","","","","","","","","","","Head"]})",
      R"({"id":4,"on":1,"call":"Requester","args":["Really?","","","Go","Stop"]})",
      R"({"id":5,"on":1,"call":"CalendarForm","args":["3/7/2003","Due"]})",
      R"({"id":6,"on":1,"call":"CalendarForm","args":["3/7/2003"]})",
      R"({"id":7,"on":1,"call":"CalendarForm","args":["no date"]})",
  });
  EXPECT_EQ(r[2]["result"], (Json{{"$", "Integer"}, {"v", 11}}));
  const Json& menu = r[2]["ui"][0];
  EXPECT_EQ(menu["kind"], "Menu");
  EXPECT_EQ(menu["title"], "Menu Form");
  EXPECT_EQ(menu["headings"], (Json{"Head", ""}));
  EXPECT_EQ(menu["items"].size(), 13u);
  EXPECT_EQ(menu["items"][1], "Two");
  EXPECT_EQ(r[3]["result"], true);
  EXPECT_EQ(r[3]["ui"][0]["lines"], (Json{"Really?", "", ""}));
  EXPECT_EQ(r[3]["ui"][0]["no"], "Stop");
  EXPECT_EQ(r[3]["ui"][0]["messageFontSize"], 10);
  Json date = {{"$", "Date"}, {"v", "2024-02-29T00:00:00"}};
  EXPECT_EQ(r[4]["result"], date);
  EXPECT_EQ(r[4]["ui"][0]["title"], "  Due");
  EXPECT_EQ(r[4]["ui"][0]["initial"], (Json{{"$", "Date"}, {"v", "2003-03-07T00:00:00"}}));
  EXPECT_EQ(r[5]["result"], (Json{{"$", "Date"}, {"v", "2003-03-07T00:00:00"}}));  // Cancel
  EXPECT_EQ(r[6]["error"]["number"], 13);
  EXPECT_TRUE(r[6]["ui"].empty());
}

TEST(DialogsAutomation, FileAndFolderRequesters) {
  auto r = RunHost({
      R"({"id":1,"create":"qorWinAPI"})",
      R"({"id":2,"answers":["/srv/books/march.txt",null,"/srv/books"]})",
      R"({"id":3,"on":1,"call":"GetFileNameParam","args":[{"$":"Record","type":"FileNameParams","v":{"Title":"Pick","FiltMsg":{"$":"Array","type":"Variant","bounds":[[0,1]],"v":["Text","Logs"]},"FilText":{"$":"Array","type":"Variant","bounds":[[0,1]],"v":["*.txt","*.log;*.out"]}}}]})",
      R"({"id":4,"on":1,"call":"GetFileName","args":["","All","*.*",true,"txt"]})",
      R"({"id":5,"on":1,"call":"GetFolderName"})",
  });
  EXPECT_EQ(r[2]["result"], true);
  const Json& event = r[2]["ui"][0];
  EXPECT_EQ(event["kind"], "FileDialog");
  EXPECT_EQ(event["title"], "Pick");
  EXPECT_EQ(event["flags"], 0x1000);
  const char kFilter[] = "Text (*.txt)\0*.txt\0Logs (*.log;*.out)\0*.log;*.out\0";
  EXPECT_EQ(event["filter"], std::string(kFilter, sizeof(kFilter)));
  const Json& record = r[2]["byref"]["0"];
  EXPECT_EQ(record["type"], "FileNameParams");
  EXPECT_EQ(record["v"]["FilePath"], "/srv/books/march.txt");
  EXPECT_EQ(record["v"]["FileTitle"], "march.txt");
  EXPECT_EQ(record["v"]["DirName"], "/srv/books/");
  EXPECT_EQ(r[3]["result"], "");  // cancelled
  EXPECT_EQ(r[3]["ui"][0]["title"], "Unknown Application File Save/Save As Requester");
  EXPECT_EQ(r[4]["result"], "/srv/books");
  EXPECT_EQ(r[4]["ui"][0], (Json{{"kind", "FolderDialog"},
                                 {"title", "Please Select a Folder"},
                                 {"answer", "/srv/books"}}));
}

TEST(DialogsAutomation, RichTextFormGivesTheEditedTextBack) {
  auto r = RunHost({
      R"({"id":1,"create":"qorForms"})",
      R"({"id":2,"answers":["{\\rtf1 edited}",null]})",
      R"({"id":3,"on":1,"call":"RichTextForm","args":["{\\rtf1 start}","",true,false,true,"Memo"]})",
      R"({"id":4,"on":1,"call":"RichTextForm","args":["kept"]})",
  });
  EXPECT_EQ(r[2]["result"], true);
  EXPECT_EQ(r[2]["byref"]["0"], "{\\rtf1 edited}");
  EXPECT_EQ(r[2]["ui"][0], (Json{{"kind", "RichText"},
                                 {"title", "Memo"},
                                 {"text", "{\\rtf1 start}"},
                                 {"open", true},
                                 {"save", false},
                                 {"print", true},
                                 {"answer", "{\\rtf1 edited}"}}));
  EXPECT_EQ(r[3]["result"], false);
  EXPECT_EQ(r[3]["byref"]["0"], "kept");
  EXPECT_EQ(r[3]["ui"][0]["title"], "  RichText Edit Form");
  EXPECT_EQ(r[3]["ui"][0]["answer"], nullptr);
}

}  // namespace
}  // namespace qor
