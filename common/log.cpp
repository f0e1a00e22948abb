// SPDX-License-Identifier: Apache-2.0
#include "common/log.h"

namespace orva {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

void log_text(const chip &chip, int priority, const char *text, int32_t value) {
  __android_log_print(priority, chip.log_tag, text, value);
}

void log_named(const chip &chip, int priority, const char *text) {
  __android_log_print(priority, chip.log_tag, text, chip.name);
}

#pragma GCC diagnostic pop

void check_securef_ret(const chip &chip, int32_t result) {
  if (result != 0) LOG_ERROR(chip, "%s_check_securef_ret::securef_ret fail, pls check.", chip.name);
}

}  // namespace orva
