#include "phone_link.h"

#include "platform.h"

#include <chrono>
#include <unistd.h>

namespace station::phone_link {
namespace {

const std::string not_here = "this console tests a real phone: only orva-station has a virtual one to set up";
const auto start = std::chrono::steady_clock::now();

}  // namespace

bool is_virtual() { return false; }
void reset() {}
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

std::vector<const contact *> contacts() { return {}; }
void clear_contacts() {}
void print_log(int) {}
int plan_fault(const std::string &, unsigned, unsigned, int) { return -1; }
unsigned fault_fired(int) { return 0; }
std::vector<nv_item> nv_items() { return {}; }
bool put_nv(const nv_item &) { return false; }
void clear_nv() {}
unsigned chip() { return get_orva_connectivity_subchip(); }
bool interface_up() { return false; }

}  // namespace station::phone_link
