# Board check: is everything around the chip soldered, powered and connected? The phone is first asked as an ordinary
# WLAN station, then by the firmware's own checks; the last step says what is wrong with a phone that failed.

# What the weld test asks, in this order, and how often it takes the interface down.
set facts {
  vq2040  {weld {dbb_number=?* efuse_status=0}                                      downs 1 digits 32}
  vq2050  {weld {dbb_number=?* efuse_status=0 pin_test=0 wakeup_io=0 pcie_test=0}   downs 1 digits 36}
  vq2040a {weld {dbb_number=?* wakeup_io=0}                                         downs 2 digits 32}
  vq2070  {weld {dbb_number=?* efuse_status=0 pin_test=0 wakeup_io=0 pcie_test=0}   downs 1 digits 36}
}
set my [dict get $facts [chip]]
set findings {}
proc finding {text} { lappend ::findings $text }

step "As a WLAN station"
wifi_conn_info -> 1 ssid ?* rssi -70..-20
set access_point [output bssid]
wifi_start_roam_scan -> 1
wifi_start_roam $access_point -> 1
wifi_set_bss_expire_age 180 -> 1
wifi_power_set_range -> 1 lower 0 upper 14
wifi_get_upc_code -> 1..65535

step "Front end"
if {![wifi_hw_get -> 1]} { finding "the front-end module is not the right one" }

step "Firmware's checks"
if {[conn_test_chipcheck -> 0]} { finding "the chip check does not start" }
if {[conn_test_get_chipcheck_result -> 0]} { finding "the chip check found a fault" }
if {[conn_test_uart_loop -> 0]} { finding "the UART loop is open" }
if {[conn_test_sdio_loop -> 0]} { finding "the SDIO loop is open" }

step "Die identifier"
conn_test_get_checktime_of_chipcheck -> 0 check_time 100
limits "digits of the die identifier" [string length [output die_id]] [dict get $my digits]
if {[regexp {^0+$} [output die_id]]} { finding "the chip gives no die identifier" }

step "Solder joints"
if {[wifi_test_weld -> 1]} {
  expect driver [dict get $my weld]
  set downs [lrepeat [dict get $my downs] {ifconfig wlan0 down}]
  expect shell [list "*netcfg*" {ifconfig wlan0 up} {*}$downs]
} else {
  lassign [lindex [seen driver] end] id name value
  switch $name {
    dbb_number   { finding "the chip does not answer" }
    pcie_test    { finding "the PCIe link is dead ($name = $value)" }
    default      { finding "a solder joint is bad ($name = $value)" }
  }
}

step "Finding"
if {[llength $findings] == 0} { lappend findings "nothing wrong with this board" }
foreach text $findings { note $text }
