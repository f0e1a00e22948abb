// SPDX-License-Identifier: Apache-2.0
// What the tests of self-checks and station utilities share: whole transcripts, written with '@' for the
// chip's name, and the lines that every operation has in common.
#ifndef TESTS_SELF_CHECK_H
#define TESTS_SELF_CHECK_H

#include "tests/support/phone_fixture.h"

#include <algorithm>
#include <string>
#include <utility>

class SelfCheckTest : public ChipTest {
protected:
  void SetUp() override;

  template <typename T> T pick(T vq2040, T vq2050, T vq2040a, T vq2070) const {
    return is(vq2040_case) ? vq2040 : is(vq2050_case) ? vq2050 : is(vq2040a_case) ? vq2040a : vq2070;
  }

  /// Compares everything since the last forget() with the lines; all of it must bear the chip's tag and
  /// magic.
  void expect_contacts(const std::string &lines) const;

  /// A command that the driver takes, with the first four bytes of its data.
  static std::string sends(uint32_t command, const std::string &data = "00000000");
  /// The same command, refused twice; the second attempt sends what the first left in the record.
  std::string refused(uint32_t command, const std::string &data = "00000000",
                      const std::string &left = "") const;
  std::string no_socket() const;
  /// The WLAN service is found running and stopped.
  static std::string service_stopped();

  /// The driver refuses a command and leaves these bytes in the record.
  static void refuse(uint32_t command, const std::string &left = "");
  /// The driver answers a command with bytes.
  static void answer_bytes(uint32_t command, const std::string &bytes);

private:
  std::string own(std::string lines) const;
  void expect_own_marks() const;
};

/// An output of the library between bytes that it must not touch.
template <size_t Room> struct guarded {
  static constexpr uint8_t untouched = 0xA7;
  uint8_t bytes[Room + 32];
  guarded() { std::fill(std::begin(bytes), std::end(bytes), untouched); }
  uint8_t *at() { return bytes + 16; }
  std::string text() const { return std::string(reinterpret_cast<const char *>(bytes) + 16, Room); }
  /// Were the first `written` bytes the only ones that changed?
  bool only(size_t written) const {
    for (size_t i = 0; i < sizeof bytes; i++) {
      if ((i < 16 || i >= 16 + written) && bytes[i] != untouched) return false;
    }
    return true;
  }
};

#endif
