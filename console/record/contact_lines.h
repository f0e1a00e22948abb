// SPDX-License-Identifier: Apache-2.0
// A call's contacts with the phone and its outputs, as lines of a recording.
#ifndef CONSOLE_CONTACT_LINES_H
#define CONSOLE_CONTACT_LINES_H

#include "console/phone/phone_link.h"
#include "console/record/recording.h"
#include "console/run/call.h"

#include <vector>

namespace console {

/**
 * The contacts in an order and form that two runs of the same call share: descriptors and children are
 * numbered as they come, and a child's contacts follow its fork.
 */
std::vector<json> contact_lines(const std::vector<const contact *> &contacts);

json outputs_json(const call_result &result);

}  // namespace console

#endif
