// SPDX-License-Identifier: Apache-2.0
// The keys of a phone's description: the radio's and those of the rest of the phone.
#ifndef VIRTUAL_PHONE_KEYS_H
#define VIRTUAL_PHONE_KEYS_H

#include "state.h"

#include <string>

namespace phone {

/// Sets one key of a description. Returns "", or a message that names the key and says what would be right.
std::string set_key(struct radio &radio, config &config, const std::string &key, const std::string &value);

void default_config(config &config);

}  // namespace phone

#endif
