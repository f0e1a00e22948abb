// SPDX-License-Identifier: Apache-2.0
// The program: the first word of the command line decides what it does.
#include "console/doctor/doctor.h"
#include "console/language/command_line_words.h"
#include "console/language/commands.h"
#include "console/language/help.h"
#include "console/language/interpreter.h"
#include "console/language/interrupt.h"
#include "console/language/nv_commands.h"
#include "console/line/line.h"
#include "console/output/report.h"
#include "console/phone/abilities.h"
#include "console/phone/chips.h"
#include "console/phone/library.h"
#include "console/prompt/generate.h"
#include "console/prompt/options.h"
#include "console/prompt/outputs.h"
#include "console/prompt/prompt.h"
#include "console/record/record_reporter.h"
#include "console/record/replay.h"
#include "console/record/to_phone.h"
#include "console/record/trace_reporter.h"
#include "console/run/verdict.h"
#include "console/text/output_file.h"
#include "console/text/tcl_list.h"
#include "console/text/text.h"
#include "console/text/usage_error.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <new>
#include <sys/syscall.h>
#include <system_error>
#include <tuple>
#include <unistd.h>

namespace console {
namespace {

using reporters = std::vector<std::shared_ptr<reporter>>;

reporters make_reporters(const command_line &line) {
  bool capable = is_capable_terminal(STDOUT_FILENO);
  bool log_between = line.with.log_priority != 0 && isatty(STDERR_FILENO);  // would end up in the bar's line
  text_style style = {.how_much = line.how_much,
                      .colour = capable,
                      .progress_bar = capable && !log_between,
                      .at_prompt = line.words.empty(),
                      .several_chips = line.all_chips};
  reporters all;
  if (!line.trace_file.empty()) all.push_back(make_trace_reporter(line.trace_file));
  if (!line.record_file.empty()) all.push_back(make_record_reporter(line.record_file));
  if (!line.junit_file.empty()) all.push_back(make_junit_reporter(line.junit_file));
  if (!line.report_file.empty()) all.push_back(make_report_reporter(line.report_file, line.with));
  all.push_back(line.json ? make_json_reporter(stdout) : make_text_reporter(stdout, style));
  return all;
}

std::vector<settings> chips_to_test(const command_line &line) {
  if (!line.all_chips) return {line.with};
  std::vector<settings> all(chip_count, line.with);
  for (unsigned i = 0; i < all.size(); ++i) all[i].chip = i;
  return all;
}

/** Acts that all have their turn; the first exception is thrown at the end. */
class attempts {
public:
  template <class F> void make(F act) {
    try {
      act();
    } catch (...) {
      if (!first) first = std::current_exception();
    }
  }
  bool failed() const { return first != nullptr; }
  void done() const {
    if (first) std::rethrow_exception(first);
  }

private:
  std::exception_ptr first;
};

/** After an output that cannot be written, the ones behind it say so and call the run broken. */
void all_done(const reporters &to, std::vector<session_summary> all) {
  attempts each;
  std::vector<std::string> lost;
  for (auto &r : to)
    each.make([&] {
      for (auto &why : lost) r->error(why, {});
      try {
        r->all_done(all);
      } catch (const usage_error &e) {
        lost.push_back(e.message);
        if (!all.empty()) all.back().broken = true;
        throw;
      }
    });
  each.done();
}

/** What an interrupted run owes the phone, before its reports end. */
void leave_test_mode(session &s, const command_line &line) {
  auto &now = s.state();
  if (line.keep_test_mode || !(now.transmit || now.receive || now.test_mode)) return;
  attempts each;
  if (interrupted) each.make([&] { s.note(interruption_name() + ": test mode is left"); });
  each.make([&] { s.leave_test_mode(); });
  each.done();
}

ended_session run_session(const command_line &line, const settings &with, const std::string &path,
                          const identity &who, const reporters &to, attempts &each) {
  session s(with, path, to);
  s.identify(who);
  s.start();
  interpreter in(s);
  if (interrupted)
    each.make([&] { s.fail(interruption_name() + ": the session was not begun", {path}); });
  else
    each.make([&] { in.run_file(path); });
  each.make([&] { in.tear_down(); });
  if (interrupted || each.failed()) each.make([&] { leave_test_mode(s, line); });
  each.make([&] { s.finish(); });
  return {s.so_far(), s.state()};
}

exit_status run_sessions(const command_line &line) {
  if (line.words.size() < 2)
    throw usage_error{with_own_name("run: name a session file, as in: orva-station run sessions/rf.tcl")};
  if (std::ranges::count(line.words, "-") > 1)
    throw usage_error{"run: - is given twice, but there is one standard input: give it once."};
  for (size_t i = 1; i < line.words.size(); ++i) interpreter::check_file(line.words[i]);
  interrupt_guard guard(true);  // first: an output that was begun is finished
  auto to = make_reporters(line);
  std::vector<session_summary> all;
  attempts each;
  // A signal between two sessions breaks the one after it, so that the reports say that sessions are missing.
  auto goes_on = [&] { return !each.failed() && !(interrupted && !all.empty() && all.back().broken); };
  for (auto &with : chips_to_test(line))
    for (size_t i = 1; i < line.words.size() && goes_on(); ++i)
      all.push_back(
          run_session(line, with, line.words[i], identity_of(line, line.words[i], all.empty()), to, each)
              .summary);
  each.make([&] { all_done(to, all); });
  each.done();
  return status_of(verdict_of(all));
}

/** The message for a first word that is unknown, with a guess at what was meant. */
std::string no_such_word(const std::string &word) {
  if (word.ends_with(".tcl")) return fmt::format("To run a session: {} run {}", own_name(), word);
  if (find_command(word))
    return fmt::format("\"{}\" is a command of sessions and of the prompt; see {} help {}.", word, own_name(),
                       word);
  std::vector<std::string> names;
  for (auto &f : functions()) names.emplace_back(f.name);
  for (auto &w : command_line_words()) names.emplace_back(w.name);
  return fmt::format("There is no function or command \"{}\".{} See {} list.", word,
                     did_you_mean(word, names), own_name());
}

exit_status run_call(const command_line &line) {
  auto *f = find_function(line.words[0]);
  if (!f) throw usage_error{no_such_word(line.words[0])};
  std::vector<std::string> words(line.words.begin() + 1, line.words.end());
  if (!line.expect.empty()) words.emplace_back("->");
  for (auto &word : split(line.expect, ' '))
    if (!word.empty()) words.push_back(word);
  interrupt_guard guard(true);
  auto to = make_reporters(line);
  std::vector<session_summary> all;
  for (auto &with : chips_to_test(line)) {
    session s(with, "", to);
    s.is_single_call();
    s.identify(identity_of(line, "", all.empty()));
    s.start();
    s.call(*f, words, {});
    if (interrupted) s.fail(interruption_name() + ": the run ends with this call", {});
    all.push_back(s.finish());
    if (interrupted) break;
  }
  all_done(to, all);
  return status_of(verdict_of(all));
}

exit_status run_nv_command(const command_line &line) {
  std::vector<std::string> words(line.words.begin() + 1, line.words.end());
  session s(line.with, "", {});
  s.start();
  auto text = run_nv(words, s, [](const std::string &path) { return path; });
  if (!text.empty()) fmt::print("{}\n", text);
  return s.so_far().failed == 0 ? exit_status::passed : exit_status::failed;
}

exit_status run_preview(const command_line &line) {
  std::vector<std::string> words(line.words.begin() + 1, line.words.end());
  if (words.empty())
    throw usage_error{
        with_own_name("preview: name a call, as in: orva-station preview wifi_nvram_calibrate_clean 1")};
  if (line.json) throw usage_error{"preview tells people what would change: leave --json out."};
  bool good = true;
  for (auto &with : chips_to_test(line)) {
    session s(with, "", {});
    s.start();
    interpreter in(s);
    auto seen = s.preview(fmt::format("{}", fmt::join(words, " ")), [&] { in.eval(to_list(words)); });
    fmt::print("{}: {}Nothing was changed.\n", s.chip_name(), seen.text);
    good &= seen.good;
  }
  return good ? exit_status::passed : exit_status::failed;
}

/** A session from the prompt: on a phone as the options describe it, with the chip that is fitted now. */
std::string run_from_prompt(const command_line &line, session &s, const reporters &to,
                            const std::string &path, const std::vector<std::string> &words) {
  auto with = line.with;
  with.parameters = parse_parameters(words);
  if (phone_link::is_virtual() && s.chip() < chip_count) with.chip = s.chip(), with.chip_given = true;
  attempts each;
  s.give_way([&] { return run_session(line, with, path, identity_of(line, path, false), to, each); });
  each.done();
  if (interrupted) throw usage_error{"interrupted: the session was ended"};
  return word_of(verdict_of(s.parts().back()));
}

exit_status run_interactive(const command_line &line) {
  auto to = make_reporters(line);
  session s(line.with, "", to);
  s.identify(identity_of(line, "prompt", true));
  s.start();
  attempts each;
  each.make([&] {
    run_prompt(s, [&](auto &path, auto &words) { return run_from_prompt(line, s, to, path, words); });
  });
  bool ended = interrupted;
  if (ended && !(s.is_open() && s.so_far().broken))
    each.make([&] {
      s.open();
      s.fail(interruption_name() + ": the prompt was ended, and with it what was still to come", {});
    });
  if (ended || each.failed()) each.make([&] { leave_test_mode(s, line); });
  each.make([&] { s.finish(); });
  auto all = s.parts();
  if (s.is_open()) all.push_back(s.so_far());
  each.make([&] { all_done(to, all); });
  each.done();
  return ended ? exit_status::misused : status_of(verdict_of(all));
}

exit_status run_help(const command_line &line) {
  if (line.words.size() > 2)
    throw usage_error{with_own_name("help: name one function, as in: orva-station help wifi_set_power")};
  auto text = line.words.size() == 2 ? help_about(line.words[1], command_list())
                                     : command_line_help() + "\n" + help_overview(command_list());
  fmt::print("{}", fold(with_own_name(text), page_width()));
  return exit_status::passed;
}

exit_status run_doctor(const command_line &line) {
  if (line.words.size() > 1)
    throw usage_error{
        fmt::format("doctor: \"{}\" is not understood: it takes options, and behind -- address=HOST:PORT, "
                    "profile=FILE and port=N of an RF test set.",
                    line.words[1])};
  return print_findings(examine(line.with, line.write), line.json) ? exit_status::passed
                                                                   : exit_status::failed;
}

exit_status run_replay(const command_line &line) {
  if (line.words.size() != 2)
    throw usage_error{with_own_name("replay: name one recording, as in: orva-station replay unit.trace")};
  return replay(line.words[1], line.with) ? exit_status::passed : exit_status::failed;
}

exit_status run_diff(const command_line &line) {
  if (line.words.size() != 3)
    throw usage_error{
        with_own_name("diff: name two recordings, as in: orva-station diff good.trace bad.trace")};
  return diff_recordings(line.words[1], line.words[2]) ? exit_status::passed : exit_status::failed;
}

exit_status run_trace(const command_line &line) {
  require_works_here("trace to-phone");
  if (line.words.size() != 3 || line.words[1] != "to-phone")
    throw usage_error{with_own_name(
        "trace: name what to make and one recording, as in: orva-station trace to-phone unit.trace")};
  return fmt::print("{}", phone_of_recording(line.words[2])), exit_status::passed;
}

exit_status run_plan(const command_line &line) {
  if (line.words.size() != 2) throw usage_error{"line: name one plan, as in: orva-station line plan.toml"};
  for (auto &option : line.given)
    if (option != "station" && option != "operator" && option != "station-file")
      throw usage_error{
          fmt::format("--{} does nothing for line: the plan has what its consoles get.", option)};
  return run_line(
      {.plan_file = line.words[1], .station = line.who.station, .operator_name = line.who.operator_name});
}

exit_status run_list(const command_line &line) {
  if (line.words.size() > 1)
    throw usage_error{fmt::format("list: \"{}\" is not understood: it takes nothing.", line.words[1])};
  return fmt::print("{}", fold(help_list(), page_width())), exit_status::passed;
}

exit_status run_generate(const command_line &line) {
  fmt::print("{}", with_own_name(generate(line.words.size() == 2 ? line.words[1] : "")));
  return exit_status::passed;
}

struct runner {
  std::string_view name;
  exit_status (*run)(const command_line &);
};

constexpr runner runners[] = {
    {"run", run_sessions},  {"line", run_plan},     {"preview", run_preview},   {"nv", run_nv_command},
    {"doctor", run_doctor}, {"replay", run_replay}, {"diff", run_diff},         {"trace", run_trace},
    {"list", run_list},     {"help", run_help},     {"generate", run_generate},
};
static_assert(std::ranges::equal(runners, command_line_names, {}, &runner::name),
              "each word of the command line has its runner");

/** Rejects an option without effect: the user would wait for a report that is never written. */
void refuse_idle_options(const command_line &line) {
  auto word = line.words.empty() ? "" : line.words[0];
  bool one_call = !word.empty() && !find_command_line_word(word),
       runs = one_call || word.empty() || word == "run";
  const std::tuple<const char *, bool, bool, const char *> rules[] = {
      {"--expect", !line.expect.empty(), one_call, "a single call; in a session it stands behind ->"},
      {"--json", line.json, runs || word == "preview" || word == "doctor" || word == "line",
       "calls, sessions, the prompt and doctor"},
      {"--write", line.write, word == "doctor", "doctor"},
      {"--junit", !line.junit_file.empty(), runs, "calls, sessions and the prompt"},
      {"--report", !line.report_file.empty(), runs, "calls, sessions and the prompt"},
      {"--trace", !line.trace_file.empty(), runs, "calls, sessions and the prompt"},
      {"--record", !line.record_file.empty(), one_call || word == "run", "calls and sessions"},
      {"--serial and what else says who is tested", line.who.given, runs || word == "line",
       "calls, sessions and the prompt"},
      {"--chip all", line.all_chips, one_call || word == "run" || word == "preview",
       "calls, run and preview; give --chip one chip's name"},
  };
  for (auto &[name, given, fits, what] : rules)
    if (given && !fits)
      throw usage_error{fmt::format("{} does nothing for {}: it is for {}.", name,
                                    word.empty() ? "the prompt" : word, what)};
}

/** SQLite keeps changes in these beside a store, and takes what it finds there for its own. */
void add_files_beside_store(std::vector<used_file> &all, const std::string &store) {
  if (store.empty()) return;
  std::error_code failed;
  auto real = std::filesystem::weakly_canonical(store, failed).string();
  for (auto *end : {"-journal", "-wal", "-shm"})
    all.push_back({"SQLite's part of --nv,", (failed ? store : real) + end, true});
}

std::vector<used_file> files_of(const command_line &line) {
  std::vector<used_file> all = {
      {"--junit", line.junit_file, true},       {"--report", line.report_file, true},
      {"--trace", line.trace_file, true},       {"--nv", line.with.nv_file, true},
      {"--phone", line.with.phone_file, false}, {"the library", library::file_of(line.with.library), false}};
  auto &words = line.words;
  if (!words.empty() && (words[0] == "run" || words[0] == "replay" || words[0] == "diff"))
    for (size_t i = 1; i < words.size(); ++i)
      if (words[i] != "-") all.push_back({words[0], words[i], false});
  std::erase_if(all, [](auto &file) { return file.path.empty(); });
  add_files_beside_store(all, line.with.nv_file);
  return all;
}

exit_status run(command_line line) {
  if (line.help)
    return fmt::print("{}", fold(with_own_name(command_line_help()), page_width())), exit_status::passed;
  if (line.version) return fmt::print("{} {}\n", own_name(), ORVA_VERSION), exit_status::passed;
  refuse_idle_options(line);
  complete(line, ORVA_VERSION);
  claim_files_of_run(files_of(line));
  if (!line.words.empty() && line.words[0].empty())
    throw usage_error{
        with_own_name("The first word is empty: give a function or a command; see orva-station --help.")};
  if (line.words.empty()) return run_interactive(line);
  require_works_here(line.words[0]);
  auto word = std::ranges::find(runners, line.words[0], &runner::name);
  return word == std::end(runners) ? run_call(line) : word->run(line);
}

/** Not with fmt, which throws where standard error cannot be written. */
int complain(const std::string &message) {
  fputs(fmt::format("{}: {}\n", own_name(), message).c_str(), stderr);
  return static_cast<int>(exit_status::misused);
}

/** The reader of a pipe may stop reading: no message then. */
int output_failed(int error) {
  return error == EPIPE ? static_cast<int>(exit_status::misused)
                        : complain(fmt::format("the output cannot be written: {}.", strerror(error)));
}

bool had_standard_output;

/**
 * A file opened later must not become standard input, output or error. Runs before the libraries'
 * constructors, which open files; so it must call the kernel itself, and not the virtual phone's open.
 */
void fill_standard_files(int, char **, char **) {
  had_standard_output = syscall(SYS_fcntl, STDOUT_FILENO, F_GETFD) >= 0;
  for (int i = 0; i <= STDERR_FILENO; ++i)
    if (syscall(SYS_fcntl, i, F_GETFD) < 0) syscall(SYS_openat, AT_FDCWD, "/dev/null", O_RDWR);
}

[[gnu::section(".preinit_array"), gnu::used]] void (*const early_start)(int, char **,
                                                                        char **) = fill_standard_files;

/** Handlers, not SIG_IGN: that would be inherited by the programs that the library starts. */
void keep_alive_on_failed_writes() {
  struct sigaction catching = {};
  catching.sa_handler = [](int) {};
  catching.sa_flags = SA_RESTART;
  sigaction(SIGPIPE, &catching, nullptr);
  sigaction(SIGXFSZ, &catching, nullptr);
}

int guarded_run(int count, char **arguments) {
  try {
    return static_cast<int>(run(parse_command_line(count, arguments)));
  } catch (const usage_error &e) {
    fflush(stdout);
    return complain(e.message);
  } catch (const std::system_error &e) {
    return output_failed(e.code().value());
  } catch (const std::bad_alloc &) {
    return complain("there is not enough memory.");
  } catch (const std::exception &e) { return complain(e.what()); }
}

}  // namespace
}  // namespace console

int main(int count, char **arguments) {
  console::interpreter::initialize(arguments[0]);
  setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);  // a reader of a pipe gets each line at once
  if (!console::had_standard_output) return console::output_failed(EBADF);
  console::keep_alive_on_failed_writes();
  int status = console::guarded_run(count, arguments);
  errno = 0;
  if (status != static_cast<int>(console::exit_status::misused) && (fflush(stdout) != 0 || ferror(stdout)))
    status = console::output_failed(errno ? errno : EIO);
  console::interpreter::finalize();
  return status;
}
