#include "common/driver.h"
#include "chips/vq2070/profile.h"
#include "include/vq2070.h"
#include "common/log.h"
#include "common/receive.h"
#include "common/shell.h"

using namespace orva;

uint32_t vq2070_wl_config_sockets_open() { return wl_config_sockets_open(vq2070); }
int32_t vq2070_wl_config_sockets_close(uint32_t socket) { return wl_config_sockets_close(socket); }
void vq2070_ioctl_data_freq_set(uint8_t *pri_data, uint32_t value) { store_u32(pri_data, value); }
void vq2070_ioctl_data_pow_set(uint8_t *pri_data, uint32_t value) { store_u32(pri_data, value); }
void vq2070_ioctl_data_mode_set(uint8_t *pri_data, uint32_t value) { store_u32(pri_data, value); }
void vq2070_ioctl_data_rate_set(uint8_t *pri_data, uint32_t value) { store_u32(pri_data, value); }
void vq2070_ioctl_data_band_set(uint8_t *pri_data, uint32_t value) { store_u32(pri_data, value); }
void vq2070_ioctl_data_tx_set(uint8_t *pri_data, uint32_t value) { store_u32(pri_data, value); }
void vq2070_ioctl_data_rx_set(uint8_t *pri_data, uint32_t value) { store_u32(pri_data, value); }
void vq2070_ioctl_data_pm_set(uint8_t *pri_data, uint32_t value) { store_u32(pri_data, value); }
void vq2070_ioctl_data_ant_set(uint8_t *pri_data, uint32_t value) { store_u32(pri_data, value); }
void vq2070_ioctl_data_mimo_set(uint8_t *pri_data, uint32_t value) { store_u32(pri_data, value); }
void vq2070_ioctl_data_bus_chan_set(uint8_t *pri_data, uint32_t value) { store_u16(pri_data, value); }
void vq2070_ioctl_data_pt_set(uint8_t *pri_data, uint32_t value) { store_u32(pri_data, value); }
void vq2070_ioctl_data_tas_ant_set(uint8_t *pri_data, uint32_t value) { store_u32(pri_data, value); }
void vq2070_ioctl_data_bss_set(uint8_t *pri_data, uint32_t value) { store_u32(pri_data, value); }
int32_t vq2070_system_call(const char *command) { return system_call(vq2070, command); }
int32_t vq2070_run_cmd_by_stream(const char *command, char *output, uint32_t size) {
  return run_cmd_by_stream(vq2070, command, output, size);
}
int32_t vq2070_try_to_boot_up() { return try_to_boot_up(vq2070); }
void vq2070_check_securef_ret(int32_t result) { check_securef_ret(vq2070, result); }

uint32_t vq2070_atoi(char digit) {
  const int32_t value = hex_digit(digit);
  if (value >= 0) return static_cast<uint32_t>(value);
  // Names the address filter, though it reads the association id.
  LOG_ERROR(vq2070, "wif_set_hw_mac_addr::des aid illegal.\n");
  return 0;
}
