// SPDX-License-Identifier: Apache-2.0
/* The NV store as text: to look at, to save, to load. */
#ifndef CONSOLE_NV_VIEW_H
#define CONSOLE_NV_VIEW_H

#include "console/phone/phone_link.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace console {

/** What a store holds, value by value: item and parameter -> "10,-300,5000", or a block's bytes but zeros. */
using nv_values = std::map<std::pair<std::string, std::string>, std::string>;
nv_values nv_values_of(const std::vector<phone_link::nv_item> &items);

struct nv_change {
  std::string item;
  std::string parameter;
  std::string before; /**< "none" where there was none */
  std::string after;
};
std::vector<nv_change> nv_changes(const nv_values &before, const nv_values &after);

/** The items of a saved file; throws usage_error. */
std::vector<phone_link::nv_item> read_nv_file(const std::string &path);

/** One line for each item: number, name, contents. */
std::string nv_list();
/** One item, a parameter a line, its values by index. */
std::string nv_show(uint32_t number);
/** What changed since the last snapshot, or against a saved file: a parameter or byte of a block a line. */
std::string nv_diff(const std::string &path);
/** Writes all items to a text file that read_nv_file reads; gives what it did, throws usage_error. */
std::string nv_save(const std::string &path);
/** From here on nv_diff tells what has changed since. */
void nv_snapshot();

}  // namespace console

#endif
