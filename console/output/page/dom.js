// SPDX-License-Identifier: Apache-2.0
// Creates elements. Data from the phone, a script or a log only becomes text, never markup.

function fillElement(node, attributes, children) {
  for (const [name, value] of Object.entries(attributes)) {
    if (name.startsWith("on")) node.addEventListener(name.slice(2), value);
    else if (value === true) node.setAttribute(name, "");
    else if (value !== false && value !== null && value !== undefined) node.setAttribute(name, value);
  }
  node.append(...children.flat(Infinity).filter(c => c !== null && c !== undefined && c !== false));
  return node;
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
