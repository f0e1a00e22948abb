#include "causes.h"
#include "output.h"

#include <algorithm>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>

namespace station {
namespace {

constexpr size_t page_width = 110;
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
  text_reporter(FILE *to, detail how_much, bool with_colour)
      : out(to), level(how_much), colour(with_colour) {}

  void begin(const session_info &info) override {
    session_heading.clear();
    if (!info.name.empty())
      session_heading = paint(BOLD, fmt::format("{} on {}, {} clock", info.name, info.chip,
                                                info.real_clock ? "real" : "virtual"));
    if (level != detail::quiet) head();
  }

  void title(const std::string &text) override {
    if (level != detail::quiet) print("\n{}\n", paint(BOLD, text));
  }

  void note(const std::string &text) override {
    head();
    print("        {}\n", text);
  }

  void call(const call_step &step) override {
    if (level == detail::quiet && step.held()) return;
    head();
    print("{}  {:<44} -> {}\n", status(step), call_text(step), result_text(step));
    for (auto &e : step.expectations)
      if (!e.held) failure(e, step.where);
    if (step.failed()) reasons(step);
    if (level == detail::full) details(step);
  }

  void expect(const expectation &e, const place &where) override {
    if (level == detail::quiet && e.held) return;
    head();
    if (e.held)
      wrap(mark(true), fmt::format("expect {} ", e.what), {e.limits.empty() ? "nothing" : e.limits});
    else {
      print("{}  expect {}\n", mark(false), e.what);
      failure(e, where);
    }
  }

  void error(const std::string &text, const place &where) override {
    head();
    print("{}  {}: {}\n", paint(RED, "STOP"), where.text(), text);
  }

  void progress(size_t done, size_t total, const std::string &text) override {
    if (!terminal || total == 0) return;
    constexpr size_t width = 30;
    auto full = std::min(width, done * width / total);
    clear_bar();
    fmt::print(out, "[{:#<{}}{:.<{}}] {}/{} {}", "", full, "", width - full, done, total, text.substr(0, 60));
    fflush(out);
    bar_shown = done < total;
    if (!bar_shown) fmt::print(out, "\r\033[K");
  }

  void all_done(const std::vector<session_summary> &all) override {
    if (all.empty() || all.front().info.name.empty()) return;
    size_t width = 8;
    for (auto &s : all) width = std::max(width, s.info.name.size());
    auto row = [&](auto... cells) {
      return fmt::format("{:<8} {:<{}} {:>6} {:>6} {:>7} {:>10}  {}", cells...);
    };
    print("\n{}\n",
          paint(BOLD, row("chip", "session", width, "calls", "held", "failed", "phone time", "verdict")));
    for (auto &s : all)
      print("{}\n", row(s.info.chip, s.info.name, width, s.calls, s.held, s.failed, duration(s.phone_us),
                        verdict(s)));
    if (level == detail::full) ledger(all, width);
  }

private:
  /** The session's heading, before the first line that needs it. */
  void head() {
    if (!session_heading.empty()) print("{}\n", session_heading);
    session_heading.clear();
  }

  void clear_bar() {
    if (bar_shown) fmt::print(out, "\r\033[K");
    bar_shown = false;
  }

  /** Where the time went. On the virtual clock driver and shell take none. */
  void ledger(const std::vector<session_summary> &all, size_t width) {
    auto row = [&](auto... cells) {
      return fmt::format("{:<8} {:<{}} {:>10} {:>10} {:>10} {:>10} {:>10} {:>14}", cells...);
    };
    print("\n{}\n", paint(BOLD, row("time", "session", width, "pauses", "driver", "shell", "library", "waits",
                                    "this computer")));
    for (auto &s : all)
      print("{}\n",
            row(s.info.chip, s.info.name, width, duration(s.ledger.pauses_us), duration(s.ledger.driver_us),
                duration(s.ledger.shell_us), duration(s.ledger.library_us), duration(s.phone_us - s.calls_us),
                duration(s.own_us)));
  }

  template <class... A> void print(fmt::format_string<A...> form, A &&...arguments) {
    clear_bar();
    fmt::print(out, form, std::forward<A>(arguments)...);
  }

