// SPDX-License-Identifier: Apache-2.0
// Measurements of a session: what each was before, and which of them make a plot.
//
// What has the same name, unit and condition was measured again: the first time in this run, in an earlier session too,
// is before, the last time in this session is after.

const channelAxis = {is: /^(mhz|channel)$/, gap: 1000};
const setPower = {is: /^(power_)?dbm$/, label: "set power, dBm"}, receivedLevel = {is: /^(level_)?dbm$/, label: "level, dBm"};

/** What is drawn by name: over which condition first, as a `curve` whenever a line of it has three values; `knee` marks
 * where it has risen by so many dB, `rate` is a share of packets. Anything else is drawn over what varies most. */
const plotKinds = [
  {is: /^power/, over: [channelAxis, setPower]},
  {is: /^evm/, over: [setPower, channelAxis], curve: true, knee: 3},
  {is: /^(per|packet_error_rate)$/, over: [receivedLevel, channelAxis], curve: true, rate: true},
  {is: /^rssi/, over: [receivedLevel, channelAxis], curve: true},
  {is: /^/, over: [channelAxis, setPower]},
];

/** Conditions that are names, whatever they look like: between two of them is nothing. */
const wordConditions = /^(rate|format|mode|chain|antenna)$/;
const packetCount = /^(packets|sent)$/;  // belongs to the value
const unitWords = {mhz: "MHz", dbm: "dBm", db: "dB", ppm: "ppm"};

function kindOf(name) {
  return plotKinds.find(k => k.is.test(name));
}

/** "level_dbm" as ["level", "dBm"]. */
function conditionName(name) {
  const words = name.split("_"), unit = unitWords[words.at(-1)];
  return unit ? [words.slice(0, -1).join(" "), unit] : [words.join(" "), ""];
}

function conditionText([name, value]) {
  const [words, unit] = conditionName(name);
  return [words, value, unit].filter(Boolean).join(" ");
}

function conditionsText(pairs) {
  return pairs.map(conditionText).join(", ");
}

/* ---- Before and after -------------------------------------------------------------------------------------------- */

/** The conditions that tell a measurement from others of its name. A channel's number adds nothing to its frequency. */
function conditionPairs({condition}) {
  return Object.entries(condition).filter(([name]) => !packetCount.test(name) && !(name === "channel" && "mhz" in condition));
}

function isMeasurement(item) {
  return item.kind === "expectation" && Object.keys(item.data.condition ?? {}).length > 0;
}

const measurementKey = memo(data => JSON.stringify([data.what, data.unit ?? "", conditionPairs(data).sort()]));

/** The measurements of sessions by what they measured, in order. */
function measuredIn(sessions) {
  const all = new Map();
  for (const session of sessions)
    for (const item of session.items.filter(isMeasurement)) {
      const key = measurementKey(item.data);
      if (!all.has(key)) all.set(key, []);
      all.get(key).push({session, item});
    }
  return all;
}

/** What this session measured, each with what it was before in this run, on the same chip. */
function entriesOf(session) {
  const run = report.sessions.filter(s => s.chip === session.chip && s.index <= session.index);
  return [...measuredIn(run).values()].filter(seen => seen.at(-1).session === session).map(seen => {
    const {data} = seen.at(-1).item, pairs = conditionPairs(data);
    return {name: data.what, unit: data.unit ?? "", pairs, at: new Map(pairs), after: seen.at(-1), before: seen.length > 1 ? seen[0] : null,
      between: Math.max(seen.length - 2, 0)};
  });
}

function sessionName({index, name}) {
  return `session ${index + 1}, ${name.split("/").at(-1) || "call"}`;
}

/** Where a moment's values were measured: sessions if the moments are of different ones, else steps. */
function momentPlace(seen, bySession) {
  const places = [...new Set(seen.map(({session, item}) => bySession ? sessionName(session) : item.part.title))].filter(Boolean);
  if (places.length === 0) return "";
  const quoted = bySession ? places : places.map(p => `"${p}"`);
  return `${bySession ? "" : "step "}${quoted.length > 2 ? `${quoted[0]} to ${quoted.at(-1)}` : quoted.join(" and ")}`;
}

function failedText(seen) {
  const failed = seen.filter(({item}) => !item.data.held).length;
  return failed > 0 ? `${failed} of ${seen.length} failed` : `${plural(seen.length, "value")} held`;
}

