// SPDX-License-Identifier: Apache-2.0
// Creates elements. Data from the phone, a script or a log only becomes text, never markup.

function fillElement(node, attributes, children) {
  for (const [name, value] of Object.entries(attributes)) {
    if (name.startsWith("on")) node.addEventListener(name.slice(2), value);
    else if (value === true) node.setAttribute(name, "");
    else if (value !== false && value !== null && value !== undefined) node.setAttribute(name, value);
  }
  appendAll(node, children);
  return node;
}

/** One by one: as arguments of a single call, a long list would overflow the stack. */
function appendAll(node, children) {
  for (const child of children.flat(Infinity))
    if (child !== null && child !== undefined && child !== false) node.append(child);
}

function el(name, attributes = {}, ...children) {
  return fillElement(document.createElement(name), attributes, children);
}

function svg(name, attributes = {}, ...children) {
  return fillElement(document.createElementNS("http://www.w3.org/2000/svg", name), attributes, children);
}

function mark(kind) {
  const marks = {ok: ["✓", "held"], bad: ["✗", "failed"], warn: ["!", "gave a failure"], plain: ["–", "nothing expected"]};
  const [sign, words] = marks[kind];
  return el("span", {class: `mark ${kind}`, title: words}, el("span", {"aria-hidden": "true"}, sign),
    el("span", {class: "unseen"}, words));
}

function checkbox(label, checked, onchange) {
  return el("label", {class: "check"}, el("input", {type: "checkbox", checked, onchange}), " ", label);
}

function definitions(pairs, attributes = {}) {
  return el("dl", attributes, pairs.filter(([, value]) => value !== "" && value !== null).map(([name, value]) =>
    el("div", {}, el("dt", {}, name), el("dd", {}, value))));
}

/** Computes something of a value once. Equal data is one object, so there are far fewer of them than calls. */
function memo(compute) {
  const known = new Map();
  return value => {
    if (!known.has(value)) known.set(value, compute(value));
    return known.get(value);
  };
}

/* Math.min and Math.max take their numbers as arguments, too many of which overflow the stack. */
const lowest = list => list.reduce((a, b) => Math.min(a, b));
const highest = list => list.reduce((a, b) => Math.max(a, b));

/* ---- Created on demand ------------------------------------------------------------------------------------------- */

/** A block that is filled when it is first opened. */
function fold(attributes, summary, open, fill) {
  const node = el("details", attributes, el("summary", {}, summary));
  let filled = false;
  node.fill = () => {
    if (!filled) appendAll(node, [fill()]);
    filled = true;
  };
  node.addEventListener("toggle", () => { if (node.open) node.fill(); });
  if (open) unfold(node);
  return node;
}

function unfold(node) {
  node.fill?.();
  node.open = true;
}

const listChunk = 200;

/**
 * Shows a list of any length in `host`: as many items as the reader scrolls to. `render` returns an item's nodes.
 * show(i) makes sure that item i is there.
 */
function longList(host, items, render) {
  let from = 0, to = 0;
  const button = onclick => el("button", {type: "button", class: "more", onclick});
  const create = (first, last) => {
    const nodes = document.createDocumentFragment();
    appendAll(nodes, items.slice(first, last).map(render));
    return nodes;
  };
  const label = () => {
    earlier.hidden = from === 0;
    earlier.textContent = `${from} earlier`;
    later.hidden = to === items.length;
    later.textContent = `${items.length - to} more`;
  };
  const grow = () => {
    const first = to;
    to = Math.min(to + listChunk, items.length);
    host.append(create(first, to));
    label();
  };
  const earlier = button(() => {
    const last = from;
    from = Math.max(from - listChunk, 0);
    host.prepend(create(from, last));
    label();
  });
  const later = button(grow);
  const near = new IntersectionObserver(entries => {
    if (!entries.at(-1).isIntersecting || to === items.length) return;
    grow();
    near.unobserve(later);  // the button may still be in view, which is no change
    near.observe(later);
  }, {rootMargin: "400px"});
  near.observe(later);
  const show = index => {
    if (index >= from && index < to) return;
    host.replaceChildren();
    from = to = Math.max(index - 20, 0);
    grow();
  };
  grow();
  return {nodes: [earlier, host, later], show};
}

/* ---- Drawings ---------------------------------------------------------------------------------------------------- */

/** Redraws a drawing whenever its width changes, so that its text keeps its size. */
const drawings = [];

function widthOf(host) {
  const style = getComputedStyle(host);
  return Math.floor(host.clientWidth - parseFloat(style.paddingLeft) - parseFloat(style.paddingRight));
}

function drawing(host, draw) {
  const entry = {width: 0, redraw(width = widthOf(host)) {
    if (!(width > 0) || width === entry.width) return;  // it has no width until it is in the page
    entry.width = width;
    host.replaceChildren(draw(width));
  }};
  entry.again = () => { const width = entry.width; entry.width = 0; entry.redraw(width || undefined); };
  drawings.push(entry);
  new ResizeObserver(() => { if (!matchMedia("print").matches) entry.redraw(); }).observe(host);
  return entry;
}

/** About `wanted` round values for an axis. */
function ticks(from, to, wanted) {
  const rough = (to - from) / wanted, power = 10 ** Math.floor(Math.log10(rough));
  const step = [1, 2, 5, 10].map(f => f * power).find(s => s >= rough) ?? rough;
  const list = [];
  for (let i = Math.ceil(from / step - 1e-9); i * step <= to + step * 1e-9; ++i) list.push(Number((i * step).toPrecision(12)));
  return list;
}

const plotLeft = 62;

function scale(from, to, low, high) {
  return v => low + (v - from) / (to - from) * (high - low);
}

/** Some room around values, at least `least`. */
function rangeOf(values, least) {
  const low = lowest(values), high = highest(values);
  const room = Math.max((high - low) * 0.08, least);
  return [low - room, high + room];
}

/** Grid lines with their values, and the axis' name along it. */
function valueAxis(range, y, width, wanted, name) {
  const middle = (y(range[0]) + y(range[1])) / 2;
  return [ticks(...range, wanted).map(v => svg("g", {class: "grid"},
    svg("line", {x1: plotLeft, x2: width, y1: y(v), y2: y(v)}),
    svg("text", {x: plotLeft - 6, y: y(v) + 4, "text-anchor": "end"}, String(v)))),
    svg("text", {class: "axis-name", transform: `translate(12 ${middle}) rotate(-90)`, "text-anchor": "middle"}, name)];
}

function axisName(name, x, y) {
  return svg("text", {class: "axis-name", x, y, "text-anchor": "middle"}, name);
}

function line(points, kind) {
  return svg("polyline", {class: kind, points: points.map(p => p.map(n => n.toFixed(1)).join(",")).join(" ")});
}

function figure(title, words, attributes, draw, small) {
  const host = el("div", {class: "plot"});
  drawing(host, draw).small = small;
  return el("figure", attributes, el("figcaption", {}, el("b", {}, title), el("span", {class: "words"}, words)), host);
}
