// SPDX-License-Identifier: Apache-2.0
#include "rf_tester/scpi/header.h"

#include "rf_tester/scpi/errors.h"

#include <algorithm>
#include <charconv>

namespace rf_tester::scpi {
namespace {

constexpr size_t longest_mnemonic = 12;
constexpr size_t most_suffix_digits = 6;

bool is_digit(char c) { return c >= '0' && c <= '9'; }
char capital(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; }

bool same(std::string_view a, std::string_view b) {
  return std::ranges::equal(a, b, [](char x, char y) { return capital(x) == capital(y); });
}

int number_of(std::string_view digits) {
  int value = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), value);
  return value;
}

}  // namespace

std::vector<sent_node> split_header(std::string_view header) {
  std::vector<sent_node> nodes;
  if (header.starts_with(':')) header.remove_prefix(1);
  while (!header.empty()) {
    std::string_view word = header.substr(0, header.find(':'));
    header.remove_prefix(std::min(header.size(), word.size() + 1));
    size_t end = word.size();
    while (end > 0 && is_digit(word[end - 1])) end--;
    const std::string_view digits = word.substr(end);
    if (end > longest_mnemonic) throw failure(mnemonic_too_long, std::string(word));
    if (digits.size() > most_suffix_digits) throw failure(suffix_out_of_range, std::string(word));
    nodes.push_back({std::string(word.substr(0, end)), digits.empty() ? -1 : number_of(digits)});
  }
  return nodes;
}

header_pattern::header_pattern(std::string_view spelled) {
  bool optional = false;
  for (size_t i = 0; i < spelled.size();) {
    const char c = spelled[i];
    if (c == '[' || c == ']' || c == ':') {
      if (c != ':') optional = c == '[';
      i++;
      continue;
    }
    node made;
    made.optional = optional;
    const size_t end = std::min(spelled.find_first_of("[]:<", i), spelled.size());
    made.name = spelled.substr(i, end - i);
    std::ranges::copy_if(made.name, std::back_inserter(made.short_form),
                         [](char x) { return x == capital(x); });
    i = end;
    if (i < spelled.size() && spelled[i] == '<') {
      const size_t dash = spelled.find('-', i), close = spelled.find('>', i);
      made.least = number_of(spelled.substr(i + 1, dash - i - 1));
      made.most = number_of(spelled.substr(dash + 1, close - dash - 1));
      i = close + 1;
    }
    nodes_.push_back(made);
  }
}

header_match header_pattern::match_from(size_t i, const std::vector<sent_node> &sent, size_t j,
                                        std::vector<int> &suffixes) const {
  if (i == nodes_.size()) return j == sent.size() ? header_match::yes : header_match::no;
  const node &wanted = nodes_[i];
  header_match found = header_match::no;
  const size_t kept = suffixes.size();
  if (j < sent.size() && (same(sent[j].name, wanted.name) || same(sent[j].name, wanted.short_form)) &&
      (wanted.most > 0 || sent[j].suffix < 0)) {
    const int suffix = sent[j].suffix < 0 ? 1 : sent[j].suffix;
    if (wanted.most > 0) suffixes.push_back(suffix);
    found = match_from(i + 1, sent, j + 1, suffixes);
    if (found == header_match::yes && wanted.most > 0 && (suffix < wanted.least || suffix > wanted.most))
      found = header_match::wrong_suffix;
  }
  if (found != header_match::no || !wanted.optional) return found;
  suffixes.resize(kept);
  if (wanted.most > 0) suffixes.push_back(1);
  return match_from(i + 1, sent, j, suffixes);
}

header_match header_pattern::match(const std::vector<sent_node> &sent, std::vector<int> &suffixes) const {
  suffixes.clear();
  return match_from(0, sent, 0, suffixes);
}

}  // namespace rf_tester::scpi
