// SPDX-License-Identifier: Apache-2.0
// Arbitrary bytes from a client of the RF test set, and from a phone on its cable.
#include "rf_tester/commands/interpreter.h"
#include "rf_tester/instrument/cable_protocol.h"
#include "rf_tester/scpi/message_buffer.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <tuple>

using namespace rf_tester;

namespace {

constexpr size_t longest_answer = 65536;

void expect(bool condition, const char *what) {
  if (condition) return;
  fprintf(stderr, "fuzz: %s\n", what);
  abort();
}

/// A test set on a clock that moves only when a command waits.
struct bench {
  explicit bench(const dialect &d) : set(1, usual_bounds, [this] { return now; }), commands(set, d) {}

  void carry_out(std::string message) {
    commands.begin(std::move(message));
    while (!commands.step()) {
      expect(set.measuring(), "a command waits for nothing");
      now = set.deadline();
    }
  }

  test_set::clock::time_point now{};
  test_set set;
  interpreter commands;
};

bool within(double value, double least, double most) { return value >= least && value <= most; }

/// No message brings a setting out of its range.
void check(const settings &s) {
  using namespace limits;
  expect(within(s.port, 1, port_count), "the port is out of range");
  expect(within(s.analyzer_hz, least_hz, most_hz), "the analyzer's frequency is out of range");
  expect(within(s.generator_hz, least_hz, most_hz), "the generator's frequency is out of range");
  expect(within(s.bandwidth_hz, least_bandwidth_hz, most_bandwidth_hz), "the bandwidth is out of range");
  expect(within(s.expected_dbm, least_expected_dbm, most_expected_dbm), "the expected power is out of range");
  expect(within(s.timeout_s, least_timeout_s, most_timeout_s), "the timeout is out of range");
  expect(within(s.bursts, 1, most_bursts), "the bursts are out of range");
  expect(within(s.level_dbm, least_level_dbm, most_level_dbm), "the level is out of range");
  expect(within(s.packet_count, 1, most_packets), "the packets are out of range");
}

void check(const ports &all) {
  for (const port &p : all)
    for (const auto &[mhz, db] : p.correction.points())
      expect(within(mhz * 1e6, limits::least_hz, limits::most_hz) &&
                 within(db, limits::least_loss_db, limits::most_loss_db),
             "a path loss is out of range");
}

void check_answer(bench &b) {
  const auto answer = b.commands.take_answer();
  if (!answer) return;
  expect(answer->size() <= longest_answer, "an answer is too long");
  expect(std::ranges::all_of(*answer, [](char c) { return c >= ' ' && c <= '~'; }),
         "an answer is not printable");
}

auto state(const settings &s) {
  return std::make_tuple(s.port, s.analyzer_hz, s.bandwidth_hz, s.expected_dbm, s.timeout_s, s.bursts,
                         s.generator_hz, s.level_dbm, s.packet_count);
}

/// A message of one command that causes an error leaves the settings as they were.
void send(bench &b, const std::string &message) {
  const auto before = state(b.set.set);
  const size_t errors = b.set.status.errors.size();
  b.carry_out(message);
  const bool single = message.find(';') == std::string::npos;
  if (single && b.set.status.errors.size() > errors)
    expect(state(b.set.set) == before, "a refused command changed a setting");
  check(b.set.set);
  check(b.set.ports);
  check_answer(b);
}

}  // namespace

/// The first byte chooses the dialect and whether a phone transmits. Of the lines that follow, those that
/// begin with `{` come from the phone.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
  if (size == 0) return 0;
  bench b(dialects()[bytes[0] & 1U]);
  cable_protocol phone(b.set.ports, [&b] { b.set.settle(); });
  if ((bytes[0] & 2U) != 0) {
    phone.answer(R"({"plug":{"port":1,"name":"unit"}})");
    phone.answer(
        R"({"emission":{"mhz":2442,"bandwidth_mhz":20,"format":"ht","rate":"mcs7","frequency_error_ppm":1,)"
        R"("leakage_dbc":-31,"mask_margin_db":4,"chains":[{"chain":0,"power_dbm":15,"evm_db":-31}]},"receiving":null})");
  }
  scpi::message_buffer received;
  received.add({reinterpret_cast<const char *>(bytes + 1), size - 1});
  received.add("\n");
  while (const auto line = received.next()) {
    if (line->text.starts_with('{')) {
      expect(!phone.answer(line->text).empty(), "a phone gets no answer");
    } else {
      send(b, line->text);
    }
  }
  return 0;
}
