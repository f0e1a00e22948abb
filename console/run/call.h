// SPDX-License-Identifier: Apache-2.0
// One call of a public function: arguments from words, guarded buffers, outputs as text.
#ifndef CONSOLE_CALL_H
#define CONSOLE_CALL_H

#include "console/phone/library.h"
#include "console/run/functions.h"

#include <memory>
#include <string>
#include <vector>

namespace console {

struct output {
  const argument *what;
  std::string value;
};

struct call_result {
  returned result;
  /** The result as text: a number, or a function's name. */
  std::string value;
  judgement means;
  std::vector<output> outputs;
  /** A sentence for each buffer that the function wrote outside of. */
  std::vector<std::string> overruns;
};

class prepared_call {
public:
  /** The words are the arguments; throws usage_error if they do not fit. */
  prepared_call(const function &f, const std::vector<std::string> &words);
  prepared_call(const prepared_call &) = delete;
  prepared_call &operator=(const prepared_call &) = delete;
  ~prepared_call();

  /** The library must have the function. */
  call_result run(const library &lib);

  struct given {
    const argument *what;
    std::string value;
  };
  /** Every input with the value used, given or default. */
  const std::vector<given> &inputs() const { return input_values; }
  /** A sentence for each value outside its usual range. */
  const std::vector<std::string> &remarks() const { return remark_lines; }

private:
  class buffer;
  void take_input(const argument &a, const std::string &word, slot &s);
  void make_output(const argument &a, slot &s);
  buffer &add_buffer(const argument &a, size_t size);

  const function &called;
  std::vector<slot> slots;
  std::vector<given> input_values;
  std::vector<std::string> remark_lines;
  std::vector<std::unique_ptr<buffer>> buffers;
};

}  // namespace console

#endif
