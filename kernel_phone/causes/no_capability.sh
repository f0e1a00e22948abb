#!/bin/busybox sh
# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=dash
# A user without capabilities, as adb's shell is.
# prints: rssi: EPERM: this process may not do it. Cure: run as root, or with the capability CAP_NET_ADMIN
# prints: ifconfig wlan0 up: exit status 1
# prints: uid 2000
# prints: missing  capabilities         none; CAP_NET_ADMIN is not among them
# prints: ok       interface wlan0      up
# prints: missing  private request      EPERM, from a check of permissions
chmod 666 /tmp/shell_account
echo "shell:x:2000:2000::/:/bin/sh" >/etc/passwd
su -s /bin/dash shell -c "orva-station-phone wifi_get_rx_rssi
  orva-station-phone --trace $TRACE wifi_start_testmode
  orva-station-phone doctor"
