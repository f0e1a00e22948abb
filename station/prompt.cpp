#include "prompt.h"

#include "interpreter.h"
#include "text.h"

#include <cstdlib>
#include <editline/readline.h>
#include <fmt/format.h>
#include <iostream>
#include <unistd.h>

namespace station {
namespace {}  // namespace

void run_prompt(session &s) {
  interpreter in(s);
  std::string line;
  while (std::getline(std::cin, line)) {
    if (trim_end(line) == "exit") break;
    try {
      auto text = in.eval(line);
      if (!text.empty()) fmt::print("{}\n", text);
    } catch (const usage_error &e) { fmt::print(stderr, "{}\n", e.message); }
  }
}

}  // namespace station
