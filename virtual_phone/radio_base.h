/* What the radio needs from its surroundings: a kernel module and a program find it under different names. */
#ifndef VIRTUAL_PHONE_RADIO_BASE_H
#define VIRTUAL_PHONE_RADIO_BASE_H

#ifdef __KERNEL__
#include <linux/errno.h>
#include <linux/stddef.h>
#include <linux/string.h>
#include <linux/types.h>
#else
#include <errno.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>
#endif

#endif
