// SPDX-License-Identifier: Apache-2.0
#include "console/record/trace_reporter.h"

#include "console/phone/phone_link.h"
#include "console/record/contact_lines.h"
#include "console/record/player.h"
#include "console/run/functions.h"
#include "console/text/usage_error.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <fstream>

namespace console {
namespace {

class trace_reporter : public reporter {
public:
  explicit trace_reporter(const std::string &file) : path(file), out(file) {
    if (!out) throw usage_error{fmt::format("--trace {}: cannot be written: {}.", path, strerror(errno))};
    write({{"type", "trace"}, {"version", recording_version}});
  }
  void begin(const session_info &info) override {
    player::watch_all();
    write({{"type", "session"}, {"session", info.name}, {"chip", info.chip}});
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
    write({{"type", "result"}, {"result", step.result.value}, {"outputs", outputs_json(step.result)}});
    ++calls;
  }
  void all_done(const std::vector<session_summary> &) override {
    write({{"type", "end"}, {"calls", calls}});
    out.close();
    if (!out) throw usage_error{fmt::format("--trace {}: could not be written to its end.", path)};
  }

private:
  void write(const json &line) {
    out << line.dump(-1, ' ', true, json::error_handler_t::replace) << "\n";
    out.flush();
  }

  std::string path;
  std::ofstream out;
  size_t calls = 0;
};

}  // namespace

std::shared_ptr<reporter> make_trace_reporter(const std::string &path) {
  if (!phone_link::is_virtual())
    throw usage_error{
        "--trace: a real phone is not watched by this console, which sees the library's answers only."};
  return std::make_shared<trace_reporter>(path);
}

}  // namespace console
