// The vq2070's profile and what its files share.
#ifndef ORVA_VQ2070_PROFILE_H
#define ORVA_VQ2070_PROFILE_H

#include "common/chip.h"

namespace orva {

extern const chip vq2070;
/// RU test armed for the next receive start, and its association id.
extern uint32_t g_test_rutx_set_2070, g_test_rurx_set_2070;
extern uint16_t g_test_aid_2070;

extern const struct calibration vq2070_calibration;

/// Channel number out of g_ast_freq_bw, with one message for every pair that has none.
int32_t vq2070_channel_of(const chip &chip, uint32_t mhz, uint32_t &channel);

/// Sends the MIMO chain and then the RU setting where one is armed. @return 1 when both were taken.
int32_t vq2070_send_chain_and_ru(const chip &chip);
}  // namespace orva

#endif
