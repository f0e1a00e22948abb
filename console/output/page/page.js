// SPDX-License-Identifier: Apache-2.0
// The page: overall verdict, failures, then one session at a time; in print all of them.

const report = readEvents(document.getElementById("events").textContent);
const views = [];

function total(count) {
  return report.sessions.reduce((sum, s) => sum + count(s), 0);
}

/** The message that a session stopped with. */
function stopReason() {
  const stop = report.sessions.flatMap(s => s.failures).find(f => f.error);
  return stop ? `A session stopped before its end: ${stop.error}` : "A session stopped before its end.";
}

function verdictSentence(verdict, failed, judged) {
  if (verdict === "cut") return "The session came to no end; this is what happened until then.";
  if (verdict === "none") return "Nothing was expected, so nothing was judged.";
  if (verdict === "broken") return stopReason();
  if (failed > 0) return `${failed} of ${plural(judged, "expectation")} failed.`;
  return judged > 0 ? `${judged === 1 ? "The one expectation" : `All ${judged} expectations`} held.` : "The call succeeded.";
}

/** Who was tested, where and with what, as far as it was given. */
function identityRows({identity}) {
  if (!identity) return [];
  const {plan, versions} = identity;
  return [["Serial", identity.serial], ["Station", identity.station], ["Slot", identity.slot], ["Operator", identity.operator],
    ["Plan", `${plan.name}, version ${plan.version}`], ["Attempt", String(identity.attempt)], ["Started", identity.started],
    ["Run", identity.run], ["Console", versions.console], ["Library's version", versions.library]].filter(([, value]) => value);
}

/** What a reader of a heap of pages looks for first. */
function identityLine() {
  const short = ["Serial", "Station", "Slot", "Operator", "Started"];
  const rows = report.sessions.length > 0 ? identityRows(report.sessions[0].data).filter(([name]) => short.includes(name)) : [];
  return rows.length > 0 && el("p", {class: "identity"}, rows.map(row => row.join(" ")).join(", "));
}

function showVerdict() {
  const verdict = reportVerdict(report), failed = total(s => s.failures.filter(f => f.expectation).length), judged = total(s => s.judged);
  const one = report.sessions.length === 1 ? report.sessions[0] : null;
  const name = one ? (one.name || "single call") : plural(report.sessions.length, "session");
  document.title = `${verdictWords[verdict]}: ${name}${one ? ` on ${one.chip}` : ""}`;
  document.body.dataset.verdict = verdict;
  document.getElementById("verdict").append(
    el("h1", {}, el("span", {class: "word"}, verdictWords[verdict]), " ", el("span", {class: "what"}, name, one ? ` on ${one.chip}` : "")),
    el("p", {class: "reason-of-verdict"}, verdictSentence(verdict, failed, judged)),
    ...[identityLine()].filter(Boolean),
    el("p", {}, `${plural(total(s => s.calls.length), "call")}, ${duration(total(s => s.end?.phone_us ?? 0))} on the phone's clock.`),
    el("p", {class: "made"}, report.made));
}

/* ---- Sessions ---------------------------------------------------------------------------------------------------- */

function sessionsSection() {
  if (report.sessions.length < 2) return null;
  const rows = report.sessions.map(s => {
    const verdict = sessionVerdict(s);
    return {class: verdict === "pass" ? "" : "bad", cells: [mark({pass: "ok", fail: "bad", none: "plain", broken: "bad", cut: "bad"}[verdict]),
      el("a", {href: `#s${s.index}`}, s.name || "call"), s.chip, String(s.calls.length), String(s.judged),
      String(s.failures.length), duration(s.end?.phone_us ?? 0)]};
  });
  return el("section", {id: "sessions-all", class: "card", "aria-labelledby": "sessions-title"}, el("h2", {id: "sessions-title"}, "Sessions"),
    table("sessions", "Sessions", ["Verdict", "Session", "Chip", "Calls", "Expected", "Failed", "Time"], rows));
}

function unitSection(session) {
  const phone = session.phone, keys = Object.entries(phone.keys);
  const unit = phone.keys.unit && phone.keys.unit !== "none" ? `, unit ${phone.keys.unit}` : "";
  const kind = phone.virtual ? `virtual phone${unit}` : "a phone that is there";
  const chips = [...new Set([session.chip, session.end?.chip ?? session.chip])].join(", then ");
  return [definitions([...identityRows(session.data), ["Chip", chips], ["Die identifier", answersOf(session, "die_id") || "not read in this session"],
    ["Digital baseband", answersOf(session, "dbb_number")], ["UPC code", answersOf(session, "upc_code")],
    ["Phone", phone.virtual && !phone.description && !unit ? `${kind}, as it comes` : phone.description ? `${kind}, ${phone.description}` : kind],
    ["Clock", session.clock], ["NV store", phone.nv_file ?? ""], ["Library", phone.library ?? ""], ["Session", session.name]], {class: "unit"}),
    keys.length > 0 && el("details", {}, el("summary", {}, "How the virtual phone was set up at the start"),
      definitions(keys.map(([k, v]) => [k, v === "" ? "–" : v]), {class: "keys"}))];
}

