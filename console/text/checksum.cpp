// SPDX-License-Identifier: Apache-2.0
#include "console/text/checksum.h"

#include <cstdint>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <fstream>
#include <iterator>

namespace console {

void checksum::add(std::string_view bytes) {
  sha256_update(&state, bytes.size(), reinterpret_cast<const uint8_t *>(bytes.data()));
}

std::string checksum::digits() {
  uint8_t sum[SHA256_DIGEST_SIZE];
  sha256_digest(&state, sizeof sum, sum);
  return fmt::format("{:02x}", fmt::join(sum, ""));
}

std::string version_of_file(const std::string &path) {
  constexpr size_t enough = 16;
  std::ifstream in(path, std::ios::binary);
  std::string content{std::istreambuf_iterator<char>(in), {}};
  if (content.empty()) return "unknown";
  checksum sum;
  sum.add(content);
  return "sha256:" + sum.digits().substr(0, enough);
}

}  // namespace console
