// SPDX-License-Identifier: Apache-2.0
// Cuts a client's bytes into lines, within bounded memory.
#ifndef RF_TESTER_SCPI_MESSAGE_BUFFER_H
#define RF_TESTER_SCPI_MESSAGE_BUFFER_H

#include <optional>
#include <string>
#include <string_view>

namespace rf_tester::scpi {

class message_buffer {
public:
  /** Octets that a line may have. */
  static constexpr size_t longest = 65536;

  struct line {
    /** Without the newline and a carriage return before it. */
    std::string text;
    /** The line was too long; its text is dropped. */
    bool overrun = false;
  };

  /** Takes bytes. Call next() until it gives nothing before more are added, so that little is kept. */
  void add(std::string_view bytes) { bytes_.append(bytes); }
  /** The next line. An overrun is given as soon as it is certain, and the rest of that line is dropped. */
  std::optional<line> next();

private:
  std::string bytes_;
  bool dropping_ = false;
};

}  // namespace rf_tester::scpi

#endif
