// SPDX-License-Identifier: Apache-2.0
#include "console/run/session.h"

#include "console/phone/chips.h"
#include "console/phone/log_priority.h"
#include "console/phone/phone_link.h"
#include "console/run/expectations.h"
#include "console/text/usage_error.h"

#include <chrono>
#include <exception>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <utility>

namespace console {

session::session(const settings &with, std::string name, std::vector<std::shared_ptr<reporter>> to)
    : options(with), taken(with.parameters), reporters(std::move(to)) {
  summary.info = {.name = std::move(name), .chip = "", .real_clock = with.real_clock};
}

static std::string no_such_place(const std::string &what) {
  std::vector<std::string> names;
  for (auto &place : phone_link::fault_places()) names.push_back(place.name);
  if (names.empty()) return fmt::format("\"{}\": a real phone cannot be made to fail on purpose.", what);
  return fmt::format("\"{}\" is no place where a fault can be planned: give one of {}.", what,
                     fmt::join(names, ", "));
}

/** A reporter that cannot write is dropped, after the others have heard the same. */
void session::tell(const std::function<void(reporter &)> &what) {
  std::exception_ptr failed;
  std::erase_if(reporters, [&](auto &r) {
    try {
      what(*r);
      return false;
    } catch (...) { failed = std::current_exception(); }
    return true;
  });
  if (failed) std::rethrow_exception(failed);
}

/** Calls what is still to be stopped; a reporter's failure must not keep the transmitter on. */
void session::leave_test_mode() {
  const std::pair<const char *, bool> stops[] = {{"wifi_stop_tx", progress.transmit},
                                                 {"wifi_stop_rx", progress.receive},
                                                 {"wifi_stop_testmode", progress.test_mode}};
  std::exception_ptr failed;
  for (auto &[name, needed] : stops) {
    if (!needed) continue;
    try {
      open();
      call(*find_function(name), {}, {});
    } catch (...) { failed = std::current_exception(); }
  }
  if (failed) std::rethrow_exception(failed);
}

void session::load_library() {
  lib.load_or_throw(options.library);
  progress = {};
}

/** Updates the test state after a call that succeeded. Taking wlan0 down stops every test. */
void session::follow(const std::string &name) {
  if (name == "wifi_start_testmode") progress.test_mode = true;
  if (name == "wifi_stop_testmode" || name == "wifi_test_weld") progress = {};
  if (name == "wifi_start_tx" || name == "wifi_stop_tx") progress.transmit = name == "wifi_start_tx";
  if (name == "wifi_start_rx" || name == "wifi_stop_rx") progress.receive = name == "wifi_start_rx";
}

void session::start() {
  prepare_phone(options);
  load_library();
  summary.info.chip = chip_name();
  if (!is_prompt()) open();
}

void session::open() {
  if (std::exchange(opened, true)) return;
  tell([&](reporter &r) { r.begin(summary.info); });
}

session_summary session::finish() {
  if (!opened && !ended.empty()) return summary;
  open();
  for (auto &fault : faults)
    if (phone_link::fault_fired(fault.id) == 0)
      expect({"fault " + fault.what, "happens", "nothing used that place often enough", false}, fault.where);
  summary.phone_us = phone_link::now_us();
  tell([&](reporter &r) { r.end(summary); });
  return summary;
}

void session::give_way(const std::function<ended_session()> &act) {
  if (!phone_link::is_virtual()) leave_test_mode();
  if (!phone_link::is_virtual() && (progress.transmit || progress.receive || progress.test_mode))
    throw usage_error{
        "run: the phone does not leave test mode: end it first, or take source FILE to go on in it."};
  if (opened) ended.push_back(finish());
  auto info = summary.info;
  summary = {};
  summary.info = info;
  opened = false;
  faults.clear();
  last_step.reset();
  auto [of_act, left] = act();
  ended.push_back(of_act);
  load_library();
  progress = left;
  summary.info.chip = chip_name();
}

std::string session::take_parameter(const parameter &wanted) {
  if (parameters_closed && !is_prompt())
    throw usage_error{
        fmt::format("parameter {}: declare parameters before the session's first act.", wanted.name)};
  auto &found = taken.declare(wanted);
  if (is_prompt() && !found.fallback && !found.given)
    throw usage_error{
        fmt::format("parameter {}: it has no default: use run FILE {}=VALUE.", found.name, found.name)};
  open();
  tell([&](reporter &r) { r.parameter_taken(found); });
  return found.value;
}

std::string session::close_parameters(bool all_declared) {
  return std::exchange(parameters_closed, true) ? "" : taken.fault(all_declared);
}

static int64_t real_us() {
  return std::chrono::duration_cast<std::chrono::microseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

/** A count or code that the library returned although the phone refused is no reading. */
static judgement judge_reading(const call_step &step) {
  auto &means = step.result.means;
  bool value = step.called->result == result_kind::value && means.verdict == outcome::plain;
  if (!value || step.seen.troubles.empty()) return means;
  return {outcome::bad, "no reading, the phone refused"};
}

call_step session::perform(const function &f, prepared_call &prepared, const place &where) {
  phone_link::clear_contacts();
  auto start = phone_link::now_us(), real_start = real_us();
  auto result = prepared.run(lib);
  auto phone_us = phone_link::now_us() - start, own_us = real_us() - real_start;
  auto log_remark = phone_link::complete_log();
  auto contacts_made = phone_link::contacts().size();
  call_step step{.called = &f,
                 .inputs = prepared.inputs(),
                 .remarks = prepared.remarks(),
                 .result = std::move(result),
                 .seen = {},
                 .expectations = {},
                 .where = where,
                 .start_us = start,
                 .phone_us = phone_us,
                 .own_us = own_us,
                 .contacts_made = contacts_made};
  if (!log_remark.empty()) step.remarks.push_back(log_remark);
  step.seen = observe(chip(), start, start + step.phone_us);
  step.result.means = judge_reading(step);
  return step;
}

void session::count(const expectation &e, const call_step *step, const place &where) {
  if (e.held)
    ++summary.held;
  else
    summary.add_failure(step, e, where);
}

void session::count(const call_step &step) {
  ++summary.calls;
  summary.ledger += step.seen.ledger;
  summary.calls_us += step.phone_us;
  summary.own_us += step.own_us;
  for (auto &e : step.expectations) count(e, &step, step.where);
}

static std::string call_text(const function &f, const std::vector<std::string> &words) {
  return fmt::format("{}{}{}", f.name, words.empty() ? "" : " ", fmt::join(words, " "));
}

/** What an item held before the last call and does not hold now. */
static std::vector<nv_change> lost_from(const std::string &item,
                                        const std::vector<phone_link::nv_item> &before) {
  auto lost = nv_changes(nv_values_of(before), nv_values_of(phone_link::readable_nv_items()));
  std::erase_if(lost, [&](auto &change) { return change.item != item || change.before == "none"; });
  return lost;
}

/** NV is judged whatever the script expects: a result of 1 says nothing about what was lost. */
void session::judge(call_step &step, const std::vector<wanted> &wants, bool may_fail,
                    const std::vector<phone_link::nv_item> &nv_before) {
  auto &all = step.expectations;
  bool bad = step.result.means.verdict == outcome::bad;
  all = judge_result(step.result, wants);
  if (wants.empty() && !may_fail && bad) all.push_back(unexpected_failure(step.result));
  for (auto &change : unkept_writes()) all.push_back(not_kept(change));
  if (step.called->merges_nv)
    for (auto &change : lost_in_merges(nv_before)) all.push_back(not_kept(change));
  for (auto &item : blind_writes()) {
    all.push_back(written_unread(item));
    if (!step.called->merges_nv)
      for (auto &change : lost_from(item.item, nv_before)) all.push_back(not_kept(change));
  }
}

const call_step &session::call(const function &f, const std::vector<std::string> &words, const place &where,
                               bool may_fail) {
  auto arguments = words;
  auto wants = take_wanted(f, arguments);
  if (!wants.empty()) refuse_in_preview("-> and what follows");
  prepared_call prepared(f, arguments);
  if (!lib.symbol(f.name))
    throw usage_error{fmt::format("The library {} has no function {}.", options.library, f.name)};
  if (f.writes_nv) ask_before_writing(call_text(f, words), [&] { call(f, words, where, may_fail); });
  auto nv_before = f.writes_nv ? phone_link::readable_nv_items() : std::vector<phone_link::nv_item>{};
  last_step = std::make_unique<call_step>(perform(f, prepared, where));
  judge(*last_step, wants, may_fail, nv_before);
  if (last_step->result.means.verdict == outcome::good) follow(f.name);
  count(*last_step);
  tell([&](reporter &r) { r.call(*last_step); });
  return *last_step;
}

void session::expect(const expectation &e, const place &where) {
  count(e, nullptr, where);
  tell([&](reporter &r) { r.expect(e, where); });
}

void session::title(const std::string &text) {
  tell([&](reporter &r) { r.title(text); });
}

void session::report_progress(size_t done, size_t total, const std::string &text) {
  tell([&](reporter &r) { r.progress(done, total, text); });
}

void session::make_room() {
  tell([](reporter &r) { r.make_room(); });
}

void session::note(const std::string &text) {
  tell([&](reporter &r) { r.note(text); });
}

void session::fail(const std::string &text, const place &where) {
  summary.broken = true;
  tell([&](reporter &r) { r.error(text, where); });
}

void session::plan_fault(const std::string &what, unsigned nth, unsigned times, int value,
                         const place &where) {
  int id = phone_link::plan_fault(what, nth, times, value);
  if (id < 0) throw usage_error{no_such_place(what)};
  faults.push_back({what, id, where});
}

void session::change_chip(unsigned chip) {
  require(phone_link::set("chip", console::chip_name(chip)));
  load_library();
  summary.info.chip = chip_name();
  tell([&](reporter &r) { r.chip_changed(summary.info); });
}

/** The last call's result in words, with the log's errors if it failed. */
static std::string result_text(const call_step &step) {
  auto &result = step.result;
  auto text = fmt::format(" -> {}  {}", result.value, result.means.meaning);
  bool bad = result.means.verdict == outcome::bad;
  for (auto &line : step.seen.log)
    if (bad && line.priority >= LOG_ERROR) text += "\n  log: " + line.text;
  return text;
}

/** Runs in the copied phone's process, whose reporters would write to the same files as ours. */
trial session::try_out(const std::function<void()> &act) {
  reporters.clear();
  act();
  bool good = summary.failed == 0 && (!last() || last()->result.means.verdict != outcome::bad);
  return {good, last() ? result_text(*last()) : ""};
}

foresight session::preview(const std::string &what, const std::function<void()> &act) {
  return preview_nv(what, [&] {
    previewing = true;
    return try_out(act);
  });
}

void session::refuse_in_preview(const char *expectation) const {
  if (previewing)
    throw usage_error{fmt::format("preview: leave out {}: a preview judges nothing.", expectation)};
}

void session::ask_before_writing(const std::string &what, const std::function<void()> &act) {
  make_room();
  if (options.yes || allowed || !confirm_writing(what, [&] { return try_out(act); })) return;
  allowed = !summary.info.name.empty();  // a script is asked about once, the prompt each time
}

unsigned session::chip() const { return phone_link::chip(); }

const char *session::chip_name() const {
  return chip() < chip_count ? console::chip_name(chip()) : "unknown chip";
}

}  // namespace console
