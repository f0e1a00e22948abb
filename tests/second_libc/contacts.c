/* SPDX-License-Identifier: Apache-2.0
 * Calls the library on a phone in plain C and prints every contact between the two. Built for two C
 * libraries, it has to print the same: number parsing, formatting, streams, fork and wait are the C
 * library's. The virtual phone cannot serve here, because there is one C++ runtime only. */
#include "include/wifi_factory_test_orva.h"
#include "platform/platform.h"

#include <errno.h>
#include <fcntl.h>
#include <net/if.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

enum { SOCKET = 700, NODE = 701, ITEM = 104, ITEMS = 64, RECORD = 264 };

static uint32_t chip;
static int driver_refuses;
static struct {
  char name[32];
  char data[ITEM];
  uint32_t number;
} items[ITEMS];

/* write() is the phone's. */
__attribute__((format(printf, 1, 2))) static void say(const char *format, ...) {
  char line[2048];
  va_list arguments;
  va_start(arguments, format);
  int length = vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
  if (length < 0 || (size_t)length >= sizeof line || syscall(SYS_write, 1, line, (size_t)length) != length)
    _exit(3);
}

/* ---- The platform's functions */

int __android_log_print(int priority, const char *tag, const char *format, ...) {
  char text[1024];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  say("log %d %s %s%s", priority, tag, text, strchr(text, '\n') ? "" : "\n");
  return 1;
}

uint32_t get_orva_connectivity_subchip(void) { return chip; }

int kevoOperaNVWR(uint32_t op, uint32_t number, const char *name, uint32_t size, void *data) {
  int i = 0;
  while (items[i].name[0] && (items[i].number != number || strcmp(items[i].name, name) != 0)) i++;
  if (i + 1 == ITEMS || size > ITEM || strlen(name) >= sizeof items[i].name) return -1;
  say("nv %u %u %s %u\n", op, number, name, size);
  if (op == ORVA_NV_READ) {
    memcpy(data, items[i].data, size);
    return 0;
  }
  strcpy(items[i].name, name);
  items[i].number = number;
  memcpy(items[i].data, data, size);
  say("item %.*s\n", (int)size, items[i].data);
  return 0;
}

int memcpy_s(void *dest, size_t dest_max, const void *src, size_t count) {
  if (!dest || !src || count > dest_max) return EINVAL;
  memcpy(dest, src, count);
  return 0;
}

int strncpy_s(char *dest, size_t dest_max, const char *src, size_t count) {
  size_t length = src ? strnlen(src, count) : 0;
  if (!dest || !src || length >= dest_max) return EINVAL;
  memcpy(dest, src, length);
  dest[length] = 0;
  return 0;
}

int snprintf_s(char *dest, size_t dest_max, size_t count, const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  int length = vsnprintf(dest, count < dest_max ? count + 1 : dest_max, format, arguments);
  va_end(arguments);
  return length >= 0 && (size_t)length < dest_max && (size_t)length <= count ? length : -1;
}

int sscanf_s(const char *text, const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  int count = vsscanf(text, format, arguments);
  va_end(arguments);
  return count;
}

/* ---- The system calls that reach the driver, the shell, the node and the clock */

int socket(int domain, int type, int protocol) {
  say("socket %d %d %d\n", domain, type, protocol);
  return SOCKET;
}

/* The request has another type in each C library, so <sys/ioctl.h> is not included. */
int ioctl(int fd, unsigned long request, ...);
int ioctl(int fd, unsigned long request, ...) {
  va_list arguments;
  va_start(arguments, request);
  struct ifreq *with = va_arg(arguments, struct ifreq *);
  va_end(arguments);
  if (request != 0x89F2) return -1;
  unsigned char *record = (unsigned char *)with->ifr_data;
  char hex[2 * RECORD + 1];
  for (int i = 0; i < RECORD; i++) snprintf(hex + 2 * i, 3, "%02x", record[i]);
  say("ioctl %d %s %s\n", fd, with->ifr_name, hex);
  if (driver_refuses) {
    errno = EIO;
    return -1;
  }
  for (int i = 8; i < RECORD; i++)
    record[i] = (unsigned char)(i % 61 == 60 ? 0 : '0' + (i * 7 + record[4]) % 75);
  return 0;
}

int open(const char *path, int flags, ...) {
  say("open %s %d\n", path, flags);
  return NODE;
}

ssize_t write(int fd, const void *data, size_t size) {
  say("write %d %.*s\n", fd, (int)size, (const char *)data);
  return (ssize_t)size;
}

int close(int fd) {
  if (fd == SOCKET || fd == NODE) say("close %d\n", fd);
  return fd == SOCKET || fd == NODE ? 0 : (int)syscall(SYS_close, fd);
}

