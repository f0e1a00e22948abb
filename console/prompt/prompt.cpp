// SPDX-License-Identifier: Apache-2.0
#include "console/prompt/prompt.h"

#include "console/language/completion.h"
#include "console/language/interpreter.h"
#include "console/language/interrupt.h"
#include "console/prompt/input.h"
#include "console/prompt/line_editor.h"
#include "console/text/text.h"
#include "console/text/usage_error.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fmt/format.h>
#include <memory>
#include <optional>
#include <unistd.h>

namespace console {
namespace {

std::string prompt_text(const session &s) {
  auto &state = s.state();
  auto shown = [](bool on) { return on ? "on" : "off"; };
  return fmt::format("{} test:{} tx:{} rx:{}> ", s.chip_name(), shown(state.test_mode), shown(state.transmit),
                     shown(state.receive));
}

std::string history_path() {
  auto *home = getenv("HOME");
  return home ? fmt::format("{}/.orva_station_history", home) : "";
}

/** Where to edit a line: on the terminal, even if what is printed goes to a file; null for no editing. */
FILE *screen() {
  if (!isatty(STDIN_FILENO)) return nullptr;
  return isatty(STDOUT_FILENO) ? stdout : isatty(STDERR_FILENO) ? stderr : nullptr;
}

/** Reads lines from a terminal, with editing, or from a pipe. */
class line_source {
public:
  explicit line_source(const session &s) {
    auto *to = screen();
    if (!to) return;
    auto completer = [this, &s](const std::string &text) { return complete(s, unfinished_lines + text); };
    editor = std::make_unique<line_editor>(to, history_path(), completer);
  }

  bool is_terminal() const { return editor != nullptr; }

  std::optional<std::string> next(const std::string &prompt) {
    if (!editor) return read_line(STDIN_FILENO);
    auto typed = editor->edit(prompt);
    if (!typed && interrupted) return fmt::print("\n"), "";
    return typed;
  }

  /** Reads lines until they make a whole command. */
  std::optional<std::string> command(const session &s) {
    unfinished_lines.clear();
    auto text = next(prompt_text(s));
    while (text && !interrupted && !interpreter::complete(*text + "\n")) {
      unfinished_lines = *text + "\n";
      auto more = next("... ");
      if (interrupted) return "";
      if (!more) {
        cut_short = *text;
        return std::nullopt;
      }
      *text += "\n" + *more;
    }
    return text;
  }

  /** The command that the end of the input cut short; "" for none. */
  const std::string &unfinished() const { return cut_short; }

private:
  std::unique_ptr<line_editor> editor;
  std::string unfinished_lines, cut_short;
};

/** Runs a line and prints its value, unless a reporter has shown something. */
void run_line(interpreter &in, const std::string &line) {
  auto &s = in.current();
  auto shown = [&] { return s.so_far().calls + s.so_far().held + s.so_far().failed; };
  auto before = shown(), parts = s.parts().size();
  in.take_half_sourced();
  auto text = in.eval(line);
  s.make_room();
  if (!text.empty() && parts == s.parts().size() && before == shown())
    fmt::print("{}\n", fold(text, page_width()));
}

/** For what nobody repeats, unlike a command mistyped on a terminal: its tests are missing from the session.
 */
void break_session(session &s, const std::string &why) {
  s.open();
  s.fail(why, {});
}

}  // namespace

void run_prompt(session &s, const interpreter::session_runner &runner) {
  interpreter in(s);
  in.allow_files(runner);
  line_source source(s);
  interrupt_guard guard(false);
  if (source.is_terminal()) fmt::print("help explains, exit leaves, Tab completes.\n");
  while (auto line = source.command(s)) {
    if (interrupted && interrupted != SIGINT) break;
    if (trim_end(*line) == "exit" || trim_end(*line) == "quit") break;
    try {
      run_line(in, *line);
    } catch (const usage_error &e) {
      s.make_room();
      fflush(stdout);
      fmt::print(stderr, "{}{}\n", interrupted && source.is_terminal() ? "\n" : "", e.message);
      if (in.take_half_sourced() || !source.is_terminal()) break_session(s, e.message);
    }
    fflush(stdout);
    if (interrupted && interrupted != SIGINT) break;
  }
  if (!source.unfinished().empty()) {
    auto message = fmt::format("The input ends inside a command, which was not run: \"{}\" lacks its end.",
                               split(source.unfinished(), '\n')[0]);
    fmt::print(stderr, "{}\n", message);
    if (!source.is_terminal()) break_session(s, message);
  }
  in.tear_down();
}

}  // namespace console
