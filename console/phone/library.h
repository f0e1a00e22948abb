// SPDX-License-Identifier: Apache-2.0
// The library under test, loaded at run time so that its absence can be reported.
#ifndef CONSOLE_LIBRARY_H
#define CONSOLE_LIBRARY_H

#include <string>

namespace console {

class library {
public:
  /** Returns "" or what is wrong, in the loader's words. Loading again resets the test state. */
  std::string load(const std::string &path);
  /** The same, but throws usage_error. */
  void load_or_throw(const std::string &path);
  void unload();
  ~library() { unload(); }
  /** An exported function; null if there is none by this name. */
  void *symbol(const char *name) const;
  /** The file that load would take. A name without a folder is searched for as the loader does; it is
   * returned as it is if nothing is found. */
  static std::string file_of(const std::string &name);
  /** The name of the function at an address; "" if unknown. */
  static std::string name_of(const void *address);

private:
  void *handle = nullptr;
};

}  // namespace console

#endif
