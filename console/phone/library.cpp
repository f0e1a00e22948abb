// SPDX-License-Identifier: Apache-2.0
#include "console/phone/library.h"

#include <dlfcn.h>
#include <fmt/format.h>

namespace console {

std::string library::load(const std::string &path) {
  unload();
  handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle) return "";
  return fmt::format("The library under test cannot be loaded: {}. Name it with --library FILE.", dlerror());
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
