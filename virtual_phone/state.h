// The phone's memory, shared with forked children, and what its parts tell each other. Internal.
#ifndef VIRTUAL_PHONE_STATE_H
#define VIRTUAL_PHONE_STATE_H

#include "phone.h"
#include "radio.h"

#include <array>
#include <atomic>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace phone {

// ---- Shared memory ---------------------------------------------------------------------------------------

/// What a description sets beyond the radio.
struct config {
  int64_t subchip;  // -1: the chip's own
  bool wifi_service, supplicant, host_shell, node_present;
  char netcfg[8192];  // empty: what the interface's state gives
  char node_written[256];
};

constexpr size_t max_faults = 4096;
constexpr size_t max_named_places = 1024;
constexpr size_t max_nv_items = 512;

enum function : unsigned {
  fn_socket,
  fn_ioctl,
  fn_close,
  fn_fork,
  fn_execl,
  fn_waitpid,
  fn_popen,
  fn_fread,
  fn_pclose,
  fn_open,
  fn_write,
  fn_memcpy_s,
  fn_memset_s,
  fn_strncpy_s,
  fn_snprintf_s,
  fn_sprintf_s,
  fn_sscanf_s,
  fn_kevoOperaNVWR,
  fn_can_fail,  // those below only count
  fn_sleep = fn_can_fail,
  fn_usleep,
  fn_subchip,
  fn_log,
  fn_count
};

constexpr unsigned first_ioctl = fn_count;
constexpr unsigned first_named = first_ioctl + 64;
constexpr unsigned place_count = first_named + max_named_places;

struct fault {
  unsigned place, nth, times;
  int value;
  std::atomic<unsigned> seen, fired;
};

struct nv_item {
  uint32_t number;
  char name[64];
  uint8_t bytes[104];
};

struct shared_state {
  struct radio radio;
  struct config config;
  std::atomic<int> clock;
  std::atomic<int64_t> virtual_us;
  int64_t origin_us, wall_origin_us;
  int print_log;
  int trace_secure;
  std::atomic<unsigned> uses[place_count];
  char named[max_named_places][128];
  std::atomic<unsigned> named_count;
  fault faults[max_faults];
  unsigned fault_count, first_fault;  // those below first_fault were cleared
  nv_item nv[max_nv_items];
  unsigned nv_count;
};

shared_state &state();

// ---- Trace -----------------------------------------------------------------------------------------------

struct note {
  phone_event_kind kind;
  int64_t result = 0;
  int error = 0;
  std::array<int64_t, 3> number{};
  std::string_view name{}, text{}, data{};
  int64_t time_us = -1;  // -1: now
};

/// Keeps an event; its place in the trace.
size_t record(const note &what);
/// Completes an event whose result was not known when it began.
void amend(size_t event, int64_t result, int error);

// ---- Faults ----------------------------------------------------------------------------------------------

struct verdict {
  bool fails;
  int value;
  int or_else(int fitting) const { return value ? value : fitting; }
};

/// Counts a use of a place, and of its narrower namesake ("ioctl" and "ioctl:11"), and judges it.
verdict use(function place);
verdict use_ioctl(uint32_t command);
verdict use_named(std::string_view place);

// ---- Script ----------------------------------------------------------------------------------------------

/// What the next contact of a kind shall give; null: what the phone gives.
const struct phone_event *scripted(phone_event_kind kind);

// ---- Descriptors, children and streams given out by this process ------------------------------------------

enum class given : uint8_t { nothing, socket, node };

void give_descriptor(int descriptor, given kind);
given descriptor_kind(int descriptor);
void take_descriptor(int descriptor);

void give_child(pid_t child);
bool is_child(pid_t child);
void take_child(pid_t child);

void give_stream(void *stream, pid_t child);
/// The child behind a stream of the phone's, or 0.
pid_t stream_child(const void *stream);
void take_stream(const void *stream);

void forget_all_given();

// ---- The rest --------------------------------------------------------------------------------------------

void advance_clock(int64_t us);
/// The radio with its packets counted up to now.
struct radio &radio_now();
void print_log(int priority, const char *tag, std::string_view text);
void reset_nv();
/// Turns from a store that belongs to the parent process to an empty one in memory.
void part_nv();

/// Applies one key to a description; a message where that fails, else empty.
std::string apply_key(struct radio &radio, config &config, const std::string &key, const std::string &value);
void default_config(config &config);

}  // namespace phone

#endif
