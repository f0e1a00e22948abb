// SPDX-License-Identifier: Apache-2.0
// The phone's end of the cable, against a test set that a thread plays.
#include "tests/support/rf_phone.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <chrono>
#include <cstring>
#include <mutex>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace rf_phone;

const std::string packets_of_mcs7 =
    R"({"mhz":2442,"bandwidth_mhz":20,"format":"ht","rate":"mcs7","level_dbm":-50.4,"packets":)";
const std::string at_rest = R"({"emission":null,"receiving":null})";
const std::string receiving = R"({"emission":null,"receiving":{"mhz":2442,"bandwidth_mhz":20}})";

/// Answers each line of one connection with the next planned answer, and in the end with no bursts. A planned
/// "-" closes the connection, "..." answers nothing.
class test_set {
public:
  test_set() {
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(place);
    if (bind(listener_, reinterpret_cast<sockaddr *>(&place), size) != 0 || listen(listener_, 4) != 0)
      abort();
    getsockname(listener_, reinterpret_cast<sockaddr *>(&place), &size);
    port_ = ntohs(place.sin_port);
    thread_ = std::thread([this] { serve(); });
  }
  test_set(const test_set &) = delete;
  test_set &operator=(const test_set &) = delete;
  ~test_set() {
    shutdown(listener_, SHUT_RDWR);
    close(listener_);
    thread_.join();
  }

  std::string address(int port = 3) const {
    return "127.0.0.1:" + std::to_string(port_) + "/" + std::to_string(port);
  }
  void plan(const std::string &answer) {
    std::lock_guard hold(lock_);
    planned_.push_back(answer);
  }
  void plan_bursts(const std::string &bursts) { plan("{\"bursts\":[" + bursts + "]}"); }
  /// The lines received since the last call.
  std::vector<std::string> said() {
    std::lock_guard hold(lock_);
    return std::exchange(said_, {});
  }

private:
  std::string answer_to(const std::string &line) {
    std::lock_guard hold(lock_);
    said_.push_back(line);
    if (planned_.empty()) return line.starts_with("{\"plug\"") ? "{\"ok\":true}" : "{\"bursts\":[]}";
    std::string answer = planned_.front();
    planned_.erase(planned_.begin());
    return answer;
  }

  void serve_one(int peer) {
    std::string text;
    char part[4096];
    for (ssize_t got; (got = recv(peer, part, sizeof(part), 0)) > 0;) {
      text.append(part, static_cast<size_t>(got));
      for (size_t end; (end = text.find('\n')) != text.npos; text.erase(0, end + 1)) {
        std::string answer = answer_to(text.substr(0, end));
        if (answer == "-") return;
        if (answer == "...") continue;
        answer += '\n';
        send(peer, answer.data(), answer.size(), MSG_NOSIGNAL);
      }
    }
  }

  void serve() {
    for (int peer; (peer = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
      serve_one(peer);
      close(peer);
    }
  }

  int listener_;
  uint16_t port_;
  std::thread thread_;
  std::mutex lock_;
  std::vector<std::string> planned_, said_;
};

class Cable : public testing::Test {
protected:
  void SetUp() override {
    phone_reset();
    set("rf.crystal", "0");
  }
  void TearDown() override {
    EXPECT_EQ(phone_left_open(), 0u);
    phone_reset();
  }

  static void tune() { rf_phone::tune(mcs7, 15); }

  static void shell(const char *command) {
    pid_t child = fork();
    if (child == 0) {
      execl("/system/bin/sh", "sh", "-c", command, nullptr);
      _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0) << command;
  }

  /// The messages of the phone's log.
  static std::string log() {
    std::string text;
    for (size_t i = 0; i < phone_event_count(); i++)
      if (phone_event(i)->kind == PHONE_LOG) text += phone_event(i)->text;
    return text;
  }

