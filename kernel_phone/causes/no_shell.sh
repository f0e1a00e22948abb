#!/bin/busybox sh
# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=dash
# A phone without the shell that the library runs.
# prints: ENOENT: the file is not there
# prints: missing  /system/bin/sh       ENOENT
# prints: unknown  ifconfig             not tried
mv /system/bin/sh /tmp/sh
orva-station-phone --trace "$TRACE" wifi_start_testmode
orva-station-phone doctor
mv /tmp/sh /system/bin/sh
