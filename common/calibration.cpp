#include "common/calibration.h"

#include <string.h>

#include "common/driver.h"
#include "common/log.h"
#include "common/shell.h"

namespace orva {

namespace {

constexpr int32_t REFERENCE_CHANNEL_MHZ = 2442;
constexpr int32_t LAST_PER_CHANNEL_MHZ = 2481;
constexpr uint32_t MOST_MATCHES = sizeof(orva_cal_lookup::map_id);

const list<cal_row> &table_for(const chip &chip, uint8_t table) {
  return table == ORVA_CAL_PER_CHANNEL ? chip.calibration->per_channel : chip.calibration->power;
}

void log_lookup(const chip &chip, uint32_t group, uint32_t mode, uint32_t band, uint32_t bandwidth,
                int32_t freq) {
  const int32_t g = static_cast<int32_t>(group), m = static_cast<int32_t>(mode);
  const int32_t b = static_cast<int32_t>(band), w = static_cast<int32_t>(bandwidth);
  if (chip.calibration->has_group) {
    LOG_ERROR(
        chip,
        "%s_wifi_get_nvnum_parname_from_at_param enter:group=%d,mode=%d,band=%d,bandwidth=%d,freq=%d,\n",
        chip.name, g, m, b, w, freq);
  } else {
    LOG_ERROR(chip, "%s_wifi_get_nvnum_parname_from_at_param enter:mode=%d,band=%d,bandwidth=%d,freq=%d,\n",
              chip.name, m, b, w, freq);
  }
}

/// Whether a name is in a family; names match by prefix.
template <uint32_t N> uint32_t in_family(const char *const (&family)[N], const char *name) {
  for (const char *member : family) {
    if (strncmp(name, member, strlen(name)) == 0) return 1;
  }
  return 0;
}

bool copy_reply(const chip &chip, const ioctl_data &reply, char *text, uint32_t text_size) {
  const int32_t result = memcpy_s(text, text_size, reply.pri_data, ORVA_NV_ITEM_SIZE);
  if (chip.calibration->checks_secure_calls) check_securef_ret(chip, result);
  if (result != 0) log_named(chip, ORVA_LOG_ERROR, chip.calibration->reply_copy_failure);
  return result == 0;
}

/// Fills the query; false for a parameter that the driver does not number.
bool fill_query(const chip &chip, const cal_row &row, ioctl_data &query) {
  const int32_t number = chip.calibration->param_number(chip, row);
  if (number < 0) {
    LOG_ERROR(chip, "%s_wifi_querry_nvram_parameter_from_driver:invalid param_num", chip.name);
    return false;
  }
  LOG_ERROR(chip, "%s_wifi_querry_nvram_parameter_from_driver:param_num = %d", chip.name, number);
  query.pri_data[ORVA_NV_ITEM_SIZE - 1] = static_cast<uint8_t>(number);
  return true;
}

bool send_query(const chip &chip, uint32_t socket, const cal_row &row, ioctl_data &query) {
  if (!fill_query(chip, row, query)) return false;
  if (send_record(chip, socket, query) == 1) return true;
  LOG_ERROR(chip, "get_dp_init_from_driver failed, continue.\n");
  return false;
}

bool ask_driver(const chip &chip, const cal_row &row, char *text, uint32_t text_size) {
  const uint32_t socket = open_socket(chip);
  if (socket == 0) {
    LOG_DEBUG(chip, "varbuff = %s,name = %s", text, row.param);
    return false;
  }
  ioctl_data query = record_of(chip.command.calibration_query);
  const bool answered = send_query(chip, socket, row, query);
  wl_config_sockets_close(socket);
  if (!answered || !copy_reply(chip, query, text, text_size)) return false;
  LOG_DEBUG(chip, "querry nvram, nvram_var_name=%s, outbuff=%s\n", row.param, text);
  LOG_DEBUG(chip, "varbuff = %s,name = %s", text, row.param);
  return true;
}

}  // namespace

orva_cal_lookup find_rows(const chip &chip, uint32_t group, uint32_t mode, uint32_t band, uint32_t bandwidth,
                          int32_t freq) {
  orva_cal_lookup found = {};
  log_lookup(chip, group, mode, band, bandwidth, freq);
  const bool per_channel = freq <= LAST_PER_CHANNEL_MHZ && freq != REFERENCE_CHANNEL_MHZ;
  const uint8_t table = per_channel ? ORVA_CAL_PER_CHANNEL : ORVA_CAL_POWER;
  uint8_t map_id = 0;
  for (const cal_row &row : table_for(chip, table)) {
    const uint8_t id = map_id++;
    if (row.group != group || row.mode != mode || row.band != band || row.bandwidth != bandwidth) continue;
    LOG_INFO(chip, "%s_wifi_get_nvnum_parname_from_at_param:map_id is %d", chip.name, id);
    if (found.count == MOST_MATCHES) break;
    found.map_id[found.count++] = id;
    found.table = table;
  }
  return found;
}

const cal_row &matched_row(const chip &chip, const orva_cal_lookup &found, uint32_t i) {
  return table_for(chip, found.table).rows[found.map_id[i]];
}

uint32_t check_nvname_2G_normal(const char *name) {
  static const char *const family[] = {"pa2gccka0", "pa2gccka1", "pa2ga0", "pa2ga1", "pa2g40a0", "pa2g40a1"};
  return in_family(family, name);
}

uint32_t check_nvname_2G_mucal(const char *name) {
  static const char *const family[] = {"mf2ga0", "mf2ga1", "mf2gccka0", "mf2gccka1", "mf2g40a0", "mf2g40a1"};
  return in_family(family, name);
}

uint32_t check_nvname_5G_normal(const char *name) {
  static const char *const family[] = {"pa5ga0", "pa5ga1", "pa5glowa0", "pa5glowa1"};
  return in_family(family, name);
}

uint32_t check_nvname_5G_160M(const char *name) {
  static const char *const family[] = {"dpn160c0", "dpn160c1"};
  return in_family(family, name);
}

int32_t listed_param_number(const chip &chip, const cal_row &row) {
  const int32_t nv_number = static_cast<int32_t>(row.nv_number);
  for (const driver_param &listed : chip.calibration->driver_params) {
    if (strncmp(row.param, listed.name, strlen(row.param)) != 0) continue;
    const int32_t number = static_cast<int32_t>(listed.number);
    LOG_INFO(chip, "%s_get_driver_param_num: nv_num is %d, nv_name is %s, param num is %d", chip.name,
             nv_number, row.nv_name, number);
    return number;
  }
  log_no_param_number(chip, row);
  return -1;
}

void log_no_param_number(const chip &chip, const cal_row &row) {
  LOG_ERROR(chip, "%s_get_driver_param_num: nv_num is %d, nv_name is %s. cannot get param", chip.name,
            static_cast<int32_t>(row.nv_number), row.nv_name);
}

int32_t query_driver(const chip &chip, const cal_row &row, char *text, uint32_t text_size) {
  if (ask_driver(chip, row, text, text_size)) return 1;
  LOG_ERROR(chip, "%s_getparam_from_wifi_chip,wifi chip param get failed!\n", chip.name);
  return 0;
}

}  // namespace orva
