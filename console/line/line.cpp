// SPDX-License-Identifier: Apache-2.0
#include "console/line/line.h"

#include "console/line/scan.h"
#include "console/line/scanner.h"
#include "console/line/shift.h"
#include "console/line/slot.h"
#include "console/line/view.h"
#include "console/text/text.h"
#include "console/text/usage_error.h"

#include <algorithm>
#include <asio/signal_set.hpp>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fmt/format.h>
#include <system_error>
#include <unistd.h>

namespace console {
namespace {

/** A slot and what the line knows of it. */
struct place_on_line {
  std::unique_ptr<line_slot> slot;
  unsigned tries = 0;  /**< runs of this unit since it was scanned */
  unsigned missed = 0; /**< units in a row that did not pass */
  bool stopped = false;
  std::vector<verdict> last = {};
};

class test_line {
public:
  explicit test_line(const line_plan &of)
      : plan(of), at_terminal(isatty(STDIN_FILENO)), view(at_terminal && is_capable_terminal(STDOUT_FILENO)),
        signals(io, SIGINT, SIGTERM, SIGHUP), clock(io) {
    for (auto &each : plan.slots)
      places.push_back(
          {std::make_unique<line_slot>(io, plan, each, [this](line_slot &s, const run_outcome &found) {
            run_done(place_of(s.name()), found);
          })});
  }

  exit_status run() {
    watch_signals();
    scanner from(io, at_terminal && is_capable_terminal(STDOUT_FILENO),
                 {.line = [this](const std::string &text) { scanned(text); },
                  .typed = [this] { show(); },
                  .end = [this](int error) { input_ended(error); }});
    input = &from;
    tick();
    io.run();
    view.event(tally.text());
    if (view.error()) throw std::system_error(view.error(), std::generic_category());
    return status_of(worst());
  }

private:
  /** The worst of all. Whoever scans at a terminal sees a refusal and scans again. */
  verdict worst() const { return lost_input ? verdict::broken : tally.worst(); }

  void watch_signals() {
    signals.async_wait([this](asio::error_code error, int number) {
      if (error) return;
      end_all(fmt::format("SIG{}", sigabbrev_np(number)));
      watch_signals();
    });
  }

  void tick() {
    constexpr auto between_looks = std::chrono::milliseconds(200);
    show();
    clock.expires_after(between_looks);
    clock.async_wait([this](asio::error_code error) {
      if (!error) tick();
    });
  }

  void show() {
    line_state now = {.slots = {}, .shift = tally.text(), .typed = input->typed(), .waiting = queue.size()};
    for (auto &each : places) {
      auto &slot = *each.slot;
      bool busy = !slot.is_free();
      now.slots.push_back({slot.name(), busy ? slot.unit().serial : "", slot.doing(),
                           busy ? slot.elapsed().count() : 0.0, each.last});
    }
    view.show(now);
  }

  void event(const std::string &text, std::optional<verdict> found = std::nullopt) {
    view.event(text, found);
    if (view.error()) end_all("the output cannot be written");
  }

  place_on_line &place_of(std::string_view name) {
    return *std::ranges::find(places, name, [](auto &each) { return each.slot->name(); });
  }

  std::vector<std::string> slot_names() const {
    std::vector<std::string> names;
    for (auto &each : places) names.push_back(each.slot->name());
    return names;
  }

  void scanned(const std::string &text) {
    try {
      auto asked = parse_scan(text, slot_names());
      if (asked.serial.empty()) return;
      require(obstacle(asked));
      queue.push_back(asked);
    } catch (const usage_error &e) {
      lost_input |= !at_terminal;
      event(fmt::format("refused: {}", e.message));
    }
    serve_queue();
  }

  /** Why a unit cannot be tested; "" if it can. */
  std::string obstacle(const scan &asked) {
    auto &serial = asked.serial;
    for (auto &each : places)
      if (!each.slot->is_free() && each.slot->unit().serial == serial)
        return fmt::format("{} is being tested in slot {}; scan it again afterwards", serial,
                           each.slot->name());
    if (std::ranges::find(queue, serial, &scan::serial) != queue.end())
      return fmt::format("{} is waiting for a slot already", serial);
    return can_be_tested(asked) ? "" : fmt::format("{}: {}", serial, stopped_text(asked));
  }

  static std::string stopped_text(const scan &asked) {
    return asked.slot.empty() ? "every slot is stopped" : fmt::format("slot {} is stopped", asked.slot);
  }

