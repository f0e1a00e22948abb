// SPDX-License-Identifier: Apache-2.0
// Prints the floor (floor.h) for the chips that the arguments name: it runs each operation on the virtual
// phone and writes every contact from the phone's trace as a line of C.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <regex>
#include <string>

#include "bench/operations.h"
#include "virtual_phone/phone.h"

namespace {

std::string literal(const char *text) {
  std::string out = "\"";
  for (; *text != '\0'; text++) {
    if (*text == '\n') {
      out += "\\n";
    } else if (*text == '%') {
      out += "%%";
    } else {
      out += (*text == '"' || *text == '\\' ? "\\" : "") + std::string(1, *text);
    }
  }
  return out + "\"";
}

/// A log call's format and arguments. Numbers become arguments, because the library has to format them as
/// well.
std::string log_arguments(const char *text) {
  static const std::regex number(R"((^|[^\w%])(0|[1-9]\d{0,8})(?!\w))");
  std::string format, values;
  const std::string all = literal(text);
  auto end = all.begin();
  for (std::sregex_iterator match(all.begin(), all.end(), number), none; match != none; ++match) {
    format.append(end, (*match)[2].first).append("%d");
    values += ", " + (*match)[2].str();
    end = (*match)[2].second;
  }
  return format.append(end, all.end()) + values;
}

void write_record(const uint8_t *record) {
  printf("  static const unsigned char sent[264] = {");
  for (size_t i = 0; i < 264; i++) printf("%u,", record[i]);
  printf("};\n");
}

void write_event(const struct phone_event &event) {
  const auto number = static_cast<long long>(event.number[0]);
  switch (event.kind) {
  case PHONE_SUBCHIP: puts("get_orva_connectivity_subchip();"); return;
  case PHONE_SOCKET: puts("s = socket(AF_INET, SOCK_DGRAM, 0);"); return;
  case PHONE_IOCTL:
    puts("{");
    write_record(static_cast<const uint8_t *>(event.data));
    puts("issue(s, sent);\n}");
    return;
  case PHONE_CLOSE: puts("close(s);"); return;
  case PHONE_FORK: printf("child = fork();\n"); return;
  case PHONE_EXEC:
    printf("if (child == 0) { execl(\"/system/bin/sh\", \"sh\", \"-c\", %s, (char *)0); _exit(127); }\n",
           literal(event.text).c_str());
    return;
  case PHONE_WAIT: puts("waitpid(child, &status, 0);"); return;
  case PHONE_POPEN: printf("f = popen(%s, \"r\");\n", literal(event.text).c_str()); return;
  case PHONE_FREAD: puts("if (fread(output, 1, sizeof output - 1, f) == 0) return;"); return;
  case PHONE_PCLOSE: puts("pclose(f);"); return;
  case PHONE_SLEEP:
    printf(number >= 1000000 ? "sleep(%lld);\n" : "usleep(%lld);\n",
           number >= 1000000 ? number / 1000000 : number);
    return;
  case PHONE_LOG:
    printf("__android_log_print(%lld, \"%s\", %s);\n", number, event.name, log_arguments(event.text).c_str());
    return;
  default: fprintf(stderr, "bench_record: an event of kind %d is not expected here\n", event.kind);
  }
}

constexpr char head[] = R"(#include <net/if.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include "bench/floor.h"
#include "platform/platform.h"

static void issue(int s, const unsigned char *sent) {
  unsigned char record[264];
  struct ifreq request;
  memcpy(record, sent, sizeof record);
  memset(&request, 0, sizeof request);
  strncpy_s(request.ifr_name, IFNAMSIZ, "wlan0", IFNAMSIZ - 1);
  request.ifr_data = (char *)record;
  ioctl(s, 0x89F2, &request);
}
)";

/// The exec event comes from the child; the floor runs it as the child's code between fork and wait.
void write_floor(const char *chip, const bench::operation &operation) {
  char error[200];
  phone_reset();
  if (phone_set("chip", chip, error, sizeof error) != 0) {
    fprintf(stderr, "bench_record: %s\n", error);
    exit(1);
  }
  operation.prepare();
  phone_events_clear();
  operation.run();
  printf("\nstatic void %s_%s(void) {\n  int s = -1, status = 0;\n  pid_t child = 0;\n  FILE *f = 0;\n"
         "  static char output[2048];\n  (void)s, (void)status, (void)child, (void)f, (void)output;\n",
         chip, operation.name);
  for (size_t i = 0; i < phone_event_count(); i++) write_event(*phone_event(i));
  puts("}");
}

}  // namespace

int main(int count, char **words) {
  if (count < 2) {
    fputs("usage: bench_record CHIP...\n", stderr);
    return 2;
  }
  fputs(head, stdout);
  for (int i = 1; i < count; i++) {
    for (const bench::operation &operation : bench::operations) write_floor(words[i], operation);
  }
  puts("\nconst struct bench_floor bench_floors[] = {");
  for (int i = 1; i < count; i++) {
    for (const bench::operation &operation : bench::operations) {
      printf("  {\"%s\", \"%s\", %s_%s},\n", words[i], operation.name, words[i], operation.name);
    }
  }
  puts("  {0, 0, 0},\n};");
  return 0;
}
