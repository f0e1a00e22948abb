// The dispatch table: which back end serves an operation on which chip.
#ifndef ORVA_DISPATCH_H
#define ORVA_DISPATCH_H

#include "include/wifi_factory_test_orva.h"

namespace orva {

constexpr uint32_t CHIPS = 4;
constexpr uint32_t OPERATIONS = 40;

struct func_row {
  uint8_t op_id;
  wifi_func_t func[CHIPS];  ///< by sub-chip index; null: the chip has no such operation
};

/// Rows 0 to 39 in order of their op id; row 40 ends the table.
extern const func_row g_func[OPERATIONS + 1];

}  // namespace orva

#endif
