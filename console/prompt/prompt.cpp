// SPDX-License-Identifier: Apache-2.0
#include "console/prompt/prompt.h"

#include "console/language/completion.h"
#include "console/language/interpreter.h"
#include "console/language/interrupt.h"
#include "console/text/text.h"
#include "console/text/usage_error.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <editline/readline.h>
#include <fmt/format.h>
#include <iostream>
#include <memory>
#include <optional>
#include <poll.h>
#include <unistd.h>

namespace console {
namespace {

const session *completing;  // the line editor's callbacks have no context argument

std::string prompt_text(const session &s) {
  auto &state = s.state();
  auto shown = [](bool on) { return on ? "on" : "off"; };
  return fmt::format("{} test:{} tx:{} rx:{}> ", s.chip_name(), shown(state.test_mode), shown(state.transmit),
                     shown(state.receive));
}

char **complete_word(const char *, int, int end) {
  static std::vector<std::string> found;
  static size_t next;
  found = completions(*completing, std::string(rl_line_buffer, static_cast<size_t>(end)));
  next = 0;
  rl_attempted_completion_over = 1;
  auto give = [](const char *, int) { return next < found.size() ? strdup(found[next++].c_str()) : nullptr; };
  auto word = std::string(rl_line_buffer, static_cast<size_t>(end));
  return found.empty() ? nullptr : rl_completion_matches(word.c_str() + word.find_last_of(" [{;") + 1, give);
}

/** Waits for a key or a signal. Signals are unblocked during ppoll only, so that none is missed. */
int read_key(FILE *from) {
  sigset_t none;
  sigemptyset(&none);
  pollfd keyboard = {.fd = fileno(from), .events = POLLIN, .revents = 0};
  unsigned char key;
  while (!interrupted) {
    if (ppoll(&keyboard, 1, nullptr, &none) > 0) return read(keyboard.fd, &key, 1) == 1 ? key : EOF;
    if (errno != EINTR) return EOF;
  }
  return EOF;
}

/** Edits one line; nothing at the end of the input or after Ctrl-C. */
std::optional<std::string> edit_line(const std::string &prompt) {
  sigset_t signals = interrupting_signals(), before;
  sigprocmask(SIG_BLOCK, &signals, &before);
  if (interrupted == SIGINT) interrupted = 0;
  std::unique_ptr<char, decltype(&free)> typed(readline(prompt.c_str()), free);
  sigprocmask(SIG_SETMASK, &before, nullptr);
  return typed ? std::optional<std::string>(typed.get()) : std::nullopt;
}

std::string history_path() {
  auto *home = getenv("HOME");
  return home ? fmt::format("{}/.orva_station_history", home) : "";
}

/** Reads lines from a terminal, with editing, or from a pipe. */
class line_source {
public:
  explicit line_source(const session &s) : terminal(isatty(STDIN_FILENO)) {
    completing = &s;
    if (!terminal) return;
    rl_catch_signals = 0;
    rl_getc_function = read_key;
    rl_initialize();
    rl_attempted_completion_function = complete_word;
    using_history();
    read_history(history_path().c_str());
  }
  ~line_source() {
    if (terminal) write_history(history_path().c_str());
  }

  bool is_terminal() const { return terminal; }

  std::optional<std::string> next(const std::string &prompt) {
    std::string line;
    if (!terminal) return std::getline(std::cin, line) ? std::optional(line) : std::nullopt;
    auto typed = edit_line(prompt);
    if (!typed && interrupted) return fmt::print("\n"), "";
    if (typed && !trim_end(*typed).empty()) add_history(typed->c_str());
    return typed;
  }

  /** Reads lines until they make a whole command. */
  std::optional<std::string> command(const session &s) {
    auto text = next(prompt_text(s));
    while (text && !interrupted && !interpreter::complete(*text + "\n")) {
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
  bool terminal;
  std::string cut_short;
};

/** Runs a line and prints its value, unless a reporter has shown something. */
void run_line(interpreter &in, const std::string &line) {
  auto &summary = in.current().so_far();
  auto before = summary.calls + summary.held + summary.failed;
  auto text = in.eval(line);
  if (!text.empty() && before == summary.calls + summary.held + summary.failed)
    fmt::print("{}\n", fold(text, page_width()));
}

}  // namespace

bool run_prompt(session &s) {
  interpreter in(s);
  line_source source(s);
  interrupt_guard guard(false);
  bool understood = true;
  if (source.is_terminal()) fmt::print("help explains, exit leaves, Tab completes.\n");
  while (auto line = source.command(s)) {
    if (interrupted && interrupted != SIGINT) break;
    if (trim_end(*line) == "exit" || trim_end(*line) == "quit") break;
    try {
      run_line(in, *line);
    } catch (const usage_error &e) {
      fflush(stdout);
      fmt::print(stderr, "{}{}\n", interrupted && source.is_terminal() ? "\n" : "", e.message);
      understood = false;
    }
    fflush(stdout);
    if (interrupted && interrupted != SIGINT) break;
  }
  if (!source.unfinished().empty()) {
    auto begin = split(source.unfinished(), '\n')[0];
    fmt::print(stderr, "The input ends inside a command, which was not run: \"{}\" lacks its end.\n", begin);
    understood = false;
  }
  in.tear_down();
  return understood || source.is_terminal();
}

}  // namespace console
