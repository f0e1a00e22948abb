// SPDX-License-Identifier: Apache-2.0
// On a phone there is no line.
#include "console/line/line.h"
#include "console/text/usage_error.h"

namespace console {

exit_status run_line(const line_options &) {
  throw usage_error{"line: a line runs on the station's computer; use orva-station there."};
}

}  // namespace console
