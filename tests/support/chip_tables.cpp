// SPDX-License-Identifier: Apache-2.0
// Prints each chip as JSON: its profile and tables, and what its operations send on a good phone.
// script/chip-differences makes docs/reference/chip_differences.md from it.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>

#include "common/catalogue.h"
#include "common/channel.h"
#include "common/receive.h"
#include "common/transmit.h"
#include "common/weld.h"
#include "tests/support/profiles.h"
#include "virtual_phone/phone.h"

namespace {

// Outside namespace orva, where the same names take a profile.
const std::pair<const char *, std::function<void()>> operations[] = {
    {"wifi_set_power(155)", [] { wifi_set_power(155); }},
    {"wifi_set_antenna(1)", [] { wifi_set_antenna(1); }},
    {"wifi_setmimo_channel(2)", [] { wifi_setmimo_channel(2); }},
    {"wifi_pt_power_test(1)", [] { wifi_pt_power_test(1); }},
    {"wifi_start_testmode()", [] { wifi_start_testmode(); }},
    {"wifi_set_mode(6), wifi_set_channel(2412), wifi_set_band(0), wifi_set_rate(12150), wifi_start_tx()",
     [] {
       wifi_set_mode(6);
       wifi_set_channel(2412);
       wifi_set_band(0);
       wifi_set_rate(12150);
       wifi_start_tx();
     }},
    {"wifi_ru_set(2, \"1a3\"), wifi_start_rx()",
     [] {
       wifi_ru_set(2, "1a3");
       wifi_start_rx(nullptr, nullptr);
     }},
    {"wifi_stop_tx(), wifi_stop_tx()",
     [] {
       wifi_stop_tx();
       wifi_stop_tx();
     }},
    {"wifi_stop_testmode()", [] { wifi_stop_testmode(); }},
    {"wifi_test_weld()", [] { wifi_test_weld(); }},
    {"wifi_set_bss_expire_age(180)", [] { wifi_set_bss_expire_age(180); }},
    {"wifi_set_tas_ant_mode(1)", [] { wifi_set_tas_ant_mode(1); }},
    {"wifi_test_broadcast_loop(1)", [] { wifi_test_broadcast_loop(1); }},
    {"conn_test_sdio_loop()", [] { conn_test_sdio_loop(nullptr); }},
    {"wifi_nvram_set()", [] { wifi_nvram_set(nullptr, nullptr, 0); }},
};

}  // namespace

