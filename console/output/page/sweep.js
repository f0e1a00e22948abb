// SPDX-License-Identifier: Apache-2.0
// A sweep by line of the session: how often, what it gave, what failed; and each number over the swept variable.

/** The variables of a point, as in "mhz 5500 power 500". Null if a value is not one word. */
function pointVariables(point) {
  const words = point.split(" ");
  if (words.length % 2 !== 0) return null;
  const pairs = words.flatMap((w, i) => i % 2 === 0 ? [[w, words[i + 1]]] : []);
  return new Map(pairs);
}

/** The least and the greatest number that limits allow; null if they are not about numbers. */
function limitRange(limits) {
  const bounds = (limits ?? "").split(",").map(part => {
    const ends = part.includes("..") ? part.split("..") : [part, part];
    return ends.length === 2 && ends.every(e => e === "" || isNumber(e)) && part !== "" ? ends : null;
  });
  if (bounds.some(b => b === null)) return null;
  return [lowest(bounds.map(([low]) => low === "" ? -Infinity : Number(low))),
    highest(bounds.map(([, high]) => high === "" ? Infinity : Number(high)))];
}

const limitRangeOf = memo(limitRange), pointVariablesOf = memo(pointVariables);

function checksOfItem(item) {
  if (item.kind === "call") return checksOf(item.data);
  return item.kind === "expectation" ? [{unit: "", ...item.data}] : [];
}

/** The calls and expectations of one line, and what was seen of each of their values. */
function newLine(item) {
  return {item, count: 0, failed: 0, texts: new Set(), checks: new Map()};
}

function newCheck(check) {
  return {what: check.what, unit: check.unit, values: new Set(), limits: new Set(), conditions: new Set(), judged: 0, failed: 0, seen: []};
}

function addCheck(line, item, check) {
  const key = withoutNumbers(check.what);
  if (!line.checks.has(key)) line.checks.set(key, newCheck({...check, what: item.kind === "call" ? check.what : key}));
  const known = line.checks.get(key);
  known.values.add(check.got);
  if (check.limits !== null) known.limits.add(check.limits);
  if (check.condition) known.conditions.add(JSON.stringify(check.condition));
  known.judged += check.held !== null;
  known.failed += check.held === false;
  known.seen.push({point: item.point, check});
}

const lineKey = memo(data => `${data.file}:${data.line} ${data.function ?? data.type} ${data.function ? "" : withoutNumbers(data.what ?? "")}`);

function linesOf(items) {
  const lines = new Map();
  for (const item of items) {
    const key = lineKey(item.data);
    if (!lines.has(key)) lines.set(key, newLine(item));
    const line = lines.get(key);
    ++line.count;
    line.failed += Boolean(item.failed);
    if (item.kind === "call") line.texts.add(callText(item.data));
    for (const check of checksOfItem(item)) addCheck(line, item, check);
  }
  return [...lines.values()];
}

/* ---- By line ----------------------------------------------------------------------------------------------------- */

const lineColumns = ["Verdict", "Step", "Limits", "Value", "Count"];

/** The line's place; a link lists all that it did. */
function lineWhere(line, session) {
  const where = lineOf(line.item), each = el("button", {type: "button", class: "each", onclick: () => session.searchSteps(where)}, "Show each");
  return el("span", {class: "where"}, where, " ", where && line.count > 1 && each);
}

function lineName(line, session) {
  const {item} = line, name = line.texts.size === 1 ? callText(item.data) : item.data.function;
  return [el("code", {class: "call"}, name), lineWhere(line, session)];
}

function checkSummary(session, line, check) {
  const kind = check.failed > 0 ? "bad" : check.judged > 0 ? "ok" : "plain", first = check.what === "result" && line.item.kind === "call";
  const counts = check.failed > 0 ? `${check.failed} failed of ${check.judged}` : check.judged > 0 ? `${check.judged} held` : `${check.seen.length}`;
  const name = first ? lineName(line, session) : el("span", {class: "sub"}, check.what, line.item.kind === "call" ? "" : lineWhere(line, session));
  return {class: kind, cells: [mark(kind), name,
    check.limits.size > 0 ? limitsCell(summaryOf([...check.limits])) : limitsCell(null),
    el("code", {}, withUnit(summaryOf([...check.values]), check.unit)), counts]};
}

function plainSummary(line) {
  return {class: line.failed ? "bad" : "note", cells: [line.failed ? mark("bad") : "", line.item.data.text, "", "", String(line.count)]};
}

