// SPDX-License-Identifier: Apache-2.0
#include "console/doctor/process.h"

#include "console/text/text.h"

#include <bit>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <fstream>
#include <grp.h>
#include <iterator>
#include <pwd.h>
#include <sstream>

namespace console {
namespace {

/** In the kernel's numbering, see capabilities(7). */
constexpr const char *capabilities[] = {"CHOWN",
                                        "DAC_OVERRIDE",
                                        "DAC_READ_SEARCH",
                                        "FOWNER",
                                        "FSETID",
                                        "KILL",
                                        "SETGID",
                                        "SETUID",
                                        "SETPCAP",
                                        "LINUX_IMMUTABLE",
                                        "NET_BIND_SERVICE",
                                        "NET_BROADCAST",
                                        "NET_ADMIN",
                                        "NET_RAW",
                                        "IPC_LOCK",
                                        "IPC_OWNER",
                                        "SYS_MODULE",
                                        "SYS_RAWIO",
                                        "SYS_CHROOT",
                                        "SYS_PTRACE",
                                        "SYS_PACCT",
                                        "SYS_ADMIN",
                                        "SYS_BOOT",
                                        "SYS_NICE",
                                        "SYS_RESOURCE",
                                        "SYS_TIME",
                                        "SYS_TTY_CONFIG",
                                        "MKNOD",
                                        "LEASE",
                                        "AUDIT_WRITE",
                                        "AUDIT_CONTROL",
                                        "SETFCAP",
                                        "MAC_OVERRIDE",
                                        "MAC_ADMIN",
                                        "SYSLOG",
                                        "WAKE_ALARM",
                                        "BLOCK_SUSPEND",
                                        "AUDIT_READ",
                                        "PERFMON",
                                        "BPF",
                                        "CHECKPOINT_RESTORE"};
constexpr uint64_t net_admin = 1 << 12;

using words_t = std::vector<std::string>;

/** The values of a line such as "Uid:  0  0  0  0" in the process's status. */
words_t status_values(const system_files &files, const std::string &key) {
  std::istringstream lines(text_of_file(files.proc + "/self/status"));
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string first;
    if (words >> first && first == key + ":") return {std::istream_iterator<std::string>(words), {}};
  }
  return {};
}

template <class Entry> std::string with_name(const std::string &id, const Entry *entry, char *Entry::*name) {
  return entry ? fmt::format("{} ({})", id, entry->*name) : id;
}

std::string user(const std::string &id) {
  return with_name(id, getpwuid(static_cast<uid_t>(std::stoul(id))), &passwd::pw_name);
}

std::string group(const std::string &id) {
  return with_name(id, getgrgid(static_cast<gid_t>(std::stoul(id))), &::group::gr_name);
}

std::string capability_name(unsigned bit) {
  return bit < std::size(capabilities) ? fmt::format("CAP_{}", capabilities[bit]) : std::to_string(bit);
}

finding unreadable_status(const char *what, const system_files &files) {
  return unknown(what, "not readable", fmt::format("{}/self/status cannot be read", files.proc),
                 "mount the process file system: mount -t proc proc /proc");
}

/** The second of the four ids is the effective one. */
finding examine_user(const system_files &files) {
  auto uid = status_values(files, "Uid"), gid = status_values(files, "Gid");
  if (uid.size() < 2 || gid.size() < 2) return unreadable_status("user", files);
  words_t groups;
  for (auto &id : status_values(files, "Groups")) groups.push_back(group(id));
  return good("user", fmt::format("uid {}, gid {}, {}", user(uid[1]), group(gid[1]),
                                  groups.empty() ? "no further groups"
                                                 : fmt::format("groups {}", fmt::join(groups, " "))));
}

finding examine_capabilities(const system_files &files) {
  constexpr const char *what = "capabilities";
  auto effective = status_values(files, "CapEff");
  if (effective.size() != 1) return unreadable_status(what, files);
  auto mask = std::stoull(effective[0], nullptr, 16);
  if (mask & net_admin) return good(what, capability_names(mask));
  return missing(what, {fmt::format("{}; CAP_NET_ADMIN is not among them", capability_names(mask)),
                        "ifconfig changes wlan0, and drivers take test commands, only with CAP_NET_ADMIN",
                        "run as root (adb root), or start the tool from an init service with \"capabilities "
                        "NET_ADMIN\""});
}

finding examine_selinux(const system_files &files) {
  constexpr const char *what = "SELinux";
  auto domain = own_domain(files), enforce = text_of_file(files.sys + "/fs/selinux/enforce");
  if (domain.empty()) return good(what, "not in this kernel");
  if (enforce == "1") return good(what, fmt::format("enforcing, domain {}", domain));
  if (enforce == "0")
    return good(what, fmt::format("permissive, domain {}: denials are logged only", domain));
  return unknown(what, fmt::format("domain {}", domain),
                 fmt::format("{}/fs/selinux/enforce cannot be read in this domain", files.sys),
                 "ask adb's shell: getenforce");
}

}  // namespace

/** Without SELinux a read of attr/current fails; operator<< turns that into an empty text, an iterator would
 * throw. */
std::string text_of_file(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream read;
  read << in.rdbuf();
  auto text = read.str();
  while (!text.empty() && text.back() == '\0') text.pop_back();
  return std::string(trim_end(text));
}

std::string capability_names(uint64_t mask) {
  constexpr uint64_t all = (uint64_t{1} << std::size(capabilities)) - 1;
  if ((mask & all) == all) return "all";
  constexpr int most = std::size(capabilities) / 2;
  bool lists_absent = std::popcount(mask) > most;
  words_t names;
  for (unsigned bit = 0; bit < 64; ++bit)
    if (bool held = mask >> bit & 1; held != lists_absent && (held || bit < std::size(capabilities)))
      names.push_back(capability_name(bit));
  if (names.empty()) return "none";
  return fmt::format("{}{}", lists_absent ? "all but " : "", fmt::join(names, " "));
}

/** Other security modules show their own names in this file; only SELinux's have colons. */
std::string own_domain(const system_files &files) {
  auto context = text_of_file(files.proc + "/self/attr/current");
  return context.find(':') == context.npos ? "" : context;
}

std::vector<finding> examine_process(const system_files &files) {
  return {examine_user(files), examine_capabilities(files), examine_selinux(files)};
}

}  // namespace console
