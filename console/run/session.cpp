// SPDX-License-Identifier: Apache-2.0
#include "console/run/session.h"

#include "console/nv/nv_safe.h"
#include "console/phone/phone_link.h"
#include "console/run/expectations.h"

#include <algorithm>
#include <chrono>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <iterator>

namespace console {

std::string place::text() const { return file.empty() ? "" : fmt::format("{}:{}", file, line); }

bool call_step::held() const { return std::ranges::all_of(expectations, &expectation::held); }

bool call_step::failed() const {
  return expectations.empty() ? result.means.verdict == outcome::bad : !held();
}

session::session(const settings &with, std::string name, std::vector<std::shared_ptr<reporter>> to)
    : options(with), reporters(std::move(to)) {
  summary.info = {.name = std::move(name), .chip = "", .real_clock = with.real_clock};
}

static void require(const std::string &message) {
  if (!message.empty()) throw usage_error{message};
}

void session::load_library() {
  require(lib.load(options.library));
  progress = {};
}

/** After a call that succeeded. Taking wlan0 down stops whatever ran. */
void session::follow(const std::string &name) {
  if (name == "wifi_start_testmode") progress.test_mode = true;
  if (name == "wifi_stop_testmode" || name == "wifi_test_weld") progress = {};
  if (name == "wifi_start_tx" || name == "wifi_stop_tx") progress.transmit = name == "wifi_start_tx";
  if (name == "wifi_start_rx" || name == "wifi_stop_rx") progress.receive = name == "wifi_start_rx";
}

void prepare_phone(const settings &with) {
  phone_link::reset();
  if (!with.phone_file.empty()) require(phone_link::load(with.phone_file));
  if (with.chip_given || (phone_link::is_virtual() && with.phone_file.empty()))
    require(phone_link::set("chip", chip_names[with.chip]));
  if (!with.nv_file.empty()) require(phone_link::open_nv(with.nv_file));
  phone_link::use_real_clock(with.real_clock);
  phone_link::print_log(with.log_priority);
}

void session::start() {
  prepare_phone(options);
  load_library();
  summary.info.chip = chip_name();
  for (auto &r : reporters) r->begin(summary.info);
}

session_summary session::finish() {
  for (auto &fault : faults)
    if (phone_link::fault_fired(fault.id) == 0)
      expect({"fault " + fault.what, "happens", "nothing used that place often enough", false}, fault.where);
  summary.phone_us = phone_link::now_us();
  for (auto &r : reporters) r->end(summary);
  return summary;
}

void session::count(const expectation &e) { ++(e.held ? summary.held : summary.failed); }

static int64_t real_us() {
  return std::chrono::duration_cast<std::chrono::microseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

static std::string call_text(const function &f, const std::vector<std::string> &words) {
  return fmt::format("{}{}{}", f.name, words.empty() ? "" : " ", fmt::join(words, " "));
}

const call_step &session::call(const function &f, const std::vector<std::string> &words, const place &where) {
  auto arguments = words;
  auto wants = take_wanted(f, arguments);
  prepared_call prepared(f, arguments);
  if (!lib.symbol(f.name))
    throw usage_error{fmt::format("The library {} has no function {}.", options.library, f.name)};
  if (f.writes_nv) ask_before_writing(*this, call_text(f, words), [&] { call(f, words, where); });
  phone_link::clear_contacts();
  auto start = phone_link::now_us(), real_start = real_us();
  auto result = prepared.run(lib);
  auto contacts_made = phone_link::contacts().size();
  last_step = std::make_unique<call_step>(call_step{.called = &f,
                                                    .inputs = prepared.inputs(),
                                                    .remarks = prepared.remarks(),
                                                    .result = std::move(result),
                                                    .seen = {},
                                                    .expectations = {},
                                                    .where = where,
                                                    .start_us = start,
                                                    .phone_us = phone_link::now_us() - start,
                                                    .own_us = real_us() - real_start,
                                                    .contacts_made = contacts_made});
  last_step->seen = observe(chip(), start, start + last_step->phone_us);
  last_step->expectations = judge_result(last_step->result, wants);
  std::ranges::move(read_back(), std::back_inserter(last_step->expectations));
  ++summary.calls;
  summary.ledger += last_step->seen.ledger;
  summary.calls_us += last_step->phone_us;
  summary.own_us += last_step->own_us;
  if (last_step->result.means.verdict == outcome::good) follow(f.name);
  for (auto &e : last_step->expectations) count(e);
  for (auto &r : reporters) r->call(*last_step);
  return *last_step;
}

void session::expect(const expectation &e, const place &where) {
  count(e);
  for (auto &r : reporters) r->expect(e, where);
}

void session::title(const std::string &text) {
  for (auto &r : reporters) r->title(text);
}

void session::report_progress(size_t done, size_t total, const std::string &text) {
  for (auto &r : reporters) r->progress(done, total, text);
}

void session::note(const std::string &text) {
  for (auto &r : reporters) r->note(text);
}

void session::fail(const std::string &text, const place &where) {
  summary.broken = true;
  for (auto &r : reporters) r->error(text, where);
}

void session::plan_fault(const std::string &what, unsigned nth, unsigned times, int value,
                         const place &where) {
  int id = phone_link::plan_fault(what, nth, times, value);
  if (id < 0)
    throw usage_error{
        fmt::format("\"{}\" is no place where a fault can be planned: give a function as ioctl, a driver "
                    "command as ioctl:11, shell:ifconfig wlan0 up, nv_read:340, nv_write:340 or "
                    "nv_lose:340.",
                    what)};
  faults.push_back({what, id, where});
}

void session::change_chip(unsigned chip) {
  require(phone_link::set("chip", chip_names[chip]));
  load_library();
  summary.info.chip = chip_name();
  for (auto &r : reporters) r->chip_changed(summary.info);
}

unsigned session::chip() const { return phone_link::chip(); }

const char *session::chip_name() const {
  return chip() < chip_names.size() ? chip_names[chip()] : "unknown chip";
}

}  // namespace console
