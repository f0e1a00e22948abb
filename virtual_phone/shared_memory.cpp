// SPDX-License-Identifier: Apache-2.0
#include "shared_memory.h"

#include <cstdio>
#include <cstring>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

namespace phone {

void *map_shared(size_t size, void *at) {
  int flags = MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE | (at ? MAP_FIXED : 0);
  void *memory = mmap(at, size, PROT_READ | PROT_WRITE, flags, -1, 0);
  if (memory == MAP_FAILED) {
    perror("no memory to share with child processes");
    _exit(2);
  }
  madvise(memory, size, MADV_DONTDUMP);
  return memory;
}

void part_shared(void *start, size_t size) {
  std::string bytes(static_cast<char *>(start), size);
  memcpy(map_shared(size, start), bytes.data(), size);
}

}  // namespace phone
