#!/bin/busybox sh
# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=dash
# An interface that vanishes between two calls, with its driver.
# prints: wifi_get_rx_rssi                             -> 1
# prints: -> 0
# prints: rssi: ENODEV: there is no wlan0, or nothing drives it. Cure: load the WLAN driver
# prints: missing  driver module        no wlan0; interfaces: lo
# prints: load the factory test's driver with insmod
# prints: missing  interface wlan0      ENODEV
# prints: missing  private request      ENODEV, from the interface
cat >/tmp/vanishes.tcl <<'END'
while {[ignore wifi_get_rx_rssi]} {wait 0.05}
wifi_get_rx_rssi
END
{
  until grep -q . /proc/orva_commands; do usleep 20000; done
  rmmod orva_wlan
} &
orva-station-phone --trace "$TRACE" run /tmp/vanishes.tcl
orva-station-phone doctor
