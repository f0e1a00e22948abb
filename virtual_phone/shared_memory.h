// SPDX-License-Identifier: Apache-2.0
// Memory that this process shares with the children it forks.
#ifndef VIRTUAL_PHONE_SHARED_MEMORY_H
#define VIRTUAL_PHONE_SHARED_MEMORY_H

#include <cstddef>

namespace phone {

/// Zeroed memory, shared from here on; replaces the mapping at `at` unless that is null. Ends the process if
/// there is no memory.
void *map_shared(size_t size, void *at = nullptr);

/// Replaces a mapping by a copy that this process no longer shares with its parent.
void part_shared(void *start, size_t size);

}  // namespace phone

#endif