/* In the child that the library forked. */
int execl(const char *path, const char *argument, ...) {
  va_list arguments;
  say("exec %s", path);
  va_start(arguments, argument);
  for (const char *word = argument; word; word = va_arg(arguments, const char *)) say(" [%s]", word);
  va_end(arguments);
  say("\n");
  _exit(driver_refuses ? 1 : 0);
}

/* The C library still reads the stream. */
FILE *popen(const char *command, const char *mode) {
  static char output[] = "lo UP 127.0.0.1/8\nwlan0 UP 0.0.0.0/0 0x00001003\n";
  say("popen %s %s\n", command, mode);
  return fmemopen(output, sizeof output - 1, "r");
}

int pclose(FILE *stream) {
  say("pclose\n");
  return fclose(stream);
}

unsigned sleep(unsigned seconds) {
  say("sleep %u\n", seconds);
  return 0;
}

int usleep(unsigned us) {
  say("usleep %u\n", us);
  return 0;
}

/* ---- The calls */

#define CALL(call) say(#call " = %ld\n", (long)(call))

static void test_mode(void) {
  static char filter[] = "0a1B2c3D4e5F", id[] = "1a3";
  uint32_t signal = 0;
  CALL(wifi_start_testmode());
  for (int mode = -1; mode < 9; mode++) CALL(wifi_set_mode(mode));
  CALL(wifi_set_mode(4));
  CALL(wifi_set_band(1));
  CALL(wifi_set_channel(5180));
  CALL(wifi_set_rate(6500));
  CALL(wifi_set_power(-155));
  CALL(wifi_set_antenna(1));
  CALL(wifi_setmimo_channel(1));
  CALL(wifi_start_tx());
  CALL(wifi_stop_tx());
  CALL(wifi_ru_set(2, id));
  CALL(wifi_start_rx(filter, NULL));
  CALL(wifi_get_rx_rssi(&signal));
  CALL((int32_t)signal);
  CALL(wifi_get_rx_pckg());
  CALL(wifi_stop_rx());
  CALL(wifi_set_powermode(1, 0));
  CALL(wifi_stop_testmode());
  CALL(wifi_pt_power_test(1));
}

static void checks(void) {
  static uint8_t first, second, die_id[64];
  static uint32_t third;
  CALL(wifi_hw_get(NULL));
  CALL(wifi_test_weld());
  CALL(conn_test_chipcheck(NULL, NULL, NULL));
  CALL(conn_test_get_chipcheck_result(&first, &second, &third));
  CALL(conn_test_get_checktime_of_chipcheck(NULL, &third, die_id));
  say("%u %u %u %s\n", first, second, third, (char *)die_id);
  CALL(conn_test_uart_loop(NULL));
  CALL(conn_test_sdio_loop(NULL));
}

static void calibrate(void) {
  /* Texts that C libraries read in their own ways: signs, exponents, hexadecimal, blanks, what follows a
   * number. */
  static char gains[][16] = {"10", "-4.75", "+.5",  "5e-1", "0x1p1", " 3",    "2,5",
                             "1e", "nan",   "-inf", "",     "x",     "499.99"};
  static char text[16 * ITEM];
  const uint32_t flags[4] = {1, 0, 0, 1};
  CALL(wifi_nvram_set(NULL, NULL, 0));
  for (size_t i = 0; i < sizeof gains / sizeof gains[0]; i++) {
    say("gain '%s'\n", gains[i]);
    for (int band = 0; band < 2; band++) {
      CALL(wifi_nvram_calibrate_set(0, band, 0, band, 0, band ? 5500 : 2442, gains[i]));
    }
    CALL(wifi_nvram_calibrate_get(text, ITEM));
    say("%s\n", text);
  }
  CALL(wifi_nvram_calibrate_clean_new(flags));
  CALL(wifi_nvram_calibrate_clean(1));
}

static void utilities(void) {
  static char ssid[34], target[] = "02:00:5E:00:00:09";
  static uint8_t bssid[6], low, high, one;
  CALL(wifi_get_upc_code(&low, &high, &one));
  CALL(wifi_start_roam(target));
  CALL(wifi_start_roam_scan());
  CALL(wifi_set_bss_expire_age(180));
  CALL(wifi_conn_info(ssid, bssid, &one));
  CALL(wifi_power_set_range(&low, &high));
  say("%u %u %u %s\n", low, high, one, ssid);
  CALL(wifi_set_tas_ant_mode(1));
  CALL(wifi_selcal_disable_set(1));
  CALL(wifi_test_broadcast_loop(1));
}

int main(void) {
  for (driver_refuses = 0; driver_refuses < 2; driver_refuses++) {
    for (chip = 0; chip < ORVA_SUBCHIPS; chip++) {
      memset(items, 0, sizeof items);
      say("==== chip %u, the driver %s\n", chip, driver_refuses ? "refuses" : "answers");
      test_mode();
      checks();
      calibrate();
      utilities();
    }
  }
  return 0;
}
