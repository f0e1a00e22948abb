// SPDX-License-Identifier: Apache-2.0
#include "console/record/record_reporter.h"

#include "console/record/record_file.h"
#include "console/run/file_name.h"
#include "console/run/verdict.h"
#include "console/text/text.h"
#include "console/text/usage_error.h"
#include "console/text/within.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <functional>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace console {
namespace {

using json = record_file::json;

/** The format's limits on texts and numbers. */
constexpr size_t name_length = 200, text_length = 10'000, most_conditions = 32;
constexpr double greatest = 1e300;
/** So many digits every reader's double keeps. */
constexpr size_t most_digits = 15;

/** At most so many characters of the text, without NUL. */
std::string text_of(std::string text, size_t most = text_length) {
  for (auto &c : text)
    if (c == 0) c = '?';
  size_t characters = 0;
  for (size_t i = 0; i < text.size(); ++i)
    if ((text[i] & 0xC0) != 0x80 && ++characters > most) return text.substr(0, i);
  return text;
}

/** The text as one line of a name's length. */
std::string name_of(std::string_view text) {
  std::string line;
  for (auto rest = text; !rest.empty();) {
    auto size = control_size(rest);
    line += size ? ' ' : rest[0];
    rest.remove_prefix(std::max<size_t>(size, 1));
  }
  return text_of(line.empty() ? "?" : line, name_length);
}

/** A number as JSON has it, whole if it is written so; nothing for any other text. */
std::optional<json> number_of(const std::string &text) {
  if (auto whole = parse_number(text)) return *whole;
  if (auto fraction = parse_value(text); fraction && std::abs(*fraction) <= greatest) return *fraction;
  return std::nullopt;
}

/** Digits that a number would not give back: an identifier, as 0117. */
bool is_code(std::string_view text) {
  if (text.starts_with('-')) text.remove_prefix(1);
  auto digits = std::min(text.find_first_not_of("0123456789"), text.size());
  return (digits > 1 && text[0] == '0') || (digits == text.size() && digits > most_digits);
}

/** The number that a text without a type is meant for. */
std::optional<json> plain_number_of(const std::string &text) {
  return is_code(text) ? std::nullopt : number_of(text);
}

json value_of(const std::string &text, bool may_be_number) {
  auto number = may_be_number ? plain_number_of(text) : std::nullopt;
  return number ? *number : json(text_of(text));
}

/** False for an output or a result that is a text whatever it looks like. */
bool may_be_number(const call_step &step, const std::string &name) {
  if (name == "result") return step.called->result != result_kind::function_pointer;
  auto &outputs = step.result.outputs;
  auto of_that_name = std::ranges::find_if(outputs, [&](auto &o) { return name == o.what->name; });
  return of_that_name == outputs.end() || of_that_name->what->is_number();
}

/** A part of a condition. */
json scalar_of(const std::string &text, const std::optional<json> &number) {
  return number ? *number : text.empty() ? json("") : json(name_of(text));
}

/** Both limits of "5", "-70..-40", "10.." or "..0"; nothing for any other expectation. */
std::optional<std::pair<json, json>> limits_of(const std::string &text) {
  auto dots = text.find("..");
  auto low = text.substr(0, dots), high = dots == text.npos ? low : text.substr(dots + 2);
  auto first = number_of(low), last = number_of(high);
  if ((!low.empty() && !first) || (!high.empty() && !last) || (!first && !last)) return std::nullopt;
  return std::pair(first.value_or(nullptr), last.value_or(nullptr));
}

/** The point of a sweep, "mhz 5500 power 500". */
void add_point(json &condition, const std::string &point) {
  if (point.empty()) return;
  auto words = split(point, ' ');
  if (words.size() % 2 || point.find('{') != point.npos) {
    condition["point"] = name_of(point);
    return;
  }
  for (size_t i = 0; i < words.size(); i += 2)
    condition[name_of(words[i])] = scalar_of(words[i + 1], plain_number_of(words[i + 1]));
}

class record_reporter : public reporter {
public:
  explicit record_reporter(std::string name) : pattern(std::move(name)) {}
  /** An aborted session is BROKEN. */
  ~record_reporter() override {
    if (!file) return;
    try {
      finish("BROKEN", "the run was aborted before its end", {});
    } catch (const usage_error &) {  // a destructor has nobody to tell
    }
  }

