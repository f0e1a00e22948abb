// SPDX-License-Identifier: Apache-2.0
#include "console/prompt/generate.h"

#include "console/language/command_line_words.h"
#include "console/prompt/generate_parts.h"
#include "console/text/usage_error.h"

#include <algorithm>
#include <string_view>

namespace console {
namespace {

struct product {
  std::string_view name;
  std::string (*make)();
};
constexpr product products[] = {{"bash", bash_completion}, {"zsh", zsh_completion}, {"man", manual_page}};
static_assert(std::ranges::equal(products, generated_names, {}, &product::name),
              "what can be generated is what the command line offers");

}  // namespace

std::string generate(const std::string &what) {
  auto found = std::ranges::find(products, what, &product::name);
  if (found == std::end(products))
    throw usage_error{"generate: give bash or zsh for a completion, or man for the page of the manual."};
  return found->make();
}

}  // namespace console
