/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file calibration_types.h
 * Types of the calibration functions that several back ends export.
 */
#ifndef ORVA_CALIBRATION_TYPES_H
#define ORVA_CALIBRATION_TYPES_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Bytes of an NV item; its text has at most 103 characters. */
enum { ORVA_NV_ITEM_SIZE = 104 };

/** The catalogue table that a calibration lookup searched. */
enum { ORVA_CAL_NONE = 0, ORVA_CAL_PER_CHANNEL = 1, ORVA_CAL_POWER = 2 };

/** Rows of the catalogue that a calibration request reaches. */
struct orva_cal_lookup {
  uint8_t count;     /**< rows found */
  uint8_t table;     /**< ORVA_CAL_PER_CHANNEL or ORVA_CAL_POWER; ORVA_CAL_NONE where none was found */
  uint8_t map_id[8]; /**< their indices in that table, in table order */
};

/** One parameter of one NV item. */
struct orva_nvbuf_request {
  uint32_t nv_num;        /**< the item's number */
  const char *nv_name;    /**< the item's name */
  uint32_t size;          /**< ORVA_NV_ITEM_SIZE; other sizes count as that */
  const char *param_name; /**< the parameter's name in the item's text */
  uint32_t count;         /**< values to merge */
  const uint32_t *values; /**< written as signed decimals */
};

/** What to do with the parameter's entry. */
enum { ORVA_NVBUF_READ = 0, ORVA_NVBUF_MERGE = 1, ORVA_NVBUF_KEEP_ONLY = 2 };

#ifdef __cplusplus
}
#endif

#endif