/** Says what is before and what is after. */
function momentsText(entries) {
  const after = entries.map(e => e.after), before = entries.flatMap(e => e.before ?? []), between = entries.reduce((n, e) => n + e.between, 0);
  if (before.length === 0) return `${failedText(after)}. `;
  const bySession = [...before, ...after].some(({session}) => session !== after[0].session);
  const [from, to] = [before, after].map(seen => momentPlace(seen, bySession)), told = from !== to;
  const key = moment => keyWith(markKey({number: "common", moment}), [el("b", {}, moment), ":"]);
  return [key("before"), ` ${told ? from : "measured first"}, ${failedText(before)}; `, key("after"),
    ` ${told ? to : "measured last"}, ${failedText(after)}. `, between > 0 && `${plural(between, "value")} between ${between === 1 ? "is" : "are"} in the steps. `];
}

/* ---- Which plots ------------------------------------------------------------------------------------------------- */

/** Conditions whose value follows from that of another, as the format from the rate. */
function followers(entries, name) {
  const names = new Set(entries.flatMap(e => e.pairs.map(([n]) => n)));
  return [...names].filter(other => {
    const known = new Map();
    return other !== name && entries.every(({at}) => {
      if (!known.has(at.get(name))) known.set(at.get(name), at.get(other));
      return known.get(at.get(name)) === at.get(other);
    });
  });
}

/** Divides entries into lines over a condition: one for each combination of the others. */
function linesOver(entries, axis) {
  const lines = new Map();
  for (const entry of entries.filter(e => e.at.has(axis.name))) {
    const others = entry.pairs.filter(([name]) => name !== axis.name && !axis.dropped.includes(name)), key = JSON.stringify(others.toSorted());
    if (!lines.has(key)) lines.set(key, {others, entries: []});
    lines.get(key).entries.push(entry);
  }
  return [...lines.values()];
}

/** An axis for each condition that varies, those that the kind prefers first, then numbers before words. */
function axesOf(kind, entries) {
  const names = [...new Set(entries.flatMap(e => e.pairs.map(([name]) => name)))];
  const rank = name => { const at = kind.over.findIndex(o => o.is.test(name)); return at < 0 ? kind.over.length : at; };
  return names.map(name => {
    const texts = [...new Set(entries.flatMap(e => e.at.get(name) ?? []))], words = wordConditions.test(name) || !texts.every(isNumber);
    const axis = {name, words: words ? texts : null, texts, dropped: words ? followers(entries, name) : [], preferred: kind.over.find(o => o.is.test(name))};
    return {...axis, longest: highest(linesOver(entries, axis).map(l => l.entries.length)), rank: rank(name) + (words ? 0.5 : 0)};
  }).filter(a => a.texts.length > 1 && a.longest > 1).sort((a, b) => a.rank - b.rank);
}

function bestAxis(kind, entries) {
  const axes = axesOf(kind, entries), curve = axes.find(a => kind.curve && a.rank === 0 && a.longest > 2);
  if (curve) return {...curve, least: 3};
  const best = axes.length > 0 && axes.reduce((a, b) => b.longest > a.longest ? b : a);
  return best ? {...best, least: 2} : null;
}

/** Lines that are too many for one plot become several: by the condition with the fewest values, or a few at a time. */
function divided(lines) {
  const most = lines.some(l => l.entries.some(e => e.before)) ? mostSeries - 1 : mostSeries;
  if (lines.length <= most) return [lines];
  const names = [...new Set(lines.flatMap(l => l.others.map(([name]) => name)))];
  const valueOf = (l, name) => l.others.find(([n]) => n === name)?.[1] ?? "";
  const counted = names.map(name => ({name, values: [...new Set(lines.map(l => valueOf(l, name)))]})).filter(c => c.values.length > 1);
  const fewest = counted.sort((a, b) => a.values.length - b.values.length)[0];
  if (fewest && fewest.values.length <= lines.length / 2)
    return fewest.values.flatMap(value => divided(lines.filter(l => valueOf(l, fewest.name) === value)));
  const size = Math.ceil(lines.length / Math.ceil(lines.length / most));
  return Array.from({length: Math.ceil(lines.length / size)}, (_, i) => lines.slice(i * size, (i + 1) * size));
}

/** The plots of one name, and the entries that are in none. Each value is drawn once. */
function plotsOf(kind, entries) {
  const plots = [];
  for (let left = entries; ;) {
    const axis = left.length > 0 ? bestAxis(kind, left) : null;
    if (!axis) return {plots, left};
    const lines = linesOver(left, axis).filter(l => l.entries.length >= axis.least), drawn = new Set(lines.flatMap(l => l.entries));
    plots.push(...divided(lines).map(some => ({kind, axis, lines: some})));
    left = left.filter(e => !drawn.has(e));
  }
}
