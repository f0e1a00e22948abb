# SPDX-License-Identifier: Apache-2.0
# What a driver that refuses commands costs, on any chip.

step "Entering test mode passes over a refused step"
phone set driver.refuse 11
wifi_start_testmode -> 1
expect log "ioctl fail:ret -1"
expect log "retry ioctl fail:ret -1"
expect log "wifi_set_pm_switch stop failed"
phone set driver.refuse ""

step "A refused step ends the start of a transmit test"
wifi_set_mode 4 -> 1
wifi_set_band 0 -> 1
wifi_set_channel 2437 -> 1
wifi_set_rate 6500 -> 1
wifi_set_power 155 -> 1
phone set driver.refuse 4
wifi_start_tx -> 0
expect driver {power_save mode bandwidth!}

step "A single refusal is made good by the second attempt"
phone set driver.refuse 4*1
wifi_start_tx -> 1
expect log "ioctl fail:ret -1"
expect no log "retry ioctl fail"
wifi_stop_tx -> 1

step "A receive test that the driver fails to begin"
fault ioctl:8 1 2
wifi_start_rx null -> 0
wifi_start_rx null -> 1
phone set driver.refuse 12
wifi_get_rx_rssi -> 0
expect driver {rssi!}
phone set driver.refuse ""

step "Test mode off ends the receive test first"
fault ioctl:8 1 0
wifi_stop_testmode -> 1
expect log "wifi_stop_rx failed"
expect shell {{ifconfig wlan0 down}}
wifi_query_setting 1 -> 0
