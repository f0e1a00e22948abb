// SPDX-License-Identifier: Apache-2.0
// The probes: which chip has which, what each driver answer means and how it is told.
#include "tests/support/self_check_fixture.h"

#include <map>

namespace {

/// How a probe reads its answer and prints it.
enum reading { whole, low_half, low_half_short, low_byte };

/// An answer, whether it passes the probes that read all of it or its low half, and what each reading logs.
struct verdict {
  uint32_t answer;
  bool passes_whole, passes_half;
  const char *logged[4];
};

// clang-format off
const verdict verdicts[] = {
    {0,          true,  true,  {"0",           "0",           "0",      "0"}},
    {1,          false, false, {"1",           "1",           "1",      "1"}},
    {0xFF,       false, false, {"255",         "255",         "255",    "255"}},
    {0x1FF,      false, false, {"511",         "511",         "511",    "255"}},
    {0x8000,     false, false, {"32768",       "32768",       "-32768", "0"}},
    {65535,      false, false, {"65535",       "65535",       "-1",     "255"}},
    {65536,      false, true,  {"65536",       "65536",       "0",      "0"}},
    {0x80000000, false, true,  {"-2147483648", "-2147483648", "0",      "0"}},
};
// clang-format on

/// A probe on a chip: its command, and its lines up to the value.
struct probe {
  const char *function;
  uint32_t command;
  reading read;
  std::string pass, fail;
};

std::string efuse_line() { return "log 3 wl_config_test:The efuse status of wifi is : "; }

std::string pin_line(int priority, const char *topic, const char *function, int number) {
  return "log " + std::to_string(priority) + " " + topic + ":@_" + function + "[" + std::to_string(number) +
         "]:The pin test of WIFI result is : ";
}

probe pin_like(const char *topic, const char *function, uint32_t command, reading read, int fail, int pass) {
  return {function, command, read, pin_line(3, topic, function, pass), pin_line(6, topic, function, fail)};
}

probe pin(int fail, int pass) {
  return pin_like("wl_config_wifi_pin_test", "wl_config_wipin_test", 25, whole, fail, pass);
}

probe wakeup_io(uint32_t command, reading read, int fail, int pass) {
  return pin_like("wl_config_wkup_io_test", "wl_config_wkup_io_test", command, read, fail, pass);
}

probe pcie(int fail, int pass) {
  return pin_like("wl_config_pcie_test", "wl_config_pcie_test", 31, low_half, fail, pass);
}

/// Its pass message speaks of the DBB number.
probe pmu(uint32_t command, int fail, int pass) {
  const std::string opening = "log 3 wl_config_test:@_wl_config_pmu_check[";
  return {"wl_config_pmu_check", command, low_byte,
          opening + std::to_string(pass) + "]:The DBB number of WIFI is : ",
          opening + std::to_string(fail) + "]:The PMU Check Result is: "};
}

const probe efuse = {"wl_config_wifi_efuse_get", 20, whole, efuse_line(), efuse_line()};

const std::map<std::string, std::vector<probe>> probes_of_chip = {
    {"vq2040", {efuse}},
    {"vq2050",
     {efuse, pin(1236, 1240), pmu(26, 1212, 1216), wakeup_io(30, low_half, 1260, 1264), pcie(1284, 1288)}},
    {"vq2040a", {efuse, pin(1015, 1019), pmu(29, 992, 996), wakeup_io(27, low_half_short, 1038, 1042)}},
    {"vq2070",
     {efuse, pin(1365, 1369), pmu(26, 1341, 1345), wakeup_io(30, low_half, 1389, 1393), pcie(1413, 1417)}},
};

bool passes(const verdict &judged, reading read) {
  return read == low_half || read == low_half_short ? judged.passes_half : judged.passes_whole;
}

class Probes : public SelfCheckTest {
protected:
  const std::vector<probe> &probes() const { return probes_of_chip.at(chip().name); }

  /// Runs a socket probe on a socket of ours; all it does is send and log.
  uint32_t run(const char *function, const char *interface = "wlan0") {
    const uint32_t descriptor = back_end<uint32_t()>("wl_config_sockets_open")();
    forget();
    const uint32_t result = back_end<uint32_t(uint32_t, const char *)>(function)(descriptor, interface);
    return back_end<int32_t(uint32_t)>("wl_config_sockets_close")(descriptor) == 0 ? result : 99;
  }

