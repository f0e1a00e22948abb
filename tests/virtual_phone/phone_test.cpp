// SPDX-License-Identifier: Apache-2.0
// The virtual phone alone: the chips' rules, system calls, shell, faults, NV. Command ids and record offsets
// are written out here a second time, so that the phone's own tables are checked.
#include "platform/platform.h"
#include "virtual_phone/phone.h"
#include "virtual_phone/radio_decode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <net/if.h>
#include <optional>
#include <regex>
#include <set>
#include <signal.h>
#include <string>
#include <strings.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

/// The numbers of some ranges, ends included.
std::vector<uint32_t> numbers(std::initializer_list<std::pair<uint32_t, uint32_t>> ranges) {
  std::vector<uint32_t> all;
  for (auto [first, last] : ranges)
    for (uint32_t number = first; number <= last; number++) all.push_back(number);
  return all;
}

struct chip_facts {
  const char *name;
  uint32_t magic, die_words;
  std::vector<uint32_t> commands;
  uint32_t pmu, wakeup_io, connection, parameter;  // 0: absent
};

const chip_facts chips[] = {
    {"vq2040", 2040, 8, numbers({{0, 14}, {16, 27}}), 0, 0, 27, 0},
    {"vq2050", 2050, 9, numbers({{0, 14}, {16, 17}, {20, 27}, {29, 38}}), 26, 30, 38, 29},
    {"vq2040a", 0x2040A, 8, numbers({{0, 14}, {16, 18}, {20, 35}}), 29, 27, 33, 26},
    {"vq2070", 2070, 9, numbers({{0, 14}, {16, 17}, {20, 27}, {29, 39}}), 26, 30, 38, 29},
};

static_assert(std::size(chips) == RADIO_CHIPS, "phone_test.cpp describes each chip of radio_chips.h");

/// The chips' names as a message lists them.
std::string listed_chips() {
  std::string text;
  for (uint32_t i = 0; i < RADIO_CHIPS; i++)
    text += (i == 0 ? "" : i == RADIO_CHIPS - 1 ? " or " : ", ") + std::string(radio_chip_name(i));
  return text;
}

struct driver_record {
  uint32_t magic = 0, command = 0;
  std::array<uint8_t, 256> data{};
  uint32_t value() const {
    uint32_t number;
    memcpy(&number, data.data(), sizeof(number));
    return number;
  }
};

struct request {
  char name[16] = "wlan0";
  driver_record *record = nullptr;
  char rest[16] = {};
};

void set(const char *key, const std::string &value) {
  char error[300] = "";
  ASSERT_EQ(phone_set(key, value.c_str(), error, sizeof(error)), 0) << error;
}

std::string get(const char *key) {
  char value[9000];
  return phone_get(key, value, sizeof(value)) == 0 ? value : "(none)";
}

class Phone : public testing::Test {
protected:
  void SetUp() override { phone_reset(); }
  void TearDown() override {
    EXPECT_EQ(phone_left_open(), 0u);
    EXPECT_EQ(phone_faults_unfired(), 0u);
  }

  /// 0 or more: what ioctl gave; negative: the errno.
  int issue(driver_record &record, const char *interface = "wlan0") {
    request asked;
    snprintf(asked.name, sizeof(asked.name), "%s", interface);
    asked.record = &record;
    int descriptor = socket(AF_INET, SOCK_DGRAM, 0);
    int result = ioctl(descriptor, 0x89F2, &asked);
    if (result < 0) result = -errno;
    close(descriptor);
    return result;
  }

  int give(uint32_t command, uint32_t value = 0) {
    driver_record record{magic, command, {}};
    memcpy(record.data.data(), &value, sizeof(value));
    return issue(record);
  }

  /// As the library runs a shell command; the exit status, or -1 where there was none.
  int shell(std::string command, bool by_vector = false) {
    pid_t child = fork();
    if (child == 0) {
      char sh[] = "sh", option[] = "-c";
      char *const arguments[] = {sh, option, command.data(), nullptr};
      if (by_vector) execv("/system/bin/sh", arguments);
      execl("/system/bin/sh", "sh", "-c", command.c_str(), nullptr);
      _exit(127);
    }
    int status = 0;
    while (child > 0 && waitpid(child, &status, 0) < 0) {
      if (errno != EINTR) return -1;
    }
    return child > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  std::string output_of(const char *command, size_t room = 4096) {
    std::string text(room, '\0');
    FILE *stream = popen(command, "r");
    if (!stream) return "(no stream)";
    text.resize(fread(text.data(), 1, room, stream));
    pclose(stream);
    return text;
  }

  uint32_t magic = 2050;
};

// ---- The chips ------------------------------------------------------------------------------------------

class Chip : public Phone, public testing::WithParamInterface<chip_facts> {
protected:
  void SetUp() override {
    Phone::SetUp();
    set("chip", facts.name);
    magic = facts.magic;
  }

  /// A request that this command takes: empty, or what it needs to be whole.
  driver_record well_formed(uint32_t command) const {
    driver_record record{facts.magic, command, {}};
    std::string name = name_of(command);
    if (name == "country") memcpy(record.data.data(), "99", 3);
    if (name == "cal_interval") memcpy(record.data.data(), "11", 3);
    if (name == "cal_parameter") record.data[103] = 1;
    if (name == "ru_setting") record.data[2] = 2;
    if (command == 5 || command == 8) record.data[0] = 1;
    return record;
  }

  uint32_t radio_chip() const { return static_cast<uint32_t>(&facts - chips); }

  std::string name_of(uint32_t command) const {
    auto *form = radio_chip_command_form(radio_chip(), command);
    return form ? form->name : "";
  }

