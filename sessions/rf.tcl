# SPDX-License-Identifier: Apache-2.0
# RF test on every chip: test mode, settings, transmit, receive, every query, and back.
# The table has what differs between chips.
# power and strength of the test signal are parameters: run sessions/rf.tcl -- power=120 rssi=-55..-45
# divisor of the power, rate sent, commands of test mode, reports that it transmits, memory test time, switches
# antennas
set facts {
  vq2040  {divisor 100 rate 65 testmode {11=0 23=99}             flag 0 memory 255 antenna 1}
  vq2050  {divisor 10  rate 65 testmode {36=1 11=0 23=99 33=11}  flag 1 memory 10  antenna 1}
  vq2040a {divisor 10  rate 65 testmode {31=1 11=0 23=99}        flag 0 memory 10  antenna 0}
  vq2070  {divisor 10  rate 65 testmode {36=1 11=0 23=99 33=11}  flag 1 memory 10  antenna 1}
}
set my [dict get $facts [chip]]
set power [parameter power integer 0..300 155]
# Of the test signal in dBm, on a good unit in this fixture.
set rssi [parameter rssi limits * -60..-45]
# In 2 s of the test signal.
set packets [parameter packets limits * 1500..100000]
set chain [expr {[has driver mimo_chain] ? "mimo_chain=1" : ""}]

step "Before anything is set"
foreach item {3 4 5 7 11} { wifi_query_setting $item -> -1 }
foreach item {1 2 9 10} { wifi_query_setting $item -> 0 }
wifi_query_setting 6 -> -1

step "Test mode on"
wifi_start_testmode -> 1
expect driver [dict get $my testmode]
wifi_query_setting 1 -> 1
wifi_start_testmode -> 1
expect driver {}

step "Front end"
wifi_hw_get -> 1
expect driver {fem_status=0}

step "Settings wait for the start of a test"
wifi_set_mode 4 -> 1
wifi_set_band 1 -> 1
wifi_set_channel 2437 -> 1
wifi_set_rate 6500 -> 1
wifi_set_power $power -> 1
expect driver {}
wifi_set_antenna 1 -> [dict get $my antenna]
if {[dict get $my antenna]} {
  expect driver {antenna=0}
} else {
  expect driver {}
  expect log "unknow ioctl cmd"
}
if {[has wifi_setmimo_channel]} {
  wifi_setmimo_channel 1 -> [has driver mimo_chain]
  wifi_setmimo_channel 3 -> 0
}

step "Transmit"
wifi_start_tx -> 1
expect driver "power_save=0 mode=10 bandwidth=1 channel=4 $chain rate=[dict get $my rate] power=[expr {$power / [dict get $my divisor]}] transmit=1"
wifi_query_setting 9 -> [dict get $my flag]
wait 0.5
wifi_stop_tx -> 1
expect driver {transmit=0}

step "Receive"
if {[has wifi_ru_set]} {
  wifi_ru_set 2 1a3 -> 1
  set ru "ru_setting=1a3:2"
} else {
  set ru ""
}
wifi_start_rx 0A1B2C3D4E5F -> 1
expect driver "mac_filter=0A1B2C3D4E5F power_save=0 mode=10 bandwidth=1 channel=4 $chain $ru receive=1"
wifi_query_setting 10 -> 1
wifi_get_rx_rssi -> 1 rssi $rssi
expect driver {rssi}
set before [wifi_get_rx_pckg -> 0..1000]
wait 2
set after [wifi_get_rx_pckg -> 1..]
limits "packets in 2 s" [expr {$after - $before}] $packets
wifi_stop_rx -> 1
expect driver {receive=0}

step "What was set is what is read back"
wifi_query_setting 2 -> 4
wifi_query_setting 3 -> 2437
wifi_query_setting 4 -> -1
wifi_query_setting 5 -> $power
wifi_query_setting 7 -> 6500
wifi_query_setting 9 -> 0
wifi_query_setting 10 -> 0
wifi_query_setting 11 -> 1
wifi_query_setting 13 -> [dict get $my memory]

step "Test mode off"
wifi_stop_testmode -> 1
expect shell {{ifconfig wlan0 down}}
wifi_query_setting 1 -> 0
wifi_stop_testmode -> 1
expect shell {}
