// SPDX-License-Identifier: Apache-2.0
// What happens in a session, and the interface of whoever shows or records it.
#ifndef CONSOLE_REPORTER_H
#define CONSOLE_REPORTER_H

#include "console/phone/causes.h"
#include "console/phone/observed.h"
#include "console/run/call.h"
#include "console/run/parameters.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace console {

/** A line of a script; no file for a one-shot call and at the prompt. */
struct place {
  std::string file;
  int line = 0;
  std::string point = {}; /**< of a sweep: "mhz 5500 power 500" */
  /** "rf.tcl:12, mhz 5500 power 500" */
  std::string text() const;
};

/** Failures of one line with the same cause. */
struct failure_group {
  std::string what; /**< the call, the expectation and the cause, without the point */
  std::string file_line;
  size_t count;
  std::string first; /**< point of the first one; "" outside a sweep */
  std::string last;
};

struct expectation {
  std::string what;
  std::string limits;
  std::string got;
  bool held;
  /** Of a measurement; "" and empty for anything else. */
  std::string unit = {};
  /** What it was measured at, in the order given: {"mhz", "2442"}, {"rate", "mcs7"}. */
  std::vector<std::pair<std::string, std::string>> condition = {};

  /** "power at mhz 2442 rate mcs7" */
  std::string title() const;
  /** A value or its limits with the unit: "15.02 dBm"; "nothing" for an empty one. */
  std::string with_unit(const std::string &value) const;
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
  int64_t phone_us; /**< duration on the phone's clock */
  int64_t own_us;   /**< real time spent on this computer */
  /** Contacts of the call itself. Later ones come from the console, which reads NV back. */
  size_t contacts_made;

  /** A bad result that the script neither judges nor ignores is a failed expectation too. */
  bool held() const;
  /** Likely causes of a failed call; none if it did not fail. */
  std::vector<likely_cause> causes() const;
};

struct session_info {
  std::string name; /**< "" for a one-shot call and at the prompt */
  std::string chip;
  bool real_clock;
  /** One call from the command line: its result is the verdict, even without an expectation. */
  bool single_call = false;
};

/** In order: the worst session of a run decides. */
enum class verdict { pass, none, fail, broken };

struct session_summary {
  session_info info;
  size_t calls = 0;
  size_t held = 0;
  size_t failed = 0;
  bool broken = false;  /**< ended by an error in the script */
  int64_t phone_us = 0; /**< the whole session on the phone's clock */
  int64_t calls_us = 0; /**< the calls' share of it */
  int64_t own_us = 0;   /**< real time that the calls took on this computer */
  time_ledger ledger;
  std::vector<failure_group> failures;

  /** Counts a failed expectation; of a call, if there is a step. */
  void add_failure(const call_step *step, const expectation &e, const place &where);

private:
  std::unordered_map<std::string, size_t> group_of; /**< index by line and what; a long session has many */
};

class reporter {
public:
  virtual ~reporter() = default;
  virtual void begin(const session_info &) {}
  /** The session goes on with another chip and a newly loaded library. */
  virtual void chip_changed(const session_info &) {}
  /** A parameter that the session takes, with its value. */
  virtual void parameter_taken(const parameter &) {}
  virtual void title(const std::string &) {}
  virtual void note(const std::string &) {}
  virtual void call(const call_step &) {}
  /** Something else is about to be printed: a progress bar makes room. */
  virtual void make_room() {}
  virtual void progress(size_t /*done*/, size_t /*total*/, const std::string &) {}
  /** An expectation outside a call. */
  virtual void expect(const expectation &, const place &) {}
  virtual void error(const std::string &, const place &) {}
  virtual void end(const session_summary &) {}
  virtual void all_done(const std::vector<session_summary> &) {}
};

}  // namespace console

#endif
