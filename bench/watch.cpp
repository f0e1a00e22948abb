// SPDX-License-Identifier: Apache-2.0
// What the watcher costs: the contacts of one value command, pause left out, on this machine's kernel with
// and without it. Nothing answers the driver's request, so the kernel refuses it at once: a driver only makes
// the share smaller.
//   bench_watch [ROUNDS]
#include "platform/platform.h"
#include "watcher/watcher.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>
#include <vector>

namespace {

/// A call of the library sends up to ten or so; then the console clears the contacts.
constexpr size_t commands_at_once = 10, contacts_of_command = 5;

int64_t now_ns() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return now.tv_sec * int64_t{1'000'000'000} + now.tv_nsec;
}

/// The functions that a value command calls.
struct functions {
  decltype(&get_orva_connectivity_subchip) subchip;
  decltype(&::socket) socket;
  int (*ioctl)(int, unsigned long, ...) noexcept;
  decltype(&::close) close;
  decltype(&__android_log_print) log;
};

constexpr functions watched_ones = {get_orva_connectivity_subchip, ::socket, ::ioctl, ::close,
                                    __android_log_print};

template <class F> F next(F, const char *name) { return reinterpret_cast<F>(dlsym(RTLD_NEXT, name)); }

functions those_below() {
  auto &own = watched_ones;
  return {next(own.subchip, "get_orva_connectivity_subchip"), next(own.socket, "socket"),
          next(own.ioctl, "ioctl"), next(own.close, "close"), next(own.log, "__android_log_print")};
}

void value_command(const functions &use) {
  char record[264] = {};
  ifreq request{};
  strcpy(request.ifr_name, "wlan0");
  request.ifr_data = record;
  use.subchip();
  int descriptor = use.socket(AF_INET, SOCK_DGRAM, 0);
  use.ioctl(descriptor, 0x89F2, &request);
  use.close(descriptor);
  use.log(ORVA_LOG_ERROR, "WIFI_ORVA_FAC_TEST_2050", "wl_config test: ioctl fail:ret %d\n", -1);
}

double ns_per_command(const functions &use) {
  watcher_clear();
  int64_t begin = now_ns();
  for (size_t i = 0; i < commands_at_once; i++) value_command(use);
  return static_cast<double>(now_ns() - begin) / commands_at_once;
}

double median(std::vector<double> &all) {
  std::nth_element(all.begin(), all.begin() + static_cast<ptrdiff_t>(all.size() / 2), all.end());
  return all[all.size() / 2];
}

}  // namespace

int main(int count, char **words) {
  size_t rounds = count > 1 ? std::max<size_t>(1, strtoul(words[1], nullptr, 10)) : 10001;
  watcher_open(commands_at_once * contacts_of_command, size_t{4} << 20);
  watcher_watch(1);
  const functions below = those_below();
  std::vector<double> with, without;
  for (size_t i = 0; i < rounds; i++) {
    without.push_back(ns_per_command(below));
    with.push_back(ns_per_command(watched_ones));
  }
  if (watcher_dropped() != 0 || watcher_count() != commands_at_once * contacts_of_command) return 1;
  double bare = median(without), watched = median(with);
  printf("%zu contacts without the watcher %6.0f ns, with it %6.0f ns: %.0f ns for each contact\n",
         contacts_of_command, bare, watched, (watched - bare) / contacts_of_command);
  printf("share of a value command with its pause of 1 ms: %.2f %%\n", 100 * (watched - bare) / (bare + 1e6));
  return 0;
}
