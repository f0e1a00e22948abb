// SPDX-License-Identifier: Apache-2.0
#include "console/text/tcl_list.h"

#include "console/text/usage_error.h"

#include <fmt/format.h>
#include <tcl.h>

namespace console {

std::vector<std::string> list_words(const std::string &list) {
  int count = 0;
  const char **items = nullptr;
  if (Tcl_SplitList(nullptr, list.c_str(), &count, &items) != TCL_OK)
    throw usage_error{fmt::format("\"{}\" is no list: its braces or quotes do not match.", list)};
  std::vector<std::string> words(items, items + count);
  Tcl_Free(reinterpret_cast<char *>(items));
  return words;
}

std::string to_list(const std::vector<std::string> &words) {
  std::vector<const char *> items;
  for (auto &w : words) items.push_back(w.c_str());
  char *merged = Tcl_Merge(static_cast<int>(items.size()), items.data());
  std::string list = merged;
  Tcl_Free(merged);
  return list;
}

}  // namespace console
