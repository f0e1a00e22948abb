#include "common/driver.h"
#include "chips/vq2040a/profile.h"
#include "include/vq2040a.h"
#include "common/shell.h"

using namespace orva;

uint32_t vq2040a_wl_config_sockets_open() { return wl_config_sockets_open(vq2040a); }
int32_t vq2040a_wl_config_sockets_close(uint32_t socket) { return wl_config_sockets_close(socket); }
int32_t vq2040a_system_call(const char *command) { return system_call(vq2040a, command); }
int32_t vq2040a_run_cmd_by_stream(const char *command, char *output, uint32_t size) {
  return run_cmd_by_stream(vq2040a, command, output, size);
}
