// SPDX-License-Identifier: Apache-2.0
#include "common/catalogue.h"

#include "common/log.h"

namespace orva {

namespace {

constexpr int32_t LAST_PER_CHANNEL_MHZ = 2481;
constexpr uint32_t MOST_MATCHES = sizeof(orva_cal_lookup::map_id);

const list<cal_row> &table_for(const chip &chip, uint8_t table) {
  return table == ORVA_CAL_PER_CHANNEL ? chip.calibration->per_channel : chip.calibration->power;
}

void log_lookup(const chip &chip, const cal_request &request) {
  if (chip.calibration->has_chains) {
    LOG_ERROR(
        chip,
        "%s_wifi_get_nvnum_parname_from_at_param enter:group=%d,mode=%d,band=%d,bandwidth=%d,freq=%d,\n",
        chip.name, request.chain, request.mode, request.band, request.bandwidth, request.freq);
  } else {
    LOG_ERROR(chip, "%s_wifi_get_nvnum_parname_from_at_param enter:mode=%d,band=%d,bandwidth=%d,freq=%d,\n",
              chip.name, request.mode, request.band, request.bandwidth, request.freq);
  }
}

bool fits(const cal_row &row, const cal_request &request) {
  return row.chain == request.chain && row.mode == request.mode && row.band == request.band &&
         row.bandwidth == request.bandwidth;
}

}  // namespace

orva_cal_lookup find_rows(const chip &chip, const cal_request &request) {
  orva_cal_lookup found = {};
  log_lookup(chip, request);
  const bool per_channel = request.freq <= LAST_PER_CHANNEL_MHZ && request.freq != REFERENCE_CHANNEL_MHZ;
  const uint8_t table = per_channel ? ORVA_CAL_PER_CHANNEL : ORVA_CAL_POWER;
  uint8_t map_id = 0;
  for (const cal_row &row : table_for(chip, table)) {
    const uint8_t id = map_id++;
    if (!fits(row, request)) continue;
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

}  // namespace orva
