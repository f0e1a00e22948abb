// SPDX-License-Identifier: Apache-2.0
#include "console/phone/library.h"

#include "console/phone/phone_link.h"
#include "console/text/usage_error.h"

#include <dlfcn.h>
#include <fmt/format.h>
#include <link.h>
#include <vector>

namespace console {

namespace {

/** Takes the path of the loaded library whose name the path ends with. */
int take_path(dl_phdr_info *loaded, size_t, void *wanted) {
  auto &path = *static_cast<std::string *>(wanted);
  std::string_view found = loaded->dlpi_name;
  if (!found.ends_with(path)) return 0;
  path = found;
  return 1;
}

/** Where the loader found a library that was named with or without its folder. */
std::string loaded_path(const std::string &name) {
  auto path = name.substr(name.rfind('/') + 1);
  return dl_iterate_phdr(take_path, &path) ? path : name;
}

}  // namespace

std::string library::file_of(const std::string &name) {
  if (name.find('/') != name.npos) return name;
  void *opened = dlopen(name.c_str(), RTLD_LAZY | RTLD_LOCAL);  // lazily: a file that lacks functions counts
  if (!opened) return name;
  auto path = loaded_path(name);
  dlclose(opened);
  return path;
}

std::string library::load(const std::string &path) {
  unload();
  handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  std::string trouble = handle ? "" : dlerror();
  auto missing = handle ? phone_link::missing_functions() : std::vector<std::string>();
  if (!missing.empty()) {
    trouble = fmt::format("{}: undefined symbol: {}", loaded_path(path), missing.front());
    unload();
  }
  return trouble;
}

void library::load_or_throw(const std::string &path) {
  if (auto trouble = load(path); !trouble.empty())
    throw usage_error{
        fmt::format("The library under test cannot be loaded: {}. Name it with --library FILE.", trouble)};
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
