// SPDX-License-Identifier: Apache-2.0
// The NV store as text: to show, save, load and compare.
#ifndef CONSOLE_NV_VIEW_H
#define CONSOLE_NV_VIEW_H

#include "console/phone/phone_link.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace console {

/** A store by value: item and parameter -> "10,-300,5000"; for a block, each byte that is not zero. */
using nv_values = std::map<std::pair<std::string, std::string>, std::string>;
nv_values nv_values_of(const std::vector<phone_link::nv_item> &items);

struct nv_change {
  std::string item;
  std::string parameter;
  std::string before; /**< "none" if the parameter was absent */
  std::string after;
};
std::vector<nv_change> nv_changes(const nv_values &before, const nv_values &after);

/** Reads the items of a saved file, or of one written by hand; throws usage_error, also for a cut backup. */
std::vector<phone_link::nv_item> read_nv_file(const std::string &path);

/** The same for a whole store; throws usage_error unless it is a complete file of nv_save. */
std::vector<phone_link::nv_item> read_backup(const std::string &path);

/** A line for each item: number, name, contents; a comment for one that cannot be read. */
std::string nv_list();
/** The items with this number, one line for each parameter. */
std::string nv_show(uint32_t number);
/** What changed since the last snapshot, or against a saved file if a path is given; a line for each value.
 */
std::string nv_diff(const std::string &path);
/** Saves all items for read_nv_file and read_backup, with a checksum in the last line. Returns what it did;
 * throws usage_error. */
std::string nv_save(const std::string &path);
/** Remembers the store's contents for nv_diff. */
void nv_snapshot();

}  // namespace console

#endif
