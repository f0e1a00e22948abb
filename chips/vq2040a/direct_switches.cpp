// SPDX-License-Identifier: Apache-2.0
// The TAS antenna switch and the broadcast loop, sent directly and without the value sender's pause.
#include "chips/vq2040a/profile.h"
#include "common/driver.h"
#include "include/vq2040a.h"

using namespace orva;

namespace {

constexpr uint32_t COMMAND_BROADCAST_LOOP = 35;

/// The broadcast loop shares the antenna switch's messages.
bool switch_directly(uint32_t command, int32_t value) {
  const uint32_t socket = open_socket(vq2040a);
  if (socket == 0) return false;
  ioctl_data record = record_of(command);
  store_u32(record.pri_data, static_cast<uint32_t>(value));
  return send_and_report(vq2040a, socket, record, "%s_wifi_set_tas_ant_switch successful.\n",
                         "%s_wifi_set_tas_ant_switch fail.\n");
}

}  // namespace

uint32_t vq2040a_wifi_set_tas_ant_switch(int32_t value) {
  return switch_directly(vq2040a.command.tas_antenna, value);
}

uint32_t vq2040a_wifi_test_broadcast_loop(int32_t value) {
  return switch_directly(COMMAND_BROADCAST_LOOP, value);
}
