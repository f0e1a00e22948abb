// SPDX-License-Identifier: Apache-2.0
// The packets that the generator can send.
#ifndef RF_TESTER_INSTRUMENT_WAVEFORMS_H
#define RF_TESTER_INSTRUMENT_WAVEFORMS_H

#include <string>
#include <vector>

namespace rf_tester {

struct waveform {
  std::string format;  ///< dsss, ofdm, ht, vht, he
  int bandwidth_mhz = 0;
  std::string rate;  ///< Mb/s for dsss and ofdm ("5.5"), else the scheme ("mcs7")
};

const std::vector<waveform> &waveforms();

}  // namespace rf_tester

#endif
