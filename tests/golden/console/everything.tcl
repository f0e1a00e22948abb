# SPDX-License-Identifier: Apache-2.0
# A session with every kind of call, contact, failure, wait and NV write. Some of its expectations fail on purpose.
step "Settings outside test mode"
wifi_set_power 155 -> 1
wifi_set_mode 99 -> 0
wifi_set_antenna 1 -> 1
wifi_set_channel 5000
wifi_query_setting 3 -> 5000
ignore wifi_query_setting 99
wifi_set_powermode 1 1 -> 1
wifi_pt_power_test 2 -> 1
wifi_set_bss_expire_age 120 -> 1
expect shell {{wpa_cli_orva -i wlan0 -g@android:wpa_wlan0 bss_expire_age 120}}

step "Transmit"
wifi_start_testmode -> 1
wifi_set_mode 4; wifi_set_band 0; wifi_setmimo_channel 2; wifi_set_rate 6500; wifi_set_channel 2437
fault ioctl:1 1 2 5
wifi_start_tx -> 1
expect driver {power_save=0 channel=*}
expect log {*fail*}
wifi_start_tx -> 1
expect no log {wifi_ioctl_set_power}
wait 0.25
wifi_stop_tx -> 1

step "Receive"
wifi_selcal_disable_set 1
wifi_ru_set 2 0A1
wifi_start_rx 0A1B2C3D4E5F -> 1
wait 1.5
wifi_get_rx_pckg -> 1400..1600
wifi_get_rx_rssi -> 1 rssi -60..-40
phone set radio.rssi -80
wifi_get_rx_rssi -> 1 rssi -60..-40
expect phone state.receiving 1
wifi_stop_rx -> 1
sweep {power {100 155} mode {0 4}} {
  wifi_set_power $power -> 1
  wifi_set_mode $mode -> 1
}
wifi_stop_testmode -> 1

step "Self-checks"
wifi_hw_get -> 1
phone set check.efuse 5
wifi_test_weld -> 1
conn_test_chipcheck -> 0
conn_test_get_chipcheck_result -> 0
conn_test_get_checktime_of_chipcheck -> 0 check_time 1..99
conn_test_uart_loop -> 0
fault shell:svc\ wifi\ disable 1
conn_test_sdio_loop -> 0

step "Calibration"
wifi_nvram_calibrate_set 0 0 0 0 0 2442 60 -> 1
wifi_nvram_calibrate_set 0 1 2 0 0 2412 -3
wifi_nvram_calibrate_get -> 1
fault nv_write:340 1 1 12
wifi_nvram_calibrate_set 0 0 0 0 0 2412 3
fault kevoOperaNVWR 1
wifi_nvram_calibrate_get
wifi_nvram_calibrate_clean 2
wifi_nvram_calibrate_clean_new 1,0,1,0
wifi_nvram_set
note "calibration is done on [chip]"

step "Utilities"
wifi_get_upc_code -> 1..65535
phone set ap.ssid {line "8" <b>}
wifi_conn_info -> 1 ssid ?* rssi -50..-40 bssid 02:00:5e:10:20:30
wifi_start_roam 02:11:22:33:44:55 -> 1
wifi_start_roam_scan -> 1
wifi_power_set_range -> 1 lower 0 upper 14
wifi_set_tas_ant_mode 1
wifi_test_broadcast_loop 1 -> 1
wifi_get_func 6
fault socket 1
wifi_get_upc_code
fault memcpy_s 1
wifi_conn_info
phone set driver.loaded false
wifi_set_antenna 0
wifi_start_testmode -> 0
limits "sum of terms" 7.5 1..7
limits total 7.5 0.5..10
limits power 15.02 13..17 -unit dBm -at {mhz 2442 rate mcs7}
limits power 18.2 13..17 -unit dBm -at {mhz 2442 rate mcs7}
fault shell:never 1