  std::string paint(const char *code, const std::string &text) const {
    return colour ? fmt::format("\033[{}m{}\033[0m", code, text) : text;
  }
  std::string mark(bool held) const { return held ? paint(GREEN, "  ok") : paint(RED, "FAIL"); }

  std::string status(const call_step &step) const {
    if (!step.expectations.empty()) return mark(step.held());
    return step.result.means.verdict == outcome::bad ? paint(YELLOW, "   !") : "   -";
  }

  std::string result_text(const call_step &step) const {
    auto &r = step.result;
    auto text = r.value;
    if (!r.means.meaning.empty())
      text += "  " + (r.means.verdict == outcome::bad ? paint(YELLOW, r.means.meaning) : r.means.meaning);
    for (auto &o : r.outputs)
      text += fmt::format("  {} {}{}{}", o.what->name, o.value, *o.what->unit ? " " : "", o.what->unit);
    return text;
  }

  void failure(const expectation &e, const place &where) {
    print("        expected {} {}, got {}{}\n", e.what, e.limits.empty() ? "nothing" : e.limits,
          paint(RED, e.got.empty() ? "nothing" : e.got),
          where.file.empty() ? "" : paint(DIM, "  [" + where.text() + "]"));
  }

  /** What the library itself logged as an error, closest to the cause. */
  void reasons(const call_step &step) {
    constexpr int error_priority = 6;
    bool errors =
        std::ranges::any_of(step.seen.log, [](auto &line) { return line.priority >= error_priority; });
    for (auto &line : step.seen.log)
      if (!errors || line.priority >= error_priority) print("        log      {}\n", line.text);
    for (auto &c : likely_causes(step)) print("        cause    {}\n", c.text());
  }

  void details(const call_step &step) {
    for (auto &remark : step.remarks) print("        {}\n", paint(YELLOW, "remark   " + remark));
    wrap("    ", "  driver", command_texts(step.seen));
    wrap("    ", "  shell", shell_texts(step.seen));
    wrap("    ", "  files", step.seen.files);
    wrap("    ", "  nv", nv_texts(step.seen));
    time_line(step);
  }

  void time_line(const call_step &step) {
    auto &time = step.seen.ledger;
    auto text = step.seen.pauses_us.empty()
                    ? ""
                    : fmt::format("pauses   {} = {}", describe_pauses(step.seen.pauses_us),
                                  duration(step.seen.total_pause_us()));
    if (!text.empty()) print("        {}\n", paint(DIM, text));
    if (time.driver_us + time.shell_us == 0) return;
    print("        {}\n",
          paint(DIM, fmt::format("time     driver {}, shell {}, library {}", duration(time.driver_us),
                                 duration(time.shell_us), duration(time.library_us))));
  }

  /** Items one after the other behind a heading, broken at the page's width. */
  void wrap(const std::string &before, const std::string &heading, const std::vector<std::string> &items) {
    if (items.empty()) return;
    print("{}  {:<11}", before, heading);
    size_t column = 6 + std::max<size_t>(heading.size(), 11), indent = column;
    for (size_t i = 0; i < items.size(); ++i) {
      auto item = items[i] + (i + 1 < items.size() ? ", " : "");
      if (column + item.size() > page_width && column > indent) {
        print("\n{:{}}", "", indent);
        column = indent;
      }
      print("{}", item);
      column += item.size();
    }
    print("\n");
  }

  std::string verdict(const session_summary &s) const {
    return s.broken ? paint(RED, "BROKEN") : s.passed() ? paint(GREEN, "PASS") : paint(RED, "FAIL");
  }

  FILE *out;
  detail level;
  bool colour;
  bool terminal = isatty(fileno(out)) != 0;
  bool bar_shown = false;
  std::string session_heading;
};

}  // namespace

std::string call_text(const call_step &step) {
  std::string text = step.called->name;
  for (auto &input : step.inputs)
    if (input.what->kind != argument_kind::ignored) text += " " + (input.value.empty() ? "{}" : input.value);
  return text;
}

std::shared_ptr<reporter> make_text_reporter(FILE *to, detail how_much, bool colour) {
  return std::make_shared<text_reporter>(to, how_much, colour);
}

}  // namespace station
