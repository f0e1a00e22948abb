// SPDX-License-Identifier: Apache-2.0
/*
 * What the console asks of the phone besides the library's functions. Three implementations: for the virtual
 * phone, for the phone with a real kernel (kernel_phone/), and for a phone that is really there, of which the
 * console sees nothing but the library's answers.
 */
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

/** False where a real phone is tested: then nothing can be set up, watched or made to fail. */
bool is_virtual();

/** A fresh phone: default description, no faults, virtual clock at 0, empty NV. */
void reset();
/** These three give "" or a message that says what is wrong and what would be right. */
std::string load(const std::string &path);
std::string set(const std::string &key, const std::string &value);
std::string open_nv(const std::string &path);
/** Value of one key; "" where there is none. */
std::string get(const std::string &key);
/** Every key and its explanation. */
std::vector<std::pair<std::string, std::string>> keys();

void use_real_clock(bool real);
int64_t now_us();
/** Lets time pass on the phone's clock; a signal ends it early. */
void wait_us(int64_t microseconds);

/** Contacts with the phone since the last clear, in order. */
std::vector<const contact *> contacts();
void clear_contacts();
/** Log lines to stderr from this priority on; 0 for none. */
void print_log(int least_priority);

/** An id to ask with, or -1 for an unknown place. */
int plan_fault(const std::string &place, unsigned nth, unsigned times, int value);
unsigned fault_fired(int id);

/** Bytes of a driver record and of an NV item. */
inline constexpr size_t record_size = 264, nv_item_size = 104;

struct nv_item {
  uint32_t number;
  std::string name;
  std::string bytes; /**< nv_item_size of them as read */
};
std::vector<nv_item> nv_items();
bool put_nv(const nv_item &item);
void clear_nv();
/** What keeps NV beyond this session: a file's name, or the phone; "" where it is forgotten. */
std::string lasting_store();
/**
 * Lets act happen on a copy of the phone, in a process of its own, and gives the text that it gave; nothing
 * where the phone cannot be copied.
 */
std::optional<std::string> on_a_copy(const std::function<std::string()> &act);

/** Which chip is fitted: 0 to 3, or more for one that nobody knows. */
unsigned chip();
bool interface_up();

}  // namespace console::phone_link

#endif
