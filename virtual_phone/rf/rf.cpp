// SPDX-License-Identifier: Apache-2.0
#include "rf.h"

#include "../clock.h"
#include "../phone.h"
#include "../radio_driver.h"
#include "../radio_keys.h"
#include "../state.h"

#include "platform/platform.h"

#include <cmath>
#include <cstring>

namespace phone::rf {
namespace {

constexpr int log_warning = 5;
constexpr uint32_t million = 1000000;

struct radio &the_radio() {
  return state().radio;
}
const struct unit &the_unit() { return state().config.unit; }
uint64_t now() { return static_cast<uint64_t>(phone_now_us()); }

bool is_on() { return the_unit().is_described() || state().config.cable[0]; }

/// The unit's own faults, and those that the board's checks find.
uint32_t board_faults() {
  uint32_t found = the_unit().faults;
  if (the_radio().fem) found |= wrong_fem;
  if (the_radio().pin) found |= cold_joint;
  return found;
}

void load_if_due() {
  auto &rf = state().rf;
  if (!rf.must_load) return;
  rf.must_load = false;
  load_calibration(the_radio().chip, rf.loaded);
}

std::optional<emission> current_emission() {
  if (!is_on() || !the_radio().transmitting) return std::nullopt;
  load_if_due();
  return emission_of(the_radio(), the_unit(), board_faults(), state().rf.loaded);
}

reception current_reception() {
  auto at = tuning_of(the_radio());
  double loss = path_loss(the_radio(), the_unit(), board_faults(), at.chain);
  bool on = the_radio().up && the_radio().receiving && at.is_reachable();
  return {on, at, static_cast<milli>(std::lround(loss * 1000))};
}

double level_at_chip(milli level, const reception &set) { return (level - set.loss_db) / 1000.0; }

// ---- Without a cable: the test signal of the description --------------------------------------------------

/// The test signal is on the receiver's channel, with the format and rate that were set last.
void hear_test_signal() {
  auto &radio = the_radio();
  auto set = current_reception();
  burst signal{double(set.at.mhz), double(set.at.bandwidth_mhz), modulation_of(radio), 0, 0};
  double level = static_cast<int32_t>(radio.rssi) - set.loss_db / 1000.0;
  uint32_t lost = lost_per_million(the_unit(), board_faults(), signal, level);
  auto rate = static_cast<uint32_t>(uint64_t{radio.packet_rate} * (million - lost) / million);
  radio_hear(&radio, reported_level(the_unit(), set.at, level), rate, now());
}

// ---- With a cable ----------------------------------------------------------------------------------------

void count(const std::vector<burst> &bursts, const reception &set) {
  auto &rf = state().rf;
  for (auto &burst : bursts) {
    if (!set.on || !hears(set.at, burst)) continue;
    double level = level_at_chip(burst.level_dbm, set);
    uint32_t lost = lost_per_million(the_unit(), board_faults(), burst, level);
    uint32_t got = received(burst.packets, lost, rf.losses);
    if (got) rf.last_level = reported_level(the_unit(), set.at, level);
    radio_deliver(&the_radio(), got);
  }
}

/// Tells the test set what the radio does and counts what arrived until now. Unasked only if something
/// changed.
void tell_test_set(bool always) {
  auto &rf = state().rf;
  auto set = current_reception();
  auto message = cable_message(current_emission(), set.on ? std::optional(set.at) : std::nullopt);
  if (always || message != rf.cable.sent) {
    std::string fault;
    auto bursts = exchange(rf.cable, message, fault);
    if (bursts) count(*bursts, rf.before);
    if (!bursts) __android_log_print(log_warning, "virtual_phone", "%s\n", fault.c_str());
  }
  if (set.on && !rf.before.on)
    rf.last_level = reported_level(the_unit(), set.at, noise_dbm(the_unit(), board_faults(), set.at));
  rf.before = set;
}

void hear_cable(bool always) {
  auto &rf = state().rf;
  if (rf.cable.plugged) tell_test_set(always);
  radio_hear(&the_radio(), rf.last_level, 0, now());
}

std::string name_of_phone() {
  char mac[32] = "";
  radio_get(&the_radio(), "identity.mac", mac, sizeof(mac));
  return std::string(radio_chip_name(the_radio().chip)) + " " + mac;
}

}  // namespace

void switch_on() {
  auto &rf = state().rf;
  unplug_cable(rf.cable);
  rf.before = {};
  rf.last_level = 0;
  driver_came_up();
}

void driver_came_up() {
  state().rf.must_load = true;
  state().rf.losses = stream_of(static_cast<uint64_t>(the_unit().seed), "losses");
}

void before_nv_changes() {
  if (is_on()) load_if_due();
}

void radio_changed() {
  if (!is_on()) {
    if (the_radio().heard) radio_hear_all(&the_radio(), now());
  } else if (state().config.cable[0]) {
    hear_cable(false);
  } else {
    hear_test_signal();
  }
}

void before_command(enum radio_cmd command) {
  bool counts = command == RADIO_CMD_PACKETS || command == RADIO_CMD_RSSI;
  bool restarts = command == RADIO_CMD_RECEIVE && state().rf.before.on;
  if (state().rf.cable.plugged && (counts || restarts)) hear_cable(true);
}

void after_command(enum radio_cmd command) {
  if (!is_on()) return;
  auto &rf = state().rf;
  if (command == RADIO_CMD_BLOCK_PUSH) {
    load_if_due();
    memcpy(rf.loaded.block, the_radio().pushed_block, sizeof(rf.loaded.block));
    rf.loaded.has_block = 1;
  }
  radio_changed();
}

std::string emission_text() { return emission_json(current_emission()); }

std::string plug(const std::string &address) {
  auto &rf = state().rf;
  std::string had = rf.cable.plugged ? rf.cable.address : "";
  std::string fault = plug_cable(rf.cable, address, name_of_phone());
  if (!fault.empty()) plug_cable(rf.cable, had, name_of_phone());
  rf.before = {};
  rf.last_level = 0;
  return fault;
}

void part() { unplug_cable(state().rf.cable); }

}  // namespace phone::rf
