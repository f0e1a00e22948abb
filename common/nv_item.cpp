// SPDX-License-Identifier: Apache-2.0
#include "common/nv_item.h"

#include "platform/platform.h"

namespace orva {

namespace {

int32_t access_item(uint32_t operation, const nv_item &item, void *bytes, uint32_t size) {
  return kevoOperaNVWR(operation, item.number, item.name, size, bytes);
}

}  // namespace

int32_t read_item(const nv_item &item, void *bytes, uint32_t size) {
  return access_item(ORVA_NV_READ, item, bytes, size);
}

int32_t write_item(const nv_item &item, const void *bytes, uint32_t size) {
  return access_item(ORVA_NV_WRITE, item, const_cast<void *>(bytes), size);
}

int32_t empty_item(const nv_item &item) {
  const char text[ORVA_NV_ITEM_SIZE] = {};
  return write_item(item, text, sizeof text);
}

}  // namespace orva
