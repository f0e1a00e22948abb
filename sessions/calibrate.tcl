# SPDX-License-Identifier: Apache-2.0
# Calibrates a unit's transmit power with an RF test set: measures, corrects, and measures again with the calibration
# loaded anew. A second correction follows where the first left too much. Needs address=HOST:PORT of the test set;
# profile, port and loss say which one it is and how the unit is cabled to it. cable=HOST:PORT/N plugs a virtual phone in.
set address [parameter address text *]
set profile [parameter profile text * ../rf_tester/profiles/orva-a.toml]
set port [parameter port integer 1..999 1]
# MHz and dB of the path, as {2412 1.2 5180 2.1}.
set loss [parameter loss text * ""]
set cable [parameter cable text * ""]
# What may be left of an error, in dB; 9 is the standard's for a class B device.
set tolerance [parameter tolerance number 0.1..9 0.3]
set bursts [parameter bursts integer 1..1000 20]

set divisor [expr {[chip] eq "vq2040" ? 100 : 10}]
set block [expr {[chip] eq "vq2040"}]
set chains [expr {[has driver mimo_chain] ? {0 1} : {0}}]
set most_corrections 2

# The order matters: offsets of channels refer to the curve as corrected at 2442 MHz.
# mode of a correction, its band and bandwidth, what is stored, mode of transmission, rate, channels
set curves {
  0 0 0 curve  4 6500 2442
  2 0 0 curve  2 1100 2442
  0 0 1 curve  4 13500 2442
  0 1 0 curve  4 6500 {5180 5600 5700 5825}
}
set offsets {
  0 0 0 mf2ga   4 6500  {2412 2417 2422 2427 2432 2437 2447 2452 2457 2462 2467 2472}
  2 0 0 mf2gccka 2 1100 {2412 2417 2422 2427 2432 2437 2447 2452 2457 2462 2467 2472}
  0 0 1 mf2g40a 4 13500 {2422 2427 2432 2437 2447 2452 2457 2462}
}
set wide { 0 1 3 dpn160c 5 78000 {5250 5570} }
set modes_of_block {
  2 0 0 block 2 1100  2442
  3 0 0 block 3 5400  2442
  4 0 0 block 4 6500  2442
  4 0 1 block 4 13500 2442
  1 1 0 block 1 5400  5180
  4 1 0 block 4 6500  5180
  5 1 1 block 5 13500 5190
  5 1 2 block 5 29300 5210
}

proc width_mhz {bandwidth} { expr {20 << $bandwidth} }

# Sends with 15 dBm and returns the measured error in dB, or nothing if there was no reading.
proc measured_error {chain mode bandwidth rate mhz} {
  global divisor chains
  set dbm 15
  wifi_start_testmode -> 1
  wifi_set_mode $mode -> 1
  wifi_set_band $bandwidth -> 1
  wifi_set_channel $mhz -> 1
  wifi_set_rate $rate -> 1
  wifi_set_power [expr {$dbm * $divisor}] -> 1
  if {[llength $chains] > 1} { wifi_setmimo_channel [expr {$chain + 1}] -> 1 }
  wifi_start_tx -> 1
  tester channel $mhz [width_mhz $bandwidth]
  set values [tester measure -at [list chain $chain]]
  wifi_stop_tx -> 1
  wifi_stop_testmode -> 1
  return [expr {[dict exists $values power] ? [dict get $values power] - $dbm : ""}]
}

# The tenths of a dB that NV holds for a channel; those that are not there are 0.
proc held_offset {param chain mhz} {
  set index [expr {[string match dpn* $param] ? ($mhz > 5400) : ($mhz - 2412) / 5}]
  wifi_nvram_calibrate_get -> 1
  if {![regexp "(?:^|\\W)$param$chain=(\[^;\]*);" [output text] all values]} { return 0 }
  return [lindex [split $values ,] $index]
}

# Curves take the error that is left and add it up. Offsets are replaced, so they take the whole one. The block takes
# a gain in dB.
proc correct {kind chain mode band bandwidth mhz error} {
  switch $kind {
    curve   { set amount [expr {10 * $error}] }
    block   { set amount [expr {$error > 5 ? -5 : $error < -5 ? 5 : -$error}] }
    default { set amount [expr {10 * $error - [held_offset $kind $chain $mhz]}] }
  }
  wifi_nvram_calibrate_set 0 $chain $mode $band $bandwidth $mhz [format %.1f $amount] -> 1
}

proc calibrate {chain mode band bandwidth kind send_mode rate mhz} {
  global tolerance most_corrections silent
  set error [measured_error $chain $send_mode $bandwidth $rate $mhz]
  set first $error
  for {set done 0} {$done < $most_corrections && $error ne "" && abs($error) > $tolerance / 2} {incr done} {
    correct $kind $chain $mode $band $bandwidth $mhz $error
    set error [measured_error $chain $send_mode $bandwidth $rate $mhz]
  }
  if {$error eq ""} {
    set silent 1
    note "no reading of chain $chain at $mhz MHz: its other channels are not measured"
    return
  }
  limits power_error [format %.2f $error] -$tolerance..$tolerance -unit dB \
    -at [list mhz $mhz bandwidth_mhz [width_mhz $bandwidth] chain $chain mode $mode]
  note [format "%s, chain %d, %d MHz: %+.2f dB; corrections: %d; then %+.2f dB" $kind $chain $mhz $first $done $error]
}

# Without a cable, each channel would wait for the test set's time-out.
proc calibrate_all {table chain} {
  global silent
  foreach {mode band bandwidth kind send_mode rate channels} $table {
    foreach mhz $channels {
      if {!$silent} { calibrate $chain $mode $band $bandwidth $kind $send_mode $rate $mhz }
    }
  }
}

step "Test set"
note [tester connect $address $profile]
tester reset
tester port $port
if {$loss ne ""} { tester loss $loss }
tester expect 15
tester average $bursts
tester timeout 1
if {$cable ne ""} { phone set cable $cable }
teardown { tester close }

set silent 0
if {$block} {
  step "Block"
  wifi_nvram_set -> 1
  calibrate_all $modes_of_block 0
} else {
  foreach chain $chains {
    set silent 0
    step "Curves of chain $chain"
    calibrate_all $curves $chain
    step "Offsets of chain $chain"
    calibrate_all $offsets $chain
    if {[llength $chains] > 1} { calibrate_all $wide $chain }
  }
}
