// SPDX-License-Identifier: Apache-2.0
// Lines over TCP to an RF test set: the phone's end of a cable, and the console's connection to the
// instrument.
//
// All waiting is on the real clock and none of it is a contact with the phone: the calls used here pass the
// phone's own system calls by. Functions return "" or what went wrong.
#ifndef VIRTUAL_PHONE_RF_LINE_SOCKET_H
#define VIRTUAL_PHONE_RF_LINE_SOCKET_H

#include <cstdint>
#include <string>
#include <string_view>

namespace phone::rf {

/// When waiting ends.
class deadline {
public:
  /// stopped: ends the waiting early once it returns true; asked several times a second.
  explicit deadline(int64_t milliseconds, bool (*stopped)() = nullptr);
  int left_ms() const;
  bool is_stopped() const { return stopped_ && stopped_(); }
  /// "no answer within 2 s"
  std::string missed() const;

private:
  int64_t patience_ms_, end_;
  bool (*stopped_)();
};

/// Connects to the first of the host's addresses that answers; each gets its time.
std::string open_line_socket(const std::string &host, const std::string &service, int64_t patience_ms,
                             int &descriptor);
std::string send_line(int descriptor, std::string_view line, const deadline &until);
/// Reads up to the newline, which must be the last byte there is: a test set only ever answers.
std::string read_line(int descriptor, std::string &line, const deadline &until);

}  // namespace phone::rf

#endif
