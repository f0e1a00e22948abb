// SPDX-License-Identifier: Apache-2.0
#include "shell.h"

#include "faults.h"
#include "phone.h"
#include "radio_driver.h"
#include "radio_keys.h"
#include "state.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace phone {
namespace {

using words = std::vector<std::string>;

enum { usage_error = 1, syntax_error = 2, not_found = 127, client_failed = 255 };

// ---- Programs --------------------------------------------------------------------------------------------

int set_interface(bool up) {
  auto &radio = state().radio;
  bool was_up = radio.up;
  int result = radio_interface(&radio, up, static_cast<uint64_t>(phone_now_us()));
  if (!was_up && radio.up) rf::driver_came_up();
  rf::radio_changed();
  return result == 0 ? 0 : usage_error;
}

int ifconfig(const words &line, const std::string &, std::string &output) {
  bool wlan0 = line.size() >= 2 && line[1] == "wlan0" && state().radio.driver_loaded;
  if (!wlan0) {
    output = "ifconfig: no such device\n";
    return usage_error;
  }
  if (line.size() == 3 && (line[2] == "up" || line[2] == "down")) return set_interface(line[2] == "up");
  return line.size() == 2 ? 0 : usage_error;
}

/// The framework takes the interface up when it takes control of it, and down when it releases it.
int svc(const words &line, const std::string &, std::string &output) {
  bool enable = line.size() == 3 && line[2] == "enable";
  bool disable = line.size() == 3 && line[2] == "disable";
  if (line.size() != 3 || line[1] != "wifi" || (!enable && !disable)) {
    output = "usage: svc wifi [enable|disable]\n";
    return usage_error;
  }
  state().config.wifi_service = enable;
  set_interface(enable);
  return 0;
}

std::string netcfg_line(const char *name, bool up, const char *address, unsigned flags,
                        const std::string &mac) {
  char line[160];
  snprintf(line, sizeof(line), "%-8s %-4s %39s  0x%08x %s\n", name, up ? "UP" : "DOWN", address, flags,
           mac.c_str());
  return line;
}

int netcfg(const words &, const std::string &, std::string &output) {
  auto &shared = state();
  if (shared.config.netcfg[0]) {
    output = shared.config.netcfg;
    return 0;
  }
  char mac[32];
  radio_get(&shared.radio, "identity.mac", mac, sizeof(mac));
  bool up = shared.radio.up;
  output = netcfg_line("lo", true, "127.0.0.1/8", 0x49, "00:00:00:00:00:00");
  if (shared.radio.driver_loaded) output += netcfg_line("wlan0", up, "0.0.0.0/0", up ? 0x1003 : 0x1002, mac);
  return 0;
}

int grep(const words &line, const std::string &input, std::string &output) {
  if (line.size() != 2) return syntax_error;
  for (size_t at = 0; at < input.size();) {
    size_t end = std::min(input.find('\n', at), input.size());
    std::string text = input.substr(at, end - at);
    if (text.find(line[1]) != text.npos) output += text + "\n";
    at = end + 1;
  }
  return output.empty() ? 1 : 0;
}

bool is_address(const std::string &text) {
  if (text.size() != 17) return false;
  for (size_t i = 0; i < text.size(); i++) {
    if (i % 3 == 2 ? text[i] != ':' : !isxdigit(static_cast<unsigned char>(text[i]))) return false;
  }
  return true;
}

bool roam(const std::string &target) {
  auto &radio = state().radio;
  return radio.ap_connected && is_address(target) && radio_set(&radio, "ap.bssid", target.c_str()) == 0;
}

bool is_age(const std::string &text) {
  int32_t age = 0;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), age);
  return error == std::errc{} && end == text.data() + text.size();
}

int supplicant_client(const words &line, const std::string &, std::string &output) {
  const std::string command = line.size() > 1 ? line[1] : "";
  bool good = ((command == "scan" || command == "status") && line.size() == 2) ||
              (command == "roam" && line.size() == 3 && roam(line[2])) ||
              (command == "bss_expire_age" && line.size() == 3 && is_age(line[2]));
  good = good && state().config.supplicant && state().radio.driver_loaded;
  output = good ? "OK\n" : "FAIL\n";
  return good ? 0 : client_failed;
}

int succeed(const words &, const std::string &, std::string &) { return 0; }
int fail(const words &, const std::string &, std::string &) { return 1; }

int leave(const words &line, const std::string &, std::string &) {
  return line.size() > 1 ? atoi(line[1].c_str()) & 255 : 0;
}

