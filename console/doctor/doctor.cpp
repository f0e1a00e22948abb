// SPDX-License-Identifier: Apache-2.0
#include "console/doctor/doctor.h"

#include "console/doctor/denial.h"
#include "console/doctor/driver_module.h"
#include "console/doctor/platform_functions.h"
#include "console/doctor/process.h"
#include "console/doctor/rf_tester.h"
#include "console/phone/chips.h"
#include "console/phone/library.h"
#include "console/phone/phone_link.h"
#include "console/phone/shell_probe.h"
#include "console/run/functions.h"
#include "platform.h"
#include "radio_commands.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <iterator>
#include <net/if.h>
#include <nlohmann/json.hpp>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace console {
namespace {

using phone_link::nv_item_size;

constexpr unsigned private_request = 0x89F2;
constexpr const char *harmless_command = "upc_code";  // works with the interface up or down
constexpr uint32_t nv_number = 340;
constexpr const char *node = "/sys/vq20x0_debug/bfgx_test";

finding untried(std::string what, std::string why, std::string cure) {
  return unknown(std::move(what), "not tried", std::move(why), std::move(cure));
}

/** What the kernel says about a refusal; null for the virtual phone, which has no kernel. */
finding refused(std::string what, int error, const access_sought &sought, const system_files *files) {
  auto f = missing(std::move(what), cause_of_error(error));
  return files ? explain_denial(std::move(f), error, sought, *files) : f;
}

// ---- Library ---------------------------------------------------------------------------------------------

finding platform_finding(const std::vector<std::string> &undefined) {
  if (undefined.empty()) return good("platform functions", "all defined");
  return missing(
      "platform functions",
      {fmt::format("undefined: {}", fmt::join(undefined, ", ")),
       "no library of this phone defines what the library under test needs",
       "name the phone's own libraries in the build of the library under test (liblog, NV service, chip "
       "query, bounds-checked functions)"});
}

finding functions_finding(const library &lib) {
  std::vector<std::string> absent;
  for (auto &f : functions())
    if (!lib.symbol(f.name)) absent.emplace_back(f.name);
  if (absent.empty()) return good("library functions", fmt::format("all {} exported", functions().size()));
  return missing("library functions",
                 {fmt::format("{} of {} exported, not {}", functions().size() - absent.size(),
                              functions().size(), absent.front()),
                  "this is another library, or one of another version",
                  "name the right one with --library FILE"});
}

void examine_library(const std::string &path, std::vector<finding> &all) {
  library lib;
  auto trouble = lib.load(path);
  auto undefined = undefined_functions(trouble);
  if (!trouble.empty() && undefined.empty()) {
    all.push_back(missing("library", {path, trouble, "install the library, or name it with --library FILE"}));
    return;
  }
  all.push_back(good("library", path));
  all.push_back(platform_finding(undefined));
  if (trouble.empty()) all.push_back(functions_finding(lib));
}

// ---- Chip and driver -------------------------------------------------------------------------------------

finding examine_chip(unsigned chip) {
  if (chip < chip_count) return good("chip", chip_name(chip));
  return missing("chip",
                 {fmt::format("the phone reports index {}", chip),
                  fmt::format("the library knows 0 to {} only", chip_count - 1),
                  "see which chip is fitted, and what the phone's get_orva_connectivity_subchip reports"});
}

/** Makes an interface request for wlan0. Returns 0, or the errno. */
int ask(int socket, unsigned long request, ifreq &with) {
  strncpy(with.ifr_name, "wlan0", IFNAMSIZ);
  return ioctl(socket, request, &with) < 0 ? errno : 0;
}

finding examine_interface(int socket) {
  ifreq request{};
  if (int error = ask(socket, SIOCGIFFLAGS, request))
    return missing("interface wlan0", cause_of_error(error));
  return good("interface wlan0",
              request.ifr_flags & IFF_UP ? "up" : "down (the start of test mode takes it up)");
}

/** Which layer answers the private request with this error. */
struct refusal {
  int error;
  const char *by;
};
constexpr refusal refusals[] = {
    {EPERM, "a check of permissions"},
    {EACCES, "SELinux or a file's permissions"},
    {EINVAL, "the driver"},
    {EOPNOTSUPP, "the driver"},
    {ENOTTY, "the driver"},
    {EFAULT, "the driver"},
    {EIO, "the driver"},
    {EBUSY, "the driver"},
    {ETIMEDOUT, "the chip"},
    {ENODEV, "the interface"},
    {ENETDOWN, "the interface"},
};

/** "EPERM, from a check of permissions" */
std::string named_refusal(const std::string &name, int error) {
  auto row = std::ranges::find(refusals, error, &refusal::error);
  return row == std::end(refusals) ? name : fmt::format("{}, from {}", name, row->by);
}

finding examine_request(int socket, unsigned chip, const system_files *files) {
  struct {
    uint32_t magic, command;
    uint8_t data[256];
  } record{radio_chip_magic(chip), static_cast<uint32_t>(radio_command_id(chip, harmless_command)), {}};
  ifreq request{};
  request.ifr_data = reinterpret_cast<char *>(&record);
  if (int error = ask(socket, private_request, request)) {
    auto f = refused("private request", error, {"ioctl", "udp_socket", private_request}, files);
    f.found = named_refusal(f.found, error);
    return f;
  }
  return good("private request", fmt::format("the driver answers as a {}", chip_name(chip)));
}

std::vector<finding> ask_driver(unsigned chip, const system_files *files) {
  std::vector<finding> all;
  int opened = socket(AF_INET, SOCK_DGRAM, 0);
  if (opened < 0) {
    all.push_back(refused("socket", errno, {"create", "udp_socket"}, files));
    all.push_back(untried("interface wlan0", "no socket to ask with", "see the line \"socket\""));
    all.push_back(untried("private request", "no socket to ask with", "see the line \"socket\""));
    return all;
  }
  all.push_back(good("socket", "opened"));
  all.push_back(examine_interface(opened));
  all.push_back(chip < chip_count
                    ? examine_request(opened, chip, files)
                    : untried("private request", "the chip is unknown", "see the line \"chip\""));
  close(opened);
  return all;
}

void examine_driver(unsigned chip, const system_files *files, std::vector<finding> &all) {
  auto asked = ask_driver(chip, files);
  bool answers = asked.back().state == presence::ok;  // the private request comes last
  if (files) all.push_back(examine_module(*files, answers));
  std::ranges::move(asked, std::back_inserter(all));
}

// ---- Shell -----------------------------------------------------------------------------------------------

struct program {
  const char *name;
  const char *harmless; /**< changes nothing; a status of 126 or 127 means that it could not be run */
  bool must_succeed;
};

constexpr program programs[] = {
    {"ifconfig", "ifconfig wlan0", false},
    {"svc", "svc wifi", false},
    {"netcfg", "/system/bin/netcfg", true},
    {"wpa_cli_orva", "wpa_cli_orva status", true},
};

finding examine_program(const program &p) {
  auto done = run_in_shell(p.harmless);
  if (done.error) return missing(p.name, cause_of_error(done.error));
  bool runs = done.status != 126 && done.status != 127;
  return runs && (done.status == 0 || !p.must_succeed) ? good(p.name, "runs")
                                                       : missing(p.name, cause_of_status(done.status));
}

finding examine_shell_itself(const shell_result &done, const system_files *files) {
  constexpr const char *what = "/system/bin/sh";
  if (done.error) return refused(what, done.error, {"execute", "file"}, files);
  return done.status ? missing(what, cause_of_status(done.status)) : good(what, "runs");
}

void examine_shell(const system_files *files, std::vector<finding> &all) {
  auto tried = run_in_shell("true");
  all.push_back(examine_shell_itself(tried, files));
  for (auto &p : programs)
    all.push_back(tried.error ? untried(p.name, "no shell to run it", "see the line \"/system/bin/sh\"")
                              : examine_program(p));
}

// ---- NV, permissions -------------------------------------------------------------------------------------

/** Skips an item of zeros: it may not exist yet, and writing would create it. */
finding examine_nv_writing(const char *name, char (&item)[nv_item_size], bool write) {
  constexpr const char *what = "NV writing";
  if (!write) return untried(what, "this would write", "doctor --write writes an item back as it was read");
  if (std::ranges::all_of(item, [](char byte) { return byte == 0; }))
    return untried(
        what, fmt::format("item {} {} is empty, and writing would not leave it as it was", nv_number, name),
        "calibrate the unit first");
  int code = kevoOperaNVWR(ORVA_NV_WRITE, nv_number, name, nv_item_size, item);
  return code ? missing(what, cause_of_nv(code)) : good(what, "the same bytes written back");
}

void examine_nv(unsigned chip, bool write, std::vector<finding> &all) {
  const char *name = chips[chip % chip_count].nv_name;  // reads zeros under any other name
  char item[nv_item_size] = {};
  int code = kevoOperaNVWR(ORVA_NV_READ, nv_number, name, nv_item_size, item);
  all.push_back(code ? missing("NV reading", cause_of_nv(code))
                     : good("NV reading", fmt::format("item {} {}", nv_number, name)));
  all.push_back(code ? untried("NV writing", "nothing was read that could be written back",
                               "see the line \"NV reading\"")
                     : examine_nv_writing(name, item, write));
}

void examine_permissions(unsigned chip, const system_files *files, std::vector<finding> &all) {
  if (!files) all.push_back(good("permissions", "the virtual phone asks for none"));
  if (chip >= chip_count || !chips[chip].has_test_node) return;
  int opened = open(node, O_WRONLY);
  all.push_back(opened < 0 ? refused(node, errno, {"write", "file"}, files) : good(node, "may be written"));
  if (opened >= 0) close(opened);
}

// ---- By hand ---------------------------------------------------------------------------------------------

struct hand_check {
  const char *what;
  const char *command;
};

constexpr hand_check hand_checks[] = {
    {"user", "id"},
    {"capabilities", "grep CapEff /proc/self/status"},
    {"SELinux", "getenforce; cat /proc/self/attr/current"},
    {"library", "ls -lZ /vendor/lib64/libwifi_factory_test_orva.so"},
    {"platform functions", "on the host: readelf -W --dyn-syms LIBRARY | grep UND"},
    {"library functions", "on the host: readelf -W --dyn-syms LIBRARY | grep wifi_"},
    {"chip", "orva-station-phone wifi_get_func 0"},
    {"driver module", "lsmod; ls -l /sys/class/net/wlan0/device/driver/module"},
    {"socket", "id; look for 3003 (inet)"},
    {"interface wlan0", "ifconfig wlan0"},
    {"private request", "orva-station-phone wifi_get_upc_code; logcat -d -s WIFI_ORVA_FAC_TEST_2050"},
    {"/system/bin/sh", "ls -lZ /system/bin/sh"},
    {"NV reading", "orva-station-phone nv list"},
    {"NV writing", "orva-station-phone --write doctor"},
    {node, "ls -lZ /sys/vq20x0_debug/bfgx_test"},
};

void add_hand_checks(std::vector<finding> &all) {
  for (auto &f : all) {
    auto row = std::ranges::find(hand_checks, std::string_view(f.what), &hand_check::what);
    auto program = std::ranges::find(programs, std::string_view(f.what), &program::name);
    if (f.check.empty() && row != std::end(hand_checks)) f.check = row->command;
    if (f.check.empty() && program != std::end(programs)) f.check = program->harmless;
  }
}

// ---- Printing --------------------------------------------------------------------------------------------

constexpr const char *presence_names[] = {"ok", "missing", "unknown"};
static_assert(std::size(presence_names) == static_cast<size_t>(presence::unknown) + 1);

const char *name_of(presence state) { return presence_names[static_cast<size_t>(state)]; }

void print_line(const finding &f) {
  fmt::print("{:<8} {:<20} {}\n", name_of(f.state), f.what, f.found);
  if (!f.why.empty())
    fmt::print("{:<8} {:<20} cause: {}\n{:<8} {:<20} cure:  {}\n", "", "", f.why, "", "", f.cure);
  if (!f.check.empty()) fmt::print("{:<8} {:<20} check: {}\n", "", "", f.check);
}

void print_json(const finding &f) {
  fmt::print("{}\n", nlohmann::ordered_json{{"type", "finding"},
                                            {"what", f.what},
                                            {"state", name_of(f.state)},
                                            {"found", f.found},
                                            {"cause", f.why},
                                            {"cure", f.cure},
                                            {"check", f.check}}
                         .dump());
}

}  // namespace

std::vector<finding> examine(const settings &with, bool write, const system_files &given) {
  prepare_phone(with);
  auto *files = phone_link::is_virtual() ? nullptr : &given;
  std::vector<finding> all;
  if (files) all = examine_process(*files);
  examine_library(with.library, all);
  auto chip = phone_link::chip();
  all.push_back(examine_chip(chip));
  examine_driver(chip, files, all);
  examine_shell(files, all);
  examine_nv(chip, write, all);
  examine_permissions(chip, files, all);
  std::ranges::move(examine_rf_tester(with.parameters), std::back_inserter(all));
  if (files) add_hand_checks(all);
  return all;
}

bool print_findings(const std::vector<finding> &findings, bool json) {
  for (auto &f : findings) json ? print_json(f) : print_line(f);
  auto absent = std::ranges::count(findings, presence::missing, &finding::state);
  if (json)
    fmt::print(
        "{}\n",
        nlohmann::ordered_json{{"type", "doctor"}, {"missing", absent}, {"ready", absent == 0}}.dump());
  else
    fmt::print("\n{}\n",
               absent ? fmt::format("{} missing: a session would fail.", absent) : "Ready for a session.");
  return absent == 0;
}

}  // namespace console
