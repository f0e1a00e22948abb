// SPDX-License-Identifier: Apache-2.0
// What the tests of calibration data share: the catalogue as the station knows it, the store as texts, and
// transcripts with open places.
#ifndef TESTS_CALIBRATION_TEST_H
#define TESTS_CALIBRATION_TEST_H

#include "tests/support/phone_fixture.h"

#include <map>
#include <string>
#include <vector>

#define TEXT_CHIPS       ::testing::Values(&vq2050_case, &vq2040a_case, &vq2070_case)
#define TWO_CHAIN_CHIPS  ::testing::Values(&vq2050_case, &vq2070_case)
#define BLOCK_COPY_CHIPS ::testing::Values(&vq2040_case, &vq2040a_case)

struct cal_row {
  bool per_channel;
  uint8_t map_id;
  int32_t group, mode, band, bandwidth;
  std::string param, item;
  int driver_number;  // what a driver query sends for it; -1 where none is sent
};

using lines_t = std::vector<std::string>;
/// "340 WIC0_2G5G_OFDM" -> its text. Empty items are left out: cleared and never written are the same.
using store_t = std::map<std::string, std::string>;

class CalibrationTest : public ChipTest {
protected:
  const std::vector<cal_row> &catalogue() const;
  const cal_row &row_of(const std::string &param) const;
  lines_t items() const;  // the items that read-all and clean-all walk, in order

  static void put(const std::string &item, const std::string &text);
  static void put(const store_t &store);
  static store_t stored();
  static std::string stored(const std::string &item);

  uint32_t calibrate(const cal_row &row, int32_t freq, const std::string &error);

  /// Compares the transcript since forget() line by line. In an expected line '$' is the chip's name, '~' any
  /// text.
  void expect_transcript(const lines_t &expected) const;
  /// Is there a transcript line like this?
  bool happened(const std::string &expected) const;
  bool matches(const char *pattern, const char *text) const;
};

lines_t split(const std::string &text, char separator);
std::string joined(const std::vector<int> &values);

#endif
