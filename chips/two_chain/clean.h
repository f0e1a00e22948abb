// SPDX-License-Identifier: Apache-2.0
// Clearing stored calibration by scope. Some items hold parameters of two scopes, so a scoped clean rewrites
// them with only the entry that the scope spares.
#ifndef ORVA_TWO_CHAIN_CLEAN_H
#define ORVA_TWO_CHAIN_CLEAN_H

#include "common/catalogue.h"

namespace orva::two_chain {

/// A chip with two chains, and what it cleans in its own way.
struct cleaner {
  const orva::chip &chip;
  /// Keeps only one parameter's entry in an item.
  void (*keep_only)(uint32_t nv_num, const char *nv_name, uint32_t size, const char *param_name);
  uint32_t (*clean_chain)(uint32_t chain);
  uint32_t (*clean_band)(uint32_t band);
};

/// An entry that survives in an item shared with another scope.
struct kept_entry {
  nv_item item;
  const char *param;
};

/// Items that a scope empties, and entries of shared items that it spares.
struct clean_scope {
  list<nv_item> items;
  list<kept_entry> kept;
};

/// One band of one chain.
extern const clean_scope scope_2g_c0, scope_2g_c1, scope_5g_c0, scope_5g_c1;

/// Rewrites the shared items with only the entries that the scope spares.
void keep_entries(const cleaner &cleaner, const list<kept_entry> &kept);

/// Logs that a clean failed, unless at most one of the items is missing.
void log_failed_clean(const chip &chip, uint32_t cleaned, const list<nv_item> &items);

// The cleans. Failures are only logged: each returns 1.

/// Empties every item of the chip.
uint32_t clean_all(const cleaner &cleaner);

/// Clear one scope; nothing if enable is 0. 2.4 GHz empties its items before it rewrites the shared ones,
/// 5 GHz after.
uint32_t clean_2g(const cleaner &cleaner, uint32_t enable, const clean_scope &scope);
uint32_t clean_5g(const cleaner &cleaner, uint32_t enable, const clean_scope &scope);

/// By scope code: 1 everything, 2 chain 0, 3 chain 1, 4 2.4 GHz, 5 5 GHz; logs any other.
uint32_t clean_by_scope(const cleaner &cleaner, int32_t scope);

/// By four flags: 2.4 GHz and 5 GHz of chain 0, then of chain 1.
uint32_t clean_by_flags(const cleaner &cleaner, const uint32_t *flags);

}  // namespace orva::two_chain

#endif
