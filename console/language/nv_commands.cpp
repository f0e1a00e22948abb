// SPDX-License-Identifier: Apache-2.0
#include "console/language/nv_commands.h"

#include "console/run/expectations.h"
#include "console/text/output_file.h"
#include "console/text/text.h"
#include "console/text/usage_error.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>

namespace console {
namespace {

using text = const std::string &;

std::string write_and_report(session &s, const std::vector<phone_link::nv_item> &items) {
  auto written = write_items(items);
  for (auto &change : written.unkept) s.expect(not_kept(change), {});
  return written.text;
}

std::string write(session &s, const std::string &what, const std::vector<phone_link::nv_item> &items) {
  s.ask_before_writing(what, [&] { write_and_report(s, items); });
  return write_and_report(s, items);
}

std::string load(session &s, text path) {
  auto items = read_nv_file(path);
  if (items.empty()) throw usage_error{fmt::format("nv load: {} holds no NV item: nothing is loaded.", path)};
  return write(s, "nv load " + path, items);
}

std::string restore(session &s, text path) {
  auto items = whole_store(path);
  auto failed_before = s.so_far().failed;
  auto done = write(s, "nv restore " + path, items);
  if (s.so_far().failed == failed_before) verify_restored(items);
  return done;
}

std::string clear(session &s, text) {
  s.ask_before_writing("nv clear", phone_link::clear_nv);
  return nv_clear();
}

std::string show(session &, text word) {
  auto number = parse_number(word);
  if (!number || *number < 0 || *number > UINT32_MAX)
    throw usage_error{fmt::format("nv show: \"{}\" is no NV number: give one like 340.", word)};
  return nv_show(static_cast<uint32_t>(*number));
}

struct row {
  subcommand word;
  std::string (*run)(session &s, text argument);
  bool reads_file = false;
  bool writes_file = false;
  bool on_command_line = true;
};

constexpr row rows[] = {
    {{"list"}, [](session &, text) { return nv_list(); }},
    {{"show", "NUMBER"}, show},
    {.word = {"snapshot"},
     .run = [](session &, text) { return nv_snapshot(), std::string(); },
     .on_command_line = false},
    {.word = {"diff", "?FILE?"},
     .run = [](session &, text path) { return nv_diff(path); },
     .reads_file = true},
    {.word = {"save", "FILE"},
     .run = [](session &, text path) { return nv_save(path); },
     .writes_file = true},
    {.word = {"load", "FILE"}, .run = load, .reads_file = true},
    {.word = {"backup", "FILE"},
     .run = [](session &, text path) { return nv_backup(path); },
     .writes_file = true},
    {.word = {"restore", "FILE"}, .run = restore, .reads_file = true},
    {{"clear"}, clear},
};

}  // namespace

std::vector<subcommand> nv_words() { return words_of_table(rows); }

std::vector<std::string> nv_command_line_words() {
  std::vector<std::string> names;
  for (auto &row : rows)
    if (row.on_command_line) names.emplace_back(row.word.name);
  return names;
}

std::string run_nv(const std::vector<std::string> &words, session &s,
                   const std::function<std::string(text)> &located) {
  auto row = std::ranges::find_if(rows, [&](auto &r) {
    return !words.empty() && words[0] == r.word.name && r.word.takes(words.size() - 1);
  });
  if (row == std::end(rows))
    throw usage_error{fmt::format("{}: give {}.", trim_end(fmt::format("nv {}", fmt::join(words, " "))),
                                  sentence_of(nv_words()))};
  auto argument = words.size() > 1 ? words[1] : "";
  if (row->reads_file && !argument.empty()) argument = located(argument);
  if ((row->reads_file || row->writes_file) && !argument.empty())
    claim_file({fmt::format("nv {}", row->word.name), argument, row->writes_file});
  return std::string(trim_end(row->run(s, argument)));
}

}  // namespace console
