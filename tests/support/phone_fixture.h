// SPDX-License-Identifier: Apache-2.0
// A fresh phone and a freshly loaded library for each test, and views of what the library did.
//
// What the library says and does in full, function by function, is in tests/golden. Tests with this fixture
// are for what a transcript cannot show: rules over many inputs, exact arithmetic, memory around an output,
// and oddities that need a reason.
//
// Expected contacts are written in the notation of contacts.h:
//
//   expect_contacts("socket\nclose\n")     compares all contacts since the last forget(), and forgets them
//   happened("log 6 {*}failed{*}")         is true if any of them matches this line.
#ifndef TESTS_SUPPORT_PHONE_FIXTURE_H
#define TESTS_SUPPORT_PHONE_FIXTURE_H

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "include/wifi_factory_test_orva.h"
#include "tests/support/chips.h"
#include "virtual_phone/phone.h"

/// A driver command as the library sent it.
struct sent_command {
  uint32_t magic, id;
  std::vector<uint8_t> data;  // the record's 256 data bytes
  uint32_t value() const;     // the first four of them, little-endian
};

/// NV items by number and name, "340 WIC0_2G5G_OFDM", with their texts. A cleared item is left out like one
/// that was never written.
using store_t = std::map<std::string, std::string>;

class PhoneTest : public ::testing::Test {
protected:
  void SetUp() override;
  /// Fails the test where a descriptor, child or stream is left behind or a planned fault did not happen.
  void TearDown() override;

  /// The chip under test from here on: "vq2050".
  void fit(const std::string &chip);
  const std::string &chip() const { return chip_; }
  bool is(const char *chip) const { return chip_ == chip; }
  /// Whether the library exports the chip's function of this name, as has("wifi_ru_set").
  bool has(const std::string &name) const { return has_symbol(chip_ + "_" + name); }
  bool has_two_chains() const { return has("clean_nvparam_2G_C1"); }
  /// The id of a driver command by its name, as "bss_expire_age"; -1 if the fitted chip does not have it.
  int command_id(const char *name) const;

  /// An exported function; the test fails where there is none.
  void *symbol(const std::string &name);
  bool has_symbol(const std::string &name) const;
  /// A public function of the freshly loaded library: PUBLIC(wifi_set_power)(155).
  template <typename Function> Function *function(Function *, const std::string &name) {
    return reinterpret_cast<Function *>(symbol(name));
  }
  /// A back-end function by its name without prefix: back_end<uint32_t(int32_t)>("wifi_set_rate")(6500).
  template <typename Function> Function *back_end(const std::string &name) {
    return reinterpret_cast<Function *>(symbol(chip_ + "_" + name));
  }

  /// Sets a key of the phone's description.
  static void set(const std::string &key, const std::string &value);
  /// Plans a fault: the nth use of a place fails, and so do the ones after it, `times` in all; 0 is for ever.
  static void fail(const std::string &place, unsigned nth = 1, unsigned times = 1, int value = 0);
  /// The driver answers a command with a 32-bit value, or with bytes.
  static void answer(uint32_t command, uint32_t value);
  static void answer_bytes(uint32_t command, const std::string &bytes);

  static void put(const std::string &item, const std::string &text);
  static void put(const store_t &store);  // and nothing else
  static store_t stored();
  static std::string stored(const std::string &item);

  // What happened since the last forget().
  static void forget() { phone_events_clear(); }
  static std::vector<sent_command> sent();  // accepted and refused attempts
  static std::string sent_values();         // "11=0 2=7 4=1": id=value; a retry is listed again
  std::string transcript() const;           // all but the questions which chip there is
  void expect_contacts(const std::string &expected) const;
  bool happened(const std::string &line) const;

private:
  std::string chip_ = "vq2040";
  void *library_ = nullptr;
};

#define PUBLIC(name) function(static_cast<decltype(&name)>(nullptr), #name)

/// The same, once for each chip, by name.
class ChipTest : public PhoneTest, public ::testing::WithParamInterface<const char *> {
protected:
  void SetUp() override;
};

std::string name_of_case(const ::testing::TestParamInfo<const char *> &info);

#define ALL_CHIPS ::testing::ValuesIn(chip_names)

/// The chips for which the library exports the back-end function of this name.
std::vector<const char *> chips_with(const char *function);
#define CHIPS_WITH(function) ::testing::ValuesIn(chips_with(function))
/// The chips whose driver has the command of this name, or those whose driver does not.
std::vector<const char *> chips_by_command(const char *name, bool there);
#define CHIPS_WITH_COMMAND(name)    ::testing::ValuesIn(chips_by_command(name, true))
#define CHIPS_WITHOUT_COMMAND(name) ::testing::ValuesIn(chips_by_command(name, false))

#endif
