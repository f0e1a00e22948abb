// SPDX-License-Identifier: Apache-2.0
// What the driver's numbers for channel, bandwidth, mode and rate mean on the air.
#ifndef VIRTUAL_PHONE_RF_SETTING_H
#define VIRTUAL_PHONE_RF_SETTING_H

#include "../radio.h"

#include <optional>
#include <string>
#include <string_view>

namespace phone::rf {

enum class format { dsss, ofdm, ht, vht, he };
inline constexpr unsigned formats = 5;

/// One rate of a format.
struct rate {
  const char *name;     ///< "11", "54" in Mb/s; "mcs7"
  unsigned kbps;        ///< of dsss and ofdm; 0 where it depends on the bandwidth
  int sensitivity_dbm;  ///< the standard's minimum in 20 MHz
};

const char *name_of(format format);
std::optional<format> format_named(std::string_view name);
unsigned rates_of(format format);
/// Null past the last.
const rate *rate_of(format format, unsigned index);

/// Where the radio is tuned.
struct tuning {
  int mhz;            ///< centre of the channel
  int primary_mhz;    ///< centre of its first 20 MHz
  int bandwidth_mhz;  ///< 20, 40, 80 or 160
  unsigned chain;     ///< 0 or 1

  bool is_5g() const { return mhz > 4000; }
  /// Whether the synthesiser reaches it. Elsewhere the radio neither sends nor receives.
  bool is_reachable() const { return (mhz >= 2400 && mhz <= 2500) || (mhz >= 5150 && mhz <= 5925); }
};

/// A transmission's format and rate.
struct modulation {
  enum format format;
  unsigned rate;  ///< index for rate_of
};

tuning tuning_of(const struct radio &radio);
modulation modulation_of(const struct radio &radio);

}  // namespace phone::rf

#endif
