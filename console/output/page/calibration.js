// SPDX-License-Identifier: Apache-2.0
// Calibration and NV: the store at two moments, parameter by parameter, as curves and as numbers.

const subBands = ["5180–5320 MHz", "5500–5640 MHz", "5660–5720 MHz", "5745–5825 MHz"];
const families = [
  {is: /^pa2g(a|40a|ccka)[01]$/, kind: "curve", values: 3, parts: [""]},
  {is: /^pa5g(a|lowa)[01]$/, kind: "curve", values: 12, parts: subBands},
  {is: /^mf2g(a|40a|ccka)[01]$/, kind: "offsets", values: 13, labels: Array.from({length: 13}, (_, i) => `${i + 1}`), of: "channel"},
  {is: /^dpn160c[01]$/, kind: "offsets", values: 2, labels: ["5250", "5570"], of: "MHz"},
];

/** Groups of the block's code pairs. Calibration changes the second byte of each pair. */
const blockGroups = [["2.4 GHz 11b", 0, 1], ["2.4 GHz 11g", 2, 6], ["2.4 GHz 11n 20M", 7, 12], ["2.4 GHz 11n 40M", 13, 20],
  ["5 GHz 11a", 21, 25], ["5 GHz 11n 20M", 26, 31], ["5 GHz 11n 40M", 32, 38], ["5 GHz 11ac 80M", 39, 44]];

function bytesOf(text) {
  return text.slice(2).match(/../g)?.map(b => parseInt(b, 16)) ?? [];
}

/** The driver's own values by number: the starting values of parameters that NV does not have. */
const twoChainNumbers = ["pa2gccka0", "pa2ga0", "pa2g40a0", "pa5ga0", "pa2gccka1", "pa2ga1", "pa2g40a1", "pa5ga1", "pa5glowa0", "pa5glowa1"];
const oneChainNumbers = ["", "pa2gccka0", "pa2ga0", "pa2g40a0", "pa5ga0", "pa5glowa0"];

function driverValues(session) {
  const names = session.chip === "vq2040a" ? oneChainNumbers : twoChainNumbers, values = new Map();
  for (const {data} of session.calls)
    for (const d of data.driver)
      if (d.name === "cal_parameter" && d.answer !== "" && !values.has(names[d.sent])) values.set(names[d.sent], d.answer);
  return values;
}

/** The parameters of a text item, or the groups of a block. */
const parametersOfItem = memo(item => {
  if (item.name === "WINVRAM" && item.text.startsWith("0x")) {
    const bytes = bytesOf(item.text);
    return blockGroups.map(([name, first, last]) => ({item, name, value: bytes.slice(2 * first, 2 * last + 2).join(",")}));
  }
  if (item.text.startsWith("0x")) return [{item, name: "bytes", value: item.text}];
  return item.text.split(";").filter(Boolean).map(entry => {
    const equals = entry.indexOf("=");
    return {item, name: equals < 0 ? "text" : entry.slice(0, equals), value: entry.slice(equals + 1)};
  });
});

function parametersOf(state) {
  return new Map(state.items.flatMap(parametersOfItem).map(p => [`${p.item.number} ${p.item.name} ${p.name}`, p]));
}

function parameterCount(state) {
  return state.items.reduce((n, item) => n + parametersOfItem(item).length, 0);
}

function familyOf(name) {
  return families.find(f => f.is.test(name)) ?? null;
}

/** The numbers of a value, or null if they do not fit the family. */
function numbersOf(family, parameter) {
  if (!parameter) return null;
  const numbers = parameter.value.split(",").map(Number);
  return numbers.length === family.values && numbers.every(Number.isInteger) ? numbers : null;
}

/* ---- Plots ------------------------------------------------------------------------------------------------------- */

const mostPower = 24;  // dBm

function curveAt([a, b, c], x) {
  return c + b * x / 1024 + a * x * x / 65536;
}

/** The change from one curve to the other, below them. */
function drawChange(changed, xs, x, width) {
  const reach = rangeOf([...changed, 0], 0.5), y = scale(...reach, 222, 170);
  return [valueAxis(reach, y, width, 3, "change, counts"), svg("line", {class: "zero", x1: plotLeft, x2: width, y1: y(0), y2: y(0)}),
    line(xs.map((v, i) => [x(v), y(changed[i])]), "change")];
}

