# SPDX-License-Identifier: Apache-2.0
# Measurements without a test set: a transmitter whose power is wrong until it is calibrated, compression, and a receiver.
set channels {2412 2417 2422 2427 2432 2437 2442 2447 2452 2457 2462 2467 2472 5180 5260 5320 5500 5600 5700 5745 5825}

proc ripple {mhz} { expr {0.4 * sin($mhz / 9.0)} }

proc powers {channels chain error} {
  foreach {rate dbm} {mcs0 15 mcs7 13} {
    foreach mhz $channels {
      set power [format %.2f [expr {$dbm + $error + [ripple $mhz] - ($mhz > 5000 ? 0.3 : 0)}]]
      limits power $power [expr {$dbm - 1.5}]..[expr {$dbm + 1.5}] -unit dBm \
        -at [list mhz $mhz bandwidth_mhz 20 rate $rate chain $chain dbm $dbm]
    }
  }
}

# The EVM is 3 dB above its floor at the power `bend`.
proc evms {bend} {
  foreach {rate most} {mcs0 -5 mcs7 -27} {
    if {$rate eq "mcs7"} { set bend [expr {$bend - 2}] }
    foreach dbm {2 4 6 8 10 12 14 16 18 20} {
      set evm [format %.1f [expr {-36 + 10 * log10(1 + 10 ** (($dbm - $bend) / 4.0))}]]
      limits evm $evm ..$most -unit dB -at [list mhz 2442 rate $rate power_dbm $dbm]
    }
  }
}

proc error_rates {} {
  foreach {rate sensitivity} {mcs0 -88 mcs7 -69} {
    for {set below 4} {$below >= -4} {incr below -1} {
      set lost [expr {round(200 / (1 + exp(-1.5 * $below)))}]
      limits packet_error_rate [expr {$lost / 2.0}] [expr {$below < -1 ? "..10" : "*"}] -unit % \
        -at [list mhz 2442 rate $rate level_dbm [expr {$sensitivity - $below}] packets 200]
    }
  }
}

step "Verify"
foreach chain {0 1} { powers $channels $chain [expr {1.4 - $chain}] }
evms 15
limits temperature 31.5 ..60 -unit C -at {sensor board}
step "Calibrate"
wifi_nvram_calibrate_set 0 0 0 0 0 2442 14 -> *
step "Verify again"
foreach chain {0 1} { powers $channels $chain [expr {0.1 - 0.4 * $chain}] }
evms 16.5
error_rates
foreach rate {1 2 5.5 11} { limits rssi_error 1.5 -3..3 -unit dB -at [list mhz 2442 rate $rate format dsss dbm -50] }
limits power "no value" 13.5..16.5 -unit dBm -at {mhz 2484 bandwidth_mhz 20 rate mcs0 chain 0 dbm 15}
# Lines with limits of their own, on an axis with whole numbers; and two conditions that only vary together.
foreach {rate least} {mcs0 1 mcs7 2} {
  foreach mhz {2412 2437 2462} { limits mask_margin 4.5 $least.. -unit dB -at [list mhz $mhz rate $rate] }
}
foreach {port fixture} {1 left 2 right} { limits current $port ..9 -unit mA -at [list port $port fixture $fixture] }
