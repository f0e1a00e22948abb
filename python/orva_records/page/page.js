// SPDX-License-Identifier: Apache-2.0
"use strict";
(() => {
  const data = JSON.parse(document.getElementById("data").textContent);
  const color = name => getComputedStyle(document.documentElement).getPropertyValue(`--${name}`).trim();
  const series = place => color(`series-${place % 8}`);
  const percent = value => value === null ? null : 100 * value;
  let charts = [];

  const axis = (text, more = {}) => ({
    title: { display: Boolean(text), text, color: color("soft") },
    ticks: { color: color("soft"), ...more.ticks },
    grid: { color: color("grid"), drawOnChartArea: more.position !== "right" },
    ...Object.fromEntries(Object.entries(more).filter(([key]) => key !== "ticks")),
  });
  const line = (label, points, at, more = {}) =>
    ({ type: "line", label, data: points, borderColor: at, backgroundColor: at, borderWidth: 2, pointRadius: 2, ...more });

  function draw(canvas, datasets, labels, scales, legend = true) {
    const plugins = { legend: { display: legend, labels: { color: color("text"), boxWidth: 14 } } };
    const options = { animation: false, maintainAspectRatio: false, interaction: { mode: "nearest", intersect: false }, plugins, scales };
    charts.push(new Chart(canvas, { data: { labels, datasets }, options }));
  }

  function figure(host, title, text) {
    const made = document.createElement("figure"), caption = document.createElement("figcaption");
    const plot = document.createElement("div"), canvas = document.createElement("canvas");
    plot.className = "plot";
    caption.textContent = `${title}: ${text}`;
    canvas.setAttribute("role", "img");
    canvas.setAttribute("aria-label", caption.textContent);
    plot.append(canvas);
    made.append(caption, plot);
    host.append(made);
    return canvas;
  }

  function drawYield() {
    const canvas = document.getElementById("yield");
    if (!canvas) return;
    const values = key => data.days.map(row => percent(row[key]));
    const units = { type: "bar", label: "units", data: data.days.map(row => row.units), yAxisID: "units", backgroundColor: color("grid") };
    draw(canvas, [line("first pass", values("first pass"), series(0)), line("final", values("final"), series(1)), units],
      data.days.map(row => row.day),
      { x: axis("day"), y: axis("%", { max: 100 }), units: axis("units", { position: "right", beginAtZero: true }) });
  }

  function drawPareto() {
    const canvas = document.getElementById("pareto");
    if (!canvas) return;
    const bars = { type: "bar", label: "runs", data: data.pareto.map(row => row.runs), backgroundColor: series(0) };
    const whole = line("cumulative share of failures", data.pareto.map(row => percent(row.cumulative)), series(1), { yAxisID: "share" });
    const shorten = function (value) { const text = this.getLabelForValue(value); return text.length > 24 ? text.slice(0, 23) + "…" : text; };
    draw(canvas, [whole, bars], data.pareto.map(row => row.name),
      { x: axis("", { ticks: { callback: shorten } }), y: axis("runs", { beginAtZero: true, ticks: { precision: 0 } }),
        share: axis("%", { position: "right", min: 0, max: 100 }) });
  }

  function drawHistogram(host, row) {
    const highest = Math.max(...row.bars.map(bar => bar[1]));
    const limit = (label, x) => line(label, [{ x, y: 0 }, { x, y: highest }], color("bad"), { pointRadius: 0, borderDash: [6, 4] });
    const limits = [["low", row.low], ["high", row.high]].filter(([, x]) => x !== null).map(each => limit(...each));
    const bars = { type: "bar", label: "values", data: row.bars.map(([x, y]) => ({ x, y })), backgroundColor: series(0),
      barPercentage: 1, categoryPercentage: 1 };
    const text = `Cpk ${row.cpk.toFixed(2)}, ${row.count} values, ${row.failed} failed`;
    draw(figure(host, row.title, text), [...limits, bars], undefined,
      { x: axis(row.unit, { type: "linear", offset: false }), y: axis("values", { beginAtZero: true }) }, false);
  }

  function drawDrift(host, row) {
    const days = [...new Set(Object.values(row.stations).flatMap(points => points.map(point => point[0])))].sort();
    const lines = Object.entries(row.stations).map(([station, points], place) => {
      const means = new Map(points);
      const own = station === row.station;
      return line(station, days.map(day => means.get(day) ?? null), series(place), { borderWidth: own ? 4 : 1.5, spanGaps: true });
    });
    draw(figure(host, row.title, `${row.station} ${row.finding}`), lines, days, { x: axis("", { ticks: { maxTicksLimit: 5 } }), y: axis(`daily mean, ${row.unit}`) });
  }

  function drawAll() {
    charts.forEach(chart => chart.destroy());
    charts = [];
    drawYield();
    drawPareto();
    for (const [id, one] of [["histograms", drawHistogram], ["drifts", drawDrift]]) {
      const host = document.getElementById(id);
      host?.replaceChildren();
      if (host) data[id].forEach(row => one(host, row));
    }
  }

  matchMedia("(prefers-color-scheme: dark)").addEventListener("change", drawAll);
  addEventListener("beforeprint", () => charts.forEach(chart => chart.resize()));
  drawAll();
})();