const openCalls = 5000;

/** What each section's title adds, whether it starts open, and what fills it. One that not every session has says which do. */
const sections = [
  {name: "unit", title: "Unit", about: () => "", open: () => true, fill: unitSection},
  {name: "steps", title: "Steps", about: s => plural(s.calls.length, "call"), open: () => true, fill: stepsSection},
  {name: "measured", title: "Measurements", about: s => plural(entriesOf(s).length, "value"), open: () => true, has: hasMeasurements,
    fill: measurementsSection},
  {name: "time", title: "Time", about: s => duration(s.end?.phone_us ?? 0),
    open: s => report.sessions.length === 1 && s.calls.length <= openCalls && s.end?.phone_us > 0, fill: timeSection},
  {name: "nv", title: "Calibration", about: s => s.nv.length > 1 ? plural(s.nv.length - 1, "change") : "",
    open: s => report.sessions.length === 1 && s.nv.length > 1 && s.calls.length <= openCalls, fill: calibrationSection},
  {name: "log", title: "Log", about: s => plural(logCount(s), "line"), open: () => false, fill: logSection},
];

function sectionsOf(session) {
  return sections.filter(({has}) => has?.(session) ?? true);
}

function sectionOf(session, {name, title, about, open, fill}) {
  const id = `s${session.index}-${name}`;
  return fold({class: "card", id}, [el("h2", {}, title), " ", el("span", {class: "tally"}, about(session))], open(session), () => fill(session));
}

function buildView(session) {
  return el("div", {class: "view", id: `s${session.index}`},
    report.sessions.length > 1 && el("p", {class: "session-name"}, `${session.name || "call"} on ${session.chip}: ${verdictWords[sessionVerdict(session)]}`),
    sectionsOf(session).map(section => sectionOf(session, section)));
}

/** Builds a session when it is first shown or printed. */
function view(index) {
  if (!views[index]) {
    views[index] = buildView(report.sessions[index]);
    views[index].classList.add("closed");
    const next = views.slice(index + 1).find(Boolean) ?? null;
    document.getElementById("main").insertBefore(views[index], next);
  }
  return views[index];
}

function showSession(index) {
  const shown = view(index);
  for (const other of views) other?.classList.toggle("closed", other !== shown);
  const link = (name, text) => el("a", {href: `#${name}`}, text);
  document.getElementById("sections").replaceChildren(el("ul", {}, [link("failures", "Failed"),
    report.sessions.length > 1 && link("sessions-all", "Sessions"), sectionsOf(report.sessions[index]).map(({name, title}) => link(`s${index}-${name}`, title))]
    .flat().filter(Boolean).map(a => el("li", {}, a))));
}

/** Creates what a link leads to: "s0-log", "s0-i12" (an item), "s0-log-i12" (its log). */
function reveal(session, section, number) {
  const item = session.items[number], name = section ?? (item && "steps");
  const block = name && document.getElementById(`s${session.index}-${name}`);
  if (block) unfold(block);
  if (item && name === "log") session.revealLog?.(item);
  else if (item) session.revealStep(item);
}

/** Follows a link into what is not shown yet: another session, a closed block, a line that a filter hides. */
function follow() {
  const id = location.hash.slice(1), [, index, section, number] = /^s(\d+)(?:-([a-z]{2,}))?(?:-i(\d+))?$/.exec(id) ?? [];
  const session = report.sessions[index];
  if (!session) return;
  showSession(Number(index));
  reveal(session, section, number);
  const target = document.getElementById(id);
  if (target && !target.matches(":target")) location.replace(`#${id}`);  // it was created just now
  target?.scrollIntoView({block: target.matches("details, .view") ? "start" : "center"});
}

/* ---- Printing ---------------------------------------------------------------------------------------------------- */

const paperWidth = 680, paperFigureWidth = 320;

/** Prints all sessions, of each what is open. */
function toPaper() {
  report.sessions.forEach((s, i) => { view(i); s.wholeAxis?.(); });
  for (const d of drawings) d.redraw(d.small ? paperFigureWidth : paperWidth);
}

function fromPaper() {
  for (const d of drawings) d.redraw();
}

showVerdict();
const first = Math.max(report.sessions.findIndex(s => sessionVerdict(s) !== "pass"), 0);
appendAll(document.getElementById("main"), [failuresSection(), sessionsSection()]);
if (report.sessions.length > 0) showSession(first);
document.getElementById("footer").append(el("p", {}, "Written by orva-station. This page is one file and loads nothing."));
addEventListener("hashchange", follow);
addEventListener("click", e => {  // the same link again is no change
  if (e.target.closest("a")?.hash === location.hash && location.hash) follow();
});
addEventListener("beforeprint", toPaper);
addEventListener("afterprint", fromPaper);
if (location.hash) follow();
