// SPDX-License-Identifier: Apache-2.0
// What the unit's receiver makes of packets that arrive at its antenna.
#ifndef VIRTUAL_PHONE_RF_RECEIVER_H
#define VIRTUAL_PHONE_RF_RECEIVER_H

#include "random.h"
#include "setting.h"
#include "unit.h"

namespace phone::rf {

/// Packets that arrive at the antenna, all alike.
struct burst {
  double mhz, bandwidth_mhz;  ///< centre and width, as the test set gives them
  modulation sent;
  milli level_dbm;
  uint32_t packets;
};

/// Whether a receiver that is tuned there demodulates such packets: on its channel with its bandwidth, or
/// 20 MHz wide on its primary channel.
bool hears(const tuning &at, const burst &burst);

/// Packets lost of a million at a level at the chip, without the loss on the way to it.
uint32_t lost_per_million(const unit &unit, uint32_t faults, const burst &burst, double level_dbm);

/// How many of the packets are received; each is lost or not by a number of the stream.
uint32_t received(uint32_t packets, uint32_t lost_per_million, random_stream &stream);

/// The level that the driver reports, in whole dBm.
int32_t reported_level(const unit &unit, const tuning &at, double level_dbm);

/// Thermal noise in the channel as the receiver sees it: what it reports without a signal, in dBm.
double noise_dbm(const unit &unit, uint32_t faults, const tuning &at);

}  // namespace phone::rf

#endif
