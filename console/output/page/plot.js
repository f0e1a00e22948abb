// SPDX-License-Identifier: Apache-2.0
// Numbers over an axis: lines with their limits, marks and bands. A plot has
//   title      for those who cannot see it
//   valueName  beside the values, and label below the axis
//   words      the values of an axis that has no numbers; a column's x is a place in this list
//   gap        a wider step between two values is cut out; without it, one that is far wider than the others
//   floor      the least that a value can be
//   reference  {at, text}: a value to compare with
//   series     [{name, number, moment, columns, knee}]: number gives colour and mark, moment is "before", "after" or absent

const mostFigures = 12, mostSeries = 4, mostColumns = 600;
const plotTop = 8, plotBottom = 190, plotHeight = 230;

/** What falls on one place of the axis. `from` and `to` are a confidence interval. */
function newColumn(x) {
  return {x, low: Infinity, high: -Infinity, least: -Infinity, most: Infinity, failed: 0, from: null, to: null};
}

function addToColumn(column, {got, limits, held}) {
  const range = limitRangeOf(limits) ?? [-Infinity, Infinity];
  if (isNumber(got)) {
    column.low = Math.min(column.low, Number(got));
    column.high = Math.max(column.high, Number(got));
  }
  column.least = Math.max(column.least, range[0]);
  column.most = Math.min(column.most, range[1]);
  column.failed += held === false;
}

function hasValue(column) {
  return Number.isFinite(column.low);
}

/* ---- Axis -------------------------------------------------------------------------------------------------------- */

/** Divides values at wide gaps, as between the 2.4 and the 5 GHz band. */
function bandsOf(sorted, widest) {
  const bands = [[sorted[0]]];
  sorted.slice(1).forEach((x, i) => {
    if (x - sorted[i] > widest) bands.push([]);
    bands.at(-1).push(x);
  });
  return bands;
}

/** Maps the axis to the width of the figure, without wide gaps. */
function brokenScale(xs, left, right, widest) {
  const sorted = [...new Set(xs)].sort((a, b) => a - b), steps = sorted.slice(1).map((x, i) => x - sorted[i]);
  const usual = [...steps].sort((a, b) => a - b)[Math.floor(steps.length / 2)] ?? 1, gap = 34;
  const bands = bandsOf(sorted, widest ?? 20 * usual);
  const room = right - left - gap * (bands.length - 1), weight = bands.map(b => Math.max(b.length, sorted.length / 12));
  const whole = weight.reduce((a, b) => a + b, 0);
  let at = left;
  return bands.map((band, i) => {
    const from = at, to = at + room * weight[i] / whole;
    at = to + gap;
    return {values: band, first: band[0], last: band.at(-1), from, to,
      x: band.length > 1 ? scale(band[0], band.at(-1), from + 4, to - 4) : () => (from + to) / 2};
  });
}

/** The values themselves if their texts have room beside each other, else round ones. */
function bandTicks(band, words) {
  const {values, first, last, x} = band, room = words ? 7 * highest(words.map(w => w.length)) + 8 : 40;
  if (values.slice(1).every((v, i) => x(v) - x(values[i]) >= room)) return values;
  if (words) return values.filter((_, i) => i % Math.ceil(room / (x(values[1]) - x(first))) === 0);
  const round = ticks(first, last, Math.max(1, Math.floor((band.to - band.from) / 50)));
  return round.length > 1 ? round : x(last) - x(first) >= room ? [first, last] : [first];
}

function placeAxis({label, words}, bands, width) {
  const text = v => words ? words[v] : String(v);
  return [bands.map(b => bandTicks(b, words).map(v => svg("text", {x: b.x(v), y: plotBottom + 17, "text-anchor": "middle"}, text(v)))),
    axisName(label, (plotLeft + width) / 2, plotHeight - 5)];
}

/* ---- Lines and marks --------------------------------------------------------------------------------------------- */

/** A mark for each series, so that colour is not all that tells them apart. */
const spotShapes = ["M-3.5 0a3.5 3.5 0 1 0 7 0a3.5 3.5 0 1 0-7 0z", "M-3.2-3.2h6.4v6.4h-6.4z", "M0-4.5l4.4 7.8h-8.8z", "M0-4.8l4.8 4.8l-4.8 4.8l-4.8-4.8z"];

function spot({number, moment}, x, y) {
  return svg("path", {class: `spot n${number} ${moment ?? ""}`, d: spotShapes[number] ?? spotShapes[0], transform: `translate(${x.toFixed(1)} ${y.toFixed(1)})`});
}

/** A line along the neighbouring columns that have this bound; on an axis of words a stroke at each. */
function limitLine(columns, bound, words, x, y, kind) {
  const stroke = ([px, py]) => line([[px - 8, py], [px + 8, py]], kind), runs = [[]];
  for (const c of columns)
    if (Number.isFinite(c[bound])) runs.at(-1).push([x(c.x), y(c[bound])]);
    else runs.push([]);
  return runs.filter(r => r.length > 0).map(run => words || run.length === 1 ? run.map(stroke) : line(run, kind));
}

/** Whether all series have the same limits, so that they need no colours. */
function isShared(series, bound) {
  const at = new Map(series.flatMap(s => s.columns.map(c => [c.x, c[bound]]))), bounds = columns => String([...new Set(columns.map(c => c[bound]))].sort());
  return series.every(s => s.columns.every(c => at.get(c.x) === c[bound]) && bounds(s.columns) === bounds(series[0].columns));
}

