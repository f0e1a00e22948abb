// Entering and leaving test mode.
#ifndef ORVA_TEST_MODE_H
#define ORVA_TEST_MODE_H

#include "common/chip.h"

namespace orva {

uint32_t wifi_start_testmode(const chip &chip);
uint32_t wifi_stop_testmode(const chip &chip);
uint32_t wifi_set_country_all(const chip &chip);
uint32_t wifi_set_dyn_interval(const chip &chip);
uint32_t wifi_set_selfcali_interval(const chip &chip);

/// Power save off (0) or on; logged. @return the send result.
int32_t wifi_set_pm_switch(const chip &chip, uint32_t pm_switch);
uint32_t wifi_set_powermode(const chip &chip, int32_t mode, uint32_t value);

}  // namespace orva

#endif
