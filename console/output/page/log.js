// SPDX-License-Identifier: Apache-2.0
// The log with filters by priority, text and failure. Printing ignores the filters.

const priorities = [["V", "verbose", 2], ["D", "debug", 3], ["I", "info", 4], ["W", "warn", 5], ["E", "error", 6], ["F", "fatal", 7]];

function priorityOf(number) {
  return priorities.find(([, , n]) => n === number) ?? ["?", "other", number];
}

function logLines(session) {
  const failed = new Set(session.failures.map(f => f.item.call));
  return session.calls.flatMap(call => call.log.map((l, i) => {
    const [letter, name] = priorityOf(l.priority), text = el("span", {class: "text"}, l.text);
    const node = el("li", {class: name, id: i === 0 ? `s${session.index}-log-${call.number}` : null},
      el("span", {class: "priority", title: name}, letter),
      el("a", {href: `#${call.id}`, class: "from", title: `${callText(call)}, at ${duration(call.at_us)}`}, call.function),
      el("span", {class: "logtag"}, l.tag), text);
    return {node, text, line: l, name, failed: failed.has(call), sought: `${call.function} ${l.tag} ${l.text}`.toLowerCase()};
  }));
}

function highlight(line, words) {
  const text = line.line.text, at = words === "" ? -1 : text.toLowerCase().indexOf(words);
  if (at < 0) line.text.textContent = text;
  else line.text.replaceChildren(text.slice(0, at), el("mark", {}, text.slice(at, at + words.length)), text.slice(at + words.length));
}

function logSection(session) {
  const lines = logLines(session);
  if (lines.length === 0) return el("p", {class: "hint"}, "Nothing was logged.");
  const off = new Set(), count = el("output", {class: "count", "aria-live": "polite"});
  let words = "", failedOnly = false;
  const filter = () => {
    let shown = 0;
    for (const line of lines) {
      const seen = !off.has(line.name) && (!failedOnly || line.failed) && line.sought.includes(words);
      line.node.classList.toggle("filtered", !seen);
      highlight(line, words);
      shown += seen;
    }
    count.textContent = `${shown} of ${lines.length} lines`;
  };
  const present = priorities.filter(([, name]) => lines.some(l => l.name === name));
  const boxes = present.map(([, name]) => checkbox(`${name} (${lines.filter(l => l.name === name).length})`, true, event => {
    if (event.target.checked) off.delete(name);
    else off.add(name);
    filter();
  }));
  const search = el("input", {type: "search", placeholder: "Search the log", "aria-label": "Search the log",
    oninput: event => { words = event.target.value.trim().toLowerCase(); filter(); }});
  filter();
  session.showLog = () => {
    off.clear();
    words = search.value = "";
    failedOnly = false;
    for (const box of controls.querySelectorAll("input[type=checkbox]")) box.checked = !box.closest(".only-failed");
    filter();
  };
  const failedBox = el("span", {class: "only-failed"}, checkbox("of failed calls only", false, e => { failedOnly = e.target.checked; filter(); }));
  const controls = el("div", {class: "controls"}, el("fieldset", {class: "priorities"}, el("legend", {class: "unseen"}, "Priorities"), boxes),
    failedBox, search, count);
  return [controls, el("ol", {class: "log"}, lines.map(l => l.node))];
}
