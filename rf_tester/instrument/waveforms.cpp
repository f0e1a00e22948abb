// SPDX-License-Identifier: Apache-2.0
#include "rf_tester/instrument/waveforms.h"

namespace rf_tester {
namespace {

struct scheme_family {
  const char *format;
  int schemes, widest_mhz;
};

std::vector<waveform> all_waveforms() {
  std::vector<waveform> all;
  for (const char *rate : {"1", "2", "5.5", "11"}) all.push_back({"dsss", 20, rate});
  for (const char *rate : {"6", "9", "12", "18", "24", "36", "48", "54"}) all.push_back({"ofdm", 20, rate});
  for (const scheme_family &family : {scheme_family{"ht", 8, 40}, {"vht", 10, 160}, {"he", 12, 160}})
    for (int mhz = 20; mhz <= family.widest_mhz; mhz *= 2)
      for (int i = 0; i < family.schemes; i++) all.push_back({family.format, mhz, "mcs" + std::to_string(i)});
  return all;
}

}  // namespace

const std::vector<waveform> &waveforms() {
  static const std::vector<waveform> all = all_waveforms();
  return all;
}

}  // namespace rf_tester
