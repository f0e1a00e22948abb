// SPDX-License-Identifier: Apache-2.0
// orva-rf-tester: a simulated RF test set.
#include "rf_tester/commands/reference.h"
#include "rf_tester/options.h"
#include "rf_tester/server/cable_server.h"
#include "rf_tester/server/scpi_server.h"

#include <algorithm>
#include <asio/signal_set.hpp>
#include <cstdio>
#include <fmt/format.h>
#include <functional>
#include <system_error>

namespace rf_tester {
namespace {

enum exit_status { ended, failed, misused };

void plug_cables(const options &from, test_set &into) {
  for (size_t i = 0; i < from.cables.size(); i++) into.ports[i].cable = from.cables[i];
}

template <class Server, class... Rest>
Server listen_on(const char *option, const options &with, asio::io_context &io, uint16_t port,
                 Rest &&...rest) {
  try {
    return Server(io, with.address, port, std::forward<Rest>(rest)...);
  } catch (const std::system_error &e) {
    throw std::runtime_error(
        fmt::format("cannot listen on {} {} ({}): {}", with.address, port, option, e.code().message()));
  }
}

void flush_output() {
  if (fflush(stdout) != 0) throw std::runtime_error("the output cannot be written");
}

void serve(const options &with) {
  // Connections end with the context: what they refer to comes before it.
  test_set set(with.seed, with.errors, test_set::clock::now);
  std::function<void()> changed;
  asio::io_context io(1);
  plug_cables(with, set);
  const auto &spoken = *std::ranges::find(dialects(), with.dialect_name, &dialect::name);
  auto scpi = listen_on<scpi_server>("--port", with, io, with.port, set, spoken);
  auto cables = listen_on<cable_server>("--cable-port", with, io, with.cable_port, set.ports,
                                        [&changed] { changed(); });
  changed = [&] { scpi.wake(); };
  asio::signal_set signals(io, SIGINT, SIGTERM, SIGHUP);
  signals.async_wait([&](asio::error_code, int) { io.stop(); });
  fmt::print("SCPI on {}, dialect {}\ncables on {}\n", scpi.where(), spoken.name, cables.where());
  flush_output();  // now: without the ports nobody can use it
  io.run();
  changed = [] {};
}

int run(int count, char **arguments) {
  const options with = parse_options(count, arguments);
  if (with.print_reference) {
    fmt::print("{}", command_reference());
  } else {
    serve(with);
  }
  flush_output();
  return ended;
}

}  // namespace
}  // namespace rf_tester

int main(int count, char **arguments) {
  try {
    return rf_tester::run(count, arguments);
  } catch (const rf_tester::usage_error &e) {
    fputs(fmt::format("orva-rf-tester: {}; see orva-rf-tester --help\n", e.what()).c_str(), stderr);
    return rf_tester::misused;
  } catch (const std::exception &e) {
    fputs(fmt::format("orva-rf-tester: {}\n", e.what()).c_str(), stderr);
    return rf_tester::failed;
  }
}
