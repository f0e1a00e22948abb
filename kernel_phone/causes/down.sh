#!/bin/busybox sh
# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=dash
# An interface that somebody took down.
# prints: rssi: ENETDOWN: wlan0 is down. Cure: start test mode first
# prints: ok       interface wlan0      down
ifconfig wlan0 down
orva-station-phone --trace "$TRACE" wifi_get_rx_rssi
orva-station-phone doctor