  void begin(const session_info &info) override {
    single_call = info.single_call;
    errors.clear();
    failed = passed = false;
    auto path = name_from_pattern("--record", pattern, info.who, info.chip);
    if (is_pattern(pattern)) make_folders("--record", pattern, path);
    json line = {{"type", "begin"}, {"schema", 1}};
    line.update(identity_json(info.who));
    line["chip"] = info.chip;
    file.emplace("--record " + path, path, line);
  }
  void title(const std::string &text) override { add({{"type", "step"}, {"title", text_of(text)}}); }
  void note(const std::string &text) override { add({{"type", "note"}, {"text", text_of(text)}}); }
  void call(const call_step &step) override {
    json condition = json::object();
    for (auto &i : step.inputs)
      condition[i.what->name] = scalar_of(i.value, i.what->is_number() ? number_of(i.value) : std::nullopt);
    for (auto &e : step.expectations)
      measure(fmt::format("{} {}", step.called->name, e.what), e, condition, step.where,
              may_be_number(step, e.what));
    if (single_call && step.expectations.empty()) judge_call(step, condition);
    for (auto &c : step.causes())
      add({{"type", "cause"},
           {"what", text_of(c.what)},
           {"found", text_of(c.name)},
           {"cause", text_of(c.why)},
           {"cure", text_of(c.cure)}});
  }
  void expect(const expectation &e, const place &where) override {
    measure(e.what, e, json::object(), where);
  }
  void error(const std::string &text, const place &) override { errors.push_back(text); }
  void end(const session_summary &s) override {
    auto reason = text_of(fmt::format("{}", fmt::join(errors, "; ")));
    auto verdict = s.broken ? "BROKEN" : failed ? "FAIL" : passed ? "PASS" : "NO VERDICT";
    finish(verdict, s.broken && reason.empty() ? "the session did not come to its end" : reason, s);
  }
  /** A record that could not be written has no end line. orva-records takes it for a killed run's. */
  void all_done(const std::vector<session_summary> &) override { require(fault); }

private:
  /** A full disk must not end the session: the phone would be left as it is. */
  void guarded(const std::function<void()> &act) {
    if (!file || !fault.empty()) return;
    try {
      act();
    } catch (const usage_error &e) {
      fault = e.message + " The record is not complete.";
      file.reset();
    }
  }
  void add(const json &line) {
    guarded([&] { file->add(line); });
  }

  /** A call from the command line is its own verdict. */
  void judge_call(const call_step &step, const json &condition) {
    bool held = step.result.means.verdict != outcome::bad;
    auto row = begin_row(fmt::format("{} result", step.called->name), condition,
                         value_of(step.result.value, may_be_number(step, "result")), "");
    row.update({{"low", nullptr}, {"high", nullptr}, {"expected", "success"}});
    add_row(row, held);
  }

  static json begin_row(const std::string &name, const json &condition, const json &value,
                        const std::string &unit) {
    return {{"type", "measurement"},
            {"name", name_of(name)},
            {"condition", condition},
            {"value", value},
            {"unit", unit.empty() ? "" : name_of(unit)}};
  }

  void measure(const std::string &name, const expectation &e, json condition, const place &where,
               bool numeric = true) {
    for (auto &[key, value] : e.condition) condition[name_of(key)] = scalar_of(value, plain_number_of(value));
    add_point(condition, where.point);
    while (condition.size() > most_conditions) condition.erase(std::prev(condition.end()));
    auto row = begin_row(name, condition, value_of(e.got, numeric), e.unit);
    // A refused call's 4294967295 is no value: a range does not allow it, though it covers it.
    auto limits = limits_of(e.limits);
    bool limited = limits && !row["value"].is_string() && within(e.limits, e.got) == e.held;
    row["low"] = limited ? limits->first : json();
    row["high"] = limited ? limits->second : json();
    if (!limited) row["expected"] = text_of(e.limits);
    add_row(row, e.held);
  }

  void add_row(json &row, bool held) {
    row["verdict"] = held ? "PASS" : "FAIL";
    (held ? passed : failed) = true;
    add(row);
  }

  void finish(const std::string &verdict, const std::string &reason, const session_summary &s) {
    auto seconds = [](int64_t us) { return static_cast<double>(us) / 1e6; };
    json line = {{"type", "end"}, {"verdict", verdict}};
    if (verdict == "BROKEN") line["reason"] = reason;
    line["duration"] = {{"total_s", seconds(s.phone_us)},
                        {"pauses_s", seconds(s.ledger.pauses_us)},
                        {"driver_s", seconds(s.ledger.driver_us)},
                        {"shell_s", seconds(s.ledger.shell_us)},
                        {"library_s", seconds(s.ledger.library_us)}};
    guarded([&] { file->finish(line); });
    file.reset();
  }

  std::string pattern, fault;
  std::optional<record_file> file;
  std::vector<std::string> errors;
  bool single_call = false, failed = false, passed = false;
};

}  // namespace

std::shared_ptr<reporter> make_record_reporter(const std::string &pattern) {
  return std::make_shared<record_reporter>(pattern);
}

}  // namespace console
