/* The NV store as text: to look at, to save, to load. */
#ifndef STATION_NV_VIEW_H
#define STATION_NV_VIEW_H

#include <cstdint>
#include <string>

namespace station {

/** One line for each item: number, name, contents. */
std::string nv_list();
/** One item, a parameter a line, its values by index. */
std::string nv_show(uint32_t number);
/** What changed since the last snapshot, or against a saved file: a parameter or byte of a block a line. */
std::string nv_diff(const std::string &path);
/** Writes all items to a text file that nv_load reads; gives what it did, throws usage_error. */
std::string nv_save(const std::string &path);
std::string nv_load(const std::string &path);

}  // namespace station

#endif
