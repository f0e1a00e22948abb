// Calibration parameters: which request reaches which, and where they lie in NV.
#ifndef ORVA_CALIBRATION_H
#define ORVA_CALIBRATION_H

#include "include/calibration_types.h"
#include "common/chip.h"

namespace orva {

/// One calibration parameter: the request that reaches it, its name in the driver, its NV item.
struct cal_row {
  uint32_t group;      ///< RF chain
  uint32_t mode;       ///< 2 for CCK
  uint32_t band;       ///< 1 for 5 GHz
  uint32_t bandwidth;  ///< 0 = 20, 1 = 40, 3 = 160 MHz
  const char *param;
  const char *nv_name;
  uint32_t nv_number;
};

struct nv_item {
  uint32_t number;
  const char *name;
};

/// A driver parameter's name and number.
struct driver_param {
  const char *name;
  uint32_t number;
};

/// How a chip numbers driver parameters, with the log lines that go with it. @return the number, or -1.
using param_number_of = int32_t (*)(const chip &chip, const cal_row &row);

/// Keeps only one parameter in an item.
using write_nvpattern = void (*)(uint32_t number, const char *name, uint32_t size, const char *param);

struct calibration {
  list<cal_row> per_channel, power;
  list<nv_item> items;  ///< read-all and clean-all, in order
  list<driver_param> driver_params;
  param_number_of param_number;
  write_nvpattern keep_only;            ///< null: the chip never keeps part of an item
  bool has_group;                       ///< two chains; the lookup logs the chain
  float largest_error;                  ///< of delta_gain, either sign; 0: no bound
  bool centres_only;                    ///< per-channel offsets take exact channel centres only, not 2442
  bool writes_nothing_without_entries;  ///< an item without ";" is left alone instead of emptied
  bool checks_secure_calls;             ///< check_securef_ret after bounds-checked copies
  const char *reply_copy_failure;
};

/// The rows for a request, in table order.
orva_cal_lookup find_rows(const chip &chip, uint32_t group, uint32_t mode, uint32_t band, uint32_t bandwidth,
                          int32_t freq);

/// Row i of a lookup.
const cal_row &matched_row(const chip &chip, const orva_cal_lookup &found, uint32_t i);

/// Name tests; a prefix of a family member counts, so an empty name is in every family.
uint32_t check_nvname_2G_normal(const char *name);
uint32_t check_nvname_2G_mucal(const char *name);
uint32_t check_nvname_5G_normal(const char *name);
uint32_t check_nvname_5G_160M(const char *name);

/// Fetches a parameter's current value text from the driver. @return 1 or 0.
int32_t query_driver(const chip &chip, const cal_row &row, char *text, uint32_t text_size);

/// Numbers out of driver_params; a name matches a listed one that it is a prefix of.
int32_t listed_param_number(const chip &chip, const cal_row &row);

void log_no_param_number(const chip &chip, const cal_row &row);

/// Applies one measured error to every parameter that the request reaches.
uint32_t wifi_nvram_calibrate_set(const chip &chip, int32_t cal_type, uint32_t group, uint32_t mode,
                                  uint32_t band, uint32_t bandwidth, int32_t freq, const char *delta_gain);

}  // namespace orva

#endif
