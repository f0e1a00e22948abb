// SPDX-License-Identifier: Apache-2.0
#include "tests/support/calibration_fixture.h"

#include <algorithm>
#include <cstring>
#include <sstream>
#include <stdexcept>

namespace {

const std::vector<cal_row> two_chains = {{true, 0, 0, 0, 0, 0, "mf2ga0", "396 WIC0_2GMU_OFDM", -1},
                                         {true, 1, 0, 2, 0, 0, "mf2gccka0", "400 WIC0_MUCCK", -1},
                                         {true, 2, 0, 0, 0, 1, "mf2g40a0", "398 WIC0_2GMF40M", -1},
                                         {true, 3, 1, 0, 0, 0, "mf2ga1", "397 WIC1_2GMU_OFDM", -1},
                                         {true, 4, 1, 2, 0, 0, "mf2gccka1", "401 WIC1_MUCCK", -1},
                                         {true, 5, 1, 0, 0, 1, "mf2g40a1", "399 WIC1_2GMF40M", -1},
                                         {false, 0, 0, 0, 0, 0, "pa2ga0", "340 WIC0_2G5G_OFDM", 1},
                                         {false, 1, 0, 2, 0, 0, "pa2gccka0", "367 WITXCCK", 0},
                                         {false, 2, 0, 0, 0, 1, "pa2g40a0", "384 WIC0_2G40M", 2},
                                         {false, 3, 0, 0, 1, 0, "pa5ga0", "340 WIC0_2G5G_OFDM", 3},
                                         {false, 4, 0, 0, 1, 0, "pa5glowa0", "369 WIC0_5GLOW", 8},
                                         {false, 5, 0, 0, 1, 3, "dpn160c0", "386 WIC0_5G160M", -1},
                                         {false, 6, 1, 0, 0, 0, "pa2ga1", "368 WIC1_2G5G_OFDM", 5},
                                         {false, 7, 1, 2, 0, 0, "pa2gccka1", "367 WITXCCK", 4},
                                         {false, 8, 1, 0, 0, 1, "pa2g40a1", "385 WIC1_2G40M", 6},
                                         {false, 9, 1, 0, 1, 0, "pa5ga1", "368 WIC1_2G5G_OFDM", 7},
                                         {false, 10, 1, 0, 1, 0, "pa5glowa1", "370 WIC1_5GLOW", 9},
                                         {false, 11, 1, 0, 1, 3, "dpn160c1", "387 WIC1_5G160M", -1}};

const std::vector<cal_row> one_chain = {{true, 0, 0, 0, 0, 0, "mf2ga0", "396 WIC0_2GMU_OFDM", -1},
                                        {true, 1, 0, 2, 0, 0, "mf2gccka0", "398 WIC0_MUCCK", -1},
                                        {true, 2, 0, 0, 0, 1, "mf2g40a0", "397 WIC0_2GMF40M", -1},
                                        {false, 0, 0, 0, 0, 0, "pa2ga0", "340 WIC0_2G5G_OFDM", 2},
                                        {false, 1, 0, 2, 0, 0, "pa2gccka0", "367 WITXCCK", 1},
                                        {false, 2, 0, 0, 0, 1, "pa2g40a0", "384 WIC0_2G40M", 3},
                                        {false, 3, 0, 0, 1, 0, "pa5ga0", "340 WIC0_2G5G_OFDM", 4},
                                        {false, 4, 0, 0, 1, 0, "pa5glowa0", "368 WIC0_5GLOW", 5}};

const lines_t sixteen_items = {
    "340 WIC0_2G5G_OFDM", "363 NV_UNUSED",    "367 WITXCCK",        "368 WIC1_2G5G_OFDM",
    "369 WIC0_5GLOW",     "370 WIC1_5GLOW",   "384 WIC0_2G40M",     "385 WIC1_2G40M",
    "386 WIC0_5G160M",    "387 WIC1_5G160M",  "396 WIC0_2GMU_OFDM", "397 WIC1_2GMU_OFDM",
    "398 WIC0_2GMF40M",   "399 WIC1_2GMF40M", "400 WIC0_MUCCK",     "401 WIC1_MUCCK"};

const lines_t nine_items = {"340 WIC0_2G5G_OFDM", "363 NV_UNUSED",    "367 WITXCCK",
                            "368 WIC0_5GLOW",     "384 WIC0_2G40M",   "385 WIC0_5G160M",
                            "396 WIC0_2GMU_OFDM", "397 WIC0_2GMF40M", "398 WIC0_MUCCK"};

uint32_t number_of(const std::string &item) { return static_cast<uint32_t>(std::stoul(item)); }
std::string name_of(const std::string &item) { return item.substr(item.find(' ') + 1); }

}  // namespace

