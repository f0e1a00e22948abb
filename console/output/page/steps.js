// SPDX-License-Identifier: Apache-2.0
// Each step with its limits, value and time; below a call, what it did to the phone. A sweep is shown by line first.

const columns = ["Verdict", "Step", "Limits", "Value", "Time"];

/** Explicit table roles, which survive the cell layout for narrow screens. */
function tableRow(heads, r) {
  return el("tr", {role: "row", class: r.class, id: r.id},
    r.cells.map((c, i) => el("td", {role: "cell", class: heads[i].toLowerCase(), "data-head": heads[i]}, c)));
}

function emptyTable(kind, caption, heads) {
  return el("table", {class: kind, role: "table"}, el("caption", {class: "unseen"}, caption),
    el("thead", {role: "rowgroup"}, el("tr", {role: "row"}, heads.map(h => el("th", {scope: "col", role: "columnheader"}, h)))),
    el("tbody", {role: "rowgroup"}));
}

function table(kind, caption, heads, rows) {
  const node = emptyTable(kind, caption, heads);
  appendAll(node.tBodies[0], rows.map(r => tableRow(heads, r)));
  return node;
}

function markOf(held) {
  return held === null ? "plain" : held ? "ok" : "bad";
}

function gotCell(check, meaning) {
  return [el("code", {}, check.got === "" ? "nothing" : withUnit(check.got, check.unit)),
    meaning ? el("span", {class: "meaning"}, ` ${meaning}`) : ""];
}

function limitsCell(limits) {
  return limits === null ? el("span", {class: "at"}, "none") : el("code", {}, limits === "" ? "nothing" : limits);
}

function timeCell(call) {
  return [el("span", {class: "at"}, `at ${duration(call.at_us)}`), " ",
    call.phone_us > 0 ? el("b", {}, `took ${duration(call.phone_us)}`) : el("span", {class: "at"}, "took 0 s")];
}

function logLink(call) {
  return call.data.log.length > 0 && el("a", {href: `#${call.id.replace("-i", "-log-i")}`, class: "tolog"}, plural(call.data.log.length, "log line"));
}

function callName(call) {
  return [el("code", {class: "call"}, callText(call.data)), el("span", {class: "where"}, place(call), " ", logLink(call))];
}

/** A row for the result, one for each output, and one for each other expectation of the call. */
function callRows(call) {
  return checksOf(call.data).map(check => {
    const result = check.what === "result";
    const kind = result && check.held === null && call.data.outcome === "bad" ? "warn" : markOf(check.held);
    return {class: kind, id: result ? call.id : undefined, cells: [mark(kind), result ? callName(call) : el("span", {class: "sub"}, check.what),
      limitsCell(check.limits), gotCell(check, result && call.data.meaning), result ? timeCell(call) : ""]};
  });
}

function expectationRow(item) {
  const kind = markOf(item.data.held);
  return {id: item.id, class: kind, cells: [mark(kind), [el("span", {class: "sub"}, titleOf(item.data)), el("span", {class: "where sub"}, place(item))],
    limitsCell(item.data.limits), gotCell({unit: "", ...item.data}), ""]};
}

const itemRows = {
  call: callRows,
  expectation: item => [expectationRow(item)],
  note: item => [{id: item.id, class: "note", cells: ["", item.data.text, "", "", ""]}],
  error: item => [{id: item.id, class: "bad", cells: [mark("bad"), ["The session stopped: ", item.data.text], "", place(item), ""]}],
};

/* ---- What a call did --------------------------------------------------------------------------------------------- */

const contactWords = {
  d: d => ["driver", `${d.id} ${commandText(d)}`, !d.taken, d.at_us],
  s: s => ["shell", s.status ? `${s.command} (status ${s.status})` : s.command, s.status !== 0, s.at_us],
  p: p => ["pause", `pause ${duration(p.us)}`, false, p.at_us],
  n: n => [n.write ? "nvwrite" : "nvread", `NV ${n.write ? "write" : "read"} ${n.number} ${n.name}${n.code ? ` (code ${n.code})` : ""}`, n.code !== 0, null],
  f: f => ["file", f, false, null],
};

function contactChips(call) {
  return contactsOf(call.data).map(({kind, what}) => {
    const [name, text, bad, at] = contactWords[kind](what);
    const since = at !== null && at > 0 ? el("span", {class: "since"}, `+${duration(at)} `) : "";
    return el("li", {class: `${name} ${bad ? "bad" : ""}`}, kind === "p" ? "" : since, text);
  });
}

function wideRow(kind, content) {
  return el("tr", {class: kind, role: "row"}, el("td", {colspan: columns.length, role: "cell", "aria-colspan": columns.length}, content));
}

function causeRow(call) {
  if (call.data.causes.length === 0) return null;
  return wideRow(call.data.expectations.length > 0 ? "why bad" : "why", causeLines(call));
}

function didRow(call) {
  const remarks = call.data.remarks.map(r => el("p", {class: "remark"}, r)), chips = contactChips(call);
  if (chips.length === 0 && remarks.length === 0) return null;
  return wideRow("did", [remarks, chips.length > 0 && el("ol", {class: "strip", "aria-label": `What ${call.data.function} did`}, chips)]);
}

function rowsOf(item) {
  const rows = itemRows[item.kind](item).map(r => tableRow(columns, r));
  return item.kind === "call" ? [...rows, causeRow(item), didRow(item)] : rows;
}

/* ---- Steps ------------------------------------------------------------------------------------------------------- */

const fewItems = 300;

