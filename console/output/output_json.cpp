// SPDX-License-Identifier: Apache-2.0
#include "console/output/output.h"

#include "console/run/verdict.h"
#include "console/text/text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace console {
namespace {

using json = nlohmann::ordered_json;

const char *verdict_name(outcome o) {
  static constexpr const char *names[] = {"good", "bad", "plain"};
  static_assert(std::size(names) == static_cast<size_t>(outcome::plain) + 1);
  return names[static_cast<size_t>(o)];
}

/** A JSON number if the value is one, else a string. */
json value_json(const std::string &value, bool numeric) {
  auto number = numeric ? parse_number(value) : std::nullopt;
  return number ? json(*number) : json(value);
}

json to_json(const expectation &e) {
  json all = {{"what", e.what}, {"limits", e.limits}, {"got", e.got}, {"held", e.held}};
  if (!e.unit.empty()) all["unit"] = e.unit;
  for (auto &[name, value] : e.condition) all["condition"][name] = value;
  return all;
}

json to_json(const time_ledger &l) {
  return {{"pauses_us", l.pauses_us},
          {"driver_us", l.driver_us},
          {"shell_us", l.shell_us},
          {"library_us", l.library_us}};
}

json to_json(const observed &seen) {
  json driver = json::array(), shell = json::array(), log = json::array(), nv = json::array();
  for (auto &c : seen.commands)
    driver.push_back({{"id", c.id},
                      {"name", c.name},
                      {"sent", c.sent},
                      {"answer", c.answer},
                      {"taken", c.taken},
                      {"attempts", c.attempts},
                      {"at_us", c.time_us}});
  for (auto &s : seen.shell)
    shell.push_back({{"command", s.text}, {"status", s.status}, {"at_us", s.time_us}});
  for (auto &l : seen.log) log.push_back({{"priority", l.priority}, {"tag", l.tag}, {"text", l.text}});
  for (auto &n : seen.nv)
    nv.push_back(
        {{"write", n.write}, {"number", n.number}, {"name", n.name}, {"text", n.text}, {"code", n.code}});
  json all = {{"driver", std::move(driver)}, {"shell", std::move(shell)},   {"files", seen.files},
              {"pauses_us", seen.pauses_us}, {"log", std::move(log)},       {"nv", std::move(nv)},
              {"records", seen.records},     {"time", to_json(seen.ledger)}};
  if (seen.dropped) all["dropped"] = seen.dropped;
  return all;
}

/** With the same field names as the doctor's findings. */
json to_json(const likely_cause &c) {
  return {{"what", c.what}, {"found", c.name}, {"cause", c.why}, {"cure", c.cure}};
}

json to_json(const failure_group &group) {
  return {{"what", group.what},
          {"where", group.file_line},
          {"count", group.count},
          {"first", group.first},
          {"last", group.last}};
}

json to_json(const session_summary &s) {
  json failures = json::array();
  for (auto &group : s.failures) failures.push_back(to_json(group));
  return {{"session", s.info.name},
          {"chip", s.info.chip},
          {"calls", s.calls},
          {"held", s.held},
          {"failed", s.failed},
          {"phone_us", s.phone_us},
          {"calls_us", s.calls_us},
          {"own_us", s.own_us},
          {"time", to_json(s.ledger)},
          {"failures", failures},
          {"broken", s.broken},
          {"verdict", word_of(verdict_of(s))},
          {"passed", verdict_of(s) == verdict::pass}};
}

/** Appends the members of an object. Unlike update(), it does not copy them. */
void append(json &object, json &&members) {
  for (auto &[key, value] : members.items()) object.push_back({key, std::move(value)});
}

class event_reporter : public reporter {
public:
  explicit event_reporter(std::function<void(json &&)> to) : sink(std::move(to)) {}

  void begin(const session_info &info) override {
    write("begin", {{"version", 1},
                    {"session", info.name},
                    {"chip", info.chip},
                    {"clock", info.real_clock ? "real" : "virtual"}});
  }
  void parameter_taken(const parameter &p) override {
    write("parameter", {{"name", p.name}, {"value", p.value}, {"given", p.given}});
  }
  void title(const std::string &text) override { write("step", {{"title", text}}); }
  void note(const std::string &text) override { write("note", {{"text", text}}); }
  void call(const call_step &step) override {
    json arguments = json::object(), outputs = json::object();
    json wants = json::array(), causes = json::array();
    for (auto &i : step.inputs) arguments[i.what->name] = value_json(i.value, i.what->is_number());
    for (auto &o : step.result.outputs) outputs[o.what->name] = value_json(o.value, o.what->is_number());
    for (auto &e : step.expectations) wants.push_back(to_json(e));
    for (auto &c : step.causes()) causes.push_back(to_json(c));
    json line = {
        {"function", step.called->name},
        {"arguments", std::move(arguments)},
        {"result", value_json(step.result.value, step.called->result != result_kind::function_pointer)},
        {"outcome", verdict_name(step.result.means.verdict)},
        {"meaning", step.result.means.meaning},
        {"outputs", std::move(outputs)},
        {"expectations", std::move(wants)},
        {"causes", std::move(causes)},
        {"remarks", step.remarks},
        {"at_us", step.start_us},
        {"phone_us", step.phone_us},
        {"own_us", step.own_us}};
    append(line, to_json(step.seen));
    write("call", std::move(line), step.where);
  }
  void expect(const expectation &e, const place &where) override { write("expectation", to_json(e), where); }
  void progress(size_t done, size_t total, const std::string &text) override {
    write("progress", {{"done", done}, {"total", total}, {"text", text}});
  }
  void error(const std::string &text, const place &where) override {
    write("error", {{"text", text}}, where);
  }
  void end(const session_summary &s) override { write("end", to_json(s)); }
  void all_done(const std::vector<session_summary> &all) override {
    auto v = verdict_of(all);
    write("summary", {{"sessions", all.size()}, {"verdict", word_of(v)}, {"passed", v == verdict::pass}});
  }

private:
  void write(const char *type, json &&body, const place &where = {}) {
    json line = {{"type", type}};
    if (!where.file.empty()) line.update({{"file", where.file}, {"line", where.line}});
    if (!where.point.empty()) line["point"] = where.point;
    append(line, std::move(body));
    sink(std::move(line));
  }

  std::function<void(json &&)> sink;
};

}  // namespace

std::shared_ptr<reporter> make_event_reporter(std::function<void(json &&)> sink) {
  return std::make_shared<event_reporter>(std::move(sink));
}

std::shared_ptr<reporter> make_json_reporter(FILE *to) {
  return make_event_reporter([to](json &&event) {
    fmt::print(to, "{}\n", event.dump(-1, ' ', false, json::error_handler_t::replace));
  });
}

}  // namespace console
