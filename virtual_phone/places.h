// SPDX-License-Identifier: Apache-2.0
// The places whose uses are counted, and those among them where a fault can be planned.
#ifndef VIRTUAL_PHONE_PLACES_H
#define VIRTUAL_PHONE_PLACES_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace phone {

enum function : unsigned {
  fn_socket,
  fn_ioctl,
  fn_close,
  fn_fork,
  fn_execl,
  fn_waitpid,
  fn_popen,
  fn_fread,
  fn_pclose,
  fn_open,
  fn_write,
  fn_memcpy_s,
  fn_memset_s,
  fn_strncpy_s,
  fn_snprintf_s,
  fn_sprintf_s,
  fn_sscanf_s,
  fn_kevoOperaNVWR,
  fn_can_fail,  // those from here on are counted only
  fn_sleep = fn_can_fail,
  fn_usleep,
  fn_subchip,
  fn_log,
  fn_count
};

/// Families of places, each with an argument after its colon.
enum family : unsigned {
  family_ioctl,
  family_shell,
  family_nv_read,
  family_nv_write,
  family_nv_lose,
  family_count
};

// Places are numbered: the functions, then driver commands by id, then all others in the order of first use.
constexpr size_t max_named_places = 1024;
constexpr unsigned first_ioctl = fn_count;
constexpr unsigned first_named = first_ioctl + 64;
constexpr unsigned place_count = first_named + max_named_places;

/// A row of the table of places.
struct fault_place {
  const char *name;     // a function, or a family as "ioctl:ID"
  int default_value;    // used for a planned value of 0
  const char *value;    // what a planned value means
  const char *meaning;  // what fails
};

/// The i-th row: the functions that can fail, then the families. Null past the last.
const fault_place *fault_place_at(size_t i);
/// The row that a place like "ioctl:11" belongs to; null if no fault can be planned there.
const fault_place *find_fault_place(std::string_view place);
/// The function with this name, one that is only counted included.
std::optional<function> find_function(std::string_view name);
/// The id in "ioctl:11".
std::optional<unsigned> ioctl_id(std::string_view place);
/// "socket, ioctl, …, nv_lose:NUMBER", for messages.
std::string fault_place_names();

}  // namespace phone

#endif
