// One NV item: a 104-byte block whose text is a run of entries "name=1,2,3;".
#ifndef ORVA_NV_ITEM_H
#define ORVA_NV_ITEM_H

#include "common/calibration.h"

namespace orva {

/// Reads an item as text into out, of which size bytes are cleared and the last one terminates.
/// @return the text's length; -1 when NV failed (logged).
int32_t read_wifi_nvram_param_from_nv(const chip &chip, char *out, uint32_t size, uint32_t number,
                                      const char *name);

/// Writes an item whole. @return NV's code.
int32_t write_item(uint32_t number, const char *name, char (&item)[ORVA_NV_ITEM_SIZE]);

/// Writes an item with an empty text. @return NV's code.
int32_t empty_item(uint32_t number, const char *name);

/// Appends "name=v,v,v;" to a text. A piece that does not fit is cut there, logged, and the next one tried.
void param_to_string(const chip &chip, char *out, uint32_t out_size, const char *name, const uint32_t *values,
                     uint32_t count);

/// The entries of an item's text: splits it in place. Text behind the last ";" is no entry.
struct entries {
  char *text;
  uint32_t count;
};
entries split(char *text, int32_t length);
/// The entry after this one.
inline char *next_entry(char *entry) {
  while (*entry != '\0') entry++;
  return entry + 1;
}
/// Whether an entry is "name=…".
bool is_entry_of(const char *entry, const char *name);

/// Reads, merges or keeps one parameter of an item; out is to be empty. Nothing found leaves it so (but a
/// merge).
void get_nvbuf_by_name(const chip &chip, char *out, uint32_t out_size, const orva_nvbuf_request &request,
                       uint32_t mode);

/// Whether both names are there; logged if not.
bool write_to_nv_para_check(const chip &chip, const char *nv_name, const char *param_name);

/// Appends an entry and its ";" to a text. @return whether it fitted.
bool append_entry(char *out, uint32_t out_size, const char *entry);

}  // namespace orva

#endif