  const chip_facts &facts = chips[static_cast<size_t>(
      std::find_if(std::begin(chips), std::end(chips), [](auto &c) { return c.name == GetParam().name; }) -
      chips)];
};

TEST_P(Chip, KnowsItsCommandsAndNoOthers) {
  for (uint32_t command = 0; command < 48; command++) {
    bool known = std::count(facts.commands.begin(), facts.commands.end(), command);
    EXPECT_EQ(!name_of(command).empty(), known) << command;
    int found = radio_command_id(radio_chip(), name_of(command).c_str());
    EXPECT_EQ(found, known ? static_cast<int>(command) : -1);
    driver_record record{facts.magic, command, {}};
    if (known) record = well_formed(command);
    EXPECT_EQ(issue(record), known ? 0 : -EOPNOTSUPP) << command;
  }
  driver_record huge{facts.magic, 0x80000001, {}};
  EXPECT_EQ(issue(huge), -EOPNOTSUPP);
}

TEST_P(Chip, RefusesAnotherChipsMagic) {
  for (auto &other : chips) {
    driver_record record{other.magic, 20, {}};
    EXPECT_EQ(issue(record), other.magic == facts.magic ? 0 : -EINVAL) << other.name;
  }
}

TEST_P(Chip, NeedsTheInterfaceForRadioWorkOnly) {
  set("interface.up", "false");
  const std::set<std::string> need_up = {"channel",    "mode",       "rate",         "bandwidth", "transmit",
                                         "receive",    "mac_filter", "packet_count", "rssi",      "country",
                                         "mimo_chain", "ru_setting", "cal_interval"};
  for (uint32_t command : facts.commands) {
    driver_record record = well_formed(command);
    int expected = need_up.count(name_of(command)) ? -ENETDOWN : 0;
    EXPECT_EQ(issue(record), expected) << command;
  }
  EXPECT_EQ(give(5, 0), 0) << "a test can be ended with the interface down";
  EXPECT_EQ(give(8, 0), 0);
}

TEST_P(Chip, RefusesARecordThatWasNotCleared) {
  for (uint32_t command : facts.commands) {
    driver_record record = well_formed(command);
    record.data[255] = 1;
    EXPECT_EQ(issue(record), -EINVAL) << command;
  }
  set("driver.strict_records", "false");
  driver_record record = well_formed(20);
  record.data[255] = 1;
  EXPECT_EQ(issue(record), 0);
}

TEST_P(Chip, AnswersWithItsDescription) {
  const struct {
    const char *key;
    uint32_t command, value;
  } verdicts[] = {{"check.efuse", 20, 0x80000000}, {"check.fem", 7, 65536},
                  {"check.chip", 14, 3},           {"check.pmu", facts.pmu, 0x1FF},
                  {"identity.upc", 24, 300},       {"check.wakeup_io", facts.wakeup_io, 65535}};
  for (auto &verdict : verdicts) {
    if (verdict.command == 0) continue;
    set(verdict.key, std::to_string(verdict.value));
    driver_record record{facts.magic, verdict.command, {}};
    ASSERT_EQ(issue(record), 0) << verdict.key;
    EXPECT_EQ(record.value(), verdict.value) << verdict.key;
  }
  driver_record die{facts.magic, 22, {}};
  ASSERT_EQ(issue(die), 0);
  EXPECT_EQ(die.value(), 0x0F0012ABu) << "little-endian words 12AB, 0F00";
  EXPECT_EQ(die.data[16] | die.data[17], facts.die_words == 9 ? 0x60 | 0x0D : 0);
  driver_record connection{facts.magic, facts.connection, {}};
  ASSERT_EQ(issue(connection), 0);
  EXPECT_STREQ(reinterpret_cast<char *>(connection.data.data() + 1), "factory-line-7");
  EXPECT_EQ(memcmp(connection.data.data() + 34, "\x02\x00\x5E\x10\x20\x30", 6), 0);
  EXPECT_EQ(static_cast<int8_t>(connection.data[40]), -47);
}

TEST_P(Chip, CountsPacketsWhileItReceives) {
  set("radio.packet_rate", "300");
  auto packets = [&] {
    driver_record record{facts.magic, 10, {}};
    EXPECT_EQ(issue(record), 0);
    return record.value();
  };
  sleep(4294);  // what follows passes 32 bits of microseconds
  EXPECT_EQ(packets(), 0u);
  ASSERT_EQ(give(8, 1), 0);
  for (int i = 0; i < 1000; i++) {
    usleep(1500);
    if (i % 2) give(11);
    EXPECT_EQ(get("state.packets"), std::to_string(300 * 15 * (i + 1) / 10000));
  }
  EXPECT_EQ(packets(), 450u) << "nothing lost to rounding between commands and looks at the state";
  ASSERT_EQ(give(8, 0), 0);
  sleep(5);
  EXPECT_EQ(packets(), 450u);
  ASSERT_EQ(give(8, 1), 0);
  EXPECT_EQ(packets(), 0u);
}

TEST_P(Chip, GivesCalibrationParametersByItsOwnNumbers) {
  if (facts.parameter == 0) return;  // keeps a raw block
  bool single = radio_command_id(radio_chip(), "mimo_chain") < 0;
  set("calibration.pa2g40a0", "1,2,3");
  for (int number : {single ? 3 : 2, single ? 0 : 10, 255}) {
    driver_record record{facts.magic, facts.parameter, {}};
    record.data[103] = static_cast<uint8_t>(number);
    bool known = number == (single ? 3 : 2);
    EXPECT_EQ(issue(record), known ? 0 : -EINVAL) << number;
    const char *answer = reinterpret_cast<char *>(record.data.data());
    EXPECT_STREQ(answer, known ? "1,2,3" : "");
  }
}

TEST_P(Chip, ItsCommandsAreDecoded) {
  // By name, because the ids differ: data as sent or answered (hexadecimal, from an offset on), and as text.
  const struct {
    const char *name;
    bool answered;
    size_t at;
    const char *bytes, *text;
  } cases[] = {{"channel", false, 0, "\xFF\xFF\xFF\xFF", "-1"},
               {"rssi", true, 0, "\xCC\xFF\xFF\xFF", "-52"},
               {"bus_mode", false, 0, "\xFF\xFF\x01", "65535"},
               {"country", false, 0, "DE and more", "DE and more"},
               {"mac_filter", false, 0, "\x02\x0A\x1B\x2C\x3D\x4E\xFF", "020A1B2C3D4E"},
               {"cal_parameter", false, 103, "\xC8", "200"},
               {"ru_setting", false, 0, "\xFF\x0A\x02", "aff:2"},
               {"connection_info", true, 1, "lab", "lab 000000000000 0"},
               {"connection_info", true, 40, "\xD1", " 000000000000 -47"}};
  for (auto &c : cases) {
    int id = radio_command_id(radio_chip(), c.name);
    if (id < 0) continue;
    uint8_t before[256] = {}, after[256] = {};
    memcpy((c.answered ? after : before) + c.at, c.bytes, strlen(c.bytes));
    radio_decoded decoded;
    radio_decode(radio_chip(), static_cast<uint32_t>(id), before, after, &decoded);
    EXPECT_STREQ(decoded.form->name, c.name);
    EXPECT_STREQ(c.answered ? decoded.answer : decoded.sent, c.text) << c.name;
    EXPECT_STREQ(c.answered ? decoded.sent : decoded.answer, "") << c.name;
  }
}

TEST(Decoding, OfACommandThatIsRefusedOrUnknown) {
  uint8_t data[256] = {7};
  radio_decoded decoded;
  radio_decode(RADIO_VQ2050, 20, data, nullptr, &decoded);
  EXPECT_STREQ(decoded.form->name, "efuse_status");
  EXPECT_STREQ(decoded.sent, "");
  EXPECT_STREQ(decoded.answer, "") << "a refused command has no answer";
  radio_decode(RADIO_VQ2050, 15, data, data, &decoded);
  EXPECT_EQ(decoded.form, nullptr);
  EXPECT_STREQ(decoded.sent, "7");
  EXPECT_STREQ(decoded.answer, "");
  radio_decode(RADIO_CHIPS, 0, data, data, &decoded);
  EXPECT_EQ(decoded.form, nullptr) << "nobody knows this chip";
  EXPECT_EQ(radio_command_id(RADIO_VQ2040, "mimo_chain"), -1);
  EXPECT_EQ(radio_chip_name(RADIO_CHIPS), nullptr);
  EXPECT_EQ(radio_chip_magic(RADIO_CHIPS) + radio_chip_die_words(RADIO_CHIPS), 0u);
  EXPECT_EQ(radio_chip_command(RADIO_CHIPS, 0), RADIO_CMD_NONE);
  EXPECT_EQ(radio_chip_command(RADIO_VQ2050, RADIO_COMMANDS), RADIO_CMD_NONE);
  EXPECT_EQ(radio_chip_parameter(RADIO_CHIPS, 0), RADIO_PARAMETERS);
}

TEST_F(Phone, TheOldestChipKeepsARawBlock) {
  set("chip", "vq2040");
  magic = 2040;
  driver_record record{2040, 18, {}};
  ASSERT_EQ(issue(record), 0);
  EXPECT_EQ(memcmp(record.data.data(), "\x01\x50\x01\x52", 4), 0);
  EXPECT_EQ(record.data[89], 0xC5) << "second byte of the last pair in use";
  record.command = 19;
  record.data[1] = 0x51;
  ASSERT_EQ(issue(record), 0);
  EXPECT_EQ(get("state.pushed_block").substr(0, 8), "01510152");
  EXPECT_EQ(get("calibration.block").substr(0, 8), "01500152") << "the board's own block is not written";
}

TEST_F(Phone, TakesTheValuesThatTheLibrarySends) {
  const struct {
    uint32_t command, value;
    const char *key, *kept;
  } cases[] = {{0, 0xFFFFFFFF, "state.channel", "-1"},
               {1, 0xFFFFFFF7, "state.power", "-9"},
               {4, 0xFFFFFFFF, "state.band", "4294967295"},
               {37, 0xFFFFFFFF, "state.bss_expire_age", "4294967295"},
               {27, 2, "state.chain", "2"}};
  for (auto &c : cases) {
    EXPECT_EQ(give(c.command, c.value), 0) << c.key;
    EXPECT_EQ(get(c.key), c.kept);
  }
  EXPECT_EQ(give(32, 65536), -EINVAL) << "the bus mode has 16 bits";
}

/// The key under state. where a value command's number is kept, if it is not named as the command.
std::string state_key(const std::string &command) {
  static const std::map<std::string, std::string> others = {{"bandwidth", "band"},
                                                            {"transmit", "transmitting"},
                                                            {"receive", "receiving"},
                                                            {"chip_check", "running_test"},
                                                            {"mimo_chain", "chain"}};
  const auto other = others.find(command);
  return "state." + (other == others.end() ? command : other->second);
}

bool takes_one_number(const radio_form &form) {
  const auto kind = form.request.field[0].form;
  return form.request.count == 1 && form.request.field[0].at == 0 &&
         (kind == RADIO_SIGNED || kind == RADIO_UNSIGNED);
}

/// A chip and the id that it has for a command.
std::optional<std::pair<uint32_t, uint32_t>> holder_of(enum radio_cmd command) {
  for (uint32_t chip = 0; chip < RADIO_CHIPS; chip++) {
    for (uint32_t id = 0; id < RADIO_COMMANDS; id++) {
      if (radio_chip_command(chip, id) == command) return std::pair(chip, id);
    }
  }
  return std::nullopt;
}

/// Numbers are those of enum radio_cmd in radio_chips.h.
TEST_F(Phone, EveryCommandHasItsFormItsDriverRowAndItsState) {
  for (int number = RADIO_CMD_NONE + 1; number < RADIO_CMDS; number++) {
    const auto command = static_cast<enum radio_cmd>(number);
    SCOPED_TRACE("command " + std::to_string(number));
    const struct radio_form *form = radio_command_form(command);
    const auto holder = holder_of(command);
    EXPECT_TRUE(form) << "radio_commands.c has no row for it";
    EXPECT_TRUE(holder) << "radio_chips.c gives it to no chip";
    if (!form || !holder) continue;
    phone_reset();
    set("chip", radio_chip_name(holder->first));
    set("driver.strict_records", "false");
    magic = radio_chip_magic(holder->first);
    EXPECT_NE(give(holder->second, 1), -EOPNOTSUPP) << "radio_driver.c has no row for " << form->name;
    if (takes_one_number(*form)) {
      EXPECT_EQ(get(state_key(form->name).c_str()), "1") << "radio_keys.c has no key for " << form->name;
    }
  }
}

TEST_P(Chip, StrictValuesAreThoseOfAChip) {
  const struct {
    const char *name;
    int64_t least, most;
  } ranges[] = {{"channel", -1, 165},
                {"power", -100, 100},
                {"connection_power", -100, 100},
                {"mode", 0, 14},
                {"rate", 0, 65535},
                {"bandwidth", 0, 7},
                {"power_save", 0, 1},
                {"antenna", 0, 1},
                {"mimo_chain", 1, 2},
                {"self_calibration", 0, 1},
                {"power_test", INT32_MIN, INT32_MAX},
                {"tas_antenna", INT32_MIN, INT32_MAX},
                {"transmit", 0, 1},
                {"receive", 0, 1}};
  set("driver.strict_values", "true");
  for (const char *test : {"transmit", "receive"}) {
    int id = radio_command_id(radio_chip(), test);
    EXPECT_EQ(give(static_cast<uint32_t>(id), 1), -EINVAL) << "nothing was configured yet";
  }
  for (auto &range : ranges) {
    int id = radio_command_id(radio_chip(), range.name);
    if (id < 0) continue;
    for (int64_t value : {range.least - 1, range.least, range.most, range.most + 1}) {
      if (value < INT32_MIN || value > INT32_MAX) continue;
      bool taken = value >= range.least && value <= range.most;
      EXPECT_EQ(give(static_cast<uint32_t>(id), static_cast<uint32_t>(value)), taken ? 0 : -EINVAL)
          << range.name << " " << value;
    }
  }
  for (uint32_t code = 0; code < 9; code++) {
    bool bandwidth = code == 0 || code == 1 || code == 3 || code == 7;
    EXPECT_EQ(give(4, code), bandwidth ? 0 : -EINVAL) << code;
  }
}

INSTANTIATE_TEST_SUITE_P(All, Chip, testing::ValuesIn(chips),
                         [](auto &i) { return std::string(i.param.name); });

TEST_F(Phone, RefusesAndAnswersAsAsked) {
  set("driver.refuse", "11*2,20");
  EXPECT_EQ(give(11), -EIO);
  EXPECT_EQ(give(11), -EIO);
  EXPECT_EQ(give(11), 0);
  EXPECT_EQ(get("driver.refuse"), "20");
  driver_record record{2050, 20, {}};
  EXPECT_EQ(issue(record), -EIO);
  EXPECT_EQ(record.value(), 0u);
  set("driver.answer", "20:05000000");
  EXPECT_EQ(issue(record), -EIO);
  EXPECT_EQ(record.value(), 5u) << "a driver that wrote before it failed";
}

// ---- System calls ---------------------------------------------------------------------------------------

TEST_F(Phone, OnlyThePrivateRequestOnWlan0IsThePhones) {
  driver_record record{2050, 20, {}};
  EXPECT_EQ(issue(record, "wlan1"), -ENODEV);
  EXPECT_EQ(issue(record, "wlan0:1"), 0);
  set("driver.loaded", "false");
  EXPECT_EQ(issue(record), -ENODEV);
  int descriptor = socket(AF_INET, SOCK_DGRAM, 0);
  EXPECT_EQ(ioctl(descriptor, 0x89F2, nullptr), -1);
  EXPECT_EQ(errno, EFAULT);
  int waiting = -1;
  EXPECT_EQ(ioctl(descriptor, FIONREAD, &waiting), 0);
  EXPECT_EQ(waiting, 0);
  close(descriptor);
  phone_events_clear();
  int other = socket(AF_UNIX, SOCK_DGRAM, 0);
  EXPECT_EQ(ioctl(other, 0x89F2, &waiting), -1);
  close(other);
  EXPECT_EQ(phone_event_count(), 0u);
}

TEST_F(Phone, TheInterfacesFlagsAreThoseOfWlan0) {
  int descriptor = socket(AF_INET, SOCK_DGRAM, 0);
  auto flags_of = [&](const char *name) {
    struct ifreq asked {};
    snprintf(asked.ifr_name, sizeof(asked.ifr_name), "%s", name);
    return ioctl(descriptor, SIOCGIFFLAGS, &asked) == 0 ? asked.ifr_flags : -errno;
  };
  const int base = IFF_BROADCAST | IFF_MULTICAST;
  EXPECT_EQ(flags_of("wlan0"), base | IFF_UP);
  EXPECT_EQ(flags_of("wlan1"), -ENODEV);
  set("interface.up", "false");
  EXPECT_EQ(flags_of("wlan0"), base);
  set("driver.loaded", "false");
  EXPECT_EQ(flags_of("wlan0"), -ENODEV);
  EXPECT_EQ(phone_uses("ioctl"), 0U) << "not a command of the driver";
  close(descriptor);
}

TEST_F(Phone, TheTraceHoldsTheRecordBeforeAndAfter) {
  set("check.efuse", "7");
  give(20);
  ASSERT_EQ(phone_event_count(), 3u);
  const struct phone_event &event = *phone_event(1);
  EXPECT_EQ(event.kind, PHONE_IOCTL);
  EXPECT_EQ(event.number[1], 2050);
  EXPECT_EQ(event.number[2], 20);
  ASSERT_EQ(event.size, 528u);
  auto *bytes = static_cast<const uint8_t *>(event.data);
  EXPECT_EQ(bytes[8], 0);
  EXPECT_EQ(bytes[264 + 8], 7);
  EXPECT_EQ(phone_event(2)->kind, PHONE_CLOSE);
  EXPECT_EQ(phone_event(3), nullptr);
}

TEST_F(Phone, ShellCommandsActOnThePhone) {
  const struct {
    const char *command;
    int status;
    const char *key, *value;
  } cases[] = {
      {"ifconfig wlan0 down", 0, "interface.up", "false"},
      {"ifconfig wlan0 up", 0, "interface.up", "true"},
      {"ifconfig wlan1 up", 1, "interface.up", "true"},
      {"svc wifi disable", 0, "wifi.service", "false"},
      {"svc wifi sideways", 1, "interface.up", "false"},
      {"wpa_cli_orva roam 02:11:22:33:44:55", 0, "ap.bssid", "02:11:22:33:44:55"},
      {"wpa_cli_orva roam 02:11:22:33:44:5g", 255, "ap.bssid", "02:11:22:33:44:55"},
      {"wpa_cli_orva roam ", 255, "ap.bssid", "02:11:22:33:44:55"},
      {"wpa_cli_orva roam 02:99:22:33:44:55; svc wifi enable", 2, "wifi.service", "false"},
      {"wpa_cli_orva scan", 0, nullptr, nullptr},
      {"wpa_cli_orva bss_expire_age -1", 0, nullptr, nullptr},
      {"wpa_cli_orva bss_expire_age soon", 255, nullptr, nullptr},
      {"", 0, nullptr, nullptr},
      {"exit 3", 3, nullptr, nullptr},
      {"uname", 127, nullptr, nullptr},
  };
  for (auto &c : cases) {
    EXPECT_EQ(shell(c.command), c.status) << c.command;
    EXPECT_EQ(c.key ? get(c.key) : "", c.key ? c.value : "") << c.command;
  }
  set("shell.host", "true");
  EXPECT_EQ(shell("test $((1 + 1)) = 2 && exit 9"), 9);
}

TEST_F(Phone, TheShellPrintsAndUnderstandsSoMuch) {
  const std::string netcfg =
      "lo       UP                               127.0.0.1/8  0x00000049 00:00:00:00:00:00\n";
  const std::string wlan0 = std::string(31, ' ') + "0.0.0.0/0  0x0000100";
  const struct {
    const char *command;
    int status;
    std::string output;
  } cases[] = {
      {"echo a  \"b  c\" 'd|$'x # e", 0, "a b  c d|$x\n"},
      {"echo '' a#b", 0, " a#b\n"},
      {"echo wlan0 | grep lan | grep 0", 0, "wlan0\n"},
      {"echo wlan0 | grep lan1", 1, ""},
      {"grep", 2, ""},
      {"netcfg", 0, netcfg + "wlan0    UP  " + wlan0 + "3 02:4f:52:56:41:01\n"},
      {"/system/bin/netcfg | grep lo", 0, netcfg},
      {"ifconfig", 1, "ifconfig: no such device\n"},
      {"ifconfig wlan1 up", 1, "ifconfig: no such device\n"},
      {"ifconfig wlan0", 0, ""},
      {"ifconfig wlan0 sideways", 1, ""},
      {"svc wifi", 1, "usage: svc wifi [enable|disable]\n"},
      {"svc data disable", 1, "usage: svc wifi [enable|disable]\n"},
      {"wpa_cli_orva status", 0, "OK\n"},
      {"wpa_cli_orva scan now", 255, "FAIL\n"},
      {"wpa_cli_orva roam 02:11:22:33:44:551", 255, "FAIL\n"},
      {"wpa_cli_orva bss_expire_age 2147483648", 255, "FAIL\n"},
      {"wpa_cli_orva", 255, "FAIL\n"},
      {"exit", 0, ""},
      {"exit 257", 1, ""},
      {": | true", 0, ""},
      {"| true", 2, ""},
      {"echo 'a", 2, ""},
      {"echo \"$a\"", 2, ""},
      {"echo a; echo b", 2, ""},
      {"echo a > b", 2, ""},
      {"uname | true", 0, ""},
  };
  for (auto &c : cases) {
    EXPECT_EQ(strcasecmp(output_of(c.command).c_str(), c.output.c_str()), 0)
        << c.command << ": " << output_of(c.command);
    const struct phone_event &end = *phone_event(phone_event_count() - 1);
    EXPECT_EQ(end.kind, PHONE_PCLOSE);
    EXPECT_EQ(end.result, c.status << 8) << c.command;
  }
}

TEST_F(Phone, ProgramsNeedWhatTheyTalkTo) {
  const struct {
    const char *key, *value, *command;
    int status;
  } cases[] = {{"supplicant.running", "false", "wpa_cli_orva scan", 255},
               {"driver.loaded", "false", "wpa_cli_orva scan", 255},
               {"driver.loaded", "false", "ifconfig wlan0 up", 1},
               {"ap.connected", "false", "wpa_cli_orva roam 02:11:22:33:44:55", 255},
               {"shell.host", "true", "kill -TERM $$", 128 + SIGTERM},
               {"shell.host", "true", "echo a; exit 6", 6},
               {"shell.host", "true", "false", 1}};
  for (auto &c : cases) {
    phone_reset();
    set(c.key, c.value);
    EXPECT_EQ(shell(c.command), c.status) << c.key << ": " << c.command;
  }
  phone_reset();
  EXPECT_EQ(shell("svc wifi disable"), 0);
  EXPECT_FALSE(phone_interface_up());
  EXPECT_EQ(shell("svc wifi enable"), 0);
  EXPECT_TRUE(phone_interface_up());
  EXPECT_EQ(get("wifi.service"), "true");
}

TEST_F(Phone, CallsThatDoNotConcernItGoToLibc) {
  const std::string path = testing::TempDir() + "libc_" + std::to_string(getpid());
  int file = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0640);
  ASSERT_GE(file, 0);
  EXPECT_EQ(write(file, "libc", 4), 4);
  struct stat status {};
  fstat(file, &status);
  EXPECT_EQ(status.st_mode & 0777, 0640U & ~([] {
                                     mode_t mask = umask(0);
                                     umask(mask);
                                     return mask;
                                   }()));
  close(file);
  FILE *stream = fopen(path.c_str(), "r");
  char text[8] = "";
  EXPECT_EQ(fread(text, 1, sizeof(text), stream), 4U);
  EXPECT_STREQ(text, "libc");
  fclose(stream);
  FILE *writable = popen(("cat > " + path).c_str(), "w");
  ASSERT_NE(writable, nullptr);
  fputs("piped", writable);
  EXPECT_EQ(pclose(writable), 0);
  EXPECT_EQ(std::filesystem::file_size(path), 5U);
  std::filesystem::remove(path);
  EXPECT_EQ(close(-1), -1);
  EXPECT_EQ(waitpid(getpid(), nullptr, 0), -1);
  for (int type : {SOCK_STREAM, SOCK_RAW}) close(socket(AF_INET, type, 0));
  EXPECT_EQ(execl("/no/such/program", "program", "-c", "true", nullptr), -1);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(phone_event_count(), 0U);
  EXPECT_EQ(phone_left_open(), 0U);
  close(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  EXPECT_EQ(phone_event_count(), 2U);
}

TEST_F(Phone, AnInterfaceThatGoesDownEndsItsTests) {
  ASSERT_EQ(give(8, 1), 0);
  ASSERT_EQ(shell("ifconfig wlan0 down"), 0);
  EXPECT_EQ(get("state.receiving"), "0");
  set("interface.fail_up", "1");
  EXPECT_EQ(shell("ifconfig wlan0 up"), 1);
  EXPECT_FALSE(phone_interface_up());
  EXPECT_EQ(shell("ifconfig wlan0 up"), 0);
  EXPECT_TRUE(phone_interface_up());
}

TEST_F(Phone, AChildIsTracedBetweenForkAndWait) {
  for (int i = 0; i < 20; i++) {
    phone_events_clear();
    shell("false", i % 2 == 0);
    ASSERT_EQ(phone_event_count(), 3u);
    EXPECT_EQ(phone_event(0)->kind, PHONE_FORK);
    EXPECT_EQ(phone_event(1)->kind, PHONE_EXEC);
    EXPECT_STREQ(phone_event(1)->text, "false");
    EXPECT_EQ(phone_event(1)->result, 1);
    EXPECT_EQ(phone_event(1)->process, phone_event(0)->result);
    EXPECT_EQ(phone_event(2)->kind, PHONE_WAIT);
    EXPECT_EQ(phone_event(2)->number[0], 1 << 8);
  }
}

TEST_F(Phone, NetcfgIsReadThroughAPipe) {
  const char *const command = "/system/bin/netcfg |grep wlan0";
  EXPECT_TRUE(std::regex_match(output_of(command), std::regex("wlan0 +UP .*\n")));
  set("interface.up", "false");
  EXPECT_TRUE(std::regex_match(output_of(command), std::regex("wlan0 +DOWN .*\n")));
  set("driver.loaded", "false");
  EXPECT_EQ(output_of(command), "");
  set("netcfg.output", "UP is wlan0\neth0 UP\n" + std::string(4000, 'x') + " wlan0\n");
  EXPECT_EQ(output_of(command, 20), "UP is wlan0\nxxxxxxxx");
}

TEST_F(Phone, TheDebugNodeKeepsWhatIsWritten) {
  const char *const path = "/sys/vq20x0_debug/bfgx_test";
  for (const char *byte : {"4", "5"}) {
    int node = open(path, O_WRONLY);
    ASSERT_GE(node, 0);
    EXPECT_EQ(write(node, byte, 1), 1);
    EXPECT_EQ(phone_left_open(), 1u);
    close(node);
  }
  EXPECT_EQ(get("node.written"), "45");
  set("node.present", "false");
  EXPECT_EQ(open(path, O_WRONLY), -1);
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(Phone, SleepsAdvanceTheChosenClock) {
  sleep(2);
  usleep(1500);
  EXPECT_EQ(phone_now_us(), 2001500);
  EXPECT_EQ(phone_event(0)->number[0], 2000000);
  EXPECT_EQ(phone_event(1)->time_us, 2000000);
  phone_set_clock(PHONE_CLOCK_REAL);
  int64_t began = phone_now_us();
  usleep(3000);
  EXPECT_GE(phone_now_us() - began, 3000);
}

// ---- Faults ---------------------------------------------------------------------------------------------

TEST_F(Phone, SystemCallsFailAsPlanned) {
  for (auto [place, error] : std::vector<std::pair<const char *, int>>{
           {"socket", EMFILE}, {"ioctl", EIO}, {"ioctl:11", ENOBUFS}, {"open", EACCES}}) {
    phone_reset();
    int id = phone_fault(place, 2, 1, error == ENOBUFS ? ENOBUFS : 0);
    std::vector<int> results;
    for (int i = 0; i < 3; i++) {
      errno = 0;
      bool opens = std::string(place) == "open";
      int result = opens ? open("/sys/vq20x0_debug/bfgx_test", O_WRONLY) : socket(AF_INET, SOCK_DGRAM, 0);
      driver_record record{2050, 11, {}};
      request asked;
      asked.record = &record;
      int descriptor = result;
      if (!opens && result >= 0) result = ioctl(descriptor, 0x89F2, &asked);
      results.push_back(result < 0 ? errno : 0);
      if (descriptor >= 0) close(descriptor);
    }
    EXPECT_EQ(results, (std::vector{0, error, 0})) << place;
    EXPECT_EQ(phone_fault_fired(id), 1u);
    EXPECT_EQ(phone_uses(place), 3u);
  }
}

TEST_F(Phone, ChildrenAndStreamsFailWithoutBeingLeftBehind) {
  phone_fault("fork", 1, 1, 0);
  EXPECT_EQ(shell("true"), -1);
  phone_fault("execl", 1, 1, 0);
  EXPECT_EQ(shell("true"), 127);
  int interrupted = phone_fault("waitpid", 1, 3, EINTR);
  EXPECT_EQ(shell("exit 4"), 4);
  EXPECT_EQ(phone_fault_fired(interrupted), 3u);
  phone_fault("waitpid", 1, 1, ECHILD);
  EXPECT_EQ(shell("true"), -1);
  phone_fault("shell:ifconfig wlan0 down", 1, 1, 9);
  EXPECT_EQ(shell("ifconfig wlan0 down"), 9);
  EXPECT_TRUE(phone_interface_up());
  for (const char *place : {"popen", "fread", "pclose"}) {
    phone_fault(place, 1, 1, 0);
    output_of("netcfg");
  }
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "no child is left, reaped or not";
}

TEST_F(Phone, AFaultCanGiveDescriptorZeroAndAPositiveResult) {
  struct stat before {
  }, after{};
  fstat(0, &before);
  phone_fault("socket", 1, 1, -1000);
  phone_fault("ioctl", 1, 1, -5);
  driver_record record{2050, 5, {1}};
  EXPECT_EQ(issue(record), 5);
  EXPECT_EQ(get("state.transmitting"), "1");
  EXPECT_EQ(phone_event(0)->result, 0);
  fstat(0, &after);
  EXPECT_EQ(before.st_ino, after.st_ino) << "standard input is back";
}

TEST_F(Phone, AResetForgetsWhatWasLeftOpen) {
  const int input = dup(0);
  phone_fault("socket", 1, 1, -1000);
  ASSERT_EQ(socket(AF_INET, SOCK_DGRAM, 0), 0);
  int node = open("/sys/vq20x0_debug/bfgx_test", O_WRONLY);
  pid_t child = fork();
  if (child == 0) _exit(0);
  EXPECT_EQ(phone_left_open(), 3u);
  phone_reset();
  EXPECT_EQ(phone_left_open(), 0u);
  EXPECT_EQ(close(node), 0);
  EXPECT_EQ(waitpid(child, nullptr, 0), child);
  EXPECT_EQ(phone_event_count(), 0u) << "they are libc's now";
  dup2(input, 0);
  close(input);
}

TEST_F(Phone, AFailedCloseHasClosed) {
  phone_fault("close", 1, 1, 0);
  int descriptor = socket(AF_INET, SOCK_DGRAM, 0);
  EXPECT_EQ(close(descriptor), -1);
  EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
}

/// Uses each function of the platform, and each family of places with the argument of place_with_argument.
class PhoneWithEveryPlace : public Phone {
protected:
  void use_everything() {
    give(11);
    shell("true");
    output_of("netcfg");
    int node = open("/sys/vq20x0_debug/bfgx_test", O_WRONLY);
    if (node >= 0) {
      EXPECT_LE(write(node, "4", 1), 1);
      close(node);
    }
    char text[104] = "";
    int number = 0;
    memcpy_s(text, sizeof(text), "a", 2);
    memset_s(text, sizeof(text), 0, 1);
    strncpy_s(text, sizeof(text), "a", 1);
    snprintf_s(text, sizeof(text), 4, "%d", 1);
    sprintf_s(text, sizeof(text), "%d", 1);
    sscanf_s("1", "%d", &number);
    kevoOperaNVWR(ORVA_NV_WRITE, 340, "WINVRAM", sizeof(text), text);
    kevoOperaNVWR(ORVA_NV_READ, 340, "WINVRAM", sizeof(text), text);
  }
  static std::string place_with_argument(std::string place) {
    for (auto [capitals, given] : {std::pair{"ID", "11"}, {"COMMAND", "true"}, {"NUMBER", "340"}}) {
      if (place.ends_with(std::string(":") + capitals))
        place.replace(place.find(':') + 1, strlen(capitals), given);
    }
    return place;
  }
};

TEST_F(PhoneWithEveryPlace, EveryListedPlaceTakesAFault) {
  std::set<std::string> places;
  const char *value = nullptr, *meaning = nullptr;
  for (size_t i = 0; const char *name = phone_fault_place(i, &value, &meaning); i++) {
    EXPECT_TRUE(*value && *meaning) << name;
    places.insert(name);
    std::string place = place_with_argument(name);
    int id = phone_fault(place.c_str(), 1, 1, 0);
    EXPECT_GE(id, 0) << place;
    use_everything();
    EXPECT_EQ(phone_fault_fired(id), 1u) << place << " is listed, but nothing there fails";
    EXPECT_EQ(phone_fault((place + " ").c_str(), 1, 1, 0), place.starts_with("shell:") ? id + 1 : -1);
    phone_reset();
  }
  EXPECT_EQ(phone_fault_place(places.size(), nullptr, nullptr), nullptr) << "a place is listed twice";
  EXPECT_TRUE(places.count("nv_lose:NUMBER") && places.count("sscanf_s"));
}

TEST_F(Phone, AFailureGivesThePlannedValueAndFor0ThePlacesDefault) {
  const char *const node = "/sys/vq20x0_debug/bfgx_test";
  char text[104] = "text";
  const auto error_if = [](bool failed) { return failed ? errno : 0; };
  const auto open_udp = [] { return socket(AF_INET, SOCK_DGRAM, 0); };
  const auto nv = [&](uint32_t access) { return kevoOperaNVWR(access, 340, "A", 104, text); };
  const auto end_of_child = [&] {
    pid_t child = fork();
    if (child == 0) _exit(0);
    int error = error_if(waitpid(child, nullptr, 0) < 0);
    if (error == EINTR) waitpid(child, nullptr, 0);
    return error;
  };
  const auto end_of_reading = [&] {
    FILE *stream = popen("netcfg", "r");
    int error = error_if(fread(text, 1, 1, stream) == 0);
    pclose(stream);
    return error;
  };
  const auto end_of_writing = [&] {
    int descriptor = open(node, O_WRONLY);
    int error = error_if(write(descriptor, "4", 1) < 0);
    close(descriptor);
    return error;
  };
  const auto exec_error = [&] {
    shell("true");
    return phone_event(1)->error;
  };
  const struct {
    const char *place;
    int usual;
    std::function<int()> failure;
  } cases[] = {
      {"socket", EMFILE, [&] { return error_if(open_udp() < 0); }},
      {"ioctl", EIO, [&] { return -give(11); }},
      {"ioctl:11", EIO, [&] { return -give(11); }},
      {"close", EIO, [&] { return error_if(close(open_udp()) < 0); }},
      {"fork", EAGAIN, [&] { return error_if(fork() < 0); }},
      {"execl", ENOENT, exec_error},
      {"waitpid", EINTR, end_of_child},
      {"popen", EMFILE, [&] { return error_if(!popen("true", "r")); }},
      {"fread", EIO, end_of_reading},
      {"pclose", ECHILD, [&] { return error_if(pclose(popen("true", "r")) < 0); }},
      {"open", EACCES, [&] { return error_if(open(node, O_WRONLY) < 0); }},
      {"write", EIO, end_of_writing},
      {"memcpy_s", EINVAL, [&] { return memcpy_s(text, 8, "a", 1); }},
      {"memset_s", EINVAL, [&] { return memset_s(text, 8, 0, 1); }},
      {"strncpy_s", EINVAL, [&] { return strncpy_s(text, 8, "a", 1); }},
      {"snprintf_s", -1, [&] { return snprintf_s(text, 8, 7, "a"); }},
      {"sprintf_s", -1, [&] { return sprintf_s(text, 8, "a"); }},
      {"sscanf_s", -1, [&] { return sscanf_s("a", "%7s", text); }},
      {"kevoOperaNVWR", -1, [&] { return nv(ORVA_NV_WRITE); }},
      {"shell:true", 1, [&] { return shell("true"); }},
      {"nv_read:340", -1, [&] { return nv(ORVA_NV_READ); }},
      {"nv_write:340", -1, [&] { return nv(ORVA_NV_WRITE); }},
  };
  for (auto &c : cases) {
    for (int value : {0, ENOSPC}) {
      phone_events_clear();
      phone_fault(c.place, 1, 1, value);
      EXPECT_EQ(phone_uses(c.place), 0U) << c.place;
      EXPECT_EQ(c.failure(), value ? value : c.usual) << c.place;
    }
  }
  phone_fault("nv_lose:340", 1, 1, 0);
  EXPECT_EQ(nv(ORVA_NV_WRITE), 0);
  EXPECT_EQ(phone_nv_get(340, "A", text), 0);
  EXPECT_EQ(text[0], 0) << "reported as done, not stored";
}

TEST(PhoneTrace, EveryKindHasAWordOfItsOwn) {
  std::set<std::string> words;
  const char *fields = nullptr, *meaning = nullptr;
  for (size_t kind = 0; const char *word = phone_event_word(kind, &fields, &meaning); kind++) {
    words.insert(word);
    EXPECT_NE(fields, nullptr) << word;
    EXPECT_TRUE(*meaning) << word;
  }
  EXPECT_EQ(words.size(), static_cast<size_t>(PHONE_EVENT_KINDS));
  EXPECT_STREQ(phone_event_word(PHONE_SECURE, &fields, nullptr), "secure");
  EXPECT_STREQ(fields, "nth name");
}

TEST(PhoneFaults, UnfiredOnesAreCountedEvenWhenCleared) {
  phone_reset();
  int for_ever = phone_fault("ioctl", 1, 0, 0);
  int hidden = phone_fault("ioctl", 1, 1, 0);
  for (const char *wrong : {"ioctl:", "ioctl:64", "iotcl", "shell:", "nv_read:x", "sleep", ""}) {
    EXPECT_EQ(phone_fault(wrong, 1, 1, 0), -1) << wrong;
  }
  EXPECT_EQ(phone_faults_unfired(), 2u);
  request asked;
  driver_record record;
  asked.record = &record;
  int descriptor = socket(AF_INET, SOCK_DGRAM, 0);
  for (int i = 0; i < 3; i++) EXPECT_EQ(ioctl(descriptor, 0x89F2, &asked), -1);
  EXPECT_EQ(phone_fault_fired(for_ever), 3u);
  EXPECT_EQ(phone_fault_fired(hidden), 0u) << "the first plan took the use";
  phone_faults_clear();
  EXPECT_EQ(phone_faults_unfired(), 1u);
  EXPECT_EQ(phone_left_open(), 1u);
  close(descriptor);
  phone_reset();
  EXPECT_EQ(phone_faults_unfired(), 0u);
}

// ---- NV --------------------------------------------------------------------------------------------------

struct scratch_file {
  std::string path = testing::TempDir() + "virtual_phone_" + std::to_string(getpid());
  ~scratch_file() { std::filesystem::remove(path); }
};

/// Where the phone was built without SQLite it says so, and there is no file to test.
bool open_store(const std::string &path) {
  char error[300] = "";
  bool opened = phone_nv_open(path.c_str(), error, sizeof(error)) == 0;
  EXPECT_TRUE(opened || strstr(error, "built without SQLite")) << error;
  return opened;
}

TEST_F(Phone, NvItemsAreKeyedByNumberAndName) {
  scratch_file file;
  for (bool in_file : {false, true}) {
    if (in_file && !open_store(file.path)) GTEST_SKIP() << "no SQLite";
    char item[104] = "pa2ga0=1,2,3;", read_back[104];
    EXPECT_EQ(kevoOperaNVWR(0, 367, "WITXCCK", 104, item), 0);
    EXPECT_EQ(kevoOperaNVWR(0, 340, "WINVRAM", 104, item), 0);
    EXPECT_EQ(kevoOperaNVWR(1, 340, "WINVRAM", 104, read_back), 0);
    EXPECT_EQ(memcmp(item, read_back, 104), 0);
    EXPECT_EQ(kevoOperaNVWR(1, 340, "WIC0_2G5G_OFDM", 104, read_back), 0);
    EXPECT_EQ(read_back[0], 0) << "never written under this name";
    EXPECT_EQ(kevoOperaNVWR(0, 340, "WIC0_2G5G_OFDM", 104, read_back), 0);
    EXPECT_EQ(kevoOperaNVWR(1, 340, "WINVRAM", 104, read_back), 0);
    EXPECT_EQ(read_back[0], 'p') << "another name's item";
    uint32_t number = 0;
    EXPECT_EQ(phone_nv_at(0, &number, nullptr, 0, nullptr), 1);
    EXPECT_EQ(number, 340u);
    EXPECT_EQ(phone_nv_at(3, &number, nullptr, 0, nullptr), 0);
    EXPECT_NE(kevoOperaNVWR(2, 340, "WINVRAM", 104, item), 0);
    EXPECT_NE(kevoOperaNVWR(1, 340, "WINVRAM", 105, item), 0);
    EXPECT_NE(kevoOperaNVWR(1, 340, nullptr, 104, item), 0);
    phone_fault("nv_write:367", 1, 1, 12);
    EXPECT_EQ(kevoOperaNVWR(0, 340, "WINVRAM", 104, item), 0);
    EXPECT_EQ(kevoOperaNVWR(0, 367, "WITXCCK", 104, item), 12);
    EXPECT_EQ(phone_nv_at(2, &number, nullptr, 0, nullptr), 1);
    phone_nv_clear();
    EXPECT_EQ(phone_nv_at(2, &number, nullptr, 0, nullptr), 0) << "a listing of before";
    EXPECT_EQ(phone_nv_at(0, &number, nullptr, 0, nullptr), 0);
  }
}

TEST_F(Phone, NvInAFileOutlivesAKilledProcess) {
  scratch_file file;
  if (!open_store(file.path)) GTEST_SKIP() << "no SQLite";
  phone_nv_open(nullptr, nullptr, 0);
  char item[104] = "kept";
  pid_t child = fork();
  if (child == 0) {
    phone_nv_open(file.path.c_str(), nullptr, 0);
    kevoOperaNVWR(0, 340, "WINVRAM", 104, item);
    kill(getpid(), SIGKILL);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFSIGNALED(status));
  ASSERT_TRUE(open_store(file.path));
  char read_back[104] = "";
  EXPECT_EQ(phone_nv_get(340, "WINVRAM", read_back), 0);
  EXPECT_STREQ(read_back, "kept");
  char error[300];
  EXPECT_EQ(phone_nv_open("/no/such/folder/nv", error, sizeof(error)), -1);
  EXPECT_NE(std::string(error).find("/no/such/folder/nv"), std::string::npos);
}

// ---- Bounds-checked functions, log
// ---------------------------------------------------------------------------

TEST_F(Phone, BoundsAreChecked) {
  char text[8] = "1234567";
  EXPECT_NE(memcpy_s(text, 4, "abcdefgh", 5), 0);
  EXPECT_EQ(memcmp(text,
                   "\0\0\0\0"
                   "567",
                   8),
            0)
      << "the four bytes, and no more";
  EXPECT_EQ(memcpy_s(text, 8, "abcdefg", 8), 0);
  EXPECT_STREQ(text, "abcdefg");
  EXPECT_NE(memset_s(text, 2, 0, 3), 0);
  EXPECT_EQ(strncpy_s(text, 4, "wlan0", 3), 0);
  EXPECT_STREQ(text, "wla");
  EXPECT_NE(strncpy_s(text, 4, "wlan0", 4), 0);
  EXPECT_STREQ(text, "");
  EXPECT_EQ(snprintf_s(text, 8, 7, "%s", "1234567"), 7);
  EXPECT_EQ(snprintf_s(text, 8, 3, "%s", "1234"), -1);
  EXPECT_STREQ(text, "123");
  EXPECT_EQ(snprintf_s(text, 4, 8, "%s", "1234"), -1);
  EXPECT_STREQ(text, "");
  EXPECT_EQ(sprintf_s(text, 4, "%s", "123"), 3);
  EXPECT_EQ(sprintf_s(text, 4, "%s", "1234"), -1);
  EXPECT_STREQ(text, "");
  int a = 0, b = 0;
  EXPECT_EQ(sscanf_s("-5,7", "%d,%d", &a, &b), 2);
  EXPECT_EQ(a * b, -35);
  EXPECT_EQ(strncpy_s(text, 8, "abc", 8), 0);
  EXPECT_EQ(memset_s(text, 2, 'x', 2), 0);
  EXPECT_STREQ(text, "xxc");
  EXPECT_EQ(memcpy_s(text, 0, "a", 1) | memset_s(text, 0, 0, 1) | strncpy_s(text, 0, "a", 1), EINVAL);
  EXPECT_EQ(memcpy_s(nullptr, 8, "a", 1) | memset_s(nullptr, 8, 0, 1) | strncpy_s(nullptr, 8, "a", 1),
            EINVAL);
  EXPECT_EQ(snprintf_s(text, 0, 4, "a") | sprintf_s(nullptr, 8, "a") | sscanf_s(nullptr, "%d", &a), -1);
  EXPECT_STREQ(text, "xxc") << "no room to write to";
  EXPECT_EQ(strncpy_s(text, 8, nullptr, 3), EINVAL);
  EXPECT_EQ(memcpy_s(text, 8, nullptr, 3), EINVAL);
  EXPECT_STREQ(text, "");
}

TEST_F(Phone, BoundsCheckedFunctionsFailAsPlanned) {
  phone_trace_secure(1);
  char text[8] = "old";
  int a = 3;
  for (const char *place : {"memcpy_s", "memset_s", "strncpy_s", "snprintf_s", "sprintf_s", "sscanf_s"}) {
    phone_fault(place, 1, 1, 0);
  }
  EXPECT_GT(memset_s(text, 8, 'x', 8), 0);
  EXPECT_STREQ(text, "old");
  EXPECT_GT(memcpy_s(text, 8, "new", 4), 0);
  EXPECT_GT(strncpy_s(text, 8, "new", 4), 0);
  EXPECT_LT(snprintf_s(text, 8, 7, "new"), 0);
  EXPECT_LT(sprintf_s(text, 8, "new"), 0);
  EXPECT_STREQ(text, "");
  EXPECT_LT(sscanf_s("4", "%d", &a), 0);
  EXPECT_EQ(a, 3);
  EXPECT_EQ(phone_event_count(), 6u);
}

TEST_F(Phone, LogLinesAreKeptAndPrintedInThreadtime) {
  phone_print_log(ORVA_LOG_INFO);
  testing::internal::CaptureStderr();
  __android_log_print(ORVA_LOG_DEBUG, "TAG", "too small\n");
  __android_log_print(ORVA_LOG_ERROR, "TAG", "one %d\ntwo\n", 1);
  std::string printed = testing::internal::GetCapturedStderr();
  EXPECT_STREQ(phone_event(1)->text, "one 1\ntwo\n");
  EXPECT_EQ(phone_event(1)->number[0], 6);
  const std::string start = R"(\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} +\d+ +\d+ E TAG     : )";
  EXPECT_TRUE(std::regex_match(printed, std::regex(start + "one 1\n" + start + "two\n"))) << printed;
}

TEST_F(Phone, LogLinesCarryThePhonesTimeAndTheirPrioritysLetter) {
  phone_print_log(1);
  testing::internal::CaptureStderr();
  __android_log_print(2, "VERBOSE", "first");
  usleep(59987654);
  for (int priority : {3, 4, 5, 6, 7}) __android_log_print(priority, "TAGNAME", "%d", priority);
  phone_print_log(0);
  __android_log_print(7, "TAG", "unseen");
  const std::string printed = testing::internal::GetCapturedStderr();
  std::smatch found;
  const std::regex line(R"((\d\d):(\d\d)\.(\d{3}) +(\d+) +(\d+) (\w) (\w+) *: (\w+)\n)");
  std::vector<int64_t> milliseconds;
  std::string letters;
  for (auto at = std::sregex_iterator(printed.begin(), printed.end(), line); at != std::sregex_iterator();
       at++) {
    milliseconds.push_back((std::stoi((*at)[1]) * 60 + std::stoi((*at)[2])) * 1000 + std::stoi((*at)[3]));
    letters += (*at)[6].str();
    EXPECT_EQ((*at)[4], std::to_string(getpid()));
  }
  ASSERT_EQ(letters, "VDIWEF") << printed;
  EXPECT_NEAR(static_cast<double>((milliseconds[1] - milliseconds[0] + 3600000) % 3600000), 59987.654, 1);
}

// ---- Descriptions ----------------------------------------------------------------------------------------

TEST_F(Phone, ABadDescriptionIsNamedAndLeavesThePhoneAlone) {
  const struct {
    const char *text;
    std::string complaint;
  } cases[] = {
      {"chip = \"vq2070\"\n[radio]\nrssi = \"loud\"\n", ":3: radio.rssi: 'loud' is not a whole number"},
      {"chip = \"vq2060\"\n", ":1: chip: 'vq2060' is not " + listed_chips()},
      {"[check]\npmuu = 1\n", ":2: check.pmuu: no such key; did you mean check.pmu?"},
      {"[state]\nband = 1\n", ":2: state.band: can only be read"},
      {"radio.rssi = 1.5\n", ":1: radio.rssi: must be a text, a whole number, true or false"},
      {"[identity]\nmac = \"02:4F\"\n", ":2: identity.mac: '02:4F' is not an address like"},
      {"[[fault]]\nplace = \"iotcl\"\n", ":1: fault.place: 'iotcl' is no place"},
      {"[[fault]]\nplace = \"ioctl\"\nnth = 0\n", ":3: fault.nth: must be a whole number, at least 1"},
      {"[[fault]]\nplace = \"ioctl\"\ntimes = -1\n", ":3: fault.times: must be a whole number, at least 0"},
      {"[[fault]]\nvalue = 2147483648\n", ":2: fault.value: must be a whole number, at least -2147483648"},
      {"[[fault]]\ncount = 2\n", ":2: fault.count: no such key; place, nth, times or value"},
      {"[[fault]]\nnth = 2\n", ":1: fault: place is missing"},
      {"[[fault]]\nplace = [1]\n", ":2: fault.place: must be a text like \"ioctl:11\""},
      {"fault = [3]\n", ":1: fault: must be written as [[fault]] with place, nth, times and value"},
      {"chip = \n", ":1: "},
      {"[[nv]]\nnumber = 1\nname = \"A\"\ntext = \"a\"\n[[fault]]\nplace = \"fork\"\n[zigbee]\nup = 1\n",
       ":8: zigbee.up: no such key"},
  };
  scratch_file file;
  for (auto &c : cases) {
    std::ofstream(file.path) << c.text;
    char error[400] = "";
    EXPECT_EQ(phone_load(file.path.c_str(), error, sizeof(error)), -1) << c.text;
    EXPECT_EQ(std::string(error).find(file.path + c.complaint), 0u) << error;
  }
  EXPECT_EQ(get("chip"), "vq2050");
  EXPECT_EQ(phone_faults_unfired(), 0U);
  uint32_t number = 0;
  EXPECT_EQ(phone_nv_at(0, &number, nullptr, 0, nullptr), 0);
  EXPECT_EQ(phone_load("/no/such/file", nullptr, 0), -1);
}

TEST_F(Phone, ADescriptionSetsKeysAndPlansFaults) {
  scratch_file file;
  std::ofstream(file.path) << "chip = \"vq2040\"\n[check]\npin = 0x12\n[driver]\nrefuse = [11, \"20*2\"]\n"
                              "[[fault]]\nplace = \"ioctl:6\"\nnth = 2\nvalue = 28\n";
  char error[400] = "";
  ASSERT_EQ(phone_load(file.path.c_str(), error, sizeof(error)), 0) << error;
  magic = 2040;
  EXPECT_EQ(get("check.pin"), "18");
  EXPECT_EQ(get("driver.refuse"), "11,20*2");
  EXPECT_EQ(get_orva_connectivity_subchip(), 0u);
  EXPECT_EQ(give(6), 0);
  EXPECT_EQ(give(6), -ENOSPC);
}

TEST_F(Phone, TheBrokenPhonesDifferFromTheGoodOneWhereTheySay) {
  const struct {
    const char *file;
    std::set<std::string> differing;
  } cases[] = {{"bad-crystal", {"rf.fault"}},
               {"good", {}},
               {"cold-solder-joint", {"check.efuse", "check.pin", "check.wakeup_io"}},
               {"dead-pcie", {"check.pcie"}},
               {"open-antenna", {"rf.fault"}},
               {"wrong-fem", {"check.fem", "radio.rssi"}}};
  for (auto &c : cases) {
    phone_reset();
    std::vector<std::string> before;
    for (size_t i = 0; phone_key(i, nullptr); i++) before.push_back(get(phone_key(i, nullptr)));
    char error[400] = "";
    ASSERT_EQ(phone_load((std::string(PHONES "/") + c.file + ".toml").c_str(), error, sizeof(error)), 0)
        << error;
    std::set<std::string> differing;
    for (size_t i = 0; phone_key(i, nullptr); i++) {
      if (get(phone_key(i, nullptr)) != before[i]) differing.insert(phone_key(i, nullptr));
    }
    EXPECT_EQ(differing, c.differing) << c.file;
  }
}

TEST_F(Phone, AKeyTakesTheValuesOfItsFormAndNoOthers) {
  const std::string begin(63, 'x'), long_text = begin + "\u00fc" + std::string(9000, 'x'),
                                    shortened = "'" + begin + "...' is not at most";
  const struct {
    const char *key, *value, *kept, *expects;  // kept: null where the value is refused with what is expected
  } cases[] = {
      {"subchip", "4294967295", "4294967295", ""},
      {"subchip", "4294967296", nullptr, "auto or a number from 0 to 4294967295"},
      {"subchip", "3 ", nullptr, "auto or a number"},
      {"subchip", "auto", "auto", ""},
      {"wifi.service", "0", "false", ""},
      {"wifi.service", "1", "true", ""},
      {"supplicant.running", "yes", nullptr, "true or false"},
      {"interface.up", "0", "false", ""},
      {"interface.up", "maybe", nullptr, "true or false"},
      {"radio.rssi", "-128", "-128", ""},
      {"radio.rssi", "-2147483649", nullptr, "a whole number from"},
      {"radio.rssi", "5x", nullptr, "a whole number from"},
      {"check.pin", "0x12", "18", ""},
      {"ap.ssid", "12345678901234567890123456789012", "12345678901234567890123456789012", ""},
      {"ap.ssid", "123456789012345678901234567890123", nullptr, "at most 32 characters"},
      {"identity.dbb", long_text.c_str(), nullptr, shortened.c_str()},
      {"identity.mac", "02:4F:52:56:41:0a", "02:4f:52:56:41:0a", ""},
      {"identity.mac", "02:4F:52:56:41", nullptr, "an address like 02:00:5E:10:20:30"},
      {"driver.refuse", "11,20*3", "11,20*3", ""},
      {"driver.refuse", "40", nullptr, "command ids below 40 like 11 or 11*2"},
      {"driver.answer", "20:0500,11:FF", "11:FF,20:0500", ""},
      {"driver.answer", "20:050", nullptr, "hexadecimal data like 20:05000000"},
      {"calibration.block", "01", nullptr, "104 bytes in hexadecimal"},
      {"state.channel", "1", nullptr, "can only be read"},
  };
  for (auto &c : cases) {
    const std::string before = get(c.key);
    char error[300] = "";
    EXPECT_EQ(phone_set(c.key, c.value, error, sizeof(error)), c.kept ? 0 : -1) << c.key << " = " << c.value;
    EXPECT_EQ(strcasecmp(get(c.key).c_str(), c.kept ? c.kept : before.c_str()), 0)
        << c.key << ": " << get(c.key);
    EXPECT_NE(strstr(error, c.expects), nullptr) << c.key << " = " << c.value << ": " << error;
  }
}

TEST_F(Phone, EveryKeyReadsBackWhatItTakes) {
  for (size_t i = 0; const char *key = phone_key(i, nullptr); i++) {
    std::string value = get(key);
    EXPECT_NE(value, "(none)") << key;
    bool read_only = std::string(key).starts_with("state.");
    EXPECT_EQ(phone_set(key, value.c_str(), nullptr, 0), read_only ? -1 : 0) << key << " = " << value;
    EXPECT_EQ(get(key), value) << key;
  }
}

TEST_F(Phone, TheSubchipFollowsTheChipUnlessFixed) {
  for (uint32_t i = 0; i < 4; i++) {
    set("chip", chips[i].name);
    EXPECT_EQ(get_orva_connectivity_subchip(), i);
  }
  set("subchip", "4");
  EXPECT_EQ(get_orva_connectivity_subchip(), 4u);
}

}  // namespace
