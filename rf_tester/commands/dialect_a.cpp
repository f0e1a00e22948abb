// SPDX-License-Identifier: Apache-2.0
// Dialect A: a tree like that of a spectrum analyzer. Each value has its own query; frequencies are in Hz,
// losses are entered as losses.
#include "rf_tester/commands/command.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <fmt/ranges.h>

namespace rf_tester {
namespace {

using scpi::dimension;
using scpi::parameter;
using scpi::parameter_kind;

std::string setting(double value) { return fmt::format("{:.10g}", value); }
std::string reading_text(double value) {
  return std::isnan(value) ? "9.91E37" : fmt::format("{:.3f}", value);
}

std::string name_of(const waveform &w) { return fmt::format("{}{}_{}", w.format, w.bandwidth_mhz, w.rate); }

const parameter frequency = {.name = "frequency",
                             .unit = dimension::frequency,
                             .least = limits::least_hz,
                             .most = limits::most_hz,
                             .usual = NAN};
const parameter loss = {.name = "loss",
                        .unit = dimension::ratio,
                        .least = limits::least_loss_db,
                        .most = limits::most_loss_db,
                        .usual = NAN};
const parameter chain = {
    .name = "chain", .kind = parameter_kind::integer, .least = 0, .most = 7, .usual = NAN, .optional = true};

port &addressed(test_set &s, const call &c) { return s.ports[static_cast<size_t>(c.suffixes[0]) - 1]; }

std::string loss_list(test_set &s, const call &c) {
  std::vector<std::string> values;
  for (const auto &[mhz, db] : addressed(s, c).correction.points()) {
    values.push_back(setting(mhz * 1e6));
    values.push_back(setting(db));
  }
  return fmt::format("{}", fmt::join(values, ","));
}

/** The value of one chain, or of all together where none was named. */
template <double chain_reading::*OfChain, double reading::*OfAll>
std::string per_chain(test_set &s, const call &c) {
  const reading &last = s.last();
  if (!c.arguments[0].given) return reading_text(last.*OfAll);
  const auto found =
      std::ranges::find(last.chains, static_cast<int>(c.arguments[0].number), &chain_reading::chain);
  return reading_text(found == last.chains.end() ? NAN : (*found).*OfChain);
}

template <double reading::*Value> std::string whole(test_set &s, const call &) {
  return reading_text(s.last().*Value);
}

std::string frequency_error(test_set &s, const call &) { return reading_text(s.last().frequency_error_ppm); }

std::string outcome_word(test_set &s, const call &) {
  constexpr std::string_view words[] = {"OK", "TIM", "OVER", "UND", "SYNC"};
  return std::string(words[static_cast<size_t>(s.last().how)]);
}

void start(test_set &s) { s.start_measurement(); }

/** A value of the last measurement, and the same of a new one. */
struct value_row {
  std::string_view fetch, measure, help, answer;
  std::string (*ask)(test_set &, const call &);
  bool of_chains;
};
const value_row values[] = {
    {"FETCh:POWer", "MEASure:POWer", "average power of the bursts", "dBm",
     per_chain<&chain_reading::power_dbm, &reading::power_dbm>, true},
    {"FETCh:EVM", "MEASure:EVM", "error vector magnitude", "dB",
     per_chain<&chain_reading::evm_db, &reading::evm_db>, true},
    {"FETCh:FERRor", "MEASure:FERRor", "carrier frequency error", "ppm", frequency_error, false},
    {"FETCh:MASK", "MEASure:MASK", "smallest margin to the spectral mask", "dB, negative beyond the mask",
     whole<&reading::mask_margin_db>, false},
    {"FETCh:LEAKage", "MEASure:LEAKage", "carrier leakage", "dBc", whole<&reading::leakage_dbc>, false},
    {"FETCh:STATus", "MEASure:STATus", "outcome",
     "OK; TIM: no trigger; OVER, UND: beyond the range of the expected power; SYNC: wider than the bandwidth",
     outcome_word, false},
};

command value_query(const value_row &v, bool fresh) {
  command row{.header = fresh ? v.measure : v.fetch,
              .help = fmt::format("{}: {}{}.",
                                  fresh ? "A new measurement" : "The last measurement, once it has ended",
                                  v.help, v.of_chains ? ", of one chain or of all" : "")};
  row.ask = v.ask;
  if (v.of_chains) row.asks = {chain};
  row.answer = v.answer;
  row.waits = true;
  row.start = fresh ? start : nullptr;
  return row;
}

const std::vector<command> other_commands = {
    integer_setting("ROUTe:PORT", "The port of analyzer and generator.",
                    {.name = "port", .least = 1, .most = port_count}, &settings::port),
    number_setting("[SENSe]:FREQuency[:CENTer]",
                   "The analyzer's centre frequency. A burst more than 1 MHz off is not seen.", frequency,
                   &settings::analyzer_hz),
    number_setting("[SENSe]:BANDwidth",
                   "The analyzer's bandwidth. Of a wider burst only the power is measured.",
                   {.name = "bandwidth",
                    .unit = dimension::frequency,
                    .least = limits::least_bandwidth_hz,
                    .most = limits::most_bandwidth_hz},
                   &settings::bandwidth_hz),
    number_setting(
        "[SENSe]:POWer[:EXPected]",
        "The expected power, with the path loss added. More than 6 dB above is over range, 25 dB below "
        "under range, 45 dB below does not trigger.",
        {.name = "power",
         .unit = dimension::level,
         .least = limits::least_expected_dbm,
         .most = limits::most_expected_dbm},
        &settings::expected_dbm),
    integer_setting("[SENSe]:AVERage:COUNt", "Bursts that a measurement averages.",
                    {.name = "count", .least = 1, .most = limits::most_bursts}, &settings::bursts),
    {.header = "[SENSe]:CORRection:PORT<1-8>[:LOSS]",
     .help =
         "The path loss of a port over frequency, with all points at once. It is added to what the analyzer reads "
         "and to what the generator gives.",
     .act = [](test_set &s, const call &c) { addressed(s, c).correction = table_of(c.arguments, 0, 1); },
     .takes = {frequency, loss},
     .repeat_from = 0,
     .ask = loss_list,
     .answer = "frequency,loss,… in Hz and dB, in order of frequency"},
    {.header = "[SENSe]:CORRection:PORT<1-8>:CLEar",
     .help = "Empties the path-loss table of a port.",
     .act = [](test_set &s, const call &c) { addressed(s, c).correction = {}; }},
    number_setting("TRIGger:TIMeout", "How long a measurement waits for a burst.",
                   {.name = "time",
                    .unit = dimension::time,
                    .least = limits::least_timeout_s,
                    .most = limits::most_timeout_s},
                   &settings::timeout_s),
    {.header = "INITiate[:IMMediate]",
     .help = "Starts a measurement and does not wait for its end.",
     .act = [](test_set &s, const call &) { s.start_measurement(); }},
    {.header = "ABORt",
     .help = "Ends a measurement without a result.",
     .act = [](test_set &s, const call &) { s.abort_measurement(); }},
    number_setting("SOURce:FREQuency", "The generator's frequency.", frequency, &settings::generator_hz),
    number_setting("SOURce:POWer[:LEVel]", "The level at the phone: the generator adds the path loss.",
                   {.name = "level",
                    .unit = dimension::level,
                    .least = limits::least_level_dbm,
                    .most = limits::most_level_dbm},
                   &settings::level_dbm),
    {.header = "SOURce:WAVeform",
     .help = "Loads the packets to send.",
     .act = [](test_set &s, const call &c) { s.set.packets = waveform_named(c.arguments[0].text, name_of); },
     .takes = {{.name = "name", .kind = parameter_kind::text}},
     .ask = [](test_set &s,
               const call &) { return fmt::format("\"{}\"", s.set.packets ? name_of(*s.set.packets) : ""); },
     .answer = "the name in quotes, empty after `*RST`"},
    {.header = "SOURce:WAVeform:CATalog",
     .help = "The names of all waveforms.",
     .ask = [](test_set &, const call &) { return waveform_catalog(name_of); },
     .answer = "names in quotes"},
    integer_setting("SOURce:BURSt:COUNt", "Packets to send.",
                    {.name = "count", .least = 1, .most = limits::most_packets}, &settings::packet_count),
    {.header = "SOURce:BURSt:STARt",
     .help = "Sends the packets, all at once.",
     .act = [](test_set &s, const call &) { s.send(); }},
    {.header = "SOURce:BURSt:SENT",
     .help = "Packets sent by the last start.",
     .ask = [](test_set &s, const call &) { return std::to_string(s.sent()); },
     .answer = "a number"},
};

std::vector<command> all_commands() {
  std::vector<command> all = other_commands;
  for (const bool fresh : {false, true})
    for (const value_row &v : values) all.push_back(value_query(v, fresh));
  return all;
}

const std::vector<command> &commands() {
  static const std::vector<command> all = all_commands();
  return all;
}

}  // namespace

const dialect &dialect_a() {
  static const dialect a = {
      "a",
      "RF-TESTER-A",
      "A tree like that of a spectrum analyzer: each value has its own query, frequencies are "
      "in Hz, losses are entered as losses.",
      commands,
      setting,
      reading_text};
  return a;
}

}  // namespace rf_tester
