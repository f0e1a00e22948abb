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
    json line = {{"type", "contact"}, {"kind", contact_name(e.kind)}, {"at_us", e.time_us}};
    if (e.kind == PHONE_IOCTL) add_request(line, e);
    if (e.kind == PHONE_CLOSE) line["on"] = place_of(e.number[0]);
    if (e.kind == PHONE_SLEEP) line["us"] = e.number[0];
    if (e.kind == PHONE_LOG) line["priority"] = e.number[0];
    if (e.kind == PHONE_WAIT) line["status"] = e.number[0];
    if (e.kind == PHONE_NV_READ || e.kind == PHONE_NV_WRITE) line["number"] = e.number[0];
    if (e.kind == PHONE_SECURE) line["nth"] = uses[e.name];
    if (*e.name) line["name"] = e.name;
    if (*e.text) line["text"] = e.text;
    if (e.kind != PHONE_IOCTL && e.size) line["data"] = hex(e.data, e.size);
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
  void add_request(json &line, const contact &e) {
    line["on"] = place_of(e.number[0]);
    if (e.size < 2 * record_size) return;
    auto *sent = static_cast<const char *>(e.data);
    line["command"] = e.number[2];
    line["sent"] = trimmed_hex(sent, record_size);
    line["left"] = trimmed_hex(sent + record_size, record_size);
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
