// Chip check, bus loops, die identifier and weld test.
#ifndef ORVA_SELF_CHECK_H
#define ORVA_SELF_CHECK_H

#include "common/chip.h"

namespace orva {

// These four give 0 for success and 1 for failure (the result fetch: the firmware's code).
uint32_t conn_test_chipcheck(const chip &chip, const void *first, const void *second, const void *third);
uint32_t conn_test_get_chipcheck_result(const chip &chip, const void *first, const void *second,
                                        const void *third);
uint32_t conn_test_uart_loop(const chip &chip);
uint32_t conn_test_sdio_loop(const chip &chip);

/// Writes the check time and reads the die identifier. @return as wifi_get_die_id.
uint32_t conn_test_get_checktime_of_chipcheck(const chip &chip, uint32_t *check_time, uint8_t *die_id);

/// @param text gets four characters for each of the identifier's words, not terminated. @return 0, or 1 for
/// failure.
uint32_t wifi_get_die_id(const chip &chip, uint8_t *flag, uint8_t *text);

uint32_t wifi_test_weld(const chip &chip);

// The weld test's steps, for the chips' sequences.
extern const weld_step weld_dbb, weld_efuse, weld_pin, weld_wakeup_io, weld_pcie;
extern const weld_step weld_announce_wakeup_io, weld_interface_down, weld_close;

}  // namespace orva

#endif
