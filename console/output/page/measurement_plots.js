// SPDX-License-Identifier: Apache-2.0
// Draws measurements over their conditions, before and after, with limits and tables of values.

/** The 95 % confidence interval (Wilson) of a share of packets, in the unit of the share; null if nobody said of how many. */
function intervalOf({got, unit, condition}) {
  const sent = Number(Object.entries(condition).find(([name]) => packetCount.test(name))?.[1] ?? 0), whole = unit === "%" ? 100 : 1;
  const share = Number(got) / whole, square = 1.96 ** 2;
  if (!(sent > 0) || !isNumber(got) || share < 0 || share > 1) return null;
  const middle = share + square / (2 * sent), half = 1.96 * Math.sqrt(share * (1 - share) / sent + square / (4 * sent * sent));
  return [Math.max(middle - half, 0), middle + half].map(v => whole * v / (1 + square / sent));
}

function columnsOf(entries, moment, {kind, axis}) {
  const columns = new Map();
  for (const entry of entries.filter(e => e[moment])) {
    const {data} = entry[moment].item, text = entry.at.get(axis.name), x = axis.words ? axis.words.indexOf(text) : Number(text);
    if (!columns.has(x)) columns.set(x, newColumn(x));
    addToColumn(columns.get(x), data);
    [columns.get(x).from, columns.get(x).to] = (kind.rate && intervalOf(data)) || [null, null];
  }
  return [...columns.values()].sort((a, b) => a.x - b.x);
}

/** Where a curve has risen by `rise` above its lowest value, beyond which it only goes up steeply; null if it does not. */
function kneeOf(columns, rise) {
  const known = columns.filter(hasValue);
  if (known.length < 3) return null;
  const floor = lowest(known.map(c => c.high)), from = known.findIndex(c => c.high === floor), y = floor + rise;
  const i = known.findIndex((c, k) => k > from && c.high >= y);
  if (i < 0) return null;
  const [a, b] = [known[i - 1], known[i]];
  return {x: a.x + (b.x - a.x) * (y - a.high) / (b.high - a.high), y};
}

function hasKnee({kind, axis}) {
  return kind.knee && axis.preferred === setPower;
}

/** The lines of a plot at each moment, named by the conditions that tell them apart. */
function seriesOfPlot(plot) {
  const common = commonConditions(plot);
  return plot.lines.flatMap(({others, entries}, number) => ["before", "after"].map(moment => {
    const columns = columnsOf(entries, moment, plot), name = conditionsText(others.filter(([n]) => !common.has(n)));
    return {name, number, moment, columns, knee: hasKnee(plot) ? kneeOf(columns, plot.kind.knee) : null};
  })).filter(s => s.columns.length > 0);
}

/** The conditions that all values of a plot share. */
function commonConditions({lines}) {
  const [first, ...rest] = lines.flatMap(l => l.entries);
  return new Map(first.pairs.filter(([name, value]) => rest.every(({at}) => at.get(name) === value)));
}

/** The name of the axis, with its unit. */
function placeLabel({name, texts, preferred}) {
  if (preferred?.label) return preferred.label;
  const [words, unit] = conditionName(name);
  return preferred === channelAxis ? axisLabel({name, values: texts}) : [words, unit].filter(Boolean).join(", ");
}

function kneeText(series, {kind}) {
  const again = series.some(s => s.moment === "before");
  const found = series.filter(s => s.knee).map(s => [s.name, again && s.moment, `${s.knee.x.toFixed(1)} dBm`].filter(Boolean).join(" "));
  return found.length > 0 && `Knee, ${kind.knee} dB above the lowest value: ${found.join("; ")}. `;
}

function intervalText(series, {kind}) {
  if (!kind.rate) return false;
  const drawn = series.some(s => s.columns.some(c => c.from !== null));
  return drawn ? "Bands: 95 % confidence interval (Wilson). " : "No confidence interval: the condition lacks the number of packets. ";
}

function limitsOf(entries) {
  return summaryOf([...new Set(entries.map(e => e.after.item.data.limits))]);
}

/** The limits once or, where the lines differ in them, of each line. */
function limitsText({lines}, series, unit) {
  const each = lines.map(l => limitsOf(l.entries)), name = number => series.find(s => s.number === number)?.name;
  if (new Set(each).size > 1) return `Limits, in the colour of their line: ${each.map((text, i) => `${name(i)} ${withUnit(text, unit)}`).join("; ")}. `;
  return [keyWith(el("span", {class: "key limit"}), "limits"), ` ${withUnit(each[0], unit)}. `];
}

function numberless(entries) {
  const count = entries.filter(e => !isNumber(e.after.item.data.got)).length;
  return count > 0 && `${plural(count, "value")} without a number. `;
}

