// SPDX-License-Identifier: Apache-2.0
#include "console/tester/instrument.h"

#include "console/text/text.h"
#include "console/text/usage_error.h"
#include "rf/line_socket.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>

namespace console {
namespace {

using phone::rf::deadline;

/** Errors read from a queue before it is taken for endless. */
constexpr size_t most_errors = 100;
constexpr double channel_step_mhz = 5;
/** What SCPI has for infinite; not a number is more. */
constexpr double no_number = 9.9e37;
/** How near an error of the power has to be to a cause, in dB, for the cause to be named. */
constexpr double likely_db = 1;

struct host_and_port {
  std::string host, port;
};

host_and_port parts_of(const std::string &address) {
  auto colon = address.rfind(':');
  auto host = address.substr(0, colon);
  auto number = colon == address.npos ? std::nullopt : parse_number(address.substr(colon + 1));
  if (!number || *number < 1 || *number > 65535 || host.empty())
    throw usage_error{fmt::format("{}: give HOST:PORT, as in 127.0.0.1:5025", address)};
  if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
  return {host, std::to_string(*number)};
}

std::string words_of_action(std::string action) {
  std::ranges::replace(action, '_', ' ');
  return action;
}

}  // namespace

std::optional<double> reading::find(const std::string &quantity) const {
  auto found = std::ranges::find(values, quantity, &decltype(values)::value_type::first);
  return found == values.end() ? std::nullopt : std::optional(found->second);
}

// ---- Connection ------------------------------------------------------------------------------------------

test_set::test_set(std::string where, instrument_profile with, bool (*stopped)())
    : address(std::move(where)), its(std::move(with)), is_stopped(stopped) {
  try {
    connect();
    identify();
    errors();  // those of an earlier client
  } catch (...) {
    hang_up();
    throw;
  }
}

void test_set::hang_up() {
  if (descriptor >= 0) close(descriptor);
  descriptor = -1;
}

void test_set::fail(const std::string &what) const {
  throw usage_error{fmt::format("{}: {}", address, what)};
}

void test_set::lose(const std::string &what) {
  hang_up();
  fail(what);
}

void test_set::connect() {
  auto [host, service] = parts_of(address);
  auto trouble = phone::rf::open_line_socket(host, service, its.timeout_ms, descriptor);
  if (!trouble.empty()) fail(fmt::format("no test set can be reached there ({})", trouble));
}

void test_set::identify() {
  known_as = ask(its.identify.ask);
  if (its.busy && std::regex_search(known_as, *its.busy))
    fail(fmt::format("the test set serves another client: {}", known_as));
  if (its.identify.pattern_text && !its.identify.matches(known_as))
    fail(fmt::format("'{}' is not what {} is for ({})", known_as, its.path, its.name));
}

void test_set::send(const std::string &text) {
  if (descriptor < 0) fail("the connection is closed: connect again");
  auto trouble =
      phone::rf::send_line(descriptor, text + its.termination, deadline(its.timeout_ms, is_stopped));
  if (!trouble.empty()) lose(fmt::format("the connection failed at {}: {}", text, trouble));
}

std::string test_set::ask(const std::string &text) {
  send(text);
  std::string line;
  deadline until(its.timeout_ms + static_cast<int64_t>(trigger_ms), is_stopped);
  auto trouble = phone::rf::read_line(descriptor, line, until);
  if (trouble == until.missed())
    lose(fmt::format("no answer to {}{}", text, trouble.substr(strlen("no answer"))));
  if (!trouble.empty()) lose(fmt::format("the connection failed at {}: {}", text, trouble));
  return std::string(trim_end(line));
}

/** Each query is sent once for all values that its answer holds. */
std::string test_set::part(const profile_answer &wanted, answers &asked) {
  if (!asked.contains(wanted.ask)) asked[wanted.ask] = ask(wanted.ask);
  try {
    return wanted.part_of(asked[wanted.ask]);
  } catch (const usage_error &e) { fail(e.message); }
}

std::vector<std::string> test_set::errors() {
  std::vector<std::string> found;
  while (found.size() < most_errors) {
    auto answer = ask(its.error.ask);
    std::smatch error;
    if (!std::regex_search(answer, error, its.error.pattern))
      fail(fmt::format("{} answered '{}', which is no error", its.error.ask, answer));
    if (parse_real(error[1].str()) == 0) break;
    found.push_back(fmt::format("{} {}", error[1].str(), error[2].str()));
  }
  return found;
}

void test_set::act(const std::string &action, const text_values &values) {
  for (auto &text : its.actions.at(action)) send(fill(text, values));
  if (auto found = errors(); !found.empty())
    fail(fmt::format("{} was refused: {}", words_of_action(action), fmt::join(found, "; ")));
}

// ---- Settings --------------------------------------------------------------------------------------------

void test_set::reset() {
  losses.clear();
  port = 0;
  act("reset");
}

void test_set::select_port(int64_t number) {
  act("select_port", {{"port", static_cast<double>(number)}});
  port = number;
}

void test_set::set_path_loss(const std::map<double, double> &table) {
  if (port == 0) fail("the path loss belongs to a port: select one first");
  if (table.empty()) fail(fmt::format("port {}: the table of path losses is empty", port));
  std::vector<std::string> points;
  for (auto &[mhz, db] : table) {
    if (!(db >= 0))
      fail(fmt::format("port {}: a path loss of {} dB at {} MHz: enter a loss as a positive number", port, db,
                       mhz));
    points.push_back(
        fill(its.point, {{"mhz", mhz}, {"hz", mhz * 1e6}, {"db", static_cast<double>(its.sign) * db}}));
  }
  act("set_path_loss",
      {{"port", static_cast<double>(port)}, {"points", fmt::format("{}", fmt::join(points, its.separator))}});
  losses[port] = table;
}

/** Names for an instrument that tunes by the channel's number. */
text_values test_set::numbered(double centre) const {
  for (auto &band : its.bands) {
    auto number = (centre - band.zero_mhz) / channel_step_mhz;
    if (band.from_mhz <= centre && centre <= band.to_mhz && number == std::trunc(number))
      return {{"band", band.name}, {"channel", number}};
  }
  if (its.bands.empty()) return {{"band", ""}, {"channel", 0.0}};
  fail(fmt::format("{} MHz is the centre of no channel in the bands of {}", centre, its.path));
}

void test_set::channel(double centre, double width) {
  auto values = numbered(centre);
  values.insert(
      {{"mhz", centre}, {"hz", centre * 1e6}, {"bandwidth_mhz", width}, {"bandwidth_hz", width * 1e6}});
  act("channel", values);
  tuned_mhz = centre, tuned_width = width;
}

void test_set::expect_power(double dbm) { act("expect_power", {{"dbm", dbm}}); }

void test_set::trigger_timeout(double seconds) {
  act("trigger_timeout", {{"s", seconds}, {"ms", seconds * 1000}});
  trigger_ms = seconds * 1000;
}

void test_set::average(int64_t count) { act("average", {{"count", static_cast<double>(count)}}); }

// ---- Measuring -------------------------------------------------------------------------------------------

std::string test_set::port_text() const { return port ? fmt::format("port {}", port) : "the port"; }

/** The loss entered at the point next to the channel. */
double test_set::entered_loss() const {
  auto table = losses.find(port);
  if (table == losses.end()) return 0;
  auto near = [&](auto &a, auto &b) { return std::abs(a.first - tuned_mhz) < std::abs(b.first - tuned_mhz); };
  return std::ranges::min_element(table->second, near)->second;
}

std::string test_set::cause(double power, double wanted) const {
  auto error = power - wanted, loss = entered_loss();
  auto text = fmt::format("{}: {:.1f} dBm where {:.1f} dBm were wanted at {} MHz, {:+.1f} dB", port_text(),
                          power, wanted, tuned_mhz, error);
  if (loss > likely_db && std::abs(error + 2 * loss) < likely_db)
    return fmt::format("{}: twice the path loss of {} dB, so its sign is likely wrong", text, loss);
  if (loss == 0 && error < 0) return fmt::format("{}: no path loss is entered for this port", text);
  return fmt::format("{}: check the cable, the path loss of {} dB, and the phone's power setting", text,
                     loss);
}

/** "" for a good outcome. */
std::string test_set::trouble_of(const std::string &text) const {
  auto known = its.outcomes.find(text);
  if (known == its.outcomes.end()) fail(fmt::format("'{}' is no outcome that {} lists", text, its.path));
  auto &outcome = known->second;
  if (outcome == "timeout")
    return fmt::format(
        "{0}: no burst at {1} MHz before the trigger timeout: the phone does not transmit on this "
        "channel, its cable is not connected to {0}, or the expected power is far too high",
        port_text(), tuned_mhz);
  if (outcome == "no_sync")
    return fmt::format(
        "{}: the burst at {} MHz cannot be demodulated: it is wider than the {} MHz that tester channel set, or of "
        "a format that the test set does not know",
        port_text(), tuned_mhz, tuned_width);
  if (outcome == "over_range")
    return port_text() + ": the power is over the analyzer's range: raise the expected power";
  if (outcome == "under_range")
    return port_text() +
           ": the power is under the analyzer's range: lower the expected power, or a connector is loose";
  return "";
}

std::optional<double> test_set::number(const std::string &name, answers &asked) {
  auto &value = its.values.at(name);
  auto text = part(value.answer, asked);
  if (its.missing.contains(text)) return std::nullopt;
  auto raw = parse_real(text);
  if (raw && !(std::abs(*raw) < no_number)) return std::nullopt;
  auto found = raw ? value.converted(*raw, tuned_mhz) : std::nullopt;
  if (!found) fail(fmt::format("{} answered '{}' for the {}", value.answer.ask, text, words_of_action(name)));
  return found;
}

reading test_set::measure(std::optional<double> wanted_dbm, double within_db) {
  act("measure_burst");
  ask(its.done.ask);
  answers asked;
  reading found{trouble_of(part(its.outcome, asked)), {}};
  if (!found.trouble.empty()) return found;
  for (auto &each : quantities)
    if (auto value = number(each.name, asked)) found.values.emplace_back(each.name, *value);
  auto power = found.find("power");
  if (!power)
    fail(fmt::format("the measurement succeeded, but {} gave no power", its.values.at("power").answer.ask));
  if (wanted_dbm && std::abs(*power - *wanted_dbm) > within_db) found.trouble = cause(*power, *wanted_dbm);
  return found;
}

int64_t test_set::generate(const std::string &format, const std::string &rate, double width, double dbm,
                           int64_t count) {
  act("load_waveform", {{"format", format}, {"rate", rate}, {"bandwidth_mhz", width}});
  act("generator_level", {{"dbm", dbm}});
  act("send_packets", {{"count", static_cast<double>(count)}});
  ask(its.done.ask);
  answers asked;
  auto sent = number("sent", asked);
  if (!sent) fail("the test set does not say how many packets it sent");
  return static_cast<int64_t>(*sent);
}

}  // namespace console
