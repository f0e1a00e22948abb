// SPDX-License-Identifier: Apache-2.0
#include "fuzz/library.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "api/dispatch.h"
#include "virtual_phone/phone.h"

namespace fuzz {
namespace {

/// A copy of one chip's test state.
struct start_state {
  explicit start_state(const orva::test_state &s)
      : numbers{s.status,  s.mode,  s.channel_mhz, s.freq, s.rate,     s.bandwidth,       s.power,
                s.antenna, s.chain, s.tx,          s.rx,   s.mem_time, s.chipcheck_result},
        mode_driver(s.mode_driver), running_test(s.running_test == nullptr ? 0 : *s.running_test),
        selcal(s.selcal_disable_switch == nullptr ? 0 : *s.selcal_disable_switch) {}

  void restore(const orva::test_state &s) const {
    int32_t *const all[] = {&s.status,    &s.mode,     &s.channel_mhz,     &s.freq,  &s.rate,
                            &s.bandwidth, &s.power,    &s.antenna,         &s.chain, &s.tx,
                            &s.rx,        &s.mem_time, &s.chipcheck_result};
    for (size_t i = 0; i < std::size(all); i++) *all[i] = numbers[i];
    s.mode_driver = mode_driver;
    if (s.running_test != nullptr) *s.running_test = running_test;
    if (s.selcal_disable_switch != nullptr) *s.selcal_disable_switch = selcal;
  }

  int32_t numbers[13];
  uint8_t mode_driver;
  uint32_t running_test, selcal;
};

}  // namespace

uint8_t input::byte() {
  if (left_ == 0) return 0;
  left_--;
  return *bytes_++;
}

uint32_t input::word() {
  uint32_t value = 0;
  for (int i = 0; i < 4; i++) value |= static_cast<uint32_t>(byte()) << (8 * i);
  return value;
}

int32_t input::number() {
  static constexpr int32_t useful[] = {0,    1,    2,    3,    4,    5,    7,    -1,   104,  2412,
                                       2437, 2442, 2472, 2484, 5180, 5250, 5570, 5825, 6500, 12150,
                                       65,   155,  -99,  255,  256,  1000, -500, 65535};
  const uint8_t choice = byte();
  return choice < std::size(useful) ? useful[choice] : static_cast<int32_t>(word());
}

std::vector<uint8_t> input::some(size_t most) {
  const size_t count = std::min({most, static_cast<size_t>(byte()), left_});
  std::vector<uint8_t> drawn(bytes_, bytes_ + count);
  bytes_ += count;
  left_ -= count;
  return drawn;
}

std::string input::rest() {
  std::string all(reinterpret_cast<const char *>(bytes_), left_);
  left_ = 0;
  return all;
}

void begin(size_t chip) {
  static const std::vector<start_state> initial = [] {
    std::vector<start_state> all;
    for (const orva::chip *profile : profiles) all.emplace_back(profile->state);
    return all;
  }();
  for (size_t i = 0; i < chips; i++) initial[i].restore(profiles[i]->state);
  for (const wifi_func_t ru_set : orva::g_func[orva::OP_RU_SET].func) {
    if (ru_set != nullptr) reinterpret_cast<uint32_t (*)(int32_t, const char *)>(ru_set)(0, nullptr);
  }
  phone_reset();
  char error[200] = "";
  expect(phone_set("chip", profiles[chip % chips]->name, error, sizeof error) == 0, error);
}

void end() { expect(phone_left_open() == 0, "a descriptor, child or stream is left behind"); }

void expect(bool condition, const char *what) {
  if (condition) return;
  fprintf(stderr, "fuzz: %s\n", what);
  abort();
}

text::text(std::string_view bytes) : bytes_(bytes.begin(), std::find(bytes.begin(), bytes.end(), '\0')) {
  bytes_.push_back('\0');
  bytes_.shrink_to_fit();
}

}  // namespace fuzz
