// SPDX-License-Identifier: Apache-2.0
// Changes to a lasting NV store: preview, ask, write, read back.
#ifndef CONSOLE_NV_SAFE_H
#define CONSOLE_NV_SAFE_H

#include "console/nv/nv_view.h"

#include <functional>
#include <string>
#include <vector>

namespace console {

/** How something went on a copy of the phone. */
struct trial {
  bool good;
  std::string result; /**< in words, to follow what was done; "" if there is nothing to say */
};

/** What something would do to NV. */
struct foresight {
  bool good; /**< the trial went well */
  std::string text;
};
/** Runs act on a copy of the phone. Throws usage_error if act does, or if the phone cannot be copied. */
foresight preview_nv(const std::string &what, const std::function<trial()> &act);

/**
 * Asks on the terminal whether a lasting store may be changed, after a preview where there can be one.
 * Returns false if no store lasts, so that nothing was asked; throws usage_error on a no and without a
 * terminal.
 */
bool confirm_writing(const std::string &what, const std::function<trial()> &act);

/** Every parameter that the last call wrote with success and that now reads as something else. */
std::vector<nv_change> unkept_writes();

/** Every entry that the last call, which merges, removed from an item or changed besides the one it wrote. */
std::vector<nv_change> lost_in_merges(const std::vector<phone_link::nv_item> &before);

/** An item that the last call wrote although it could not read it: what it held before is lost or unknown. */
struct blind_write {
  std::string item;
  int64_t code; /**< of the failed read */
};
std::vector<blind_write> blind_writes();

struct nv_written {
  std::string text;              /**< what was done, and each value that was not kept */
  std::vector<nv_change> unkept; /**< written as `before`, reads as `after` */
};
/** Writes these items, except those that hold the same already, and reads them back. */
nv_written write_items(const std::vector<phone_link::nv_item> &items);
/** The items of a backup, and zeros for every other item of the store. */
std::vector<phone_link::nv_item> whole_store(const std::string &path);
/** Throws usage_error if the store holds anything else than these items. */
void verify_restored(const std::vector<phone_link::nv_item> &items);
/** Saves the store to a new file and verifies it; returns what it did, throws usage_error. */
std::string nv_backup(const std::string &path);
/** Empties every item; throws usage_error if one is not empty afterwards. */
std::string nv_clear();

}  // namespace console

#endif
