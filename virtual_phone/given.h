// SPDX-License-Identifier: Apache-2.0
// The descriptors, children and streams that the phone gave out in this process and has not taken back.
#ifndef VIRTUAL_PHONE_GIVEN_H
#define VIRTUAL_PHONE_GIVEN_H

#include <cstdint>

#include <sys/types.h>

namespace phone {

enum class given : uint8_t { nothing, socket, node };

void give_descriptor(int descriptor, given kind);
given descriptor_kind(int descriptor);
void take_descriptor(int descriptor);

void give_child(pid_t child);
bool is_child(pid_t child);
void take_child(pid_t child);

void give_stream(void *stream, pid_t child);
/// The child that writes to a stream of the phone's; 0 for any other stream.
pid_t stream_child(const void *stream);
void take_stream(const void *stream);

void forget_all_given();
/// How many of all three kinds there are.
unsigned count_given();

}  // namespace phone

#endif
