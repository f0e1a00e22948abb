// SPDX-License-Identifier: Apache-2.0
// The text of an NV item: a run of entries "name=1,2,3;".
#ifndef ORVA_NV_TEXT_H
#define ORVA_NV_TEXT_H

#include "common/chip.h"
#include "common/nv_item.h"

namespace orva {

/// Reads an item's text into out: clears size bytes there and terminates in the last one.
/// @return the text's length; -1 if NV failed (logged).
int32_t read_wifi_nvram_param_from_nv(const chip &chip, char *out, uint32_t size, const nv_item &item);

/// Appends "name=v,v,v;" to a text. A piece that does not fit is truncated and logged; the next one is tried.
void param_to_string(const chip &chip, char *out, uint32_t out_size, const char *name, const uint32_t *values,
                     uint32_t count);

/// The entries of an item's text, split in place. Text after the last ";" is not an entry.
struct entries {
  char *text;
  uint32_t count;
};
entries split(char *text, int32_t length);

inline char *next_entry(char *entry) {
  while (*entry != '\0') entry++;
  return entry + 1;
}
/// Whether an entry is "name=…".
bool is_entry_of(const char *entry, const char *name);

/// Reads, merges or keeps one parameter of an item; mode is one of ORVA_NVBUF_…. An item without the
/// parameter leaves out empty, except that a merge adds it. Only vq2070 uses ORVA_NVBUF_KEEP_ONLY.
void get_nvbuf_by_name(const chip &chip, char *out, uint32_t out_size, const orva_nvbuf_request &request,
                       uint32_t mode);

/// Whether both names are given; logged if not.
bool write_to_nv_para_check(const chip &chip, const char *nv_name, const char *param_name);

/// Appends an entry and its ";" to a text. @return whether it fitted.
bool append_entry(char *out, uint32_t out_size, const char *entry);

}  // namespace orva

#endif
