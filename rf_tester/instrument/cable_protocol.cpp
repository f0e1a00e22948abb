// SPDX-License-Identifier: Apache-2.0
#include "rf_tester/instrument/cable_protocol.h"

#include "rf_tester/instrument/waveforms.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace rf_tester {
namespace {

using nlohmann::json;

constexpr double highest_mhz = 8000, widest_mhz = 320, strongest_db = 200;
constexpr size_t most_chains = 8, longest_name = 64;

/** Thrown with the text of the error answer. */
struct refusal : std::runtime_error {
  using std::runtime_error::runtime_error;
};

const json &member(const json &object, const char *key) {
  if (!object.is_object()) throw refusal(fmt::format("{} is due in an object", key));
  const auto found = object.find(key);
  if (found == object.end()) throw refusal(fmt::format("{} is missing", key));
  return *found;
}

double number(const json &object, const char *key, double least, double most) {
  const json &value = member(object, key);
  const double read = value.is_number() ? value.get<double>() : NAN;
  if (!(read >= least && read <= most))
    throw refusal(fmt::format("{} is due from {} to {}", key, least, most));
  return read;
}

double decibels(const json &object, const char *key) {
  return number(object, key, -strongest_db, strongest_db);
}

std::string name(const json &object, const char *key) {
  const json &value = member(object, key);
  if (!value.is_string() || value.get_ref<const std::string &>().size() > longest_name)
    throw refusal(fmt::format("{} is due as a text of at most {} octets", key, longest_name));
  return value;
}

chain_emission read_chain(const json &from) {
  const double chain = number(from, "chain", 0, most_chains - 1);
  if (chain != std::floor(chain)) throw refusal(fmt::format("chain {} is no whole number", chain));
  return {static_cast<int>(chain), decibels(from, "power_dbm"), decibels(from, "evm_db")};
}

std::vector<chain_emission> read_chains(const json &from) {
  if (!from.is_array() || from.empty() || from.size() > most_chains)
    throw refusal(fmt::format("chains is due as an array of 1 to {}", most_chains));
  std::vector<chain_emission> read;
  for (const json &chain : from) {
    read.push_back(read_chain(chain));
    const int number = read.back().chain;
    if (std::ranges::count(read, number, &chain_emission::chain) > 1)
      throw refusal(fmt::format("chain {} comes twice", number));
  }
  return read;
}

/** Any width may be emitted with any rate; a format has rates of its own. */
void check_rate(const std::string &format, const std::string &rate) {
  const bool known = std::ranges::any_of(
      waveforms(), [&](const waveform &w) { return w.format == format && w.rate == rate; });
  if (!known) throw refusal(fmt::format("format '{}' with rate '{}' is not known", format, rate));
}

emission read_emission(const json &from) {
  emission read{number(from, "mhz", 1, highest_mhz),
                number(from, "bandwidth_mhz", 1, widest_mhz),
                name(from, "format"),
                name(from, "rate"),
                number(from, "frequency_error_ppm", -1e6, 1e6),
                decibels(from, "leakage_dbc"),
                decibels(from, "mask_margin_db"),
                read_chains(member(from, "chains"))};
  check_rate(read.format, read.rate);
  return read;
}

/** The phone's receiver decides by itself what it takes; only the form is checked here. */
void check_receiving(const json &from) {
  if (from.is_null()) return;
  number(from, "mhz", 1, highest_mhz);
  number(from, "bandwidth_mhz", 1, widest_mhz);
}

/** A whole number of MHz is written without a fraction. */
json written_mhz(double mhz) { return mhz == std::floor(mhz) ? json(static_cast<long>(mhz)) : json(mhz); }

json written(const burst &b) {
  return {{"mhz", written_mhz(b.mhz)}, {"bandwidth_mhz", written_mhz(b.bandwidth_mhz)},
          {"format", b.format},        {"rate", b.rate},
          {"level_dbm", b.level_dbm},  {"packets", b.packets}};
}

port &plug_in(ports &all, const json &plug) {
  const double wanted = number(plug, "port", -1e9, 1e9);
  const std::string phone = name(plug, "name");
  if (wanted < 1 || wanted > port_count || wanted != std::floor(wanted))
    throw refusal(fmt::format("there is no port {}: give 1 to {}", wanted, port_count));
  port &chosen = all[static_cast<size_t>(wanted) - 1];
  if (chosen.phone) throw refusal(fmt::format("port {} is taken by {}", wanted, *chosen.phone));
  chosen.phone = phone;
  return chosen;
}

json exchange(port &with, const json &message) {
  const json &emits = member(message, "emission");
  std::optional<emission> now;
  if (!emits.is_null()) now = read_emission(emits);
  check_receiving(member(message, "receiving"));
  with.emits = now;
  json bursts = json::array();
  for (const burst &b : with.take_bursts()) bursts.push_back(written(b));
  return {{"bursts", bursts}};
}

std::string error_answer(const std::string &text) {
  return json{{"error", text}}.dump(-1, ' ', true, json::error_handler_t::replace);
}

}  // namespace

cable_protocol::~cable_protocol() {
  if (plugged_ == nullptr) return;
  plugged_->unplug();
  changed_();
}

std::string cable_protocol::answer(const std::string &line) {
  const json message = json::parse(line, nullptr, false);
  if (message.is_discarded()) return error_answer("this line is no JSON text");
  try {
    if (message.is_object() && message.contains("plug")) {
      if (plugged_ != nullptr) throw refusal("this connection has its port already");
      plugged_ = &plug_in(ports_, message["plug"]);
      return json{{"ok", true}}.dump();
    }
    if (plugged_ == nullptr) throw refusal("the first message is due to be a plug");
    std::string bursts = exchange(*plugged_, message).dump();
    changed_();
    return bursts;
  } catch (const refusal &r) { return error_answer(r.what()); }
}

}  // namespace rf_tester
