// SPDX-License-Identifier: Apache-2.0
// Kept per process: a child's copy ends with the child.
#include "given.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <vector>

namespace phone {
namespace {

struct stream {
  const void *file;
  pid_t child;
};

constexpr int max_descriptors = 4096;
std::array<std::atomic<given>, max_descriptors> descriptors;
std::vector<pid_t> children;
std::vector<stream> streams;
std::mutex lists;

bool in_range(int descriptor) { return descriptor >= 0 && descriptor < max_descriptors; }

}  // namespace

void give_descriptor(int descriptor, given kind) {
  if (in_range(descriptor)) descriptors[static_cast<size_t>(descriptor)] = kind;
}

given descriptor_kind(int descriptor) {
  return in_range(descriptor) ? descriptors[static_cast<size_t>(descriptor)].load() : given::nothing;
}

void take_descriptor(int descriptor) { give_descriptor(descriptor, given::nothing); }

void give_child(pid_t child) {
  std::lock_guard lock(lists);
  children.push_back(child);
}

bool is_child(pid_t child) {
  std::lock_guard lock(lists);
  return std::find(children.begin(), children.end(), child) != children.end();
}

void take_child(pid_t child) {
  std::lock_guard lock(lists);
  std::erase(children, child);
}

void give_stream(void *file, pid_t child) {
  std::lock_guard lock(lists);
  streams.push_back({file, child});
}

pid_t stream_child(const void *file) {
  std::lock_guard lock(lists);
  auto found = std::find_if(streams.begin(), streams.end(), [&](const stream &s) { return s.file == file; });
  return found == streams.end() ? 0 : found->child;
}

void take_stream(const void *file) {
  std::lock_guard lock(lists);
  std::erase_if(streams, [&](const stream &s) { return s.file == file; });
}

void forget_all_given() {
  std::lock_guard lock(lists);
  for (auto &descriptor : descriptors) descriptor = given::nothing;
  children.clear();
  streams.clear();
}

unsigned count_given() {
  std::lock_guard lock(lists);
  auto open =
      std::count_if(descriptors.begin(), descriptors.end(), [](auto &d) { return d != given::nothing; });
  return static_cast<unsigned>(open) + static_cast<unsigned>(children.size() + streams.size());
}

}  // namespace phone
