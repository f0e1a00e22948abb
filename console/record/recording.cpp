// SPDX-License-Identifier: Apache-2.0
#include "console/record/recording.h"

#include "console/phone/causes.h"
#include "console/phone/contact_kind.h"
#include "console/record/player.h"
#include "console/run/functions.h"
#include "console/text/text.h"
#include "console/text/usage_error.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <fstream>
#include <map>
#include <unistd.h>

namespace console {
namespace {

constexpr int format_version = 1;
using phone_link::record_size;

// ---- Writing ---------------------------------------------------------------------------------------------

std::string trimmed_hex(const char *bytes, size_t size) {
  while (size > 0 && bytes[size - 1] == 0) --size;
  return hex(bytes, size);
}

/** Numbers descriptors in the order in which a call got them; children only count. */
class contact_writer {
public:
  json write(const contact &e) {
    json line = {{"type", "contact"}, {"kind", contact_name(e.kind)}, {"at_us", e.time_us}};
    if (e.kind == PHONE_IOCTL) add_request(line, e);
    if (e.kind == PHONE_CLOSE) line["on"] = place_of(e.number[0]);
    if (e.kind == PHONE_SLEEP) line["us"] = e.number[0];
    if (e.kind == PHONE_LOG) line["priority"] = e.number[0];
    if (e.kind == PHONE_WAIT) line["status"] = e.number[0];
    if (e.kind == PHONE_NV_READ || e.kind == PHONE_NV_WRITE) line["number"] = e.number[0];
    if (e.kind == PHONE_SECURE) line["nth"] = uses[e.name];
    if (*e.name) line["name"] = e.name;
    if (*e.text) line["text"] = e.text;
    if (e.kind != PHONE_IOCTL && e.size) line["data"] = hex(e.data, e.size);
    line["result"] = result_of(e);
    if (e.error) line["errno"] = e.error;
    return line;
  }

  /** Of the bounds-checked functions only those that failed are worth a line. */
  bool is_worth_a_line(const contact &e) {
    if (e.kind != PHONE_SECURE) return true;
    ++uses[e.name];
    bool prints =
        std::string_view(e.name).find("print") != std::string_view::npos || e.name == std::string("sscanf_s");
    return prints ? e.result < 0 : e.result != 0;
  }

private:
  void add_request(json &line, const contact &e) {
    line["on"] = place_of(e.number[0]);
    if (e.size < 2 * record_size) return;
    auto *sent = static_cast<const char *>(e.data);
    line["command"] = e.number[2];
    line["sent"] = trimmed_hex(sent, record_size);
    line["left"] = trimmed_hex(sent + record_size, record_size);
  }

  int64_t place_of(int64_t descriptor) {
    auto found = descriptors.find(descriptor);
    return found == descriptors.end() ? -1 : found->second;
  }

  int64_t result_of(const contact &e) {
    bool gives_descriptor = e.kind == PHONE_SOCKET || e.kind == PHONE_OPEN;
    if (gives_descriptor && e.result >= 0) descriptors[e.result] = ++given;
    if (gives_descriptor && e.result > 0) return given;
    return (e.kind == PHONE_FORK || e.kind == PHONE_WAIT) && e.result > 0 ? 1 : e.result;
  }

  std::map<int64_t, int64_t> descriptors;
  int64_t given = 0;
  std::map<std::string, int> uses;
};

/** What a child does and what its parent does meanwhile come in any order. */
std::vector<const contact *> in_order(const std::vector<const contact *> &all) {
  std::vector<const contact *> ordered;
  for (auto *e : all) {
    if (e->process != getpid()) continue;
    ordered.push_back(e);
    if (e->kind == PHONE_FORK && e->result > 0)
      std::ranges::copy_if(all, std::back_inserter(ordered),
                           [&](auto *c) { return c->process == e->result; });
  }
  return ordered;
}

class trace_reporter : public reporter {
public:
  explicit trace_reporter(const std::string &file) : path(file), out(file) {
    if (!out) throw usage_error{fmt::format("--trace {}: cannot be written: {}.", path, strerror(errno))};
    write({{"type", "trace"}, {"version", format_version}});
  }
  void begin(const session_info &info) override {
    player::watch_all();
    write({{"type", "session"}, {"session", info.name}, {"chip", info.chip}});
  }
  void chip_changed(const session_info &info) override { write({{"type", "chip"}, {"chip", info.chip}}); }
  void call(const call_step &step) override {
    std::vector<std::string> words;
    for (auto &input : step.inputs) words.push_back(input.value);
    json line = {{"type", "call"}, {"function", step.called->name}, {"arguments", words}};
    if (!step.where.file.empty()) line["at"] = step.where.text();
    write(line);
    auto contacts = phone_link::contacts();
    contacts.resize(std::min(contacts.size(), step.contacts_made));
    for (auto &contact : contact_lines(contacts)) write(contact);
    write({{"type", "result"}, {"result", step.result.value}, {"outputs", outputs_json(step.result)}});
    ++calls;
  }
  void all_done(const std::vector<session_summary> &) override {
    write({{"type", "end"}, {"calls", calls}});
    out.close();
    if (!out) throw usage_error{fmt::format("--trace {}: could not be written to its end.", path)};
  }

private:
  void write(const json &line) {
    out << line.dump(-1, ' ', true, json::error_handler_t::replace) << "\n";
    out.flush();
  }

  std::string path;
  std::ofstream out;
  size_t calls = 0;
};

// ---- Reading ---------------------------------------------------------------------------------------------

/** Takes a recording line by line; each type of line has its place. */
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
      throw usage_error{
          fmt::format("{}:{}: a field is missing or of the wrong kind ({}); docs/trace.md tells the fields.",
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
    if (version != format_version)
      throw usage_error{
          fmt::format("the format's version is {}; this console reads version {}.", version, format_version)};
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
    for (auto *bytes : {"sent", "left", "data"})
      if (j.contains(bytes)) unhex(j.at(bytes).get<std::string>());
    all.calls.back().contacts.push_back(j);
  }

  void take_result(const json &j) {
    all.calls.back().result = j.at("result").get<std::string>();
    all.calls.back().outputs = j.at("outputs");
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

std::vector<json> contact_lines(const std::vector<const contact *> &contacts) {
  contact_writer writer;
  std::vector<json> lines;
  for (auto *e : in_order(contacts))
    if (writer.is_worth_a_line(*e)) lines.push_back(writer.write(*e));
  return lines;
}

recording read_recording(const std::string &path) {
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

json outputs_json(const call_result &result) {
  json outputs = json::object();
  for (auto &o : result.outputs) outputs[o.what->name] = o.value;
  return outputs;
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

std::shared_ptr<reporter> make_trace_reporter(const std::string &path) {
  if (!phone_link::is_virtual())
    throw usage_error{
        "--trace: a real phone is not watched by this console, which sees the library's answers only."};
  return std::make_shared<trace_reporter>(path);
}

}  // namespace console
