// SPDX-License-Identifier: Apache-2.0
#include "console/record/trace_reporter.h"

#include "console/phone/phone_link.h"
#include "console/record/contact_lines.h"
#include "console/record/player.h"
#include "console/run/functions.h"
#include "console/text/output_file.h"
#include "console/text/usage_error.h"

#include <algorithm>
#include <fmt/format.h>

namespace console {
namespace {

class trace_reporter : public reporter {
public:
  explicit trace_reporter(const std::string &path)
      : out(fmt::format("--trace {}: cannot be written", path), path) {
    json head = {{"type", "trace"}, {"version", recording_version}};
    if (auto unseen = phone_link::unseen_kinds(); !unseen.empty()) head["without"] = unseen;
    write(head);
  }
  /** The recording of an aborted run has no end line. */
  ~trace_reporter() override {
    if (!out.is_open()) return;
    try {
      out.commit();
    } catch (const usage_error &) {  // a destructor has nobody to tell
    }
  }
  void begin(const session_info &info) override {
    player::watch_all();
    json line = {{"type", "session"}, {"session", info.name}, {"chip", info.chip}};
    if (info.who.given) line["identity"] = identity_json(info.who);
    write(line);
  }
  void chip_changed(const session_info &info) override { write({{"type", "chip"}, {"chip", info.chip}}); }
  void call(const call_step &step) override {
    std::vector<std::string> words;
    for (auto &input : step.inputs) words.push_back(input.value);
    json line = {{"type", "call"}, {"function", step.called->name}, {"arguments", words}};
    if (!step.where.file.empty()) line["at"] = step.where.text();
    write(line);
    auto contacts = phone_link::contacts();
    contacts.resize(std::min(contacts.size(), step.contacts_made));
    for (auto &contact : contact_lines(contacts)) write(contact);
    json result = {{"type", "result"}, {"result", step.result.value}, {"outputs", outputs_json(step.result)}};
    if (step.seen.dropped) result["dropped"] = step.seen.dropped;
    write(result);
    ++calls;
  }
  void all_done(const std::vector<session_summary> &) override {
    write({{"type", "end"}, {"calls", calls}});
    out.commit();
  }

private:
  void write(const json &line) {
    out.write(line.dump(-1, ' ', true, json::error_handler_t::replace) + "\n");
    out.flush();  // a library that crashes leaves the recording up to there in the .part file
  }

  output_file out;
  size_t calls = 0;
};

}  // namespace

std::shared_ptr<reporter> make_trace_reporter(const std::string &path) {
  return std::make_shared<trace_reporter>(path);
}

}  // namespace console
