// SPDX-License-Identifier: Apache-2.0
/* A session written down: every call and every contact with the phone, as JSON lines. docs/trace.md has the
 * format. */
#ifndef CONSOLE_RECORDING_H
#define CONSOLE_RECORDING_H

#include "console/phone/phone_link.h"
#include "console/run/reporter.h"

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace console {

using json = nlohmann::ordered_json;

struct recorded_call {
  int line = 0; /**< in the file */
  std::string chip;
  bool fresh = false; /**< the library was loaded anew before this call */
  std::string function;
  std::vector<std::string> arguments;
  std::vector<json> contacts;
  std::string result;
  json outputs;
};

struct recording {
  std::string path;
  std::vector<recorded_call> calls;
};

/** Throws usage_error that names file and line, and says what would be right. */
recording read_recording(const std::string &path);

/**
 * A call's contacts as they are written: descriptors and children by their order, what a child did right
 * behind its fork, so that two runs of the same give the same.
 */
std::vector<json> contact_lines(const std::vector<const contact *> &contacts);

/** "driver command 12: sent …" */
std::string describe_contact(const json &contact);
/** "wifi_set_power 155" */
std::string call_text(const recorded_call &call);

json outputs_json(const call_result &result);

/** The bytes of hexadecimal digits; throws usage_error. */
std::string unhex(const std::string &digits);
std::shared_ptr<reporter> make_trace_reporter(const std::string &path);

}  // namespace console

#endif
