// SPDX-License-Identifier: Apache-2.0
#include "tests/support/phone_fixture.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstring>

#include "tests/support/contacts.h"
#include "virtual_phone/radio_commands.h"

namespace {

constexpr const char *library_name = "libwifi_factory_test_orva.so";

int command_id_on(const std::string &chip, const char *name) {
  for (uint32_t i = 0; i < RADIO_CHIPS; i++) {
    if (chip == radio_chip_name(i)) return radio_command_id(i, name);
  }
  return -1;
}

template <typename Visit> void each_event(const Visit &visit) {
  for (size_t i = 0; i < phone_event_count(); i++) visit(*phone_event(i));
}

/// Takes the first line off a text.
std::string first_line(std::string &text) {
  const size_t end = text.find('\n');
  const std::string line = text.substr(0, end);
  text.erase(0, end == std::string::npos ? end : end + 1);
  return line;
}

uint32_t number_of(const std::string &item) { return static_cast<uint32_t>(std::stoul(item)); }
std::string name_of(const std::string &item) { return item.substr(item.find(' ') + 1); }

}  // namespace

uint32_t sent_command::value() const {
  uint32_t number;
  memcpy(&number, data.data(), sizeof number);
  return number;
}

std::string name_of_case(const ::testing::TestParamInfo<const char *> &info) { return info.param; }

std::vector<const char *> chips_with(const char *function) {
  void *library = dlopen(library_name, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) fprintf(stderr, "%s\n", dlerror());
  std::vector<const char *> found;
  for (const char *chip : chip_names) {
    const std::string name = std::string(chip) + "_" + function;
    if (library != nullptr && dlsym(library, name.c_str()) != nullptr) found.push_back(chip);
  }
  if (library != nullptr) dlclose(library);
  return found;
}

std::vector<const char *> chips_by_command(const char *name, bool there) {
  std::vector<const char *> found;
  for (const char *chip : chip_names) {
    if ((command_id_on(chip, name) >= 0) == there) found.push_back(chip);
  }
  return found;
}

int PhoneTest::command_id(const char *name) const { return command_id_on(chip_, name); }

void PhoneTest::SetUp() {
  phone_reset();
  library_ = dlopen(library_name, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library_, nullptr) << dlerror();
}

void PhoneTest::TearDown() {
  EXPECT_EQ(phone_left_open(), 0U) << "descriptors, children or streams left behind";
  EXPECT_EQ(phone_faults_unfired(), 0U) << "a planned fault never fired";
  if (library_ != nullptr) dlclose(library_);
}

void ChipTest::SetUp() {
  PhoneTest::SetUp();
  fit(GetParam());
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

bool PhoneTest::has_symbol(const std::string &name) const { return dlsym(library_, name.c_str()) != nullptr; }

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

void PhoneTest::answer_bytes(uint32_t command, const std::string &bytes) {
  EXPECT_EQ(phone_driver_answer(command, bytes.data(), bytes.size()), 0);
}

void PhoneTest::put(const std::string &item, const std::string &text) {
  char bytes[104] = {};
  ASSERT_LE(text.size(), sizeof bytes) << item;
  memcpy(bytes, text.data(), text.size());
  ASSERT_EQ(phone_nv_put(number_of(item), name_of(item).c_str(), bytes), 0) << item;
}

void PhoneTest::put(const store_t &store) {
  phone_nv_clear();
  for (const auto &[item, text] : store) put(item, text);
}

store_t PhoneTest::stored() {
  store_t store;
  uint32_t number;
  char name[32], bytes[104];
  for (size_t i = 0; phone_nv_at(i, &number, name, sizeof name, bytes) == 1; i++) {
    const std::string text(bytes, strnlen(bytes, sizeof bytes));
    if (!text.empty()) store[std::to_string(number) + " " + name] = text;
  }
  return store;
}

std::string PhoneTest::stored(const std::string &item) {
  const store_t store = stored();
  const auto found = store.find(item);
  return found == store.end() ? "" : found->second;
}

std::vector<sent_command> PhoneTest::sent() {
  std::vector<sent_command> commands;
  each_event([&](const struct phone_event &event) {
    if (event.kind != PHONE_IOCTL) return;
    const uint8_t *data = static_cast<const uint8_t *>(event.data) + 8;
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

std::string PhoneTest::transcript() const {
  std::string text;
  for (const std::string &line : support::contacts(chip_)) {
    if (!line.starts_with("subchip")) text += line + "\n";
  }
  return text;
}

void PhoneTest::expect_contacts(const std::string &expected) const {
  std::string wanted = expected, found = transcript();
  for (int number = 1; !wanted.empty() || !found.empty(); number++) {
    const bool ended = wanted.empty() || found.empty();
    const std::string want = first_line(wanted), got = first_line(found);
    if (!ended && support::matches(want, got, chip_)) continue;
    ADD_FAILURE() << "contact " << number << "\n  want " << want << "\n  got  " << got << "\nof\n"
                  << transcript();
    break;
  }
  forget();
}

bool PhoneTest::happened(const std::string &line) const {
  std::string all = transcript();
  while (!all.empty()) {
    if (support::matches(line, first_line(all), chip_)) return true;
  }
  return false;
}