  bool can_be_tested(const scan &asked) const {
    return std::ranges::any_of(places, [&](auto &each) { return !each.stopped && suits(each, asked); });
  }
  static bool suits(const place_on_line &each, const scan &asked) {
    return asked.slot.empty() || asked.slot == each.slot->name();
  }

  void serve_queue() {
    while (start_next()) {}
    if (closed && queue.empty() && all_free()) io.stop();
  }

  /** Starts the first unit that waits and has a free slot: none holds up those of other slots. */
  bool start_next() {
    for (auto &waiting : queue)
      for (auto &each : places)
        if (each.slot->is_free() && !each.stopped && suits(each, waiting)) {
          auto serial = waiting.serial;
          std::erase_if(queue, [&](auto &one) { return one.serial == serial; });
          each.tries = 0;
          test(each, serial);
          return true;
        }
    return false;
  }

  bool all_free() const {
    return std::ranges::all_of(places, [](auto &each) { return each.slot->is_free(); });
  }

  void test(place_on_line &where, const std::string &serial) {
    ++where.tries;
    auto attempt = tally.runs_of(serial) + 1;
    event(fmt::format("slot {}  {}  run {}", where.slot->name(), serial, attempt));
    if (!ending) where.slot->test({serial, attempt});  // event() may have ended the line
  }

  void run_done(place_on_line &where, const run_outcome &found) {
    auto unit = where.slot->unit();
    tally.count(unit.serial, found.found);
    where.last.push_back(found.found);
    event(fmt::format("slot {}  {}  {}  {:.1f} s{}{}", where.slot->name(), unit.serial, word_of(found.found),
                      where.slot->elapsed().count(), found.reason.empty() ? "" : "  ", found.reason),
          found.found);
    if (!found.teardown.empty()) count_failed_teardown(where, found.teardown);
    bool passed = found.found == verdict::pass && found.teardown.empty();
    if (!passed && !ending && where.tries < plan.attempts) return test(where, unit.serial);
    where.missed = passed ? 0 : where.missed + 1;
    if (plan.stop_after && where.missed >= plan.stop_after) stop(where);
    serve_queue();
  }

  void count_failed_teardown(place_on_line &where, const std::string &why) {
    auto serial = where.slot->unit().serial;
    tally.count_failed_teardown(serial);
    where.last.push_back(verdict::broken);
    event(fmt::format("slot {}  {}  {}  {}", where.slot->name(), serial, word_of(verdict::broken), why),
          verdict::broken);
  }

  void stop(place_on_line &where) {
    where.stopped = true;
    event(fmt::format("slot {} is stopped: {} in a row did not pass", where.slot->name(),
                      counted(where.missed, "unit")));
    give_up_units([this](auto &waiting) { return !can_be_tested(waiting); }, "no slot is left for it");
  }

  template <class F> void give_up_units(F which, const std::string &why) {
    std::erase_if(queue, [&](auto &waiting) {
      if (!which(waiting)) return false;
      tally.add_untested();
      view.event(fmt::format("{} is not tested: {}", waiting.serial, why));
      return true;
    });
  }

  void input_ended(int error) {
    if (error) {
      lost_input = true;
      event(fmt::format("the standard input cannot be read: {}", strerror(error)));
    }
    close();
  }

  /** No more input. */
  void close() {
    closed = true;
    serve_queue();
  }

  void end_all(const std::string &why) {
    if (ending) return;
    ending = true;
    lost_input |= !at_terminal && !closed;
    input->stop();
    view.event(fmt::format("{}: the line ends; each console puts its phone right first", why));
    give_up_units([](auto &) { return true; }, why);
    for (auto &each : places) each.slot->end_run(why);
    close();
  }

  const line_plan &plan;
  const bool at_terminal;
  asio::io_context io;
  line_view view;
  asio::signal_set signals;
  asio::steady_timer clock;
  std::vector<place_on_line> places;
  std::deque<scan> queue;
  shift tally;
  scanner *input = nullptr;
  bool closed = false, ending = false, lost_input = false;
};

void make_folder(const std::string &key, const std::string &path) {
  std::error_code failed;
  std::filesystem::create_directories(path, failed);
  if (failed) throw usage_error{fmt::format("{} {} cannot be made: {}.", key, path, failed.message())};
}

}  // namespace

exit_status run_line(const line_options &with) {
  auto plan = read_line_plan(with);
  make_folder("spool", plan.spool);
  if (!plan.reports.empty()) make_folder("reports", plan.reports);
  return test_line(plan).run();
}

}  // namespace console
