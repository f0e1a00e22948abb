// SPDX-License-Identifier: Apache-2.0
// Writes one transcript: calls of the library, each with every contact that it had with the phone.
#ifndef TESTS_GOLDEN_BOOK_H
#define TESTS_GOLDEN_BOOK_H

#include <array>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/support/bench.h"

namespace golden {

using support::before;
using support::bench;
using lines = std::vector<std::string>;

/// An output of the call: so many bytes, filled with 0xA5 beforehand, printed afterwards.
struct output {
  size_t size;
  bool text = false;
};
/// A driver socket that the caller opened; lent to the call.
struct lent_socket {};
/// An array of numbers that the call reads.
struct words {
  std::vector<uint32_t> values;
};

/// A function that only back ends export; its name without the chip's prefix.
struct own {
  const char *name;
};

/// What is true of the phone before a call, in words for the transcript as well.
struct scene {
  std::string words;
  before needs = before::nothing;
  std::function<void(const bench &)> prepare = {};
};

/// One call's arguments, as the function takes them and as the transcript prints them.
class arguments {
public:
  int32_t pass(int32_t value);
  uint32_t pass(uint32_t value);
  uint16_t pass(uint16_t value);
  char pass(char value);
  const char *pass(const char *text);
  void *pass(output out);
  uint32_t pass(lent_socket);
  const uint32_t *pass(const words &all);
  const void *pass(std::nullptr_t);

  void note(const std::string &printed) { printed_.push_back(printed); }
  std::string printed() const;
  lines outputs() const;
  void close();

private:
  struct given {
    output kind;
    std::vector<uint8_t> bytes;
  };
  lines printed_;
  std::vector<std::unique_ptr<given>> outputs_;
  std::vector<std::unique_ptr<std::vector<uint32_t>>> words_;
  int socket_ = -1;
};

/// A call ready to be made: with the function's address and the arguments' store.
using prepared_call = std::function<std::string(void *function, arguments &)>;

template <typename Result, typename... Arguments> prepared_call calling(Arguments... values) {
  return [=](void *function, arguments &store) -> std::string {
    std::tuple<decltype(store.pass(values))...> passed{store.pass(values)...};
    auto *typed = reinterpret_cast<Result (*)(decltype(store.pass(values))...)>(function);
    if constexpr (std::is_void_v<Result>) {
      std::apply(typed, passed);
      return "nothing";
    } else {
      return std::to_string(std::apply(typed, passed));
    }
  };
}

class book {
public:
  /// Truncates the file; exits with 2 where it cannot be written.
  book(const std::string &file, const std::string &chip);
  ~book();
  book(const book &) = delete;
  book &operator=(const book &) = delete;

  const std::string &chip() const { return chip_; }
  void heading(const std::string &text);

  /// One call on a fresh library and phone, written in full. `Result` is the function's.
  template <typename Result = uint32_t, typename Name, typename... Arguments>
  void call(const scene &scene, Name name, Arguments... values) {
    write(scene, full_name(name), calling<Result>(values...), false);
  }
  /// The same, and then once for each contact that can fail, of which only what changes is written.
  template <typename Result = uint32_t, typename Name, typename... Arguments>
  void try_faults(const scene &scene, Name name, Arguments... values) {
    write(scene, full_name(name), calling<Result>(values...), true);
  }
  template <typename Name>
  void call_as(const scene &scene, Name name, const prepared_call &call, bool faults) {
    write(scene, full_name(name), call, faults);
  }

  /// One call on a bench that the caller keeps, on one line.
  template <typename Result = uint32_t, typename Name, typename... Arguments>
  void line(const bench &bench, Name name, Arguments... values) {
    write_line(bench, full_name(name), calling<Result>(values...));
  }
  /// The same, not written: what a line would say behind the call itself.
  template <typename Result = uint32_t, typename Name, typename... Arguments>
  std::string outcome(const bench &bench, Name name, Arguments... values) {
    arguments store;
    return outcome_of(bench, full_name(name), calling<Result>(values...), store);
  }
  bool exported(const char *back_end_name) const;
  void text(const std::string &line);

private:
  static std::string full_name_of(const char *name) { return name; }
  std::string full_name(const char *name) const { return name; }
  std::string full_name(own name) const { return chip_ + "_" + name.name; }
  void write(const scene &scene, const std::string &function, const prepared_call &call, bool faults);
  void write_line(const bench &bench, const std::string &function, const prepared_call &call);
  std::string outcome_of(const bench &bench, const std::string &function, const prepared_call &call,
                         arguments &store) const;

  FILE *file_;
  std::string chip_;
};

}  // namespace golden

#endif
