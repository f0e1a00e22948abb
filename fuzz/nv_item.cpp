// SPDX-License-Identifier: Apache-2.0
// Arbitrary calibration texts in NV: reading, merging, storing and correcting one, and reading all.
#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string>

#include "chips/vq2040a/profile.h"
#include "common/calibration_write.h"
#include "common/catalogue.h"
#include "common/nv_text.h"
#include "fuzz/library.h"
#include "include/wifi_factory_test_orva.h"
#include "platform/platform.h"
#include "virtual_phone/phone.h"

using namespace fuzz;

namespace {

using item_bytes = std::array<char, ORVA_NV_ITEM_SIZE>;

item_bytes get(const orva::cal_row &row) {
  item_bytes item;
  expect(phone_nv_get(row.item.number, row.item.name, item.data()) == 0, "an item cannot be read back");
  return item;
}

void put(const orva::cal_row &row, const std::string &text) {
  char item[ORVA_NV_ITEM_SIZE] = {};
  memcpy(item, text.data(), std::min(text.size(), sizeof item));
  phone_nv_put(row.item.number, row.item.name, item);
}

const orva::cal_row &choose_row(const orva::chip &chip, uint8_t choice) {
  const auto &table = choice % 2 == 0 ? chip.calibration->power : chip.calibration->per_channel;
  return table.rows[choice / 2 % table.count];
}

std::string run_buffer_routine(const orva::chip &chip, const orva::cal_row &row, uint32_t mode,
                               uint32_t out_size, const std::vector<uint32_t> &values) {
  const auto out = std::make_unique<char[]>(out_size);
  const orva_nvbuf_request request = {
      row.item.number, row.item.name, ORVA_NV_ITEM_SIZE, row.param, static_cast<uint32_t>(values.size()),
      values.data()};
  orva::get_nvbuf_by_name(chip, out.get(), out_size, request, mode);
  expect(memchr(out.get(), 0, out_size) != nullptr, "a text is not terminated");
  return out.get();
}

std::string entry_of(const orva::cal_row &row, const std::vector<uint32_t> &values) {
  std::string entry = std::string(row.param) + "=";
  for (size_t i = 0; i < values.size(); i++) {
    entry += (i == 0 ? "" : ",") + std::to_string(static_cast<int32_t>(values[i]));
  }
  return entry + ";";
}

/// The expected result of a merge: every other entry unchanged, ours in its place or at the end.
std::string merged(const std::string &stored, const orva::cal_row &row, const std::string &ours) {
  if (stored.empty()) return ours;
  std::string all;
  bool found = false;
  size_t at = 0;
  const std::string prefix = std::string(row.param) + "=";
  if (stored.find(';') == std::string::npos) return "";
  for (size_t end; (end = stored.find(';', at)) != std::string::npos; at = end + 1) {
    const std::string entry = stored.substr(at, end - at);
    const bool is_ours = entry.compare(0, prefix.size(), prefix) == 0;
    found = found || is_ours;
    if (!entry.empty()) all += is_ours ? ours : entry + ";";
  }
  return found ? all : all + ours;
}

void merge(const orva::chip &chip, const orva::cal_row &row, input &from, const std::string &stored) {
  std::vector<uint32_t> values(from.byte() % 14);
  for (uint32_t &value : values) value = static_cast<uint32_t>(from.number());
  const std::string result = run_buffer_routine(chip, row, ORVA_NVBUF_MERGE, ORVA_NV_ITEM_SIZE, values);
  const std::string whole = merged(stored, row, entry_of(row, values));
  if (whole.size() < ORVA_NV_ITEM_SIZE) expect(result == whole, "a merge gives another text");
}

void correct(const orva::chip &chip, const orva::cal_row &row, input &from) {
  const item_bytes first = get(row);
  const int32_t freq = from.number();
  const text error(std::to_string(from.number()));
  orva::wifi_nvram_calibrate_set(chip, 0, row.chain, row.mode, row.band, row.bandwidth, freq, error.get());
  const item_bytes now = get(row);
  expect(now == first || memchr(now.data(), 0, now.size()) != nullptr, "an item is written without an end");
}

void read_all(int32_t size) {
  const uint32_t room = static_cast<uint32_t>(size) * 16;
  const auto out = std::make_unique<char[]>(room);
  expect(wifi_nvram_calibrate_get(out.get(), size) == 1, "reading all fails");
  expect(memchr(out.get(), 0, room) != nullptr, "the text of all items is not terminated");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
  input from(bytes, size);
  const size_t chip_number = 1 + from.byte() % (chips - 1);  // the first keeps no texts in NV
  begin(chip_number);
  const orva::chip &chip = *profiles[chip_number];
  const orva::cal_row &row = choose_row(chip, from.byte());
  const uint8_t action = from.byte() % 5;
  const auto drawn = from.some(24);
  input numbers(drawn.data(), drawn.size());
  put(row, from.rest());
  const item_bytes item = get(row);
  const std::string stored(item.data(), strnlen(item.data(), item.size() - 1));
  switch (action) {
  case 0: run_buffer_routine(chip, row, ORVA_NVBUF_READ, 1 + numbers.byte() % 128, {}); break;
  case 1: merge(chip, row, numbers, stored); break;
  case 2: run_buffer_routine(chip, row, ORVA_NVBUF_KEEP_ONLY, ORVA_NV_ITEM_SIZE, {}); break;
  case 3: correct(chip, row, numbers); break;
  default: read_all(1 + numbers.byte());
  }
  end();
  return 0;
}