function drawCurve({before, after}, width) {
  const xs = Array.from({length: 33}, (_, i) => i * mostPower / 32), x = scale(0, mostPower, plotLeft, width - 8);
  const lines = [["before", before], ["after", after]].filter(([, c]) => c);
  const range = rangeOf(lines.flatMap(([, c]) => xs.map(v => curveAt(c, v))), 0.5), y = scale(...range, 138, 6);
  const changed = before && after && xs.map(v => curveAt(after, v) - curveAt(before, v)), bottom = changed ? 228 : 142;
  return svg("svg", {viewBox: `0 0 ${width} ${bottom + 34}`, width, height: bottom + 34, "aria-hidden": "true"},
    valueAxis(range, y, width, 3, "detector, counts"), lines.map(([kind, c]) => line(xs.map(v => [x(v), y(curveAt(c, v))]), kind)),
    changed && drawChange(changed, xs, x, width),
    [0, 6, 12, 18, 24].map(v => svg("text", {x: x(v), y: bottom + 14, "text-anchor": v === mostPower ? "end" : "middle"}, String(v))),
    axisName("power, dBm", (plotLeft + width) / 2, bottom + 30));
}

function drawOffsets({before, after, family}, width) {
  const all = [...(before ?? []), ...(after ?? []), 0];
  const range = rangeOf(all, 1), y = scale(...range, 150, 6), slot = (width - plotLeft) / family.values;
  const bar = (values, kind, shift) => values?.map((v, i) => svg("rect", {class: `bar ${kind}`,
    x: plotLeft + slot * (i + shift), width: Math.min(slot * 0.36, 40), y: Math.min(y(v), y(0)) - (v === 0 ? 1 : 0),
    height: Math.max(Math.abs(y(v) - y(0)), 2)}));
  return svg("svg", {viewBox: `0 0 ${width} 188`, width, height: 188, "aria-hidden": "true"},
    valueAxis(range, y, width, 4, "offset, 0.1 dB"), svg("line", {class: "zero", x1: plotLeft, x2: width, y1: y(0), y2: y(0)}),
    bar(before, "before", 0.1), bar(after, "after", 0.5),
    family.labels.map((l, i) => svg("text", {x: plotLeft + slot * (i + 0.48), y: 166, "text-anchor": "middle"}, l)),
    axisName(family.of === "MHz" ? "channel, MHz" : "channel", (plotLeft + width) / 2, 184));
}

function drawBlock({before, after}, width) {
  const top = width < 600 ? 118 : 74, slope = width < 600 ? -90 : -30, low = top + 152, height = low + 38;
  const x = scale(-0.5, 44.5, plotLeft, width - (width < 600 ? 4 : 70)), y = scale(0, 255, low, top);
  const points = (codes, kind) => codes?.map((v, i) => svg("circle", {class: `dot ${kind}`, cx: x(i), cy: y(v), r: kind === "after" ? 3 : 4}));
  const groups = blockGroups.map(([name, first, last], i) => [
    svg("rect", {class: i % 2 ? "stripe" : "stripe odd", x: x(first - 0.5), width: x(last + 0.5) - x(first - 0.5), y: top, height: 152}),
    svg("text", {transform: `translate(${x((first + last) / 2) + 4} ${top - 6}) rotate(${slope})`}, name)]);
  return svg("svg", {viewBox: `0 0 ${width} ${height}`, width, height, "aria-hidden": "true"}, groups,
    valueAxis([0, 255], y, width, 4, "code"), points(before, "before"), points(after, "after"),
    [0, 10, 20, 30, 40].map(v => svg("text", {x: x(v), y: low + 16, "text-anchor": "middle"}, String(v))),
    axisName("pair", (plotLeft + width) / 2, low + 32));
}

function arrow(before, after) {
  const text = v => v === null || v === undefined || v === "" ? "none" : String(v);
  return text(before) === text(after) ? text(after) : `${text(before)} → ${text(after)}`;
}

function changedClass(changed) {
  return changed ? {class: "changed"} : {};
}

