// SPDX-License-Identifier: Apache-2.0
// Who this process is to the kernel: user, capabilities, SELinux domain.
#ifndef CONSOLE_PROCESS_H
#define CONSOLE_PROCESS_H

#include "console/doctor/finding.h"
#include "console/doctor/system_files.h"

#include <cstdint>
#include <vector>

namespace console {

/** "CAP_NET_ADMIN CAP_NET_RAW", "all but CAP_BPF", "all" or "none". A bit without a name is given as its
 * number. */
std::string capability_names(uint64_t mask);

/** The domain of this process, as "u:r:shell:s0"; "" on a kernel without SELinux. */
std::string own_domain(const system_files &files);

/** Findings "user", "capabilities" and "SELinux". */
std::vector<finding> examine_process(const system_files &files);

}  // namespace console

#endif