  void expect_probe(const std::string &lines) const { expect_contacts(lines + "close\n"); }
};
INSTANTIATE_TEST_SUITE_P(, Probes, ALL_CHIPS, name_of_case);

TEST_P(Probes, JudgeAndLogEachAnswer) {
  for (const probe &each : probes()) {
    for (const verdict &judged : verdicts) {
      SCOPED_TRACE(std::string(each.function) + " answered " + std::to_string(judged.answer));
      answer(each.command, judged.answer);
      const bool pass = passes(judged, each.read);
      EXPECT_EQ(run(each.function), pass ? 1U : 0U);
      expect_probe(sends(each.command) + (pass ? each.pass : each.fail) + judged.logged[each.read] + "\\n\n");
    }
  }
}

TEST_P(Probes, FailWhenTheDriverRefusesWhateverItLeft) {
  for (const probe &each : probes()) {
    SCOPED_TRACE(each.function);
    refuse(each.command);
    EXPECT_EQ(run(each.function), 0U);
    expect_probe(refused(each.command) + each.fail + "0\\n\n");
    refuse(each.command, std::string("\5\0\0\0", 4));
    EXPECT_EQ(run(each.function), 0U);
    expect_probe(refused(each.command, "00000000", "05000000") + each.fail + "5\\n\n");
    phone_driver_answers_clear();
  }
}

/// There is no wlan1 here.
TEST_P(Probes, AddressTheInterfaceTheyAreTold) {
  EXPECT_EQ(run("wl_config_wifi_dbb_get", "wlan1"), 0U);
  for (const probe &each : probes()) EXPECT_EQ(run(each.function, "wlan1"), 0U) << each.function;
}

TEST_P(Probes, DbbNumberIsLoggedAndPassesWhenTheDriverAnswers) {
  const std::string line = "log 3 wl_config_test:@_wl_config_wifi_dbb_get[" +
                           std::to_string(pick(912, 1307, 1062, 1436)) + "]:The DBB number of WIFI is : ";
  EXPECT_EQ(run("wl_config_wifi_dbb_get"), 1U);
  expect_probe(sends(6) + line + "DBB-20C4-0117\\n\n");
  refuse(6);
  EXPECT_EQ(run("wl_config_wifi_dbb_get"), 0U);
  expect_probe(refused(6) + line + "\\n\n");
  refuse(6, std::string("left\0", 5));
  EXPECT_EQ(run("wl_config_wifi_dbb_get"), 0U);
  expect_probe(refused(6, "00000000", "6c656674") + line + "left\\n\n");
}

// ---- FEM/PA status
// -----------------------------------------------------------------------------------------

TEST_P(Probes, FrontEndStatusClosesBeforeItLogsOnlyWhenItIsBad) {
  for (const verdict &judged : verdicts) {
    SCOPED_TRACE(judged.answer);
    const std::string line =
        std::string("log 3 wl_config_test:The fem_pa status of WIFI is : ") + judged.logged[whole] + "\\n\n";
    answer(7, judged.answer);
    EXPECT_EQ(PUBLIC(wifi_hw_get)(nullptr), judged.passes_whole ? 1U : 0U);
    expect_contacts("socket\n" + sends(7) + (judged.passes_whole ? line + "close\n" : "close\n" + line));
  }
}

TEST_P(Probes, FrontEndStatusOfARefusedCommandIsWhatTheDriverLeft) {
  const std::string line = "log 3 wl_config_test:The fem_pa status of WIFI is : ";
  refuse(7);
  EXPECT_EQ(PUBLIC(wifi_hw_get)(nullptr), 0U);
  expect_contacts("socket\n" + refused(7) + line + "0\\n\nclose\n");
  refuse(7, std::string("\xFE\xFF\xFF\xFF", 4));
  EXPECT_EQ(PUBLIC(wifi_hw_get)(nullptr), 0U);
  expect_contacts("socket\n" + refused(7, "00000000", "feffffff") + "close\n" + line + "-2\\n\n");
  fail("socket");
  EXPECT_EQ(PUBLIC(wifi_hw_get)(nullptr), 0U);
  expect_contacts(no_socket());
}

TEST_P(Probes, PmuCheckOnItsOwnSocketJudgesAllBitsAndLogsTheLowestByte) {
  if (is(vq2040_case)) return;
  const probe &pmu_probe = probes()[2];
  const std::string enter = "log 3 wl_config_pmu_check:enter\\n\n";
  const std::string failing = "\\n\nlog 6 wifi_test_weld:  pin of wifi test fail\\n\nclose\n";
  const auto check = back_end<uint32_t()>("wifi_check_pmu");
  for (const verdict &judged : verdicts) {
    SCOPED_TRACE(judged.answer);
    answer(pmu_probe.command, judged.answer);
    const bool pass = judged.passes_whole;
    EXPECT_EQ(check(), pass ? 1U : 0U);
    expect_contacts(enter + "socket\n" + sends(pmu_probe.command) + (pass ? pmu_probe.pass : pmu_probe.fail) +
                    judged.logged[low_byte] + (pass ? "\\n\nclose\n" : failing));
  }
  phone_driver_answers_clear();
  refuse(pmu_probe.command);
  EXPECT_EQ(check(), 0U);
  expect_contacts(enter + "socket\n" + refused(pmu_probe.command) + pmu_probe.fail + "0" + failing);
  fail("socket");
  EXPECT_EQ(check(), 0U);
  expect_contacts(enter + no_socket());
}

}  // namespace
