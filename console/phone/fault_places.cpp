// SPDX-License-Identifier: Apache-2.0
#include "console/phone/fault_places.h"

#include "console/text/text.h"

namespace console {

std::string fault_places_text() {
  std::vector<std::string> all;
  for (auto &place : fault_places)
    if (*place.example) all.push_back(std::string(place.kind) + place.example);
  return either(all);
}

}  // namespace console