/** What the plot of a curve shows, for those who cannot see it. */
function curveTable(title, {before, after}) {
  const at = (curve, x) => curve ? curveAt(curve, x).toFixed(1) : "none";
  return table("values", title, ["Power", "Before", "After", "Change"], [0, 3, 6, 9, 12, 15, 18, 21, mostPower].map(x => ({cells: [`${x} dBm`,
    at(before, x), at(after, x), before && after ? (curveAt(after, x) - curveAt(before, x)).toFixed(1) : "none"]})));
}

function curveFigure(title, words, curves, changed) {
  const node = figure(title, words, changedClass(changed), w => drawCurve(curves, w), true);
  node.append(fold({class: "values"}, "Table of values, in detector counts", false, () => curveTable(title, curves)));
  return node;
}

function curveFigures(name, family, before, after) {
  return family.parts.map((part, i) => {
    const of = v => v && v.slice(3 * i, 3 * i + 3);
    const [b, a] = [of(before), of(after)];
    const words = ["a", "b", "c"].map((letter, k) => `${letter} ${arrow(b?.[k], a?.[k])}`).join(", ");
    const changed = String(b) !== String(a);
    return {changed, node: curveFigure([name, part].filter(Boolean).join(", "), words, {before: b, after: a}, changed)};
  });
}

function offsetFigure(name, family, before, after) {
  const changes = family.labels.map((l, i) => [l, before?.[i] ?? 0, after?.[i] ?? 0]).filter(([, b, a]) => b !== a);
  const words = changes.length === 0 ? "offsets, unchanged"
    : `offsets: ${changes.map(([l, b, a]) => `${family.of === "MHz" ? `${l} MHz` : `channel ${l}`}: ${arrow(b, a)}`).join("; ")}`;
  return [{changed: changes.length > 0, node: figure(name, words, changedClass(changes.length > 0), w => drawOffsets({before, after, family}, w), true)}];
}

function blockFigures(before, after) {
  const codes = state => {
    const item = state.items.find(i => i.name === "WINVRAM" && i.text.startsWith("0x"));
    return item ? bytesOf(item.text).filter((_, i) => i % 2 === 1).slice(0, 45) : null;
  };
  const [b, a] = [codes(before), codes(after)];
  if (!b && !a) return [];
  const changed = Array.from({length: 45}, (_, i) => i).filter(i => b?.[i] !== a?.[i]).length;
  return [{changed: changed > 0, node: figure("WINVRAM, second byte of each pair", changed ? `${changed} of 45 codes changed` : "unchanged",
    {class: changed > 0 ? "wide changed" : "wide"}, w => drawBlock({before: b, after: a}, w), false)}];
}

function figuresOf(before, after, driver) {
  const [old, now] = [parametersOf(before), parametersOf(after)];
  const list = [blockFigures(before, after)];
  for (const key of new Set([...old.keys(), ...now.keys()])) {
    const name = (now.get(key) ?? old.get(key)).name, family = familyOf(name);
    if (!family) continue;
    const start = old.get(key) ?? (driver.has(name) && {value: driver.get(name)});
    const [b, a] = [numbersOf(family, start), numbersOf(family, now.get(key))];
    if (b || a) list.push((family.kind === "curve" ? curveFigures : offsetFigure)(name, family, b, a));
  }
  return list.flat().sort((p, q) => q.changed - p.changed).map(f => f.node);
}

/* ---- Numbers ----------------------------------------------------------------------------------------------------- */

function changedParameters(before, after) {
  const [old, now] = [parametersOf(before), parametersOf(after)], list = [];
  for (const key of new Set([...old.keys(), ...now.keys()])) {
    const {item, name} = now.get(key) ?? old.get(key);
    list.push({item, name, before: old.get(key)?.value ?? null, after: now.get(key)?.value ?? null});
  }
  return list.sort((p, q) => p.item.number - q.item.number);
}

function valueText(value) {
  return value === null ? "none" : value === "" ? "empty" : value;
}