const std::vector<cal_row> &CalibrationTest::catalogue() const {
  return is(vq2040a_case) ? one_chain : two_chains;
}

const cal_row &CalibrationTest::row_of(const std::string &param) const {
  for (const cal_row &row : catalogue()) {
    if (row.param == param) return row;
  }
  throw std::invalid_argument("no such parameter: " + param);
}

lines_t CalibrationTest::items() const { return is(vq2040a_case) ? nine_items : sixteen_items; }

void CalibrationTest::put(const std::string &item, const std::string &text) {
  char bytes[104] = {};
  ASSERT_LE(text.size(), sizeof bytes) << item;
  memcpy(bytes, text.data(), text.size());
  ASSERT_EQ(phone_nv_put(number_of(item), name_of(item).c_str(), bytes), 0) << item;
}

void CalibrationTest::put(const store_t &store) {
  phone_nv_clear();
  for (const auto &[item, text] : store) put(item, text);
}

store_t CalibrationTest::stored() {
  store_t store;
  uint32_t number;
  char name[32], bytes[104];
  for (size_t i = 0; phone_nv_at(i, &number, name, sizeof name, bytes) == 1; i++) {
    const std::string text(bytes, strnlen(bytes, sizeof bytes));
    if (!text.empty()) store[std::to_string(number) + " " + name] = text;
  }
  return store;
}

std::string CalibrationTest::stored(const std::string &item) {
  const store_t store = stored();
  const auto found = store.find(item);
  return found == store.end() ? "" : found->second;
}

uint32_t CalibrationTest::calibrate(const cal_row &row, int32_t freq, const std::string &error) {
  return PUBLIC(wifi_nvram_calibrate_set)(0, row.group, row.mode, row.band, row.bandwidth, freq,
                                          error.c_str());
}

bool CalibrationTest::matches(const char *pattern, const char *text) const {
  for (; *pattern != '\0' && *pattern != '~' && *pattern != '$'; pattern++, text++) {
    if (*pattern != *text) return false;
  }
  if (*pattern == '\0') return *text == '\0';
  if (*pattern != '~') {
    const size_t length = chip_.size();
    if (strncmp(text, chip_.c_str(), length) != 0 || text[length] != '_') return false;
    return matches(pattern + 1, text + length);
  }
  do {
    if (matches(pattern + 1, text)) return true;
  } while (*text++ != '\0');
  return false;
}

void CalibrationTest::expect_transcript(const lines_t &expected) const {
  const lines_t found = split(transcript(), '\n');
  for (size_t i = 0; i < std::max(expected.size(), found.size()); i++) {
    const std::string want = i < expected.size() ? expected[i] : "(the end)";
    const std::string got = i < found.size() ? found[i] : "(the end)";
    if (matches(want.c_str(), got.c_str())) continue;
    ADD_FAILURE() << "line " << i + 1 << "\n  want " << want << "\n  got  " << got << "\nof\n"
                  << transcript();
    return;
  }
}

bool CalibrationTest::happened(const std::string &expected) const {
  for (const std::string &line : split(transcript(), '\n')) {
    if (matches(expected.c_str(), line.c_str())) return true;
  }
  return false;
}

lines_t split(const std::string &text, char separator) {
  lines_t parts;
  std::istringstream in(text);
  for (std::string part; std::getline(in, part, separator);) parts.push_back(part);
  return parts;
}

std::string joined(const std::vector<int> &values) {
  std::string text;
  for (const int value : values) text += (text.empty() ? "" : ",") + std::to_string(value);
  return text;
}
