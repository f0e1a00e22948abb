// SPDX-License-Identifier: Apache-2.0
// The firmware's chip check, and the loops over its buses.
#ifndef ORVA_CHIP_CHECK_H
#define ORVA_CHIP_CHECK_H

#include "common/chip.h"

namespace orva {

// These give 0 for success and 1 for failure; the result fetch gives the firmware's code on success.
uint32_t conn_test_chipcheck(const chip &chip, const void *first, const void *second, const void *third);
uint32_t conn_test_get_chipcheck_result(const chip &chip, const void *first, const void *second,
                                        const void *third);
uint32_t conn_test_uart_loop(const chip &chip);
uint32_t conn_test_sdio_loop(const chip &chip);

}  // namespace orva

#endif
