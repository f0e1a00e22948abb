// SPDX-License-Identifier: Apache-2.0
// The dispatch table: each chip's function for each operation.
#ifndef ORVA_DISPATCH_H
#define ORVA_DISPATCH_H

#include "include/wifi_factory_test_orva.h"
#include "platform/platform.h"

namespace orva {

/// The public operations, in the order of the numbers that wifi_get_func takes.
enum op_id : uint8_t {
  OP_SET_POWER,
  OP_SET_MODE,
  OP_SET_RATE,
  OP_SET_BAND,
  OP_SET_CHANNEL,
  OP_SETMIMO_CHANNEL,
  OP_START_TX,
  OP_STOP_TX,
  OP_SET_ANTENNA,
  OP_START_RX,
  OP_STOP_RX,
  OP_GET_RX_RSSI,
  OP_GET_RX_PCKG,
  OP_HW_GET,
  OP_TEST_WELD,
  OP_START_TESTMODE,
  OP_PT_POWER_TEST,
  OP_STOP_TESTMODE,
  OP_QUERY_SETTING,
  OP_CHIPCHECK,
  OP_GET_CHIPCHECK_RESULT,
  OP_GET_CHECKTIME_OF_CHIPCHECK,
  OP_UART_LOOP,
  OP_SDIO_LOOP,
  OP_NVRAM_SET,
  OP_NVRAM_CALIBRATE_CLEAN,
  OP_NVRAM_CALIBRATE_GET,
  OP_NVRAM_CALIBRATE_SET,
  OP_GET_UPC_CODE,
  OP_SET_POWERMODE,
  OP_SET_TAS_ANT_MODE,
  OP_START_ROAM,
  OP_START_ROAM_SCAN,
  OP_SET_BSS_EXPIRE_AGE,
  OP_CONN_INFO,
  OP_POWER_SET_RANGE,
  OP_SELCAL_DISABLE_SET,
  OP_RU_SET,
  OP_NVRAM_CALIBRATE_CLEAN_NEW,
  OP_TEST_BROADCAST_LOOP,
  OPERATIONS
};
static_assert(OPERATIONS == 40, "callers pass the numbers");

struct func_row {
  uint8_t op_id;
  wifi_func_t func[ORVA_SUBCHIPS];  ///< by sub-chip index; null if the chip has no such operation
};

/// Rows 0 to 39 in order of their op id; row 40 ends the table.
extern const func_row g_func[OPERATIONS + 1];

}  // namespace orva

#endif
