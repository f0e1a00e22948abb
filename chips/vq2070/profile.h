// SPDX-License-Identifier: Apache-2.0
// The vq2070's profile, and what its own files contribute.
#ifndef ORVA_VQ2070_PROFILE_H
#define ORVA_VQ2070_PROFILE_H

#include "chips/two_chain/clean.h"
#include "common/chip.h"

namespace orva {

extern const chip vq2070;
extern const two_chain::cleaner vq2070_cleaner;

/// Channel number from g_ast_freq_bw, with one message for every frequency and bandwidth that have none.
bool vq2070_channel_of(const chip &chip, uint32_t mhz, uint32_t &channel);

/// Sends the MIMO chain, and then the RU setting if one is armed. @return whether both were accepted.
bool vq2070_send_chain_and_ru(const chip &chip);

}  // namespace orva

#endif
