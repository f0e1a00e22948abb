// Reading all stored calibration, and clearing it by scope.
#ifndef ORVA_CALIBRATION_CLEAN_H
#define ORVA_CALIBRATION_CLEAN_H

#include "common/calibration.h"

namespace orva {

/// An entry that survives in an item which a scope shares with another.
struct kept_entry {
  uint32_t number;
  const char *name;
  const char *param;
};

/// Items that one scope empties, and entries of shared items that it spares.
struct clean_scope {
  list<nv_item> items;
  list<kept_entry> kept;
};

// The scopes of one band of one chain, alike on the chips that know chains.
extern const clean_scope scope_2g_c0, scope_2g_c1, scope_5g_c0, scope_5g_c1;

/// The texts of all items, one after the other; size bytes at most of each.
uint32_t wifi_nvram_calibrate_get(const chip &chip, char *out, int32_t size);

/// Writes empty texts. @return how many NV took.
uint32_t empty_items(const list<nv_item> &items);

/// Writes empty texts; more than one failure is logged.
void clean_items(const chip &chip, const list<nv_item> &items);
/// The same with the check behind every write, so that even a clean run logs while the count is low.
void clean_items_checking_each(const chip &chip, const list<nv_item> &items);

void clean_all_nvparam(const chip &chip);
void keep_entries(const chip &chip, const list<kept_entry> &kept);

/// Clear one band of one chain; enable 0 does nothing. 2.4 GHz empties its items before it thins out the
/// shared ones, 5 GHz after.
void clean_2g(const chip &chip, uint32_t enable, const clean_scope &scope);
void clean_5g(const chip &chip, uint32_t enable, const clean_scope &scope);

uint32_t wifi_nvram_calibrate_clean_new(const chip &chip, const uint32_t *flags);

/// Logs a scope code that is none.
void log_wrong_scope(const chip &chip, int32_t scope);

}  // namespace orva

#endif
