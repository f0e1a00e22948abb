// SPDX-License-Identifier: Apache-2.0
#include "console/line/slot.h"

#include "console/run/identity.h"
#include "console/text/usage_error.h"

#include <csignal>
#include <fmt/format.h>
#include <iterator>

namespace console {

line_slot::line_slot(asio::io_context &context, const line_plan &of, const slot_plan &slot, done then)
    : io(context), plan(of), with(slot), when_done(std::move(then)), timer(context) {}

std::string line_slot::doing() const {
  static constexpr const char *words[] = {"", "", "ending", "teardown"};
  static_assert(std::size(words) == static_cast<size_t>(phase::tearing_down) + 1);
  return state == phase::running ? run.doing() : words[static_cast<size_t>(state)];
}

void line_slot::test(const unit_in_slot &unit) {
  tested = unit;
  run = {};
  ended_for.clear();
  state = phase::running;
  began = steady::now();
  console_process = start_process(io, unit_command(plan, with, unit),
                                  {.line = [this](std::string_view text) { take(text); },
                                   .ended = [this](const process_end &how) { run_ended(how); }});
  after(plan.time_limit, &line_slot::exceed_limit);
}

void line_slot::take(std::string_view text) {
  if (!run.take(text)) end_run("");
}

void line_slot::end_run(const std::string &why) {
  if (state != phase::running) return;
  state = phase::ending;
  ended_for = why;
  console_process->signal(SIGTERM);
  after(plan.grace, &line_slot::kill);
}

void line_slot::exceed_limit() {
  end_run(fmt::format("the run took longer than {} s", plan.time_limit.count()));
}
void line_slot::kill() { console_process->signal(SIGKILL); }

void line_slot::after(std::chrono::seconds time, void (line_slot::*act)()) {
  timer.expires_after(time);
  // Once queued, the handler cannot be cancelled: the process may end before its turn, and another begin.
  timer.async_wait([this, act, of = console_process](asio::error_code error) {
    if (!error && of == console_process) (this->*act)();
  });
}

void line_slot::run_ended(const process_end &how) {
  outcome = run.outcome(how);
  if (!ended_for.empty()) outcome = {verdict::broken, ended_for};
  if (plan.teardown.empty())
    be_done();
  else
    tear_down();
}

void line_slot::tear_down() {
  state = phase::tearing_down;
  auto said = std::make_shared<unit_run>();
  teardown now = {.started = time_with_zone(), .began = steady::now()};
  console_process = start_process(
      io, teardown_command(plan, with, tested),
      {.line = [said](std::string_view text) { said->take(text); },
       .ended = [this, said, now](const process_end &how) { torn_down(said->outcome(how), now); }});
  after(plan.grace, &line_slot::kill);
}

void line_slot::torn_down(const run_outcome &found, const teardown &of) {
  if (found.found == verdict::fail || found.found == verdict::broken) {
    outcome.teardown = fmt::format("the teardown failed, so the phone may still transmit: {}", found.reason);
    try {
      record_failed_teardown(plan, with, tested, run.chip(), of, outcome.teardown);
    } catch (const usage_error &e) { outcome.teardown += fmt::format("; it has no record: {}", e.message); }
  }
  be_done();
}

void line_slot::be_done() {
  timer.cancel();
  state = phase::free;
  when_done(*this, outcome);
}

}  // namespace console
