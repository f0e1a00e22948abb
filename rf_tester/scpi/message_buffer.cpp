// SPDX-License-Identifier: Apache-2.0
#include "rf_tester/scpi/message_buffer.h"

namespace rf_tester::scpi {

std::optional<message_buffer::line> message_buffer::next() {
  auto end = bytes_.find('\n');
  if (dropping_) {
    bytes_.erase(0, end == std::string::npos ? end : end + 1);
    dropping_ = end == std::string::npos;
    if (dropping_) return std::nullopt;
    end = bytes_.find('\n');
  }
  if (end == std::string::npos) {
    if (bytes_.size() <= longest) return std::nullopt;
    bytes_.clear();
    dropping_ = true;
    return line{"", true};
  }
  line found{bytes_.substr(0, end)};
  bytes_.erase(0, end + 1);
  if (found.text.size() > longest) return line{"", true};
  if (found.text.ends_with('\r')) found.text.pop_back();
  return found;
}

}  // namespace rf_tester::scpi
