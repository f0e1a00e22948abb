// SPDX-License-Identifier: Apache-2.0
#include "console/output/output.h"

#include "console/run/verdict.h"
#include "console/text/output_file.h"
#include "console/text/usage_error.h"

#include <cwchar>
#include <fmt/format.h>
#include <string_view>
#include <tinyxml2.h>

namespace console {
namespace {

using tinyxml2::XMLElement;

/** The text with U+FFFD for what XML 1.0 cannot hold, not even escaped. */
std::string xml_characters(std::string_view text) {
  std::string held;
  while (!text.empty()) {
    std::mbstate_t state = {};
    wchar_t c = 0;
    auto size = std::mbrtowc(&c, text.data(), text.size(), &state);
    bool whole = size > 0 && size <= text.size();
    bool allowed = whole && (c >= ' ' || c == '\t' || c == '\n' || c == '\r') && c != 0xFFFE && c != 0xFFFF;
    held += allowed ? text.substr(0, size) : "\uFFFD";
    text.remove_prefix(whole ? size : 1);
  }
  return held;
}

/** A test case for each call and for each expectation outside a call. */
class junit_reporter : public reporter {
public:
  explicit junit_reporter(const std::string &path) : file("--junit " + path, path) {
    page.InsertFirstChild(page.NewDeclaration());
    suites = page.NewElement("testsuites");
    page.InsertEndChild(suites);
  }
  /** An aborted run gets its report too, so that an older one is not taken for it. */
  ~junit_reporter() override {
    if (!file.is_open()) return;
    try {
      begin({.name = "run", .chip = "", .real_clock = false});
      error("the run was aborted before its end", {});
      session_summary aborted;
      aborted.broken = true;
      end(aborted);
      save();
    } catch (const usage_error &) {  // a destructor has nobody to tell
    }
  }

  void begin(const session_info &info) override {
    suite = suites->InsertNewChildElement("testsuite");
    name = info.name.empty() ? "call" : info.name;
    suite->SetAttribute("name", fmt::format("{} on {}", name, info.chip).c_str());
    part = info.chip;
    cases = failures = errors = 0;
    if (info.who.given) add_identity(info.who);
  }
  void parameter_taken(const parameter &p) override { add_property(suite, p.name, p.value); }
  void title(const std::string &text) override { part = text; }

  void call(const call_step &step) override {
    auto *test = add_case(call_text(step), step.where, step.phone_us);
    for (auto &e : step.expectations) judge(test, e);
    if (auto *failure = test->FirstChildElement("failure")) failure->SetText(causes(step).c_str());
  }
  void expect(const expectation &e, const place &where) override {
    auto *test = add_case(fmt::format("expect {} {}", e.title(), e.limits), where, 0);
    if (!e.unit.empty()) add_property(test, e.what, e.with_unit(e.got));
    judge(test, e);
  }
  void error(const std::string &text, const place &where) override { add_error(text, where); }
  void end(const session_summary &s) override {
    std::string groups;
    for (auto &group : s.failures)
      groups += fmt::format("{} x {} [{}]\n", group.count, group.what, group.file_line);
    if (!groups.empty()) suite->InsertNewChildElement("system-out")->SetText(groups.c_str());
    if (auto v = verdict_of(s); v == verdict::none)
      add_error(fmt::format("{}: nothing was expected", word_of(v)), {});
    count_up();
    suite->SetAttribute("time", seconds(s.phone_us).c_str());
  }
  void all_done(const std::vector<session_summary> &) override {
    if (suite) count_up();  // an error may come after the last session's end
    save();
  }

private:
  void add_property(XMLElement *to, const std::string &called, const std::string &value) {
    auto *list = to->FirstChildElement("properties");
    if (!list) to->InsertFirstChild(list = page.NewElement("properties"));
    auto *property = list->InsertNewChildElement("property");
    property->SetAttribute("name", called.c_str());
    property->SetAttribute("value", value.c_str());
  }

  void add_identity(const identity &who) {
    for (auto &[called, value] : identity_rows(who)) add_property(suite, called, value);
  }

  void count_up() {
    suite->SetAttribute("tests", cases);
    suite->SetAttribute("failures", failures);
    suite->SetAttribute("errors", errors);
  }

  void save() {
    tinyxml2::XMLPrinter text;
    page.Print(&text);
    file.write(xml_characters(text.CStr()));
    file.commit();
  }

  static std::string seconds(int64_t us) { return fmt::format("{:.6f}", static_cast<double>(us) / 1e6); }

  XMLElement *add_case(const std::string &what, const place &where, int64_t us) {
    auto *test = suite->InsertNewChildElement("testcase");
    auto point = where.point.empty() ? "" : fmt::format(" at {}", where.point);
    test->SetAttribute("name", (what + point).c_str());
    test->SetAttribute("classname", fmt::format("{}.{}", name, part).c_str());
    test->SetAttribute("time", seconds(us).c_str());
    if (!where.file.empty()) {
      test->SetAttribute("file", where.file.c_str());
      test->SetAttribute("line", where.line);
    }
    ++cases;
    return test;
  }

  void add_error(const std::string &text, const place &where) {
    auto *fault = add_case("session", where, 0)->InsertNewChildElement("error");
    fault->SetAttribute("message", text.c_str());
    ++errors;
  }

  void judge(XMLElement *test, const expectation &e) {
    if (e.held) return;
    auto unit = e.unit.empty() ? "" : " " + e.unit;
    fail(test, fmt::format("expected {} {}{}, got {}{}", e.what, e.limits, unit, e.got, unit));
  }

  void fail(XMLElement *test, const std::string &message) {
    failures += test->FirstChildElement("failure") ? 0 : 1;
    test->InsertNewChildElement("failure")->SetAttribute("message", message.c_str());
  }

  static std::string causes(const call_step &step) {
    std::string text;
    for (auto &c : step.causes()) text += c.text() + "\n";
    return text;
  }

  output_file file;
  tinyxml2::XMLDocument page;
  XMLElement *suites;
  XMLElement *suite = nullptr;
  std::string name, part;
  int cases = 0, failures = 0, errors = 0;
};

}  // namespace

std::shared_ptr<reporter> make_junit_reporter(const std::string &path) {
  return std::make_shared<junit_reporter>(path);
}

}  // namespace console
