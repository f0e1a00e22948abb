// SPDX-License-Identifier: Apache-2.0
// Transcripts that a chip's operations must leave, built from facts written down here and nowhere else.
#ifndef TESTS_RF_EXPECT_H
#define TESTS_RF_EXPECT_H

#include "tests/support/phone_fixture.h"

/// Line numbers in the driver channel's messages.
struct channel_lines {
  int first_socket, second_socket, ioctl, retry, unknown;
};
const channel_lines &lines_of(const chip_case &chip);

/// How one driver command ends.
enum outcome { GOOD, RETRIED, REFUSED, NO_SOCKET };

/// A log line: said(6, "…\n").
std::string said(int priority, const std::string &text);
/// Opening a socket; with NO_SOCKET what is said instead.
std::string opening(const chip_case &chip, outcome how = GOOD);
/// The ioctl, its retry and what is said of them.
std::string attempts(const chip_case &chip, uint32_t id, uint32_t value, outcome how = GOOD);
/// A command that an operation fills itself: no pause.
std::string direct(const chip_case &chip, uint32_t id, uint32_t value, outcome how = GOOD);
/// A value command with the pause behind it.
std::string value_command(const chip_case &chip, uint32_t id, uint32_t value, outcome how = GOOD);
/// Taking wlan0 from the framework while netcfg shows `line`.
std::string interface_taken(const chip_case &chip, const std::string &line);
/// A text in which $ stands for a result: 1 or 0.
std::string with_result(const std::string &text, outcome how);

/// Plans the end of one driver command, the nth from now.
void plan(uint32_t id, unsigned nth, outcome how);

#endif
