// SPDX-License-Identifier: Apache-2.0
// A recording: every call and every contact with the phone, as JSON lines. docs/reference/trace.md describes
// the format.
#ifndef CONSOLE_RECORDING_H
#define CONSOLE_RECORDING_H

#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

namespace console {

using json = nlohmann::ordered_json;

inline constexpr int recording_version = 1;

struct recorded_call {
  int line = 0; /**< in the file */
  std::string chip;
  bool fresh = false; /**< the library was newly loaded before this call */
  std::string function;
  std::vector<std::string> arguments;
  std::vector<json> contacts;
  std::string result;
  json outputs;
  size_t dropped = 0; /**< contacts after those recorded, too many to be kept */
};

struct recording {
  std::string path;
  std::vector<recorded_call> calls;
  std::set<std::string> without; /**< kinds of contact that whoever recorded could not see */
};

/** Throws usage_error with file and line. */
recording read_recording(const std::string &path);

/** A contact in one line. */
std::string describe_contact(const json &contact);
/** "wifi_set_power 155" */
std::string call_text(const recorded_call &call);

/** Hexadecimal digits to bytes; throws usage_error. */
std::string unhex(const std::string &digits);
}  // namespace console

#endif