function sweepSummary(session, run, caption) {
  const lines = linesOf(run.items);
  const rows = lines.flatMap(line => line.checks.size > 0 ? [...line.checks.values()].map(check => ({line, check})) : [{line}]);
  const render = ({line, check}) => tableRow(lineColumns, check ? checkSummary(session, line, check) : plainSummary(line));
  const host = emptyTable("steps lines", `${caption}, by line`, lineColumns);
  const [earlier, , later] = new LongList(host.tBodies[0], rows, render).nodes;
  return [earlier, host, later, run.swept && sweepFigures(lines, run.items)];
}

/* ---- Plots ------------------------------------------------------------------------------------------------------- */

/** The swept variables with their values, in the order of the script. */
function variablesOf(items) {
  const all = new Map();
  for (const point of new Set(items.map(i => i.point)))
    for (const [name, value] of pointVariablesOf(point) ?? []) {
      if (!all.has(name)) all.set(name, new Set());
      all.get(name).add(value);
    }
  return [...all].map(([name, values]) => ({name, values: [...values]}));
}

/** The variable to draw over: the channel if it was swept, else the one with most values. */
function axisOf(variables) {
  const numeric = variables.filter(v => v.values.length > 1 && v.values.every(isNumber));
  return numeric.find(v => /^(channel|mhz|freq)/i.test(v.name)) ?? numeric.sort((a, b) => b.values.length - a.values.length)[0];
}

function axisLabel(axis) {
  return /^(channel|mhz|freq)/i.test(axis.name) && axis.values.every(v => Number(v) >= 1000) ? "channel, MHz" : axis.name;
}

/** Says something that the table does not: numbers that vary, or that must be in a range. What was measured at several
 * conditions is drawn over these, with the measurements. */
function isWorthDrawing(check) {
  if (check.conditions.size > 1 || ![...check.values].every(isNumber)) return false;
  const ranges = [...check.limits].map(limitRangeOf);
  const exact = ranges.every(r => r && r[0] === r[1]);
  return check.what === "result" ? !exact : !exact || check.limits.size > 1 || check.values.size > 2;
}

/** Values by series: one for each combination of the other variables, or a single one if these are too many. */
function seriesOf(check, variables, axis) {
  const others = variables.filter(v => v !== axis && v.values.length > 1);
  const apart = others.reduce((n, v) => n * v.values.length, 1) <= mostSeries, all = new Map();
  const xs = axis.values.map(Number), low = lowest(xs), high = highest(xs);
  const width = xs.length > mostColumns ? (high - low) / mostColumns : 0;
  for (const seen of check.seen) {
    const at = pointVariablesOf(seen.point), name = apart ? others.map(v => `${v.name} ${at?.get(v.name)}`).join(", ") : "";
    if (!at?.has(axis.name)) continue;
    const value = Number(at.get(axis.name)), x = width > 0 ? low + Math.round((value - low) / width) * width : value;
    if (!all.has(name)) all.set(name, new Map());
    const columns = all.get(name);
    if (!columns.has(x)) columns.set(x, newColumn(x));
    addToColumn(columns.get(x), seen.check);
  }
  return [...all].map(([name, columns], number) => ({name, number, columns: [...columns.values()].sort((a, b) => a.x - b.x)}));
}

function withUnitName(check) {
  return check.unit ? `${check.what}, ${check.unit}` : check.what.length > 20 ? "value" : check.what;
}

function sweepFigure(line, check, variables, axis) {
  const all = seriesOf(check, variables, axis), name = line.item.kind === "call" ? `${line.item.data.function}, ${check.what}` : check.what;
  const limits = check.limits.size > 0 ? ["limits ", summaryOf([...check.limits]), " ", el("span", {class: "key limit"}), ". "] : "no limits. ";
  const failed = check.failed > 0 ? `${check.failed} of ${check.judged} failed. ` : "";
  const plot = {title: `${check.what} over ${axisLabel(axis)}`, valueName: withUnitName(check), label: axisLabel(axis), series: all};
  return figure(name, [withUnit(summaryOf([...check.values]), check.unit), ", ", limits, failed, seriesKeys(all)],
    {class: `wide ${check.failed ? "failing" : ""}`}, width => drawPlot(plot, width), false);
}

function sweepFigures(lines, items) {
  const variables = variablesOf(items), axis = axisOf(variables);
  if (!axis) return null;
  const worth = lines.flatMap(line => [...line.checks.values()].filter(isWorthDrawing).map(check => ({line, check})));
  if (worth.length === 0) return null;
  const left = worth.length - mostFigures;
  return [el("div", {class: "figures"}, worth.slice(0, mostFigures).map(({line, check}) => sweepFigure(line, check, variables, axis))),
    left > 0 && el("p", {class: "hint"}, `${plural(left, "further value")} without a plot.`)];
}
