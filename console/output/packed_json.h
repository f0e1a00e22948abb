// SPDX-License-Identifier: Apache-2.0
// JSON values in a compact form, for the report: the calls of a long session are much alike.
#ifndef CONSOLE_PACKED_JSON_H
#define CONSOLE_PACKED_JSON_H

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <unordered_map>

namespace console {

/**
 * Writes one JSON array with an entry on each line. Entries without an array are values, numbered from 0 in
 * their order; each is written once, however often it occurs:
 *
 *     "text", 5, true, null          a scalar
 *     {"list":[3,0]}                 an array of the values 3 and 0
 *     {"keys":7,"values":[3,0]}      an object; value 7 is the array of its keys
 *
 * An entry that is an array is an event: [value, number...]. The numbers are the event's own and are not
 * shared.
 * "<" is escaped, so that no entry can end an HTML element.
 */
class packed_json {
public:
  using json = nlohmann::ordered_json;

  explicit packed_json(std::function<void(std::string_view)> sink) : write(std::move(sink)) {}
  void add_event(const json &event, std::initializer_list<int64_t> own = {});
  /** Ends the array. */
  void finish();

private:
  using numbers = std::unordered_map<std::string, size_t>;

  size_t number_of(const json &value);
  size_t number_of_string(const std::string &text);
  size_t number_of_keys(const json &object);
  size_t number_of_entry(const std::string &entry);
  void write_entry(const std::string &entry);

  std::function<void(std::string_view)> write;
  numbers strings, shapes, others; /**< keyed by the text, by the keys, by the entry */
  size_t values = 0;
  bool first = true;
};

}  // namespace console

#endif
