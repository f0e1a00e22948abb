// SPDX-License-Identifier: Apache-2.0
// One chain: a chain setting is accepted only if the platform reports a vq2050.
#include "chips/vq2040/profile.h"
#include "common/log.h"
#include "common/settings.h"
#include "include/vq2040.h"

using namespace orva;

uint32_t vq2040_wifi_setmimo_channel(int32_t chain) {
  if (!is_mimo_chain(vq2040, chain)) return 0;
  switch (get_orva_connectivity_subchip()) {
  case ORVA_SUBCHIP_VQ2050: return store_mimo_chain(vq2040, chain);
  case ORVA_SUBCHIP_VQ2040: LOG_ERROR(vq2040, "wifi_setmimo_channel::Vq2040 dont support mimo.\n"); return 0;
  default: LOG_ERROR(vq2040, "wifi_setmimo_channel::Unsupported sub_chip type.\n"); return 0;
  }
}
