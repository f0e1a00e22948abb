// SPDX-License-Identifier: Apache-2.0
#include "rf_tester/server/listener.h"

#include <array>
#include <asio/ip/address.hpp>
#include <asio/write.hpp>
#include <chrono>
#include <fmt/format.h>
#include <memory>
#include <utility>

namespace rf_tester {
namespace {

constexpr auto lingering = std::chrono::seconds(1);
constexpr int most_leaving = 64;
int leaving = 0;

std::string text_of(const tcp::endpoint &e) {
  const std::string address = e.address().to_string();
  return e.address().is_v6() ? fmt::format("[{}]:{}", address, e.port())
                             : fmt::format("{}:{}", address, e.port());
}

/**
 * A client that is turned away. What it sends is read for a moment: closing a socket with unread octets would
 * reset the connection, and the line would be lost.
 */
class leaver : public std::enable_shared_from_this<leaver> {
public:
  leaver(tcp::socket client, std::string line)
      : client_(std::move(client)), timer_(client_.get_executor()), line_(std::move(line)) {
    leaving++;
  }
  leaver(const leaver &) = delete;
  leaver &operator=(const leaver &) = delete;
  ~leaver() { leaving--; }

  void start() {
    timer_.expires_after(lingering);
    timer_.async_wait([self = shared_from_this()](asio::error_code) { self->close(); });
    asio::async_write(client_, asio::buffer(line_),
                      [self = shared_from_this()](asio::error_code error, size_t) {
                        if (error) return self->close();
                        self->client_.shutdown(tcp::socket::shutdown_send, error);
                        self->drain();
                      });
  }

private:
  void drain() {
    client_.async_read_some(asio::buffer(dropped_),
                            [self = shared_from_this()](asio::error_code error, size_t) {
                              error ? self->close() : self->drain();
                            });
  }
  void close() {
    asio::error_code ignored;
    client_.close(ignored);
    timer_.cancel();
  }

  tcp::socket client_;
  asio::steady_timer timer_;
  std::string line_;
  std::array<char, 512> dropped_{};
};

}  // namespace

listener::listener(asio::io_context &io, const std::string &address, uint16_t port,
                   std::function<void(tcp::socket)> take)
    : acceptor_(io, {asio::ip::make_address(address), port}), pause_(io), take_(std::move(take)) {
  accept();
}

std::string listener::where() const { return text_of(acceptor_.local_endpoint()); }

void listener::accept() {
  acceptor_.async_accept([this](asio::error_code error, tcp::socket client) {
    if (error == asio::error::operation_aborted) return;
    if (!error) {
      take_(std::move(client));
      return accept();
    }
    // No descriptor is free: try again when some connection has ended.
    pause_.expires_after(std::chrono::milliseconds(100));
    pause_.async_wait([this](asio::error_code stopped) {
      if (!stopped) accept();
    });
  });
}

void turn_away(tcp::socket client, const std::string &line) {
  if (leaving < most_leaving) std::make_shared<leaver>(std::move(client), line)->start();
}

std::string peer_of(const tcp::socket &s) {
  asio::error_code error;
  const auto peer = s.remote_endpoint(error);
  return error ? "a client that is gone" : text_of(peer);
}

}  // namespace rf_tester
