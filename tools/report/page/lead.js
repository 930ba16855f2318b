// Charts of how far the engine is ahead of the best simple rule, and of both by hour of the day.
import * as Plot from "@observablehq/plot";
import { bestRule, count, data, engine, hourText, lead, percent, points, rate, within } from "./data.js";
import { colorKey, labelled, methodKey, RATE_AXIS, series, sizes } from "./marks.js";
import { periodAxis } from "./time.js";

// From where to where the bands of those rows go that stand for more than a few openings. That is what
// the axis is for: others may lie beyond its edge.
function reach(rows) {
  const most = Math.max(...rows.map((row) => row.openings));
  const telling = rows.filter((row) => row.openings >= most / 20);
  return [Math.min(-1, ...telling.map((row) => row.low)), Math.max(1, ...telling.map((row) => row.high))];
}

function leadChart({ depth }, all, { title, reading, columns, name, x, axis }) {
  const rule = bestRule(depth);
  const rows = all.map((row) => ({ ...row, ...lead(row, depth) }));
  const domain = reach(rows);
  const isBeyond = (row) => row.value !== null && (row.value < domain[0] || row.value > domain[1]);
  const text = (row) =>
    `${name(row)}: ${points(row.value)} points (95 %: ${points(row.low)} to ${points(row.high)}) of ${count(row.openings)} openings`;
  const color = engine.color;
  return {
    title: title(`The engine's lead over “${rule.name}”`),
    reading:
      `${reading} Larger dots stand for more openings` +
      (rows.some(isBeyond) ? "; hollow ones lie beyond the edge. " : ". ") +
      `Above 0 the engine has more openings ${within(depth)} than the rule that is best on the whole. ` +
      "The band holds 95\u00a0%, going by the openings that only one of the two found, as if they were independent: where it crosses 0, the difference may be chance.",
    legend: [colorKey("lead", color), colorKey("95 %", "var(--band)")],
    columns: [
      ...columns,
      { label: "openings", value: (row) => row.openings, show: count },
      { label: "lead (points)", value: (row) => row.value, show: points, mark: true },
      { label: "95 % from", value: (row) => row.low, show: points },
      { label: "to", value: (row) => row.high, show: points },
      { label: engine.name, value: (row) => rate(row, engine.index, depth), show: percent },
      { label: rule.name, value: (row) => rate(row, rule.index, depth), show: percent },
    ],
    rows,
    plot: (width) => ({
      height: Math.max(230, Math.min(330, width * 0.5)),
      marginBottom: 50,
      marginLeft: 46,
      marginRight: 14,
      x: axis(width),
      y: { label: "lead (points)", grid: true, domain, nice: true, clamp: true },
      r: { type: "identity" },
      color: { type: "identity" },
      marks: [
        Plot.areaY(rows, { x, y1: "low", y2: "high", fill: "var(--band)" }),
        Plot.ruleX(rows, { x, y1: "low", y2: "high", stroke: color, strokeOpacity: 0.5 }),
        Plot.ruleY([0], { stroke: "currentColor", strokeWidth: 1.5 }),
        Plot.line(rows, { x, y: "value", stroke: color, strokeWidth: 2 }),
        Plot.dot(rows.filter((row) => row.value !== null), labelled(text, { x, y: "value", r: sizes(rows), sort: null, stroke: color, fill: (row) => (isBeyond(row) ? "var(--card)" : color) })),
      ],
    }),
  };
}

export function leadOverTime(state) {
  const { unit, rows } = data.periods;
  const axis = periodAxis(unit, rows);
  return leadChart(state, rows, {
    title: (lead) => `${lead}, by ${axis.unit}`,
    reading: `A dot is one ${axis.unit}${rows.some((row) => row.openings === 0) ? "; the line breaks where nothing was opened" : ""}.`,
    columns: [{ label: axis.heading, value: axis.name }],
    name: axis.name,
    x: axis.point,
    axis: axis.scale,
  });
}

export function learning(state) {
  return leadChart(state, data.learning, {
    title: (lead) => `${lead} after a fresh start`,
    reading: "All start knowing nothing. A dot is a stretch of openings, at its last one.",
    columns: [
      { label: "from opening", value: (row) => row.from, show: count },
      { label: "to", value: (row) => row.to, show: count },
    ],
    name: (row) => `openings ${count(row.from)} to ${count(row.to)}`,
    x: "to",
    axis: (width) => ({ type: "log", label: "openings since the start (logarithmic)", ticks: width < 500 ? 4 : 8, tickFormat: "~s" }),
  });
}

export function overDay({ depth }) {
  const shown = [engine, bestRule(depth)];
  const rows = data.hours;
  const share = (method) => (row) => rate(row, method.index, depth);
  const text = (method) => (row) => `${method.name}, ${hourText(row.hour)}: ${percent(share(method)(row))} of ${count(row.openings)}`;
  return {
    title: `Hits by hour of the day: ${within(depth)}`,
    reading: "A dot is one hour of local time over all days, larger for more openings; the best simple rule stands beside the engine.",
    legend: shown.map(methodKey),
    columns: [
      { label: "hour", value: (row) => hourText(row.hour) },
      { label: "openings", value: (row) => row.openings, show: count },
      ...shown.map((method) => ({ label: method.name, value: share(method), show: percent, mark: true })),
    ],
    rows,
    whole: true,
    plot: (width) => ({
      height: Math.max(220, Math.min(300, width * 0.45)),
      marginTop: 26,
      marginRight: 24,
      x: { label: "hour of the day (local time)", domain: [0, 23], ticks: [0, 6, 12, 18, 23], tickFormat: hourText },
      y: { ...RATE_AXIS, domain: undefined, zero: false, nice: true },
      r: { type: "identity" },
      marks: [...shown].reverse().flatMap((method) => series(method, rows, { x: "hour", y: share(method), r: sizes(rows), text: text(method) })),
    }),
  };
}
