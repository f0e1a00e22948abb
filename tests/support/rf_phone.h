// SPDX-License-Identifier: Apache-2.0
// Keys and driver commands of the virtual phone, for tests that use it without the library.
#ifndef TESTS_SUPPORT_RF_PHONE_H
#define TESTS_SUPPORT_RF_PHONE_H

#include "virtual_phone/phone.h"
#include "virtual_phone/radio_commands.h"

#include <gtest/gtest.h>

#include <string>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace rf_phone {

inline std::string get(const std::string &key) {
  char value[4096];
  return phone_get(key.c_str(), value, sizeof(value)) == 0 ? value : "(none)";
}

/// "" or why the phone refused.
inline std::string refusal(const std::string &key, const std::string &value) {
  char error[400] = "";
  return phone_set(key.c_str(), value.c_str(), error, sizeof(error)) == 0 ? "" : error;
}

inline void set(const std::string &key, const std::string &value) { ASSERT_EQ(refusal(key, value), ""); }

/// The chips that these tests use.
inline uint32_t chip() { return get("chip") == "vq2040" ? RADIO_VQ2040 : RADIO_VQ2050; }

/// Gives a driver command by its name and returns its answer's number.
inline uint32_t ask(const char *name, uint32_t value = 0) {
  struct {
    uint32_t magic, command, number[64];
  } record = {radio_chip_magic(chip()), static_cast<uint32_t>(radio_command_id(chip(), name)), {value}};
  struct {
    char name[16] = "wlan0";
    void *record;
    char rest[16] = {};
  } request;
  request.record = &record;
  int descriptor = socket(AF_INET, SOCK_DGRAM, 0);
  EXPECT_LT(descriptor, 100) << "the phone takes no number from the programs";
  EXPECT_EQ(ioctl(descriptor, 0x89F2, &request), 0) << name << " " << value;
  close(descriptor);
  return record.number[0];
}

struct setting {
  uint32_t mode, bandwidth, channel, rate;
};
constexpr setting mcs7 = {10, 0, 7, 65};

inline void tune(const setting &s, int dbm) {
  ask("mode", s.mode);
  ask("bandwidth", s.bandwidth);
  ask("channel", s.channel);
  ask("rate", s.rate);
  ask("power", static_cast<uint32_t>(dbm));
}

}  // namespace rf_phone

#endif
