// SPDX-License-Identifier: Apache-2.0
// The phone's state, in memory shared with forked children: what a child does to the phone, its parent sees.
#ifndef VIRTUAL_PHONE_STATE_H
#define VIRTUAL_PHONE_STATE_H

#include "places.h"
#include "radio.h"
#include "rf/rf.h"

#include <atomic>
#include <cstdint>

namespace phone {

/// The description's keys beyond the radio's.
struct config {
  int64_t subchip;  // -1: the chip's own
  bool wifi_service, supplicant, host_shell, node_present;
  char netcfg[8192];  // empty: netcfg prints the interface's state
  char node_written[256];
  struct rf::unit unit;
  char cable[sizeof(rf::cable_end::address)];  // "HOST:PORT/N"; empty: none
};

constexpr size_t max_faults = 4096;
constexpr size_t max_nv_items = 512;

/// A planned fault; seen counts the uses of its place since it was planned.
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
  rf::rf_state rf;
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

/// Gives this process a state of its own, as its parent's is now.
void part_state();

}  // namespace phone

#endif
