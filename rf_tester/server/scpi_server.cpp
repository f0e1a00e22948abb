// SPDX-License-Identifier: Apache-2.0
#include "rf_tester/server/scpi_server.h"

#include "rf_tester/commands/interpreter.h"
#include "rf_tester/scpi/message_buffer.h"

#include <array>
#include <asio/write.hpp>
#include <chrono>
#include <fmt/format.h>
#include <poll.h>
#include <utility>

namespace rf_tester {
namespace {

constexpr auto leaving_time = std::chrono::milliseconds(100);

}  // namespace

/**
 * One connection. It reads, carries out and answers one message after the other, and reads on only when the
 * client has taken the answer: that bounds its memory.
 */
class scpi_session : public std::enable_shared_from_this<scpi_session> {
public:
  scpi_session(tcp::socket client, test_set &set, const dialect &spoken)
      : client_(std::move(client)), timer_(client_.get_executor()), set_(set), interpreter_(set, spoken),
        peer_(peer_of(client_)) {
    asio::error_code ignored;
    client_.set_option(tcp::no_delay(true), ignored);
    // A client whose machine went down would hold the test set for ever.
    client_.set_option(asio::socket_base::keep_alive(true), ignored);
  }

  const std::string &peer() const { return peer_; }
  void read();
  void wake() {
    if (waiting_) timer_.cancel();
  }
  bool left_while_waiting();
  void drop();

private:
  void next_message();
  void go_on();
  void wait();
  void answer(const std::string &text);

  tcp::socket client_;
  asio::steady_timer timer_;
  test_set &set_;
  interpreter interpreter_;
  std::string peer_;
  scpi::message_buffer received_;
  std::array<char, 4096> chunk_{};
  std::string answer_;
  bool waiting_ = false;
};

void scpi_session::read() {
  client_.async_read_some(asio::buffer(chunk_),
                          [self = shared_from_this()](asio::error_code error, size_t count) {
                            if (error) return self->set_.abort_measurement();
                            self->received_.add({self->chunk_.data(), count});
                            self->next_message();
                          });
}

void scpi_session::next_message() {
  while (auto line = received_.next()) {
    if (!line->overrun) {
      interpreter_.begin(std::move(line->text));
      return go_on();
    }
    interpreter_.report(scpi::failure(scpi::input_buffer_overrun));
  }
  read();
}

void scpi_session::go_on() {
  if (!interpreter_.step()) return wait();
  const auto text = interpreter_.take_answer();
  // Not a direct call: many messages without an answer would nest.
  if (!text) return asio::post(client_.get_executor(), [self = shared_from_this()] { self->next_message(); });
  answer(*text);
}

void scpi_session::wait() {
  waiting_ = true;
  timer_.expires_at(set_.deadline());
  timer_.async_wait([self = shared_from_this()](asio::error_code) {
    self->waiting_ = false;
    if (self->client_.is_open()) self->go_on();
  });
}

/** Whether the client ended the connection, or only its sending, before the measurement that it asked for. */
bool scpi_session::left_while_waiting() {
  // Octets that it sent before may still be unread.
  pollfd client = {.fd = client_.native_handle(), .events = POLLRDHUP, .revents = 0};
  return waiting_ && poll(&client, 1, 0) > 0;
}

void scpi_session::drop() {
  set_.abort_measurement();
  asio::error_code ignored;
  client_.close(ignored);
  wake();
}

void scpi_session::answer(const std::string &text) {
  answer_ = text + "\n";
  asio::async_write(client_, asio::buffer(answer_),
                    [self = shared_from_this()](asio::error_code error, size_t) {
                      if (error) return self->set_.abort_measurement();
                      self->next_message();
                    });
}

scpi_server::scpi_server(asio::io_context &io, const std::string &address, uint16_t port, test_set &set,
                         const dialect &spoken)
    : set_(set), spoken_(spoken),
      listener_(io, address, port, [this](tcp::socket client) { take(std::move(client)); }) {}

void scpi_server::wake() {
  set_.settle();
  if (auto session = session_.lock()) session->wake();
}

void scpi_server::take(tcp::socket client) {
  if (session_.expired()) return serve(std::move(client));
  // The client before may have left already, with its last octets still to be read.
  auto waiting = std::make_shared<tcp::socket>(std::move(client));
  auto timer = std::make_shared<asio::steady_timer>(waiting->get_executor(), leaving_time);
  timer->async_wait([this, waiting, timer](asio::error_code) { serve(std::move(*waiting)); });
}

void scpi_server::serve(tcp::socket client) {
  if (auto before = session_.lock()) {
    if (!before->left_while_waiting())
      return turn_away(std::move(client),
                       fmt::format("{},\"{};in use by {}\"\n", int{scpi::execution_error},
                                   scpi::error_text(scpi::execution_error), before->peer()));
    before->drop();
  }
  auto session = std::make_shared<scpi_session>(std::move(client), set_, spoken_);
  session_ = session;
  session->read();
}

}  // namespace rf_tester
