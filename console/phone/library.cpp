// SPDX-License-Identifier: Apache-2.0
#include "console/phone/library.h"

#include "console/phone/phone_link.h"

#include <dlfcn.h>
#include <fmt/format.h>
#include <link.h>
#include <vector>

namespace console {

/** The path that a library was loaded from. */
static std::string file_of(void *handle) {
  link_map *map = nullptr;
  return dlinfo(handle, RTLD_DI_LINKMAP, &map) == 0 ? map->l_name : "";
}

std::string library::load(const std::string &path) {
  unload();
  handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  std::string trouble = handle ? "" : dlerror();
  auto missing = handle ? phone_link::missing_functions() : std::vector<std::string>();
  if (!missing.empty()) {
    trouble = fmt::format("{}: undefined symbol: {}", file_of(handle), missing.front());
    unload();
  }
  if (trouble.empty()) return "";
  return fmt::format("The library under test cannot be loaded: {}. Name it with --library FILE.", trouble);
}

void library::unload() {
  if (handle) dlclose(handle);
  handle = nullptr;
}

void *library::symbol(const char *name) const { return handle ? dlsym(handle, name) : nullptr; }

std::string library::name_of(const void *address) {
  Dl_info info{};
  return dladdr(address, &info) && info.dli_sname ? info.dli_sname : "";
}

}  // namespace console
