// SPDX-License-Identifier: Apache-2.0
// Serves the cables of virtual phones, one connection for each.
#ifndef RF_TESTER_SERVER_CABLE_SERVER_H
#define RF_TESTER_SERVER_CABLE_SERVER_H

#include "rf_tester/instrument/cable.h"
#include "rf_tester/server/listener.h"

namespace rf_tester {

class cable_server {
public:
  /** `changed` is called when what reaches a port may have changed. */
  cable_server(asio::io_context &io, const std::string &address, uint16_t port, ports &all,
               std::function<void()> changed);
  std::string where() const { return listener_.where(); }

private:
  void take(tcp::socket phone);

  ports &ports_;
  std::function<void()> changed_;
  listener listener_;
};

}  // namespace rf_tester

#endif
