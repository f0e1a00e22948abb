// SPDX-License-Identifier: Apache-2.0
// Headers of commands: what a table row spells as "[SENSe]:CORRection:PORT<1-8>[:LOSS]", compared with what
// was sent.
#ifndef RF_TESTER_SCPI_HEADER_H
#define RF_TESTER_SCPI_HEADER_H

#include <string>
#include <string_view>
#include <vector>

namespace rf_tester::scpi {

/** One node as sent: "PORT3". */
struct sent_node {
  std::string name;
  /** -1 where none was sent. */
  int suffix = -1;
};

/** Splits a header at its colons. Throws failure for a node that is too long. */
std::vector<sent_node> split_header(std::string_view header);

enum class header_match { no, wrong_suffix, yes };

class header_pattern {
public:
  /** Capitals are the short form, brackets hold nodes that may be left out, `<1-8>` is a suffix and its
   * range. */
  explicit header_pattern(std::string_view spelled);
  /** Compares in either form, without regard to case. `suffixes` gets one number for each node with a range,
     1 where none was sent. */
  header_match match(const std::vector<sent_node> &sent, std::vector<int> &suffixes) const;

private:
  struct node {
    std::string name, short_form;
    bool optional = false;
    int least = 0, most = 0;  // most is 0 where the node has no suffix
  };
  header_match match_from(size_t i, const std::vector<sent_node> &sent, size_t j,
                          std::vector<int> &suffixes) const;

  std::vector<node> nodes_;
};

}  // namespace rf_tester::scpi

#endif
