// SPDX-License-Identifier: Apache-2.0
// The command of the session language that is written in Tcl.
#ifndef CONSOLE_SWEEP_H
#define CONSOLE_SWEEP_H

namespace console {

/* sweep {channel {2412 2437} power {100 155}} { body }: the body for every combination, the last name
 * fastest. */
inline constexpr const char *sweep_script = R"(
proc sweep {names body} {
  if {[llength $names] == 0 || [llength $names] % 2} {
    error "sweep: give pairs of a name and its values, then the body: sweep {channel {2412 2437} power {100 155}} {...}"
  }
  foreach {name values} $names {
    if {[llength $values] == 0} { error "sweep: $name has no values: nothing would be tested" }
  }
  set rows [list {}]
  foreach {name values} $names {
    set longer {}
    foreach row $rows { foreach value $values { lappend longer [concat $row [list $name $value]] } }
    set rows $longer
  }
  set outer [sweep_point]
  set done 0
  foreach row $rows {
    progress $done [llength $rows] $row
    sweep_point [concat $outer $row]
    foreach {name value} $row { uplevel 1 [list set $name $value] }
    switch [catch {uplevel 1 $body} result options] {
      0 - 4 {}
      3 { break }
      1 {
        sweep_point $outer
        return -options $options "$result, at $row"
      }
      default {
        sweep_point $outer
        return -options $options $result
      }
    }
    incr done
  }
  sweep_point $outer
  progress [llength $rows] [llength $rows]
  return $done
}
)";

}  // namespace console

#endif
