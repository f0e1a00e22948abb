// SPDX-License-Identifier: Apache-2.0
// One session on the phone's clock: steps, calls, driver commands, shell commands, pauses, waits.

const laneNames = ["step", "call", "driver", "shell", "pause", "wait"];
const laneTitles = {step: "Steps", call: "Calls", driver: "Driver", shell: "Shell", pause: "Pauses", wait: "Waits"};
const laneHeight = 30;

function commandText(d) {
  let text = d.name;
  if (d.sent !== "") text += `=${d.sent}`;
  if (d.answer !== "") text += `: ${d.answer}`;
  if (!d.taken) text += " refused";
  else if (d.attempts > 1) text += " at the second attempt";
  return text;
}

function partSpans(session) {
  const spans = [];
  for (const part of session.parts) {
    const first = part.items.find(i => i.kind === "call"), last = part.items.findLast(i => i.kind === "call");
    if (!first) continue;
    if (spans.length > 0) spans.at(-1).to = first.at_us;
    spans.push({label: () => part.title || "before the first step", from: first.at_us, to: last.at_us + last.phone_us});
  }
  return spans;
}

/** Gaps between calls, in which the session itself waited. */
function waitSpans(session) {
  const spans = [];
  let since = 0;
  const wait = (from, to) => { if (to > from) spans.push({label: () => `wait ${duration(to - from)}`, from, to}); };
  for (const c of session.calls) {
    wait(since, c.at_us);
    since = Math.max(since, c.at_us + c.phone_us);
  }
  wait(since, session.end?.phone_us ?? since);
  return spans;
}

/** What the calls did, as marks. Their labels are made when they are drawn: there can be a million. */
function contactMarks(session, contacts, mark) {
  const marks = [];
  for (const call of session.calls) for (const what of contacts(call.data)) marks.push(mark(call, what));
  return marks;
}

function timeMarks(session) {
  return {
    step: partSpans(session),
    call: session.calls.map(c => ({label: () => callText(c.data), from: c.at_us, to: c.at_us + c.phone_us})),
    driver: contactMarks(session, c => c.driver, (c, d) =>
      ({label: () => `${d.id} ${commandText(d)}`, from: c.at_us + d.at_us, to: c.at_us + d.at_us, bad: !d.taken})),
    shell: contactMarks(session, c => c.shell, (c, s) => ({label: () => s.command, from: c.at_us + s.at_us, to: c.at_us + s.at_us, bad: s.status !== 0})),
    pause: contactMarks(session, c => c.pauses, (c, p) =>
      ({label: () => `pause ${duration(p.us)} in ${c.data.function}`, text: () => duration(p.us), from: c.at_us + p.at_us, to: c.at_us + p.at_us + p.us})),
    wait: waitSpans(session),
  };
}

/** Merges marks into groups as long as `joins` says that the next one belongs to the group. */
function gather(marks, x, joins) {
  const groups = [];
  for (const m of marks) {
    const last = groups.at(-1), start = x(m.from), end = x(m.to);
    if (last && joins(last, start, end)) {
      last.marks.push(m);
      last.end = Math.max(last.end, end);
    } else groups.push({start, end, marks: [m]});
  }
  return groups;
}

function listed(marks) {
  const lines = marks.slice(0, 12).map(m => `${duration(m.from)}  ${m.label()}`);
  if (marks.length > 12) lines.push(`and ${marks.length - 12} more`);
  return lines.join("\n");
}

function drawPoints(marks, kind, x, y) {
  return gather(marks, x, (group, start) => start - group.end < 9).map(g => {
    const bad = g.marks.some(m => m.bad), many = g.marks.length, middle = (g.start + g.end) / 2;
    const width = Math.max(g.end - g.start + 12, many > 1 ? 10 + 7 * String(many).length : 10);
    return svg("g", {class: `point ${kind} ${bad ? "bad" : ""}`},
      svg("title", {}, listed(g.marks)),
      svg("rect", {x: middle - width / 2, y: y + 6, width, height: 18, rx: many > 1 ? 4 : 5}),
      (many > 1 || bad) && svg("text", {x: middle, y: y + 19, "text-anchor": "middle"}, (bad ? "✗" : "") + (many > 1 ? many : "")));
  });
}

function spanText(marks, kind, width) {
  if (marks.length > 1) return "";
  const text = (marks[0].text ?? marks[0].label)(), room = Math.floor((width - 8) / 6.4);
  return text.length <= room ? text : room > 4 && kind !== "pause" ? `${text.slice(0, room - 1)}…` : "";
}

function drawSpans(spans, kind, x, y, view) {
  const within = us => x(Math.min(Math.max(us, view.from), view.to));
  return gather(spans, within, (group, start, end) => end - group.start < 3).map((g, i) => {
    const width = Math.max(g.end - g.start, 2), shown = spanText(g.marks, kind, width);
    return svg("g", {class: `span ${kind} ${i % 2 ? "odd" : "even"}`},
      svg("title", {}, listed(g.marks)),
      svg("rect", {x: g.start, y: y + 5, width, height: 20, rx: Math.min(3, width / 2)}),
      shown && svg("text", {x: g.start + width / 2, y: y + 19, "text-anchor": "middle"}, shown));
  });
}