/** A measurement's name as words. */
function nameWords(name) {
  return name.replaceAll("_", " ").replace(/^(evm|per|rssi)\b/, text => text.toUpperCase());
}

function plotFigure(plot) {
  const {kind, axis} = plot, entries = plot.lines.flatMap(l => l.entries), {name, unit} = entries[0], words = nameWords(name);
  const series = seriesOfPlot(plot), label = placeLabel(axis), common = commonConditions(plot);
  const title = `${words} over ${label.split(",")[0]}`, reference = kind.rate && {at: unit === "%" ? 10 : 0.1, text: "10 %"};
  const drawn = {title: `${title}; the table of values has its numbers`, valueName: withUnitName({what: words, unit}), label, series,
    words: axis.words, gap: axis.preferred?.gap, floor: kind.rate ? 0 : undefined, reference};
  const node = figure([title, conditionsText([...common])].filter(Boolean).join(", "), [momentsText(entries), limitsText(plot, series, unit), kneeText(series, plot),
    intervalText(series, plot), numberless(entries), seriesKeys(series)],
    {class: entries.some(e => !e.after.item.data.held) ? "failing" : ""}, width => drawPlot(drawn, width), true);
  node.append(valuesFold(plot, entries, common));
  return node;
}

/* ---- Tables ------------------------------------------------------------------------------------------------------ */

/** A value as a link to its step. */
function measuredCell(seen) {
  if (!seen) return "none";
  const {id, data: {got, unit}} = seen.item;
  return el("a", {href: `#${id}`}, isNumber(got) ? withUnit(got, unit) : got || "nothing");
}

function intervalCell(data) {
  const interval = intervalOf(data);
  return interval ? `${interval.map(v => Number(v.toPrecision(3))).join("..")} ${data.unit ?? ""}` : "unknown";
}

/** A table of measurements; `kind` adds the interval, `named` their names. */
function valuesTable(caption, entries, kind, named) {
  const again = entries.some(e => e.before);
  const heads = ["Verdict", named && "Measurement", "At", ...again ? ["Before", "After"] : ["Value"], kind?.rate && "Interval", "Limits"].filter(Boolean);
  return table("values", caption, heads, entries.map(e => {
    const {data} = e.after.item;
    return {class: data.held ? "" : "bad", cells: [mark(markOf(data.held)), ...named ? [e.name] : [], conditionsText(e.pairs),
      ...again ? [measuredCell(e.before)] : [], measuredCell(e.after), ...kind?.rate ? [intervalCell(data)] : [], data.limits]};
  }));
}

function valuesFold({kind, axis}, entries, common) {
  const apart = entries.map(e => ({...e, pairs: [[axis.name, e.at.get(axis.name)], ...e.pairs.filter(([name]) => name !== axis.name && !common.has(name))]}));
  return fold({class: "values"}, `Table of values, ${entries.length}`, false, () => valuesTable("Values of this plot", apart, kind, false));
}

/* ---- The section ------------------------------------------------------------------------------------------------- */

function hasMeasurements(session) {
  return session.items.some(isMeasurement);
}

/** Where values of this session were measured again. */
function laterHint(session) {
  const own = measuredIn([session]);
  const later = report.sessions.filter(s => s.index > session.index && s.chip === session.chip && [...measuredIn([s]).keys()].some(key => own.has(key)));
  return later.length > 0 && el("p", {class: "hint"}, "Measured again, with these values as before, in ",
    later.map((s, i) => [i > 0 && "; ", el("a", {href: `#s${s.index}-measured`}, sessionName(s))]), ".");
}

const mostPlots = 4;

/** The plots of a name, those after the first few on demand. */
function namedPlots(name, plots) {
  const grid = some => el("div", {class: "figures plots"}, some.map(plotFigure)), more = plots.length - mostPlots;
  return [el("h3", {}, nameWords(name)), grid(plots.slice(0, mostPlots)),
    more > 0 && fold({}, plural(more, "further plot"), false, () => grid(plots.slice(mostPlots)))];
}

function measurementsSection(session) {
  const all = entriesOf(session), group = e => `${e.name}\n${e.unit}`, blocks = [laterHint(session)], left = [];
  for (const wanted of new Set(all.map(group))) {
    const entries = all.filter(e => group(e) === wanted), {name} = entries[0], found = plotsOf(kindOf(name), entries);
    if (found.plots.length > 0) blocks.push(namedPlots(name, found.plots));
    left.push(...found.left);
  }
  return [blocks, left.length > 0 && [el("h3", {}, "Values without a plot"), valuesTable("Values without a plot", left, null, true)]];
}
