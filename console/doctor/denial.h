// SPDX-License-Identifier: Apache-2.0
// Finds the kernel log's line about an access that SELinux refused.
#ifndef CONSOLE_DENIAL_H
#define CONSOLE_DENIAL_H

#include "console/doctor/finding.h"
#include "console/doctor/system_files.h"

#include <optional>
#include <string>

namespace console {

/** An access, in the words of a policy: the permission, the object's class, and for ioctl its number. */
struct access_sought {
  const char *permission;
  const char *object_class;
  std::optional<unsigned> request = std::nullopt;

  /** The command that shows the denials of this access. */
  std::string search() const;
};

/** The records in the kernel's ring buffer, one per line; nothing if it may not be read. */
std::optional<std::string> read_kernel_log(const std::string &path);

/** The last denial of this access to the domain, from "avc:" on; "" if there is none. */
std::string last_denial(const std::string &log, const access_sought &sought, const std::string &domain);

/**
 * Adds to a finding about EACCES what the kernel log says about the access, and to one about EPERM what it
 * says about CAP_NET_ADMIN. Other findings return as they are.
 */
finding explain_denial(finding f, int error, const access_sought &wanted, const system_files &files);

}  // namespace console

#endif
