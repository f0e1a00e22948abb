// SPDX-License-Identifier: Apache-2.0
// SHA-256.
#ifndef CONSOLE_CHECKSUM_H
#define CONSOLE_CHECKSUM_H

#include <nettle/sha2.h>
#include <string>
#include <string_view>

namespace console {

class checksum {
public:
  checksum() { sha256_init(&state); }
  void add(std::string_view bytes);
  /** In lower-case hexadecimal. Ends the sum. */
  std::string digits();

private:
  sha256_ctx state;
};

/** A version for a file that has none of its own: "sha256:" and the first digits of its checksum; "unknown"
 * if it cannot be read. */
std::string version_of_file(const std::string &path);

}  // namespace console

#endif