/** The text by which an item is found. */
const soughtInData = memo(data => [data.file && `${data.file}:${data.line}`, data.function && callText(data), data.meaning, data.what && titleOf(data), data.got, data.limits,
  data.text, ...(data.function ? checksOf(data).flatMap(c => [c.what, c.got, c.limits]) : []),
  ...(data.function ? contactsOf(data).map(c => contactWords[c.kind](c.what)[1]) : []), ...(data.remarks ?? [])].join(" ").toLowerCase());

function isFound(item, words) {
  return soughtInData(item.data).includes(words) || (item.point !== "" && item.point.toLowerCase().includes(words));
}

/** A table of items, created as the reader scrolls. */
function itemList(caption, items) {
  const node = emptyTable("steps", caption, columns), list = new LongList(node.tBodies[0], items, rowsOf);
  const [earlier, , later] = list.nodes;
  return {nodes: [earlier, node, later], reveal: item => list.show(items.indexOf(item))};
}

/** Divides a part's items into sweeps and what is between them. */
function runsOf(items) {
  const runs = [];
  for (const item of items) {
    const swept = item.point !== "", last = runs.at(-1);
    if (last?.swept === swept) last.items.push(item);
    else runs.push({swept, items: [item]});
  }
  return runs;
}

function runBlock(session, run, caption) {
  if (!run.swept && run.items.length <= fewItems) return itemList(caption, run.items);
  let list;
  const every = fold({class: "every"}, `Every call and expectation in order, ${run.items.length}`, false, () => {
    list = itemList(caption, run.items);
    return list.nodes;
  });
  return {nodes: [sweepSummary(session, run, caption), every], reveal: item => { unfold(every); list.reveal(item); }};
}

function partTitle(part) {
  return part.title || "Before the first step";
}

function judgedIn(part) {
  return part.items.reduce((n, i) => n + (i.kind === "call" ? i.data.expectations.length : Number(i.kind === "expectation")), 0);
}

function tally(part) {
  const judged = judgedIn(part);
  if (judged === 0 && !part.failed) return null;
  return el("span", {class: part.failed ? "tally bad" : "tally"}, part.failed ? `${part.failed} failed of ${judged}` : `${judged} held`);
}

/** In a report of many sessions, what went well is closed. */
function startsOpen(part) {
  return part.failed > 0 || report.sessions.length === 1;
}

/** `found` are the part's items that the filters leave; null without a filter. */
function partBlock(session, part, found) {
  const runs = found ? [{swept: false, items: found}] : runsOf(part.items);
  let blocks = [];
  const node = fold({class: `part ${part.failed ? "failing" : ""}`}, [el("h3", {}, partTitle(part)), " ", tally(part)], found || startsOpen(part), () => {
    blocks = found ? [itemList(partTitle(part), found)] : runs.map(run => runBlock(session, run, partTitle(part)));
    return blocks.map(b => b.nodes);
  });
  node.reveal = item => {
    unfold(node);
    blocks[runs.findIndex(run => run.items.includes(item))].reveal(item);
  };
  return node;
}

/** The parts that the filters leave. */
function partsToShow(session, {words, failedOnly}) {
  if (words === "" && !failedOnly) return session.parts.filter(p => p.items.length > 0).map(part => ({part, found: null}));
  const keep = item => (!failedOnly || item.failed) && (words === "" || isFound(item, words));
  return session.parts.map(part => ({part, found: part.items.filter(keep)})).filter(p => p.found.length > 0);
}

/** The parts of a session as far as the filters leave them. show() draws them anew, reveal(item) shows one of their items. */
class PartList {
  filter = {words: "", failedOnly: false};
  host = el("div", {class: "parts"});
  count = el("output", {class: "count", "aria-live": "polite"});

  constructor(session) {
    this.session = session;
    this.show();
  }

  show() {
    const {words, failedOnly} = this.filter;
    this.parts = partsToShow(this.session, this.filter);
    this.blocks = new Map();
    this.list = new LongList(el("div"), this.parts, ({part, found}) => {
      this.blocks.set(part, partBlock(this.session, part, found));
      return this.blocks.get(part);
    });
    this.host.replaceChildren(...this.list.nodes);
    this.host.classList.toggle("failed-only", failedOnly);
    const found = this.parts.reduce((n, p) => n + (p.found?.length ?? 0), 0);
    this.count.textContent = words || failedOnly ? `${found} of ${this.session.items.length} found` : "";
  }

  apply(change) {
    Object.assign(this.filter, change);
    this.show();
  }

  reveal(item) {
    this.list.show(this.parts.findIndex(p => p.part === item.part));
    this.blocks.get(item.part).reveal(item);
  }
}

function stepsSection(session) {
  const list = new PartList(session);
  const failedBox = checkbox("failed only", false, e => list.apply({failedOnly: e.target.checked}));
  const search = searchBox("Search the steps", words => list.apply({words}));
  session.searchSteps = words => {
    search.value = words;
    list.apply({words: words.toLowerCase()});
  };
  session.revealStep = item => {
    search.value = "";
    failedBox.firstChild.checked = false;
    if (list.filter.words || list.filter.failedOnly) list.apply({words: "", failedOnly: false});
    list.reveal(item);
  };
  return [el("div", {class: "controls"}, checkbox("what each call did", true, e => list.host.classList.toggle("hide-did", !e.target.checked)),
    failedBox, search, list.count), list.host];
}

/** Searches everything, also what is not shown yet; the browser's own search cannot. */
function searchBox(label, found) {
  return el("input", {type: "search", placeholder: label, "aria-label": label, oninput: e => found(e.target.value.trim().toLowerCase())});
}
