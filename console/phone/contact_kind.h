// SPDX-License-Identifier: Apache-2.0
// The names of the kinds of contact, as recordings and the trace have them.
#ifndef CONSOLE_CONTACT_KIND_H
#define CONSOLE_CONTACT_KIND_H

#include "phone.h"

#include <string>

namespace console {

const char *contact_name(phone_event_kind kind);
/** Throws usage_error for an unknown name. */
phone_event_kind contact_kind(const std::string &name);

}  // namespace console

#endif
