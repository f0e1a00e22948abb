// SPDX-License-Identifier: Apache-2.0
#include "console/phone/phone_link.h"

#include "console/phone/watched_contacts.h"
#include "console/text/usage_error.h"
#include "platform.h"

#include <chrono>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>

namespace console::phone_link {
namespace {

const std::string not_here = "this console tests a real phone: only orva-station has a virtual one to set up";

/** Every calibration item of any chip. The NV service has no way to list what it holds. */
constexpr std::pair<uint32_t, const char *> kept[] = {
    {340, "WIC0_2G5G_OFDM"}, {340, "WINVRAM"},        {363, "NV_UNUSED"},      {367, "WITXCCK"},
    {368, "WIC0_5GLOW"},     {368, "WIC1_2G5G_OFDM"}, {369, "WIC0_5GLOW"},     {370, "WIC1_5GLOW"},
    {384, "WIC0_2G40M"},     {385, "WIC0_5G160M"},    {385, "WIC1_2G40M"},     {386, "WIC0_5G160M"},
    {387, "WIC0_5G160M"},    {387, "WIC1_5G160M"},    {396, "WIC0_2GMU_OFDM"}, {397, "WIC0_2GMF40M"},
    {397, "WIC1_2GMU_OFDM"}, {398, "WIC0_2GMF40M"},   {398, "WIC0_MUCCK"},     {399, "WIC1_2GMF40M"},
    {400, "WIC0_MUCCK"},     {401, "WIC1_MUCCK"},
};

const auto start = std::chrono::steady_clock::now();

}  // namespace

bool is_virtual() { return false; }
void reset() { begin_watching(); }
std::string load(const std::string &) { return not_here; }
std::string set(const std::string &, const std::string &) { return not_here; }
std::string open_nv(const std::string &) { return not_here; }
std::string get(const std::string &) { return ""; }
std::vector<std::pair<std::string, std::string>> keys() { return {}; }
void use_real_clock(bool) {}

int64_t now_us() {
  return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start)
      .count();
}

void wait_us(int64_t microseconds) {
  timespec rest = {.tv_sec = microseconds / 1'000'000, .tv_nsec = microseconds % 1'000'000 * 1000};
  nanosleep(&rest, nullptr);
}

void clear_contacts() { clear_watched(); }
void print_log(int least_priority) { print_watched_log(least_priority); }
std::vector<fault_place> fault_places() { return {}; }
int plan_fault(const std::string &, unsigned, unsigned, int) { return -1; }
unsigned fault_fired(int) { return 0; }

std::vector<nv_item> readable_nv_items(std::vector<unread_item> *unread) {
  unwatched here;
  std::vector<nv_item> all;
  for (auto &[number, name] : kept) {
    std::string bytes(nv_item_size, '\0');
    int code = kevoOperaNVWR(ORVA_NV_READ, number, name, nv_item_size, bytes.data());
    if (code == 0 && bytes.find_first_not_of('\0') != bytes.npos) all.push_back({number, name, bytes});
    if (code != 0 && unread) unread->push_back({number, name, code});
  }
  return all;
}

std::vector<nv_item> nv_items() {
  std::vector<unread_item> unread;
  auto all = readable_nv_items(&unread);
  std::vector<std::string> names;
  for (auto &item : unread)
    names.push_back(fmt::format("{} {} (code {})", item.number, item.name, item.code));
  if (!names.empty())
    throw usage_error{
        fmt::format("The phone's NV service does not read {}. Every item must read with code 0, "
                    "one that was never written as zeros; doctor looks for the cause.",
                    fmt::join(names, ", "))};
  return all;
}

bool put_nv(const nv_item &item) {
  unwatched here;
  auto bytes = item.bytes;
  bytes.resize(nv_item_size);
  return kevoOperaNVWR(ORVA_NV_WRITE, item.number, item.name.c_str(), nv_item_size, bytes.data()) == 0;
}

bool begin_nv() { return true; }
bool end_nv(bool) { return true; }

void clear_nv() {
  for (auto &item : nv_items()) put_nv({item.number, item.name, ""});
}

std::string lasting_store() { return "the phone's NV"; }
std::optional<std::string> on_a_copy(const std::function<std::string()> &) { return std::nullopt; }

unsigned chip() {
  unwatched here;
  return get_orva_connectivity_subchip();
}
bool interface_up() { return false; }

}  // namespace console::phone_link
