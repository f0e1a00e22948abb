// SPDX-License-Identifier: Apache-2.0
#include "tests/golden/book.h"

#include <dlfcn.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>

#include "platform/platform.h"
#include "tests/support/contacts.h"
#include "virtual_phone/phone.h"

namespace {

constexpr size_t NV_NAME_SIZE = 32;

/// Whether the name of each NV access since the last clear was filled with zeros up to 32 bytes.
std::vector<bool> names_filled;

/// What went past the phone since the last clear and should not have.
golden::lines oddities;

}  // namespace

/// Ahead of the phone's own function: a service may copy all 32 bytes of a name.
extern "C" int kevoOperaNVWR(uint32_t op, uint32_t number, const char *name, uint32_t size, void *bytes) {
  static auto *const phone = reinterpret_cast<decltype(&kevoOperaNVWR)>(dlsym(RTLD_NEXT, "kevoOperaNVWR"));
  const char *const limit = name + NV_NAME_SIZE;
  const char *const end = name + strnlen(name, NV_NAME_SIZE);
  names_filled.push_back(end < limit && std::all_of(end, limit, [](char c) { return c == 0; }));
  return phone(op, number, name, size, bytes);
}

/// Ahead of the phone's own function, which passes on what is not open without a contact.
extern "C" int close(int descriptor) {
  static auto *const phone = reinterpret_cast<decltype(&close)>(dlsym(RTLD_NEXT, "close"));
  const int result = phone(descriptor);
  if (result < 0 && errno == EBADF) oddities.push_back("closes what is not open");
  return result;
}

/// The phone takes any protocol.
extern "C" int socket(int domain, int type, int protocol) noexcept {
  static auto *const phone = reinterpret_cast<decltype(&socket)>(dlsym(RTLD_NEXT, "socket"));
  if (type != SOCK_DGRAM || protocol != 0) oddities.push_back("opens a socket of another kind");
  return phone(domain, type, protocol);
}

