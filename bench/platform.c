/* SPDX-License-Identifier: Apache-2.0 */
/* A platform that does nothing, so that only the watcher's cost shows. */
#include "platform/platform.h"

int __android_log_print(int prio, const char *tag, const char *fmt, ...) {
  (void)tag;
  (void)fmt;
  return prio;
}

uint32_t get_orva_connectivity_subchip(void) { return ORVA_SUBCHIP_VQ2050; }

int kevoOperaNVWR(uint32_t op, uint32_t nv_num, const char *nv_name, uint32_t size, void *buf) {
  (void)op;
  (void)nv_num;
  (void)nv_name;
  (void)size;
  return buf == NULL;
}
