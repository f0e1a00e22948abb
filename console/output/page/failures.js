// SPDX-License-Identifier: Apache-2.0
// What failed: first the finding in plain words, then every failure, equal ones together.

/** Numbers differ between the points of a sweep; what is left tells one failure from another. */
const withoutNumbers = memo(text => text.replace(/-?\d+(\.\d+)?/g, "#"));

function causesOf(item) {
  return item.call?.data.causes ?? [];
}

function groupKey({item, expectation, error}) {
  if (error) return `error ${error}`;
  const causes = causesOf(item).map(c => [c.what, c.found, c.cause].join());
  return withoutNumbers([lineOf(item), item.call?.data.function, expectation.what, ...causes].join("\n"));
}

/** A session's failures, those of one line with one cause together, in the order of their first one. */
function failureGroups(session) {
  const groups = new Map();
  for (const failure of session.failures) {
    const key = groupKey(failure);
    if (groups.has(key)) groups.get(key).push(failure);
    else groups.set(key, [failure]);
  }
  return [...groups.values()];
}

/** What the session said after its last call: its conclusion. */
function findingsOf(session) {
  if (session.failures.length === 0) return [];
  const last = session.items.findLastIndex(i => i.kind !== "note");
  return session.items.slice(last + 1, last + 21).map(i => i.data.text);
}

/** Texts that calls log at error priority although nothing is wrong. */
function harmlessTexts(session) {
  session.harmless ??= new Set([...new Set(session.calls.filter(c => !hasFailed(c)).map(c => c.data.log))].flat()
    .filter(l => l.priority >= errorPriority).map(l => l.text));
  return session.harmless;
}

/** A call fails if an expectation of it does, or if it gives a failure that nobody expected. */
function hasFailed(call) {
  return Boolean(call.failed) || (call.data.outcome === "bad" && call.data.expectations.length === 0);
}

function isFailureLine(session, call, logged) {
  return logged.priority >= errorPriority && hasFailed(call) && !harmlessTexts(session).has(logged.text);
}

/** The errors that the library logged in a call or, without errors, all its log lines. */
function reasons(session, call) {
  const lines = call?.data.log ?? [], errors = lines.filter(l => isFailureLine(session, call, l));
  return (errors.length ? errors : lines).slice(-3).map(l => el("code", {class: "reason"}, l.text));
}

function causeLines(item) {
  return causesOf(item).map(c => el("p", {class: "cause"}, el("b", {}, c.cause), ". ", el("code", {}, `${c.what}: ${c.found}`), ". ",
    el("b", {}, "Cure: "), `${c.cure}.`));
}

function distinct(group, value) {
  return [...new Set(group.map(value))];
}

function failureText(group) {
  const {item, expectation: e, error} = group[0];
  if (error) return [el("b", {}, "The session stopped: "), error];
  const calls = item.call ? distinct(group, f => callText(f.item.call.data)) : [""], whats = distinct(group, f => f.expectation.what);
  const meaning = e.what === "result" && item.data.meaning ? ` (${item.data.meaning})` : "";
  return [el("code", {class: "call"}, calls.length === 1 ? calls[0] : item.call.data.function), " ",
    el("b", {}, whats.length === 1 ? e.what : withoutNumbers(e.what)), " is ",
    el("code", {class: "bad"}, withUnit(summaryOf(distinct(group, f => f.expectation.got)), e.unit ?? item.data.units?.[e.what])), meaning,
    ", limits ", el("code", {}, summaryOf(distinct(group, f => f.expectation.limits)))];
}

function stepLink(item, text) {
  return el("a", {href: `#${item.id}`, class: "tolog"}, text);
}

/** Where the failures are; each of several on demand. */
function whereText(session, group) {
  const first = group[0].item, last = group.at(-1).item, many = report.sessions.length > 1;
  const points = group.length > 1 && first.point ? ` to ${last.point}` : "";
  const line = el("p", {class: "where"}, many ? `${session.chip}, ` : "", place(first), points, " ", stepLink(first, "Show the step"));
  if (group.length === 1) return line;
  return [line, fold({class: "each"}, `Each of the ${group.length}`, false, () =>
    new LongList(el("ol"), group, f => el("li", {}, stepLink(f.item, f.item.point || lineOf(f.item) || f.item.id), " ",
      f.expectation && el("code", {class: "bad"}, f.expectation.got))).nodes)];
}

function failureCard(session, group, before) {
  const {item} = group[0], told = item.call && before?.[0].item.call === item.call;  // a call's failures share one reason
  return el("li", {}, told ? "" : causeLines(item),
    el("p", {}, group.length > 1 && el("b", {class: "times"}, `${group.length} × `), failureText(group)),
    told ? "" : reasons(session, item.call), whereText(session, group));
}

/** Each finding once, with the sessions that came to it. */
function findingLines() {
  const found = new Map();
  for (const session of report.sessions)
    for (const text of findingsOf(session)) found.set(text, [...found.get(text) ?? [], `${session.name} on ${session.chip}`]);
  return [...found].map(([text, names]) => el("p", {class: "finding"}, text,
    report.sessions.length > 1 && el("span", {class: "where"}, ` ${summaryOf(names)}`)));
}

function failuresSection() {
  const cards = report.sessions.flatMap(session => failureGroups(session).map((group, i, all) => ({session, group, before: all[i - 1]})));
  const words = reportVerdict(report) === "pass" ? "Nothing failed." : "No expectation failed.";
  const list = () => new LongList(el("ol", {class: "failures"}), cards, c => failureCard(c.session, c.group, c.before)).nodes;
  return el("section", {id: "failures", class: `card ${cards.length ? "has-failures" : ""}`, "aria-labelledby": "failures-title"},
    el("h2", {id: "failures-title"}, "What failed"), findingLines(), cards.length ? list() : el("p", {}, words));
}
