// SPDX-License-Identifier: Apache-2.0
#include "cable.h"
#include "line_socket.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <unistd.h>

namespace phone::rf {
namespace {

using json = nlohmann::ordered_json;

constexpr int64_t patience_ms = 2000;
constexpr unsigned most_ports = 999;
constexpr size_t most_bursts = 10000;

struct address_parts {
  std::string host, service;
  unsigned port;
};

template <typename Number> bool read_number(std::string_view text, Number &number) {
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc{} && end == text.data() + text.size();
}

std::optional<address_parts> split(const std::string &address) {
  size_t slash = address.rfind('/'), colon = address.rfind(':', slash);
  if (slash == address.npos || colon == address.npos || colon == 0) return std::nullopt;
  address_parts parts{address.substr(0, colon), address.substr(colon + 1, slash - colon - 1), 0};
  uint16_t service = 0;
  bool sound = read_number(std::string_view(parts.service), service) && service != 0 &&
               read_number(std::string_view(address).substr(slash + 1), parts.port) && parts.port >= 1 &&
               parts.port <= most_ports;
  if (!sound) return std::nullopt;
  if (parts.host.front() == '[' && parts.host.back() == ']') parts.host = parts.host.substr(1, colon - 2);
  return parts;
}

/// Sends a message and reads its answer. Returns "" or what went wrong.
std::string ask(int descriptor, const std::string &message, json &answer) {
  const deadline until(patience_ms);
  std::string line, fault = send_line(descriptor, message + "\n", until);
  if (fault.empty()) fault = read_line(descriptor, line, until);
  if (!fault.empty()) return fault;
  answer = json::parse(line, nullptr, false);
  if (!answer.is_object()) return "an answer that is no JSON object";
  if (!answer.contains("error")) return "";
  return answer["error"].is_string() ? answer["error"].get<std::string>() : answer["error"].dump();
}

// ---- Messages --------------------------------------------------------------------------------------------

double number(milli value) { return value / 1000.0; }

json json_of(const std::optional<emission> &sent) {
  if (!sent) return nullptr;
  return {{"mhz", sent->at.mhz},
          {"bandwidth_mhz", sent->at.bandwidth_mhz},
          {"format", name_of(sent->sent.format)},
          {"rate", rate_of(sent->sent.format, sent->sent.rate)->name},
          {"frequency_error_ppm", number(sent->frequency_error_ppm)},
          {"leakage_dbc", number(sent->leakage_dbc)},
          {"mask_margin_db", number(sent->mask_margin_db)},
          {"chains", json::array({{{"chain", sent->at.chain},
                                   {"power_dbm", number(sent->power_dbm)},
                                   {"evm_db", number(sent->evm_db)}}})}};
}

json json_of(const std::optional<tuning> &receiving) {
  if (!receiving) return nullptr;
  return {{"mhz", receiving->mhz}, {"bandwidth_mhz", receiving->bandwidth_mhz}};
}

/// A number within limits.
bool take(const json &from, const char *name, double least, double most, double &number) {
  auto found = from.find(name);
  if (found == from.end() || !found->is_number()) return false;
  number = found->get<double>();
  return number >= least && number <= most;
}

std::string text_at(const json &from, const char *name) {
  auto found = from.find(name);
  return found != from.end() && found->is_string() ? found->get<std::string>() : "";
}

bool take_modulation(const json &from, modulation &sent) {
  auto known = format_named(text_at(from, "format"));
  if (!known) return false;
  std::string name = text_at(from, "rate");
  for (unsigned i = 0; rate_of(*known, i); i++) {
    if (name != rate_of(*known, i)->name) continue;
    sent = {*known, i};
    return true;
  }
  return false;
}

bool take_burst(const json &from, burst &into) {
  double mhz, bandwidth, packets, level;
  if (!from.is_object() || !take(from, "mhz", 1, 100000, mhz) ||
      !take(from, "bandwidth_mhz", 1, 1000, bandwidth) || !take(from, "packets", 0, UINT32_MAX, packets) ||
      !take(from, "level_dbm", -1000, 100, level))
    return false;
  into.mhz = mhz;
  into.bandwidth_mhz = bandwidth;
  into.packets = static_cast<uint32_t>(packets);
  into.level_dbm = static_cast<milli>(std::lround(level * 1000));
  return into.packets == packets && take_modulation(from, into.sent);
}

std::string take_bursts(const json &answer, std::vector<burst> &bursts) {
  auto list = answer.find("bursts");
  if (list == answer.end() || !list->is_array() || list->size() > most_bursts)
    return "an answer without bursts: " + answer.dump().substr(0, 200);
  for (auto &each : *list) {
    burst read{};
    if (!take_burst(each, read)) return "a burst that cannot be read: " + each.dump().substr(0, 200);
    bursts.push_back(read);
  }
  return "";
}

}  // namespace

std::string cable_address_fault(const std::string &address) {
  bool fits = address.size() < sizeof(cable_end::address);
  if (address.empty() || (fits && split(address))) return "";
  return "HOST:PORT/N, as 127.0.0.1:5026/1, with the number N of a port of the test set from 1 to " +
         std::to_string(most_ports);
}

std::string plug_cable(cable_end &end, const std::string &address, const std::string &phone_name) {
  unplug_cable(end);
  if (address.empty()) return "";
  auto parts = split(address);
  if (!parts) return "cable: '" + address + "' is not " + cable_address_fault(address);
  int descriptor = -1;
  std::string fault = open_line_socket(parts->host, parts->service, patience_ms, descriptor);
  json answer, plug = {{"plug", {{"port", parts->port}, {"name", phone_name}}}};
  if (fault.empty()) {
    fault = ask(descriptor, plug.dump(), answer);
    if (fault.empty() && answer.value("ok", json(false)) != true) fault = "it does not answer as a test set";
  }
  if (fault.empty()) {
    end.plugged = true;
    end.descriptor = descriptor;
    snprintf(end.address, sizeof(end.address), "%s", address.c_str());
    return "";
  }
  if (descriptor >= 0) close(descriptor);
  return "cable: the RF test set at " + address + " cannot be plugged: " + fault;
}

void unplug_cable(cable_end &end) {
  if (end.plugged) close(end.descriptor);
  end = {.plugged = false, .descriptor = -1, .address = {}, .sent = {}};
}

std::string cable_message(const std::optional<emission> &emission, const std::optional<tuning> &receiving) {
  return json{{"emission", json_of(emission)}, {"receiving", json_of(receiving)}}.dump();
}

std::string emission_json(const std::optional<emission> &emission) { return json_of(emission).dump(); }

std::optional<std::vector<burst>> exchange(cable_end &end, const std::string &message, std::string &fault) {
  json answer;
  std::vector<burst> bursts;
  fault = ask(end.descriptor, message, answer);
  if (fault.empty()) fault = take_bursts(answer, bursts);
  snprintf(end.sent, sizeof(end.sent), "%s", message.c_str());
  if (fault.empty()) return bursts;
  fault = "cable: the RF test set at " + std::string(end.address) + " failed: " + fault;
  unplug_cable(end);
  return std::nullopt;
}

}  // namespace phone::rf
