# SPDX-License-Identifier: Apache-2.0
# vanishes.sh removes the driver module in the middle of a call.

step "While test mode waits for the WLAN service to let go"
wifi_start_testmode -> 0
expect shell {{/system/bin/netcfg |grep wlan0} {svc wifi disable} {!ifconfig wlan0 up}}
expect log "ifconfig wlan0 up failed"
wifi_query_setting 1 -> 0

step "While the weld test waits for the interface that it has brought up"
phone set driver.loaded true
wifi_test_weld -> 0
expect shell {{/system/bin/netcfg |grep wlan0} {ifconfig wlan0 up}}
expect log "wifi_test_weld: can not get DBB number of WIFI"

step "It is back"
phone set driver.loaded true
wifi_test_weld -> 1
