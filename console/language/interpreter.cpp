// SPDX-License-Identifier: Apache-2.0
#include "console/language/interpreter.h"

#include "console/language/command_line_words.h"
#include "console/language/sweep.h"
#include "console/phone/abilities.h"
#include "console/run/functions.h"
#include "console/text/output_file.h"
#include "console/text/text.h"
#include "console/text/usage_error.h"

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <iostream>
#include <iterator>
#include <langinfo.h>
#include <stdexcept>
#include <sys/mman.h>
#include <tcl.h>
#include <unistd.h>
#include <utility>

namespace console {
namespace {

/**
 * Tcl keeps a character beyond U+FFFF as two surrogates of three bytes each, which is no UTF-8: ED, A0 to AF
 * and B0 to BF as their second bytes.
 */
std::string text_of(std::string_view kept) {
  std::string text;
  auto byte = [&](size_t at) -> unsigned {
    return at < kept.size() ? static_cast<unsigned char>(kept[at]) : 0;
  };
  auto surrogate = [&](size_t at, unsigned kind) {
    return byte(at) == 0xED && (byte(at + 1) & 0xF0) == kind;
  };
  for (size_t i = 0; i < kept.size();) {
    if (!surrogate(i, 0xA0) || !surrogate(i + 3, 0xB0)) {
      text += kept[i++];
      continue;
    }
    auto c = 0x10000 + ((byte(i + 1) & 0x0F) << 16 | (byte(i + 2) & 0x3F) << 10 | (byte(i + 4) & 0x0F) << 6 |
                        (byte(i + 5) & 0x3F));
    for (auto unit : {0xF0 | c >> 18, 0x80 | (c >> 12 & 0x3F), 0x80 | (c >> 6 & 0x3F), 0x80 | (c & 0x3F)})
      text += static_cast<char>(unit);
    i += 6;
  }
  return text;
}

std::vector<std::string> words_of(int count, Tcl_Obj *const objects[]) {
  std::vector<std::string> words;
  for (int i = 1; i < count; ++i) words.push_back(text_of(Tcl_GetString(objects[i])));
  return words;
}

/** What a command threw apart from a usage_error: eval and run_file throw it on. */
std::exception_ptr escaped;

void throw_escaped() {
  if (auto thrown = std::exchange(escaped, nullptr)) std::rethrow_exception(thrown);
}

constexpr const char *stop_message = "interrupted: the phone is as the last call left it";

/** A script's catch would swallow an error, but not an exhausted limit. */
void end_script(Tcl_Interp *tcl) {
  Tcl_LimitSetCommands(tcl, 1);
  Tcl_LimitTypeSet(tcl, TCL_LIMIT_COMMANDS);
}

bool tcl_is_broken;

/** Tcl's default would abort, without reports and with the transmitter on. Tcl must not be called again. */
[[noreturn, gnu::format(printf, 1, 2)]] void on_panic(const char *format, ...) {
  char message[200];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(message, sizeof message, format, arguments);
  va_end(arguments);
  tcl_is_broken = true;
  throw std::runtime_error(fmt::format("the script was ended, without its teardown: {}.", message));
}

/** Runs f for Tcl. The text it returns is the command's value, a usage_error the command's error. */
template <class F> int answer(Tcl_Interp *tcl, F f) {
  int status = TCL_OK;
  std::string text;
  try {
    text = f();
  } catch (const usage_error &e) {
    text = e.message;
    status = TCL_ERROR;
  } catch (const std::exception &e) {  // must not pass through Tcl's frames, which are C
    escaped = std::current_exception();
    text = e.what();
    status = TCL_ERROR;
    end_script(tcl);
  }
  Tcl_SetObjResult(tcl, Tcl_NewStringObj(text.data(), static_cast<int>(text.size())));
  return status;
}

interpreter &owner(Tcl_Interp *tcl) {
  return *static_cast<interpreter *>(Tcl_GetAssocData(tcl, "console", nullptr));
}

/** Parameters are checked before anything happens. */
void begin_acting(session &s) {
  require(s.close_parameters());
  s.open();
}

int on_function(ClientData data, Tcl_Interp *tcl, int count, Tcl_Obj *const objects[]) {
  auto &f = *static_cast<const function *>(data);
  return answer(tcl, [&] {
    auto &me = owner(tcl);
    begin_acting(me.current());
    return me.current().call(f, words_of(count, objects), me.where()).result.value;
  });
}

int on_command(ClientData data, Tcl_Interp *tcl, int count, Tcl_Obj *const objects[]) {
  auto &c = *static_cast<const command *>(data);
  return answer(tcl, [&] {
    auto words = words_of(count, objects);
    if (words.size() < c.least || words.size() > c.most)
      throw usage_error{fmt::format("{}: usage: {}", c.help.name, c.help.usage)};
    require_works_here(c.help.name);
    if (!c.only_asks) begin_acting(owner(tcl).current());
    return c.run(owner(tcl), words);
  });
}

/** For sweep: returns the point and, with an argument, sets it. */
int on_point(ClientData, Tcl_Interp *tcl, int count, Tcl_Obj *const objects[]) {
  return answer(tcl, [&] {
    auto words = words_of(count, objects);
    auto before = owner(tcl).point;
    if (!words.empty()) owner(tcl).point = words[0];
    return before;
  });
}

/** Commands of Tcl that a safe interpreter lacks; named to explain why. */
constexpr std::string_view out_of_reach[] = {"cd",   "exec", "exit", "fconfigure", "file",  "glob",
                                             "load", "open", "pwd",  "socket",     "source"};

int on_unknown(ClientData, Tcl_Interp *tcl, int count, Tcl_Obj *const objects[]) {
  return answer(tcl, [&]() -> std::string {
    auto words = words_of(count, objects);
    auto name = words.empty() ? "" : words[0];
    if (find_command_line_word(name))
      throw usage_error{fmt::format("\"{0}\" is for the command line: {1} {0} ...", name, own_name())};
    if (std::ranges::find(out_of_reach, name) != std::end(out_of_reach))
      throw usage_error{fmt::format("\"{}\": a session reaches no files, programs or sockets.", name)};
    throw usage_error{fmt::format("There is no function or command \"{}\".{}", name,
                                  did_you_mean(name, all_command_names()))};
  });
}

/** Commands that Tcl counts as safe, but that would wait outside the phone's clock. */
constexpr const char *hidden[] = {"after", "vwait", "update", "interp", "fileevent", "chan", "gets", "read"};

std::string dict_value(Tcl_Interp *tcl, Tcl_Obj *dict, const char *name) {
  Tcl_Obj *value = nullptr;
  Tcl_Obj *key = Tcl_NewStringObj(name, -1);
  Tcl_IncrRefCount(key);
  Tcl_DictObjGet(tcl, dict, key, &value);
  Tcl_DecrRefCount(key);
  return value ? Tcl_GetString(value) : "";
}

}  // namespace

/** Tcl checks between two commands whether it was interrupted. */
struct interpreter::async_stop {
  Tcl_AsyncHandler handler;
  static inline Tcl_AsyncHandler current;
  static inline volatile std::sig_atomic_t running;
  /** A signal came while nothing ran: what runs next is not begun. */
  static inline volatile std::sig_atomic_t early;
  static inline bool stopped;

