// SPDX-License-Identifier: Apache-2.0
// The library, freshly loaded on a virtual phone that was just switched on.
#ifndef TESTS_SUPPORT_BENCH_H
#define TESTS_SUPPORT_BENCH_H

#include <cstdint>
#include <string>

namespace support {

/// What has to be true of the phone and the library before an operation.
enum class before { nothing, settings, open_socket, test_mode, transmitting, receiving, ru_test, calibrated };

/// Fills NV with a calibration block (340 "WINVRAM") and with items of every family.
void store_calibration();

class bench {
public:
  /// Exits with 2 and a message where the chip is unknown or the library cannot be loaded.
  explicit bench(const std::string &chip);
  ~bench();
  bench(const bench &) = delete;
  bench &operator=(const bench &) = delete;

  /// Sets a key of the phone; exits with 2 and the phone's message where it is refused.
  static void set(const std::string &key, const std::string &value);

  const std::string &chip() const { return chip_; }
  /// An exported function; null where there is none.
  void *find(const std::string &name) const;
  void prepare(before needs) const;

  template <typename... Arguments> uint32_t call(const char *name, Arguments... arguments) const {
    return reinterpret_cast<uint32_t (*)(Arguments...)>(find(name))(arguments...);
  }

private:
  void enter_test_mode() const;

  std::string chip_;
  void *handle_;
};

}  // namespace support

#endif