namespace golden {

using support::contacts;
using support::hex;
using support::quoted;

namespace {

constexpr uint8_t UNTOUCHED = 0xA5;

/// A fault to try, and its name in the transcript.
struct fault {
  std::string name, place;
  unsigned nth, times;
  int value;
};

struct kind {
  const char *place, *name;
  unsigned times;
  int value;
  bool first_only;  // every use answers alike, so one is enough
};
constexpr kind kinds[] = {
    {"socket", "fails", 1, 0, false},
    {"socket", "gives descriptor 0", 1, -1000, true},
    {"socket", "fail from here on", 0, 0, true},
    {"ioctl", "refused once", 1, 0, true},
    {"ioctl", "refused twice", 2, 0, false},
    {"fork", "fails", 1, 0, true},
    {"execl", "fails", 1, 0, true},
    {"waitpid", "interrupted", 1, EINTR, true},
    {"waitpid", "fails", 1, ECHILD, true},
    {"popen", "fails", 1, 0, true},
    {"fread", "reads nothing", 1, 0, true},
    {"open", "fails", 1, 0, true},
    {"write", "fails", 1, 0, true},
    {"memcpy_s", "fails", 1, 0, false},
    {"strncpy_s", "fails", 1, 0, false},
    {"snprintf_s", "fails", 1, 0, false},
    {"sscanf_s", "fails", 1, 0, false},
    {"kevoOperaNVWR", "fails", 1, 0, false},
    {"kevoOperaNVWR", "answers 7 from here on", 0, 7, true},
};

std::string name_of(const std::string &place, unsigned nth, const char *what) {
  return place + " " + std::to_string(nth) + " " + what;
}

/// What the contacts of the run just made could have done instead.
std::vector<fault> faults_of_run() {
  std::vector<fault> all;
  for (const kind &kind : kinds) {
    const unsigned uses = kind.first_only ? std::min(1U, phone_uses(kind.place)) : phone_uses(kind.place);
    for (unsigned nth = 1; nth <= uses; nth++) {
      all.push_back({name_of(kind.place, nth, kind.name), kind.place, nth, kind.times, kind.value});
    }
  }
  std::map<std::string, unsigned> commands;
  for (size_t i = 0; const struct phone_event *event = phone_event(i); i++) {
    if (event->kind == PHONE_EXEC) commands[event->text]++;
  }
  for (const auto &[command, uses] : commands) {
    for (unsigned nth = 1; nth <= uses; nth++) {
      all.push_back({name_of(quoted(command), nth, "exits with 1"), "shell:" + command, nth, 1, 1});
    }
  }
  return all;
}

std::string counted(size_t count, const char *where) {
  return "    (" + std::to_string(count) + (count == 1 ? " line " : " lines ") + where + ")";
}

/// The lines of a faulty run, those left out that the good run begins and ends with.
lines changes(const lines &good, const lines &seen) {
  const size_t most = std::min(good.size(), seen.size());
  size_t head = 0, tail = 0;
  while (head < most && good[head] == seen[head]) head++;
  while (tail < most - head && good[good.size() - 1 - tail] == seen[seen.size() - 1 - tail]) tail++;
  lines all;
  if (head == seen.size() && head == good.size()) return {"    (as above)"};
  if (head > 0) all.push_back(counted(head, "as above"));
  for (size_t i = head; i < seen.size() - tail; i++) all.push_back("    " + seen[i]);
  if (tail > 0) all.push_back(counted(tail, "as at the end above"));
  return all;
}

std::string joined(const lines &all, const char *between) {
  std::string text;
  for (const std::string &line : all) text += (text.empty() ? "" : between) + line;
  return text;
}

void mark_names(lines &all) {
  size_t accesses = 0;
  for (std::string &line : all) {
    if (!line.starts_with("nv ")) continue;
    if (!names_filled.at(accesses++)) line += " (the name is not filled with zeros)";
  }
}

lines run(const bench &bench, void *function, const prepared_call &call, arguments &store) {
  phone_events_clear();
  names_filled.clear();
  oddities.clear();
  const std::string result = call(function, store);
  lines all = contacts(bench.chip());
  mark_names(all);
  all.insert(all.end(), oddities.begin(), oddities.end());
  all.push_back("-> " + result);
  for (const std::string &line : store.outputs()) all.push_back(line);
  return all;
}

/// The run's lines on a fresh library and phone, with a fault where one is given.
lines run_fresh(const std::string &chip, const scene &scene, const std::string &function,
                const prepared_call &call, const fault *fault, std::string *title) {
  const bench bench(chip);
  bench.prepare(scene.needs);
  if (scene.prepare) scene.prepare(bench);
  phone_events_clear();
  arguments store;
  int id = -1;
  const lines all = run(
      bench, bench.find(function),
      [&](void *address, arguments &given) {
        if (fault != nullptr) id = phone_fault(fault->place.c_str(), fault->nth, fault->times, fault->value);
        return call(address, given);
      },
      store);
  store.close();
  if (title != nullptr) *title = function + "(" + store.printed() + ")";
  if (fault != nullptr && phone_fault_fired(id) == 0) return {"-> the fault did not happen"};
  return all;
}

}  // namespace

int32_t arguments::pass(int32_t value) {
  note(std::to_string(value));
  return value;
}
uint32_t arguments::pass(uint32_t value) {
  note(std::to_string(value));
  return value;
}
uint16_t arguments::pass(uint16_t value) {
  note(std::to_string(value));
  return value;
}
char arguments::pass(char value) {
  note(quoted(std::string(1, value)));
  return value;
}
const char *arguments::pass(const char *text) {
  note(text == nullptr ? "null" : quoted(text));
  return text;
}
const void *arguments::pass(std::nullptr_t) {
  note("null");
  return nullptr;
}
void *arguments::pass(output out) {
  note("out");
  outputs_.push_back(std::make_unique<given>(given{out, std::vector<uint8_t>(out.size, UNTOUCHED)}));
  return outputs_.back()->bytes.data();
}
uint32_t arguments::pass(lent_socket) {
  note("socket");
  socket_ = socket(AF_INET, SOCK_DGRAM, 0);
  phone_events_clear();
  return static_cast<uint32_t>(socket_);
}
const uint32_t *arguments::pass(const words &all) {
  lines numbers;
  for (const uint32_t value : all.values) numbers.push_back(std::to_string(static_cast<int32_t>(value)));
  note("{" + joined(numbers, ", ") + "}");
  words_.push_back(std::make_unique<std::vector<uint32_t>>(all.values));
  return words_.back()->data();
}

std::string arguments::printed() const { return joined(printed_, ", "); }

lines arguments::outputs() const {
  lines all;
  for (const auto &one : outputs_) {
    const auto &bytes = one->bytes;
    const bool untouched = std::all_of(bytes.begin(), bytes.end(), [](uint8_t b) { return b == UNTOUCHED; });
    const bool ended = memchr(bytes.data(), 0, bytes.size()) != nullptr;
    if (untouched) {
      all.push_back("out untouched");
    } else if (one->kind.text && ended) {
      all.push_back("out " + quoted(reinterpret_cast<const char *>(bytes.data())));
    } else {
      all.push_back("out " + hex(bytes.data(), bytes.size()));
    }
  }
  return all;
}

void arguments::close() {
  if (socket_ >= 0) ::close(socket_);
  socket_ = -1;
}

book::book(const std::string &file, const std::string &chip) : file_(fopen(file.c_str(), "w")), chip_(chip) {
  if (file_ != nullptr) return;
  fprintf(stderr, "transcript: cannot write %s: %s\n", file.c_str(), strerror(errno));
  _exit(2);
}

book::~book() { fclose(file_); }

void book::text(const std::string &line) { fprintf(file_, "%s\n", line.c_str()); }

void book::heading(const std::string &text) { fprintf(file_, "\n## %s\n", text.c_str()); }

bool book::exported(const char *back_end_name) const {
  return bench(chip_).find(chip_ + "_" + back_end_name) != nullptr;
}

void book::write(const scene &scene, const std::string &function, const prepared_call &call, bool faults) {
  if (bench(chip_).find(function) == nullptr) return;
  std::string title;
  const lines good = run_fresh(chip_, scene, function, call, nullptr, &title);
  const std::vector<fault> planned = faults_of_run();
  text("\n" + title + (scene.words.empty() ? "" : ", " + scene.words));
  for (const std::string &line : good) text("  " + line);
  if (!faults) return;
  for (const fault &fault : planned) {
    text("  " + fault.name + ":");
    for (const std::string &line : changes(good, run_fresh(chip_, scene, function, call, &fault, nullptr)))
      text(line);
  }
}

std::string book::outcome_of(const bench &bench, const std::string &function, const prepared_call &call,
                             arguments &store) const {
  void *address = bench.find(function);
  if (address == nullptr) return "not exported";
  lines all = run(bench, address, call, store);
  store.close();
  // The result first: it is what one looks for on a line.
  const auto result =
      std::find_if(all.begin(), all.end(), [](const std::string &line) { return line.starts_with("-> "); });
  std::rotate(all.begin(), result, all.end());
  return joined(all, "; ");
}

void book::write_line(const bench &bench, const std::string &function, const prepared_call &call) {
  if (bench.find(function) == nullptr) return;
  arguments store;
  const std::string said = outcome_of(bench, function, call, store);
  text(function + "(" + store.printed() + ") " + said);
}

}  // namespace golden
