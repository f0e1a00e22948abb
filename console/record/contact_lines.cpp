// SPDX-License-Identifier: Apache-2.0
#include "console/record/contact_lines.h"

#include "console/phone/contact_kind.h"
#include "console/text/text.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <unistd.h>

namespace console {
namespace {

using phone_link::record_size;

std::string trimmed_hex(const char *bytes, size_t size) {
  while (size > 0 && bytes[size - 1] == 0) --size;
  return hex(bytes, size);
}

/** Replaces descriptors by their order in the call, and process ids by 1. */
class contact_writer {
public:
  json write(const contact &e) {
    const char *fields = "";
    auto *word = phone_event_word(e.kind, &fields, nullptr);
    json line = {{"type", "contact"}, {"kind", word}, {"at_us", e.time_us}};
    for (auto &field : split(fields, ' '))
      if (auto value = field_value(field, e); !field.empty() && !value.is_null()) line[field] = value;
    line["result"] = result_of(e);
    if (e.error) line["errno"] = e.error;
    return line;
  }

  /** A bounds-checked function has a line only if it failed. */
  bool is_worth_a_line(const contact &e) {
    if (e.kind != PHONE_SECURE) return true;
    ++uses[e.name];
    bool prints =
        std::string_view(e.name).find("print") != std::string_view::npos || e.name == std::string("sscanf_s");
    return prints ? e.result < 0 : e.result != 0;
  }

private:
  /** Null for a field without a value, and for a record that could not be read. */
  json field_value(std::string_view field, const contact &e) {
    auto *data = static_cast<const char *>(e.data);
    bool has_record = e.size >= 2 * record_size;
    auto unless_empty = [](const std::string &text) { return text.empty() ? json() : json(text); };
    if (field == "on") return place_of(e.number[0]);
    if (field == "nth") return uses[e.name];
    if (field == "name") return unless_empty(e.name);
    if (field == "text") return unless_empty(e.text);
    if (field == "data") return unless_empty(hex(data, e.size));
    if (field == "command") return has_record ? json(e.number[2]) : json();
    if (field == "sent") return has_record ? json(trimmed_hex(data, record_size)) : json();
    if (field == "left") return has_record ? json(trimmed_hex(data + record_size, record_size)) : json();
    return e.number[0];
  }

  int64_t place_of(int64_t descriptor) {
    auto found = descriptors.find(descriptor);
    return found == descriptors.end() ? -1 : found->second;
  }

  int64_t result_of(const contact &e) {
    bool gives_descriptor = e.kind == PHONE_SOCKET || e.kind == PHONE_OPEN;
    if (gives_descriptor && e.result >= 0) descriptors[e.result] = ++given;
    if (gives_descriptor && e.result > 0) return given;
    return (e.kind == PHONE_FORK || e.kind == PHONE_WAIT) && e.result > 0 ? 1 : e.result;
  }

  std::map<int64_t, int64_t> descriptors;
  int64_t given = 0;
  std::map<std::string, int> uses;
};

/** Moves a child's contacts to its fork: the order in which parent and child run is by chance. */
std::vector<const contact *> in_order(const std::vector<const contact *> &all) {
  std::vector<const contact *> ordered;
  for (auto *e : all) {
    if (e->process != getpid()) continue;
    ordered.push_back(e);
    if (e->kind == PHONE_FORK && e->result > 0)
      std::ranges::copy_if(all, std::back_inserter(ordered),
                           [&](auto *c) { return c->process == e->result; });
  }
  return ordered;
}

}  // namespace

std::vector<json> contact_lines(const std::vector<const contact *> &contacts) {
  contact_writer writer;
  std::vector<json> lines;
  for (auto *e : in_order(contacts))
    if (writer.is_worth_a_line(*e)) lines.push_back(writer.write(*e));
  return lines;
}

json outputs_json(const call_result &result) {
  json outputs = json::object();
  for (auto &o : result.outputs) outputs[o.what->name] = o.value;
  return outputs;
}

}  // namespace console
