// SPDX-License-Identifier: Apache-2.0
#include "tests/support/self_check_fixture.h"

#include <cstring>

void SelfCheckTest::SetUp() {
  ChipTest::SetUp();
  set("netcfg.output", "wlan0 UP");
}

std::string SelfCheckTest::own(std::string lines) const {
  const std::string name = chip().name;
  for (size_t at = 0; (at = lines.find('@', at)) != std::string::npos; at += name.size()) {
    lines.replace(at, 1, name);
  }
  return lines;
}

void SelfCheckTest::expect_own_marks() const {
  for (size_t i = 0; i < phone_event_count(); i++) {
    const struct phone_event &event = *phone_event(i);
    if (event.kind == PHONE_LOG) {
      EXPECT_STREQ(event.name, chip().tag) << event.text;
    } else if (event.kind == PHONE_IOCTL) {
      EXPECT_EQ(event.number[1], chip().magic) << "command " << event.number[2];
    }
  }
}

void SelfCheckTest::expect_contacts(const std::string &lines) const {
  EXPECT_EQ(transcript(), own(lines));
  expect_own_marks();
  forget();
}

std::string SelfCheckTest::sends(uint32_t command, const std::string &data) {
  return "ioctl " + std::to_string(command) + " " + data + "\n";
}

std::string SelfCheckTest::refused(uint32_t command, const std::string &data, const std::string &left) const {
  const std::string attempt = "ioctl! " + std::to_string(command) + " ";
  const std::string tells = "log 6 @_wl_config_cmd_to_driver[";
  return attempt + data + "\n" + tells + pick("221", "451", "315", "481") +
         "]:wl_config test: ioctl fail:ret -1\\n\nsleep 10000\n" + attempt + (left.empty() ? data : left) +
         "\n" + tells + pick("225", "455", "319", "485") + "]:wl_config test: retry ioctl fail:ret -1\\n\n";
}

std::string SelfCheckTest::no_socket() const {
  return "socket!\nlog 6 @_wl_config_sockets_open[" + std::to_string(pick(114, 344, 208, 374)) +
         R"(]:socket failed:-1\n
log 6 socket create fail.\n
)";
}

std::string SelfCheckTest::service_stopped() {
  return R"(log 3 wl_config_test:@_wl_config_disable_wifi enter\n
popen /system/bin/netcfg |grep wlan0
log 4 @_run_cmd_by_stream:exec command:/system/bin/netcfg |grep wlan0
log 3 @_is_wlan_up: wlan0 UP
log 3 wl_config_test:svc wifi disable\n
sh svc wifi disable = 0
sleep 2000000
)";
}

void SelfCheckTest::refuse(uint32_t command, const std::string &left) {
  set("driver.refuse", std::to_string(command));
  if (!left.empty()) answer_bytes(command, left);
}

void SelfCheckTest::answer_bytes(uint32_t command, const std::string &bytes) {
  EXPECT_EQ(phone_driver_answer(command, bytes.data(), bytes.size()), 0);
}
