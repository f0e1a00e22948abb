// SPDX-License-Identifier: Apache-2.0
#include "console/output/report.h"

#include "console/output/output.h"
#include "console/output/packed_json.h"
#include "console/phone/phone_link.h"
#include "console/text/output_file.h"
#include "console/text/usage_error.h"
#include "report_page.h"

#include <algorithm>
#include <chrono>
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <random>

namespace console {
namespace {

using json = nlohmann::ordered_json;

/** Replaces each {{NAME}} of the page. Inserted text is not searched again. */
std::string fill(std::string_view page, const std::map<std::string_view, std::string_view> &values) {
  std::string filled;
  for (size_t at = 0; at < page.size();) {
    auto open = std::min(page.find("{{", at), page.size());
    auto close = page.find("}}", open);
    filled += page.substr(at, open - at);
    if (close == page.npos) return filled += page.substr(open);
    filled += values.at(page.substr(open + 2, close - open - 2));
    at = close + 2;
  }
  return filled;
}

/** The nonce of the page's content security policy: scripts without it do not run. */
std::string random_word() {
  std::random_device source;
  return fmt::format("{:08x}{:08x}{:08x}{:08x}", source(), source(), source(), source());
}

std::string local_time() {
  return fmt::format("{:%Y-%m-%d %H:%M:%S}",
                     fmt::localtime(std::chrono::system_clock::to_time_t(std::chrono::system_clock::now())));
}

/** The page's letter for a kind of contact; empty for a kind that the page does not show. */
std::string_view letter(phone_event_kind kind) {
  switch (kind) {
  case PHONE_IOCTL: return "d";
  case PHONE_EXEC:
  case PHONE_POPEN: return "s";
  case PHONE_SLEEP: return "p";
  case PHONE_NV_READ:
  case PHONE_NV_WRITE: return "n";
  case PHONE_WRITE: return "f";
  case PHONE_SOCKET:
  case PHONE_CLOSE:
  case PHONE_FORK:
  case PHONE_WAIT:
  case PHONE_FREAD:
  case PHONE_PCLOSE:
  case PHONE_OPEN:
  case PHONE_LOG:
  case PHONE_SUBCHIP:
  case PHONE_SECURE: break;
  }
  return {};
}

/** The order of a call's contacts, one letter for each, and the pauses among them. The other contacts'
 * details are in the call's event. */
void add_order(json &event, int64_t start_us) {
  std::string order;
  json pauses = json::array();
  for (auto *e : phone_link::contacts()) {
    order += letter(e->kind);
    if (e->kind == PHONE_SLEEP) pauses.push_back({{"at_us", e->time_us - start_us}, {"us", e->number[0]}});
  }
  event["order"] = order;
  event["pauses"] = std::move(pauses);
}

/** Replaces times on the phone's clock by times since the start of the call, which are the same in equal
 * calls. */
void make_relative(json &contacts, int64_t start_us) {
  for (auto &contact : contacts) contact["at_us"] = contact["at_us"].get<int64_t>() - start_us;
}

/** Units of a call's inputs and outputs by name. */
json units(const call_step &step) {
  json all = json::object();
  auto add = [&](const argument &a) {
    if (*a.unit) all[a.name] = a.unit;
  };
  for (auto &i : step.inputs) add(*i.what);
  for (auto &o : step.result.outputs) add(*o.what);
  return all;
}

using nv_store = std::vector<phone_link::nv_item>;

json nv_event(const nv_store &store) {
  json items = json::array();
  for (auto &item : store)
    items.push_back({{"number", item.number}, {"name", item.name}, {"text", nv_text(item.bytes)}});
  return {{"type", "nv_state"}, {"items", std::move(items)}};
}

bool same_store(const nv_store &one, const nv_store &other) {
  return std::ranges::equal(one, other, [](auto &a, auto &b) {
    return a.number == b.number && a.name == b.name && a.bytes == b.bytes;
  });
}

/** How the phone is set up. The state.* keys change during the session and are left out. */
json phone_keys() {
  json keys = json::object();
  for (auto &[key, meaning] : phone_link::keys())
    if (!key.starts_with("state.")) keys[key] = phone_link::get(key);
  return keys;
}

constexpr std::string_view data_mark = "{{EVENTS}}";

/** Writes the page as the session goes on, so that a long one needs no memory for it. */
class report_reporter : public reporter {
public:
  report_reporter(const std::string &to, const settings &with)
      : options(with), file("--report " + to, to), nonce(random_word()),
        data([this](std::string_view text) { file.write(text); }),
        events(make_event_reporter([this](json &&event) { add(std::move(event)); })) {
    write_page(report_page.substr(0, report_page.find(data_mark)));
    data.add_event({{"type", "report"}, {"made", local_time()}});
  }
  /** An aborted session gets its page too. */
  ~report_reporter() override {
    if (!file.is_open()) return;
    try {
      finish();
    } catch (const usage_error &) {  // a destructor has nobody to tell
    }
  }

