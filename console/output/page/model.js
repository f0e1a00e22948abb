// SPDX-License-Identifier: Apache-2.0
// Turns the events, one JSON object per line, into sessions: parts, calls, pauses, NV at each moment, failures.
"use strict";

function newSession(event, index) {
  return {
    index, name: event.session, chip: event.chip, clock: event.clock, phone: {keys: {}}, end: null, calls: [],
    parts: [{title: "", items: []}], nv: [], failures: [], judged: 0, progress: null,
  };
}

function addItem(session, item) {
  session.parts.at(-1).items.push(item);
  item.id = `s${session.index}-i${session.itemCount = (session.itemCount ?? 0) + 1}`;
  return item;
}

function judge(session, item, expectations) {
  session.judged += expectations.length;
  item.call ??= session.calls.at(-1);
  for (const e of expectations)
    if (!e.held) session.failures.push({item, expectation: e});
}

/** A call's contacts in order. A refused and retried request is one command with two attempts. */
function contactsInOrder(call, order) {
  const next = {d: 0, s: 0, p: 0, n: 0, f: 0}, list = [];
  let repeats = 0;
  for (const letter of order.order) {
    if (letter === "d" && repeats > 0) { --repeats; continue; }
    const of = {d: call.driver, s: call.shell, p: order.pauses, n: call.nv, f: call.files}[letter];
    const what = of[next[letter]++];
    if (what === undefined) continue;
    if (letter === "d") repeats = what.attempts - 1;
    list.push({kind: letter, what});
  }
  return list;
}

const handlers = {
  phone: (s, e) => { s.phone = e; },
  step: (s, e) => { s.parts.push({title: e.title, items: []}); },
  note: (s, e) => { addItem(s, {kind: "note", text: e.text}); },
  call: (s, e) => {
    const call = addItem(s, Object.assign(e, {kind: "call", number: s.calls.length + 1, contacts: [], pauses: [], units: {}}));
    s.calls.push(call);
    call.call = call;
    judge(s, call, call.expectations);
  },
  order: (s, e) => {
    const call = s.calls.at(-1);
    Object.assign(call, {pauses: e.pauses, units: e.units, contacts: contactsInOrder(call, e)});
  },
  expectation: (s, e) => { judge(s, addItem(s, Object.assign(e, {kind: "expectation"})), [e]); },
  error: (s, e) => { s.failures.push({item: addItem(s, Object.assign(e, {kind: "error"})), error: e.text}); },
  nv_state: (s, e) => { s.nv.push({items: e.items, call: s.calls.at(-1) ?? null}); },
  end: (s, e) => { s.end = e; },
};

function readEvents(text) {
  const report = {made: "", sessions: [], summary: null};
  for (const line of text.split("\n")) {
    if (line === "") continue;
    const event = JSON.parse(line), session = report.sessions.at(-1);
    if (event.type === "report") report.made = event.made;
    else if (event.type === "begin") report.sessions.push(newSession(event, report.sessions.length));
    else if (event.type === "summary") report.summary = event;
    else if (session) handlers[event.type]?.(session, event);
  }
  return report;
}

const verdictWords = {pass: "PASS", fail: "FAIL", none: "NO VERDICT", broken: "BROKEN", cut: "INCOMPLETE"};

/** The console's own verdict; "cut" if the end is missing. */
function verdictKind(end) {
  return end ? Object.keys(verdictWords).find(kind => verdictWords[kind] === end.verdict) : "cut";
}

function sessionVerdict(session) {
  return verdictKind(session.end);
}

function reportVerdict(report) {
  return verdictKind(report.summary);
}

function callText(call) {
  const words = Object.values(call.arguments).map(v => v === "" ? "{}" : String(v));
  while (["null", "scratch"].includes(words.at(-1))) words.pop();  // defaults
  return [call.function, ...words].join(" ");
}

function place(item) {
  return [item.file && `${item.file}:${item.line}`, item.point].filter(Boolean).join(", ");
}

/** The values that queries gave during the session, each once: a call's output, or else the driver's answer. */
function answersOf(session, name) {
  const outputs = session.calls.flatMap(c => c.outputs[name] ? [c.outputs[name]] : []);
  const answers = session.calls.flatMap(c => c.driver).filter(d => d.name === name && d.answer !== "").map(d => d.answer);
  return [...new Set(outputs.length > 0 ? outputs : answers)].join(", ");
}

function duration(us) {
  const short = n => String(Number(n.toPrecision(4)));
  if (us === 0) return "0 s";
  if (us >= 1e6) return `${short(us / 1e6)} s`;
  if (us >= 1000) return `${short(us / 1000)} ms`;
  return `${us} µs`;
}
