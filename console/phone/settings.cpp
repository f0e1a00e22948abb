// SPDX-License-Identifier: Apache-2.0
#include "console/phone/settings.h"

#include "console/phone/chips.h"
#include "console/text/usage_error.h"

namespace console {

void prepare_phone(const settings &with) {
  phone_link::reset();
  // Before the description, which refuses to put its own items into a file.
  if (!with.nv_file.empty()) require(phone_link::open_nv(with.nv_file));
  if (!with.phone_file.empty()) require(phone_link::load(with.phone_file));
  if (with.chip_given || (phone_link::is_virtual() && with.phone_file.empty()))
    require(phone_link::set("chip", chip_name(with.chip)));
  if (!with.unit.empty()) require(phone_link::set("unit", with.unit));
  phone_link::use_real_clock(with.real_clock);
  phone_link::print_log(with.log_priority);
  phone_link::read_log(with.logcat);
}

}  // namespace console