  test_set tester_;
};

using lines = std::vector<std::string>;

TEST_F(Cable, TellsWhatChangesAndNothingElse) {
  set("cable", tester_.address());
  EXPECT_EQ(tester_.said(), (lines{R"({"plug":{"port":3,"name":"vq2050 02:4F:52:56:41:01"}})", at_rest}));
  tune();
  EXPECT_EQ(tester_.said(), lines{});
  ask("transmit", 1);
  const std::string sending =
      R"({"emission":{"mhz":2442,"bandwidth_mhz":20,"format":"ht","rate":"mcs7","frequency_error_ppm":0.0,)"
      R"("leakage_dbc":-32.0,"mask_margin_db":12.236,"chains":[{"chain":0,"power_dbm":15.0,"evm_db":-33.535}]},)"
      R"("receiving":null})";
  EXPECT_EQ(tester_.said(), lines{sending});
  shell("ifconfig wlan0 down");
  EXPECT_EQ(tester_.said(), lines{at_rest}) << "from the child that took the interface down";
  set("cable", "");
  shell("ifconfig wlan0 up");
  EXPECT_EQ(tester_.said(), lines{});
}

TEST_F(Cable, CountsWhatArrivedUnderTheStateBefore) {
  set("cable", tester_.address());
  tune();
  tester_.said();
  tester_.plan_bursts(packets_of_mcs7 + "111}");
  ask("receive", 1);
  EXPECT_EQ(tester_.said(), lines{receiving});
  EXPECT_EQ(static_cast<int32_t>(ask("rssi")), -96) << "noise";
  tester_.plan_bursts(packets_of_mcs7 + "1000}," + packets_of_mcs7 + "500}");
  EXPECT_EQ(ask("packet_count"), 1500u) << "none of those that came before reception began";
  EXPECT_EQ(static_cast<int32_t>(ask("rssi")), -50);
  EXPECT_EQ(tester_.said(), (lines{receiving, receiving, receiving})) << "asked at every reading";
  usleep(500000);
  tester_.plan_bursts(packets_of_mcs7 + "7}");
  ask("receive", 0);
  EXPECT_EQ(ask("packet_count"), 1507u) << "time alone brings no packets";
  tester_.plan_bursts(packets_of_mcs7 + "9}");
  EXPECT_EQ(ask("packet_count"), 1507u);
  ask("receive", 1);
  tester_.plan_bursts(packets_of_mcs7 + "9}");
  ask("receive", 1);
  EXPECT_EQ(ask("packet_count"), 0u) << "a new count";
}

TEST_F(Cable, OnlyPacketsOfTheReceiversChannelCount) {
  set("cable", tester_.address());
  tune();
  ask("bandwidth", 1);  // 2442 and 20 MHz above
  ask("receive", 1);
  const auto burst = [](int mhz, int bandwidth, const char *format, const char *rate, const char *level) {
    return "{\"mhz\":" + std::to_string(mhz) + ",\"bandwidth_mhz\":" + std::to_string(bandwidth) +
           ",\"format\":\"" + format + "\",\"rate\":\"" + rate + "\",\"level_dbm\":" + level +
           ",\"packets\":1}";
  };
  const struct {
    std::string burst;
    unsigned counted;
  } cases[] = {
      {burst(2452, 40, "ht", "mcs7", "-50"), 1},
      {burst(2442, 20, "ofdm", "54", "-50"), 1},
      {burst(2452, 20, "ht", "mcs7", "-50"), 0},
      {burst(2442, 40, "ht", "mcs7", "-50"), 0},
      {burst(2452, 80, "vht", "mcs9", "-50"), 0},
      {burst(2442, 20, "dsss", "5.5", "-50.25"), 1},
      {burst(2452, 40, "he", "mcs11", "-95"), 0},
      {R"({"mhz":2442.5,"bandwidth_mhz":20,"format":"ofdm","rate":"54","level_dbm":-50,"packets":1})", 0}};
  for (auto &c : cases) {
    uint32_t before = ask("packet_count");
    tester_.plan_bursts(c.burst);
    EXPECT_EQ(ask("packet_count") - before, c.counted) << c.burst;
  }
}

TEST_F(Cable, PacketsAreLostAtTheSensitivity) {
  set("cable", tester_.address());
  tune();
  ask("receive", 1);
  tester_.plan_bursts(
      R"({"mhz":2442,"bandwidth_mhz":20,"format":"ht","rate":"mcs7","level_dbm":-72,"packets":10000})");
  EXPECT_NEAR(ask("packet_count"), 9000, 150) << "10 %, by numbers drawn for each packet";
  const struct {
    const char *level, *packets;
    uint32_t counted;
  } cases[] = {{"-67", "10000", 10000},      // one in a million is lost, none of these
               {"-72", "1000001", 900000}};  // from here on the expected share is counted
  for (auto &c : cases) {
    ask("receive", 1);
    tester_.plan_bursts(
        std::string(R"({"mhz":2442,"bandwidth_mhz":20,"format":"ht","rate":"mcs7","level_dbm":)") + c.level +
        ",\"packets\":" + c.packets + "}");
    EXPECT_EQ(ask("packet_count"), c.counted) << c.level;
  }
}

TEST_F(Cable, TakesBurstsWithNumbersInTheirRanges) {
  const struct {
    const char *name;
    std::vector<const char *> taken, refused;
  } cases[] = {{"mhz", {"1", "100000"}, {"0.999", "100000.5", "\"2442\"", "null"}},
               {"bandwidth_mhz", {"1", "1000"}, {"0.999", "1000.5"}},
               {"level_dbm", {"-1000", "100"}, {"-1000.5", "100.5"}},
               {"packets", {"0", "4294967295"}, {"-1", "4294967296", "0.5"}}};
  const auto is_taken = [this](const std::string &name, const char *value) {
    std::string burst =
        R"({"mhz":2442,"bandwidth_mhz":20,"level_dbm":-50,"packets":1,"format":"ht","rate":"mcs7"})";
    size_t begin = burst.find("\"" + name + "\":") + name.size() + 3;
    burst.replace(begin, burst.find(',', begin) - begin, value);
    set("cable", tester_.address());
    phone_events_clear();
    tester_.plan_bursts(burst);
    ask("packet_count");
    return log().empty();
  };
  for (auto &c : cases) {
    for (auto *value : c.taken) EXPECT_TRUE(is_taken(c.name, value)) << c.name << " " << value << log();
    for (auto *value : c.refused) EXPECT_FALSE(is_taken(c.name, value)) << c.name << " " << value;
  }
}

TEST_F(Cable, ATestSetThatDoesNotPlugIsNamed) {
  const struct {
    const char *answer, *reason;
  } cases[] = {{"{\"error\":\"port 3 is taken\"}", "port 3 is taken"},
               {"{\"error\":{\"code\":3}}", "{\"code\":3}"},
               {"SSH-2.0", "no JSON object"},
               {"[1]", "no JSON object"},
               {"{\"ok\":false}", "does not answer as a test set"},
               {"-", "closed the connection"},
               {"...", "no answer within 2 s"}};
  for (auto &c : cases) {
    tester_.plan(c.answer);
    std::string message = refusal("cable", tester_.address());
    EXPECT_EQ(message.find("cable: the RF test set at " + tester_.address() + " cannot be plugged: "), 0u);
    EXPECT_NE(message.find(c.reason), message.npos) << message;
    EXPECT_EQ(get("cable"), "");
  }
  EXPECT_NE(refusal("cable", "127.0.0.1:1/2").find("127.0.0.1:1/2"), std::string::npos);
  EXPECT_EQ(refusal("cable", "[::1]:1/999").find("Name or service"), std::string::npos);
  EXPECT_NE(refusal("cable", "no-such-host.invalid:1/2").find("no-such-host.invalid:1/2"), std::string::npos);
  ask("receive", 1);
  EXPECT_EQ(phone_now_us(), 0) << "waiting for a test set takes none of the phone's time";
}

TEST_F(Cable, ACableThatCannotBePluggedLeavesTheOneThatThereWas) {
  set("cable", tester_.address());
  tester_.said();
  EXPECT_NE(refusal("cable", "127.0.0.1:1/2"), "");
  EXPECT_EQ(get("cable"), tester_.address());
  tune();
  ask("receive", 1);
  EXPECT_EQ(tester_.said().back(), receiving);
}

TEST_F(Cable, ATestSetThatFailsEndsTheCableWithAWarning) {
  const std::string good = packets_of_mcs7 + "1}";
  const struct {
    std::string answer, reason;
  } cases[] = {
      {"-", "closed the connection"},
      {"...", "no answer within 2 s"},
      {"{\"error\":\"powered down\"}", "powered down"},
      {"nonsense", "no JSON object"},
      {"{}", "without bursts"},
      {std::string((1 << 20) + 1, '['), "an answer without an end"},
      {"{\"bursts\":[" + good + ",7]}", "a burst that cannot be read: 7"},
      {"{\"bursts\":[" + packets_of_mcs7 + "-1}]}", "cannot be read"},
      {"{\"bursts\":[" + packets_of_mcs7 + "4294967296}]}", "cannot be read"},
      {R"({"bursts":[{"mhz":2442,"bandwidth_mhz":20,"format":"ht","rate":"mcs8","level_dbm":-50,"packets":1}]})",
       "cannot be read"}};
  for (auto &c : cases) {
    phone_events_clear();
    set("cable", tester_.address());
    tune();
    ask("receive", 1);
    tester_.plan(c.answer);
    EXPECT_EQ(ask("packet_count"), 0u) << c.answer;
    EXPECT_EQ(log().find("cable: the RF test set at " + tester_.address() + " failed: "), 0u) << log();
    EXPECT_NE(log().find(c.reason), std::string::npos) << log();
    tester_.said();
    ask("packet_count");
    ask("receive", 0);
    EXPECT_EQ(tester_.said(), lines{}) << "the cable has ended";
  }
}

TEST_F(Cable, APhoneThatPartsLeavesTheCableToItsParent) {
  set("cable", tester_.address());
  tune();
  tester_.said();
  pid_t child = _Fork();
  if (child == 0) {
    phone_part();
    ask("transmit", 1);
    _exit(get("state.emission") == "null");
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(tester_.said(), lines{});
  ask("transmit", 1);
  EXPECT_EQ(tester_.said().size(), 1u);
}

}  // namespace
