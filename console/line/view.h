// SPDX-License-Identifier: Apache-2.0
// Shows a line: what happened, line by line, and on a terminal below it the state of every slot.
#ifndef CONSOLE_LINE_VIEW_H
#define CONSOLE_LINE_VIEW_H

#include "console/run/reporter.h"

#include <optional>
#include <string>
#include <vector>

namespace console {

struct slot_row {
  std::string name, unit, doing;
  double seconds = 0;
  std::vector<verdict> last; /**< of the runs so far, the latest last */
};

struct line_state {
  std::vector<slot_row> slots;
  std::string shift, typed;
  size_t waiting = 0; /**< units */
};

class line_view {
public:
  /** With slots: their state below the events, which needs a terminal that moves its cursor. */
  explicit line_view(bool with_slots) : shows_slots(with_slots) {}
  ~line_view() { erase(); }
  line_view(const line_view &) = delete;
  line_view &operator=(const line_view &) = delete;

  /** A verdict gives the line its colour. */
  void event(const std::string &text, std::optional<verdict> found = std::nullopt);
  /** Replaces the slots' state. */
  void show(const line_state &state);
  /** The errno of the first output that was lost; 0 for none. */
  int error() const { return lost; }

private:
  void erase();
  void put(const std::string &text);

  bool shows_slots;
  int lost = 0;
  std::vector<std::string> shown; /**< below the events on the terminal */
};

}  // namespace console

#endif
