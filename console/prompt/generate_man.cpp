// SPDX-License-Identifier: Apache-2.0
#include "console/prompt/generate_parts.h"

#include "console/language/command_line_words.h"
#include "console/language/commands.h"
#include "console/prompt/options.h"
#include "console/prompt/quoting.h"
#include "console/run/verdict.h"
#include "console/text/text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace console {
namespace {

/** Escapes text for troff. */
std::string troff(const std::string &text) {
  auto safe = replaced(replaced(text, "\\", "\\e"), "-", "\\-");
  return safe.starts_with('.') || safe.starts_with('\'') ? "\\&" + safe : safe;
}

/** Wraps text at 80 characters; no line looks like a troff request. */
std::string paragraph(const std::string &text) {
  std::string lines, line;
  for (auto &word : split(text, ' ')) {
    if (!line.empty() && troff(line).size() + troff(word).size() >= 80) {
      lines += troff(line) + "\n";
      line.clear();
    }
    line += fmt::format("{}{}", line.empty() ? "" : " ", word);
  }
  return lines + troff(line);
}

std::string tagged(const std::string &tag, const std::string &text) {
  return fmt::format(".TP\n.B {}\n{}\n", troff(tag), paragraph(text));
}

/** A tagged paragraph with a row for each argument, result and note. */
std::string man_function(const function &f) {
  auto text = fmt::format(".TP\n.B {}\n{}\n", troff(usage(f)), paragraph(f.help));
  auto line = [&](const std::string &words) { text += fmt::format(".br\n{}\n", paragraph(words)); };
  for (auto &a : f.arguments) {
    auto words =
        fmt::format("{}: {}", a.is_output() ? std::string(a.name) + " (output)" : upper(a.name), a.help);
    if (*a.unit) words += fmt::format(", in {}", a.unit);
    if (*a.range) words += fmt::format("; usual {}", fmt::join(split(a.range, ','), ", "));
    if (a.fallback) words += fmt::format("; left out: {}", a.fallback);
    line(words);
  }
  line(fmt::format("Result: {}", f.result_help));
  if (f.chips != ALL_CHIPS) line(fmt::format("Only on {}", chip_list(f.chips)));
  for (auto &n : f.notes) line(fmt::format("{}: {}", chip_list(n.chips), n.text));
  return text;
}

std::string man_functions() {
  std::string text, subject;
  for (auto &f : functions()) {
    if (subject != f.subject) text += fmt::format(".SS {}\n", troff(subject = f.subject));
    text += man_function(f);
  }
  return text;
}

std::string man_files() {
  return tagged("~/.orva_station_history", "what was typed at the prompt") +
         tagged("share/wifi_factory_test_orva/sessions", "sessions to start from") +
         tagged("share/wifi_factory_test_orva/phones", "descriptions of phones, broken ones among them");
}

}  // namespace

std::string manual_page() {
  std::string text =
      ".TH ORVA\\-STATION 1 2025-01-01 wifi_factory_test_orva\n.SH NAME\norva\\-station \\- test the "
      "WLAN chip of a phone, or of one made of software\n.SH SYNOPSIS\n";
  auto way = [&](const std::string &usage) {
    text += fmt::format(".B orva\\-station\n{}\n.br\n", troff(usage));
  };
  way("[OPTIONS] FUNCTION [ARGUMENT...]");
  for (auto &w : command_line_words()) way(w.usage);
  text += ".B orva\\-station\n[OPTIONS]\n.SH DESCRIPTION\n";
  text +=
      paragraph("Calls the functions of libwifi_factory_test_orva one by one, from session files, or at a "
                "prompt, and tells what each did: its result in words, driver commands, shell commands, "
                "pauses, NV items.") +
      "\n";
  for (auto &w : command_line_words()) text += tagged(w.name, w.help);
  text += ".SH OPTIONS\n";
  for (auto &o : options()) text += tagged(o.usage(), o.help);
  text += ".SH FUNCTIONS\n" + man_functions();
  text += ".SH SESSION LANGUAGE\nTcl, with each function as a command, and\n";
  for (auto &c : command_list()) text += tagged(c.usage, c.help);
  return text + ".SH EXIT STATUS\n" + paragraph(exit_status_help) + "\n.SH FILES\n" + man_files();
}

}  // namespace console
