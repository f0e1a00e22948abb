# SPDX-License-Identifier: Apache-2.0
# Board check: is everything around the chip soldered, powered and connected? Queries the phone as an ordinary WLAN
# station, then runs the firmware's own checks. The last step says what is wrong with a phone that failed.
# By chip: the weld test's queries in order, how often it takes the interface down, the length of the die identifier,
# and whether the SDIO loop first stops the phone's WLAN service.
set facts {
  vq2040  {weld {dbb_number=?* efuse_status=0}                                    downs 1 digits 32 stops 0}
  vq2050  {weld {dbb_number=?* efuse_status=0 pin_test=0 wakeup_io=0 pcie_test=0} downs 1 digits 36 stops 1}
  vq2040a {weld {dbb_number=?* wakeup_io=0}                                       downs 2 digits 32 stops 1}
  vq2070  {weld {dbb_number=?* efuse_status=0 pin_test=0 wakeup_io=0 pcie_test=0} downs 1 digits 36 stops 1}
}
set my [dict get $facts [chip]]
# Of the access point that the phone is connected to, in dBm.
set rssi [parameter rssi limits * -70..-20]
set findings {}
proc finding {text} { lappend ::findings $text }

# The last command of a failed weld test shows what it failed at.
proc weld_finding {} {
  lassign [lindex [seen driver] end] id name value
  switch $name {
    ""         { finding "wlan0 does not come up" }
    dbb_number { finding "the chip does not answer" }
    pcie_test  { finding "the PCIe link is dead ($name = $value)" }
    default    { finding "a solder joint is bad ($name = $value)" }
  }
}

step "As a WLAN station"
wifi_conn_info -> 1 ssid ?* rssi $rssi
set network [output ssid]
set access_point [output bssid]
wifi_start_roam_scan -> 1
expect shell {{wpa_cli_orva scan}}
if {$network eq ""} {
  finding "the phone is connected to no access point"
} else {
  wifi_start_roam $access_point -> 1
  expect shell [list "wpa_cli_orva roam $access_point"]
}
wifi_set_bss_expire_age 180 -> 1
expect driver {bss_expire_age=180}
expect shell {{wpa_cli_orva bss_expire_age 180}}
wifi_power_set_range -> 1 lower 0 upper 14
wifi_get_upc_code -> 1..65535

step "Front end"
if {![wifi_hw_get -> 1]} { finding "the front-end module is not the right one" }

step "Firmware's checks"
if {[conn_test_chipcheck -> 0]} { finding "the chip check does not start" }
if {[conn_test_get_chipcheck_result -> 0]} { finding "the chip check found a fault" }

step "Bus loops"
if {[conn_test_uart_loop -> 0]} { finding "the UART loop is open" }
expect shell {}
if {[conn_test_sdio_loop -> 0]} { finding "the SDIO loop is open" }
if {[dict get $my stops]} { expect log "wl_config_disable_wifi enter" } else { expect shell {} }

step "Die identifier"
conn_test_get_checktime_of_chipcheck -> 0 check_time 100
set die [output die_id]
limits "digits of the die identifier" [string length $die] [dict get $my digits]
if {![limits "die identifier other than zeros" [regexp {[^0]} $die] 1]} { finding "the chip gives no die identifier" }

step "Solder joints"
if {[wifi_test_weld -> 1]} {
  expect driver [dict get $my weld]
  expect shell [list "*netcfg*" {ifconfig wlan0 up} {*}[lrepeat [dict get $my downs] {ifconfig wlan0 down}]]
  wifi_query_setting 1 -> 0
} else {
  weld_finding
}

step "Finding"
if {[llength $findings] == 0} { lappend findings "nothing wrong with this board" }
foreach text $findings { note $text }
