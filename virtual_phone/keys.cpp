// SPDX-License-Identifier: Apache-2.0
#include "keys.h"

#include "clock.h"
#include "phone.h"
#include "radio_chips.h"
#include "radio_keys.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <numeric>
#include <string_view>
#include <vector>

namespace phone {
namespace {

bool read_flag(std::string_view value, bool &flag) {
  bool on = value == "true" || value == "1";
  if (!on && value != "false" && value != "0") return false;
  flag = on;
  return true;
}

bool read_text(std::string_view value, char *field, size_t size) {
  if (value.size() >= size) return false;
  memset(field, 0, size);
  memcpy(field, value.data(), value.size());
  return true;
}

bool read_subchip(std::string_view value, int64_t &subchip) {
  uint32_t number = 0;
  auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
  bool whole = error == std::errc{} && end == value.data() + value.size();
  if (!whole && value != "auto") return false;
  subchip = whole ? int64_t{number} : -1;
  return true;
}

std::string show_flag(bool flag) { return flag ? "true" : "false"; }

struct setting {
  const char *name, *initial, *expects, *meaning;
  bool (*set)(config &, std::string_view);
  std::string (*get)(const config &);
};

constexpr const char *true_or_false = "true or false";

const setting settings[] = {
    {"subchip", "auto", "auto or a number from 0 to 4294967295", "the sub-chip index; auto: the chip's own",
     [](config &c, std::string_view v) { return read_subchip(v, c.subchip); },
     [](const config &c) { return c.subchip < 0 ? "auto" : std::to_string(c.subchip); }},
    {"wifi.service", "true", true_or_false, "does the phone's WLAN service run",
     [](config &c, std::string_view v) { return read_flag(v, c.wifi_service); },
     [](const config &c) { return show_flag(c.wifi_service); }},
    {"supplicant.running", "true", true_or_false, "does the supplicant answer its client",
     [](config &c, std::string_view v) { return read_flag(v, c.supplicant); },
     [](const config &c) { return show_flag(c.supplicant); }},
    {"shell.host", "false", true_or_false, "run commands that the phone does not have in the host's shell",
     [](config &c, std::string_view v) { return read_flag(v, c.host_shell); },
     [](const config &c) { return show_flag(c.host_shell); }},
    {"netcfg.output", "", "at most 8191 characters", "what netcfg prints; empty: the interface's state",
     [](config &c, std::string_view v) { return read_text(v, c.netcfg, sizeof(c.netcfg)); },
     [](const config &c) { return std::string(c.netcfg); }},
    {"node.present", "true", true_or_false, "is there a /sys/vq20x0_debug/bfgx_test",
     [](config &c, std::string_view v) { return read_flag(v, c.node_present); },
     [](const config &c) { return show_flag(c.node_present); }},
    {"node.written", "", "at most 255 characters", "what was written to that node",
     [](config &c, std::string_view v) { return read_text(v, c.node_written, sizeof(c.node_written)); },
     [](const config &c) { return std::string(c.node_written); }},
    {"cable", "", "HOST:PORT/N, as 127.0.0.1:5026/1", "the RF test set's port that the antenna is cabled to",
     [](config &c, std::string_view v) {
       return rf::cable_address_fault(std::string(v)).empty() && read_text(v, c.cable, sizeof(c.cable));
     },
     [](const config &c) { return std::string(c.cable); }},
};

constexpr const char *emission_key = "state.emission";

const setting *find_setting(std::string_view name) {
  auto found =
      std::find_if(std::begin(settings), std::end(settings), [&](auto &s) { return name == s.name; });
  return found == std::end(settings) ? nullptr : found;
}

const struct radio_key *find_radio_key(std::string_view name) {
  for (size_t i = 0; const struct radio_key *key = radio_key(i); i++) {
    if (name == key->name) return key;
  }
  return nullptr;
}

std::string chip_names() {
  std::string names;
  for (uint32_t chip = 0; chip < RADIO_CHIPS; chip++) {
    names += chip == 0 ? "" : chip == RADIO_CHIPS - 1 ? " or " : ", ";
    names += radio_chip_name(chip);
  }
  return names;
}

std::string expected(const struct radio_key &key) {
  switch (key.form) {
  case RADIO_KEY_NUMBER:
    return "a whole number from " + std::to_string(key.min) + " to " + std::to_string(key.max);
  case RADIO_KEY_FLAG: return true_or_false;
  case RADIO_KEY_TEXT: return "at most " + std::to_string(key.size - 1) + " characters";
  case RADIO_KEY_HEX: return std::to_string(key.size) + " bytes in hexadecimal";
  case RADIO_KEY_WORDS: return std::to_string(key.size / 2) + " words of four hexadecimal digits";
  case RADIO_KEY_MAC: return "an address like 02:00:5E:10:20:30";
  case RADIO_KEY_CHIP: return chip_names();
  case RADIO_KEY_REFUSE:
    return "command ids below " + std::to_string(RADIO_COMMANDS) + " like 11 or 11*2, separated by commas";
  case RADIO_KEY_ANSWER:
    return "command ids below " + std::to_string(RADIO_COMMANDS) +
           " with hexadecimal data like 20:05000000, separated by commas";
  }
  return "";
}

size_t distance(std::string_view a, std::string_view b) {
  std::vector<size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 1; i <= a.size(); i++) {
    size_t diagonal = row[0];
    row[0] = i;
    for (size_t j = 1; j <= b.size(); j++) {
      size_t changed = diagonal + (a[i - 1] != b[j - 1]);
      diagonal = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, changed});
    }
  }
  return row[b.size()];
}

