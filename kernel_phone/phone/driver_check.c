/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Checks the driver's contract from a caller's side, above all that it touches the 40 bytes of a request and
 * the 264 bytes of a record and nothing beyond: every command is sent with both next to an inaccessible page,
 * at either end. Usage: driver_check CHIP, with wlan0 up. Prints a line per check; exit status 0 if all held.
 */
#define _GNU_SOURCE
#include <errno.h>
#include <net/if.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "virtual_phone/radio_chips.h"

enum { PRIVATE_REQUEST = 0x89F2, RECORD_SIZE = 264, REQUEST_SIZE = 40, UNUSED_COMMAND = 15 };

static int driver;
static int failures;

static void check(int held, const char *what) {
  if (!held) failures++;
  printf("%-6s %s\n", held ? "held" : "BROKEN", what);
}

/* An object at the beginning or end of a page between two inaccessible pages. */
static unsigned char *guarded(size_t size, int at_end) {
  size_t page = (size_t)sysconf(_SC_PAGESIZE);
  unsigned char *pages = mmap(NULL, 3 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (pages == MAP_FAILED || mprotect(pages + page, page, PROT_READ | PROT_WRITE) != 0) {
    perror("driver_check: no guarded page");
    exit(2);
  }
  memset(pages + page, 0xA5, page);
  return pages + page + (at_end ? page - size : 0);
}

/* Whether the rest of the object's page still has its fill pattern. */
static int rest_untouched(const unsigned char *object, size_t size) {
  uintptr_t page = (uintptr_t)sysconf(_SC_PAGESIZE);
  const unsigned char *begin = (const unsigned char *)((uintptr_t)object & ~(page - 1));
  for (const unsigned char *byte = begin; byte < begin + page; byte++)
    if ((byte < object || byte >= object + size) && *byte != 0xA5) return 0;
  return 1;
}

static void write_request(unsigned char *request, const char *interface, const void *record) {
  memset(request, 0, REQUEST_SIZE);
  memcpy(request, interface, strlen(interface));
  memcpy(request + 16, &record, sizeof record);
}

static void write_record(unsigned char *record, uint32_t magic, uint32_t command) {
  memset(record, 0, RECORD_SIZE);
  memcpy(record, &magic, sizeof magic);
  memcpy(record + 4, &command, sizeof command);
}

/* 0, or the errno of a refused request. */
static int send_request(const unsigned char *request) {
  return ioctl(driver, PRIVATE_REQUEST, request) < 0 ? errno : 0;
}

static int send_record(unsigned char *request, unsigned char *record, uint32_t magic, uint32_t command) {
  write_record(record, magic, command);
  write_request(request, "wlan0", record);
  return send_request(request);
}

/* The number of commands that reached the driver, one line each in its own list. */
static int commands_heard(void) {
  FILE *account = fopen("/proc/orva_commands", "r");
  int lines = 0, c;
  if (!account) return -1;
  while ((c = fgetc(account)) != EOF) lines += c == '\n';
  fclose(account);
  return lines;
}

static void every_command(uint32_t magic, int at_end) {
  unsigned char *record = guarded(RECORD_SIZE, at_end), *request = guarded(REQUEST_SIZE, at_end);
  unsigned char sent[REQUEST_SIZE];
  int accepted = 0, faulted = 0, spilt = 0, changed = 0;
  for (uint32_t command = 0; command < RADIO_COMMANDS; command++) {
    int error = send_record(request, record, magic, command);
    accepted += error == 0;
    faulted += error == EFAULT;
    spilt += !rest_untouched(record, RECORD_SIZE) || !rest_untouched(request, REQUEST_SIZE);
    write_request(sent, "wlan0", record);
    changed += memcmp(sent, request, REQUEST_SIZE) != 0;
  }
  char what[120];
  snprintf(what, sizeof what, "%d of %d commands accepted, guard pages %s the record and the request",
           accepted, RADIO_COMMANDS, at_end ? "behind" : "before");
  check(accepted > 20 && !faulted && !spilt && !changed, what);
}

/* The driver must not act on a record with a byte that cannot be read or written. */
static void cut_records(uint32_t magic) {
  unsigned char *record = guarded(RECORD_SIZE, 1), *request = guarded(REQUEST_SIZE, 1);
  int refused = 0, heard = commands_heard();
  write_record(record, magic, 2);
  for (int missing = 1; missing <= RECORD_SIZE; missing++) {
    write_request(request, "wlan0", record + missing);
    refused += send_request(request) == EFAULT;
  }
  check(refused == RECORD_SIZE, "a record that reaches 1 to 264 bytes into the guard page gives EFAULT");
  check(heard > 0 && commands_heard() == heard, "and none of them reaches the driver's radio");
  write_request(request, "wlan0", NULL);
  check(send_request(request) == EFAULT, "a null record gives EFAULT");
  check(ioctl(driver, PRIVATE_REQUEST, request + 1) < 0 && errno == EFAULT,
        "a request that reaches 1 byte into the guard page gives EFAULT");
  write_request(request, "wlan0", record);
  write_record(record, magic, 6);
  mprotect(record - (uintptr_t)record % (uintptr_t)sysconf(_SC_PAGESIZE), (size_t)sysconf(_SC_PAGESIZE),
           PROT_READ);
  check(send_request(request) == EFAULT, "an answer to a record that may only be read gives EFAULT");
}

static void wrong_records(uint32_t magic) {
  unsigned char record[RECORD_SIZE], request[REQUEST_SIZE];
  check(send_record(request, record, magic ^ 1, 2) == EINVAL, "a wrong magic gives EINVAL");
  check(send_record(request, record, magic, UNUSED_COMMAND) == EOPNOTSUPP,
        "a command that no chip has gives EOPNOTSUPP");
  check(send_record(request, record, magic, 0xFFFFFFFF) == EOPNOTSUPP,
        "the largest command id gives EOPNOTSUPP");
  write_record(record, magic, 2);
  write_request(request, "wlan1", record);
  check(send_request(request) == ENODEV, "an interface that does not exist gives ENODEV");
  write_request(request, "lo", record);
  check(send_request(request) == EOPNOTSUPP, "an interface without the private request gives EOPNOTSUPP");
}

/* The driver requires the right to administer the network. */
static void ordinary_user(uint32_t magic) {
  unsigned char record[RECORD_SIZE], request[REQUEST_SIZE];
  int status = 0;
  pid_t child = fork();
  if (child == 0) _exit(setuid(65534) != 0 || send_record(request, record, magic, 6) != EPERM);
  check(waitpid(child, &status, 0) == child && status == 0, "an ordinary user gets EPERM");
}

static void take_interface(int up) {
  struct ifreq request = {.ifr_name = "wlan0"};
  int flags = ioctl(driver, SIOCGIFFLAGS, &request);
  request.ifr_flags = (short)(up ? request.ifr_flags | IFF_UP : request.ifr_flags & ~IFF_UP);
  check(flags == 0 && ioctl(driver, SIOCSIFFLAGS, &request) == 0, up ? "wlan0 comes up" : "wlan0 goes down");
}

/* The weld test sends commands while the interface is down; a radio test must not start then. */
static void interface_down(uint32_t magic) {
  static const struct {
    uint32_t command;
    uint8_t value;
    int error;
    const char *what;
  } cases[] = {
      {5, 1, ENETDOWN, "down: transmit is refused"},    {8, 1, ENETDOWN, "down: receive is refused"},
      {5, 0, 0, "down: transmit can be ended"},         {8, 0, 0, "down: receive can be ended"},
      {0, 6, ENETDOWN, "down: a channel is refused"},   {6, 0, 0, "down: the DBB number is answered"},
      {20, 0, 0, "down: the efuse status is answered"}, {22, 0, 0, "down: the die identifier is answered"},
  };
  unsigned char record[RECORD_SIZE], request[REQUEST_SIZE];
  take_interface(0);
  for (size_t i = 0; i < sizeof cases / sizeof *cases; i++) {
    write_record(record, magic, cases[i].command);
    record[8] = cases[i].value;
    write_request(request, "wlan0", record);
    check(send_request(request) == cases[i].error, cases[i].what);
  }
  take_interface(1);
}

int main(int argc, char **argv) {
  const char *chip = argc == 2 ? argv[1] : "";
  for (uint32_t i = 0; i < RADIO_CHIPS; i++) {
    uint32_t magic = radio_chip_magic(i);
    if (strcmp(radio_chip_name(i), chip) != 0) continue;
    driver = socket(AF_INET, SOCK_DGRAM, 0);
    printf("%s\n", chip);
    every_command(magic, 1);
    every_command(magic, 0);
    cut_records(magic);
    wrong_records(magic);
    ordinary_user(magic);
    interface_down(magic);
    return failures != 0;
  }
  fprintf(stderr, "driver_check: '%s' is no chip; usage: driver_check", chip);
  for (uint32_t i = 0; i < RADIO_CHIPS; i++) fprintf(stderr, "%c%s", i ? '|' : ' ', radio_chip_name(i));
  fputc('\n', stderr);
  return 2;
}
