// SPDX-License-Identifier: Apache-2.0
// The page: overall verdict, failures, then one session at a time; in print all of them.

const report = readEvents(document.getElementById("events").textContent);
const views = [];

function total(count) {
  return report.sessions.reduce((sum, s) => sum + count(s), 0);
}

function plural(n, word) {
  return `${n} ${word}${n === 1 ? "" : "s"}`;
}

function verdictSentence(verdict, failed, judged) {
  if (verdict === "cut") return "The session came to no end; this is what happened until then.";
  if (verdict === "none") return "Nothing was expected, so nothing was judged.";
  if (verdict === "broken") return "A session stopped before its end.";
  if (failed > 0) return `${failed} of ${plural(judged, "expectation")} failed`;
  return judged > 0 ? `${judged === 1 ? "The one expectation" : `All ${judged} expectations`} held` : "The call succeeded.";
}

function showVerdict() {
  const verdict = reportVerdict(report), failed = total(s => s.failures.filter(f => f.expectation).length), judged = total(s => s.judged);
  const one = report.sessions.length === 1 ? report.sessions[0] : null;
  const name = one ? (one.name || "single call") : plural(report.sessions.length, "session");
  document.title = `${verdictWords[verdict]}: ${name}${one ? ` on ${one.chip}` : ""}`;
  document.body.dataset.verdict = verdict;
  document.getElementById("verdict").append(
    el("h1", {}, el("span", {class: "word"}, verdictWords[verdict]), " ", el("span", {class: "what"}, name)),
    el("p", {}, verdictSentence(verdict, failed, judged), `. ${plural(total(s => s.calls.length), "call")}, ${duration(total(s => s.end?.phone_us ?? 0))} on the phone's clock.`),
    el("p", {class: "made"}, report.made));
}

/* ---- What failed ------------------------------------------------------------------------------------------------- */

/** The errors that the library logged in a call or, without errors, all its log lines. */
function reasons(call) {
  const lines = call?.log ?? [], errors = lines.filter(l => l.priority >= 6);
  return (errors.length ? errors : lines).slice(-3).map(l => el("code", {class: "reason"}, l.text));
}

function failureText({item, expectation: e, error}) {
  if (error) return [el("b", {}, "The session stopped: "), error];
  const unit = item.units?.[e.what];
  return [item.call ? el("code", {class: "call"}, callText(item.call)) : "", " ", el("b", {}, e.what), " is ",
    el("code", {class: "bad"}, e.got === "" ? "nothing" : withUnit(e.got, unit)),
    e.what === "result" && item.meaning ? ` (${item.meaning})` : "", ", limits ", el("code", {}, limitsText(e))];
}

function failureCard(session, failure, i) {
  const many = report.sessions.length > 1, call = failure.item.call;
  const told = call && session.failures[i - 1]?.item.call === call;  // a call's failures share one reason
  return el("li", {}, el("p", {}, failureText(failure)), told ? "" : [reasons(call), causeLines(call)],
    el("p", {class: "where"}, many ? `${session.chip}, ` : "", place(failure.item), " ", el("a", {href: `#${failure.item.id}`, class: "tolog"}, "Show the step")));
}

/** Failures of one line with one cause, as the console counted them: only where some cause occurred more than once. */
function failureGroups(session) {
  const groups = session.end?.failures ?? [];
  if (!groups.some(g => g.count > 1)) return null;
  const points = g => g.first === "" ? "" : g.count > 1 ? `, at ${g.first} to ${g.last}` : `, at ${g.first}`;
  return el("ul", {class: "groups"}, groups.map(g => el("li", {}, el("b", {}, `${g.count} × `), g.what, el("span", {class: "where"}, ` ${g.where}${points(g)}`))));
}

function failuresSection() {
  const cards = report.sessions.flatMap(s => s.failures.map((f, i) => failureCard(s, f, i)));
  const words = reportVerdict(report) === "pass" ? "Nothing failed." : "No expectation failed.";
  return el("section", {id: "failures", class: `card ${cards.length ? "has-failures" : ""}`, "aria-labelledby": "failures-title"},
    el("h2", {id: "failures-title"}, "What failed"), report.sessions.map(failureGroups).filter(Boolean), cards.length ? el("ol", {class: "failures"}, cards) : el("p", {}, words));
}

/* ---- Sessions ---------------------------------------------------------------------------------------------------- */