/** The limits of all series: one line if they are shared, else one for each series, in its colour. */
function limitLines({series, words}, band, y) {
  const draw = (columns, bound, kind) => limitLine(columns, bound, words, band.x, y, kind), lines = new Map();
  for (const bound of ["least", "most"]) {
    const all = new Map(series.flatMap(s => inBand(s, band).map(c => [c.x, c])));
    if (isShared(series, bound)) lines.set(bound, draw([...all.values()].sort((a, b) => a.x - b.x), bound, "limit"));
    else for (const s of series) {
      const columns = inBand(s, band), key = `${s.number} ${bound} ${columns.map(c => `${c.x} ${c[bound]}`)}`;
      lines.set(key, draw(columns, bound, `limit own n${s.number}`));
    }
  }
  return [...lines.values()];
}

function inBand(series, band) {
  return series.columns.filter(c => c.x >= band.first && c.x <= band.last);
}

/** The confidence interval of each value as a band, or as a bar where only one is. */
function intervals(columns, {number, moment}, x, y) {
  const known = columns.filter(c => c.from !== null), kind = `interval n${number} ${moment ?? ""}`;
  if (known.length < 2) return known.map(c => svg("line", {class: kind, x1: x(c.x), x2: x(c.x), y1: y(c.from), y2: y(c.to)}));
  const edge = [...known.map(c => [x(c.x), y(c.to)]), ...known.toReversed().map(c => [x(c.x), y(c.from)])];
  return svg("polygon", {class: kind, points: edge.map(p => p.map(n => n.toFixed(1)).join(",")).join(" ")});
}

/** Where values failed; below everything if there was no number. */
function crosses(columns, x, y) {
  return columns.filter(c => c.failed > 0).map(c => svg("text", {class: "cross", x: x(c.x), y: hasValue(c) ? y(c.low) + 4 : plotBottom - 2, "text-anchor": "middle"}, "✗",
    svg("title", {}, `${c.failed} failed at ${c.x}`)));
}

function drawSeries(plot, series, band, y) {
  const all = inBand(series, band), columns = all.filter(hasValue), {number, moment} = series, {x} = band;
  const marked = columns.length === 1 || (moment !== undefined && columns.length <= mostColumns);
  return [intervals(columns, series, x, y),
    (!plot.words || !marked) && line(columns.map(c => [x(c.x), y(c.high)]), `series n${number} ${moment ?? ""}`),
    columns.filter(c => c.high > c.low).map(c => svg("line", {class: `reach n${number}`, x1: x(c.x), x2: x(c.x), y1: y(c.low), y2: y(c.high)})),
    marked && columns.map(c => spot(series, x(c.x), y(c.high))), crosses(all, x, y)];
}

/** A line down to the axis from where a curve bends. */
function kneeLine({number, knee}, bands, y) {
  const band = knee && bands.find(b => knee.x >= b.first && knee.x <= b.last);
  if (!band) return null;
  const x = band.x(knee.x);
  return [svg("line", {class: `knee n${number}`, x1: x, x2: x, y1: y(knee.y), y2: plotBottom}),
    svg("circle", {class: `knee n${number}`, cx: x, cy: y(knee.y), r: 6})];
}

function referenceLine(reference, y, width) {
  return reference && [svg("line", {class: "reference", x1: plotLeft, x2: width, y1: y(reference.at), y2: y(reference.at)}),
    svg("text", {x: width - 2, y: y(reference.at) - 4, "text-anchor": "end"}, reference.text)];
}

/** The values to show, with limits and intervals. */
function valueRange({series, reference, floor}) {
  const values = series.flatMap(s => s.columns.flatMap(c => [c.low, c.high, c.least, c.most, c.from, c.to]));
  const [low, high] = rangeOf([...values, reference?.at].filter(Number.isFinite), 0.5);
  return [floor === undefined ? low : Math.max(low, floor - 0.03 * (high - floor)), high];
}

function drawPlot(plot, width) {
  const right = width - 20;  // half of the last tick's text fits beside it
  const bands = brokenScale(plot.series.flatMap(s => s.columns.map(c => c.x)), plotLeft, right, plot.gap);
  const range = valueRange(plot), y = scale(...range, plotBottom, plotTop);
  return svg("svg", {viewBox: `0 0 ${width} ${plotHeight}`, width, height: plotHeight, role: "img", "aria-label": plot.title},
    valueAxis(range, y, width, 5, plot.valueName), placeAxis(plot, bands, width), referenceLine(plot.reference, y, width),
    bands.map(b => [limitLines(plot, b, y), plot.series.map(s => drawSeries(plot, s, b, y))]), plot.series.map(s => kneeLine(s, bands, y)));
}

/** The line of each series, with its mark and its name; nothing if there is only one. */
function seriesKeys(all) {
  const byNumber = new Map(all.map(s => [s.number, s]));
  if (byNumber.size < 2) return "";
  return el("span", {class: "keys"}, [...byNumber.values()].map(s => [keyWith(s.moment ? markKey(s) : el("span", {class: `key n${s.number}`}), s.name), " "]));
}

/** A key and its words, which stay together. */
function keyWith(key, words) {
  return el("span", {class: "together"}, key, " ", words);
}

function markKey({number, moment}) {
  return svg("svg", {class: "key", viewBox: "0 0 30 12", width: 30, height: 12, "aria-hidden": "true"},
    line([[0, 6], [30, 6]], `series n${number} ${moment}`), spot({number, moment}, 15, 6));
}
