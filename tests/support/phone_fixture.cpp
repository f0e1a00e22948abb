// SPDX-License-Identifier: Apache-2.0
#include "tests/support/phone_fixture.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstring>

namespace {

using event_t = struct phone_event;

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

/// Takes the first line off a text.
std::string first_line(std::string &text) {
  const size_t end = text.find('\n');
  const std::string line = text.substr(0, end);
  text.erase(0, end == std::string::npos ? end : end + 1);
  return line;
}

/// Whether a line is as the notation wants it.
bool matches(const std::string &pattern, const std::string &line, const std::string &chip) {
  static const std::string any = "{*}", name = "{chip}";
  const size_t mark = std::min(pattern.find(any), pattern.find(name));
  if (mark == std::string::npos) return pattern == line;
  if (line.compare(0, mark, pattern, 0, mark) != 0) return false;
  if (pattern.compare(mark, name.size(), name) == 0) {
    const std::string rest = pattern.substr(mark + name.size());
    return line.compare(mark, chip.size(), chip) == 0 && matches(rest, line.substr(mark + chip.size()), chip);
  }
  const std::string rest = pattern.substr(mark + any.size());
  for (size_t at = mark; at <= line.size(); at++) {
    if (matches(rest, line.substr(at), chip)) return true;
  }
  return false;
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

std::string PhoneTest::transcript() {
  std::string text;
  each_event([&](const event_t &event) {
    const std::string line = line_of(event);
    if (!line.empty()) text += line + "\n";
  });
  return text;
}

void PhoneTest::expect_contacts(const std::string &expected) const {
  std::string wanted = expected, found = transcript();
  for (int number = 1; !wanted.empty() || !found.empty(); number++) {
    const bool ended = wanted.empty() || found.empty();
    const std::string want = first_line(wanted), got = first_line(found);
    if (!ended && matches(want, got, chip_)) continue;
    ADD_FAILURE() << "contact " << number << "\n  want " << want << "\n  got  " << got << "\nof\n"
                  << transcript();
    break;
  }
  forget();
}

bool PhoneTest::happened(const std::string &line) const {
  std::string all = transcript();
  while (!all.empty()) {
    if (matches(line, first_line(all), chip_)) return true;
  }
  return false;
}
