// SPDX-License-Identifier: Apache-2.0
// The watcher on this machine's own kernel and shell, where nobody defines the platform's functions.
#include "watcher/watcher.h"

#include "platform/platform.h"

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <net/if.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

TEST(bare, platform_functions_that_nobody_defines_are_named_and_fail) {
  std::string names;
  for (size_t i = 0; watcher_missing(i); i++) names += std::string(watcher_missing(i)) + " ";
  EXPECT_EQ(names, "__android_log_print get_orva_connectivity_subchip kevoOperaNVWR ");
  char item[104];
  EXPECT_NE(kevoOperaNVWR(ORVA_NV_READ, 340, "WINVRAM", sizeof item, item), 0);
  EXPECT_GE(get_orva_connectivity_subchip(), static_cast<uint32_t>(ORVA_SUBCHIPS));
  EXPECT_LT(__android_log_print(ORVA_LOG_INFO, "tag", "text"), 0);
}

TEST(bare, the_kernels_own_refusal_is_recorded) {
  watcher_open(16, 1 << 16);
  watcher_watch(1);
  char record[264] = {};
  ifreq with{};
  strcpy(with.ifr_name, "no_such_wlan");
  with.ifr_data = record;
  int one = socket(AF_INET, SOCK_DGRAM, 0);
  int result = ioctl(one, 0x89F2, &with);
  int error = errno;
  close(one);
  EXPECT_EQ(result, -1);
  ASSERT_EQ(watcher_count(), 3u);
  EXPECT_EQ(watcher_contact(1)->error, error);
  EXPECT_STREQ(watcher_contact(1)->name, "no_such_wlan");
}

TEST(bare, a_stream_shows_its_command_its_bytes_and_its_status) {
  watcher_open(16, 1 << 16);
  watcher_watch(1);
  char text[8] = "";
  FILE *stream = popen("echo wlan0; exit 2", "r");
  EXPECT_EQ(fread(text, 1, sizeof text, stream), 6u);
  EXPECT_EQ(pclose(stream), 2 << 8);
  ASSERT_EQ(watcher_count(), 3u);
  EXPECT_STREQ(watcher_contact(0)->text, "echo wlan0; exit 2");
  EXPECT_EQ(std::string(static_cast<const char *>(watcher_contact(1)->data), 6), "wlan0\n");
  EXPECT_EQ(watcher_contact(2)->result, 2 << 8);
  EXPECT_EQ(watcher_left_open(), 0u);
}

}  // namespace
