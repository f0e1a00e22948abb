// SPDX-License-Identifier: Apache-2.0
#include "console/doctor/doctor.h"

#include "console/doctor/platform_functions.h"
#include "console/phone/causes.h"
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
#include <fstream>
#include <net/if.h>
#include <nlohmann/json.hpp>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace console {
namespace {

using phone_link::nv_item_size;

constexpr unsigned long private_request = 0x89F2;
constexpr const char *harmless_command = "upc_code";  // works with the interface up or down
constexpr uint32_t nv_number = 340;
constexpr const char *node = "/sys/vq20x0_debug/bfgx_test";

finding good(std::string what, std::string found) {
  return {std::move(what), presence::ok, std::move(found), "", ""};
}

finding missing(std::string what, const cause &c) {
  return {std::move(what), presence::missing, c.name, c.why, c.cure};
}

finding unknown(std::string what, std::string why, std::string cure) {
  return {std::move(what), presence::unknown, "not tried", std::move(why), std::move(cure)};
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

finding examine_request(int socket, unsigned chip) {
  struct {
    uint32_t magic, command;
    uint8_t data[256];
  } record{radio_chip_magic(chip), static_cast<uint32_t>(radio_command_id(chip, harmless_command)), {}};
  ifreq request{};
  request.ifr_data = reinterpret_cast<char *>(&record);
  if (int error = ask(socket, private_request, request))
    return missing("private request", cause_of_error(error));
  return good("private request", fmt::format("the driver answers as a {}", chip_name(chip)));
}

void examine_driver(unsigned chip, std::vector<finding> &all) {
  int opened = socket(AF_INET, SOCK_DGRAM, 0);
  if (opened < 0) {
    all.push_back(missing("socket", cause_of_error(errno)));
    all.push_back(unknown("interface wlan0", "no socket to ask with", "see the line \"socket\""));
    all.push_back(unknown("private request", "no socket to ask with", "see the line \"socket\""));
    return;
  }
  all.push_back(good("socket", "opened"));
  all.push_back(examine_interface(opened));
  all.push_back(chip < chip_count
                    ? examine_request(opened, chip)
                    : unknown("private request", "the chip is unknown", "see the line \"chip\""));
  close(opened);
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

finding examine_shell_itself(const shell_result &done) {
  constexpr const char *what = "/system/bin/sh";
  if (done.error) return missing(what, cause_of_error(done.error));
  return done.status ? missing(what, cause_of_status(done.status)) : good(what, "runs");
}

void examine_shell(std::vector<finding> &all) {
  auto tried = run_in_shell("true");
  all.push_back(examine_shell_itself(tried));
  for (auto &p : programs)
    all.push_back(tried.error ? unknown(p.name, "no shell to run it", "see the line \"/system/bin/sh\"")
                              : examine_program(p));
}

// ---- NV, permissions -------------------------------------------------------------------------------------

/** Skips an item of zeros: it may not exist yet, and writing would create it. */
finding examine_nv_writing(const char *name, char (&item)[nv_item_size], bool write) {
  constexpr const char *what = "NV writing";
  if (!write) return unknown(what, "this would write", "doctor --write writes an item back as it was read");
  if (std::ranges::all_of(item, [](char byte) { return byte == 0; }))
    return unknown(
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
  all.push_back(code ? unknown("NV writing", "nothing was read that could be written back",
                               "see the line \"NV reading\"")
                     : examine_nv_writing(name, item, write));
}

bool may_administer_network() {
  constexpr unsigned net_admin = 12;
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;)
    if (word == "CapEff:" && status >> word) return std::stoull(word, nullptr, 16) >> net_admin & 1;
  return false;
}

void examine_permissions(unsigned chip, std::vector<finding> &all) {
  if (phone_link::is_virtual())
    all.push_back(good("permissions", "the virtual phone asks for none"));
  else
    all.push_back(may_administer_network() ? good("permissions", "CAP_NET_ADMIN")
                                           : missing("permissions", cause_of_error(EPERM)));
  if (chip >= chip_count || !chips[chip].has_test_node) return;
  int opened = open(node, O_WRONLY);
  all.push_back(opened < 0 ? missing(node, cause_of_error(errno)) : good(node, "may be written"));
  if (opened >= 0) close(opened);
}

// ---- Printing --------------------------------------------------------------------------------------------

constexpr const char *presence_names[] = {"ok", "missing", "unknown"};
static_assert(std::size(presence_names) == static_cast<size_t>(presence::unknown) + 1);

const char *name_of(presence state) { return presence_names[static_cast<size_t>(state)]; }

void print_line(const finding &f) {
  fmt::print("{:<8} {:<20} {}\n", name_of(f.state), f.what, f.found);
  if (!f.why.empty())
    fmt::print("{:<8} {:<20} cause: {}\n{:<8} {:<20} cure:  {}\n", "", "", f.why, "", "", f.cure);
}

void print_json(const finding &f) {
  fmt::print("{}\n", nlohmann::ordered_json{{"type", "finding"},
                                            {"what", f.what},
                                            {"state", name_of(f.state)},
                                            {"found", f.found},
                                            {"cause", f.why},
                                            {"cure", f.cure}}
                         .dump());
}

}  // namespace

std::vector<finding> examine(const settings &with, bool write) {
  prepare_phone(with);
  std::vector<finding> all;
  examine_library(with.library, all);
  auto chip = phone_link::chip();
  all.push_back(examine_chip(chip));
  examine_driver(chip, all);
  examine_shell(all);
  examine_nv(chip, write, all);
  examine_permissions(chip, all);
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
