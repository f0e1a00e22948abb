// SPDX-License-Identifier: Apache-2.0
// Reporters: a table for people, JSON lines for programs, JUnit for CI.
#ifndef CONSOLE_OUTPUT_H
#define CONSOLE_OUTPUT_H

#include "console/run/reporter.h"

#include <cstdio>
#include <functional>
#include <memory>
#include <nlohmann/json_fwd.hpp>

namespace console {

enum class detail { quiet, brief, full };

struct text_style {
  detail how_much = detail::full;
  bool colour = false;
  bool progress_bar = false;  /**< moves the cursor */
  bool at_prompt = false;     /**< each session shows its verdict at its end */
  bool several_chips = false; /**< sessions, failures and verdicts name their chip */
};
std::shared_ptr<reporter> make_text_reporter(FILE *to, const text_style &style);
std::shared_ptr<reporter> make_json_reporter(FILE *to);
/** Hands over the objects that make_json_reporter prints. */
std::shared_ptr<reporter> make_event_reporter(std::function<void(nlohmann::ordered_json &&)> sink);
/** Throws usage_error if the file cannot be written. */
std::shared_ptr<reporter> make_junit_reporter(const std::string &path);

/** "wifi_set_power 155" */
std::string call_text(const call_step &step);

}  // namespace console

#endif