int echo(const words &line, const std::string &, std::string &output) {
  for (size_t i = 1; i < line.size(); i++) output += (i > 1 ? " " : "") + line[i];
  output += "\n";
  return 0;
}

constexpr struct {
  const char *name;
  int (*run)(const words &line, const std::string &input, std::string &output);
} programs[] = {
    {"ifconfig", ifconfig},
    {"svc", svc},
    {"netcfg", netcfg},
    {"grep", grep},
    {"wpa_cli_orva", supplicant_client},
    {"true", succeed},
    {":", succeed},
    {"false", fail},
    {"exit", leave},
    {"echo", echo},
};

auto find_program(std::string_view name) {
  constexpr std::string_view folder = "/system/bin/";
  if (name.starts_with(folder)) name.remove_prefix(folder.size());
  for (auto &program : programs) {
    if (name == program.name) return program.run;
  }
  return decltype(programs[0].run){nullptr};
}

// ---- Command lines ---------------------------------------------------------------------------------------

/// Splits a line into the words of each program of its pipeline. Returns nothing for lines beyond this shell:
/// lists, redirections, substitutions, an open quotation.
class splitter {
public:
  std::optional<std::vector<words>> split(std::string_view line) {
    for (char c : line) {
      if (!take(c)) return std::nullopt;
      if (comment_) break;
    }
    if (quote_) return std::nullopt;
    end_word();
    return pipeline_;
  }

private:
  bool take(char c) {
    if (quote_) return take_quoted(c);
    if (c == '\'' || c == '"') {
      quote_ = c;
      in_word_ = true;
    } else if (c == ' ' || c == '\t') {
      end_word();
    } else if (c == '|') {
      return next_program();
    } else if (c == '#' && !in_word_) {
      comment_ = true;
    } else {
      return add(c, "\n;&<>()$`\\*?[~");
    }
    return true;
  }

  bool take_quoted(char c) {
    if (c != quote_) return add(c, quote_ == '"' ? "$`\\" : "");
    quote_ = 0;
    return true;
  }

  bool add(char c, const char *unsupported) {
    if (strchr(unsupported, c)) return false;
    word_ += c;
    in_word_ = true;
    return true;
  }

  bool next_program() {
    end_word();
    if (pipeline_.back().empty()) return false;
    pipeline_.emplace_back();
    return true;
  }

  void end_word() {
    if (in_word_) pipeline_.back().push_back(word_);
    word_.clear();
    in_word_ = false;
  }

  std::vector<words> pipeline_{1};
  std::string word_;
  char quote_ = 0;
  bool in_word_ = false, comment_ = false;
};

int run_pipeline(const std::vector<words> &pipeline, std::string &output) {
  int status = 0;
  for (auto &line : pipeline) {
    std::string input = std::move(output);
    output.clear();
    auto program = line.empty() ? succeed : find_program(line[0]);
    status = program ? program(line, input, output) : static_cast<int>(not_found);
  }
  return status;
}

bool is_known(const std::optional<std::vector<words>> &pipeline) {
  if (!pipeline) return false;
  for (auto &line : *pipeline) {
    if (!line.empty() && !find_program(line[0])) return false;
  }
  return true;
}

/// Runs the line in a child of its own, so that its status can be traced.
int run_on_host(const std::string &command, std::string &output) {
  int ends[2];
  if (pipe(ends)) return not_found;
  pid_t child = vfork();
  if (child == 0) {
    dup2(ends[1], STDOUT_FILENO);
    execle("/bin/sh", "sh", "-c", command.c_str(), nullptr, environ);
    _exit(not_found);
  }
  close(ends[1]);
  char part[4096];
  for (ssize_t got; (got = read(ends[0], part, sizeof(part))) > 0 || (got < 0 && errno == EINTR);)
    if (got > 0) output.append(part, static_cast<size_t>(got));
  close(ends[0]);
  int status = not_found << 8;
  while (child > 0 && waitpid(child, &status, 0) < 0 && errno == EINTR) {}
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

int run_shell(const std::string &command, std::string &output) {
  verdict judged = use_named("shell:" + command);
  if (judged.fails) return judged.value & 255;
  auto pipeline = splitter().split(command);
  if (is_known(pipeline)) return run_pipeline(*pipeline, output);
  if (state().config.host_shell) return run_on_host(command, output);
  return pipeline ? run_pipeline(*pipeline, output) : static_cast<int>(syntax_error);
}

}  // namespace phone
