// SPDX-License-Identifier: Apache-2.0
// The plan of a line: which sessions run on each unit, and the slots of the station.
#ifndef CONSOLE_LINE_PLAN_H
#define CONSOLE_LINE_PLAN_H

#include <chrono>
#include <string>
#include <utility>
#include <vector>

namespace console {

/** A place for one phone, and how a console reaches it. */
struct slot_plan {
  std::string name;
  /** The console's program and first arguments. */
  std::vector<std::string> console;
  /** Further options of the console. */
  std::vector<std::string> options;
  /** Values of the options of these names; "" leaves an option out. All but the chip may contain
   * placeholders of the unit: %serial, %slot, %station, %chip. */
  std::string chip, phone, unit, nv;
  /** Of the sessions, by name. */
  std::vector<std::pair<std::string, std::string>> parameters;
};

struct line_plan {
  std::string file;
  /** Of the records; "" for the session's file name. */
  std::string name;
  std::string version, station, operator_name;
  std::vector<std::string> sessions;
  /** A session that runs after every run; "" for none. */
  std::string teardown;
  /** Folders of the records and of the reports; without reports if "". */
  std::string spool, reports;
  /** Runs of a unit until it passes, at most. */
  unsigned attempts = 1;
  /** A slot with this many units in a row that did not pass takes no more; 0 for no such limit. */
  unsigned stop_after = 0;
  /** Of one run. */
  std::chrono::seconds time_limit{600};
  /** What a console gets to end by itself after a signal, and a teardown in all. */
  std::chrono::seconds grace{10};
  std::vector<slot_plan> slots;
};

struct line_options {
  std::string plan_file;
  /** Instead of the plan's, unless "". */
  std::string station, operator_name;
};

/** Reads a TOML file. Paths in it are relative to its folder. Throws usage_error, which names file, line and
 * key. */
line_plan read_line_plan(const line_options &with);

/** A unit in a slot; attempt counts its runs from 1. */
struct unit_in_slot {
  std::string serial;
  unsigned attempt = 1;
};

/** The command that runs the plan's sessions on a unit. */
std::vector<std::string> unit_command(const line_plan &plan, const slot_plan &slot, const unit_in_slot &unit);
/** The command of the teardown. */
std::vector<std::string> teardown_command(const line_plan &plan, const slot_plan &slot,
                                          const unit_in_slot &unit);

}  // namespace console

#endif
