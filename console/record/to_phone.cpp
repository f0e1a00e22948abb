// SPDX-License-Identifier: Apache-2.0
#include "console/record/to_phone.h"

#include "console/phone/chips.h"
#include "console/phone/observed.h"
#include "console/phone/phone_link.h"
#include "console/record/recording.h"
#include "console/text/text.h"
#include "console/text/usage_error.h"
#include "radio_chips.h"
#include "radio_decode.h"

#include <algorithm>
#include <cerrno>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <map>
#include <optional>
#include <set>

namespace console {
namespace {

using phone_link::nv_item_size;
using phone_link::record_size;

/** Commands whose answer is the value of a key. */
constexpr std::pair<std::string_view, const char *> keys_of_answers[] = {
    {"dbb_number", "identity.dbb"},   {"upc_code", "identity.upc"}, {"fem_status", "check.fem"},
    {"efuse_status", "check.efuse"},  {"pin_test", "check.pin"},    {"pmu_check", "check.pmu"},
    {"wakeup_io", "check.wakeup_io"}, {"pcie_test", "check.pcie"},  {"chip_check_result", "check.chip"},
    {"rssi", "radio.rssi"},
};
/** A fixed answer would stop the count of received packets. */
constexpr std::string_view counted_command = "packet_count";
constexpr std::string_view parameter_command = "cal_parameter";

/** The key of a calibration parameter by its place in enum radio_parameter; "" if there is none. The keys are
 * listed in that order. */
std::string parameter_key(size_t place) {
  for (auto &[key, meaning] : phone_link::keys())
    if (key.starts_with("calibration.") && place-- == 0) return key == "calibration.block" ? "" : key;
  return "";
}

std::string quoted(const std::string &text) {
  return json(text).dump(-1, ' ', true, json::error_handler_t::replace);
}

/** What a place gave each time that it was used. */
class outcomes {
public:
  void add(const std::string &place, int64_t refusal) { all[place].insert(refusal); }

  /** A fault for each place that always failed in the same way. */
  std::string faults() const {
    std::string text;
    for (auto &[place, seen] : all)
      if (seen.size() == 1 && *seen.begin() != 0)
        text += fmt::format("\n[[fault]]\nplace = {}\ntimes = 0\nvalue = {}\n", quoted(place), *seen.begin());
    return text;
  }

private:
  std::map<std::string, std::set<int64_t>> all; /**< 0 for a success */
};

class description {
public:
  explicit description(unsigned fitted) : chip(fitted) {}

  void add(const json &c) {
    auto kind = c.at("kind").get<std::string>();
    if (kind == "ioctl") add_command(c);
    if (kind == "nv_read" || kind == "nv_write") add_nv(c, kind);
    if (kind == "exec") add_shell(c);
    if (kind == "open") results.add("open", c.value("errno", 0));
    if (kind == "subchip" && c.at("result") != chip) keys["subchip"] = c.at("result").dump();
  }

  std::string text() const {
    auto text = fmt::format("chip = {}\n", quoted(chip_name(chip)));
    for (auto &[key, value] : keys) text += fmt::format("{} = {}\n", key, value);
    std::vector<std::string> fixed;
    for (auto &[id, data] : answers)
      if (data) fixed.push_back(quoted(fmt::format("{}:{}", id, *data)));
    if (!fixed.empty()) text += fmt::format("driver.answer = [{}]\n", fmt::join(fixed, ", "));
    for (auto &[item, bytes] : nv)
      if (!bytes.empty()) text += nv_table(item, bytes);
    return text + results.faults();
  }

private:
  using item_t = std::pair<int64_t, std::string>;

  static std::string nv_table(const item_t &item, const std::string &bytes) {
    auto text = nv_text(bytes), padded = text;
    padded.resize(nv_item_size);
    bool is_text = padded == bytes;
    return fmt::format("\n[[nv]]\nnumber = {}\nname = {}\n{} = {}\n", item.first, quoted(item.second),
                       is_text ? "text" : "data", quoted(is_text ? text : hex(bytes.data(), bytes.size())));
  }

  void add_shell(const json &c) {
    auto status = c.at("result").get<int64_t>();
    results.add("execl", c.value("errno", 0));
    if (status >= 0) results.add("shell:" + c.at("text").get<std::string>(), status);
  }

