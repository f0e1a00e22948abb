// SPDX-License-Identifier: Apache-2.0
// What the console knows about each public function: one table, from which calls, help, completion, the
// manual page and the machine-readable output are made.
#ifndef CONSOLE_FUNCTIONS_H
#define CONSOLE_FUNCTIONS_H

#include "console/phone/chips.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace console {

enum class argument_kind {
  number,  /**< 32 bits, signed or not */
  text,    /**< NUL-terminated, or null */
  flags,   /**< four numbers behind one pointer */
  ignored, /**< a pointer that no back end reads: null or a scratch buffer */
  out_i32, /**< from here on outputs: results through a pointer */
  out_u32,
  out_u8,
  out_i8,
  out_text,  /**< room bytes, NUL-terminated */
  out_chars, /**< up to room characters, not terminated */
  out_mac,   /**< six bytes */
  out_sized, /**< text in room times the number of the argument that follows */
};

struct known_value {
  const char *value;
  const char *meaning;
};

struct argument {
  const char *name;
  argument_kind kind;
  const char *help;
  const char *unit = "";
  /** The usual values, as limits of an expectation; others are passed on with a remark. */
  const char *range = "";
  /** The console rejects values outside this: it sizes a buffer by them. */
  const char *hard_range = "";
  /** A text that is a decimal number. The console rejects any other: the library would take what it begins
   * with, or 0. */
  bool decimal = false;
  std::span<const known_value> known = {};
  /** The default; null for an argument that must be given. */
  const char *fallback = nullptr;
  uint32_t room = 0;

  bool is_output() const { return kind >= argument_kind::out_i32; }
  bool is_number() const {
    return kind == argument_kind::number || (is_output() && kind <= argument_kind::out_i8);
  }
};

enum class result_kind { one_is_good, zero_is_good, value, function_pointer };

struct result_meaning {
  int64_t value;
  bool good;
  const char *text;
};

struct chip_note {
  uint8_t chips;
  const char *text;
};

/** An argument as passed: the low half of `number`, or `pointer`. */
struct slot {
  int64_t number = 0;
  void *pointer = nullptr;
};

/** A result: the number (signed or not, as declared), or a back-end function. */
struct returned {
  int64_t number = 0;
  void *pointer = nullptr;
};

using caller = returned (*)(void *function, const slot *slots);

struct function {
  const char *name;
  int op; /**< row of the dispatch table; -1 for none */
  const char *subject;
  const char *help;
  uint8_t chips;
  result_kind result;
  const char *result_help;
  std::span<const argument> arguments;
  std::span<const result_meaning> meanings;
  std::span<const chip_note> notes;
  const char *example;
  caller call;
  bool writes_nv = false;
  /** Each write changes one entry of an item and keeps the others. */
  bool merges_nv = false;

  size_t most_inputs() const;
  size_t least_inputs() const;
};

std::span<const function> functions();
const function *find_function(std::string_view name);

enum class outcome { good, bad, plain };
struct judgement {
  outcome verdict;
  std::string meaning;
};
/** What a result means. */
judgement judge(const function &f, const returned &result);

/** "wifi_set_power POWER", "wifi_start_rx [MAC]" */
std::string usage(const function &f);

}  // namespace console

#endif
