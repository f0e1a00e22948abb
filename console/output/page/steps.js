// SPDX-License-Identifier: Apache-2.0
// Each step with its limits, value and time; below a call, what it did to the phone.

const columns = ["Verdict", "Step", "Limits", "Value", "Time"];

/** Explicit table roles, which survive the cell layout for narrow screens. */
function table(kind, caption, heads, rows) {
  return el("table", {class: kind, role: "table"}, el("caption", {class: "unseen"}, caption),
    el("thead", {role: "rowgroup"}, el("tr", {role: "row"}, heads.map(h => el("th", {scope: "col", role: "columnheader"}, h)))),
    el("tbody", {role: "rowgroup"}, rows.map(r => el("tr", {role: "row", class: r.class, id: r.id},
      r.cells.map((c, i) => el("td", {role: "cell", class: heads[i].toLowerCase(), "data-head": heads[i]}, c))))));
}

function withUnit(value, unit) {
  return unit ? `${value} ${unit}` : String(value);
}

function limitsText(e) {
  return e.limits === "" ? "nothing" : e.limits;
}

function checkRow(e, label, call, time, id) {
  const got = e.got === "" ? "nothing" : withUnit(e.got, call?.units[e.what]);
  const value = e.what === "result" && call?.meaning ? [got, el("span", {class: "meaning"}, ` ${call.meaning}`)] : got;
  return {id, class: e.held ? "ok" : "bad", cells: [mark(e.held ? "ok" : "bad"), label, el("code", {}, limitsText(e)), el("code", {}, value), time]};
}

function timeCell(call) {
  return [el("span", {class: "at"}, `at ${duration(call.at_us)}`), " ",
    call.phone_us > 0 ? el("b", {}, `took ${duration(call.phone_us)}`) : el("span", {class: "at"}, "took 0 s")];
}

function unjudgedRow(call, name, value, label, time, id) {
  const warn = name === "result" && call.outcome === "bad";
  const shown = [withUnit(value === "" ? "empty" : value, call.units[name]), name === "result" && call.meaning
    ? el("span", {class: "meaning"}, ` ${call.meaning}`) : ""];
  return {id, class: warn ? "warn" : "plain", cells: [mark(warn ? "warn" : "plain"), label, el("span", {class: "at"}, "none"), el("code", {}, shown), time]};
}

function logLink(call, session) {
  return call.log.length > 0 && el("a", {href: `#s${session.index}-log-${call.number}`, class: "tolog"}, plural(call.log.length, "log line"));
}

/** A row for the result, one for each output, and one for each other expectation of the call. */
function callRows(call, session) {
  const name = [el("code", {class: "call"}, callText(call)), el("span", {class: "where"}, place(call), " ", logLink(call, session))];
  const label = what => what === "result" ? name : el("span", {class: "sub"}, what);
  const judged = new Map(call.expectations.map(e => [e.what, e])), rows = [];
  const add = (what, value) => {
    const time = what === "result" ? timeCell(call) : "", id = what === "result" ? call.id : undefined, e = judged.get(what);
    judged.delete(what);
    rows.push(e ? checkRow(e, label(what), call, time, id) : unjudgedRow(call, what, value, label(what), time, id));
  };
  add("result", call.result);
  for (const [what, value] of Object.entries(call.outputs)) add(what, value);
  for (const what of [...judged.keys()]) add(what);
  return rows;
}

/* ---- What a call did --------------------------------------------------------------------------------------------- */

const contactWords = {
  d: d => ["driver", `${d.id} ${commandText(d)}`, !d.taken, d.at_us],
  s: s => ["shell", s.status ? `${s.command} (status ${s.status})` : s.command, s.status !== 0, s.at_us],
  p: p => ["pause", `pause ${duration(p.us)}`, false, p.at_us],
  n: n => [n.write ? "nvwrite" : "nvread", `NV ${n.write ? "write" : "read"} ${n.number} ${n.name}${n.code ? ` (code ${n.code})` : ""}`, n.code !== 0, null],
  f: f => ["file", f, false, null],
};

function contactChips(call) {
  return call.contacts.map(({kind, what}) => {
    const [name, text, bad, at] = contactWords[kind](what);
    const since = at !== null && at > call.at_us ? el("span", {class: "since"}, `+${duration(at - call.at_us)} `) : "";
    return el("li", {class: `${name} ${bad ? "bad" : ""}`}, kind === "p" ? "" : since, text);
  });
}

function causeLines(call) {
  return (call?.causes ?? []).map(c => el("p", {class: "cause"}, el("code", {}, `${c.what}: ${c.found}`), ` ${c.cause}. `, el("b", {}, "Cure: "), `${c.cure}.`));
}

function causeRow(call) {
  if (call.causes.length === 0) return null;
  const judged = call.expectations.length > 0;
  return el("tr", {class: judged ? "why bad" : "why", role: "row"}, el("td", {colspan: columns.length, role: "cell", "aria-colspan": columns.length}, causeLines(call)));
}

function didRow(call) {
  const remarks = call.remarks.map(r => el("p", {class: "remark"}, r));
  if (call.contacts.length === 0 && remarks.length === 0) return null;
  return el("tr", {class: "did", role: "row"}, el("td", {colspan: columns.length, role: "cell", "aria-colspan": columns.length},
    remarks, call.contacts.length > 0 && el("ol", {class: "strip", "aria-label": `What ${call.function} did`}, contactChips(call))));
}

/* ---- Steps ------------------------------------------------------------------------------------------------------- */

function expectationLabel(item) {
  return [el("span", {class: "sub"}, item.what), el("span", {class: "where sub"}, place(item))];
}

const itemRows = {
  call: callRows,
  expectation: item => [checkRow(item, expectationLabel(item), null, "", item.id)],
  note: item => [{id: item.id, class: "note", cells: ["", item.text, "", "", ""]}],
  error: item => [{id: item.id, class: "bad", cells: [mark("bad"), ["The session stopped: ", item.text], "", place(item), ""]}],
};

function partSection(part, session) {
  const rows = part.items.flatMap(item => itemRows[item.kind](item, session).map(row => ({...row, item})));
  const node = table("steps", part.title || "Before the first step", columns, rows);
  const body = node.tBodies[0], nodes = [...body.rows];
  nodes.forEach((tr, i) => {
    const {item} = rows[i], last = rows[i + 1]?.item !== item;
    if (item.kind === "call" && last) tr.after(...[causeRow(item), didRow(item)].filter(Boolean));
  });
  const failed = session.failures.filter(f => part.items.includes(f.item)).length;
  const judged = rows.filter(r => r.class === "ok" || r.class === "bad").length;
  return el("section", {class: `part ${failed ? "failing" : ""}`},
    el("h3", {}, part.title || "Before the first step", " ", el("span", {class: failed ? "tally bad" : "tally"},
      failed ? `${failed} failed of ${judged}` : `${judged} held`)), node);
}

function stepsSection(session) {
  const host = el("div", {class: "parts"}, session.parts.filter(p => p.items.length > 0).map(p => partSection(p, session)));
  const toggle = name => event => host.classList.toggle(name, event.target.checked);
  const hide = event => host.classList.toggle("hide-did", !event.target.checked);
  return [el("div", {class: "controls"}, checkbox("what each call did", true, hide), checkbox("failed only", false, toggle("failed-only"))), host];
}
