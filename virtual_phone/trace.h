// SPDX-License-Identifier: Apache-2.0
// Records contacts with the phone. phone.h reads them.
#ifndef VIRTUAL_PHONE_TRACE_H
#define VIRTUAL_PHONE_TRACE_H

#include "contact_store.h"

namespace phone {

/// Keeps an event and returns its place in the trace.
size_t record(const note &what);
/// Completes an event whose result was unknown when it was recorded.
void amend(size_t event, int64_t result, int error);

/// Gives this process an empty trace of its own.
void part_trace();

}  // namespace phone

#endif
