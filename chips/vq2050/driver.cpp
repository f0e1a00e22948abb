#include "common/driver.h"
#include "chips/vq2050/profile.h"
#include "include/vq2050.h"
#include "common/shell.h"

using namespace orva;

uint32_t vq2050_wl_config_sockets_open() { return wl_config_sockets_open(vq2050); }
int32_t vq2050_wl_config_sockets_close(uint32_t socket) { return wl_config_sockets_close(socket); }
int32_t vq2050_system_call(const char *command) { return system_call(vq2050, command); }
int32_t vq2050_run_cmd_by_stream(const char *command, char *output, uint32_t size) {
  return run_cmd_by_stream(vq2050, command, output, size);
}
int32_t vq2050_try_to_boot_up() { return try_to_boot_up(vq2050); }
void vq2050_check_securef_ret(int32_t result) { check_securef_ret(vq2050, result); }
