// SPDX-License-Identifier: Apache-2.0
#ifndef ORVA_PROBES_H
#define ORVA_PROBES_H

#include "common/chip.h"

namespace orva {

/// Probes on an open driver socket. @return whether the chip passed; a refused command counts as failed.
bool wl_config_wifi_dbb_get(const chip &chip, uint32_t socket, const char *interface);
bool wl_config_wifi_efuse_get(const chip &chip, uint32_t socket, const char *interface);
bool wl_config_wipin_test(const chip &chip, uint32_t socket, const char *interface);
bool wl_config_pmu_check(const chip &chip, uint32_t socket, const char *interface);
bool wl_config_wkup_io_test(const chip &chip, uint32_t socket, const char *interface);
bool wl_config_pcie_test(const chip &chip, uint32_t socket, const char *interface);

/// Probes that open a socket of their own.
uint32_t wifi_hw_get(const chip &chip);
uint32_t wifi_check_pmu(const chip &chip);

}  // namespace orva

#endif
