/* The session language's own commands, as one table. */
#ifndef STATION_COMMANDS_H
#define STATION_COMMANDS_H

#include "interpreter.h"

#include <span>

namespace station {

struct command {
  command_help help;
  size_t least;
  size_t most;
  std::string (*run)(interpreter &in, const std::vector<std::string> &words);
};

std::span<const command> commands();

/** What `nv` does, on the prompt and on the command line: gives what it shows. */
std::string run_nv(const std::vector<std::string> &words, const interpreter *in);

}  // namespace station

#endif
