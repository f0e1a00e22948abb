// SPDX-License-Identifier: Apache-2.0
// Reduces an item to the first entry of one parameter, through the buffer routine. Writes the item even if
// the parameter was not found: the buffer routine has already emptied it.
#include "chips/vq2070/profile.h"
#include "common/log.h"
#include "common/nv_text.h"
#include "include/vq2070.h"

using namespace orva;

void vq2070_write_nvpattern_to_nv(uint32_t nv_num, const char *nv_name, uint32_t size,
                                  const char *param_name) {
  if (!write_to_nv_para_check(vq2070, nv_name, param_name)) return;
  char item[ORVA_NV_ITEM_SIZE] = {};
  const orva_nvbuf_request request = {nv_num, nv_name, size, param_name, 0, nullptr};
  get_nvbuf_by_name(vq2070, item, sizeof item, request, ORVA_NVBUF_KEEP_ONLY);
  if (write_item({nv_num, nv_name}, item, sizeof item) != 0) {
    LOG_ERROR(vq2070, "vq2070_write_nvpattern_to_nv::write nv fail\n");
  }
}
