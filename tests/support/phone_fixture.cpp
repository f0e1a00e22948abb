// SPDX-License-Identifier: Apache-2.0
#include "tests/support/phone_fixture.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstring>

const chip_case vq2040_case = {"vq2040", "vq2040", "WIFI_ORVA_FAC_TEST_2040", 2040};
const chip_case vq2050_case = {"vq2050", "vq2050", "WIFI_ORVA_FAC_TEST_2050", 2050};
const chip_case vq2040a_case = {"vq2040a", "vq2040a", "WIFI_ORVA_FAC_TEST_2040A", 0x2040A};
const chip_case vq2070_case = {"vq2070", "vq2070", "WIFI_ORVA_FAC_TEST_2070", 2070};

std::ostream &operator<<(std::ostream &out, const chip_case *chip) { return out << chip->name; }

std::string name_of_case(const ::testing::TestParamInfo<const chip_case *> &info) { return info.param->name; }

using event_t = struct phone_event;

namespace {

std::string escaped(const char *text) {
  std::string out;
  for (; *text != '\0'; text++) out += *text == '\n' ? std::string("\\n") : std::string(1, *text);
  return out;
}

std::string hex(const uint8_t *bytes, size_t count) {
  std::string out;
  char digits[3];
  for (size_t i = 0; i < count; i++) {
    snprintf(digits, sizeof digits, "%02x", bytes[i]);
    out += digits;
  }
  return out;
}

const uint8_t *record_of(const event_t &event) { return static_cast<const uint8_t *>(event.data); }

std::string item_text(const event_t &event) {
  const char *text = static_cast<const char *>(event.data);
  return std::string(text, strnlen(text, event.size));
}

std::string line_of(const event_t &event) {
  const std::string number = std::to_string(event.number[0]);
  switch (event.kind) {
  case PHONE_SOCKET: return event.result < 0 ? "socket!" : "socket";
  case PHONE_IOCTL:
    return std::string(event.result < 0 ? "ioctl! " : "ioctl ") + std::to_string(event.number[2]) + " " +
           hex(record_of(event) + 8, 4);
  case PHONE_CLOSE: return "close";
  case PHONE_EXEC: return std::string("sh ") + event.text + " = " + std::to_string(event.result);
  case PHONE_POPEN: return std::string("popen ") + event.text;
  case PHONE_OPEN: return std::string("open ") + event.text;
  case PHONE_WRITE: return "write " + std::string(static_cast<const char *>(event.data), event.size);
  case PHONE_SLEEP: return "sleep " + number;
  case PHONE_LOG: return "log " + number + " " + escaped(event.text);
  case PHONE_NV_READ: return "read " + number + " " + event.name + (event.result != 0 ? "!" : "");
  case PHONE_NV_WRITE:
    return "write " + number + " " + event.name + (event.result != 0 ? "! " : " ") + item_text(event);
  default: return "";
  }
}

template <typename Visit> void each_event(const Visit &visit) {
  for (size_t i = 0; i < phone_event_count(); i++) visit(*phone_event(i));
}

}  // namespace

uint32_t sent_command::value() const {
  uint32_t number;
  memcpy(&number, data.data(), sizeof number);
  return number;
}

void PhoneTest::SetUp() {
  phone_reset();
  library_ = dlopen("libwifi_factory_test_orva.so", RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library_, nullptr) << dlerror();
}

void PhoneTest::TearDown() {
  EXPECT_EQ(phone_left_open(), 0U) << "descriptors, children or streams left behind";
  EXPECT_EQ(phone_faults_unfired(), 0U) << "a planned fault never fired";
  if (library_ != nullptr) dlclose(library_);
}

void ChipTest::SetUp() {
  PhoneTest::SetUp();
  fit(chip().name);
}

void PhoneTest::fit(const std::string &chip) {
  chip_ = chip;
  set("chip", chip);
}

void *PhoneTest::symbol(const std::string &name) {
  void *address = dlsym(library_, name.c_str());
  EXPECT_NE(address, nullptr) << name << " is not exported";
  return address;
}

bool PhoneTest::has_symbol(const std::string &name) { return dlsym(library_, name.c_str()) != nullptr; }

void PhoneTest::set(const std::string &key, const std::string &value) {
  char error[200] = "";
  EXPECT_EQ(phone_set(key.c_str(), value.c_str(), error, sizeof error), 0) << error;
}

void PhoneTest::fail(const std::string &place, unsigned nth, unsigned times, int value) {
  EXPECT_GE(phone_fault(place.c_str(), nth, times, value), 0) << place;
}

void PhoneTest::answer(uint32_t command, uint32_t value) {
  EXPECT_EQ(phone_driver_answer(command, &value, sizeof value), 0);
}

std::vector<sent_command> PhoneTest::sent() {
  std::vector<sent_command> commands;
  each_event([&](const event_t &event) {
    if (event.kind != PHONE_IOCTL) return;
    const uint8_t *data = record_of(event) + 8;
    commands.push_back({static_cast<uint32_t>(event.number[1]), static_cast<uint32_t>(event.number[2]),
                        std::vector<uint8_t>(data, data + 256)});
  });
  return commands;
}

std::string PhoneTest::sent_values() {
  std::string text;
  for (const sent_command &command : sent()) {
    text += (text.empty() ? "" : " ") + std::to_string(command.id) + "=" +
            std::to_string(static_cast<int32_t>(command.value()));
  }
  return text;
}

std::vector<std::string> PhoneTest::logs(int priority) {
  std::vector<std::string> lines;
  each_event([&](const event_t &event) {
    if (event.kind != PHONE_LOG || (priority != 0 && event.number[0] != priority)) return;
    lines.push_back(std::to_string(event.number[0]) + " " + event.text);
  });
  return lines;
}

bool PhoneTest::logged(const std::string &line) {
  for (const std::string &found : logs()) {
    if (found == line) return true;
  }
  return false;
}

std::vector<std::string> PhoneTest::shell() {
  std::vector<std::string> commands;
  each_event([&](const event_t &event) {
    if (event.kind == PHONE_EXEC || event.kind == PHONE_POPEN) commands.emplace_back(event.text);
  });
  return commands;
}

std::vector<uint32_t> PhoneTest::sleeps() {
  std::vector<uint32_t> pauses;
  each_event([&](const event_t &event) {
    if (event.kind == PHONE_SLEEP) pauses.push_back(static_cast<uint32_t>(event.number[0]));
  });
  return pauses;
}

std::string PhoneTest::transcript() {
  std::string text;
  each_event([&](const event_t &event) {
    const std::string line = line_of(event);
    if (!line.empty()) text += line + "\n";
  });
  return text;
}
