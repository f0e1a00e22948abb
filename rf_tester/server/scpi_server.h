// SPDX-License-Identifier: Apache-2.0
// Serves SCPI to one client at a time.
#ifndef RF_TESTER_SERVER_SCPI_SERVER_H
#define RF_TESTER_SERVER_SCPI_SERVER_H

#include "rf_tester/commands/command.h"
#include "rf_tester/server/listener.h"

#include <memory>

namespace rf_tester {

class scpi_session;

class scpi_server {
public:
  scpi_server(asio::io_context &io, const std::string &address, uint16_t port, test_set &set,
              const dialect &spoken);
  std::string where() const { return listener_.where(); }
  /** What reaches the ports has changed; a waiting measurement may go on. */
  void wake();

private:
  void take(tcp::socket client);
  void serve(tcp::socket client);

  test_set &set_;
  const dialect &spoken_;
  std::weak_ptr<scpi_session> session_;
  listener listener_;
};

}  // namespace rf_tester

#endif
