// SPDX-License-Identifier: Apache-2.0
#include "console/phone/observed.h"

#include "console/phone/chips.h"
#include "console/phone/phone_link.h"
#include "console/text/text.h"

#include <algorithm>
#include <cstring>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <map>
#include <numeric>
#include <unistd.h>

namespace console {
namespace {

/** What a command's data area holds, on its way to the driver or back. */
enum class layout { nothing, i32, u16, text, mac, die_id, ru, parameter, block, connection };

struct command_row {
  uint8_t chips;
  uint32_t id;
  const char *name;
  layout sent;
  layout answer;
};

using enum layout;
constexpr uint8_t NEWER = VQ2050 | VQ2070;

constexpr command_row rows[] = {
    {ALL_CHIPS, 0, "channel", i32, nothing},
    {ALL_CHIPS, 1, "power", i32, nothing},
    {ALL_CHIPS, 2, "mode", i32, nothing},
    {ALL_CHIPS, 3, "rate", i32, nothing},
    {ALL_CHIPS, 4, "bandwidth", i32, nothing},
    {ALL_CHIPS, 5, "transmit", i32, nothing},
    {ALL_CHIPS, 6, "dbb_number", nothing, text},
    {ALL_CHIPS, 7, "fem_status", nothing, i32},
    {ALL_CHIPS, 8, "receive", i32, nothing},
    {ALL_CHIPS, 9, "mac_filter", mac, nothing},
    {ALL_CHIPS, 10, "packet_count", nothing, i32},
    {ALL_CHIPS, 11, "power_save", i32, nothing},
    {ALL_CHIPS, 12, "rssi", nothing, i32},
    {ALL_CHIPS, 13, "chip_check", i32, i32},
    {ALL_CHIPS, 14, "chip_check_result", nothing, i32},
    {ALL_CHIPS, 16, "uart_loop", nothing, nothing},
    {ALL_CHIPS, 17, "sdio_loop", nothing, nothing},
    {VQ2040 | VQ2040A, 18, "cal_block_fetch", nothing, block},
    {VQ2040, 19, "cal_block_push", block, nothing},
    {ALL_CHIPS, 20, "efuse_status", nothing, i32},
    {ALL_CHIPS, 21, "antenna", i32, nothing},
    {ALL_CHIPS, 22, "die_id", nothing, die_id},
    {ALL_CHIPS, 23, "country", text, nothing},
    {ALL_CHIPS, 24, "upc_code", nothing, i32},
    {VQ2040, 25, "connection_power", i32, nothing},
    {NEWER | VQ2040A, 25, "pin_test", nothing, i32},
    {VQ2040, 26, "bss_expire_age", i32, nothing},
    {NEWER, 26, "pmu_check", nothing, i32},
    {VQ2040A, 26, "cal_parameter", parameter, text},
    {VQ2040, 27, "connection_info", nothing, connection},
    {NEWER, 27, "mimo_chain", i32, nothing},
    {VQ2040A, 27, "wakeup_io", nothing, i32},
    {VQ2040A, 28, "cal_interval", text, nothing},
    {NEWER, 29, "cal_parameter", parameter, text},
    {VQ2040A, 29, "pmu_check", nothing, i32},
    {NEWER, 30, "wakeup_io", nothing, i32},
    {VQ2040A, 30, "power_test", i32, nothing},
    {NEWER, 31, "pcie_test", nothing, i32},
    {VQ2040A, 31, "self_calibration", i32, nothing},
    {NEWER, 32, "bus_mode", u16, nothing},
    {VQ2040A, 32, "bss_expire_age", i32, nothing},
    {NEWER, 33, "cal_interval", text, nothing},
    {VQ2040A, 33, "connection_info", nothing, connection},
    {NEWER, 34, "power_test", i32, nothing},
    {VQ2040A, 34, "tas_antenna", i32, nothing},
    {NEWER, 35, "tas_antenna", i32, nothing},
    {VQ2040A, 35, "broadcast_loop", i32, nothing},
    {NEWER, 36, "self_calibration", i32, nothing},
    {NEWER, 37, "bss_expire_age", i32, nothing},
    {NEWER, 38, "connection_info", nothing, connection},
    {VQ2070, 39, "ru_setting", ru, nothing},
};

constexpr size_t record_size = 264, data_offset = 8, item_size = 104;

template <class T> T number_at(const char *data) {
  T number;
  memcpy(&number, data, sizeof number);
  return number;
}

std::string terminated(const char *data, size_t room) { return std::string(data, strnlen(data, room)); }

std::string data_text(layout form, const char *data) {
  switch (form) {
  case nothing: return "";
  case i32: return std::to_string(number_at<int32_t>(data));
  case u16: return std::to_string(number_at<uint16_t>(data));
  case text: return terminated(data, item_size);
  case mac: return hex(data, 6);
  case die_id: return hex(data, 18);
  case ru: return fmt::format("{:x}:{}", number_at<uint16_t>(data), number_at<uint16_t>(data + 2));
  case parameter: return std::to_string(number_at<uint8_t>(data + item_size - 1));
  case block: return hex(data, item_size);
  case connection:
    return fmt::format("{} {} {}", terminated(data + 1, 33), hex(data + 34, 6), number_at<int8_t>(data + 40));
  }
  return "";
}

const command_row *find_command(unsigned chip, uint32_t id) {
  auto mine = [&](auto &row) { return row.id == id && (row.chips & (1u << chip)); };
  auto row = std::ranges::find_if(rows, mine);
  return row == std::end(rows) ? nullptr : row;
}

/** The library retries a refused request at once. Both are shown as one command with two attempts. */
bool repeats(const observed &seen, const contact &e, const contact *last) {
  return !seen.commands.empty() && last && last->result < 0 && last->number[2] == e.number[2] &&
         last->number[0] == e.number[0] && seen.commands.back().attempts == 1;
}

std::string record_text(const char *record) {
  size_t size = record_size;
  while (size > 0 && record[size - 1] == 0) --size;
  return hex(record, size);
}

void add_command(observed &seen, const contact &e, const contact *last, unsigned chip) {
  if (e.size < 2 * record_size) return;
  seen.records.push_back(record_text(static_cast<const char *>(e.data)));
  auto *before = static_cast<const char *>(e.data) + data_offset;
  bool taken = e.result >= 0;
  auto id = static_cast<uint32_t>(e.number[2]);
  auto *row = find_command(chip, id);
  auto answer = row && taken ? data_text(row->answer, before + record_size) : "";
  if (repeats(seen, e, last)) {
    auto &command = seen.commands.back();
    command.taken = taken, command.answer = answer, ++command.attempts;
    return;
  }
  seen.commands.push_back({.id = id,
                           .name = row ? row->name : fmt::format("command_{}", id),
                           .sent = data_text(row ? row->sent : i32, before),
                           .answer = answer,
                           .taken = taken,
                           .attempts = 1,
                           .time_us = e.time_us});
}

void add_nv(observed &seen, const contact &e) {
  std::string bytes(static_cast<const char *>(e.data), e.data ? e.size : 0);
  seen.nv.push_back(
      {e.kind == PHONE_NV_WRITE, static_cast<uint32_t>(e.number[0]), e.name, nv_text(bytes), e.result});
}

void add(observed &seen, const contact &e, std::string &path) {
  switch (e.kind) {
  case PHONE_EXEC:
  case PHONE_POPEN: seen.shell.push_back({e.text, e.kind == PHONE_EXEC ? e.result : 0, e.time_us}); break;
  case PHONE_SLEEP: seen.pauses_us.push_back(e.number[0]); break;
  case PHONE_LOG:
    seen.log.push_back({static_cast<int>(e.number[0]), e.name, std::string(trim_end(e.text))});
    break;
  case PHONE_NV_READ:
  case PHONE_NV_WRITE: add_nv(seen, e); break;
  case PHONE_OPEN: path = e.text; break;
  case PHONE_WRITE:
    seen.files.push_back(
        fmt::format("{} <- {}", path, std::string(static_cast<const char *>(e.data), e.size)));
    break;
  default: break;
  }
}

/** Drops the refusal that a successful retry made up for. */
void mend(observed &seen, const std::string &command) {
  std::erase_if(seen.troubles, [&](auto &t) { return t.what == command; });
}

void add_request_trouble(observed &seen, const contact &e, unsigned chip) {
  auto id = static_cast<uint32_t>(e.number[2]);
  auto *row = find_command(chip, id);
  auto what = fmt::format("driver command {}{}", id, row ? fmt::format(" {}", row->name) : "");
  mend(seen, what);
  if (e.result < 0) seen.troubles.push_back({what, trouble_kind::error, e.error});
}

void add_trouble(observed &seen, const contact &e, unsigned chip) {
  static const std::map<phone_event_kind, const char *> calls = {
      {PHONE_SOCKET, "socket"}, {PHONE_FORK, "fork"},     {PHONE_WAIT, "waitpid"}, {PHONE_POPEN, "popen"},
      {PHONE_FREAD, "fread"},   {PHONE_PCLOSE, "pclose"}, {PHONE_OPEN, "open"},    {PHONE_WRITE, "write"}};
  auto call = calls.find(e.kind);
  if (e.kind == PHONE_IOCTL)
    add_request_trouble(seen, e, chip);
  else if (e.kind == PHONE_EXEC && e.result != 0)
    seen.troubles.push_back({e.text, e.result < 0 ? trouble_kind::error : trouble_kind::status,
                             e.result < 0 ? e.error : e.result});
  else if ((e.kind == PHONE_NV_READ || e.kind == PHONE_NV_WRITE) && e.result != 0)
    seen.troubles.push_back({fmt::format("NV {} {}", e.kind == PHONE_NV_READ ? "read" : "write", e.number[0]),
                             trouble_kind::nv_code, e.result});
  else if (call != calls.end() && e.error != 0)
    seen.troubles.push_back(
        {fmt::format("{}{}{}", call->second, *e.text ? " " : "", e.text), trouble_kind::error, e.error});
}

int64_t &account(time_ledger &ledger, phone_event_kind kind) {
  switch (kind) {
  case PHONE_SLEEP: return ledger.pauses_us;
  case PHONE_SOCKET:
  case PHONE_IOCTL:
  case PHONE_CLOSE: return ledger.driver_us;
  case PHONE_FORK:
  case PHONE_WAIT:
  case PHONE_POPEN:
  case PHONE_FREAD:
  case PHONE_PCLOSE: return ledger.shell_us;
  default: return ledger.library_us;
  }
}

/** A contact records when it began, so each is charged the time until the caller's next contact. */
time_ledger keep_ledger(const std::vector<const contact *> &contacts, int64_t start_us, int64_t end_us) {
  time_ledger ledger;
  auto since = start_us;
  auto *account_now = &ledger.library_us;
  for (auto *e : contacts) {
    if (e->process != getpid() || e->kind == PHONE_EXEC) continue;
    *account_now += e->time_us - since;
    since = e->time_us;
    account_now = &account(ledger, e->kind);
  }
  *account_now += end_us - since;
  return ledger;
}

}  // namespace

int64_t observed::total_pause_us() const {
  return std::accumulate(pauses_us.begin(), pauses_us.end(), int64_t{0});
}

time_ledger &time_ledger::operator+=(const time_ledger &other) {
  pauses_us += other.pauses_us;
  driver_us += other.driver_us;
  shell_us += other.shell_us;
  library_us += other.library_us;
  return *this;
}

observed observe(unsigned chip, int64_t start_us, int64_t end_us) {
  observed seen;
  std::string path;
  const contact *last_request = nullptr;
  for (auto *e : phone_link::contacts()) {
    add_trouble(seen, *e, chip);
    if (e->kind == PHONE_IOCTL) {
      add_command(seen, *e, last_request, chip);
      last_request = e;
    } else
      add(seen, *e, path);
  }
  seen.ledger = keep_ledger(phone_link::contacts(), start_us, end_us);
  return seen;
}

std::string describe(const driver_command &c) {
  auto text = c.name;
  if (!c.sent.empty()) text += "=" + c.sent;
  if (!c.answer.empty()) text += ": " + c.answer;
  if (!c.taken) text += " refused";
  if (c.taken && c.attempts > 1) text += " at the second attempt";
  return text;
}

std::string duration(int64_t us) {
  if (us >= 1'000'000) return fmt::format("{:.4g} s", static_cast<double>(us) / 1e6);
  if (us >= 1000) return fmt::format("{:.4g} ms", static_cast<double>(us) / 1e3);
  return us == 0 ? "0 s" : fmt::format("{} us", us);
}

std::string describe_pauses(const std::vector<int64_t> &pauses) {
  std::vector<std::string> runs;
  for (size_t i = 0; i < pauses.size();) {
    size_t same = 1;
    while (i + same < pauses.size() && pauses[i + same] == pauses[i]) ++same;
    runs.push_back(same == 1 ? duration(pauses[i]) : fmt::format("{} x {}", duration(pauses[i]), same));
    i += same;
  }
  return fmt::format("{}", fmt::join(runs, ", "));
}

std::string nv_text(const std::string &bytes) {
  auto end = std::min(bytes.find('\0'), bytes.size());
  auto printable = [](unsigned char c) { return c >= ' ' && c < 0x7F; };
  bool is_text = std::all_of(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(end), printable) &&
                 bytes.find_first_not_of('\0', end) == bytes.npos;
  return is_text ? bytes.substr(0, end) : "0x" + hex(bytes.data(), bytes.size());
}

int command_id(unsigned chip, const std::string &name) {
  for (auto &row : rows)
    if (name == row.name && (row.chips & (1u << chip))) return static_cast<int>(row.id);
  return -1;
}

std::vector<std::string> command_names(unsigned chip) {
  std::vector<std::string> names;
  for (auto &row : rows)
    if (row.chips & (1u << chip)) names.emplace_back(row.name);
  return names;
}

}  // namespace console