function sessionsSection() {
  if (report.sessions.length < 2) return null;
  const rows = report.sessions.map(s => {
    const verdict = sessionVerdict(s);
    return {class: verdict === "pass" ? "" : "bad", cells: [mark({pass: "ok", fail: "bad", none: "plain", broken: "bad", cut: "bad"}[verdict]),
      el("a", {href: `#s${s.index}`}, s.name || "call"), s.chip, String(s.calls.length), `${s.judged}`,
      String(s.failures.length), duration(s.end?.phone_us ?? 0)]};
  });
  return el("section", {id: "sessions-all", class: "card", "aria-labelledby": "sessions-title"}, el("h2", {id: "sessions-title"}, "Sessions"),
    table("sessions", "Sessions", ["Verdict", "Session", "Chip", "Calls", "Expected", "Failed", "Time"], rows));
}

function unitSection(session) {
  const phone = session.phone, keys = Object.entries(phone.keys);
  const kind = phone.virtual ? "virtual phone" : "a phone that is there";
  const chips = [...new Set([session.chip, session.end?.chip ?? session.chip])].join(", then ");
  return [definitions([["Chip", chips], ["Die identifier", answersOf(session, "die_id") || "not read in this session"],
    ["Digital baseband", answersOf(session, "dbb_number")], ["UPC code", answersOf(session, "upc_code")],
    ["Phone", phone.virtual && !phone.description ? `${kind}, as it comes` : phone.description ? `${kind}, ${phone.description}` : kind],
    ["Clock", session.clock], ["NV store", phone.nv_file ?? ""], ["Library", phone.library ?? ""], ["Session", session.name]], {class: "unit"}),
    keys.length > 0 && el("details", {}, el("summary", {}, "How the virtual phone was set up at the start"),
      definitions(keys.map(([k, v]) => [k, v === "" ? "–" : v]), {class: "keys"}))];
}

const sections = [["unit", "Unit", unitSection], ["steps", "Steps", stepsSection], ["time", "Time", timeSection],
  ["nv", "Calibration", calibrationSection], ["log", "Log", logSection]];

function buildView(session) {
  const id = `s${session.index}`, many = report.sessions.length > 1;
  return el("div", {class: "view", id}, many && el("p", {class: "session-name"}, `${session.name || "call"} on ${session.chip}`),
    sections.map(([name, title, fill]) => el("section", {class: "card", "aria-labelledby": `${id}-${name}-title`, id: `${id}-${name}`},
      el("h2", {id: `${id}-${name}-title`}, title), fill(session))));
}

/** Draws a session when it is first shown: a sweep over all chips has a hundred thousand lines. */
function view(index) {
  if (!views[index]) {
    views[index] = buildView(report.sessions[index]);
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
    report.sessions.length > 1 && link("sessions-all", "Sessions"), sections.map(([name, title]) => link(`s${index}-${name}`, title))]
    .flat().filter(Boolean).map(a => el("li", {}, a))));
}

/** Follows a link into a session that is not shown yet, or to a line that a filter hides. */
function follow() {
  const id = location.hash.slice(1), index = /^s(\d+)(-|$)/.exec(id)?.[1];
  if (index === undefined || !report.sessions[index]) return;
  showSession(Number(index));
  const target = document.getElementById(id);
  if (target?.closest(".filtered")) report.sessions[index].showLog();
  target?.closest(".failed-only")?.classList.remove("failed-only");
  target?.scrollIntoView({block: target.matches("section, .view") ? "start" : "center"});
}

/* ---- Printing ---------------------------------------------------------------------------------------------------- */

const paperWidth = 680, paperFigureWidth = 320;

function toPaper() {
  report.sessions.forEach((s, i) => { view(i); s.wholeAxis?.(); });
  for (const d of document.querySelectorAll("details")) d.open = true;
  for (const d of drawings) d.redraw(d.small ? paperFigureWidth : paperWidth);
}

function fromPaper() {
  for (const d of drawings) d.redraw();
}

showVerdict();
const first = Math.max(report.sessions.findIndex(s => sessionVerdict(s) !== "pass"), 0);
document.getElementById("main").append(...[failuresSection(), sessionsSection()].filter(Boolean));
if (report.sessions.length > 0) showSession(first);
document.getElementById("footer").append(el("p", {}, "Written by orva-station. This page is one file and loads nothing."));
addEventListener("hashchange", follow);
addEventListener("beforeprint", toPaper);
addEventListener("afterprint", fromPaper);
if (location.hash) follow();
