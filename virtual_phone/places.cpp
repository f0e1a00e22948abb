// SPDX-License-Identifier: Apache-2.0
#include "places.h"

#include "phone.h"

#include <cerrno>
#include <charconv>
#include <cstdint>
#include <iterator>

namespace phone {
namespace {

#define ERRNO(error)  error, "errno; 0: " #error
#define RESULT(error) error, "the result; 0: " #error
#define NV_CODE       -1, "the service's code; 0: -1"
#define DRIVER        ERRNO(EIO) "; -N: the command succeeds with result N"

constexpr fault_place fault_places[] = {
    {"socket", ERRNO(EMFILE) "; -1000: descriptor 0 instead of a failure", "opening the driver's socket"},
    {"ioctl", DRIVER, "any driver command"},
    {"close", ERRNO(EIO), "closing a descriptor, which is closed all the same"},
    {"fork", ERRNO(EAGAIN), "starting a child process"},
    {"execl", ERRNO(ENOENT), "running the shell in the child"},
    {"waitpid", ERRNO(EINTR), "waiting for the child"},
    {"popen", ERRNO(EMFILE), "starting a command whose output is read"},
    {"fread", ERRNO(EIO), "reading that output"},
    {"pclose", ERRNO(ECHILD), "ending that command, which has ended all the same"},
    {"open", ERRNO(EACCES), "opening the debug node"},
    {"write", ERRNO(EIO), "writing to the debug node"},
    {"memcpy_s", RESULT(EINVAL), "a bounds-checked copy"},
    {"memset_s", RESULT(EINVAL), "a bounds-checked fill"},
    {"strncpy_s", RESULT(EINVAL), "a bounds-checked copy of a text"},
    {"snprintf_s", RESULT(-1), "bounds-checked printing of at most a number of characters"},
    {"sprintf_s", RESULT(-1), "bounds-checked printing"},
    {"sscanf_s", RESULT(-1), "bounds-checked scanning"},
    {"kevoOperaNVWR", NV_CODE, "any access to NV"},
    {"ioctl:ID", DRIVER, "one driver command"},
    {"shell:COMMAND", 1, "the exit status; 0: 1", "one shell command, which does nothing"},
    {"nv_read:NUMBER", NV_CODE, "reading one NV item"},
    {"nv_write:NUMBER", NV_CODE, "writing one NV item"},
    {"nv_lose:NUMBER", 0, "none", "writing one NV item: reported as done, nothing is stored"},
};
constexpr unsigned first_family = fn_can_fail;
static_assert(std::size(fault_places) == first_family + family_count,
              "fault_places has a row for each function up to fn_can_fail and for each family");

constexpr const char *counted_functions[] = {"sleep", "usleep", "get_orva_connectivity_subchip",
                                             "__android_log_print"};
static_assert(std::size(counted_functions) == fn_count - fn_can_fail,
              "counted_functions names each function from fn_can_fail on");

const char *function_name(unsigned place) {
  return place < fn_can_fail ? fault_places[place].name : counted_functions[place - fn_can_fail];
}

std::optional<uint32_t> whole_number(std::string_view text) {
  uint32_t number = 0;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  bool whole = error == std::errc{} && end == text.data() + text.size();
  return whole ? std::optional(number) : std::nullopt;
}

bool takes(unsigned family, std::string_view argument) {
  if (family == family_shell) return !argument.empty();
  auto number = whole_number(argument);
  return number && (family != family_ioctl || *number < first_named - first_ioctl);
}

}  // namespace

const fault_place *fault_place_at(size_t i) {
  return i < std::size(fault_places) ? &fault_places[i] : nullptr;
}

const fault_place *find_fault_place(std::string_view place) {
  if (auto named = find_function(place)) return *named < fn_can_fail ? &fault_places[*named] : nullptr;
  auto prefix = place.substr(0, place.find(':') + 1);
  for (unsigned family = 0; family < family_count; family++) {
    auto &row = fault_places[first_family + family];
    bool is_of_family = !prefix.empty() && std::string_view(row.name).starts_with(prefix);
    if (is_of_family && takes(family, place.substr(prefix.size()))) return &row;
  }
  return nullptr;
}

std::optional<function> find_function(std::string_view name) {
  for (unsigned i = 0; i < fn_count; i++) {
    if (name == function_name(i)) return static_cast<function>(i);
  }
  return std::nullopt;
}

std::optional<unsigned> ioctl_id(std::string_view place) {
  constexpr std::string_view prefix = "ioctl:";
  if (!place.starts_with(prefix) || !takes(family_ioctl, place.substr(prefix.size()))) return std::nullopt;
  return whole_number(place.substr(prefix.size()));
}

std::string fault_place_names() {
  std::string names;
  for (auto &place : fault_places) names += (names.empty() ? "" : ", ") + std::string(place.name);
  return names;
}

}  // namespace phone

const char *phone_fault_place(size_t i, const char **value, const char **meaning) {
  auto *place = phone::fault_place_at(i);
  if (!place) return nullptr;
  if (value) *value = place->value;
  if (meaning) *meaning = place->meaning;
  return place->name;
}
