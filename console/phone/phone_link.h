// SPDX-License-Identifier: Apache-2.0
// The phone that the console works with: the virtual one, a real one, or one with a real kernel. Each program
// links one implementation of these functions.
#ifndef CONSOLE_PHONE_LINK_H
#define CONSOLE_PHONE_LINK_H

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow"  // struct and function phone_event share their name, as C allows
#include "phone.h"
#pragma GCC diagnostic pop

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace console {
using contact = struct phone_event;
}

namespace console::phone_link {

/** False for a real phone, which cannot be set up or made to fail. */
bool is_virtual();

/** Default description, no faults, virtual clock at 0, empty NV in memory. */
void reset();
/** These three return "" or a message that says what is wrong and what would be right. */
std::string load(const std::string &path);
std::string set(const std::string &key, const std::string &value);
std::string open_nv(const std::string &path);
/** The value of a key; "" for an unknown one. */
std::string get(const std::string &key);
/** Every key with its explanation. */
std::vector<std::pair<std::string, std::string>> keys();

void use_real_clock(bool real);
int64_t now_us();
/** Waits on the phone's clock, for less than a second; a signal ends it early. */
void wait_us(int64_t microseconds);

/** The contacts since they were last cleared, in order. */
std::vector<const contact *> contacts();
/** How many came after those, too many to be kept. */
size_t contacts_dropped();
void clear_contacts();
/** Kinds of contact that are never seen here, as recordings name them. */
std::vector<std::string> unseen_kinds();
/** Functions that the library needs and no library of this phone defines, as far as the loader does not tell.
 */
std::vector<std::string> missing_functions();
/** Prints log lines of at least this priority to stderr; 0 for none. */
void print_log(int least_priority);

/** When the phone's own log is read for lines of the library that no contact shows. */
enum class log_reading { never, missing, always }; /**< missing: after calls without any line */
/** A phone whose log is always seen ignores it. */
void read_log(log_reading when);
/**
 * Adds such lines to the contacts of the call that just ended. Returns a remark if the log could not be read,
 * the first time after read_log only; otherwise "". A log that cannot be read at all is given up.
 */
std::string complete_log();

/** A place where a fault can be planned; capitals in its name stand for what the caller adds: "ioctl:ID". */
struct fault_place {
  std::string name, value, meaning; /**< value: what the fault's value means there */
};
/** All of them; none on a real phone. */
std::vector<fault_place> fault_places();
/** Returns an id for fault_fired, or -1 for an unknown place. */
int plan_fault(const std::string &place, unsigned nth, unsigned times, int value);
unsigned fault_fired(int id);

/** Bytes of a driver record and of an NV item. */
inline constexpr size_t record_size = 264, nv_item_size = 104;

struct nv_item {
  uint32_t number;
  std::string name;
  std::string bytes; /**< as read, nv_item_size of them */
};
/** What NV holds. Throws usage_error if an item cannot be read: it may hold anything. */
std::vector<nv_item> nv_items();
struct unread_item {
  uint32_t number;
  std::string name;
  int code; /**< of the NV service */
};
/** What can be read of NV. What cannot goes into unread. */
std::vector<nv_item> readable_nv_items(std::vector<unread_item> *unread = nullptr);
bool put_nv(const nv_item &item);
/** Around several puts: a store in a file takes all of them or none. */
bool begin_nv();
bool end_nv(bool keep);
void clear_nv();
/** What keeps NV after this session: a file's name, or the phone; "" if nothing does. */
std::string lasting_store();
/** Runs act on a copy of the phone, in a child process, and returns its text; nothing if this phone cannot be
 * copied. */
std::optional<std::string> on_a_copy(const std::function<std::string()> &act);

/** The fitted chip's sub-chip index; chip_count and more for an unknown one. */
unsigned chip();
bool interface_up();

}  // namespace console::phone_link

#endif
