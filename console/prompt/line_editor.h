// SPDX-License-Identifier: Apache-2.0
// Lines typed on a terminal: editing, history and completion.
#ifndef CONSOLE_LINE_EDITOR_H
#define CONSOLE_LINE_EDITOR_H

#include "console/language/completion.h"

#include <functional>
#include <histedit.h>
#include <memory>
#include <optional>
#include <string>

namespace console {

class line_editor {
public:
  /** Completes the text up to the cursor. */
  using completer = std::function<completion(const std::string &text)>;

  /** The editor writes to `screen`. History is kept in a file; "" for none. */
  line_editor(FILE *screen, std::string history_path, completer complete);
  /** Saves the history. */
  ~line_editor();
  line_editor(const line_editor &) = delete;
  line_editor &operator=(const line_editor &) = delete;

  /** Edits one line; nothing at the end of the input or after a signal. */
  std::optional<std::string> edit(const std::string &prompt);

private:
  static line_editor &of(EditLine *editor);
  static unsigned char on_tab(EditLine *editor, int key);
  unsigned char complete_here();
  unsigned char complain_once(const std::string &text);
  void list(const completion &found);
  void bind_keys();
  /** The line with its end; null at the end of the input or after a signal. */
  const char *edit_line(int &size);

  FILE *out;
  std::string history_file, shown_prompt, complained_about;
  completer completing;
  std::unique_ptr<EditLine, decltype(&el_end)> editor;
  std::unique_ptr<History, decltype(&history_end)> past;
};

}  // namespace console

#endif
