// SPDX-License-Identifier: Apache-2.0
#include "console/run/identity.h"

#include "console/text/text.h"
#include "console/text/usage_error.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <random>
#include <string_view>

namespace console {
namespace {

using json = nlohmann::ordered_json;

bool is_utf8(const std::string &text) {
  try {
    (void)json(text).dump();
    return true;
  } catch (const json::exception &) { return false; }
}

bool has_control(std::string_view text) {
  for (; !text.empty(); text.remove_prefix(1))
    if (control_size(text)) return true;
  return false;
}

size_t characters(std::string_view text) {
  return static_cast<size_t>(std::ranges::count_if(text, [](char c) { return (c & 0xC0) != 0x80; }));
}

}  // namespace

void set_identity(identity &who, const identity_key &key, const std::string &value,
                  const std::string &called) {
  constexpr size_t most = 200;
  auto refuse = [&](const std::string &why) {
    throw usage_error{
        fmt::format("{}: {}: give 1 to {} characters without control characters.", called, why, most)};
  };
  if (!is_utf8(value)) refuse("it is no UTF-8");
  if (has_control(value)) refuse("it has a control character");
  if (auto size = characters(value); size == 0 || size > most)
    refuse(fmt::format("it has {} characters", size));
  who.*key.member = value;
  who.given = true;
}

std::string time_with_zone() {
  auto now = std::chrono::system_clock::now();
  auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
  auto seconds = std::chrono::system_clock::to_time_t(now);
  std::tm local = {};
  localtime_r(&seconds, &local);
  char text[32], zone[8];
  strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &local);
  strftime(zone, sizeof zone, "%z", &local);  // "+0100"
  return fmt::format("{}.{:03}{:.3}:{}", text, ms, zone, zone + 3);
}

std::string new_run_id() {
  std::random_device source;
  uint32_t a = source(), b = source(), c = source(), d = source();
  return fmt::format("{:08x}-{:04x}-4{:03x}-{:04x}-{:04x}{:08x}", a, b >> 16, b & 0xFFF,
                     (c >> 16 & 0x3FFF) | 0x8000, c & 0xFFFF, d);
}

std::string plan_of_session(const std::string &session) {
  return session.empty() ? "one-shot call" : session.substr(session.rfind('/') + 1);
}

json identity_json(const identity &who) {
  return {{"run", who.run},
          {"serial", who.serial},
          {"station", who.station},
          {"slot", who.slot},
          {"operator", who.operator_name},
          {"plan", {{"name", who.plan}, {"version", who.plan_version}}},
          {"versions", {{"console", who.console}, {"library", who.library}}},
          {"started", who.started},
          {"attempt", who.attempt}};
}

std::vector<std::pair<std::string, std::string>> identity_rows(const identity &who) {
  std::vector<std::pair<std::string, std::string>> rows;
  for (auto &key : identity_keys) rows.emplace_back(key.name, who.*key.member);
  rows.insert(rows.end(), {{"attempt", std::to_string(who.attempt)},
                           {"started", who.started},
                           {"run", who.run},
                           {"console", who.console},
                           {"library", who.library}});
  std::erase_if(rows, [](auto &row) { return row.second.empty(); });
  return rows;
}

std::string identity_text(const identity &who) {
  std::string text;
  for (auto &[name, value] : identity_rows(who))
    text += fmt::format("{}{} {}", text.empty() ? "" : ", ", name, value);
  return text;
}

}  // namespace console
