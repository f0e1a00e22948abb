// SPDX-License-Identifier: Apache-2.0
// What the library did to the phone, as text: the notation of the transcripts in tests/golden and of every
// expectation in tests/library. One contact with the phone a line, in order:
//
//   subchip -> 1                     the platform was asked which chip it has
//   socket                           a driver socket was opened: "socket -> 0" if that gave descriptor 0,
//                                    "socket -> -1 EMFILE" if it failed
//   ioctl 02080000 0b000000 01       a driver command: magic, id and data of its record in hexadecimal
//                                    bytes, without trailing zeros of the data ("0": all are zero);
//                                    "=> 05" follows if the driver changed the data, "-> -1 EIO" if it
//                                    refused
//   close                            "close 0" of descriptor 0, "close -> -1 EBADF" if it failed
//   fork, waitpid: status 256        of a shell command; "-> -1 ECHILD" if it failed
//   sh -c "ifconfig wlan0 up" -> 0   the command and its exit status, always directly after its fork
//   popen "netcfg", fread -> 9 "wlan0 UP\n", pclose
//   open "/sys/node", write "4"      of the debug node
//   pause 1000 us                    sleep and usleep
//   log 6 "text\n"                   a log line with its priority; a tag other than the chip's own precedes
//                                    the text, in brackets
//   nv read 340 NAME "text"          an NV item, or its bytes if it is not a text; "-> 2" if the service
//                                    failed; "nv write" alike
//   memcpy_s -> 22                   a bounds-checked function that failed
//
// Expectations may leave parts open:
//
//   {chip}                           the name of the chip under test
//   {*}                              any text within the line, also none
#ifndef TESTS_SUPPORT_CONTACTS_H
#define TESTS_SUPPORT_CONTACTS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace support {

/// Every contact since the trace was cleared.
std::vector<std::string> contacts(const std::string &chip);

/// Whether a line is as an expectation wants it.
bool matches(const std::string &expected, const std::string &line, const std::string &chip);

std::string hex(const uint8_t *bytes, size_t size);
/// In quotes, with \n, \", \\ and \x.. for what cannot be printed.
std::string quoted(const std::string &text);

}  // namespace support

#endif
