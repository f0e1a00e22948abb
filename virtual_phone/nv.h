// SPDX-License-Identifier: Apache-2.0
// The NV store's life; its items are reached through platform.h and phone.h.
#ifndef VIRTUAL_PHONE_NV_H
#define VIRTUAL_PHONE_NV_H

namespace phone {

/// An empty store in memory.
void reset_nv();
/// The same in a forked child, which leaves its parent's store file alone.
void part_nv();
/// Whether the store is a file, which outlasts the phone.
bool nv_is_lasting();

}  // namespace phone

#endif
