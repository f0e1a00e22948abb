# SPDX-License-Identifier: Apache-2.0
# The driver module is removed between two calls, and loaded again.

step "A transmit test runs"
wifi_start_testmode -> 1
wifi_set_mode 4 -> 1
wifi_set_band 0 -> 1
wifi_set_channel 2437 -> 1
wifi_set_rate 6500 -> 1
wifi_start_tx -> 1

step "wlan0 is gone"
phone set driver.loaded false
wifi_stop_tx -> 0
expect log "ioctl fail:ret -1"
expect log "retry ioctl fail:ret -1"
wifi_start_rx null -> 0
wifi_test_weld -> 0
expect log "wifi_test_weld:wifi boot up failed."
expect shell {{/system/bin/netcfg |grep wlan0} {!ifconfig wlan0 up} {!ifconfig wlan0 down} {!ifconfig wlan0 up}}
wifi_stop_testmode -> 0
expect log "ifconfig wlan0 down failed"
wifi_query_setting 1 -> 1

step "It is back, and down: only the library still thinks that test mode is on"
phone set driver.loaded true
wifi_stop_testmode -> 1
wifi_start_testmode -> 1
expect log "wifi test mode enable sucess"
wifi_start_tx -> 1
wifi_stop_tx -> 1
wifi_stop_testmode -> 1
