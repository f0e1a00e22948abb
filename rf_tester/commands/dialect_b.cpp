// SPDX-License-Identifier: Apache-2.0
// Dialect B: a tree like that of a communication tester. One query gives a list of all values; channels are
// numbered, a loss is entered as a negative gain, EVM is in percent and the frequency error in Hz.
#include "rf_tester/commands/command.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <fmt/ranges.h>

namespace rf_tester {
namespace {

using scpi::dimension;
using scpi::failure;
using scpi::parameter;
using scpi::parameter_kind;

std::string number_text(double value) { return std::isnan(value) ? "NAN" : fmt::format("{:+.9E}", value); }

struct band {
  const char *name;
  int zero_mhz, least_channel, most_channel;
};
constexpr band bands[] = {{"G2", 2407, 1, 13}, {"G5", 5000, 30, 180}, {"G6", 5950, 1, 233}};
constexpr std::string_view band_choices = "G2|G5|G6", width_choices = "BW20|BW40|BW80|BW160";
constexpr double widths_hz[] = {20e6, 40e6, 80e6, 160e6};

const parameter port_parameter = {
    .name = "port", .kind = parameter_kind::port_list, .least = 1, .most = port_count, .usual = NAN};
/** Sent in MHz without a unit. */
const parameter frequency = {.name = "frequency",
                             .unit = dimension::frequency,
                             .least = limits::least_hz,
                             .most = limits::most_hz,
                             .usual = NAN,
                             .scale = 1e6};
const parameter gain = {.name = "gain",
                        .unit = dimension::ratio,
                        .least = -limits::most_loss_db,
                        .most = -limits::least_loss_db,
                        .usual = NAN};

port &addressed(test_set &s, const call &c) {
  return s.ports[static_cast<size_t>(c.arguments[0].number) - 1];
}

std::string name_of(const waveform &w) {
  std::string name = fmt::format("{}_{}_bw{}.wv", w.format, w.rate, w.bandwidth_mhz);
  std::ranges::transform(name, name.begin(), [](char c) { return c >= 'a' && c <= 'z' ? char(c - 32) : c; });
  return name;
}

void set_channel(test_set &s, const call &c) {
  const band &chosen = bands[static_cast<size_t>(c.arguments[0].number)];
  const int channel = static_cast<int>(c.arguments[1].number);
  if (channel < chosen.least_channel || channel > chosen.most_channel)
    throw failure(scpi::data_out_of_range, fmt::format("channel {}: {} has {} to {}", channel, chosen.name,
                                                       chosen.least_channel, chosen.most_channel));
  s.set.analyzer_hz = s.set.generator_hz = (chosen.zero_mhz + 5 * channel) * 1e6;
  s.set.bandwidth_hz = widths_hz[static_cast<size_t>(c.arguments[2].number)];
}

std::string channel_text(test_set &s, const call &) {
  const int mhz = static_cast<int>(std::lround(s.set.analyzer_hz / 1e6));
  const band &in = mhz < bands[1].zero_mhz ? bands[0] : mhz < bands[2].zero_mhz ? bands[1] : bands[2];
  return fmt::format("{},{},BW{:.0f}", in.name, (mhz - in.zero_mhz) / 5, s.set.bandwidth_hz / 1e6);
}

std::string gain_list(test_set &s, const call &c) {
  std::vector<std::string> texts;
  for (const auto &[mhz, db] : addressed(s, c).correction.points()) {
    texts.push_back(number_text(mhz));
    texts.push_back(number_text(-db));
  }
  return fmt::format("{}", fmt::join(texts, ","));
}

double percent(double db) { return 100 * std::pow(10, db / 20); }

int reliability(outcome how) {
  constexpr int numbers[] = {0, 1, 3, 4, 8};
  return numbers[static_cast<size_t>(how)];
}

std::string modulation(test_set &s, const call &) {
  const reading &r = s.last();
  const double values[] = {r.power_dbm, percent(r.evm_db), r.frequency_error_ppm * r.mhz, -r.mask_margin_db,
                           r.leakage_dbc};
  std::string list = std::to_string(reliability(r.how));
  for (const double value : values) list += fmt::format(",{}", number_text(value));
  return list;
}

std::string chain_text(test_set &s, const call &c) {
  const reading &r = s.last();
  const auto found = std::ranges::find(r.chains, c.suffixes[0] - 1, &chain_reading::chain);
  const chain_reading shown = found == r.chains.end() ? chain_reading{0, NAN, NAN} : *found;
  return fmt::format("{},{},{}", reliability(r.how), number_text(shown.power_dbm),
                     number_text(percent(shown.evm_db)));
}

constexpr std::string_view modulation_answer =
    "reliability,power in dBm,EVM in percent,frequency error in Hz,excess over the mask in dB,leakage in dBc. "
    "Reliability: 0 good, 1 no trigger, 3 overdriven, 4 underdriven, 8 wider than the bandwidth. NAN: no reading";

const std::vector<command> all_commands = {
    {.header = "CONFigure:LINK",
     .help = "The port of analyzer and generator.",
     .act = [](test_set &s, const call &c) { s.set.port = static_cast<int>(c.arguments[0].number); },
     .takes = {port_parameter},
     .ask = [](test_set &s, const call &) { return fmt::format("(@{})", s.set.port); },
     .answer = "a list of one port, (@1)"},
    {.header = "CONFigure:LINK:GAIN",
     .help =
         "The gain of a port's path over frequency, with all points at once: a loss is negative. A frequency "
         "without a unit is in MHz.",
     .act = [](test_set &s, const call &c) { addressed(s, c).correction = table_of(c.arguments, 1, -1); },
     .takes = {port_parameter, frequency, gain},
     .repeat_from = 1,
     .ask = gain_list,
     .asks = {port_parameter},
     .answer = "frequency,gain,… in MHz and dB"},
    {.header = "CONFigure:LINK:GAIN:CLEar",
     .help = "Empties the gain table of a port.",
     .act = [](test_set &s, const call &c) { addressed(s, c).correction = {}; },
     .takes = {port_parameter}},
    {.header = "CONFigure:WLAN:CHANnel",
     .help =
         "Band, number of the centre channel, and bandwidth of analyzer and generator. The centre frequency is "
         "5 MHz times the number above 2407 (G2), 5000 (G5) or 5950 MHz (G6).",
     .act = set_channel,
     .takes = {{.name = "band", .kind = parameter_kind::choice, .choices = band_choices},
               {.name = "number", .kind = parameter_kind::integer, .least = 1, .most = 233, .usual = NAN},
               {.name = "bandwidth", .kind = parameter_kind::choice, .choices = width_choices}},
     .ask = channel_text,
     .answer = "band,number,bandwidth"},
    number_setting(
        "CONFigure:WLAN:RLEVel",
        "The expected power at the phone. More than 6 dB above is overdriven, 25 dB below underdriven, "
        "45 dB below does not trigger.",
        {.name = "level",
         .unit = dimension::level,
         .least = limits::least_expected_dbm,
         .most = limits::most_expected_dbm},
        &settings::expected_dbm),
    number_setting("CONFigure:WLAN:TOUT", "How long a measurement waits for a burst; without a unit in ms.",
                   {.name = "time",
                    .unit = dimension::time,
                    .least = limits::least_timeout_s,
                    .most = limits::most_timeout_s,
                    .scale = 1e-3},
                   &settings::timeout_s),
    integer_setting("CONFigure:WLAN:SCOunt", "Bursts that a measurement averages.",
                    {.name = "count", .least = 1, .most = limits::most_bursts}, &settings::bursts),
    {.header = "INITiate:WLAN",
     .help = "Starts a measurement and does not wait for its end.",
     .act = [](test_set &s, const call &) { s.start_measurement(); }},
    {.header = "ABORt:WLAN",
     .help = "Ends a measurement without a result.",
     .act = [](test_set &s, const call &) { s.abort_measurement(); }},
    {.header = "READ:WLAN:MODulation",
     .help = "A new measurement: all values.",
     .ask = modulation,
     .answer = modulation_answer,
     .waits = true,
     .start = [](test_set &s) { s.start_measurement(); }},
    {.header = "FETCh:WLAN:MODulation",
     .help = "The last measurement, once it has ended: all values.",
     .ask = modulation,
     .answer = "as of READ:WLAN:MODulation?",
     .waits = true},
    {.header = "FETCh:WLAN:CHAin<1-8>",
     .help = "The last measurement, once it has ended: one chain. The first chain is 1.",
     .ask = chain_text,
     .answer = "reliability,power in dBm,EVM in percent",
     .waits = true},
    {.header = "SOURce:GPRF:LEVel",
     .help = "The level at the phone: the generator takes the gain of the path off.",
     .takes = {{.name = "level",
                .unit = dimension::level,
                .least = limits::least_level_dbm,
                .most = limits::most_level_dbm,
                .usual = settings{}.level_dbm}},
     .number = &settings::level_dbm},
    {.header = "SOURce:GPRF:ARB:FILE",
     .help = "Loads the packets to send.",
     .act = [](test_set &s, const call &c) { s.set.packets = waveform_named(c.arguments[0].text, name_of); },
     .takes = {{.name = "file", .kind = parameter_kind::text}},
     .ask = [](test_set &s,
               const call &) { return fmt::format("\"{}\"", s.set.packets ? name_of(*s.set.packets) : ""); },
     .answer = "the name in quotes, empty after `*RST`"},
    {.header = "SOURce:GPRF:ARB:FILE:CATalog",
     .help = "The names of all waveforms.",
     .ask = [](test_set &, const call &) { return waveform_catalog(name_of); },
     .answer = "names in quotes"},
    integer_setting("SOURce:GPRF:ARB:CYCLes", "Packets to send.",
                    {.name = "count", .least = 1, .most = limits::most_packets}, &settings::packet_count),
    {.header = "SOURce:GPRF:STATe",
     .help = "ON sends the packets, all at once.",
     .act =
         [](test_set &s, const call &c) {
           if (c.arguments[0].number != 0) s.send();
         },
     .takes = {{.name = "state", .kind = parameter_kind::boolean}},
     .ask = [](test_set &s, const call &) { return fmt::format("RDY,{}", s.sent()); },
     .answer = "RDY, and the packets sent by the last start"},
};

const std::vector<command> &commands() { return all_commands; }

}  // namespace

const dialect &dialect_b() {
  static const dialect b = {
      "b",
      "RF-TESTER-B",
      "A tree like that of a communication tester: one query gives a list of all values, "
      "channels are numbered, a loss is entered as a negative gain.",
      commands,
      number_text,
      number_text};
  return b;
}

}  // namespace rf_tester
