// SPDX-License-Identifier: Apache-2.0
#include "console/output/output.h"
#include "console/phone/log_priority.h"
#include "console/run/verdict.h"
#include "console/text/text.h"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>

namespace console {
namespace {

constexpr const char *GREEN = "32", *RED = "1;31", *YELLOW = "33", *BOLD = "1", *DIM = "2";

std::vector<std::string> command_texts(const observed &seen) {
  std::vector<std::string> texts;
  for (auto &c : seen.commands) texts.push_back(fmt::format("{} {}", c.id, describe(c)));
  return texts;
}

std::vector<std::string> shell_texts(const observed &seen) {
  std::vector<std::string> texts;
  for (auto &s : seen.shell)
    texts.push_back(s.status ? fmt::format("{} (status {})", s.text, s.status) : s.text);
  return texts;
}

std::vector<std::string> nv_texts(const observed &seen) {
  std::vector<std::string> texts;
  for (auto &n : seen.nv)
    texts.push_back(fmt::format("{} {} {}{}", n.write ? "write" : "read", n.number, n.name,
                                n.code ? fmt::format(" (code {})", n.code) : ""));
  return texts;
}

class text_reporter : public reporter {
public:
  text_reporter(FILE *to, const text_style &look) : out(to), style(look) {}
  ~text_reporter() override { clear_bar(); }
  text_reporter(const text_reporter &) = delete;
  text_reporter &operator=(const text_reporter &) = delete;

  void begin(const session_info &info) override {
    session_heading.clear();
    step_heading.clear();
    something_failed = false;
    chip = info.chip;
    if (!info.name.empty() || style.several_chips)
      session_heading = paint(BOLD, fmt::format("{} on {}, {} clock", name_of(info), info.chip,
                                                info.real_clock ? "real" : "virtual"));
    if (info.who.given) add_identity(info.who);
    if (style.how_much != detail::quiet) head();
  }

  void chip_changed(const session_info &info) override { chip = info.chip; }

  void parameter_taken(const parameter &p) override {
    if (style.how_much == detail::quiet) return;
    head();
    print("        parameter {} = {}{}\n", p.name, p.value, p.given ? "" : " (default)");
  }

  void title(const std::string &text) override {
    step_heading = text;
    if (style.how_much != detail::quiet) head();
  }

  void note(const std::string &text) override {
    if (style.how_much == detail::quiet && !something_failed) return;
    head();
    auto lines = split(trim_end(text), '\n');
    print("{}\n", fold(fmt::format("        {}", fmt::join(lines, "\n        ")), 8));
  }

  void call(const call_step &step) override {
    if (style.how_much == detail::quiet && step.held()) return;
    head();
    something_failed |= !step.held();
    print("{}  {}\n", status(step), call_line(step));
    for (auto &e : step.expectations)
      if (!e.held) failure(e, step.where);
    if (!step.held()) reasons(step);
    if (style.how_much == detail::full) details(step);
  }

  void expect(const expectation &e, const place &where) override {
    if (style.how_much == detail::quiet && e.held) return;
    head();
    something_failed |= !e.held;
    if (!e.held) {
      print("{}  expect {}\n", mark(false), e.title());
      failure(e, where);
    } else if (e.unit.empty() && e.condition.empty())
      wrap(mark(true), fmt::format("expect {} ", e.what), {e.with_unit(e.limits)});
    else
      print("{}\n",
            fold(fmt::format("{}  {:<44} {}, limits {}", mark(true), e.title(), e.with_unit(e.got), e.limits),
                 8));
  }

  void error(const std::string &text, const place &where) override {
    head();
    auto at = location(where.text());
    print("{}\n", fold(fmt::format("{}  {}{}{}", paint(RED, "STOP"), at, at.empty() ? "" : ": ", text), 8));
  }

  void make_room() override { clear_bar(); }

  void progress(size_t done, size_t total, const std::string &text) override {
    if (!style.progress_bar || total == 0) return;
    constexpr size_t bar = 30;
    auto full = std::min(bar, done * bar / total);
    clear_bar();
    auto line = fmt::format("[{:#<{}}{:.<{}}] {}/{} {}", "", full, "", bar - full, done, total, text);
    fmt::print(out, "{}", cut_to_columns(line, width - 1));
    fflush(out);
    bar_shown = true;
    if (done == total) clear_bar();
  }

  void end(const session_summary &s) override {
    clear_bar();
    if (std::ranges::any_of(s.failures, [](auto &group) { return group.count > 1; })) causes(s);
    bool shown =
        style.at_prompt ? !s.info.name.empty() : style.several_chips && style.how_much != detail::quiet;
    if (!shown) return;
    head();
    print("{}  {} on {}: {} held, {} failed\n", painted_verdict(s), name_of(s.info), s.info.chip, s.held,
          s.failed);
  }

