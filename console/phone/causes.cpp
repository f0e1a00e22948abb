// SPDX-License-Identifier: Apache-2.0
#include "console/phone/causes.h"

#include "console/text/text.h"
#include "console/text/within.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <set>

namespace console {
namespace {

struct error_row {
  int error;
  const char *name;
  const char *why;
  const char *cure;
};

constexpr error_row errors[] = {
    {ENODEV, "ENODEV", "there is no wlan0, or nothing drives it",
     "load the WLAN driver and its firmware; see that dmesg tells of wlan0"},
    {EOPNOTSUPP, "EOPNOTSUPP", "the driver does not know this request",
     "use a driver built for the factory test, and see that it is the one of the fitted chip"},
    {ENOTTY, "ENOTTY", "the driver has no private requests",
     "use a driver built for the factory test; the one loaded is an ordinary one"},
    {EINVAL, "EINVAL", "the driver took the request for another chip's, or for a bad one",
     "compare the fitted chip with what the phone reports (the line \"chip\")"},
    {EPERM, "EPERM", "this process may not do it", "run as root, or with the capability CAP_NET_ADMIN"},
    {EACCES, "EACCES", "this process has no permission",
     "run as root; if it is root, the SELinux policy forbids it: see the audit lines in dmesg"},
    {ENETDOWN, "ENETDOWN", "wlan0 is down", "start test mode first, or take wlan0 up: ifconfig wlan0 up"},
    {EFAULT, "EFAULT", "the record does not lie where the driver looks for it",
     "library and kernel must both be 64-bit; the driver must read a 40-byte interface request"},
    {EIO, "EIO", "the driver or the chip's firmware failed",
     "look into dmesg for the firmware's own words; switch the phone off and on"},
    {ETIMEDOUT, "ETIMEDOUT", "the chip did not answer in time",
     "check the chip's supply and its bus; switch the phone off and on"},
    {EBUSY, "EBUSY", "another program uses it", "stop the WLAN service: svc wifi disable"},
    {ENOENT, "ENOENT", "the file is not there", "see that the phone's image has it"},
    {ENOMEM, "ENOMEM", "memory has run out", "end other programs, or switch the phone off and on"},
    {EMFILE, "EMFILE", "this process has too many files open", "end the test tool and start it again"},
    {ENFILE, "ENFILE", "the phone has too many files open",
     "end other programs, or switch the phone off and on"},
    {EAGAIN, "EAGAIN", "no further process can be started",
     "end other programs, or switch the phone off and on"},
    {EAFNOSUPPORT, "EAFNOSUPPORT", "the kernel has no IPv4", "build the kernel with its network on"},
    {ECHILD, "ECHILD", "the shell's child process was taken by somebody else",
     "the test tool must neither ignore SIGCHLD nor wait for children that are not its own"},
    {EINTR, "EINTR", "a signal came between", "call again; block the test tool's timers during a call"},
};

struct status_row {
  int64_t status;
  const char *why;
  const char *cure;
};

constexpr status_row statuses[] = {
    {1, "the program ran and reported a failure",
     "run the command by hand in the phone's shell and read what it says"},
    {2, "the shell or the program did not understand the command",
     "run the command by hand in the phone's shell and read what it says"},
    {126, "the program may not be run", "set its execute permission; see the SELinux audit lines in dmesg"},
    {127, "the phone has no such program",
     "put the program into the phone's image, where the shell's PATH finds it"},
    {255, "the supplicant did not answer, or refused", "start the supplicant: svc wifi enable"},
};

struct nv_row {
  int64_t code;
  const char *why;
  const char *cure;
};

constexpr nv_row nv_codes[] = {
    {-1, "the NV service did not do it", "see that the NV service runs and that its partition is mounted"},
    {1, "the NV service did not take the request",
     "see that this phone's NV layout has the item, with 104 bytes"},
    {2, "the NV store cannot be used", "see that its partition is mounted, can be written and has room"},
};

/** A setting without which no channel can be sent, looked at in this order. */
struct setting_row {
  const char *logged; /**< text in the log before the value, which ends at "]" */
  const char *usable; /**< limits of values that cannot be the cause */
  const char *unset;  /**< the value if it was never set */
  const char *what;
  const char *setter;
  const char *why;
  const char *cure;
};

constexpr const char *no_channel_log = "*wifi_ioctl_set_channel fail*";
constexpr setting_row settings_to_start[] = {
    {"wifi_ioctl_set_band::band[", "0..3", "-1", "bandwidth", "wifi_set_band",
     "the library knows no such bandwidth",
     "give wifi_set_band 0 for 20 MHz, 1 for 40, 2 for 80 or 3 for 160"},
    {"frequency[", "", "0", "channel in MHz", "wifi_set_channel",
     "there is no such channel at this bandwidth",
     "give wifi_set_channel 2412 to 2472 in steps of 5 (20 or 40 MHz), 2484, or 5180 to 5825 in steps of 5"},
};

/** The value that the log gives in brackets; "" if no line has it. */
std::string logged_value(const observed &seen, const std::string &before) {
  for (auto &line : seen.log)
    if (auto at = line.text.find(before); at != line.text.npos) {
      auto from = at + before.size();
      return line.text.substr(from, line.text.find(']', from) - from);
    }
  return "";
}

std::vector<likely_cause> unusable_settings(const observed &seen) {
  if (std::ranges::none_of(seen.log, [](auto &line) { return glob(no_channel_log, line.text); })) return {};
  for (auto &row : settings_to_start) {
    auto value = logged_value(seen, row.logged);
    if (value.empty() || (*row.usable && within(row.usable, value))) continue;
    if (value == row.unset)
      return {
          {{"not set", fmt::format("{} was not called before the start", row.setter), row.cure}, row.what}};
    return {{{value, row.why, row.cure}, row.what}};
  }
  return {};
}

}  // namespace

cause cause_of_error(int error) {
  auto row = std::ranges::find(errors, error, &error_row::error);
  if (row != std::end(errors)) return {row->name, row->why, row->cure};
  return {fmt::format("errno {}", error), fmt::format("the system says \"{}\"", strerror(error)),
          "look into dmesg for more"};
}

cause cause_of_status(int64_t status) {
  auto row = std::ranges::find(statuses, status, &status_row::status);
  auto name = fmt::format("exit status {}", status);
  if (row != std::end(statuses)) return {name, row->why, row->cure};
  return {name, "the program ran and reported a failure of its own",
          "run the command by hand in the phone's shell and read what it says"};
}

cause cause_of_nv(int64_t code) {
  auto row = std::ranges::find(nv_codes, code, &nv_row::code);
  auto name = fmt::format("code {}", code);
  if (row != std::end(nv_codes)) return {name, row->why, row->cure};
  return {name, "the NV service reports a failure of its own",
          "look its code up in the papers of the phone's NV service"};
}

cause cause_of(const trouble &t) {
  switch (t.kind) {
  case trouble_kind::error: return cause_of_error(static_cast<int>(t.number));
  case trouble_kind::status: return cause_of_status(t.number);
  default: return cause_of_nv(t.number);
  }
}

std::string likely_cause::text() const { return fmt::format("{}: {}: {}. Cure: {}.", what, name, why, cure); }

std::vector<likely_cause> likely_causes(const observed &seen) {
  constexpr size_t enough = 3;
  std::vector<likely_cause> causes;
  std::set<std::pair<trouble_kind, int64_t>> listed;
  for (auto &t : seen.troubles)
    if (causes.size() < enough && listed.insert({t.kind, t.number}).second)
      causes.push_back({cause_of(t), t.what});
  return causes.empty() ? unusable_settings(seen) : causes;
}

}  // namespace console
