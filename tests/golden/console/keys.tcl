# SPDX-License-Identifier: Apache-2.0
# Every key of a phone's description: its first value, its meaning and what it takes; then how 20 units differ.
proc taken {key} {
  foreach wrong [list ~ [string repeat ~ 9000]] {
    if {[catch {phone set $key $wrong} message]} { return [regsub {^.*(is not|can only)} $message {\1}] }
  }
}
proc drawn {key unit} { phone set unit $unit; split [phone get $key] , }

set keys [lmap line [split [string trim [phone keys]] \n] { lindex $line 0 }]
foreach key $keys line [split [string trim [phone keys]] \n] { note "$line: [phone get $key]; [taken $key]" }

foreach key [lsearch -all -inline $keys rf.?*] {
  if {$key eq "rf.fault"} continue
  set sum 0
  for {set unit 0} {$unit < 20} {incr unit} {
    foreach number [drawn $key $unit] typical [drawn $key none] { set sum [expr {$sum + abs($number - $typical)}] }
  }
  note "$key: [format %.3f $sum]"
}
