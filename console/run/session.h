// SPDX-License-Identifier: Apache-2.0
/* One session: the phone, the library, the calls made, and which expectations held. */
#ifndef CONSOLE_SESSION_H
#define CONSOLE_SESSION_H

#include "console/phone/observed.h"
#include "console/run/call.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace console {

/** Where in a script something happened; no file for a one-shot call. */
struct place {
  std::string file;
  int line = 0;
  std::string text() const;
};

struct expectation {
  std::string what;
  std::string limits;
  std::string got;
  bool held;
};

struct call_step {
  const function *called;
  std::vector<prepared_call::given> inputs;
  std::vector<std::string> remarks;
  call_result result;
  observed seen;
  std::vector<expectation> expectations;
  place where;
  int64_t start_us; /**< on the phone's clock */
  int64_t phone_us; /**< how long it took there */
  int64_t own_us;   /**< real time that the call cost this computer */
  /** How many contacts the library itself had, of those that there are when reporters hear of the call. */
  size_t contacts_made;
  bool held() const;
  /** Where nothing was expected, the result speaks for itself. */
  bool failed() const;
};

struct session_info {
  std::string name;
  std::string chip;
  bool real_clock;
};

struct session_summary {
  session_info info;
  size_t calls = 0;
  size_t held = 0;
  size_t failed = 0;
  bool broken = false;  /**< ended by an error in the script */
  int64_t phone_us = 0; /**< the whole session on the phone's clock */
  int64_t calls_us = 0; /**< what the calls took of it */
  int64_t own_us = 0;   /**< real time that the calls cost this computer */
  time_ledger ledger;
  bool passed() const { return failed == 0 && !broken; }
};

/** Whoever wants to know what happens: a table on the terminal, lines for a program, a report. */
class reporter {
public:
  virtual ~reporter() = default;
  virtual void begin(const session_info &) {}
  /** Another chip in the same session, with a library loaded anew. */
  virtual void chip_changed(const session_info &) {}
  virtual void title(const std::string &) {}
  virtual void note(const std::string &) {}
  virtual void call(const call_step &) {}
  /** How far a long run has come. */
  virtual void progress(size_t, size_t, const std::string &) {}
  /** An expectation that stands for itself. */
  virtual void expect(const expectation &, const place &) {}
  virtual void error(const std::string &, const place &) {}
  virtual void end(const session_summary &) {}
  virtual void all_done(const std::vector<session_summary> &) {}
};

struct settings {
  unsigned chip = 0;
  bool chip_given = false;
  std::string library;
  std::string phone_file;
  std::string nv_file;
  bool real_clock = false;
  int log_priority = 0;
  /** Lasting NV stores may be changed without a question. */
  bool yes = false;
};

/** A fresh phone as the settings want it; throws usage_error where it cannot be had. */
void prepare_phone(const settings &with);

/** What runs on the phone, as far as the calls of this session tell. */
struct test_progress {
  bool test_mode = false;
  bool transmit = false;
  bool receive = false;
};

class session {
public:
  session(const settings &with, std::string name, std::vector<std::shared_ptr<reporter>> to);

  /** A fresh phone and a fresh library; throws usage_error where one of them cannot be had. */
  void start();
  /** Closes the books: planned faults that never came are failures. */
  session_summary finish();

  /** Words behind the function's name: arguments, "->", what is expected. */
  const call_step &call(const function &f, const std::vector<std::string> &words, const place &where);
  void expect(const expectation &e, const place &where);
  void title(const std::string &text);
  void report_progress(size_t done, size_t total, const std::string &text);
  void note(const std::string &text);
  void fail(const std::string &text, const place &where);
  void plan_fault(const std::string &what, unsigned nth, unsigned times, int value, const place &where);
  /** Another chip in the same phone, with a library that remembers nothing. */
  void change_chip(unsigned chip);

  /** May a lasting NV store be changed unasked? */
  bool may_write() const { return options.yes || allowed; }
  /** The user said yes: for a script once and for all, at the prompt for this time. */
  void was_allowed() { allowed = !summary.info.name.empty(); }
  /** Nobody is told of anything any more. */
  void go_unheard() { reporters.clear(); }

  unsigned chip() const;
  const char *chip_name() const;
  /** The last call; null before the first. */
  const call_step *last() const { return last_step.get(); }
  const session_summary &so_far() const { return summary; }
  const test_progress &state() const { return progress; }

private:
  void load_library();
  void count(const expectation &e);
  void follow(const std::string &name);

  settings options;
  bool allowed = false;
  session_summary summary;
  std::vector<std::shared_ptr<reporter>> reporters;
  test_progress progress;
  library lib;
  std::unique_ptr<call_step> last_step;
  struct planned {
    std::string what;
    int id;
    place where;
  };
  std::vector<planned> faults;
};

}  // namespace console

#endif
