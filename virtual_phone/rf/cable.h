// SPDX-License-Identifier: Apache-2.0
// The phone's end of a cable to an RF test set: JSON lines over TCP, docs/reference/cable.md.
#ifndef VIRTUAL_PHONE_RF_CABLE_H
#define VIRTUAL_PHONE_RF_CABLE_H

#include "receiver.h"
#include "transmitter.h"

#include <optional>
#include <string>
#include <vector>

namespace phone::rf {

/// In shared memory: a forked child has inherited the descriptor, and takes its turn while its parent waits.
struct cable_end {
  bool plugged;
  int descriptor;
  char address[128];
  char sent[1024];  ///< the last message
};

/// "" for no cable or a valid "HOST:PORT/N", else what it should be.
std::string cable_address_fault(const std::string &address);

/// Connects and plugs. Returns "", or a message that names the address.
std::string plug_cable(cable_end &end, const std::string &address, const std::string &phone_name);
void unplug_cable(cable_end &end);

/// The message for the test set. receiving: where the radio receives, if it does.
std::string cable_message(const std::optional<emission> &emission, const std::optional<tuning> &receiving);
std::string emission_json(const std::optional<emission> &emission);

/// Sends the message and waits for the answer, on the real clock. Nothing if the cable failed: then it is
/// unplugged, and fault says why.
std::optional<std::vector<burst>> exchange(cable_end &end, const std::string &message, std::string &fault);

}  // namespace phone::rf

#endif
