// SPDX-License-Identifier: Apache-2.0
// NV items: what names one, and the NV service that reads and writes it whole.
#ifndef ORVA_NV_ITEM_H
#define ORVA_NV_ITEM_H

#include "common/list.h"
#include "include/calibration_types.h"

namespace orva {

struct nv_item {
  uint32_t number;
  const char *name;
};

/// Reads or writes size bytes of an item. @return 0, or the NV service's error code.
int32_t read_item(const nv_item &item, void *bytes, uint32_t size);
int32_t write_item(const nv_item &item, const void *bytes, uint32_t size);

/// Writes an item with an empty text. @return 0, or the NV service's error code.
int32_t empty_item(const nv_item &item);

/// Empties each item. @return how many of them the NV service accepted.
uint32_t empty_items(const list<nv_item> &items);

}  // namespace orva

#endif
