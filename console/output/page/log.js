// SPDX-License-Identifier: Apache-2.0
// The log with filters by priority, text and failure.

const priorities = [["V", "verbose", 2], ["D", "debug", 3], ["I", "info", 4], ["W", "warn", 5], ["E", "error", 6], ["F", "fatal", 7]];
const errorPriority = 6;

function priorityOf(number) {
  return priorities.find(([, , n]) => n === number) ?? ["?", "other", number];
}

function logCount(session) {
  return session.calls.reduce((n, c) => n + c.data.log.length, 0);
}

/** Appends the text with the sought words marked. */
function highlighted(text, words) {
  const at = words === "" ? -1 : text.toLowerCase().indexOf(words);
  return at < 0 ? text : [text.slice(0, at), el("mark", {}, text.slice(at, at + words.length)), text.slice(at + words.length)];
}

/** Many lines are logged with normal meaning at error priority; only those that explain a failure look like one. */
function logRow(session, call, number, words) {
  const logged = call.data.log[number], [letter, name] = priorityOf(logged.priority);
  return el("li", {class: isFailureLine(session, call, logged) ? `${name} failure` : name, id: number === 0 ? call.id.replace("-i", "-log-i") : null},
    el("span", {class: "priority", title: name}, letter),
    el("a", {href: `#${call.id}`, class: "from", title: `${callText(call.data)}, at ${duration(call.at_us)}`}, call.data.function),
    el("span", {class: "logtag"}, logged.tag), el("span", {class: "text"}, highlighted(logged.text, words)));
}

const soughtInLine = memo(logged => `${logged.tag} ${logged.text}`.toLowerCase());

/** The lines that the filters leave, each as its call and its number in the call. */
function linesToShow(session, {off, failedOnly, words}) {
  const found = [];
  for (const call of session.calls) {
    if (failedOnly && !call.said) continue;
    const all = call.data.function.toLowerCase().includes(words);
    call.data.log.forEach((logged, number) => {
      if (!off.has(logged.priority) && (all || soughtInLine(logged).includes(words))) found.push({call, number});
    });
  }
  return found;
}

/** Marks the calls that a failure is about, which can be an expectation after the call. */
function markFailedCalls(session) {
  for (const {item} of session.failures) if (item.call) item.call.said = true;
}

function countsByPriority(session) {
  const counts = new Map();
  for (const call of session.calls) for (const {priority} of call.data.log) counts.set(priority, (counts.get(priority) ?? 0) + 1);
  return [...counts].sort(([a], [b]) => a - b);
}

function priorityBoxes(session, off, show) {
  return countsByPriority(session).map(([priority, n]) => checkbox(`${priorityOf(priority)[1]} (${n})`, true, event => {
    if (event.target.checked) off.delete(priority);
    else off.add(priority);
    show();
  }));
}

function logSection(session) {
  const total = logCount(session), filter = {off: new Set(), failedOnly: false, words: ""};
  if (total === 0) return el("p", {class: "hint"}, "Nothing was logged.");
  const count = el("output", {class: "count log-count", "aria-live": "polite"}), host = el("div");
  let lines, list;
  const show = () => {
    lines = linesToShow(session, filter);
    list = new LongList(el("ol", {class: "log"}), lines, l => logRow(session, l.call, l.number, filter.words));
    host.replaceChildren(...list.nodes);
    count.textContent = `${lines.length} of ${total} lines`;
  };
  const boxes = priorityBoxes(session, filter.off, show);
  const failedBox = checkbox("of failed calls only", false, e => { filter.failedOnly = e.target.checked; show(); });
  const search = searchBox("Search the log", words => { filter.words = words; show(); });
  markFailedCalls(session);
  show();
  session.revealLog = call => {
    const line = () => lines.findIndex(l => l.call === call && l.number === 0);
    if (line() < 0) {
      Object.assign(filter, {failedOnly: false, words: ""});
      filter.off.clear();
      search.value = "";
      failedBox.firstChild.checked = false;
      for (const box of boxes) box.firstChild.checked = true;
      show();
    }
    list.show(line());
  };
  return [el("div", {class: "controls"}, el("fieldset", {class: "priorities"}, el("legend", {class: "unseen"}, "Priorities"), boxes),
    failedBox, search, count), host];
}
