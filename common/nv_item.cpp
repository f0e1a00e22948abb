// SPDX-License-Identifier: Apache-2.0
#include "common/nv_item.h"

#include <string.h>

#include "platform/platform.h"

namespace orva {

namespace {

constexpr size_t NAME_SIZE = 32;

int32_t access_item(uint32_t operation, const nv_item &item, void *bytes, uint32_t size) {
  // The service may copy all 32 bytes of a name.
  char name[NAME_SIZE] = {};
  if (item.name != nullptr) memcpy(name, item.name, strnlen(item.name, NAME_SIZE - 1));
  return kevoOperaNVWR(operation, item.number, name, size, bytes);
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

uint32_t empty_items(const list<nv_item> &items) {
  uint32_t emptied = 0;
  for (const nv_item &item : items) {
    if (empty_item(item) == 0) emptied++;
  }
  return emptied;
}

}  // namespace orva
