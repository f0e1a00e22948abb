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
  return {what: check.what, unit: check.unit, values: new Set(), limits: new Set(), judged: 0, failed: 0, seen: []};
}

function addCheck(line, item, check) {
  const key = withoutNumbers(check.what);
  if (!line.checks.has(key)) line.checks.set(key, newCheck({...check, what: item.kind === "call" ? check.what : key}));
  const known = line.checks.get(key);
  known.values.add(check.got);
  if (check.limits !== null) known.limits.add(check.limits);
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

const mostFigures = 12, mostSeries = 4, mostColumns = 600;

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

/** Says something that the table does not: numbers that vary, or that must be in a range. */
function isWorthDrawing(check) {
  if (![...check.values].every(isNumber)) return false;
  const ranges = [...check.limits].map(limitRangeOf);
  const exact = ranges.every(r => r && r[0] === r[1]);
  return check.what === "result" ? !exact : !exact || check.limits.size > 1 || check.values.size > 2;
}

/** What falls on one place of the axis. */
function newColumn(x) {
  return {x, low: Infinity, high: -Infinity, least: -Infinity, most: Infinity, failed: 0};
}

function addToColumn(column, {got, limits, held}) {
  const value = Number(got), range = limitRangeOf(limits) ?? [-Infinity, Infinity];
  column.low = Math.min(column.low, value);
  column.high = Math.max(column.high, value);
  column.least = Math.max(column.least, range[0]);
  column.most = Math.min(column.most, range[1]);
  column.failed += held === false;
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
  return [...all].map(([name, columns]) => ({name, columns: [...columns.values()].sort((a, b) => a.x - b.x)}));
}

/** Maps the axis to the width of the figure. Wide gaps, as between two bands, are cut out. */
function brokenScale(xs, left, right) {
  const sorted = [...new Set(xs)].sort((a, b) => a - b), steps = sorted.slice(1).map((x, i) => x - sorted[i]);
  const usual = [...steps].sort((a, b) => a - b)[Math.floor(steps.length / 2)] ?? 1, gap = 24;
  const bands = [[sorted[0]]];
  steps.forEach((step, i) => {
    if (step > 20 * usual) bands.push([]);
    bands.at(-1).push(sorted[i + 1]);
  });
  const room = right - left - gap * (bands.length - 1), weight = bands.map(b => Math.max(b.length, sorted.length / 12));
  const whole = weight.reduce((a, b) => a + b, 0);
  let at = left;
  return bands.map((band, i) => {
    const from = at, to = at + room * weight[i] / whole;
    at = to + gap;
    return {first: band[0], last: band.at(-1), from, to, x: band.length > 1 ? scale(band[0], band.at(-1), from + 4, to - 4) : () => (from + to) / 2};
  });
}

function bandTicks(band) {
  if (band.first === band.last) return [band.first];
  const round = ticks(band.first, band.last, Math.max(1, Math.floor((band.to - band.from) / 80)));
  return round.length > 0 ? round : [band.first];
}

/** A line along the columns of a band that have this bound. */
function limitLine(columns, bound, x, y, kind) {
  const points = columns.filter(c => Number.isFinite(c[bound])).map(c => [x(c.x), y(c[bound])]);
  if (points.length === 1) points.push([points[0][0] + 8, points[0][1]], [points[0][0] - 8, points[0][1]]);
  return points.length > 0 && line(points, kind);
}

function drawSeries(series, number, band, y) {
  const columns = series.columns.filter(c => c.x >= band.first && c.x <= band.last), {x} = band;
  return [limitLine(columns, "least", x, y, "limit"), limitLine(columns, "most", x, y, "limit"),
    line(columns.map(c => [x(c.x), y(c.high)]), `series n${number}`),
    columns.filter(c => c.high > c.low).map(c => svg("line", {class: `reach n${number}`, x1: x(c.x), x2: x(c.x), y1: y(c.low), y2: y(c.high)})),
    columns.length === 1 && svg("circle", {class: `spot n${number}`, cx: x(columns[0].x), cy: y(columns[0].high), r: 3}),
    columns.filter(c => c.failed > 0).map(c => svg("text", {class: "cross", x: x(c.x), y: y(c.low) + 4, "text-anchor": "middle"}, "✗",
      svg("title", {}, `${c.failed} failed at ${c.x}`)))];
}

function drawSweep(check, all, axis, width) {
  const right = width - 20;  // half of the last tick's text fits beside it
  const columns = all.flatMap(s => s.columns), bands = brokenScale(columns.map(c => c.x), plotLeft, right);
  const values = columns.flatMap(c => [c.low, c.high, c.least, c.most]).filter(Number.isFinite);
  const range = rangeOf(values, 0.5), y = scale(...range, 190, 8);
  const axisTicks = bands.map(b => bandTicks(b).map(v => svg("text", {x: b.x(v), y: 207, "text-anchor": "middle"}, String(v))));
  return svg("svg", {viewBox: `0 0 ${width} 230`, width, height: 230, role: "img", "aria-label": `${check.what} over ${axisLabel(axis)}`},
    valueAxis(range, y, width, 5, withUnitName(check)), axisTicks, axisName(axisLabel(axis), (plotLeft + width) / 2, 225),
    bands.map(b => all.map((series, i) => drawSeries(series, i, b, y))));
}

function withUnitName(check) {
  return check.unit ? `${check.what}, ${check.unit}` : check.what.length > 20 ? "value" : check.what;
}

function seriesKeys(all) {
  if (all.length < 2) return "";
  return el("span", {class: "keys"}, all.map((s, i) => [el("span", {class: `key n${i}`}), ` ${s.name} `]));
}

function sweepFigure(line, check, variables, axis) {
  const all = seriesOf(check, variables, axis), name = line.item.kind === "call" ? `${line.item.data.function}, ${check.what}` : check.what;
  const limits = check.limits.size > 0 ? ["limits ", summaryOf([...check.limits]), " ", el("span", {class: "key limit"}), ". "] : "no limits. ";
  const failed = check.failed > 0 ? `${check.failed} of ${check.judged} failed. ` : "";
  return figure(name, [withUnit(summaryOf([...check.values]), check.unit), ", ", limits, failed, seriesKeys(all)],
    {class: `wide ${check.failed ? "failing" : ""}`}, width => drawSweep(check, all, axis, width), false);
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
