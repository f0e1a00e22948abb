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

/** Shows a list of any length in `host`: as many items as the reader scrolls to. `render` returns an item's nodes. */
class LongList {
  from = 0;
  to = 0;

  constructor(host, items, render) {
    Object.assign(this, {host, items, render});
    const button = onclick => el("button", {type: "button", class: "more", onclick});
    this.earlier = button(() => this.growUp());
    this.later = button(() => this.grow());
    this.nodes = [this.earlier, host, this.later];
    this.grow();
    this.growWhenNear();
  }

  create(from, to) {
    const nodes = document.createDocumentFragment();
    appendAll(nodes, this.items.slice(from, to).map(item => this.render(item)));
    return nodes;
  }

  label() {
    this.earlier.hidden = this.from === 0;
    this.earlier.textContent = `${this.from} earlier`;
    this.later.hidden = this.to === this.items.length;
    this.later.textContent = `${this.items.length - this.to} more`;
  }

  grow() {
    const end = Math.min(this.to + listChunk, this.items.length);
    this.host.append(this.create(this.to, end));
    this.to = end;
    this.label();
  }

  growUp() {
    const start = Math.max(this.from - listChunk, 0);
    this.host.prepend(this.create(start, this.from));
    this.from = start;
    this.label();
  }

  growWhenNear() {
    const near = new IntersectionObserver(entries => {
      if (!entries.at(-1).isIntersecting || this.to === this.items.length) return;
      this.grow();
      near.unobserve(this.later);  // the button may still be in view, which is no change
      near.observe(this.later);
    }, {rootMargin: "400px"});
    near.observe(this.later);
  }

  /** Makes sure that an item is there. */
  show(index) {
    if (index >= this.from && index < this.to) return;
    this.host.replaceChildren();
    this.from = this.to = Math.max(index - 20, 0);
    this.grow();
  }
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