  void begin(const session_info &info) override {
    events->begin(info);
    data.add_event({{"type", "phone"},
                    {"virtual", phone_link::is_virtual()},
                    {"description", options.phone_file},
                    {"nv_file", options.nv_file},
                    {"library", options.library},
                    {"keys", phone_keys()}});
    last_nv.reset();
    last_point.clear();
    look_at_nv();
  }
  void parameter_taken(const parameter &p) override {
    events->parameter_taken(p);
    events->note(fmt::format("parameter {} = {}{}", p.name, p.value, p.given ? "" : " (default)"));
  }
  void title(const std::string &words) override {
    look_at_nv();
    events->title(words);
  }
  void note(const std::string &words) override {
    look_at_nv();
    events->note(words);
  }
  void call(const call_step &step) override {
    current = &step;
    events->call(step);
    current = nullptr;
    look_at_nv();
  }
  void expect(const expectation &e, const place &where) override { events->expect(e, where); }
  void error(const std::string &words, const place &where) override { events->error(words, where); }
  void end(const session_summary &s) override {
    look_at_nv();
    events->end(s);
  }
  void all_done(const std::vector<session_summary> &all) override {
    events->all_done(all);
    finish();
  }

private:
  /** The point of a sweep becomes an event of its own: everything done at it shares it, and calls at
   * different points stay alike. */
  void add(json &&event) {
    auto point = event.value("point", "");
    event.erase("point");
    event.erase("failures");  // the page counts them itself
    if (point != last_point) data.add_event({{"type", "point"}, {"point", point}});
    last_point = point;
    if (current)
      add_call(std::move(event), *current);
    else
      data.add_event(event);
  }

  /** Leaves out what the page does not show. */
  void add_call(json &&event, const call_step &step) {
    for (auto key : {"at_us", "phone_us", "own_us", "pauses_us", "records", "time"}) event.erase(key);
    make_relative(event["driver"], step.start_us);
    make_relative(event["shell"], step.start_us);
    add_order(event, step.start_us);
    event["units"] = units(step);
    data.add_event(event, {step.start_us, step.phone_us});
  }

  /** Adds the NV store if it changed; calls and the script itself can change it. */
  void look_at_nv() {
    auto now = phone_link::readable_nv_items();
    if (!last_nv || !same_store(*last_nv, now)) data.add_event(nv_event(now));
    last_nv = std::move(now);
  }

  void write_page(std::string_view part) {
    file.write(fill(part, {{"WORD", nonce}, {"STYLE", report_style}, {"SCRIPT", report_script}}));
  }

  void finish() {
    data.finish();
    write_page(report_page.substr(report_page.find(data_mark) + data_mark.size()));
    file.commit();
  }

  settings options;
  output_file file;
  std::string nonce;
  packed_json data;
  std::shared_ptr<reporter> events;
  const call_step *current = nullptr; /**< during call() */
  std::optional<nv_store> last_nv;
  std::string last_point;
};

}  // namespace

std::shared_ptr<reporter> make_report_reporter(const std::string &path, const settings &with) {
  return std::make_shared<report_reporter>(path, with);
}

}  // namespace console
