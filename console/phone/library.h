// SPDX-License-Identifier: Apache-2.0
/* The library under test, loaded at run time so that its absence can be told in words. */
#ifndef CONSOLE_LIBRARY_H
#define CONSOLE_LIBRARY_H

#include <string>

namespace console {

class library {
public:
  /** Loads the library; "" or what is wrong. A second load starts with fresh test state. */
  std::string load(const std::string &path);
  void unload();
  ~library() { unload(); }
  /** An exported function, null where there is none. */
  void *symbol(const char *name) const;
  /** Name of the function at an address; "" where it is unknown. */
  static std::string name_of(const void *address);

private:
  void *handle = nullptr;
};

}  // namespace console

#endif
