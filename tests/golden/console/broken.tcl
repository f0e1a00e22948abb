# SPDX-License-Identifier: Apache-2.0
# Stops before its end; the teardown still runs.
teardown { wifi_stop_testmode; note "left" }
wait 5000; wifi_start_testmode -> 1
proc inner {mhz} { wifi_set_channel $mhz -> 0 }
foreach mhz {2412 2437 2462} { inner $mhz }
wifi_set_chanel 2412
