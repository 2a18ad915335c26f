// The automation host under hostile Jet SQL: a real `qor automation`
// process gets criteria and statements nested thousands of levels deep or
// hundreds of thousands of terms long, one request at a time. Each must get
// its reply (a numbered syntax error or the right result) within a deadline,
// and the host must answer the next request as before.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "testing/test_util.h"

extern char** environ;

namespace qor {
namespace {

using Json = nlohmann::json;
using Clock = std::chrono::steady_clock;

// Time allowed for one reply; generous for the sanitizer build, far below
// what a hang or a quadratic translation would take.
constexpr auto kReplyDeadline = std::chrono::seconds(10);

// One `qor automation` process, spoken to a request at a time through pipes.
class AutomationProcess {
 public:
  AutomationProcess() {
    signal(SIGPIPE, SIG_IGN);  // a host that died shows as a missing reply
    int in[2], out[2];
    if (pipe(in) != 0 || pipe(out) != 0) return;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in[0], 0);
    posix_spawn_file_actions_adddup2(&actions, out[1], 1);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addclose(&actions, in[1]);
    posix_spawn_file_actions_addclose(&actions, out[0]);
    std::string bin = testing::QorBinary();
    char* argv[] = {bin.data(), const_cast<char*>("automation"), nullptr};
    if (posix_spawn(&pid_, bin.c_str(), &actions, nullptr, argv, environ) != 0) pid_ = 0;
    posix_spawn_file_actions_destroy(&actions);
    close(in[0]);
    close(out[1]);
    to_ = in[1];
    from_ = out[0];
    fcntl(to_, F_SETFL, O_NONBLOCK);
  }
  ~AutomationProcess() {
    close(to_);
    close(from_);
    if (pid_ == 0) return;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  AutomationProcess(const AutomationProcess&) = delete;
  AutomationProcess& operator=(const AutomationProcess&) = delete;

  // Sends request with the next id and returns its reply, or nothing when
  // none arrives before the deadline (the host hung, died or answered out
  // of turn).
  std::optional<Json> Call(Json request) {
    request["id"] = ++last_id_;
    std::string line = request.dump() + "\n";
    size_t sent = 0;
    std::string reply;
    auto deadline = Clock::now() + kReplyDeadline;
    while (Clock::now() < deadline) {
      pollfd fds[2] = {{from_, POLLIN, 0}, {sent < line.size() ? to_ : -1, POLLOUT, 0}};
      auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
      if (poll(fds, 2, static_cast<int>(left.count()) + 1) < 0) return std::nullopt;
      if (fds[1].revents & (POLLERR | POLLHUP)) return std::nullopt;
      if (fds[1].revents & POLLOUT) {
        ssize_t n = write(to_, line.data() + sent, line.size() - sent);
        if (n > 0) sent += static_cast<size_t>(n);
      }
      if (fds[0].revents & (POLLIN | POLLHUP)) {
        char buf[4096];
        ssize_t n = read(from_, buf, sizeof buf);
        if (n <= 0) return std::nullopt;
        reply.append(buf, static_cast<size_t>(n));
        size_t end = reply.find('\n');
        if (end != std::string::npos) {
          Json parsed = Json::parse(reply.substr(0, end), nullptr, false);
          if (parsed.is_discarded() || parsed["id"] != last_id_) return std::nullopt;
          return parsed;
        }
      }
    }
    return std::nullopt;
  }

 private:
  pid_t pid_ = 0;
  int to_ = -1;
  int from_ = -1;
  int last_id_ = 0;
};

std::string Repeat(const std::string& s, int n) {
  std::string out;
  out.reserve(s.size() * n);
  for (int i = 0; i < n; ++i) out += s;
  return out;
}

Json Obj(int handle) { return Json{{"$", "Object"}, {"v", handle}}; }

// Tallies the hostile requests: how many, which errors, the slowest reply.
struct Tally {
  int requests = 0;
  int results = 0;
  std::map<int, int> errors;
  long long slowest_ms = 0;
};

TEST(HostileInput, DeepAndLongJetSqlGetsNumberedErrorsAndTheHostGoesOn) {
  testing::TempDir dir;
  AutomationProcess host;
  // Handles: 1 the engine, 2 the database, 3 the table, 4 and 5 its fields,
  // 6 its Fields, 7 TableDefs, 8 the recordset.
  std::vector<Json> setup = {
      {{"create", "DBEngine"}},
      {{"on", 1},
       {"call", "CreateDatabase"},
       {"args", {dir.File("hostile.mdb"), ";LANGID=0x0409"}}},
      {{"on", 2}, {"call", "CreateTableDef"}, {"args", {"Parts"}}},
      {{"on", 3}, {"call", "CreateField"}, {"args", {"Code", 10, 8}}},
      {{"on", 3}, {"call", "CreateField"}, {"args", {"Qty", 4}}},
      {{"on", 3}, {"get", "Fields"}},
      {{"on", 6}, {"call", "Append"}, {"args", {Obj(4)}}},
      {{"on", 6}, {"call", "Append"}, {"args", {Obj(5)}}},
      {{"on", 2}, {"get", "TableDefs"}},
      {{"on", 7}, {"call", "Append"}, {"args", {Obj(3)}}},
      {{"on", 2},
       {"call", "Execute"},
       {"args", {"INSERT INTO Parts (Code, Qty) VALUES ('A1', 1)"}}},
      {{"on", 2},
       {"call", "Execute"},
       {"args", {"INSERT INTO Parts (Code, Qty) VALUES ('B2', 7)"}}},
      {{"on", 2}, {"call", "OpenRecordset"}, {"args", {"Parts", 2}}},
  };
  for (const Json& request : setup) {
    auto reply = host.Call(request);
    ASSERT_TRUE(reply) << request.dump();
    ASSERT_FALSE(reply->contains("error")) << reply->dump();
  }
  const int rs = 8, db = 2;
  ASSERT_EQ(host.Call({{"on", rs}, {"get", "RecordCount"}})->value("result", Json()),
            (Json{{"$", "Long"}, {"v", 2}}));

  const int kDeep = 2200;
  std::string in_list = "[Qty] In (";
  for (int i = 0; i < 200000; ++i) in_list += (i ? "," : "") + std::to_string(i + 8);
  in_list += ",7)";
  struct Case {
    const char* name;
    Json request;
    bool must_succeed = false;
  };
  const Case cases[] = {
      {"deep parentheses",
       {{"on", rs},
        {"call", "FindFirst"},
        {"args", {"[Qty] = " + Repeat("(", kDeep) + "7" + Repeat(")", kDeep)}}}},
      // Within the translator's limit, deeper than SQLite's parser goes.
      {"parentheses 150 deep",
       {{"on", rs},
        {"call", "FindFirst"},
        {"args", {"[Qty] = " + Repeat("(", 150) + "7" + Repeat(")", 150)}}}},
      {"deep IIf",
       {{"on", rs},
        {"call", "FindFirst"},
        {"args", {"[Qty] = " + Repeat("IIf(True, ", kDeep) + "7" + Repeat(", 0)", kDeep)}}}},
      {"unary minus run",
       {{"on", rs}, {"call", "FindFirst"}, {"args", {"[Qty] = " + Repeat("-", 35000) + "7"}}}},
      {"Not run",
       {{"on", rs}, {"call", "FindFirst"}, {"args", {Repeat("Not ", 87000) + "[Qty] = 7"}}}},
      {"deep SELECT",
       {{"on", db},
        {"call", "OpenRecordset"},
        {"args",
         {"SELECT * FROM " + Repeat("(SELECT * FROM ", kDeep) + "Parts" + Repeat(")", kDeep), 4}}}},
      {"deep UPDATE",
       {{"on", db},
        {"call", "Execute"},
        {"args", {"UPDATE Parts SET Qty = " + Repeat("(", kDeep) + "1" + Repeat(")", kDeep)}}}},
      // Long enough to need flat chains: must find the row.
      {"Or chain of 121 terms",
       {{"on", rs}, {"call", "FindFirst"}, {"args", {Repeat("[Qty] = 0 Or ", 120) + "[Qty] = 7"}}},
       true},
      {"long In list", {{"on", rs}, {"call", "FindFirst"}, {"args", {in_list}}}},
      {"long sum",
       {{"on", rs}, {"call", "FindFirst"}, {"args", {"[Qty] = " + Repeat("0 + ", 200000) + "7"}}}},
  };
  Tally tally;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    auto start = Clock::now();
    auto reply = host.Call(c.request);
    auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
    ++tally.requests;
    tally.slowest_ms = std::max<long long>(tally.slowest_ms, ms);
    ASSERT_TRUE(reply) << "no reply within the deadline";
    EXPECT_FALSE(c.must_succeed && reply->contains("error")) << reply->dump();
    if (reply->contains("error")) {
      int number = (*reply)["error"]["number"];
      ++tally.errors[number];
      EXPECT_TRUE(number == 3077 || number == 3075) << reply->dump();
      EXPECT_FALSE((*reply)["error"]["description"].get<std::string>().empty());
    } else {
      ++tally.results;
      if (c.request["call"] == "FindFirst") {
        auto found = host.Call({{"on", rs}, {"get", "NoMatch"}});
        ASSERT_TRUE(found);
        EXPECT_EQ(found->value("result", Json()), false) << "the row with Qty 7 is not found";
      }
    }
    // The host answers the next request as before.
    auto next = host.Call({{"on", rs}, {"get", "RecordCount"}});
    ASSERT_TRUE(next) << "the host stopped answering";
    EXPECT_EQ(next->value("result", Json()), (Json{{"$", "Long"}, {"v", 2}})) << next->dump();
  }
  std::string errors;
  for (auto [number, count] : tally.errors) {
    errors += " " + std::to_string(number) + "x" + std::to_string(count);
  }
  std::printf("hostile requests: %d, results: %d, errors:%s, slowest reply: %lld ms\n",
              tally.requests, tally.results, errors.c_str(), tally.slowest_ms);
}

}  // namespace
}  // namespace qor
