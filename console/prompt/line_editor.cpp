// SPDX-License-Identifier: Apache-2.0
#include "console/prompt/line_editor.h"

#include "console/language/interrupt.h"
#include "console/prompt/input.h"
#include "console/text/text.h"

#include <algorithm>
#include <csignal>
#include <cwchar>
#include <fmt/format.h>
#include <unistd.h>

namespace console {
namespace {

constexpr int most_lines_kept = 1000;

/** Reads a character of one or more bytes. Returns 1, or 0 at the end of the input and after a signal. */
int read_character(EditLine *, wchar_t *character) {
  std::mbstate_t state = {};
  for (int byte; (byte = read_byte(STDIN_FILENO)) != EOF;) {
    char one = static_cast<char>(byte);
    auto size = std::mbrtowc(character, &one, 1, &state);
    if (size == static_cast<size_t>(-1)) {
      state = {};  // not UTF-8: the byte is dropped
    } else if (size != static_cast<size_t>(-2)) {
      return 1;
    }
  }
  return 0;
}

std::string common_start(const std::vector<std::string> &words) {
  std::string common = words.front();
  for (auto &word : words) {
    auto differs = std::ranges::mismatch(common, word).in1;
    common.erase(differs, common.end());
  }
  auto continues = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; };
  while (!common.empty() && continues(words.front()[std::min(common.size(), words.front().size() - 1)]) &&
         common.size() < words.front().size())
    common.pop_back();
  return common;
}

/** A file is listed without its folder. */
std::string_view shown(std::string_view word) {
  auto slash = word.rfind('/', word.size() - 2);
  return word.size() < 2 || slash == word.npos ? word : word.substr(slash + 1);
}

}  // namespace

line_editor::line_editor(FILE *screen, std::string history_path, completer complete)
    : out(screen), history_file(std::move(history_path)), completing(std::move(complete)),
      editor(el_init("orva-station", stdin, screen, stderr), el_end), past(history_init(), history_end) {
  auto *e = editor.get();
  if (!is_capable_terminal(fileno(screen))) el_set(e, EL_TERMINAL, "dumb");
  el_set(e, EL_CLIENTDATA, this);
  el_set(e, EL_EDITOR, "emacs");
  el_set(e, EL_PROMPT,
         static_cast<char *(*)(EditLine *)>([](EditLine *it) { return of(it).shown_prompt.data(); }));
  el_set(e, EL_GETCFN, read_character);
  HistEvent event;
  history(past.get(), &event, H_SETSIZE, most_lines_kept);
  history(past.get(), &event, H_SETUNIQUE, 1);
  if (!history_file.empty()) history(past.get(), &event, H_LOAD, history_file.c_str());
  el_set(e, EL_HIST, history, past.get());
  bind_keys();
}

line_editor::~line_editor() {
  HistEvent event;
  if (!history_file.empty()) history(past.get(), &event, H_SAVE, history_file.c_str());
}

void line_editor::bind_keys() {
  auto *e = editor.get();
  // el_set would keep copies of the texts for ever.
  el_wset(e, EL_ADDFN, L"complete", L"Completes the word before the cursor", on_tab);
  constexpr const char *keys[][2] = {
      {"^I", "complete"},           {"^R", "em-inc-search-prev"}, {"\\e[1~", "ed-move-to-beg"},
      {"\\e[4~", "ed-move-to-end"}, {"\\e[H", "ed-move-to-beg"},  {"\\e[F", "ed-move-to-end"},
      {"\\eOH", "ed-move-to-beg"},  {"\\eOF", "ed-move-to-end"},  {"\\e[3~", "ed-delete-next-char"},
      {"\\e[1;5C", "em-next-word"}, {"\\e[1;5D", "ed-prev-word"},
  };
  for (auto &[key, action] : keys) el_set(e, EL_BIND, key, action, nullptr);
  el_source(e, nullptr);
}

line_editor &line_editor::of(EditLine *editor) {
  void *me = nullptr;
  el_get(editor, EL_CLIENTDATA, &me);
  return *static_cast<line_editor *>(me);
}

const char *line_editor::edit_line(int &size) {
  interruption_blocked here;
  if (interrupted == SIGINT) forget_interruption();
  el_resize(editor.get());
  el_set(editor.get(), EL_PREP_TERM,
         1);  // before the prompt: keys typed at once would be edited by the kernel
  return el_gets(editor.get(), &size);
}

std::optional<std::string> line_editor::edit(const std::string &prompt) {
  shown_prompt = prompt;
  complained_about.clear();
  int size = 0;
  const char *typed = edit_line(size);
  if (!typed || size <= 0 || interrupted) return std::nullopt;
  std::string line(typed, static_cast<size_t>(size));
  if (line.ends_with('\n')) line.pop_back();
  HistEvent event;
  if (!trim_end(line).empty()) history(past.get(), &event, H_ENTER, line.c_str());
  return line;
}

unsigned char line_editor::on_tab(EditLine *editor, int) { return of(editor).complete_here(); }

/** The bell rings where nothing fits, but not again for the same text. */
unsigned char line_editor::complain_once(const std::string &text) {
  bool again = complained_about == text;
  complained_about = text;
  return again ? CC_NORM : CC_ERROR;
}

unsigned char line_editor::complete_here() {
  auto *line = el_line(editor.get());
  std::string text(line->buffer, line->cursor);
  auto found = completing(text);
  if (found.words.empty()) return complain_once(text);
  auto common = common_start(found.words);
  auto more = found.as_typed(common.substr(std::min(common.size(), found.begun.size())));
  if (found.words.size() == 1) more += found.end_of(common);
  if (!more.empty()) {
    el_insertstr(editor.get(), more.c_str());
    return CC_REFRESH;
  }
  if (found.words.size() == 1) return CC_NORM;
  list(found);
  return CC_REDISPLAY;
}

void line_editor::list(const completion &found) {
  constexpr size_t gap = 2;
  size_t widest = 1;
  for (auto &word : found.words) widest = std::max(widest, columns(shown(word)));
  auto in_row = std::max<size_t>(1, page_width() / (widest + gap)),
       rows = (found.words.size() + in_row - 1) / in_row;
  fputs("\n", out);
  for (size_t row = 0; row < rows; ++row) {
    std::string line;
    for (size_t at = row; at < found.words.size(); at += rows) {
      auto word = shown(found.words[at]);
      line += fmt::format("{}{:{}}", word, "", widest + gap - columns(word));
    }
    fputs(fmt::format("{}\n", trim_end(line)).c_str(), out);
  }
  fflush(out);
}

}  // namespace console
