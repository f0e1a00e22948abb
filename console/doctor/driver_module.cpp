// SPDX-License-Identifier: Apache-2.0
#include "console/doctor/driver_module.h"

#include "console/text/text.h"

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <sstream>
#include <system_error>
#include <vector>

namespace console {
namespace {

namespace fs = std::filesystem;
using names_t = std::vector<std::string>;

constexpr const char *what = "driver module";

/** The names of the loaded modules, the first word of each line. */
names_t loaded_modules(const system_files &files) {
  std::istringstream lines(text_of_file(files.proc + "/modules"));
  names_t names;
  for (std::string line; std::getline(lines, line);) names.push_back(line.substr(0, line.find(' ')));
  return names;
}

names_t interfaces(const system_files &files) {
  names_t names;
  std::error_code error;
  for (auto &entry : fs::directory_iterator(files.sys + "/class/net", error))
    names.push_back(entry.path().filename());
  std::ranges::sort(names);
  return names;
}

/** The name that a link of the interface's device leads to; "" if there is no such link. */
std::string link_target(const std::string &path) {
  std::error_code error;
  return fs::read_symlink(path, error).filename();
}

/** Drivers name their modules after WLAN or the chip. */
bool sounds_like_wlan(const std::string &module) {
  constexpr const char *patterns[] = {"*wlan*", "*wifi*", "*vq20*"};
  return std::ranges::any_of(patterns, [&](auto pattern) { return glob(pattern, module); });
}

names_t wlan_modules(const system_files &files) {
  auto names = loaded_modules(files);
  std::erase_if(names, [](auto &name) { return !sounds_like_wlan(name); });
  return names;
}

bool is_wlan(const system_files &files, const std::string &interface) {
  auto folder = files.sys + "/class/net/" + interface;
  std::error_code error;
  return fs::exists(folder + "/phy80211", error) || fs::exists(folder + "/wireless", error);
}

finding of_wlan0(const std::string &folder, const system_files &files) {
  if (auto module = link_target(folder + "/device/driver/module"); !module.empty())
    return good(what, fmt::format("{} is loaded and drives wlan0", module));
  if (auto driver = link_target(folder + "/device/driver"); !driver.empty())
    return good(what, fmt::format("none: {}, which drives wlan0, is built into the kernel", driver));
  auto modules = wlan_modules(files);
  return good(what, modules.empty() ? "not named by the kernel, but wlan0 is there"
                                    : fmt::format("{} is loaded; wlan0 names no driver", modules[0]));
}

/** Why there is no wlan0: a silent module, another name, or no module at all. */
finding without_wlan0(const system_files &files) {
  auto others = interfaces(files), modules = loaded_modules(files);
  auto found = fmt::format("no wlan0; interfaces: {}",
                           others.empty() ? "none" : fmt::format("{}", fmt::join(others, " ")));
  auto other = std::ranges::find_if(others, [&](auto &name) { return is_wlan(files, name); });
  if (other != others.end())
    return missing(
        what, {found, fmt::format("the WLAN interface is named {}, and the library uses wlan0 only", *other),
               fmt::format("rename it while it is down: ip link set {} name wlan0", *other)});
  if (auto silent = wlan_modules(files); !silent.empty())
    return missing(
        what,
        {found,
         fmt::format("{} is loaded but made no interface: the chip or its firmware did not start", silent[0]),
         fmt::format("read what it says: dmesg | grep -i {}; check the firmware files and the chip's supply",
                     silent[0])});
  return missing(
      what, {found,
             fmt::format("none of the {} looks like a WLAN driver", counted(modules.size(), "loaded module")),
             "load the factory test's driver with insmod, then look again: ls /sys/class/net"});
}

}  // namespace

finding examine_module(const system_files &files, bool driver_answers) {
  auto folder = files.sys + "/class/net/wlan0";
  std::error_code error;
  if (fs::exists(folder, error)) return of_wlan0(folder, files);
  auto f = without_wlan0(files);
  if (!driver_answers) return f;
  return unknown(what, f.found, "the driver answers, but the kernel's files do not show it here",
                 "a session needs none; see that /sys is mounted and may be read");
}

}  // namespace console
