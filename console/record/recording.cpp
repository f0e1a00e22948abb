// SPDX-License-Identifier: Apache-2.0
#include "console/record/recording.h"

#include "console/phone/causes.h"
#include "console/phone/contact_kind.h"
#include "console/run/functions.h"
#include "console/text/text.h"
#include "console/text/usage_error.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <fstream>
#include <map>

namespace console {
namespace {

/** Reads a recording line by line and rejects a line in the wrong place. */
class recording_reader {
public:
  explicit recording_reader(const std::string &path) { all.path = path; }

  void take(const std::string &text) {
    ++line;
    try {
      take(json::parse(text));
    } catch (const usage_error &e) {
      throw usage_error{fmt::format("{}:{}: {}", all.path, line, e.message)};
    } catch (const json::parse_error &) {
      throw usage_error{fmt::format(
          "{}:{}: this line is no JSON: the file is cut or damaged here, or no recording.", all.path, line)};
    } catch (const json::exception &e) {
      throw usage_error{fmt::format(
          "{}:{}: a field is missing or of the wrong kind ({}); docs/reference/trace.md lists the fields.",
          all.path, line, e.what())};
    }
  }

  recording finish() {
    if (line == 0) throw usage_error{fmt::format("{}: is empty: no recording.", all.path)};
    if (ended) return std::move(all);
    throw usage_error{fmt::format("{}: ends without its end line: the recording was cut {} call {}.",
                                  all.path, in_call ? "within" : "after", all.calls.size())};
  }

private:
  void take(const json &j) {
    auto type = j.at("type").get<std::string>();
    if ((line == 1) != (type == "trace"))
      throw usage_error{
          line == 1 ? "this is no recording: its first line has to be {\"type\":\"trace\",\"version\":1}."
                    : "a recording has its trace line once, as the first."};
    if (ended) throw usage_error{"there is something behind the end line."};
    static const std::map<std::string, void (recording_reader::*)(const json &)> takers = {
        {"trace", &recording_reader::take_trace},     {"session", &recording_reader::take_chip},
        {"chip", &recording_reader::take_chip},       {"call", &recording_reader::take_call},
        {"contact", &recording_reader::take_contact}, {"result", &recording_reader::take_result},
        {"end", &recording_reader::take_end}};
    auto taker = takers.find(type);
    if (taker == takers.end())
      throw usage_error{
          fmt::format("\"{}\" is no type of line: trace, session, chip, call, contact, result, end.", type)};
    bool within = type == "contact" || type == "result";
    if (in_call != within)
      throw usage_error{in_call ? fmt::format("a {} line within a call: its result line is missing.", type)
                                : fmt::format("a {} line outside a call: its call line is missing.", type)};
    (this->*taker->second)(j);
  }

  void take_trace(const json &j) {
    auto version = j.at("version").get<int>();
    if (version != recording_version)
      throw usage_error{fmt::format("the format's version is {}; this console reads version {}.", version,
                                    recording_version)};
    for (auto &kind : j.value("without", std::vector<std::string>())) {
      contact_kind(kind);
      all.without.insert(kind);
    }
  }

  void take_chip(const json &j) {
    chip = j.at("chip").get<std::string>();
    fresh = true;
  }

  void take_call(const json &j) {
    if (chip.empty()) throw usage_error{"a call before the first session line."};
    recorded_call call;
    call.line = line, call.chip = chip, call.fresh = fresh;
    call.function = j.at("function").get<std::string>();
    call.arguments = j.at("arguments").get<std::vector<std::string>>();
    if (!find_function(call.function))
      throw usage_error{fmt::format("there is no function \"{}\".", call.function)};
    all.calls.push_back(call);
    in_call = true, fresh = false;
  }

  void take_contact(const json &j) {
    contact_kind(j.at("kind").get<std::string>());
    (void)j.at("result").get<int64_t>();
    for (auto *number : {"errno", "status", "nth"}) (void)j.value(number, 0);
    for (auto *text : {"name", "text"}) (void)j.value(text, "");
    if (j.at("kind") == contact_name(PHONE_SECURE)) (void)j.at("name"), (void)j.at("nth");
    for (auto *bytes : {"sent", "left", "data"})
      if (j.contains(bytes)) unhex(j.at(bytes).get<std::string>());
    all.calls.back().contacts.push_back(j);
  }

  void take_result(const json &j) {
    all.calls.back().result = j.at("result").get<std::string>();
    all.calls.back().outputs = j.at("outputs");
    all.calls.back().dropped = j.value("dropped", size_t{0});
    in_call = false;
  }

  void take_end(const json &j) {
    if (j.at("calls").get<size_t>() != all.calls.size())
      throw usage_error{fmt::format("the end line tells of {} calls, the file has {}: lines were lost.",
                                    j.at("calls").get<size_t>(), all.calls.size())};
    ended = true;
  }

  recording all;
  int line = 0;
  std::string chip;
  bool fresh = false, in_call = false, ended = false;
};

std::string outcome_text(const json &c) {
  if (c.contains("errno")) return fmt::format(" -> {}", cause_of_error(c["errno"].get<int>()).name);
  return fmt::format(" -> {}", c["result"].get<int64_t>());
}

}  // namespace

recording read_recording(const std::string &path) {
  std::error_code ignored;
  if (std::filesystem::is_directory(path, ignored))
    throw usage_error{fmt::format("{}: cannot be read: it is a folder.", path)};
  std::ifstream in(path);
  if (!in) throw usage_error{fmt::format("{}: cannot be read: {}.", path, strerror(errno))};
  recording_reader reader(path);
  for (std::string line; std::getline(in, line);) reader.take(line);
  return reader.finish();
}

std::string describe_contact(const json &c) {
  auto text = c.at("kind").get<std::string>();
  for (auto &[key, value] : c.items())
    if (key != "type" && key != "kind" && key != "at_us" && key != "result" && key != "errno")
      text += fmt::format(" {} {}", key,
                          value.is_string() ? std::string(trim_end(value.get<std::string>())) : value.dump());
  return text + outcome_text(c);
}

std::string call_text(const recorded_call &call) {
  return fmt::format("{}{}{}", call.function, call.arguments.empty() ? "" : " ",
                     fmt::join(call.arguments, " "));
}

std::string unhex(const std::string &digits) {
  std::string bytes;
  for (size_t i = 0; i < digits.size(); i += 2) {
    auto number = i + 2 <= digits.size() ? parse_number("0x" + digits.substr(i, 2)) : std::nullopt;
    if (!number) throw usage_error{fmt::format("\"{}\" is not made of pairs of hexadecimal digits.", digits)};
    bytes.push_back(static_cast<char>(*number));
  }
  return bytes;
}

}  // namespace console
