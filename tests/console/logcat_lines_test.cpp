// SPDX-License-Identifier: Apache-2.0
// What the console takes from logcat's output, and how it joins that with the contacts it saw.
#include "console/phone/log_priority.h"
#include "console/phone/logcat.h"
#include "console/phone/logged_contacts.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace console {

void PrintTo(const logcat_entry &e, std::ostream *to) {
  *to << e.wall_us << " " << e.process << " " << e.thread << " " << e.priority << " " << e.tag << ": "
      << e.text;
}

namespace {

constexpr int64_t at = 1'700'000'000'000'123;
const std::string head = "         1700000000.000123  1234  1240 I TAG     : ";
const logcat_entry one = {at, 1234, 1240, LOG_INFO, "TAG", "text"};

logcat_entry with_text(const std::string &text) {
  auto e = one;
  e.text = text;
  return e;
}

TEST(parse_logcat, TakesEntries) {
  const struct {
    std::string output;
    std::vector<logcat_entry> entries;
  } cases[] = {
      {"", {}},
      {"--------- beginning of main\n--------- switch to crash\n", {}},
      {head + "text\n", {one}},
      {"1700000000.000123 1234 1240 I TAG: text\n", {one}},
      {head + "a: b  \n", {with_text("a: b  ")}},
      {head + "\n", {with_text("")}},
      {head + "a\n" + head + "\n" + head + "b\n", {with_text("a\n\nb")}},
      {head + "--------- beginning of main\n", {with_text("--------- beginning of main")}},
      {"1700000000.000123 1234 1240 E A long tag: x\n", {{at, 1234, 1240, LOG_ERROR, "A long tag", "x"}}},
      {"1700000000.000123 1234 1240 F         : x\n", {{at, 1234, 1240, LOG_FATAL, "", "x"}}},
      // Each differs from the one before it in one thing only.
      {head + "text\n1700000000.000123 1234 1241 I TAG: x\n1700000000.000123 1235 1241 I TAG: x\n"
              "1700000000.000123 1235 1241 D TAG: x\n1700000000.000123 1235 1241 D TAG2: x\n"
              "1700000000.000124 1235 1241 D TAG2: x\n",
       {one,
        {at, 1234, 1241, LOG_INFO, "TAG", "x"},
        {at, 1235, 1241, LOG_INFO, "TAG", "x"},
        {at, 1235, 1241, LOG_DEBUG, "TAG", "x"},
        {at, 1235, 1241, LOG_DEBUG, "TAG2", "x"},
        {at + 1, 1235, 1241, LOG_DEBUG, "TAG2", "x"}}},
  };
  for (auto &c : cases) {
    auto found = parse_logcat(c.output);
    EXPECT_EQ(found.entries, c.entries) << c.output;
    EXPECT_EQ(found.unknown, "") << c.output;
  }
}

TEST(parse_logcat, KeepsWhatFollowsALineThatIsNoEntry) {
  for (std::string bad :
       {"logcat: Permission denied", "1700000000 1234 1240 I TAG: x", "1700000000.123 1234 1240 I TAG: x",
        "-1.000123 1234 1240 I TAG: x", "1700000000.-00123 1234 1240 I TAG: x", ".000123 1234 1240 I TAG: x",
        "1700000000000.000123 1234 1240 I TAG: x", "11-22 10:00:00.000123 1234 1240 I TAG: x",
        "1700000000.000123 1234 I TAG: x", "1700000000.000123 1234 99999999999 I TAG: x",
        "1700000000.000123 1234 1240 Info TAG: x", "1700000000.000123 1234 1240 S TAG: x",
        "1700000000.000123 1234 1240 I TAG", "1700000000.000123 1234 1240 I", "1700000000.000123", " "}) {
    auto found = parse_logcat(bad + "\n" + head + "text\n");
    EXPECT_EQ(found.unknown, bad);
    EXPECT_EQ(found.entries, std::vector{one}) << bad;
  }
}

TEST(parse_logcat, DropsALineThatWasCutOff) {
  auto whole = head + "text\n";
  for (size_t size = 1; size < whole.size(); ++size) {
    auto found = parse_logcat(whole + whole.substr(0, size));
    EXPECT_EQ(found.entries, std::vector{one}) << size;
    EXPECT_EQ(found.unknown, whole.substr(0, size));
  }
}

TEST(logcat_words, NameTheTimeToTheMicrosecond) {
  EXPECT_EQ(logcat_words(1'700'000'000'000'007, 0).back(), "1700000000.000007");
  EXPECT_EQ(logcat_words(1, 77).back(), "--pid=77");
}

// ---- Joining, on a phone whose clock began when the log's clock showed `at` ----

class joining : public testing::Test {
protected:
  void see(phone_event_kind kind, int64_t time_us, const char *text = "", int64_t result = 0) {
    contact c{};
    c.kind = kind, c.time_us = time_us, c.text = text, c.result = result;
    c.process = getpid(), c.name = "TAG", c.number[0] = LOG_INFO;
    contacts.push_back(c);
  }

  contact_list seen() const {
    contact_list all;
    for (auto &c : contacts) all.push_back(&c);
    return all;
  }

  static logcat_entry logged(int64_t time_us, const std::string &text, int process = getpid()) {
    return {at + time_us, process, process, LOG_INFO, "TAG", text};
  }

  std::vector<std::string> unseen(const std::vector<logcat_entry> &entries) const {
    std::vector<std::string> texts;
    for (auto &e : unseen_entries(seen(), entries, {at, at + 1'000'000, at})) texts.push_back(e.text);
    return texts;
  }

  std::deque<contact> contacts;
};

using texts = std::vector<std::string>;

TEST_F(joining, TakesEntriesOfTheCallOnly) {
  see(PHONE_FORK, 10, "", 4242);
  EXPECT_EQ(unseen({logged(-1, "earlier"), logged(0, "first"), logged(5, "stranger", 1),
                    logged(6, "child", 4242), logged(1'000'000, "last"), logged(1'000'001, "later")}),
            (texts{"first", "child", "last"}));
}

TEST_F(joining, ASeenLineAccountsForOneEntry) {
  see(PHONE_LOG, 10, "same\n");
  see(PHONE_LOG, 20, "same");
  EXPECT_EQ(unseen({logged(12, "same"), logged(22, "same")}), texts{});
  EXPECT_EQ(unseen({logged(12, "same"), logged(22, "same"), logged(30, "same")}), texts{"same"});
  EXPECT_EQ(unseen({logged(12, "same"), logged(22, "other")}), texts{"other"});
}

TEST_F(joining, AnEntryBeforeTheSeenLineIsAnotherOne) {
  see(PHONE_LOG, 500'000, "same");
  std::vector entries = {logged(100, "same"), logged(500'010, "same")};
  auto rest = unseen_entries(seen(), entries, {at, at + 1'000'000, at});
  EXPECT_EQ(rest, std::vector{entries[0]});
}

TEST_F(joining, PriorityTagAndProcessMustAgree) {
  see(PHONE_LOG, 10, "text");
  see(PHONE_FORK, 5, "", 4242);
  auto other_tag = logged(11, "text"), other_priority = other_tag, other_process = other_tag;
  other_tag.tag = "TAG2", other_priority.priority = LOG_ERROR, other_process.process = 4242;
  EXPECT_EQ(unseen({other_tag, other_priority, other_process}), (texts{"text", "text", "text"}));
}

TEST_F(joining, ALongTextMayBeCutInTheLog) {
  std::string whole(4090, 'x'), part(4062, 'x');
  see(PHONE_LOG, 10, whole.c_str());
  EXPECT_EQ(unseen({logged(11, part)}), texts{});
  EXPECT_EQ(unseen({logged(11, std::string(40, 'x'))}).size(), 1u);
}

TEST_F(joining, ContactsKeepTheirOrderAndEntriesComeByTime) {
  see(PHONE_SLEEP, 10);
  see(PHONE_EXEC, 30);
  see(PHONE_WAIT, 20);  // began before what its child did
  see(PHONE_CLOSE, 40);
  logged_contacts log;
  log.take({logged(50, "d"), logged(5, "a"), logged(10, "b"), logged(25, "c")}, at);
  std::string order;
  for (auto *c : log.merged_into(seen()))
    order += c->kind == PHONE_LOG ? c->text : std::to_string(c->time_us);
  EXPECT_EQ(order, "a10bc302040d");
  log.clear();
  EXPECT_EQ(log.merged_into(seen()), seen());
}

}  // namespace
}  // namespace console
