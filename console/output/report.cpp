// SPDX-License-Identifier: Apache-2.0
#include "console/output/report.h"

#include "console/output/output.h"
#include "console/phone/phone_link.h"
#include "console/text/output_file.h"
#include "console/text/usage_error.h"
#include "report_page.h"

#include <chrono>
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <map>
#include <nlohmann/json.hpp>
#include <random>

namespace console {
namespace {

using json = nlohmann::ordered_json;

/** A stream whose output can be read back as text. */
class memory_file {
public:
  memory_file() : file(open_memstream(&bytes, &size)) {
    if (!file) throw usage_error{"--report: there is no memory for it."};
  }
  memory_file(const memory_file &) = delete;
  memory_file &operator=(const memory_file &) = delete;
  ~memory_file() {
    fclose(file);
    free(bytes);
  }
  FILE *stream() { return file; }
  std::string_view text() {
    fflush(file);
    return {bytes, size};
  }

private:
  char *bytes = nullptr;
  size_t size = 0;
  FILE *file;
};

/** Escapes "<" in JSON, where it occurs in strings only, so that it cannot end the page's script element. */
std::string inert(std::string_view text) {
  std::string safe;
  safe.reserve(text.size());
  for (char c : text)
    if (c == '<')
      safe += "\\u003c";
    else
      safe += c;
  return safe;
}

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

/** The order of a call's contacts, one letter for each. Their details are in the call's own event. */
json contact_order() {
  std::string order;
  json pauses = json::array();
  for (auto *e : phone_link::contacts()) {
    order += letter(e->kind);
    if (e->kind == PHONE_SLEEP) pauses.push_back({{"at_us", e->time_us}, {"us", e->number[0]}});
  }
  return {{"type", "order"}, {"order", order}, {"pauses", pauses}};
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

json nv_state() {
  json items = json::array();
  for (auto &item : phone_link::nv_items())
    items.push_back({{"number", item.number}, {"name", item.name}, {"text", nv_text(item.bytes)}});
  return {{"type", "nv_state"}, {"items", items}};
}

/** How the phone is set up. The state.* keys change during the session and are left out. */
json phone_keys() {
  json keys = json::object();
  for (auto &[key, meaning] : phone_link::keys())
    if (!key.starts_with("state.")) keys[key] = phone_link::get(key);
  return keys;
}

class report_reporter : public reporter {
public:
  report_reporter(const std::string &to, const settings &with)
      : options(with), file("--report " + to, to), events(make_json_reporter(text.stream())) {
    add({{"type", "report"}, {"made", local_time()}});
  }
  /** An aborted session gets its page too. */
  ~report_reporter() override {
    if (!file.is_open()) return;
    try {
      write();
    } catch (const usage_error &) {  // a destructor has nobody to tell
    }
  }

  void begin(const session_info &info) override {
    events->begin(info);
    add({{"type", "phone"},
         {"virtual", phone_link::is_virtual()},
         {"description", options.phone_file},
         {"nv_file", options.nv_file},
         {"library", options.library},
         {"keys", phone_keys()}});
    last_nv = nullptr;
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
    events->call(step);
    auto order = contact_order();
    order["units"] = units(step);
    add(order);
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
    write();
  }

private:
  void add(const json &event) {
    fmt::print(text.stream(), "{}\n", event.dump(-1, ' ', false, json::error_handler_t::replace));
  }

  /** Adds the NV store if it changed; calls and the script itself can change it. */
  void look_at_nv() {
    auto now = nv_state();
    if (now != last_nv) add(now);
    last_nv = std::move(now);
  }

  void write() {
    auto data = inert(text.text());
    auto word = random_word();
    auto page = fill(report_page,
                     {{"WORD", word}, {"STYLE", report_style}, {"SCRIPT", report_script}, {"EVENTS", data}});
    file.write(page);
    file.commit();
  }

  settings options;
  output_file file;
  memory_file text;
  std::shared_ptr<reporter> events;
  json last_nv;
};

}  // namespace

std::shared_ptr<reporter> make_report_reporter(const std::string &path, const settings &with) {
  return std::make_shared<report_reporter>(path, with);
}

}  // namespace console