  /** wlan0 goes down and up again within a session, so that its state is no property of the phone. */
  void add_command(const json &c) {
    if (!c.contains("command")) return;
    auto id = c.at("command").get<uint32_t>();
    int error = c.value("errno", 0);
    if (error != ENETDOWN) results.add(fmt::format("ioctl:{}", id), error);
    auto *form = radio_chip_command_form(chip, id);
    if (!form || error || !form->answer.count || form->name == counted_command) return;
    auto sent = unhex(c.at("sent")), left = unhex(c.at("left"));
    sent.resize(record_size), left.resize(record_size);
    add_answer(*form, id, sent, left);
  }

  void add_answer(const radio_form &form, uint32_t id, const std::string &sent, const std::string &left) {
    auto bytes = [](const std::string &record) {
      return reinterpret_cast<const uint8_t *>(record.data()) + RADIO_DATA_AT;
    };
    radio_decoded decoded;
    radio_decode(chip, id, bytes(sent), bytes(left), &decoded);
    auto *row =
        std::ranges::find(keys_of_answers, form.name, &std::pair<std::string_view, const char *>::first);
    if (row != std::end(keys_of_answers))
      keys.try_emplace(row->second, quoted(decoded.answer));
    else if (form.name == parameter_command)
      add_parameter(decoded);
    else if (!form.request.count)
      add_fixed(id, hex(bytes(left), RADIO_DATA_SIZE));
  }

  void add_parameter(const radio_decoded &decoded) {
    auto number = parse_number(decoded.sent);
    auto key = number ? parameter_key(radio_chip_parameter(chip, static_cast<uint32_t>(*number))) : "";
    if (!key.empty()) keys.try_emplace(key, quoted(decoded.answer));
  }

  /** Nothing once a command has answered in two ways. */
  void add_fixed(uint32_t id, std::string data) {
    while (data.ends_with("00")) data.resize(data.size() - 2);
    auto [kept, is_new] = answers.try_emplace(id, data.empty() ? "00" : data);
    if (!is_new && kept->second != (data.empty() ? "00" : data)) kept->second.reset();
  }

  /** An item that was written first is not known: later reads show what the library wrote. */
  void add_nv(const json &c, const std::string &kind) {
    auto result = c.at("result").get<int64_t>();
    auto number = c.at("number").get<int64_t>();
    results.add(fmt::format("{}:{}", kind, number), result);
    auto bytes = unhex(c.value("data", ""));
    bytes.resize(nv_item_size);
    bool holds = kind == "nv_read" && result == 0 && bytes.find_first_not_of('\0') != bytes.npos;
    if (result == 0) nv.try_emplace({number, c.value("name", "")}, holds ? bytes : "");
  }

  unsigned chip;
  std::map<std::string, std::string> keys; /**< with their values as TOML */
  std::map<uint32_t, std::optional<std::string>> answers;
  std::map<item_t, std::string> nv; /**< "" for an item that was empty, or written before it was read */
  outcomes results;
};

void add_call(description &phone, const recorded_call &call, const std::string &path) {
  try {
    for (auto &c : call.contacts) phone.add(c);
  } catch (const json::exception &e) {
    throw usage_error{
        fmt::format("{}:{}: a contact of this call has a field missing or of the wrong kind ({}).", path,
                    call.line, e.what())};
  }
}

}  // namespace

std::string phone_of_recording(const std::string &path) {
  if (phone_link::keys().empty())
    throw usage_error{"trace to-phone: only orva-station knows what a virtual phone is described by."};
  auto seen = read_recording(path);
  std::set<std::string> names;
  for (auto &call : seen.calls) names.insert(call.chip);
  if (names.size() != 1)
    throw usage_error{
        names.empty() ? path + ": has no call."
                      : fmt::format("{}: has calls on {}: record one chip for a description of one phone.",
                                    path, fmt::join(names, " and "))};
  auto chip = chip_index(*names.begin());
  if (!chip)
    throw usage_error{fmt::format("{}: the virtual phone has no chip \"{}\".", path, *names.begin())};
  description phone(*chip);
  for (auto &call : seen.calls) add_call(phone, call, path);
  return fmt::format("# From {}: what the phone answered in {}.\n{}", path,
                     counted(seen.calls.size(), "call"), phone.text());
}

}  // namespace console
