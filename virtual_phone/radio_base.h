/* SPDX-License-Identifier: Apache-2.0 OR GPL-2.0-only */
/* The C headers that the radio needs, by the names they have in a program and in a kernel module. */
#ifndef VIRTUAL_PHONE_RADIO_BASE_H
#define VIRTUAL_PHONE_RADIO_BASE_H

#ifdef __KERNEL__
#include <linux/build_bug.h>
#include <linux/errno.h>
#include <linux/stddef.h>
#include <linux/string.h>
#include <linux/types.h>
#else
#include <assert.h>
#include <errno.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>
#endif

#define RADIO_COUNT(array) (sizeof(array) / sizeof((array)[0]))

#endif
