/*
 * A recording played back as a phone: what coming contacts shall give, whatever the phone would have given.
 * Plain C, as phone.h. Gone after phone_reset.
 */
#ifndef VIRTUAL_PHONE_SCRIPT_H
#define VIRTUAL_PHONE_SCRIPT_H

#include "phone.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Plans the outcome of a contact: each kind of contact has a line of its own, first planned, first given; the
 * phone does nothing by itself then. When a kind's line is used up, the phone answers as ever.
 *
 * Of the event count kind, result and error (a descriptor or child: only whether there is one), and
 * for PHONE_IOCTL data, 528 bytes of which the second half is left in the record; for PHONE_WAIT number[0],
 * the wait status; for PHONE_FREAD and PHONE_NV_READ data. Sleeps, log lines and bounds-checked functions
 * cannot be planned.
 *
 * The event is copied.
 */
void phone_script(const struct phone_event *event);
/** Forgets all that is planned. */
void phone_script_clear(void);

#ifdef __cplusplus
}
#endif

#endif