function drawGrid(view, x, left, width, bottom) {
  const axis = ticks(view.from / 1e6, view.to / 1e6, Math.max(3, Math.floor((width - left) / 90)));
  return axis.map(s => svg("g", {class: "grid"},
    svg("line", {x1: x(s * 1e6), x2: x(s * 1e6), y1: 0, y2: bottom}),
    svg("text", {x: x(s * 1e6), y: bottom + 16, "text-anchor": s * 1e6 <= view.from ? "start" : x(s * 1e6) > width - 24 ? "end" : "middle"},
      duration(Math.round(s * 1e6)))));
}

function drawAxis(marks, view, width) {
  const left = 58, lanes = laneNames.filter(n => marks[n].length > 0), bottom = lanes.length * laneHeight;
  const x = us => left + 4 + (us - view.from) / (view.to - view.from) * (width - left - 26);
  const seen = list => list.filter(m => m.to >= view.from && m.from <= view.to);
  const lane = (name, i) => [
    svg("line", {class: "lane", x1: 0, x2: width, y1: (i + 1) * laneHeight, y2: (i + 1) * laneHeight}),
    svg("text", {class: "lane-name", x: 0, y: i * laneHeight + 19}, laneTitles[name]),
    name === "driver" || name === "shell" ? drawPoints(seen(marks[name]), name, x, i * laneHeight)
      : drawSpans(seen(marks[name]), name, x, i * laneHeight, view)];
  return svg("svg", {class: "axis", viewBox: `0 0 ${width} ${bottom + 24}`, width, height: bottom + 24, role: "img",
    "aria-label": `Time axis from ${duration(view.from)} to ${duration(view.to)}: ${seen(marks.driver).length} driver commands, ${seen(marks.pause).length} required pauses. The steps list them in words.`},
    drawGrid(view, x, left, width, bottom), lanes.map(lane));
}

/** Moves and zooms the visible part within the whole. */
function moved(view, whole, shift, zoom) {
  const length = Math.min(Math.max((view.to - view.from) * zoom, 100), whole.to);
  const middle = (view.from + view.to) / 2 + shift * (view.to - view.from);
  const from = Math.round(Math.min(Math.max(middle - length / 2, 0), whole.to - length));
  return {from, to: Math.round(from + length)};
}

const axisKeys = {ArrowLeft: [-0.25, 1], ArrowRight: [0.25, 1], "+": [0, 0.5], "=": [0, 0.5], "-": [0, 2]};

function axisControls(marks, whole, show) {
  const button = (label, sign, change) => el("button", {type: "button", "aria-label": label, title: label, onclick: change}, sign);
  const steps = el("select", {"aria-label": "Part of the session to show", onchange: () => {
    const step = marks.step[steps.value];
    show(() => step ? {from: step.from, to: Math.max(step.to, step.from + 1000)} : whole);
  }}, el("option", {value: ""}, "whole session"), marks.step.slice(0, mostChoices).map((s, i) => el("option", {value: i}, s.label())));
  const move = (shift, zoom) => () => show(view => moved(view, whole, shift, zoom));
  return el("div", {class: "controls", role: "group", "aria-label": "Time axis"}, steps,
    button("Earlier", "◀", move(-0.5, 1)), button("Later", "▶", move(0.5, 1)),
    button("Closer", "+", move(0, 0.5)), button("Farther", "-", move(0, 2)));
}

function timeShares(session) {
  const time = session.end?.time, total = session.end?.phone_us ?? 0;
  if (!time || total === 0) return null;
  const shares = [["pause", "required pauses", time.pauses_us], ["wait", "waits of the session", total - session.end.calls_us],
    ["driver", "driver", time.driver_us], ["shell", "shell", time.shell_us], ["own", "library", time.library_us]];
  const present = shares.filter(([, , us]) => us > 0);
  let at = 0;
  const bars = present.map(([kind, , us]) => {
    const width = 1000 * us / total;
    return svg("rect", {class: kind, x: (at += width) - width, y: 0, width, height: 10});
  });
  const percent = us => `${(100 * us / total).toFixed(us > 0 && us * 100 < total ? 1 : 0)} %`;
  return el("div", {class: "shares"},
    svg("svg", {viewBox: "0 0 1000 10", preserveAspectRatio: "none", "aria-hidden": "true"}, bars),
    el("ul", {}, shares.map(([kind, name, us]) => el("li", {}, el("span", {class: `swatch ${kind}`}), ` ${name} `,
      el("b", {}, duration(us)), ` ${percent(us)}`))));
}

function timeSection(session) {
  const end = session.end?.phone_us ?? session.calls.reduce((last, c) => Math.max(last, c.at_us + c.phone_us), 0);
  const marks = timeMarks(session), whole = {from: 0, to: Math.max(end, 1000)};
  const host = el("div", {class: "plot", tabindex: "0", role: "group", "aria-label": "Time axis; arrow keys move, plus and minus zoom"});
  let view = whole;
  const picture = drawing(host, width => drawAxis(marks, view, width));
  const show = change => { view = change(view); picture.again(); };
  host.addEventListener("keydown", event => {
    const change = axisKeys[event.key];
    if (!change || event.ctrlKey || event.metaKey) return;
    event.preventDefault();
    show(old => moved(old, whole, ...change));
  });
  session.wholeAxis = () => { view = whole; };
  return el("div", {}, axisControls(marks, whole, show), host, timeShares(session),
    session.clock === "virtual" && el("p", {class: "hint"},
      "On the virtual clock only pauses and waits take time; driver and shell commands happen at once."));
}
