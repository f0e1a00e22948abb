// A fresh phone and a freshly loaded library for each test, and views of what the library did.
#ifndef TESTS_PHONE_TEST_H
#define TESTS_PHONE_TEST_H

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "include/wifi_factory_test_orva.h"
#include "virtual_phone/phone.h"

struct chip_case {
  const char *name;  // prefix of the chip's functions
  const char *subchip;
  const char *tag;
  uint32_t magic;
};
extern const chip_case vq2040_case, vq2050_case, vq2040a_case, vq2070_case;
std::ostream &operator<<(std::ostream &out, const chip_case *chip);
std::string name_of_case(const ::testing::TestParamInfo<const chip_case *> &info);

#define ALL_CHIPS ::testing::Values(&vq2040_case, &vq2050_case, &vq2040a_case, &vq2070_case)

/// A driver command as the library sent it.
struct sent_command {
  uint32_t magic, id;
  std::vector<uint8_t> data;  // the record's 256 data bytes
  uint32_t value() const;
};

class PhoneTest : public ::testing::Test {
protected:
  void SetUp() override;
  void TearDown() override;

  /// Fits a chip: "vq2050".
  void fit(const std::string &chip);

  /// A public function of the freshly loaded library: call(PUBLIC(wifi_set_power), 155).
  template <typename Function> Function *function(Function *, const std::string &name) {
    return reinterpret_cast<Function *>(symbol(name));
  }
  /// A back-end function by its name without prefix: back_end<uint32_t(int32_t)>("wifi_set_rate")(6500).
  template <typename Function> Function *back_end(const std::string &name) {
    return reinterpret_cast<Function *>(symbol(chip_ + "_" + name));
  }
  void *symbol(const std::string &name);
  bool has_symbol(const std::string &name);

  /// Sets a key of the phone's description.
  static void set(const std::string &key, const std::string &value);
  /// Plans a fault; the test fails when it never fires.
  static void fail(const std::string &place, unsigned nth = 1, unsigned times = 1, int value = 0);
  /// Lets the driver answer a command with a 32-bit value.
  static void answer(uint32_t command, uint32_t value);

  /// Views of the trace since the last forget().
  static std::vector<sent_command> sent();                 // accepted and refused attempts
  static std::string sent_values();                        // "11=0 2=7 4=1": id=value, a retry counts again
  static std::vector<std::string> logs(int priority = 0);  // "6 text", of one priority or of all
  static bool logged(const std::string &line);             // "6 text" among the logs, exactly
  static std::vector<std::string> shell();                 // commands that shells ran, popen included
  static std::vector<uint32_t> sleeps();                   // microseconds
  /// Every contact in order, one a line: "socket", "ioctl 11 00000000", "ioctl! …" when refused, "close",
  /// "sleep 1000", "log 6 text" ('\n' spelt out), "sh ifconfig wlan0 up = 0", "popen …", "read 340 NAME",
  /// "write 340 NAME text" and "!" behind a name where NV failed.
  static std::string transcript();
  static void forget() { phone_events_clear(); }

  std::string chip_ = "vq2040";

private:
  void *library_ = nullptr;
};

/// The same, once for each chip.
class ChipTest : public PhoneTest, public ::testing::WithParamInterface<const chip_case *> {
protected:
  void SetUp() override;
  const chip_case &chip() const { return *GetParam(); }
  bool is(const chip_case &chip) const { return GetParam() == &chip; }
};

#define PUBLIC(name) function(static_cast<decltype(&name)>(nullptr), #name)

#endif
