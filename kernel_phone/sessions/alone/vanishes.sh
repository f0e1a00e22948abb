#!/bin/busybox sh
# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=dash
# Removes the driver module when wlan0 has gone down, and again when it has come up.
wait_for() {
  until [ "$(cat /sys/class/net/wlan0/flags 2>/dev/null)" = "$1" ]; do usleep 20000; done
}

down=0x1002
up=0x1003
wait_for $up
wait_for $down
rmmod orva_wlan
wait_for $down
wait_for $up
rmmod orva_wlan
