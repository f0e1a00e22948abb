// SPDX-License-Identifier: Apache-2.0
#include "rf_tester/server/cable_server.h"

#include "rf_tester/instrument/cable_protocol.h"
#include "rf_tester/scpi/message_buffer.h"

#include <array>
#include <asio/write.hpp>
#include <memory>
#include <utility>

namespace rf_tester {
namespace {

/** More than there are ports, so that a phone too many is told why. */
constexpr int most_connections = 64;
int connections = 0;

/** One phone. Reads the next line when the answer to the last one has gone out. */
class cable_session : public std::enable_shared_from_this<cable_session> {
public:
  cable_session(tcp::socket phone, ports &all, std::function<void()> changed)
      : phone_(std::move(phone)), protocol_(all, std::move(changed)) {
    connections++;
    asio::error_code ignored;
    phone_.set_option(tcp::no_delay(true), ignored);
    phone_.set_option(asio::socket_base::keep_alive(true), ignored);
  }
  cable_session(const cable_session &) = delete;
  cable_session &operator=(const cable_session &) = delete;
  ~cable_session() { connections--; }

  void read() {
    phone_.async_read_some(asio::buffer(chunk_),
                           [self = shared_from_this()](asio::error_code error, size_t count) {
                             if (error) return;
                             self->received_.add({self->chunk_.data(), count});
                             self->next_line();
                           });
  }

private:
  void next_line() {
    const auto line = received_.next();
    if (!line) return read();
    answer_ = (line->overrun ? R"({"error":"the line is too long"})" : protocol_.answer(line->text)) + "\n";
    asio::async_write(phone_, asio::buffer(answer_),
                      [self = shared_from_this()](asio::error_code error, size_t) {
                        if (!error) self->next_line();
                      });
  }

  tcp::socket phone_;
  cable_protocol protocol_;
  scpi::message_buffer received_;
  std::array<char, 4096> chunk_{};
  std::string answer_;
};

}  // namespace

cable_server::cable_server(asio::io_context &io, const std::string &address, uint16_t port, ports &all,
                           std::function<void()> changed)
    : ports_(all), changed_(std::move(changed)),
      listener_(io, address, port, [this](tcp::socket phone) { take(std::move(phone)); }) {}

void cable_server::take(tcp::socket phone) {
  if (connections >= most_connections)
    return turn_away(std::move(phone), "{\"error\":\"too many phones\"}\n");
  std::make_shared<cable_session>(std::move(phone), ports_, changed_)->read();
}

}  // namespace rf_tester