function nvTable(before, after) {
  const rows = changedParameters(before, after);
  if (rows.length === 0) return el("p", {class: "hint"}, "The NV store was empty at both moments.");
  return table("nv", "NV contents, decoded", ["Item", "Parameter", "Before", "After"], rows.map(r => {
    const changed = r.before !== r.after;
    return {class: changed ? "changed" : "", cells: [`${r.item.number} ${r.item.name}`, r.name, valueText(r.before),
      changed ? [el("b", {}, valueText(r.after)), " ", el("span", {class: "tag"}, "changed")] : valueText(r.after)]};
  }));
}

function changesAt(session, i) {
  const changes = changedParameters(session.nv[i - 1], session.nv[i]).filter(r => r.before !== r.after);
  return el("li", {}, momentText(session, i), el("ul", {}, changes.map(r => el("li", {}, el("code", {}, r.name), " ", arrow(r.before, r.after)))));
}

function historyList(session) {
  if (session.nv.length < 2) return [];
  const moments = session.nv.slice(1).map((_, i) => i + 1);
  return [el("h3", {}, "Every change, in order"), new LongList(el("ol", {class: "history"}), moments, i => changesAt(session, i)).nodes];
}

function momentText(session, i) {
  if (i === 0) return "at the start of the session";
  const {call} = session.nv[i];
  const last = i === session.nv.length - 1 ? " (as at the end)" : "";
  if (!call) return `set by the script${last}`;
  const wrote = call.data.nv.some(n => n.write);
  return `${wrote ? "after" : "set by the script after"} call ${call.number}, ${callText(call.data)}${last}`;
}

/** Start and end. If the store is empty at the end, the moment with the most data; if at the start, the first with any. */
function momentsToCompare(session) {
  const sizes = session.nv.map(parameterCount), last = sizes.length - 1;
  if (sizes[last] > 0) return [0, last];
  return [sizes[0] > 0 ? 0 : sizes.findIndex(n => n > 0), sizes.lastIndexOf(highest(sizes))];
}

function momentHint(session, [before, after]) {
  const last = session.nv.length - 1;
  if (before === 0 && after === last) return "Compared: the start and the end of the session.";
  const empty = [before !== 0 && "at the start", after !== last && "at the end"].filter(Boolean).join(" and ");
  return `NV was empty ${empty} of the session; compared are moments within it.`;
}

const mostChoices = 500;

/** The moments by name or, if they are many, by number. */
function momentChoice(session, chosen, onchange) {
  if (session.nv.length > mostChoices) return el("input", {type: "number", min: 0, max: session.nv.length - 1, value: chosen, onchange});
  return el("select", {onchange}, session.nv.map((_, i) => el("option", {value: i, selected: i === chosen}, momentText(session, i))));
}

function calibrationSection(session) {
  if (!session.phone.virtual) return el("p", {class: "hint"}, "The NV store of a phone that is there cannot be looked at from outside.");
  if (session.nv.every(state => parameterCount(state) === 0))
    return el("p", {class: "hint"}, "The NV store held nothing, from start to end.");
  const host = el("div"), chosen = momentsToCompare(session), driver = driverValues(session);
  const show = () => {
    const [before, after] = chosen.map(i => session.nv[i]);
    const figures = figuresOf(before, after, driver);
    host.replaceChildren(
      el("p", {class: "legend"}, el("span", {class: "key before"}), " before: ", momentText(session, chosen[0]), el("br"),
        el("span", {class: "key after"}), " after: ", momentText(session, chosen[1])),
      figures.length ? el("div", {class: "figures"}, figures) : el("p", {class: "hint"}, "No calibration is stored at these moments."),
      el("h3", {}, "NV contents, decoded"), nvTable(before, after));
  };
  const choose = which => e => { chosen[which] = Number(e.target.value); show(); };
  const choice = (which, label) => el("label", {}, label, " ", momentChoice(session, chosen[which], choose(which)));
  show();
  return [el("p", {class: "hint"}, momentHint(session, chosen), session.chip === "vq2040" ? ""
    : " A curve is the detector's reading C(x) = (a x² + 64 b x + 65536 c) / 65536 at a power of x dBm. Where NV has no value before, the curve is the driver's own."),
    el("div", {class: "controls"}, choice(0, "before"), choice(1, "after")), host, historyList(session)];
}
