# SPDX-License-Identifier: Apache-2.0
# wlan0 does not come up at the first attempt.

step "Test mode stays off"
phone set interface.fail_up 1
wifi_start_testmode -> 0
expect log "ifconfig wlan0 up failed"
expect shell {{/system/bin/netcfg |grep wlan0} {svc wifi disable} {!ifconfig wlan0 up}}
wifi_query_setting 1 -> 0

step "The next attempt enters it"
wifi_start_testmode -> 1
expect shell {{/system/bin/netcfg |grep wlan0} {ifconfig wlan0 up}}
wifi_stop_testmode -> 1

step "The weld test tries a second time"
phone set interface.fail_up 1
wifi_test_weld -> 1
expect log "ifconfig wlan0 up failed, wait 5s, and retry again."

step "and gives up after that"
phone set interface.fail_up 2
wifi_test_weld -> 0
expect log "wifi_test_weld:wifi boot up failed."
expect driver {}
