/* Shell completion and the man page, made from the tables of functions, commands and options. */
#ifndef STATION_GENERATE_H
#define STATION_GENERATE_H

#include <string>

namespace station {

/** "bash", "zsh" or "man"; throws usage_error for anything else. */
std::string generate(const std::string &what);

}  // namespace station

#endif
