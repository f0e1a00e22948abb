// SPDX-License-Identifier: Apache-2.0
#include "console/phone/observed.h"

#include "console/phone/phone_link.h"
#include "console/text/text.h"
#include "radio_decode.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <numeric>
#include <unistd.h>

namespace console {
namespace {

constexpr size_t record_size = RADIO_RECORD_SIZE;

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
  auto *before = static_cast<const uint8_t *>(e.data) + RADIO_DATA_AT;
  bool taken = e.result >= 0;
  auto id = static_cast<uint32_t>(e.number[2]);
  radio_decoded decoded;
  radio_decode(chip, id, before, taken ? before + record_size : nullptr, &decoded);
  if (repeats(seen, e, last)) {
    auto &command = seen.commands.back();
    command.taken = taken, command.answer = decoded.answer, ++command.attempts;
    return;
  }
  seen.commands.push_back({.id = id,
                           .name = decoded.form ? decoded.form->name : fmt::format("command_{}", id),
                           .sent = decoded.sent,
                           .answer = decoded.answer,
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
  case PHONE_SOCKET:
  case PHONE_IOCTL:
  case PHONE_CLOSE:
  case PHONE_FORK:
  case PHONE_WAIT:
  case PHONE_FREAD:
  case PHONE_PCLOSE:
  case PHONE_SUBCHIP:
  case PHONE_SECURE: break;
  }
}

/** Drops the refusal that a successful retry made up for. */
void mend(observed &seen, const std::string &command) {
  std::erase_if(seen.troubles, [&](auto &t) { return t.what == command; });
}

void add_request_trouble(observed &seen, const contact &e, unsigned chip) {
  auto id = static_cast<uint32_t>(e.number[2]);
  auto *form = radio_chip_command_form(chip, id);
  auto what = fmt::format("driver command {}{}", id, form ? fmt::format(" {}", form->name) : "");
  mend(seen, what);
  if (e.result < 0) seen.troubles.push_back({what, trouble_kind::error, e.error});
}

/** The name of a system call that is in trouble when it leaves an errno; null for other kinds of contact. */
const char *call_name(phone_event_kind kind) {
  switch (kind) {
  case PHONE_SOCKET: return "socket";
  case PHONE_FORK: return "fork";
  case PHONE_WAIT: return "waitpid";
  case PHONE_POPEN: return "popen";
  case PHONE_FREAD: return "fread";
  case PHONE_PCLOSE: return "pclose";
  case PHONE_OPEN: return "open";
  case PHONE_WRITE: return "write";
  case PHONE_IOCTL:
  case PHONE_CLOSE:
  case PHONE_EXEC:
  case PHONE_SLEEP:
  case PHONE_LOG:
  case PHONE_SUBCHIP:
  case PHONE_NV_READ:
  case PHONE_NV_WRITE:
  case PHONE_SECURE: break;
  }
  return nullptr;
}

void add_trouble(observed &seen, const contact &e, unsigned chip) {
  auto *call = call_name(e.kind);
  if (e.kind == PHONE_IOCTL)
    add_request_trouble(seen, e, chip);
  else if (e.kind == PHONE_EXEC && e.result != 0)
    seen.troubles.push_back({e.text, e.result < 0 ? trouble_kind::error : trouble_kind::status,
                             e.result < 0 ? e.error : e.result});
  else if ((e.kind == PHONE_NV_READ || e.kind == PHONE_NV_WRITE) && e.result != 0)
    seen.troubles.push_back({fmt::format("NV {} {}", e.kind == PHONE_NV_READ ? "read" : "write", e.number[0]),
                             trouble_kind::nv_code, e.result});
  else if (call && e.error != 0)
    seen.troubles.push_back(
        {fmt::format("{}{}{}", call, *e.text ? " " : "", e.text), trouble_kind::error, e.error});
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
  case PHONE_EXEC:
  case PHONE_OPEN:
  case PHONE_WRITE:
  case PHONE_LOG:
  case PHONE_SUBCHIP:
  case PHONE_NV_READ:
  case PHONE_NV_WRITE:
  case PHONE_SECURE: break;
  }
  return ledger.library_us;
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
  seen.dropped = phone_link::contacts_dropped();
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

int command_id(unsigned chip, const std::string &name) { return radio_command_id(chip, name.c_str()); }

std::vector<std::string> command_names(unsigned chip) {
  std::vector<std::string> names;
  for (uint32_t id = 0; id < RADIO_COMMANDS; ++id)
    if (auto *form = radio_chip_command_form(chip, id)) names.emplace_back(form->name);
  return names;
}

}  // namespace console
