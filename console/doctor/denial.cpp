// SPDX-License-Identifier: Apache-2.0
#include "console/doctor/denial.h"

#include "console/doctor/process.h"
#include "console/text/text.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <fmt/format.h>
#include <sstream>
#include <unistd.h>

namespace console {
namespace {

/** Words with one blank between them; the kernel pads its audit lines. */
std::string single_spaced(const std::string &line) {
  std::istringstream words(line);
  std::string text;
  for (std::string word; words >> word;) text += text.empty() ? word : " " + word;
  return text;
}

bool has(const std::string &line, const std::string &part) { return line.find(part) != line.npos; }

/** Older kernels write the request without 0x. */
bool is_denial(const std::string &line, const access_sought &sought, const std::string &domain) {
  auto permissions = line.substr(std::min(line.find('{'), line.size()));
  permissions.resize(std::min(permissions.find('}'), permissions.size()));
  return has(line, "avc: denied") && has(permissions, fmt::format(" {} ", sought.permission)) &&
         has(line + " ", fmt::format("tclass={} ", sought.object_class)) &&
         has(line, fmt::format("scontext={} ", domain)) &&
         (!sought.request || has(line, fmt::format("ioctlcmd=0x{:x} ", *sought.request)) ||
          has(line, fmt::format("ioctlcmd={:x} ", *sought.request)));
}

}  // namespace

std::string access_sought::search() const {
  auto number = request ? fmt::format(".*ioctlcmd=(0x)?{:x}", *request) : "";
  return fmt::format("dmesg | grep -E 'avc: +denied +\\{{ .*{}.* \\}}{}.*tclass={}'", permission, number,
                     object_class);
}

/** Each read of the device gives one record, "PRIORITY,NUMBER,TIME,FLAGS;TEXT". EPIPE tells of records lost.
 */
std::optional<std::string> read_kernel_log(const std::string &path) {
  int log = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (log < 0) return std::nullopt;
  std::string text;
  char record[8192];
  ssize_t count;
  while ((count = read(log, record, sizeof record)) > 0 || (count < 0 && (errno == EPIPE || errno == EINTR)))
    if (count > 0) text.append(record, static_cast<size_t>(count));
  bool readable = count == 0 || errno == EAGAIN;
  close(log);
  return readable ? std::optional(text) : std::nullopt;
}

std::string last_denial(const std::string &log, const access_sought &sought, const std::string &domain) {
  std::istringstream lines(log);
  std::string last;
  for (std::string line; std::getline(lines, line);)
    if (auto tidy = single_spaced(line); is_denial(tidy, sought, domain))
      last = tidy.substr(tidy.find("avc:"));
  return last;
}

static finding without_denial(finding f, const access_sought &sought, const std::string &domain,
                              bool readable, const std::string &log_file) {
  f.why =
      readable
          ? fmt::format("the kernel log has no denial of {} on {} to {}: file permissions, or a line lost",
                        sought.permission, sought.object_class, domain)
          : fmt::format("SELinux, most likely; {} cannot be read here, so its denial is not shown", log_file);
  f.cure = fmt::format("as root, look for the line avc: denied {{ {} }} … scontext={} … tclass={}",
                       sought.permission, domain, sought.object_class);
  return f;
}

/** SELinux answers EACCES, but EPERM if it withholds a capability that a check in the kernel asks for. */
finding explain_denial(finding f, int error, const access_sought &wanted, const system_files &files) {
  if (error != EACCES && error != EPERM) return f;
  constexpr access_sought net_admin = {"net_admin", "capability"};
  auto &sought = error == EPERM ? net_admin : wanted;
  f.check = sought.search();
  auto domain = own_domain(files);
  if (domain.empty()) return f;
  auto log = read_kernel_log(files.kernel_log);
  auto denial = log ? last_denial(*log, sought, domain) : "";
  if (denial.empty())
    return error == EPERM ? f
                          : without_denial(std::move(f), sought, domain, log.has_value(), files.kernel_log);
  f.why = "SELinux refused it: " + denial;
  f.cure = "run in the domain of android/sepolicy, or allow this access there";
  return f;
}

}  // namespace console
