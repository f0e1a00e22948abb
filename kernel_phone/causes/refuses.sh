#!/bin/busybox sh
# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=dash
# A driver that refuses every command.
# prints: rssi: EIO: the driver or the chip's firmware failed. Cure: look into dmesg
# prints: ok       driver module        orva_wlan is loaded
# prints: ok       interface wlan0      up
# prints: missing  private request      EIO, from the driver
echo "ioctl 1 0 5" >/proc/orva_faults
orva-station-phone --trace "$TRACE" wifi_get_rx_rssi
orva-station-phone doctor
