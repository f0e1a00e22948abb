# SPDX-License-Identifier: Apache-2.0
# Every function and command used wrongly, with what the console says.
proc refused {args} {
  foreach words $args { if {[catch $words message]} { note "$words: $message" } else { note "$words: taken" } }
}
foreach line [split [functions] \n] {
  if {[regexp {^ +((wifi|conn)_\w+)} $line all name]} { refused [list $name 1 2 3 4 5 6 7 8 9] }
}
refused {wifi_set_powr 1} {source x.tcl} {run x.tcl} {exec ls} {doctor} {generate man}
refused {expect log x} {output rssi} {seen log} {log}
ignore wifi_set_power 155
refused {wifi_set_power} {wifi_set_power loud} {wifi_set_power 4294967296} {wifi_set_power -2147483649} {wifi_set_mode loud}
refused {wifi_set_channel ten} {wifi_nvram_set x}
refused {wifi_hw_get x} {wifi_nvram_calibrate_clean_new 1} {wifi_nvram_calibrate_set 0 0 0 0 0 x 1} {wifi_nvram_calibrate_set 0 0 0 0 0 2442 12abc}
refused {wifi_set_power 1 -> 2..1} {wifi_set_power 1 -> 1 power 3} {wifi_set_power 1 ->}
refused {wifi_get_rx_rssi -> 1 rssi} {wifi_get_rx_rssi -> 1 rssy 3} {wifi_get_rx_rssi -> 1 rssi a..b}
refused {output rssy} {output} {seen} {seen wind} {log loud} {trace 1} {has} {has wind} {has driver wind} {has driver} {has chip 1}
refused {expect} {expect wind x} {expect no} {expect no wind x} {expect driver {wind=1}} {expect driver {power=1..x}} {expect phone radio.rsi 1}
refused {ignore} {ignore wind} {ignore wifi_set_power 1 -> 1} {limits} {limits a} {limits a 1 2..1} {limits a 1 b..c}
refused {limits a 1 1..2 -unit} {limits a 1 1..2 -wind x} {limits a 1 1..2 -unit dB -unit dB} {limits a 1 1..2 -at mhz} {limits a 1 1..2 -at {{} 1}}
refused {limits a 1 1..2 -at {mhz 1 mhz 2}} {sweep \{a {}} {sweep {a} {}}
refused {phone} {phone wind} {phone set} {phone set radio.rsi 1} {phone set radio.rssi} {phone get} {phone get wind} {phone load} {phone load nowhere.toml}
refused {fault} {fault wind} {fault ioctl 0} {fault ioctl 1 -1} {fault ioctl a} {fault ioctl 1 1 a} {fault ioctl:99 1} {fault ioctl 1 1 1 1}
refused {wait} {wait x} {wait -1} {wait 86401} {note} {step} {progress 2 1} {progress -1 1} {progress a 1} {progress 1} {chip 9} {chip 1 2}
refused {parameter late integer 1 1} {parameter} {teardown} {preview} {preview {wifi_stop_tx -> 1}} {sweep {a {1 2}}} {help wind} {help 1 2}
refused {nv} {nv wind} {nv show} {nv show many} {nv load} {nv load nowhere.txt} {nv diff} {nv diff nowhere.txt} {nv restore nowhere.txt} {nv backup}
refused {nv restore unit.txt} {nv save} {nv load everything.tcl} {nv clear 1}
refused {tester} {tester wind} {tester connect} {tester connect nowhere unit.toml} {tester connect 127.0.0.1:1 nowhere.toml} {tester measure}
refused {tester channel 2442 20} {tester limits nowhere.csv} {tester limit power} {tester loss {2400 1 2400 2}} {tester close 1} {tester generate}