std::string nearest_key(const std::string &name) {
  std::string best;
  size_t least = SIZE_MAX;
  for (size_t i = 0; const char *key = phone_key(i, nullptr); i++) {
    size_t away = distance(name, key);
    if (away >= least) continue;
    least = away;
    best = key;
  }
  return best;
}

/// A long value is cut, between characters, so that a caller's buffer has room for what would be right.
std::string shortened(const std::string &value) {
  constexpr size_t most = 64;
  if (value.size() <= most) return value;
  size_t end = most;
  while (end > 0 && (static_cast<unsigned char>(value[end]) & 0xC0) == 0x80) end--;
  return value.substr(0, end) + "...";
}

std::string wrong(const std::string &key, const std::string &value, const std::string &right) {
  return key + ": '" + shortened(value) + "' is not " + right;
}

/// Keys that make another phone of it, which is as if it had just been switched on.
bool is_read_at_start(std::string_view key) {
  return key == "chip" || key == "unit" || key == "interface.up";
}

int give_text(std::string_view text, char *out, size_t size) {
  if (text.size() >= size) return -1;
  memcpy(out, text.data(), text.size());
  out[text.size()] = 0;
  return 0;
}

}  // namespace

std::string set_key(struct radio &radio, config &config, const std::string &key, const std::string &value) {
  if (const setting *own = find_setting(key)) {
    return own->set(config, value) ? "" : wrong(key, value, own->expects);
  }
  if (const char *own = rf::find_unit_key(key)) {
    std::string right = rf::set_unit_key(config.unit, own, value);
    return right.empty() ? "" : wrong(key, value, right);
  }
  if (key == emission_key) return key + ": can only be read";
  switch (radio_set(&radio, key.c_str(), value.c_str())) {
  case 0: return "";
  case -EPERM: return key + ": can only be read";
  case -EINVAL: return wrong(key, value, expected(*find_radio_key(key)));
  default: return key + ": no such key; did you mean " + nearest_key(key) + "?";
  }
}

void default_config(config &config) {
  for (auto &setting : settings) setting.set(config, setting.initial);
  rf::clear_unit(config.unit);
}

}  // namespace phone

using namespace phone;

int phone_set(const char *key, const char *value, char *error, size_t error_size) {
  if (!key || !value) return -1;
  auto before = state().config;
  if (state().radio.heard) radio_now();
  std::string message = set_key(state().radio, state().config, key, value);
  if (message.empty() && strcmp(key, "cable") == 0) message = rf::plug(value);
  if (!message.empty()) state().config = before;
  if (is_read_at_start(key)) rf::driver_came_up();
  rf::radio_changed();
  if (message.empty()) return 0;
  if (error) snprintf(error, error_size, "%s", message.c_str());
  return -1;
}

int phone_get(const char *key, char *value, size_t value_size) {
  if (!key || !value) return -1;
  if (const setting *own = find_setting(key)) return give_text(own->get(state().config), value, value_size);
  if (rf::find_unit_key(key)) return give_text(rf::get_unit_key(state().config.unit, key), value, value_size);
  if (strcmp(key, emission_key) == 0) return give_text(rf::emission_text(), value, value_size);
  return radio_get(&radio_now(), key, value, value_size) == 0 ? 0 : -1;
}

const char *phone_key(size_t i, const char **meaning) {
  if (i < std::size(settings)) {
    if (meaning) *meaning = settings[i].meaning;
    return settings[i].name;
  }
  i -= std::size(settings);
  if (i < rf::unit_keys()) return rf::unit_key(i, meaning);
  i -= rf::unit_keys();
  if (i == 0) {
    if (meaning) *meaning = "what leaves the antenna, in JSON as the cable carries it; null for nothing";
    return emission_key;
  }
  const struct radio_key *key = radio_key(i - 1);
  if (!key) return nullptr;
  if (meaning) *meaning = key->meaning;
  return key->name;
}