  Tcl_AsyncHandler outer = current;  // of the prompt that runs a session

  async_stop() : handler(Tcl_AsyncCreate(on_stop, nullptr)) { current = handler; }
  ~async_stop() {
    current = outer;
    Tcl_AsyncDelete(handler);
  }
  static int on_stop(ClientData, Tcl_Interp *tcl, int status) {
    if (!tcl) return status;
    Tcl_SetObjResult(tcl, Tcl_NewStringObj(stop_message, -1));
    stopped = true;
    end_script(tcl);
    return TCL_ERROR;
  }

  /** While it exists, a signal ends the script that runs. */
  struct heard {
    std::sig_atomic_t before = running;
    heard() { running = 1; }
    ~heard() { running = before; }
    heard(const heard &) = delete;
    heard &operator=(const heard &) = delete;
  };

  /** Runs a script, unless a signal came before it. */
  template <class F> static int watch(F script) {
    heard here;
    if (!early) return script();
    early = 0;
    stopped = true;
    return TCL_ERROR;
  }
};

void interpreter::interrupt() {
  if (async_stop::running)
    Tcl_AsyncMark(async_stop::current);
  else
    async_stop::early = 1;
}

void interpreter::forget_interruption() {
  async_stop::early = 0;
  if (Tcl_AsyncReady()) Tcl_AsyncInvoke(nullptr, TCL_OK);  // one that came as the last script ended
}

interpreter::interpreter(session &s)
    : running(s), tcl(Tcl_CreateInterp()), stop(std::make_unique<async_stop>()) {
  Tcl_SetPanicProc(on_panic);
  Tcl_MakeSafe(tcl);
  for (auto *name : hidden) Tcl_HideCommand(tcl, name, name);
  Tcl_SetAssocData(tcl, "console", nullptr, this);
  for (auto &f : functions())
    Tcl_CreateObjCommand(tcl, f.name, on_function, const_cast<function *>(&f), nullptr);
  for (auto &c : commands())
    Tcl_CreateObjCommand(tcl, c.help.name, on_command, const_cast<command *>(&c), nullptr);
  Tcl_CreateObjCommand(tcl, "sweep_point", on_point, nullptr, nullptr);
  Tcl_CreateObjCommand(tcl, "unknown", on_unknown, nullptr, nullptr);
  Tcl_EvalEx(tcl, sweep_script, -1, TCL_EVAL_GLOBAL);
}

interpreter::~interpreter() {
  if (!tcl_is_broken) Tcl_DeleteInterp(tcl);
}

void interpreter::initialize(const char *program) {
  Tcl_FindExecutable(program);
  setlocale(LC_CTYPE, "");
  if (std::string_view(nl_langinfo(CODESET)) != "UTF-8") setlocale(LC_CTYPE, "C.UTF-8");
  Tcl_SetSystemEncoding(nullptr, "utf-8");
}

void interpreter::finalize() {
  if (!tcl_is_broken) Tcl_Finalize();
}

bool interpreter::complete(const std::string &text) { return Tcl_CommandComplete(text.c_str()) != 0; }

/** The result of a script that ended, which may have been made to. The interpreter can be used again. */
std::string interpreter::result_of_ended() {
  Tcl_LimitTypeReset(tcl, TCL_LIMIT_COMMANDS);
  std::string text =
      std::exchange(async_stop::stopped, false) ? stop_message : text_of(Tcl_GetStringResult(tcl));
  throw_escaped();
  return text;
}

std::string interpreter::eval(const std::string &command) {
  int status = async_stop::watch(
      [&] { return Tcl_EvalEx(tcl, command.data(), static_cast<int>(command.size()), TCL_EVAL_GLOBAL); });
  auto text = result_of_ended();
  if (status == TCL_ERROR) throw usage_error{text};
  return text;
}

/** The line of the script that runs now: that of the innermost frame with a file. */
place interpreter::where() const {
  place found{.file = "", .point = point};
  if (script.empty() || Tcl_EvalEx(tcl, "info frame", -1, 0) != TCL_OK) return found;
  auto depth = parse_number(Tcl_GetStringResult(tcl)).value_or(0);
  for (auto level = depth - 1; level > 0 && found.file.empty(); --level) {
    if (Tcl_EvalEx(tcl, fmt::format("info frame {}", level).c_str(), -1, 0) != TCL_OK) continue;
    auto *frame = Tcl_GetObjResult(tcl);
    Tcl_IncrRefCount(frame);
    if (!dict_value(tcl, frame, "file").empty())
      found = {script, static_cast<int>(parse_number(dict_value(tcl, frame, "line")).value_or(0)), point};
    Tcl_DecrRefCount(frame);
  }
  return found;
}

std::string interpreter::beside_script(const std::string &path) const {
  auto beside = std::filesystem::path(script).parent_path() / path;
  return !script.empty() && std::filesystem::exists(beside) ? beside.string() : path;
}

/** Standard input, read once; /proc gives it a name for each session of the run. */
static std::string readable(const std::string &path) {
  if (path != "-") return path;
  static const int copy = [] {
    std::string text{std::istreambuf_iterator<char>(std::cin), {}};
    int file = memfd_create("session", MFD_CLOEXEC);
    if (file < 0 || write(file, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
      throw usage_error{fmt::format("The session from standard input cannot be kept: {}.", strerror(errno))};
    return file;
  }();
  return fmt::format("/proc/self/fd/{}", copy);
}

/** Tcl reads a file no further than this, and says nothing of the rest. */
static constexpr char end_of_script = 0x1A;

void interpreter::check_file(const std::string &path) {
  if (std::filesystem::is_directory(path))
    throw usage_error{fmt::format("The session file {} cannot be read: it is a folder.", path)};
  std::ifstream file(readable(path));
  if (!file) throw usage_error{fmt::format("The session file {} cannot be read: {}.", path, strerror(errno))};
  bool has_command = false;
  int number = 0;
  for (std::string line; std::getline(file, line);) {
    ++number;
    if (line.find(end_of_script) != line.npos)
      throw usage_error{fmt::format(
          "{}:{}: the character 0x1A (Ctrl-Z) would end the session here: remove it.", path, number)};
    auto start = line.find_first_not_of(" \t\r");
    has_command |= start != line.npos && line[start] != '#';
  }
  if (has_command) return;
  throw usage_error{fmt::format("The session file {} holds no command: it would prove nothing.", path)};
}

int interpreter::eval_file(const std::string &path) {
  script = path;
  auto *name = Tcl_NewStringObj(readable(path).c_str(), -1);
  Tcl_IncrRefCount(name);
  int status = async_stop::watch([&] { return Tcl_FSEvalFileEx(tcl, name, "utf-8"); });
  Tcl_DecrRefCount(name);
  return status;
}

bool interpreter::run_file(const std::string &path) {
  check_file(path);
  int status = eval_file(path);
  auto message = result_of_ended();
  auto line = status == TCL_ERROR ? Tcl_GetErrorLine(tcl) : 0;
  auto wrong = running.close_parameters(status != TCL_ERROR);  // may be why the script failed
  if (status != TCL_ERROR && wrong.empty()) return true;
  running.fail(wrong.empty() ? message : wrong, {path, line});
  return false;
}

static void claim_script(const char *command, const std::string &path) {
  if (path != "-") claim_file({command, path, false});
}

std::string interpreter::source(const std::string &path) {
  if (!runner) throw usage_error{"\"source\": a session reaches no files, programs or sockets."};
  claim_script("source", path);
  check_file(path);
  auto outer = script;
  int status = eval_file(path);
  script = outer;
  auto message = text_of(Tcl_GetStringResult(tcl));
  if (status != TCL_ERROR) return message;
  half_sourced = true;
  throw usage_error{fmt::format("{}:{}: {}", path, Tcl_GetErrorLine(tcl), message)};
}

bool interpreter::take_half_sourced() { return std::exchange(half_sourced, false); }

std::string interpreter::run(const std::string &path, const std::vector<std::string> &parameters) {
  if (!runner)
    throw usage_error{
        with_own_name("\"run\" is for the prompt, and for the command line: orva-station run ...")};
  claim_script("run", path);
  check_file(path);
  return runner(path, parameters);
}

void interpreter::tear_down() {
  async_stop::heard here;  // a signal keeps no body from beginning
  while (!teardowns.empty() && !tcl_is_broken) {
    auto body = std::move(teardowns.back());
    teardowns.pop_back();
    forget_interruption();  // the session has been told
    try {
      eval(body);
    } catch (const usage_error &e) { running.fail("teardown: " + e.message, {}); }
  }
}

}  // namespace console
