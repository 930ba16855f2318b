// Charts of hit rates: of all openings, over time, over the day, and after a fresh start.
import * as Plot from "@observablehq/plot";
import { bestRule, count, data, dayHours, ENGINE, hourText, methods, percent, rate, within } from "./data.js";
import { colorKey, labelled, methodKey, RATE_AXIS, series, shownMethods } from "./marks.js";

// Lines of hit rates. `columns` stand before those of the rates in the table, `name` says which row
// it is, and `x` is its place.
function lineChart({ depth }, shown, rows, { title, reading, columns, name, x, axis }) {
  const share = (method) => (row) => rate(row, method.index, depth);
  const text = (method) => (row) => `${method.name}, ${name(row)}: ${percent(share(method)(row))} of ${count(row.openings)}`;
  return {
    title: title(within(depth)),
    reading,
    legend: shown.map(methodKey),
    columns: [
      ...columns,
      { label: "openings", value: (row) => row.openings, show: count },
      ...shown.map((method) => ({ label: method.name, value: share(method), show: percent, mark: true })),
    ],
    rows,
    plot: (width) => ({
      height: Math.max(240, Math.min(360, width * 0.5)),
      x: axis(width),
      y: RATE_AXIS,
      marks: shown.flatMap((method) => series(method, rows, { x, y: share(method), text: text(method) })),
    }),
  };
}

export function allOpenings(state) {
  const depth = state.depth;
  const rows = methods.map((method) => ({
    method,
    share: (100 * method.hits[depth]) / data.openings,
    low: method.low?.[depth],
    high: method.high?.[depth],
  }));
  const hasInterval = rows[0].low !== undefined;
  const text = (row) => `${row.method.name}: ${percent(row.share)}`;
  return {
    title: `How often the opened application was ${within(depth)}`,
    reading:
      "A bar is a method's share of all openings; longer is better." +
      (hasInterval ? " The thin line holds 95 % of what resampled days or users would give." : ""),
    legend: [colorKey("the engine and its predictors alone", methods[ENGINE].color), colorKey("simple rules", "var(--rule)")],
    columns: [
      { label: "method", value: (row) => row.method.name },
      { label: "share", value: (row) => row.share, show: percent, mark: true },
      ...(hasInterval
        ? [
            { label: "95 % from", value: (row) => row.low, show: percent },
            { label: "to", value: (row) => row.high, show: percent },
          ]
        : []),
      { label: "hits", value: (row) => row.method.hits[depth], show: count },
      { label: "answered", value: (row) => row.method.answered, show: count },
      { label: "mean reciprocal rank", value: (row) => row.method.mrr, show: (mrr) => mrr.toFixed(3) },
    ],
    rows,
    plot: () => ({
      height: 40 + 30 * rows.length,
      marginLeft: 95,
      marginRight: 45,
      x: RATE_AXIS,
      y: { domain: methods.map((method) => method.name), label: null },
      marks: [
        Plot.barX(
          rows,
          labelled(text, {
            x: "share",
            y: (row) => row.method.name,
            fill: (row) => (row.method.isRule ? "var(--rule)" : methods[ENGINE].color),
            fillOpacity: (row) => (row.method.isRule || row.method.index === ENGINE ? 1 : 0.6),
          }),
        ),
        Plot.ruleY(hasInterval ? rows : [], {
          x1: "low",
          x2: "high",
          y: (row) => row.method.name,
          stroke: "currentColor",
        }),
        Plot.text(rows, {
          x: (row) => Math.max(row.share, row.high ?? 0),
          y: (row) => row.method.name,
          text: (row) => percent(row.share),
          textAnchor: "start",
          dx: 5,
        }),
      ],
      color: { type: "identity" },
      opacity: { type: "identity" },
    }),
  };
}

export function overTime(state) {
  const { unit, rows } = data.periods;
  return lineChart(state, shownMethods(state), rows, {
    title: (hit) => `Hit rate over time: ${hit}, by ${unit}`,
    reading: `A dot is one ${unit}; higher is better. Where a dashed line runs above the thick one, a simple rule did better.`,
    columns: [{ label: `${unit} from`, value: (row) => row.start }],
    name: (row) => row.start,
    x: (row) => new Date(row.start),
    axis: () => ({ type: "utc", label: `${unit} beginning` }),
  });
}

export function overDay(state) {
  const rows = dayHours.filter((row) => row.openings > 0);
  const name = (row) => hourText(row.hour);
  return lineChart(state, [methods[ENGINE], bestRule(state.depth)], rows, {
    title: (hit) => `Hit rate by hour of the day: ${hit}`,
    reading: "A dot is one hour of local time over all days; the best simple rule stands beside the engine.",
    columns: [{ label: "hour", value: name }],
    name,
    x: "hour",
    axis: () => ({ label: "hour of the day (local time)", domain: [0, 23], ticks: [0, 6, 12, 18, 23], tickFormat: hourText }),
  });
}

export function learning(state) {
  return lineChart(state, shownMethods(state), data.learning, {
    title: (hit) => `Learning after a fresh start: ${hit}`,
    reading:
      "Everything starts knowing nothing. A dot is a stretch of openings, at its last one; a line that still climbs at the right is still learning.",
    columns: [
      { label: "from opening", value: (row) => row.from, show: count },
      { label: "to", value: (row) => row.to, show: count },
    ],
    name: (row) => `openings ${count(row.from)} to ${count(row.to)}`,
    x: "to",
    axis: (width) => ({ type: "log", label: "openings since the start (logarithmic)", ticks: width < 500 ? 4 : 8, tickFormat: "~s" }),
  });
}
