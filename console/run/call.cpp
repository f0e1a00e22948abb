// SPDX-License-Identifier: Apache-2.0
#include "console/run/call.h"

#include "console/text/text.h"
#include "console/text/usage_error.h"
#include "console/text/within.h"

#include <algorithm>
#include <cstring>
#include <fmt/format.h>
#include <fmt/ranges.h>

namespace console {

/** A buffer between two guards, which reveal writes outside it. */
class prepared_call::buffer {
public:
  const argument *what;
  size_t size;

  buffer(const argument &a, size_t room) : what(&a), size(room), bytes(guard + room + guard, fill) {
    std::fill_n(bytes.begin() + guard, room, '\0');
  }
  char *data() { return bytes.data() + guard; }

  std::string overrun(const char *function) const {
    auto touched = [&](size_t from) {
      return std::count_if(bytes.begin() + static_cast<ptrdiff_t>(from),
                           bytes.begin() + static_cast<ptrdiff_t>(from + guard),
                           [](char c) { return c != fill; });
    };
    auto before = touched(0), after = touched(guard + size);
    if (before == 0 && after == 0) return "";
    return fmt::format("{} wrote outside \"{}\" ({} bytes): {} before it, {} behind it", function, what->name,
                       size, before, after);
  }

private:
  static constexpr size_t guard = 256;
  static constexpr char fill = '\x5A';
  std::string bytes;
};

namespace {

constexpr size_t least_text_room =
    256;  // the library reads an address up to its twelfth character, however short it is

std::string range_text(const argument &a, const char *range) {
  auto text = fmt::format("{}", fmt::join(split(range, ','), ", "));
  return *a.unit ? fmt::format("{} {}", text, a.unit) : text;
}

int64_t number_of(const function &f, const argument &a, const std::string &word) {
  auto number = parse_number(word);
  if (!number)
    throw usage_error{
        fmt::format("{}: {} is \"{}\", which is no number: give a decimal one like 155 or -99, or 0x1F.{}",
                    f.name, a.name, word, *a.range ? " Usual: " + range_text(a, a.range) + "." : "")};
  if (*number < INT32_MIN || *number > UINT32_MAX)
    throw usage_error{fmt::format("{}: {} is {}, which does not fit in 32 bits: give {} to {}.", f.name,
                                  a.name, word, INT32_MIN, UINT32_MAX)};
  if (*a.hard_range && !within(a.hard_range, std::to_string(*number)))
    throw usage_error{
        fmt::format("{}: {} is {}: give {}.", f.name, a.name, word, range_text(a, a.hard_range))};
  return *number;
}

std::vector<std::string> list_items(std::string text) {
  std::ranges::replace(text, ',', ' ');
  std::vector<std::string> items;
  for (auto &item : split(text, ' '))
    if (!item.empty()) items.push_back(item);
  return items;
}

std::string characters(const char *bytes, size_t room) { return std::string(bytes, strnlen(bytes, room)); }

std::string mac_text(const char *bytes) {
  auto *b = reinterpret_cast<const unsigned char *>(bytes);
  return fmt::format("{:02x}", fmt::join(b, b + 6, ":"));
}

template <class T> std::string number_text(const char *bytes) {
  T number;
  memcpy(&number, bytes, sizeof number);
  return fmt::format("{}", static_cast<int64_t>(number));
}

std::string output_text(const argument &a, const char *bytes, size_t size) {
  switch (a.kind) {
  case argument_kind::out_i32: return number_text<int32_t>(bytes);
  case argument_kind::out_u32: return number_text<uint32_t>(bytes);
  case argument_kind::out_u8: return number_text<uint8_t>(bytes);
  case argument_kind::out_i8: return number_text<int8_t>(bytes);
  case argument_kind::out_mac: return mac_text(bytes);
  default: return characters(bytes, size);
  }
}

size_t output_size(const argument &a) {
  switch (a.kind) {
  case argument_kind::out_i32:
  case argument_kind::out_u32: return 4;
  case argument_kind::out_u8:
  case argument_kind::out_i8: return 1;
  default: return a.room;
  }
}

bool is_decimal(const std::string &word) {
  return parse_real(word) && word.find_first_not_of("+-.0123456789eE") == word.npos;
}

void check_count(const function &f, size_t words) {
  if (words < f.least_inputs())
    throw usage_error{
        fmt::format("{}: an argument is missing, {} given. Usage: {}", f.name, words, usage(f))};
  if (words > f.most_inputs())
    throw usage_error{fmt::format("{}: too many arguments, {} given. Usage: {}", f.name, words, usage(f))};
}

}  // namespace

prepared_call::buffer &prepared_call::add_buffer(const argument &a, size_t size) {
  return *buffers.emplace_back(std::make_unique<buffer>(a, size));
}

void prepared_call::take_input(const argument &a, const std::string &word, slot &s) {
  input_values.push_back({&a, word});
  switch (a.kind) {
  case argument_kind::number:
    s.number = number_of(called, a, word);
    if (*a.range && !within(a.range, std::to_string(s.number)))
      remark_lines.push_back(fmt::format("{} {} is outside {}", a.name, word, range_text(a, a.range)));
    break;
  case argument_kind::text:
    if (word == "null") break;
    if (a.decimal && !is_decimal(word))
      throw usage_error{fmt::format("{}: {} is \"{}\", which is no decimal number: give the {}.", called.name,
                                    a.name, word, a.help)};
    s.pointer = add_buffer(a, std::max(word.size() + 1, least_text_room)).data();
    memcpy(s.pointer, word.data(), word.size());
    break;
  case argument_kind::flags: {
    auto items = list_items(word);
    if (items.size() != 4)
      throw usage_error{
          fmt::format("{}: {} is \"{}\": give four numbers as 1,0,0,0.", called.name, a.name, word)};
    auto *numbers = reinterpret_cast<uint32_t *>(add_buffer(a, 4 * sizeof(uint32_t)).data());
    for (size_t i = 0; i < 4; ++i) numbers[i] = static_cast<uint32_t>(number_of(called, a, items[i]));
    s.pointer = numbers;
    break;
  }
  default:
    if (word != "null" && word != "scratch")
      throw usage_error{
          fmt::format("{}: {} is \"{}\": give null or scratch, or leave it out.", called.name, a.name, word)};
    if (word == "scratch") s.pointer = add_buffer(a, 64).data();
  }
}

void prepared_call::make_output(const argument &a, slot &s) {
  auto room = output_size(a);
  if (a.kind == argument_kind::out_sized) room *= static_cast<size_t>(std::max<int64_t>((&s + 1)->number, 1));
  s.pointer = add_buffer(a, room).data();
}

prepared_call::prepared_call(const function &f, const std::vector<std::string> &words)
    : called(f), slots(f.arguments.size()) {
  check_count(f, words.size());
  auto word = words.begin();
  for (size_t i = 0; i < slots.size(); ++i) {
    auto &a = f.arguments[i];
    if (!a.is_output()) take_input(a, word != words.end() ? *word++ : a.fallback, slots[i]);
  }
  for (size_t i = 0; i < slots.size(); ++i)
    if (f.arguments[i].is_output()) make_output(f.arguments[i], slots[i]);
}

prepared_call::~prepared_call() = default;

call_result prepared_call::run(const library &lib) {
  call_result r;
  r.result = called.call(lib.symbol(called.name), slots.data());
  r.means = judge(called, r.result);
  r.value = std::to_string(r.result.number);
  if (called.result == result_kind::function_pointer)
    r.value = r.result.pointer ? library::name_of(r.result.pointer) : "null";
  for (auto &b : buffers) {
    if (b->what->is_output()) r.outputs.push_back({b->what, output_text(*b->what, b->data(), b->size)});
    if (auto overrun = b->overrun(called.name); !overrun.empty()) r.overruns.push_back(overrun);
  }
  return r;
}

}  // namespace console
