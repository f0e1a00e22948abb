// SPDX-License-Identifier: Apache-2.0
#include "console/phone/logcat.h"

#include "console/phone/log_priority.h"
#include "console/text/text.h"

#include <charconv>
#include <fmt/format.h>
#include <optional>

namespace console {
namespace {

constexpr int64_t second = 1'000'000;

/** Takes the blanks and then the word at the start of a line. */
std::string_view take_word(std::string_view &line) {
  line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
  auto word = line.substr(0, line.find(' '));
  line.remove_prefix(word.size());
  return word;
}

/** A number of digits only. */
std::optional<int64_t> digits(std::string_view word) {
  int64_t number = 0;
  auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
  bool whole = error == std::errc() && end == word.data() + word.size() && word[0] != '-';
  return whole ? std::optional(number) : std::nullopt;
}

/** "1700000000.000123" */
std::optional<int64_t> parse_time(std::string_view word) {
  constexpr size_t most_digits = 12, fraction_digits = 6;
  auto dot = word.find('.');
  if (dot > most_digits || word.size() - dot - 1 != fraction_digits) return std::nullopt;
  auto seconds = digits(word.substr(0, dot)), fraction = digits(word.substr(dot + 1));
  return seconds && fraction ? std::optional(*seconds * second + *fraction) : std::nullopt;
}

std::optional<int> parse_process(std::string_view word) {
  auto number = digits(word);
  return number && *number <= INT32_MAX ? std::optional(static_cast<int>(*number)) : std::nullopt;
}

/** 0 for a letter that is none. */
int priority_of(std::string_view letter) {
  for (int priority = LOG_VERBOSE; priority <= LOG_FATAL; ++priority)
    if (letter.size() == 1 && letter[0] == log_letter(priority)) return priority;
  return 0;
}

/** "    1700000000.000123  1234  1240 I TAG     : TEXT" */
std::optional<logcat_entry> parse_line(std::string_view line) {
  auto time = parse_time(take_word(line));
  auto process = parse_process(take_word(line)), thread = parse_process(take_word(line));
  auto priority = priority_of(take_word(line));
  auto colon = line.find(": ");
  if (!time || !process || !thread || !priority || colon == line.npos) return std::nullopt;
  auto tag = line.substr(1, colon - 1);
  tag = tag.substr(0, tag.find_last_not_of(' ') + 1);
  return logcat_entry{.wall_us = *time,
                      .process = *process,
                      .thread = *thread,
                      .priority = priority,
                      .tag = std::string(tag),
                      .text = std::string(line.substr(colon + 2))};
}

/** logcat repeats an entry's head before each line of its text. No thread logs twice in a microsecond. */
bool continues(const logcat_entry &before, const logcat_entry &e) {
  return before.wall_us == e.wall_us && before.process == e.process && before.thread == e.thread &&
         before.priority == e.priority && before.tag == e.tag;
}

void add_line(logcat_output &all, std::string_view line) {
  auto entry = parse_line(line);
  bool is_mark = line.empty() || line.starts_with("--------- ");
  if (entry && !all.entries.empty() && continues(all.entries.back(), *entry))
    all.entries.back().text += "\n" + entry->text;
  else if (entry)
    all.entries.push_back(std::move(*entry));
  else if (!is_mark && all.unknown.empty())
    all.unknown = line;
}

}  // namespace

std::vector<std::string> logcat_words(int64_t since_wall_us, int process) {
  std::vector<std::string> words = {"logcat", "-v", "threadtime", "-v", "epoch", "-v", "usec", "-d", "-T"};
  words.push_back(fmt::format("{}.{:06}", since_wall_us / second, since_wall_us % second));
  if (process) words.push_back(fmt::format("--pid={}", process));
  return words;
}

logcat_output parse_logcat(std::string_view output) {
  logcat_output all;
  for (size_t end; (end = output.find('\n')) != output.npos; output.remove_prefix(end + 1))
    add_line(all, output.substr(0, end));
  if (!output.empty() && all.unknown.empty()) all.unknown = output;
  return all;
}

}  // namespace console
