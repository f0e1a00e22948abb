# SPDX-License-Identifier: Apache-2.0
# Every channel at every bandwidth: a transmit start must send the right channel number, or fail if there is no such
# channel. Takes a few seconds on a phone, an instant on the virtual clock.
set power [parameter power integer 0..300 155]
set channels 2484
for {set mhz 2412} {$mhz <= 2472} {incr mhz 5} { lappend channels $mhz }
for {set mhz 5180} {$mhz <= 5825} {incr mhz 5} { lappend channels $mhz }

# The channel number that the driver must get; 0 if the channel does not exist at this bandwidth.
proc number {mhz bandwidth} {
  if {$mhz == 2484} { return 14 }
  if {$mhz >= 5180} { return [expr {[lindex {36 34 30 22} $bandwidth] + ($mhz - 5180) / 5}] }
  if {$bandwidth > 1} { return 0 }
  return [expr {1 + ($mhz - 2412) / 5 - 2 * $bandwidth}]
}

wifi_start_testmode -> 1
wifi_set_mode 4 -> 1
wifi_set_rate 6500 -> 1
wifi_set_power $power -> 1
# A chip with one chain may have the function, but refuses every chain.
if {[has wifi_setmimo_channel]} { wifi_setmimo_channel 1 -> [has driver mimo_chain] }

sweep [list bandwidth {0 1 2 3} channel $channels] {
  wifi_set_band $bandwidth -> 1
  wifi_set_channel $channel -> 1
  set want [number $channel $bandwidth]
  wifi_start_tx -> [expr {$want != 0}]
  set sent [lsearch -inline -index 1 [seen driver] channel]
  limits "number of $channel MHz at bandwidth $bandwidth" [expr {$sent eq "" ? 0 : [lindex $sent 2]}] $want
  wifi_stop_tx -> 1
}
wifi_stop_testmode -> 1
