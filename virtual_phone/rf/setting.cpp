// SPDX-License-Identifier: Apache-2.0
#include "setting.h"

#include "../radio_chips.h"

#include <cstdlib>
#include <iterator>

namespace phone::rf {
namespace {

constexpr const char *format_names[formats] = {"dsss", "ofdm", "ht", "vht", "he"};

// Minimum input sensitivities in dBm from IEEE 802.11, clauses 15 and 16 (2 and 11 Mb/s; the standard has
// none for 1 and 5.5 Mb/s, which get 3 dB more per halving), 17, 19, 21 and 27.
constexpr rate dsss_rates[] = {{"1", 1000, -83}, {"2", 2000, -80}, {"5.5", 5500, -79}, {"11", 11000, -76}};
constexpr rate ofdm_rates[] = {{"6", 6000, -82},   {"9", 9000, -81},   {"12", 12000, -79},
                               {"18", 18000, -77}, {"24", 24000, -74}, {"36", 36000, -70},
                               {"48", 48000, -66}, {"54", 54000, -65}};
constexpr rate mcs_rates[] = {{"mcs0", 0, -82}, {"mcs1", 0, -79}, {"mcs2", 0, -77},  {"mcs3", 0, -74},
                              {"mcs4", 0, -70}, {"mcs5", 0, -66}, {"mcs6", 0, -65},  {"mcs7", 0, -64},
                              {"mcs8", 0, -59}, {"mcs9", 0, -57}, {"mcs10", 0, -54}, {"mcs11", 0, -52}};
constexpr struct {
  const rate *rates;
  unsigned count;
} rate_tables[formats] = {{dsss_rates, 4}, {ofdm_rates, 8}, {mcs_rates, 8}, {mcs_rates, 10}, {mcs_rates, 12}};
static_assert(std::size(dsss_rates) == 4 && std::size(ofdm_rates) == 8 && std::size(mcs_rates) == 12);

/// Coded bits per subcarrier and symbol that carry data, in twelfths: modulation order times code rate.
constexpr unsigned mcs_twelfths[] = {6, 12, 18, 24, 36, 48, 54, 60, 72, 80, 90, 100};
/// Data subcarriers in 20, 40, 80 and 160 MHz.
constexpr unsigned ht_carriers[] = {52, 108, 234, 468}, he_carriers[] = {234, 468, 980, 1960};

/// The driver's modes. What no station's mode reaches counts as legacy OFDM.
format format_of_mode(uint32_t mode) {
  switch (mode) {
  case 1: return format::dsss;
  case 7:
  case 10: return format::ht;
  case 6:
  case 8:
  case 11: return format::vht;
  case 12:
  case 13: return format::he;
  default: return format::ofdm;
  }
}

/// The number of 20 MHz channels is 1 more than the code: 0, 1, 3 or 7.
int bandwidth_of_code(uint32_t code) { return code == 7 ? 160 : code == 3 ? 80 : code == 1 ? 40 : 20; }

unsigned doublings(int bandwidth_mhz) {
  return bandwidth_mhz == 160 ? 3 : bandwidth_mhz == 80 ? 2 : bandwidth_mhz == 40 ? 1 : 0;
}

unsigned kbps_of(format format, unsigned index, int bandwidth_mhz) {
  if (rate_of(format, index)->kbps) return rate_of(format, index)->kbps;
  bool he = format == format::he;
  unsigned carriers = (he ? he_carriers : ht_carriers)[doublings(bandwidth_mhz)];
  unsigned symbol_ns = he ? 13600 : 4000;  // with the long guard interval of HT, 0.8 us of HE
  return static_cast<unsigned>(uint64_t{carriers} * mcs_twelfths[index] * 1000000 / 12 / symbol_ns);
}

/// The driver takes whole Mb/s, with the fraction cut off.
unsigned nearest_rate(format format, uint32_t mbps, int bandwidth_mhz) {
  unsigned best = 0;
  int64_t least = INT64_MAX;
  for (unsigned i = 0; rate_of(format, i); i++) {
    int64_t away = std::abs(int64_t{kbps_of(format, i, bandwidth_mhz) / 1000} - int64_t{mbps});
    if (away >= least) continue;
    least = away;
    best = i;
  }
  return best;
}

/// The single-chain chips have a code for 121.5 Mb/s, MCS 6 in 40 MHz.
bool is_code_of_mcs6(const struct radio &radio, format format, int bandwidth_mhz) {
  bool has_code = radio_chip_command(radio.chip, 27) != RADIO_CMD_CHAIN;
  return has_code && radio.rate == 11 && format != format::dsss && bandwidth_mhz == 40;
}

}  // namespace

const char *name_of(format format) { return format_names[static_cast<unsigned>(format)]; }

std::optional<format> format_named(std::string_view name) {
  for (unsigned i = 0; i < formats; i++)
    if (name == format_names[i]) return static_cast<format>(i);
  return std::nullopt;
}

unsigned rates_of(format format) { return rate_tables[static_cast<unsigned>(format)].count; }

const rate *rate_of(format format, unsigned index) {
  return index < rates_of(format) ? &rate_tables[static_cast<unsigned>(format)].rates[index] : nullptr;
}

tuning tuning_of(const struct radio &radio) {
  int channel = static_cast<int32_t>(radio.channel);
  int bandwidth = bandwidth_of_code(radio.band);
  int primary = channel == 14 ? 2484 : (channel < 14 ? 2407 : 5000) + 5 * channel;
  bool has_chain_1 = radio.chain == 2 && radio_chip_command(radio.chip, 27) == RADIO_CMD_CHAIN;
  return {primary + (bandwidth - 20) / 2, primary, bandwidth, has_chain_1 ? 1U : 0U};
}

modulation modulation_of(const struct radio &radio) {
  int bandwidth = bandwidth_of_code(radio.band);
  format format = format_of_mode(radio.mode);
  if (is_code_of_mcs6(radio, format, bandwidth)) return {format, 6};
  return {format, nearest_rate(format, radio.rate, bandwidth)};
}

}  // namespace phone::rf
