// SPDX-License-Identifier: Apache-2.0
// Turns the page's data into sessions: parts, calls, pauses, NV at each moment, failures.
"use strict";

const verdictWords = {pass: "PASS", fail: "FAIL", none: "NO VERDICT", broken: "BROKEN", cut: "INCOMPLETE"};

/** Unpacks the data and hands over each event with its own numbers. Equal values are one object, so they stay as they are. */
function eachEvent(text, take) {
  const values = [];
  const of = numbers => numbers.map(i => values[i]);
  const object = entry => {
    const keys = values[entry.keys];
    return Object.fromEntries(entry.values.map((v, i) => [keys[i], values[v]]));
  };
  for (const entry of JSON.parse(text)) {
    if (Array.isArray(entry)) take(values[entry[0]], entry[1], entry[2]);
    else if (entry === null || typeof entry !== "object") values.push(entry);
    else values.push(entry.list ? of(entry.list) : object(entry));
  }
}

function newSession(event, index) {
  return {
    index, data: event, name: event.session, chip: event.chip, clock: event.clock, phone: {keys: {}}, end: null, calls: [],
    items: [], parts: [{title: "", items: [], failed: 0}], nv: [], failures: [], judged: 0, point: "",
  };
}

/** An item is what a part lists. `data` is shared with equal items. */
function addItem(session, kind, data) {
  const part = session.parts.at(-1);
  const item = {kind, data, part, point: session.point, call: session.calls.at(-1), id: `s${session.index}-i${session.items.length}`};
  session.items.push(item);
  part.items.push(item);
  return item;
}

function addFailure(session, failure) {
  session.failures.push(failure);
  failure.item.failed = true;
  ++failure.item.part.failed;
}

function judge(session, item, expectations) {
  session.judged += expectations.length;
  for (const expectation of expectations)
    if (!expectation.held) addFailure(session, {item, expectation});
}

const handlers = {
  phone: (s, e) => { s.phone = e; },
  point: (s, e) => { s.point = e.point; },
  step: (s, e) => { s.parts.push({title: e.title, items: [], failed: 0}); },
  note: (s, e) => { addItem(s, "note", e); },
  call: (s, e, at_us, phone_us) => {
    const call = Object.assign(addItem(s, "call", e), {at_us, phone_us, number: s.calls.length + 1});
    s.calls.push(call);
    call.call = call;
    judge(s, call, e.expectations);
  },
  expectation: (s, e) => { judge(s, addItem(s, "expectation", e), [e]); },
  error: (s, e) => { addFailure(s, {item: addItem(s, "error", e), error: e.text}); },
  nv_state: (s, e) => { s.nv.push({items: e.items, call: s.calls.at(-1) ?? null}); },
  end: (s, e) => { s.end = e; },
};

function readEvents(text) {
  const report = {made: "", sessions: [], summary: null};
  eachEvent(text, (event, ...own) => {
    if (event.type === "report") report.made = event.made;
    else if (event.type === "begin") report.sessions.push(newSession(event, report.sessions.length));
    else if (event.type === "summary") report.summary = event;
    else if (report.sessions.length > 0) handlers[event.type]?.(report.sessions.at(-1), event, ...own);
  });
  return report;
}

/** A call's contacts in order. A refused and retried request is one command with two attempts. */
const contactsOf = memo(data => {
  const next = {d: 0, s: 0, p: 0, n: 0, f: 0}, list = [];
  let repeats = 0;
  for (const kind of data.order) {
    if (kind === "d" && repeats > 0) { --repeats; continue; }
    const of = {d: data.driver, s: data.shell, p: data.pauses, n: data.nv, f: data.files}[kind];
    const what = of[next[kind]++];
    if (what === undefined) continue;
    if (kind === "d") repeats = what.attempts - 1;
    list.push({kind, what});
  }
  return list;
});

/** What a call gave, in the order to show: the result, the outputs, then anything else that was expected of it. */
const checksOf = memo(data => {
  const judged = new Map(data.expectations.map(e => [e.what, e]));
  const given = new Map([["result", data.result], ...Object.entries(data.outputs)]);
  return [...new Set([...given.keys(), ...judged.keys()])].map(what => {
    const e = judged.get(what);
    return {what, got: String(e ? e.got : given.get(what)), limits: e?.limits ?? null, held: e?.held ?? null, unit: data.units[what] ?? ""};
  });
});

/** "power at mhz 2442 rate mcs7" */
function titleOf({what, condition = {}}) {
  const at = Object.entries(condition).flat();
  return at.length > 0 ? `${what} at ${at.join(" ")}` : what;
}

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

const callText = memo(data => {
  const words = Object.values(data.arguments).map(v => v === "" ? "{}" : String(v));
  while (["null", "scratch"].includes(words.at(-1))) words.pop();  // defaults
  return [data.function, ...words].join(" ");
});

function lineOf(item) {
  return item.data.file ? `${item.data.file}:${item.data.line}` : "";
}

function place(item) {
  return [lineOf(item), item.point].filter(Boolean).join(", ");
}

/** The values that queries gave during the session, each once: a call's output, or else the driver's answer. */
function answersOf(session, name) {
  const outputs = new Set(), answers = new Set();
  for (const {data} of session.calls) {
    if (data.outputs[name]) outputs.add(data.outputs[name]);
    for (const d of data.driver) if (d.name === name && d.answer !== "") answers.add(d.answer);
  }
  return summaryOf([...outputs.size > 0 ? outputs : answers]);
}

function isNumber(text) {
  return text !== "" && Number.isFinite(Number(text));
}

/** A few values as they are; many as their range or their count. */
function summaryOf(values) {
  if (values.length <= 3) return values.map(v => v === "" ? "nothing" : v).join(", ");
  if (!values.every(isNumber)) return `${values.slice(0, 2).join(", ")} and ${values.length - 2} more`;
  const numbers = values.map(Number);
  return `${lowest(numbers)}..${highest(numbers)}`;
}

function plural(n, word) {
  return `${n} ${word}${n === 1 ? "" : "s"}`;
}

function withUnit(value, unit) {
  return unit ? `${value} ${unit}` : String(value);
}

function duration(us) {
  const short = n => String(Number(n.toPrecision(4)));
  if (us === 0) return "0 s";
  if (us >= 1e6) return `${short(us / 1e6)} s`;
  if (us >= 1000) return `${short(us / 1000)} ms`;
  return `${us} µs`;
}
