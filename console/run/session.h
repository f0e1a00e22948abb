// SPDX-License-Identifier: Apache-2.0
// One session: the phone, the library, the calls made, and which expectations held.
#ifndef CONSOLE_SESSION_H
#define CONSOLE_SESSION_H

#include "console/nv/nv_safe.h"
#include "console/phone/library.h"
#include "console/phone/settings.h"
#include "console/run/expectations.h"
#include "console/run/reporter.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace console {

/** What runs on the phone, followed from the calls of this session. */
struct test_progress {
  bool test_mode = false;
  bool transmit = false;
  bool receive = false;
};

/** A session that came to its end. */
struct ended_session {
  session_summary summary;
  test_progress left; /**< what it left running on the phone */
};

class session {
public:
  session(const settings &with, std::string name, std::vector<std::shared_ptr<reporter>> to);
  /** The session is one call from the command line. To be called before start. */
  void is_single_call() { summary.info.single_call = true; }

  /** Who is tested, where and with what. To be called before start. */
  void identify(const identity &who) { summary.info.who = who; }

  /** Resets the phone and loads the library; throws usage_error if either fails. */
  void start();
  /** Ends the session. A planned fault that never fired counts as a failed expectation. */
  session_summary finish();

  /** Tells the reporters that the session begins, if they do not know; the prompt does so with its first act.
   */
  void open();
  /** Ends this part of the session, lets act take the phone over, and begins another part on the phone as it
   * is then. A real phone, which act cannot reset, leaves test mode first; throws usage_error if it does not.
   */
  void give_way(const std::function<ended_session()> &act);
  /** The parts that have ended, with the sessions that took over between them. */
  const std::vector<session_summary> &parts() const { return ended; }
  /** Did anything happen since the last part ended? */
  bool is_open() const { return opened; }

  /** Declares a parameter and returns its value. A session declares them before it does anything else. */
  std::string take_parameter(const parameter &wanted);
  /** Before the first act: "" or what is wrong with the parameters given. */
  std::string close_parameters(bool all_declared = true);

  /** Stops transmission, reception and test mode, as far as they run. */
  void leave_test_mode();

  /** Calls f. The words are its arguments, then optionally "->" and what is expected. Without that, a bad
   * result counts as a failed expectation, unless it may fail. */
  const call_step &call(const function &f, const std::vector<std::string> &words, const place &where,
                        bool may_fail = false);
  void expect(const expectation &e, const place &where);
  void title(const std::string &text);
  void report_progress(size_t done, size_t total, const std::string &text);
  void note(const std::string &text);
  /** Before something is printed that no reporter knows of. */
  void make_room();
  void fail(const std::string &text, const place &where);
  void plan_fault(const std::string &what, unsigned nth, unsigned times, int value, const place &where);
  /** Fits another chip and loads the library anew, so that no test state survives. */
  void change_chip(unsigned chip);

  /** Runs act on a copy of the phone, without reporting, and gives what it would change in NV. */
  foresight preview(const std::string &what, const std::function<void()> &act);
  /** Throws usage_error in a preview, where an expectation would be judged unseen. */
  void refuse_in_preview(const char *expectation) const;
  /** Asks before a lasting NV store is changed, unless that is allowed; throws usage_error on a no. */
  void ask_before_writing(const std::string &what, const std::function<void()> &act);

  bool is_prompt() const { return summary.info.name.empty() && !summary.info.single_call; }
  unsigned chip() const;
  const char *chip_name() const;
  /** The last call; null before the first. */
  const call_step *last() const { return last_step.get(); }
  const session_summary &so_far() const { return summary; }
  const test_progress &state() const { return progress; }

private:
  void tell(const std::function<void(reporter &)> &what);
  void load_library();
  call_step perform(const function &f, prepared_call &prepared, const place &where);
  void judge(call_step &step, const std::vector<wanted> &wants, bool may_fail,
             const std::vector<phone_link::nv_item> &nv_before);
  void count(const expectation &e, const call_step *step, const place &where);
  void count(const call_step &step);
  void follow(const std::string &name);
  trial try_out(const std::function<void()> &act);

  settings options;
  parameters taken;
  bool allowed = false, opened = false, parameters_closed = false, previewing = false;
  std::vector<session_summary> ended;
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
