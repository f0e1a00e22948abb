// SPDX-License-Identifier: Apache-2.0
#include "console/run/verdict.h"

#include <algorithm>

namespace console {

verdict verdict_of(const session_summary &summary) {
  if (summary.broken) return verdict::broken;
  if (summary.failed > 0) return verdict::fail;
  bool judged = summary.held > 0 || (summary.info.single_call && summary.calls > 0);
  return judged ? verdict::pass : verdict::none;
}

verdict verdict_of(const std::vector<session_summary> &all) {
  if (all.empty()) return verdict::none;
  auto worst = verdict::pass;
  for (auto &s : all) worst = std::max(worst, verdict_of(s));
  return worst;
}

const char *word_of(verdict v) {
  static constexpr const char *words[] = {"PASS", "NO VERDICT", "FAIL", "BROKEN"};
  return words[static_cast<size_t>(v)];
}

exit_status status_of(verdict v) {
  static constexpr exit_status statuses[] = {exit_status::passed, exit_status::unjudged, exit_status::failed,
                                             exit_status::misused};
  return statuses[static_cast<size_t>(v)];
}

}  // namespace console
