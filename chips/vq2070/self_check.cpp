#include "common/self_check.h"
#include "chips/vq2070/profile.h"
#include "include/vq2070.h"
#include "common/probes.h"

using namespace orva;

uint32_t vq2070_conn_test_chipcheck(const void *first, const void *second, const void *third) {
  return conn_test_chipcheck(vq2070, first, second, third);
}
uint32_t vq2070_conn_test_get_chipcheck_result(uint8_t *first, uint8_t *second, uint32_t *third) {
  return conn_test_get_chipcheck_result(vq2070, first, second, third);
}
uint32_t vq2070_conn_test_get_checktime_of_chipcheck(const void *, uint32_t *check_time, uint8_t *die_id) {
  return conn_test_get_checktime_of_chipcheck(vq2070, check_time, die_id);
}
uint32_t vq2070_conn_test_uart_loop(const void *) { return conn_test_uart_loop(vq2070); }
uint32_t vq2070_conn_test_sdio_loop(const void *) { return conn_test_sdio_loop(vq2070); }
int32_t vq2070_wl_config_wifi_dbb_get(uint32_t socket, const char *interface) {
  return wl_config_wifi_dbb_get(vq2070, socket, interface);
}
int32_t vq2070_wl_config_wifi_efuse_get(uint32_t socket, const char *interface) {
  return wl_config_wifi_efuse_get(vq2070, socket, interface);
}
int32_t vq2070_wl_config_wipin_test(uint32_t socket, const char *interface) {
  return wl_config_wipin_test(vq2070, socket, interface);
}
int32_t vq2070_wl_config_pmu_check(uint32_t socket, const char *interface) {
  return wl_config_pmu_check(vq2070, socket, interface);
}
int32_t vq2070_wl_config_wkup_io_test(uint32_t socket, const char *interface) {
  return wl_config_wkup_io_test(vq2070, socket, interface);
}
int32_t vq2070_wl_config_pcie_test(uint32_t socket, const char *interface) {
  return wl_config_pcie_test(vq2070, socket, interface);
}
uint32_t vq2070_wifi_hw_get(const void *) { return wifi_hw_get(vq2070); }
uint32_t vq2070_wifi_check_pmu() { return wifi_check_pmu(vq2070); }
uint32_t vq2070_wifi_get_die_id(uint8_t *flag, uint8_t *text) { return wifi_get_die_id(vq2070, flag, text); }
uint32_t vq2070_wifi_test_weld() { return wifi_test_weld(vq2070); }
