/* Which functions a loaded library leaves to the phone, and which of them the phone does not have. */
#ifndef STATION_PLATFORM_FUNCTIONS_H
#define STATION_PLATFORM_FUNCTIONS_H

#include <string>
#include <vector>

namespace station {

/** Undefined functions of the library that this address lies in, which nothing loaded defines. */
std::vector<std::string> undefined_functions(const void *inside);
/** The function that a loader's message names as undefined; "" where it tells of something else. */
std::string undefined_in_message(const std::string &message);

}  // namespace station

#endif
