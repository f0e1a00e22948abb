// SPDX-License-Identifier: Apache-2.0
#include "common/nv_text.h"

#include <string.h>

#include "common/catalogue.h"
#include "common/log.h"
#include "common/shell.h"

namespace orva {

namespace {

/// Formats at the end of a text, truncated at the buffer's end. Negative if it was truncated.
#define APPEND(out, out_size, ...)                                                                           \
  snprintf_s((out) + strlen(out), (out_size)-strlen(out), (out_size)-strlen(out) - 1, __VA_ARGS__)

void log_failed_append(const chip &chip, int result) {
  if (result < 0) LOG_ERROR(chip, "%s_param_to_string: snprintf_s failed.", chip.name);
}

void read_value(const chip &chip, char *out, uint32_t out_size, const char *entry, const char *param) {
  const char *value = entry + strlen(param) + 1;
  const int result = strncpy_s(out, out_size, value, strlen(value));
  if (chip.calibration->checks_secure_calls) check_securef_ret(chip, result);
  if (result != 0) LOG_ERROR(chip, "%s_fill_nvbuf_by_pattern::strcpy failed", chip.name);
  LOG_INFO(chip, "%s_fill_nvbuf_by_pattern,nvme param is loaded,name=%s, value=%s\n", chip.name, param, out);
}

void keep_entry(const chip &chip, char *out, uint32_t out_size, const char *entry) {
  // The older chip's name and the doubled r are part of the text that the station matches.
  if (!append_entry(out, out_size, entry))
    LOG_ERROR(chip, "vq2050_write_nvpattern_to_nv:: snprrintf_s failed.");
  LOG_DEBUG(chip, "%s_fill_nvbuf_by_pattern: var_output is %s ", chip.name, out);
}

void find_entry(const chip &chip, char *out, uint32_t out_size, const entries &all,
                const orva_nvbuf_request &request, uint32_t mode) {
  char *entry = all.text;
  for (uint32_t i = 0; i < all.count; i++, entry = next_entry(entry)) {
    if (!is_entry_of(entry, request.param_name)) continue;
    if (mode == ORVA_NVBUF_READ) {
      read_value(chip, out, out_size, entry, request.param_name);
    } else {
      keep_entry(chip, out, out_size, entry);
    }
    LOG_DEBUG(chip, "%s_get_nvbuf_by_name: var_output is %s, Varptr is %s", chip.name, out, entry);
    return;
  }
}

void copy_entry(const chip &chip, char *out, uint32_t out_size, const char *entry) {
  if (!append_entry(out, out_size, entry)) {
    LOG_ERROR(chip, "%s_write_wifi_nvram_param_to_nv:: snprintf_s failed.", chip.name);
  }
  LOG_DEBUG(chip, "%s_append_nvbuf: wr var_output is %s", chip.name, out);
}

void write_fresh_entry(const chip &chip, char *out, uint32_t out_size, const orva_nvbuf_request &request) {
  param_to_string(chip, out, out_size, request.param_name, request.values, request.count);
}

void merge_entries(const chip &chip, char *out, uint32_t out_size, const entries &all,
                   const orva_nvbuf_request &request) {
  bool found = false;
  char *entry = all.text;
  for (uint32_t i = 0; i < all.count; i++, entry = next_entry(entry)) {
    if (is_entry_of(entry, request.param_name)) {
      write_fresh_entry(chip, out, out_size, request);
      found = true;
    } else if (*entry != '\0') {
      copy_entry(chip, out, out_size, entry);
    }
  }
  if (!found) write_fresh_entry(chip, out, out_size, request);
  LOG_DEBUG(chip, "%s_get_nvbuf_by_name ,nvram_cal_data=%s\n", chip.name, out);
}

}  // namespace

int32_t read_wifi_nvram_param_from_nv(const chip &chip, char *out, uint32_t size, const nv_item &item) {
  char text[ORVA_NV_ITEM_SIZE] = {};
  const int32_t code = read_item(item, text, sizeof text);
  memset(out, 0, size);
  memcpy(out, text, size < sizeof text ? size : sizeof text);
  out[size - 1] = '\0';
  if (code == 0) return static_cast<int32_t>(strlen(out));
  LOG_ERROR(chip, "%s_read_wifi_nvram_param_from_nv get %s fail, nv_num is %d, ret: %d", chip.name, item.name,
            item.number, code);
  return -1;
}

void param_to_string(const chip &chip, char *out, uint32_t out_size, const char *name, const uint32_t *values,
                     uint32_t count) {
  log_failed_append(chip, APPEND(out, out_size, "%s=", name));
  for (uint32_t i = 0; i < count; i++) {
    log_failed_append(chip, APPEND(out, out_size, i == 0 ? "%d" : ",%d", values[i]));
  }
  log_failed_append(chip, APPEND(out, out_size, ";"));
}

entries split(char *text, int32_t length) {
  entries all = {text, 0};
  for (int32_t i = 0; i < length; i++) {
    if (text[i] != ';') continue;
    text[i] = '\0';
    all.count++;
  }
  return all;
}

bool is_entry_of(const char *entry, const char *name) {
  const size_t length = strlen(name);
  return *entry != '\0' && strncmp(entry, name, length) == 0 && entry[length] == '=';
}

bool append_entry(char *out, uint32_t out_size, const char *entry) {
  return APPEND(out, out_size, "%s;", entry) >= 0;
}

void get_nvbuf_by_name(const chip &chip, char *out, uint32_t out_size, const orva_nvbuf_request &request,
                       uint32_t mode) {
  if (out_size != 0) *out = '\0';
  const nv_item item = {request.nv_num, request.nv_name};
  char text[ORVA_NV_ITEM_SIZE];
  const int32_t length = read_wifi_nvram_param_from_nv(chip, text, sizeof text, item);
  if (mode == ORVA_NVBUF_KEEP_ONLY && empty_item(item) == 0) {
    LOG_INFO(chip, "%s_get_nvbuf_by_name ,nvram_cal_data=%s\n", chip.name, "");
  }
  if (length < 1) {
    if (mode != ORVA_NVBUF_MERGE) return;
    write_fresh_entry(chip, out, out_size, request);
    LOG_DEBUG(chip, "%s_get_nvbuf_by_name:rd var_out is %s", chip.name, out);
    return;
  }
  const entries all = split(text, length);
  if (mode != ORVA_NVBUF_MERGE) {
    find_entry(chip, out, out_size, all, request, mode);
  } else if (all.count > 0) {
    merge_entries(chip, out, out_size, all, request);
  }
}

bool write_to_nv_para_check(const chip &chip, const char *nv_name, const char *param_name) {
  if (nv_name != nullptr && param_name != nullptr) return true;
  LOG_ERROR(chip, "write_to_nv_para_check::null ptr!");
  return false;
}

}  // namespace orva
