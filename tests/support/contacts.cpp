// SPDX-License-Identifier: Apache-2.0
#include "tests/support/contacts.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "virtual_phone/phone.h"

namespace support {

std::string hex(const uint8_t *bytes, size_t size) {
  std::string text;
  char two[3];
  for (size_t i = 0; i < size; i++) {
    snprintf(two, sizeof two, "%02x", bytes[i]);
    text += two;
  }
  return text;
}

std::string quoted(const std::string &text) {
  std::string all = "\"";
  for (const char c : text) {
    char escaped[5];
    if (c == '\n') {
      all += "\\n";
    } else if (c == '"' || c == '\\') {
      all += {'\\', c};
    } else if (c < 0x20 || c > 0x7E) {
      snprintf(escaped, sizeof escaped, "\\x%02x", static_cast<unsigned char>(c));
      all += escaped;
    } else {
      all += c;
    }
  }
  return all + "\"";
}

namespace {

constexpr size_t HEADER_SIZE = 8, RECORD_SIZE = 264;

/// Without the zeros at the end; "0" where nothing is left.
std::string hex_trimmed(const uint8_t *bytes, size_t size) {
  while (size > 0 && bytes[size - 1] == 0) size--;
  return size == 0 ? "0" : hex(bytes, size);
}

/// A text with zeros after it, or else the bytes.
std::string item_text(const uint8_t *item, size_t size) {
  const auto *end = static_cast<const uint8_t *>(memchr(item, 0, size));
  if (end == nullptr || !std::all_of(end, item + size, [](uint8_t byte) { return byte == 0; })) {
    return "hex " + hex(item, size);
  }
  return quoted(reinterpret_cast<const char *>(item));
}

std::string outcome(int64_t result, int32_t error) {
  if (result >= 0) return " -> " + std::to_string(result);
  return " -> " + std::to_string(result) + (error != 0 ? " " + std::string(strerrorname_np(error)) : "");
}

/// Nothing where the result is the usual one.
std::string unless(int64_t usual, const struct phone_event &event) {
  return event.result == usual ? "" : outcome(event.result, event.error);
}

std::string ioctl_line(const struct phone_event &event) {
  const auto *sent = static_cast<const uint8_t *>(event.data);
  const uint8_t *left = sent + RECORD_SIZE;
  std::string line = "ioctl " + hex(sent, 4) + " " + hex(sent + 4, 4) + " " +
                     hex_trimmed(sent + HEADER_SIZE, RECORD_SIZE - HEADER_SIZE);
  if (memcmp(sent, left, RECORD_SIZE) != 0)
    line += " => " + hex_trimmed(left + HEADER_SIZE, RECORD_SIZE - HEADER_SIZE);
  return line + unless(0, event);
}

std::string log_line(const struct phone_event &event, const std::string &chip) {
  std::string tag = "WIFI_ORVA_FAC_TEST_" + chip.substr(2);
  for (char &c : tag) c = static_cast<char>(toupper(c));
  const std::string other = tag == event.name ? "" : "[" + std::string(event.name) + "] ";
  return "log " + std::to_string(event.number[0]) + " " + other + quoted(event.text);
}

std::string nv_line(const char *direction, const struct phone_event &event) {
  const std::string item =
      event.data == nullptr ? "" : " " + item_text(static_cast<const uint8_t *>(event.data), event.size);
  return std::string("nv ") + direction + " " + std::to_string(event.number[0]) + " " + event.name + item +
         unless(0, event);
}

std::string line_of(const struct phone_event &event, const std::string &chip) {
  switch (event.kind) {
  case PHONE_SOCKET: return "socket" + (event.result > 0 ? "" : outcome(event.result, event.error));
  case PHONE_IOCTL: return ioctl_line(event);
  case PHONE_CLOSE: return event.number[0] == 0 ? "close 0" : "close" + unless(0, event);
  case PHONE_FORK: return "fork" + (event.result > 0 ? "" : outcome(event.result, event.error));
  case PHONE_EXEC: return "sh -c " + quoted(event.text) + outcome(event.result, event.error);
  case PHONE_WAIT:
    return event.result < 0 ? "waitpid" + outcome(event.result, event.error)
                            : "waitpid: status " + std::to_string(event.number[0]);
  case PHONE_POPEN: return "popen " + quoted(event.text) + unless(1, event);
  case PHONE_FREAD:
    return "fread" + outcome(event.result, event.error) + " " +
           quoted(std::string(static_cast<const char *>(event.data), event.size));
  case PHONE_PCLOSE: return "pclose" + unless(0, event);
  case PHONE_OPEN: return "open " + quoted(event.text) + (event.result >= 0 ? "" : outcome(-1, event.error));
  case PHONE_WRITE:
    return "write " + quoted(std::string(static_cast<const char *>(event.data), event.size)) +
           (event.result >= 0 ? "" : outcome(-1, event.error));
  case PHONE_SLEEP: return "pause " + std::to_string(event.number[0]) + " us";
  case PHONE_LOG: return log_line(event, chip);
  case PHONE_SUBCHIP: return "subchip" + outcome(event.result, 0);
  case PHONE_NV_READ: return nv_line("read", event);
  case PHONE_NV_WRITE: return nv_line("write", event);
  case PHONE_SECURE: break;
  }
  return std::string(event.name) + outcome(event.result, 0);
}

/// A child runs its command while the parent waits: here the command always comes directly after the fork.
void put_commands_after_forks(std::vector<std::string> &all) {
  const auto is_command = [](const std::string &line) { return line.starts_with("sh -c"); };
  for (auto fork = all.begin(); fork != all.end(); ++fork) {
    if (*fork != "fork") continue;
    const auto command = std::find_if(fork, all.end(), is_command);
    if (command != all.end()) std::rotate(fork + 1, command, command + 1);
  }
}

}  // namespace

std::vector<std::string> contacts(const std::string &chip) {
  std::vector<std::string> all;
  for (size_t i = 0; const struct phone_event *event = phone_event(i); i++) {
    all.push_back(line_of(*event, chip));
  }
  put_commands_after_forks(all);
  return all;
}

bool matches(const std::string &expected, const std::string &line, const std::string &chip) {
  static const std::string any = "{*}", name = "{chip}";
  const size_t mark = std::min(expected.find(any), expected.find(name));
  if (mark == std::string::npos) return expected == line;
  if (line.compare(0, mark, expected, 0, mark) != 0) return false;
  if (expected.compare(mark, name.size(), name) == 0) {
    const std::string rest = expected.substr(mark + name.size());
    return line.compare(mark, chip.size(), chip) == 0 && matches(rest, line.substr(mark + chip.size()), chip);
  }
  const std::string rest = expected.substr(mark + any.size());
  for (size_t at = mark; at <= line.size(); at++) {
    if (matches(rest, line.substr(at), chip)) return true;
  }
  return false;
}

}  // namespace support
