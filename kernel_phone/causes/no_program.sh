#!/bin/busybox sh
# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=dash
# A phone without ifconfig.
# prints: ifconfig wlan0 up: exit status 127: the phone has no such program. Cure: put the program into the phone's image
# prints: missing  ifconfig             exit status 127
# prints: ok       svc                  runs
mv /bin/ifconfig /tmp/ifconfig
orva-station-phone --trace "$TRACE" wifi_start_testmode
orva-station-phone doctor
mv /tmp/ifconfig /bin/ifconfig
