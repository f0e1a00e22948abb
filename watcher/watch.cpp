// SPDX-License-Identifier: Apache-2.0
// Keeps what the watched functions record. Everything that is forked shares it.
#include "watch.h"

#include "watcher.h"

#include "virtual_phone/contact_store.h"
#include "virtual_phone/given.h"
#include "virtual_phone/log_line.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <dlfcn.h>
#include <iterator>
#include <memory>
#include <sys/wait.h>
#include <time.h>

namespace {

/// The store of the process. Left alone at exit: other threads may still use it.
std::atomic<phone::contact_store *> store;
std::atomic<int64_t (*)()> own_clock;
std::atomic<int> least_logged;
thread_local bool watching;

/// Keeps errno as it was.
class errno_guard {
public:
  errno_guard() = default;
  errno_guard(const errno_guard &) = delete;
  errno_guard &operator=(const errno_guard &) = delete;
  ~errno_guard() { errno = kept_; }

private:
  int kept_ = errno;
};

int64_t clock_us(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return now.tv_sec * int64_t{1'000'000} + now.tv_nsec / 1000;
}

int64_t now_us() {
  auto clock = own_clock.load();
  return clock ? clock() : clock_us(CLOCK_MONOTONIC);
}

std::string_view text_of(const char *text) { return text ? text : ""; }

/// As a shell tells it of the programs that it runs.
int exit_status(int wait_status) {
  return WIFEXITED(wait_status) ? WEXITSTATUS(wait_status) : 128 + WTERMSIG(wait_status);
}

}  // namespace

// ---- For the watched functions ---------------------------------------------------------------------------

void *watch_next(const char *name) {
  errno_guard guard;
  return dlsym(RTLD_NEXT, name);
}

int watch_on(void) { return watching && store.load(); }

struct watched_call watch_begin(int wanted) {
  if (!wanted || !watch_on()) return {};
  errno_guard guard;
  watching = false;
  return {1, now_us()};
}

void watch_end(struct watched_call call) {
  if (call.recorded) watching = true;
}

void watch_end_with(struct watched_call call, const struct phone_event *contact) {
  watch_note(call, contact);
  watch_end(call);
}

size_t watch_note(struct watched_call call, const struct phone_event *contact) {
  if (!call.recorded) return 0;
  errno_guard guard;
  auto &c = *contact;
  std::string_view data{static_cast<const char *>(c.data), c.data ? c.size : 0};
  return store.load()->record({.kind = c.kind,
                               .result = c.result,
                               .error = c.error,
                               .number = {c.number[0], c.number[1], c.number[2]},
                               .name = text_of(c.name),
                               .text = text_of(c.text),
                               .data = data},
                              call.began);
}

void watch_amend(size_t contact, int64_t result, int error) {
  errno_guard guard;
  store.load()->amend(contact, result, error);
}

void watch_gave_descriptor(int descriptor, enum watch_kind kind) {
  phone::give_descriptor(descriptor, static_cast<phone::given>(kind));
}

enum watch_kind watch_descriptor(int descriptor) {
  static_assert(WATCH_SOCKET == static_cast<int>(phone::given::socket) &&
                WATCH_NODE == static_cast<int>(phone::given::node));
  return static_cast<watch_kind>(phone::descriptor_kind(descriptor));
}

void watch_gave_child(pid_t child) { phone::give_child(child); }
int watch_is_child(pid_t child) { return phone::is_child(child); }

void watch_child_ended(pid_t child, const int *status) {
  errno_guard guard;
  phone::take_child(child);
  if (status) store.load()->amend_exec(child, exit_status(*status));
}

void watch_gave_stream(void *stream) { phone::give_stream(stream, 1); }
int watch_is_stream(const void *stream) { return phone::stream_child(stream) != 0; }
void watch_stream_ended(const void *stream) { phone::take_stream(stream); }

void watch_print_log(int priority, const char *tag, const char *text) {
  errno_guard guard;
  int least = least_logged;
  if (least && priority >= least) phone::print_log(clock_us(CLOCK_REALTIME), priority, tag, text);
}

// ---- For whoever looks -----------------------------------------------------------------------------------

void watcher_open(size_t most_contacts, size_t most_bytes) {
  static std::unique_ptr<phone::contact_store> kept;
  store = nullptr;
  kept = std::make_unique<phone::contact_store>(most_contacts, most_bytes);
  phone::forget_all_given();
  store = kept.get();
}

int watcher_watch(int on) {
  bool before = watching;
  watching = on != 0;
  return before;
}

void watcher_use_clock(int64_t (*clock)(void)) { own_clock = clock; }

size_t watcher_count(void) { return store.load() ? store.load()->count() : 0; }

const struct phone_event *watcher_contact(size_t i) { return store.load() ? store.load()->at(i) : nullptr; }

size_t watcher_dropped(void) { return store.load() ? store.load()->dropped() : 0; }

void watcher_clear(void) {
  if (store.load()) store.load()->clear();
}

unsigned watcher_left_open(void) { return phone::count_given(); }

void watcher_print_log(int least_priority) { least_logged = least_priority; }

const char *watcher_missing(size_t i) {
  static constexpr const char *platform[] = {"__android_log_print", "get_orva_connectivity_subchip",
                                             "kevoOperaNVWR"};
  for (auto *name : platform)
    if (!watch_next(name) && i-- == 0) return name;
  return nullptr;
}
