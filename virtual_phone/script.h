/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Plays a recording back: plans what the coming contacts with the phone give, whatever the phone itself would
 * give. Plain C, as phone.h. phone_reset forgets the plan.
 */
#ifndef VIRTUAL_PHONE_SCRIPT_H
#define VIRTUAL_PHONE_SCRIPT_H

#include "phone.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Plans the outcome of a contact. Each kind of contact has a queue of its own. While it lasts the phone does
 * nothing by itself for that kind; after that it answers as usual.
 *
 * Of the event these fields count: kind, result, error (for a descriptor or child only whether there is one);
 * data of PHONE_IOCTL (528 bytes, the second half is left in the record), PHONE_FREAD and PHONE_NV_READ;
 * number[0] of PHONE_WAIT, the wait status. Sleeps, log lines and bounds-checked functions cannot be planned.
 *
 * The event is copied.
 */
void phone_script(const struct phone_event *event);
/** Forgets the plan. */
void phone_script_clear(void);

/** For the phone itself: takes the next planned outcome of a kind. Null: the phone answers. */
const struct phone_event *phone_scripted(enum phone_event_kind kind);

#ifdef __cplusplus
}
#endif

#endif