  void all_done(const std::vector<session_summary> &all) override {
    if (all.empty() || (all.front().info.name.empty() && !style.several_chips)) return;
    size_t name = 8;
    for (auto &s : all) name = std::max(name, s.info.name.size());
    auto row = [&](auto... cells) {
      return fmt::format("{:<8} {:<{}} {:>6} {:>6} {:>7} {:>10}  {}", cells...);
    };
    print("\n{}\n",
          paint(BOLD, row("chip", "session", name, "calls", "held", "failed", "phone time", "verdict")));
    for (auto &s : all)
      print("{}\n", row(s.info.chip, name_of(s.info), name, s.calls, s.held, s.failed, duration(s.phone_us),
                        painted_verdict(s)));
    if (style.how_much == detail::full) ledger(all, name);
  }

private:
  static std::string name_of(const session_info &info) { return info.name.empty() ? "call" : info.name; }

  void add_identity(const identity &who) {
    if (!session_heading.empty()) session_heading += '\n';
    session_heading += fold("        " + identity_text(who), 8);
  }

  /** Where something failed: with the chip, if there are several. */
  std::string location(const std::string &at) const {
    if (!style.several_chips) return at;
    return at.empty() ? chip : fmt::format("{}, {}", chip, at);
  }

  /** Repeated failures once more, each with its count: a sweep gives many lines with one cause. */
  void causes(const session_summary &s) {
    step_heading = "Failures by cause";
    head();
    for (auto &group : s.failures) {
      auto place = location(group.file_line);
      auto at = place.empty() ? "" : fmt::format("  [{}]", place);
      print("{}\n", fold(fmt::format("{:>4} x  {}{}", group.count, group.what, paint(DIM, at)), 8));
      if (!group.first.empty()) print("{}\n", fold(points_text(group), 8));
    }
  }

  static std::string points_text(const failure_group &group) {
    auto text = fmt::format("        at {}", group.first);
    return group.count > 1 ? fmt::format("{} to {}", text, group.last) : text;
  }

  /** Prints the headings of the session and the step before their first line. With --quiet there may be none.
   */
  void head() {
    if (!session_heading.empty()) print("{}\n", session_heading);
    if (!step_heading.empty()) print("\n{}\n", paint(BOLD, step_heading));
    session_heading.clear();
    step_heading.clear();
  }

  /** Folds lines for a terminal only, so that a program reading a pipe gets whole lines. */
  std::string fold(const std::string &text, size_t indent) const {
    return terminal ? console::fold(text, width, indent) : text;
  }

  void clear_bar() {
    if (bar_shown) fputs("\r\033[K", out), fflush(out);
    bar_shown = false;
  }

  /** Where the time went. Columns of zeros are left out: on the virtual clock only pauses and waits take
   * time. */
  void ledger(const std::vector<session_summary> &all, size_t name) {
    const struct {
      const char *title;
      int64_t (*us)(const session_summary &s);
    } columns[] = {
        {"pauses", [](auto &s) { return s.ledger.pauses_us; }},
        {"driver", [](auto &s) { return s.ledger.driver_us; }},
        {"shell", [](auto &s) { return s.ledger.shell_us; }},
        {"library", [](auto &s) { return s.ledger.library_us; }},
        {"waits", [](auto &s) { return s.phone_us - s.calls_us; }},
        {"this computer", [](auto &s) { return s.own_us; }},
    };
    auto head = fmt::format("{:<8} {:<{}}", "time", "session", name);
    std::vector<std::string> rows;
    bool timed = false;
    for (auto &s : all) rows.push_back(fmt::format("{:<8} {:<{}}", s.info.chip, name_of(s.info), name));
    for (auto &c : columns) {
      if (std::ranges::all_of(all, [&](auto &s) { return c.us(s) == 0; })) continue;
      timed = true;
      auto wide = std::max<size_t>(strlen(c.title), 9);
      head += fmt::format(" {:>{}}", c.title, wide);
      for (size_t i = 0; i < all.size(); ++i) rows[i] += fmt::format(" {:>{}}", duration(c.us(all[i])), wide);
    }
    if (!timed) return;
    print("\n{}\n{}\n", paint(BOLD, head), fmt::join(rows, "\n"));
  }

  template <class... A> void print(fmt::format_string<A...> form, A &&...arguments) {
    clear_bar();
    fmt::print(out, form, std::forward<A>(arguments)...);
  }

  std::string paint(const char *code, const std::string &text) const {
    return style.colour ? fmt::format("\033[{}m{}\033[0m", code, text) : text;
  }
  std::string mark(bool held) const { return held ? paint(GREEN, "  ok") : paint(RED, "FAIL"); }

