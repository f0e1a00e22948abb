// SPDX-License-Identifier: Apache-2.0
#include "rf_tester/commands/interpreter.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace rf_tester {
namespace {

using scpi::failure;

/** What the output queue holds. Beyond it an answer would have to wait for a client that still sends. */
constexpr size_t longest_answer = 65536;
const scpi::parameter limit_name = {.name = "limit",
                                    .kind = scpi::parameter_kind::choice,
                                    .choices = "MINimum|MAXimum|DEFault",
                                    .optional = true};

}  // namespace

interpreter::interpreter(test_set &set, const dialect &spoken) : set_(set), spoken_(spoken) {
  for (const auto *table : {&common_commands(), &spoken.commands()})
    for (const command &c : *table) rows_.push_back({scpi::header_pattern(c.header), &c});
}

void interpreter::begin(std::string message) {
  units_ = scpi::lexer(std::move(message));
  current_.reset();
  path_.clear();
  answer_.reset();
}

std::optional<std::string> interpreter::take_answer() { return std::exchange(answer_, std::nullopt); }

bool interpreter::step() {
  for (;;) {
    try {
      if (!current_ && !next_command()) return true;
      set_.settle();
      if (current_->what->waits && set_.measuring()) return false;
      run(*std::exchange(current_, std::nullopt));
    } catch (const failure &f) {
      current_.reset();
      set_.status.report(f);
      if (scpi::is_command_error(f.number()) || f.number() == scpi::query_deadlocked) return true;
    }
  }
}

bool interpreter::next_command() {
  scpi::program_unit unit;
  if (!units_.next(unit)) return false;
  pending next = resolve(unit);
  if (next.what->start != nullptr) next.what->start(set_);
  current_ = std::move(next);
  return true;
}

interpreter::pending interpreter::resolve(const scpi::program_unit &unit) {
  pending found;
  found.query = unit.query;
  found.what = &find(unit, found.with.suffixes);
  found.with.spoken = &spoken_;
  bind_data(unit, found);
  return found;
}

const command &interpreter::find(const scpi::program_unit &unit, std::vector<int> &suffixes) {
  const bool common = unit.header.starts_with('*'), absolute = common || unit.header.starts_with(':');
  const std::string full = absolute ? unit.header : path_ + unit.header;
  const auto sent = scpi::split_header(full);
  bool wrong_suffix = false;
  for (const row &r : rows_) {
    if (!(unit.query ? r.what->has_query_form() : r.what->has_command_form())) continue;
    const auto how = r.pattern.match(sent, suffixes);
    wrong_suffix |= how == scpi::header_match::wrong_suffix;
    if (how != scpi::header_match::yes) continue;
    // A common command leaves the path as it is.
    if (!common) path_ = full.substr(0, full.rfind(':') + 1);
    return *r.what;
  }
  throw failure(wrong_suffix ? scpi::suffix_out_of_range : scpi::undefined_header, unit.header);
}

void interpreter::bind_data(const scpi::program_unit &unit, pending &to) const {
  const command &c = *to.what;
  if (!unit.query) {
    to.with.arguments = scpi::bind(unit.data, c.takes, std::min(c.repeat_from, c.takes.size()));
  } else if (c.is_setting()) {
    to.with.arguments = scpi::bind(unit.data, {limit_name}, 1);
  } else {
    to.with.arguments = scpi::bind(unit.data, c.asks, c.asks.size());
  }
}

void interpreter::run(const pending &now) {
  call with = now.with;
  with.answer_waits = answer_.has_value();
  if (now.query) {
    add_answer(now.what->is_setting() ? ask_setting(now) : now.what->ask(set_, with));
  } else if (now.what->is_setting()) {
    act_setting(now);
  } else {
    now.what->act(set_, with);
  }
}

std::string interpreter::ask_setting(const pending &now) const {
  const command &c = *now.what;
  const scpi::parameter &p = c.takes[0];
  const scpi::argument &limit = now.with.arguments[0];
  double value = c.number != nullptr ? set_.set.*c.number : set_.set.*c.integer;
  if (limit.given) {
    if (limit.number == 2 && std::isnan(p.usual)) throw failure(scpi::illegal_parameter_value, "DEFault");
    value = limit.number == 0 ? p.least : limit.number == 1 ? p.most : p.usual;
  }
  return c.number != nullptr ? spoken_.setting(value / p.scale) : std::to_string(std::lround(value));
}

void interpreter::act_setting(const pending &now) {
  const command &c = *now.what;
  const double value = now.with.arguments[0].number;
  if (c.number != nullptr) {
    set_.set.*c.number = value;
  } else {
    set_.set.*c.integer = static_cast<int>(std::lround(value));
  }
}

void interpreter::add_answer(const std::string &text) {
  std::string all = answer_ ? std::move(*answer_) + ";" + text : text;
  answer_.reset();
  if (all.size() > longest_answer)
    throw failure(scpi::query_deadlocked, "the answers of one message are too long");
  answer_ = std::move(all);
}

}  // namespace rf_tester
