// SPDX-License-Identifier: Apache-2.0
#include "console/phone/trace_view.h"

#include "console/phone/contact_kind.h"
#include "console/phone/log_priority.h"
#include "console/phone/phone_link.h"
#include "console/text/text.h"

#include <algorithm>
#include <fmt/format.h>
#include <span>

namespace console {
namespace {

std::string what(const contact &e) {
  switch (e.kind) {
  case PHONE_IOCTL: return fmt::format("fd {} command {}", e.number[0], e.number[2]);
  case PHONE_CLOSE: return fmt::format("fd {}", e.number[0]);
  case PHONE_SLEEP: return fmt::format("{} us", e.number[0]);
  case PHONE_NV_READ:
  case PHONE_NV_WRITE: return fmt::format("{} {}", e.number[0], e.name);
  case PHONE_LOG: return fmt::format("{} {}: {}", e.number[0], e.name, trim_end(e.text));
  default: return *e.text ? e.text : e.name;
  }
}

}  // namespace

std::string trace_text(size_t count) {
  std::string text;
  auto all = phone_link::contacts();
  for (auto *e : std::span(all).first(std::min(count, all.size())))
    text += fmt::format("{:>12.6f}  {:<9}{} -> {}\n", static_cast<double>(e->time_us) / 1e6,
                        contact_name(e->kind), what(*e), e->result);
  return text;
}

std::string log_text(int least_priority) {
  std::string text;
  for (auto *e : phone_link::contacts())
    if (e->kind == PHONE_LOG && e->number[0] >= least_priority)
      text += fmt::format("{}/{}: {}\n", log_letter(e->number[0]), e->name, trim_end(e->text));
  return text;
}

}  // namespace console