  std::string status(const call_step &step) const {
    if (!step.expectations.empty()) return mark(step.held());
    return step.result.means.verdict == outcome::bad ? paint(YELLOW, "   !") : "   -";
  }

  /** The call with its result and outputs. Outputs that do not fit go to the next line. */
  std::string call_line(const call_step &step) const {
    constexpr size_t indent = 8;
    auto &r = step.result;
    auto text = fmt::format("{:<44} -> {}{}", call_text(step), r.value, r.means.meaning.empty() ? "" : "  ");
    auto column = 6 + text.size() + r.means.meaning.size();
    text += r.means.verdict == outcome::bad ? paint(YELLOW, r.means.meaning) : r.means.meaning;
    for (auto &o : r.outputs) {
      auto item = fmt::format("  {} {}{}{}", o.what->name, o.value.empty() ? "\"\"" : o.value,
                              *o.what->unit ? " " : "", o.what->unit);
      bool fits = !terminal || column + item.size() <= width;
      text += fits ? item : fmt::format("\n{:{}}{}", "", indent, item.substr(2));
      column = fits ? column + item.size() : indent + item.size() - 2;
    }
    return text;
  }

  void failure(const expectation &e, const place &where) {
    auto at = location(where.text());
    print("        expected {} {}, got {}{}\n", e.what, e.with_unit(e.limits), paint(RED, e.with_unit(e.got)),
          at.empty() ? "" : paint(DIM, "  [" + at + "]"));
  }

  /** Why a call failed: the library's log, errors only if there are any, then likely causes. */
  void reasons(const call_step &step) {
    bool errors = std::ranges::any_of(step.seen.log, [](auto &line) { return line.priority >= LOG_ERROR; });
    for (auto &line : step.seen.log)
      if (!errors || line.priority >= LOG_ERROR) print("{}\n", fold("        log      " + line.text, 17));
    for (auto &c : step.causes()) print("{}\n", fold("        cause    " + c.text(), 17));
  }

  void details(const call_step &step) {
    for (auto &remark : step.remarks) print("        {}\n", paint(YELLOW, "remark   " + remark));
    wrap("    ", "  driver", command_texts(step.seen));
    wrap("    ", "  shell", shell_texts(step.seen));
    wrap("    ", "  files", step.seen.files);
    wrap("    ", "  nv", nv_texts(step.seen));
    if (step.seen.dropped)
      print("        {}\n",
            paint(YELLOW, fmt::format("contacts {} more, too many to be kept", step.seen.dropped)));
    time_line(step);
  }

  void time_line(const call_step &step) {
    auto &time = step.seen.ledger;
    auto &pauses = step.seen.pauses_us;
    auto text = "pauses   " + describe_pauses(pauses);
    if (pauses.size() > 1) text += " = " + duration(step.seen.total_pause_us());
    if (!pauses.empty()) print("{}\n", paint(DIM, fold("        " + text, 8)));
    if (time.driver_us + time.shell_us == 0) return;
    print("        {}\n",
          paint(DIM, fmt::format("time     driver {}, shell {}, library {}", duration(time.driver_us),
                                 duration(time.shell_us), duration(time.library_us))));
  }

  /** A heading and its items, wrapped at the page's width. */
  void wrap(const std::string &before, const std::string &heading, const std::vector<std::string> &items) {
    if (items.empty()) return;
    print("{}  {:<11}", before, heading);
    size_t column = 6 + std::max<size_t>(heading.size(), 11), indent = column;
    for (size_t i = 0; i < items.size(); ++i) {
      auto item = items[i] + (i + 1 < items.size() ? "," : "");
      bool first = column == indent, fits = column + 1 + item.size() <= width;
      if (!first && !fits) column = indent;
      print("{}{}", first ? "" : fits ? " " : fmt::format("\n{:{}}", "", indent), item);
      column += item.size() + (first || !fits ? 0 : 1);
    }
    print("\n");
  }

  std::string painted_verdict(const session_summary &s) const {
    auto v = verdict_of(s);
    return paint(v == verdict::pass ? GREEN : v == verdict::none ? YELLOW : RED, word_of(v));
  }

  FILE *out;
  text_style style;
  std::string chip;
  size_t width = page_width();
  bool something_failed = false;
  bool terminal = isatty(fileno(out)) != 0;
  bool bar_shown = false;
  std::string session_heading, step_heading;
};

}  // namespace

std::string call_text(const call_step &step) {
  std::string text = step.called->name;
  for (auto &input : step.inputs)
    if (input.what->kind != argument_kind::ignored) text += " " + (input.value.empty() ? "{}" : input.value);
  return text;
}

std::shared_ptr<reporter> make_text_reporter(FILE *to, const text_style &style) {
  return std::make_shared<text_reporter>(to, style);
}

}  // namespace console
