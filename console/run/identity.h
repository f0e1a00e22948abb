// SPDX-License-Identifier: Apache-2.0
// Who was tested, where and with what: the same in every output of a run.
#ifndef CONSOLE_IDENTITY_H
#define CONSOLE_IDENTITY_H

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <utility>
#include <vector>

namespace console {

struct identity {
  std::string serial, station, slot, operator_name;
  std::string plan, plan_version;
  std::string console, library; /**< versions */
  std::string started;          /**< wall-clock time with its zone; "2026-01-31T08:15:00.250+01:00" */
  std::string run;              /**< a UUID, new for each session */
  unsigned attempt = 1;         /**< runs of this plan on this unit, this one included */
  bool given = false;           /**< by options or a station file; outputs show it only then */
};

/** What a person or a station file gives, by the names of the options. */
struct identity_key {
  const char *name;
  std::string identity::*member;
};
inline constexpr identity_key identity_keys[] = {
    {"serial", &identity::serial}, {"station", &identity::station},
    {"slot", &identity::slot},     {"operator", &identity::operator_name},
    {"plan", &identity::plan},     {"plan-version", &identity::plan_version},
};

/** Values of the serial that stand for what the phone reports. */
inline constexpr const char *from_die_id = "from-die-id", *from_upc = "from-upc";

/** Sets a key's value. Throws usage_error, beginning with `called`, if no record could hold it. */
void set_identity(identity &who, const identity_key &key, const std::string &value,
                  const std::string &called);

/** The wall-clock time with its zone, as in identity::started. */
std::string time_with_zone();
/** A random run id. */
std::string new_run_id();

/** The plan of a session without a name of its own: the script's file name. Its folder depends on where the
 * console was started. */
std::string plan_of_session(const std::string &session);

/** The identity as outputs in JSON have it, without the chip. */
nlohmann::ordered_json identity_json(const identity &who);
/** What is known of it, with a name for each value. */
std::vector<std::pair<std::string, std::string>> identity_rows(const identity &who);
/** The same in one line for people. */
std::string identity_text(const identity &who);

}  // namespace console

#endif
