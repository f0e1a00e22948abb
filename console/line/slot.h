// SPDX-License-Identifier: Apache-2.0
// One slot of a line: runs the plan on the unit that it holds, and then the teardown.
#ifndef CONSOLE_LINE_SLOT_H
#define CONSOLE_LINE_SLOT_H

#include "console/line/plan.h"
#include "console/line/process.h"
#include "console/line/teardown_record.h"
#include "console/line/unit_run.h"

#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>
#include <functional>
#include <memory>
#include <string>

namespace console {

class line_slot {
public:
  using steady = std::chrono::steady_clock;
  /** Gets the run's outcome when the slot is free again. */
  using done = std::function<void(line_slot &, const run_outcome &)>;

  line_slot(asio::io_context &io, const line_plan &of, const slot_plan &with, done when_done);

  const std::string &name() const { return with.name; }
  bool is_free() const { return state == phase::free; }
  const unit_in_slot &unit() const { return tested; }
  /** "Transmit 12/54"; "" if it is free. */
  std::string doing() const;
  /** Since the run began. */
  std::chrono::duration<double> elapsed() const { return steady::now() - began; }

  /** The slot must be free. */
  void test(const unit_in_slot &unit);
  /** Ends the run as BROKEN. The console gets time to put the phone right. Does nothing the second time. */
  void end_run(const std::string &why);

private:
  enum class phase { free, running, ending, tearing_down };

  void take(std::string_view text);
  void run_ended(const process_end &how);
  void tear_down();
  void torn_down(const run_outcome &found, const teardown &of);
  void be_done();
  /** Unless the process ended or something else was awaited before. */
  void after(std::chrono::seconds time, void (line_slot::*act)());
  void exceed_limit();
  void kill();

  asio::io_context &io;
  const line_plan &plan;
  const slot_plan &with;
  done when_done;
  asio::steady_timer timer;
  phase state = phase::free;
  unit_in_slot tested;
  steady::time_point began;
  std::shared_ptr<process> console_process;
  unit_run run;
  run_outcome outcome;
  /** Why the run was ended; "" if it was not. */
  std::string ended_for;
};

}  // namespace console

#endif
