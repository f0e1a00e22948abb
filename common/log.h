// SPDX-License-Identifier: Apache-2.0
// The Android log, under the chip's tag.
#ifndef ORVA_LOG_H
#define ORVA_LOG_H

#include "common/chip.h"
#include "platform/platform.h"

#define LOG_DEBUG(chip, ...) __android_log_print(ORVA_LOG_DEBUG, (chip).log_tag, __VA_ARGS__)
#define LOG_INFO(chip, ...)  __android_log_print(ORVA_LOG_INFO, (chip).log_tag, __VA_ARGS__)
#define LOG_ERROR(chip, ...) __android_log_print(ORVA_LOG_ERROR, (chip).log_tag, __VA_ARGS__)

namespace orva {

/// Logs a format that takes the value or no argument.
void log_text(const chip &chip, int priority, const char *text, int32_t value);

/// Logs a format that takes the chip's name or no argument.
void log_named(const chip &chip, int priority, const char *text);

/// Logs a failed bounds-checked call.
void check_securef_ret(const chip &chip, int32_t result);

}  // namespace orva

#endif