namespace orva {
namespace {

using nlohmann::ordered_json;

class facts {
public:
  void subject(const std::string &name) { subject_ = name; }
  void add(const std::string &what, const std::string &value) {
    rows_.push_back({{"subject", subject_}, {"what", what}, {"value", value}});
  }
  void add(const std::string &what, const char *text) {
    add(what, std::string(text != nullptr ? text : "-"));
  }
  void add(const std::string &what, bool yes) { add(what, yes ? "yes" : "no"); }
  template <typename Number> void number(const std::string &what, Number value) {
    add(what, std::to_string(value));
  }
  void command(const std::string &what, uint8_t id) {
    add(what, id == NO_COMMAND ? "-" : std::to_string(id));
  }
  const ordered_json &rows() const { return rows_; }

private:
  std::string subject_;
  ordered_json rows_ = ordered_json::array();
};

template <typename Row, typename Show> std::string joined(const list<Row> &rows, const Show &show) {
  std::string text;
  for (const Row &row : rows) text += (text.empty() ? "" : ", ") + show(row);
  return text.empty() ? "-" : text;
}

std::string pair(int64_t from, int64_t to) { return std::to_string(from) + "→" + std::to_string(to); }

/// For a step of a chip's own that has no name here.
constexpr const char *own_step = "a step of its own";

/// The name of a step; tables hold addresses only.
std::string step_name(const start_step *step) {
  const std::pair<const start_step *, const char *> names[] = {{&tx_power_save, "power save off"},
                                                               {&tx_mode, "mode"},
                                                               {&tx_bandwidth, "bandwidth"},
                                                               {&tx_channel, "channel"},
                                                               {&tx_chain, "chain"},
                                                               {&tx_rate, "rate"},
                                                               {&tx_power, "power"},
                                                               {&rx_power_save, "power save off"},
                                                               {&rx_mode, "mode"},
                                                               {&rx_bandwidth, "bandwidth"},
                                                               {&rx_channel, "channel"},
                                                               {&rx_chain, "chain"}};
  for (const auto &[known, name] : names) {
    if (known == step) return name;
  }
  if (step->run == vq2070_send_chain_and_ru) return "chain and RU setting";
  return own_step;
}

std::string weld_name(const weld_step *step) {
  const std::pair<const weld_step *, const char *> names[] = {
      {&weld_dbb, "DBB number"},     {&weld_efuse, "efuse"},
      {&weld_pin, "pins"},           {&weld_wakeup_io, "wake-up IO"},
      {&weld_pcie, "PCIe"},          {&vq2040a_announce_wakeup_io, "announce wake-up IO"},
      {&weld_close, "close socket"}, {&weld_interface_down, "wlan0 down"}};
  for (const auto &[known, name] : names) {
    if (known == step) return name;
  }
  return own_step;
}

void add_driver(const chip &c, facts &out) {
  out.subject("driver");
  out.add("log tag", c.log_tag);
  char magic[16];
  snprintf(magic, sizeof magic, c.magic < 10000 ? "%u" : "0x%X", c.magic);
  out.add("magic", magic);
  out.command("command: PMU check", c.command.pmu_check);
  out.command("command: wake-up IO test", c.command.wakeup_io);
  out.command("command: PCIe test", c.command.pcie);
  out.command("command: connection info", c.command.conn_info);
  out.command("command: dynamic calibration interval", c.command.dyn_interval);
  out.command("command: self-calibration switch", c.command.selfcali_interval);
  out.command("command: power test", c.command.power_test);
  out.command("command: TAS antenna", c.command.tas_antenna);
  out.command("command: BSS expire age", c.command.bss_expire_age);
  out.command("command: calibration parameter", c.command.calibration_query);
  out.add("value commands besides 0 to 5, 8 and 11",
          joined(c.value_commands, [](const value_command &row) { return std::to_string(row.id); }));
  const auto &l = c.line;
  out.add("line numbers: socket, second socket, ioctl, retry, unknown command",
          std::to_string(l.socket_failed) + ", " + std::to_string(l.second_socket_failed) + ", " +
              std::to_string(l.ioctl_fail) + ", " + std::to_string(l.retry_fail) + ", " +
              std::to_string(l.unknown_command));
}

void add_rf_test(const chip &c, facts &out) {
  out.subject("RF test");
  out.add("driver mode by row→AT mode",
          joined(c.mode.at_modes, [](const at_mode &row) { return pair(row.driver_mode, row.at_mode); }));
  out.add("driver mode exchanged below 2484 MHz",
          joined(c.mode.remaps, [](const mode_remap &row) { return pair(row.mode, row.below_2484_mhz); }));
  out.add("set_mode logs every call at error level", c.mode_logs_every_call);
  out.add("unknown mode", c.mode.unknown);
  out.add("channel number", c.channel_of == channel_by_band ? "bandwidth and band checked separately"
                                                            : "one message for every pair without a row");
  out.number("power units per driver step", c.power_divisor);
  out.add("rates with a code of their own",
          joined(c.tx.rate_codes, [](const rate_code &row) { return pair(row.rate, row.code); }));
  out.add("transmit start", joined(c.tx.steps, step_name));
  out.add("receive start", joined(c.rx.steps, step_name));
  out.add("transmit start raises the flag", c.tx.raises_flag_at_start);
  out.add("stop does nothing when stopped", c.tx.stops_only_when_started);
  out.number("pause after switching on, µs", c.tx.final_pause_us);
  const char *const failures[] = {"not logged", "logged", "logged if power save could not be switched off"};
  out.add("test mode: refused country code", failures[static_cast<int>(c.testmode.logs_country_failure)]);
  out.add("test mode: sets self-calibration", c.testmode.sets_selfcali_interval);
  out.add("test mode: sets dynamic calibration", c.testmode.sets_dyn_interval);
  out.add("leaving test mode lowers both flags", c.testmode.clears_flags_at_stop);
  out.add("query logs a wrong type", c.query_logs_wrong_type);
  out.number("memory test time", c.state.mem_time);
  out.add("keeps a running-test flag", c.state.running_test != nullptr);
  out.add("power mode logged as", c.utilities.powermode_logged_as);
}

std::string lines(const probe_lines &l) {
  return l.fail == 0 ? "-" : std::to_string(l.fail) + ", " + std::to_string(l.pass);
}

void add_checks(const chip &c, facts &out) {
  out.subject("self-checks");
  out.number("line number: DBB", c.probe.dbb_line);
  out.add("line numbers: PMU", lines(c.probe.pmu));
  out.add("line numbers: pins", lines(c.probe.pin));
  out.add("line numbers: wake-up IO", lines(c.probe.wakeup_io));
  out.add("line numbers: PCIe", lines(c.probe.pcie));
  out.add("wake-up IO logs the low half only", c.probe.wakeup_logs_low_half);
  out.number("die identifier, words", c.die_id.words);
  out.add("die identifier logs each character", c.die_id.logs_characters);
  out.add("die identifier: retry logged as", c.die_id.boots_as);
  out.add("die identifier: extra message if wlan0 does not come up", c.die_id.names_boot_failure);
  out.add("weld test", joined(c.weld_steps, weld_name));
  out.add("SDIO loop stops the WLAN service", c.sdio_loop_stops_wifi);
}

std::string catalogue(const list<cal_row> &rows) {
  return joined(rows, [](const cal_row &row) { return row.param + ("@" + std::to_string(row.item.number)); });
}

void add_calibration(const chip &c, facts &out) {
  out.subject("calibration");
  out.add("kept as", c.calibration != nullptr ? "texts, one item for each kind" : "one raw block, item 340");
  static const calibration none = {};
  const calibration &k = c.calibration != nullptr ? *c.calibration : none;
  const bool there = c.calibration != nullptr;
  out.add("offsets per channel, parameter@item", catalogue(k.per_channel));
  out.add("power curves, parameter@item", catalogue(k.power));
  out.add("NV items", joined(k.items, [](const nv_item &row) { return std::to_string(row.number); }));
  out.add("driver's numbers", joined(k.driver_params, [](const driver_param &row) {
            return row.name + ("=" + std::to_string(row.number));
          }));
  const auto flag = [&](const char *what, bool yes) { out.add(what, there ? (yes ? "yes" : "no") : "-"); };
  flag("two chains", k.has_chains);
  flag("offsets for exact channel centres only", k.centres_only);
  flag("leaves an item without entries alone", k.writes_nothing_without_entries);
  flag("checks bounds-checked calls", k.checks_secure_calls);
  out.add("largest error", k.largest_error > 0 ? std::to_string(static_cast<int>(k.largest_error)) : "-");
  out.add("failed copy of an answer", k.answer_copy_failure);
}

void add_station(const chip &c, facts &out) {
  out.subject("station");
  out.add("roam: command cannot be formatted", c.utilities.roam_format_error);
  out.add("expire age: checks the format's result", c.utilities.checks_expire_age_format);
  out.add("connection info: failed copy", c.utilities.conn_info_copy_failure);
  out.add("connection info: a failed copy ends it", c.utilities.conn_info_copy_failure_ends);
  out.number("UPC code without a socket", c.utilities.upc_without_socket);
  out.add("self-calibration switch logged as", c.utilities.selcal_logged_as);
}

/// What an operation did to the phone: driver commands with their first word, shell commands, node writes.
std::string contacts() {
  std::string text;
  const auto add = [&](const std::string &part) { text += (text.empty() ? "" : ", ") + part; };
  for (size_t i = 0; i < phone_event_count(); i++) {
    const struct phone_event &event = *phone_event(i);
    if (event.kind == PHONE_EXEC || event.kind == PHONE_POPEN) add(std::string("“") + event.text + "”");
    if (event.kind == PHONE_WRITE)
      add("node " + std::string(static_cast<const char *>(event.data), event.size));
    if (event.kind != PHONE_IOCTL) continue;
    int32_t value;
    memcpy(&value, static_cast<const char *>(event.data) + 8, sizeof value);
    add(std::to_string(event.number[2]) + "=" + std::to_string(value));
  }
  return text.empty() ? "-" : text;
}

void add_operations(facts &out) {
  out.subject("commands sent, id=value");
  for (const auto &[what, run] : operations) {
    phone_events_clear();
    run();
    out.add(what, contacts());
  }
}

ordered_json facts_of(uint32_t index) {
  const chip &c = *profiles[index];
  facts out;
  add_driver(c, out);
  add_rf_test(c, out);
  add_checks(c, out);
  add_calibration(c, out);
  add_station(c, out);
  out.subject("operations");
  std::string missing;
  for (uint32_t id = 0; id < OPERATIONS; id++) {
    if (g_func[id].func[index] == nullptr) missing += (missing.empty() ? "" : ", ") + std::to_string(id);
  }
  out.add("ids without a function", missing);
  phone_reset();
  char error[200];
  if (phone_set("chip", c.name, error, sizeof error) != 0) exit(1);
  add_operations(out);
  return out.rows();
}

}  // namespace
}  // namespace orva

int main() {
  nlohmann::ordered_json all;
  for (uint32_t i = 0; i < ORVA_SUBCHIPS; i++) all[orva::profiles[i]->name] = orva::facts_of(i);
  std::cout << all.dump(2) << "\n";
}
