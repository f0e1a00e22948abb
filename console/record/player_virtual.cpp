// SPDX-License-Identifier: Apache-2.0
#include "console/record/player.h"

#include "console/phone/contact_kind.h"
#include "console/phone/phone_link.h"
#include "script.h"

namespace console::player {
namespace {

using phone_link::record_size;

std::string bytes_of(const json &c, const char *field, size_t size = 0) {
  auto bytes = unhex(c.value(field, ""));
  if (size) bytes.resize(size);
  return bytes;
}

void plan_contact(const json &c) {
  auto kind = contact_kind(c.at("kind"));
  auto data = kind == PHONE_IOCTL && c.contains("left")
                  ? bytes_of(c, "sent", record_size) + bytes_of(c, "left", record_size)
                  : bytes_of(c, "data");
  contact e{};
  e.kind = kind;
  e.result = c.at("result").get<int64_t>();
  e.error = c.value("errno", 0);
  e.number[0] = kind == PHONE_WAIT ? c.value("status", 0) : 0;
  e.name = e.text = "";
  e.data = data.data();
  e.size = data.size();
  phone_script(&e);
}

}  // namespace

bool available() { return true; }
void watch_all() { phone_trace_secure(1); }

void plan(const recorded_call &call) {
  phone_script_clear();
  phone_faults_clear();
  for (auto &c : call.contacts)
    if (c.at("kind") != "secure")
      plan_contact(c);
    else
      phone_fault(c.at("name").get<std::string>().c_str(), c.at("nth").get<unsigned>(), 1,
                  c.at("result").get<int>());
}

}  // namespace console::player
