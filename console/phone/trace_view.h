/* The last call's contacts with the phone, one a line, and its log. */
#ifndef STATION_TRACE_VIEW_H
#define STATION_TRACE_VIEW_H

#include <string>

namespace station {

/** The first contacts of the last call, so many. */
std::string trace_text(size_t count);
/** Log lines of the last call from this priority on, as logcat's brief format shows them. */
std::string log_text(int least_priority);

}  // namespace station

#endif
