# SPDX-License-Identifier: Apache-2.0
# Verifies a unit with an RF test set: power, EVM, spectral mask and frequency error over channels, rates and chains;
# sensitivity and accuracy of the RSSI. Limits are the standard's, less the test set's uncertainty and tighten.
# Needs address=HOST:PORT of the test set; profile, port and loss say which one it is and how the unit is cabled to it.
# cable=HOST:PORT/N plugs a virtual phone in.
set address [parameter address text *]
set profile [parameter profile text * ../rf_tester/profiles/orva-a.toml]
set port [parameter port integer 1..999 1]
# MHz and dB of the path, as {2412 1.2 5180 2.1}.
set loss [parameter loss text * ""]
set cable [parameter cable text * ""]
set limits_file [parameter limits text * ../rf_tester/limits.csv]
# Each end of a limit moves inward by this, in the limit's unit. It cannot move outward.
set tighten [parameter tighten number 0..5 0]
# Of the power around what was set, in dB; the standard's is 9.
set power_tolerance [parameter power_tolerance number 0.4..9 1.5]
set bursts [parameter bursts integer 1..1000 10]
set packets [parameter packets integer 100..100000 1000]

set divisor [expr {[chip] eq "vq2040" ? 100 : 10}]
set chains [expr {[has driver mimo_chain] ? {0 1} : {0}}]
set bandwidth_code {20 0 40 1 80 2 160 3}

# format, rate, mode and rate of the library, width in MHz, power in dBm, channels. The higher the modulation, the lower
# the power: the amplifier's compression costs EVM.
set transmissions {
  dsss 11   2 1100  20 15 {2412 2442 2472}
  ofdm 54   1 5400  20 15 {2412 2442 2472 5180 5500 5825}
  ht   mcs0 4 700   20 15 {2442 5180}
  ht   mcs7 4 6500  20 15 {2412 2442 2472 5180 5500 5600 5700 5825}
  ht   mcs7 4 6500  20 8  {2442 5180}
  ht   mcs7 4 13500 40 15 {2422 2442 2462 5190 5550 5795}
  vht  mcs9 5 39000 80 10 {5210 5530 5775}
}
if {[llength $chains] > 1} { lappend transmissions vht mcs7 5 58500 160 10 {5250 5570} }
if {[chip] eq "vq2070"} { lappend transmissions he mcs11 6 14300 20 10 {2412 2442 2472} }

# format, rate, mode and rate of the library, channels
set receptions {
  dsss 11   2 1100 2442
  ofdm 54   1 5400 {2442 5180}
  ht   mcs0 4 700  2442
  ht   mcs7 4 6500 {2442 5180 5825}
}

proc band {mhz} { expr {$mhz < 4000 ? "2.4" : "5"} }

# The standard's limits for a signal, less the test set's uncertainty.
proc limit_of {quantity format rate mhz width} {
  global tighten
  tester limit $quantity -format $format -rate $rate -band [band $mhz] -bandwidth $width -tighten $tighten
}

proc tune {chain mode rate mhz width} {
  global chains bandwidth_code
  wifi_start_testmode -> 1
  wifi_set_mode $mode -> 1
  wifi_set_band [dict get $bandwidth_code $width] -> 1
  wifi_set_channel $mhz -> 1
  wifi_set_rate $rate -> 1
  if {[llength $chains] > 1} { wifi_setmimo_channel [expr {$chain + 1}] -> 1 }
  tester channel $mhz $width
}

# ---- Transmitter ------------------------------------------------------------------------------------------------

proc power_range {dbm} {
  global power_tolerance
  set left [expr {$power_tolerance - [tester uncertainty power]}]
  return [format %.2f..%.2f [expr {$dbm - $left}] [expr {$dbm + $left}]]
}

proc verify_transmission {chain format rate mode library_rate mhz width dbm} {
  global divisor
  tune $chain $mode $library_rate $mhz $width
  tester expect $dbm
  wifi_set_power [expr {$dbm * $divisor}] -> 1
  wifi_start_tx -> 1
  set wants [list power [power_range $dbm]]
  foreach quantity {evm frequency_error mask_margin} {
    lappend wants $quantity [limit_of $quantity $format $rate $mhz $width]
  }
  tester measure -at [list format $format rate $rate chain $chain dbm $dbm] -> {*}$wants
  wifi_stop_tx -> 1
  wifi_stop_testmode -> 1
}

# ---- Receiver ---------------------------------------------------------------------------------------------------

# The upper end of the 95 % confidence interval (Wilson) of a packet error rate, in percent.
proc upper_end {lost sent} {
  set rate [expr {double($lost) / $sent}]
  set square [expr {1.96 ** 2}]
  set half [expr {1.96 * sqrt($rate * (1 - $rate) / $sent + $square / (4.0 * $sent ** 2))}]
  return [expr {100 * ($rate + $square / (2.0 * $sent) + $half) / (1 + $square / $sent)}]
}

# The greatest rate whose whole interval is within ..high: the limit for a rate of so many packets.
proc whole_interval {limit sent} {
  set high [string trimleft $limit .]
  set lost -1
  while {$lost < $sent && [upper_end [expr {$lost + 1}] $sent] <= $high} { incr lost }
  return ..[percent $lost $sent]
}

proc percent {part all} { format %.3f [expr {100.0 * $part / $all}] }

# Sends packets and returns how many were sent and how many of them were lost.
proc sent_and_lost {format rate mhz dbm packets} {
  set before [wifi_get_rx_pckg]
  set sent [tester generate -format $format -rate $rate -level $dbm -count $packets]
  set received [expr {[wifi_get_rx_pckg] - $before}]
  if {$received < 0 || $received > $sent} {
    error "the phone counted $received packets of $sent sent: something else transmits on $mhz MHz"
  }
  return [list $sent [expr {$sent - $received}]]
}

proc verify_reception {chain format rate mode library_rate mhz} {
  global packets
  set at [list mhz $mhz bandwidth_mhz 20 format $format rate $rate chain $chain]
  tune $chain $mode $library_rate $mhz 20
  wifi_start_rx -> 1
  set dbm [string trimleft [limit_of sensitivity $format $rate $mhz 20] .]
  lassign [sent_and_lost $format $rate $mhz $dbm $packets] sent lost
  limits packet_error_rate [percent $lost $sent] [whole_interval [limit_of packet_error_rate $format $rate $mhz 20] $sent] \
    -unit % -at [list {*}$at dbm $dbm packets $sent]
  set dbm -50
  sent_and_lost $format $rate $mhz $dbm 100
  wifi_get_rx_rssi -> 1
  limits rssi_error [expr {[output rssi] - $dbm}] [limit_of rssi_error $format $rate $mhz 20] -unit dB \
    -at [list {*}$at dbm $dbm]
  wifi_stop_rx -> 1
  wifi_stop_testmode -> 1
}

# ---- The session ------------------------------------------------------------------------------------------------

step "Test set"
note [tester connect $address $profile]
tester limits $limits_file
tester reset
tester port $port
if {$loss ne ""} { tester loss $loss }
tester average $bursts
tester timeout 1
if {$cable ne ""} { phone set cable $cable }
teardown { tester close }

foreach chain $chains {
  step "Transmitter, chain $chain"
  foreach {format rate mode library_rate width dbm channels} $transmissions {
    foreach mhz $channels {
      verify_transmission $chain $format $rate $mode $library_rate $mhz $width $dbm
    }
  }
  step "Receiver, chain $chain"
  foreach {format rate mode library_rate channels} $receptions {
    foreach mhz $channels { verify_reception $chain $format $rate $mode $library_rate $mhz }
  }
}
