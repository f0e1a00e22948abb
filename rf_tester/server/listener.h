// SPDX-License-Identifier: Apache-2.0
// A listening socket that hands over its connections.
#ifndef RF_TESTER_SERVER_LISTENER_H
#define RF_TESTER_SERVER_LISTENER_H

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>
#include <functional>
#include <string>

namespace rf_tester {

using asio::ip::tcp;

class listener {
public:
  /** Throws std::system_error if the address cannot be listened on. */
  listener(asio::io_context &io, const std::string &address, uint16_t port,
           std::function<void(tcp::socket)> take);
  /** "127.0.0.1:5025" */
  std::string where() const;

private:
  void accept();

  tcp::acceptor acceptor_;
  asio::steady_timer pause_;
  std::function<void(tcp::socket)> take_;
};

/** Sends a line to a client that cannot be served, and closes the connection once it has gone out. */
void turn_away(tcp::socket client, const std::string &line);

/** "127.0.0.1:40112", of the other end. */
std::string peer_of(const tcp::socket &s);

}  // namespace rf_tester

#endif
