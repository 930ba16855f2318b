// Charts of hit rates: of all openings, over time, over the day, and after a fresh start.
import * as Plot from "@observablehq/plot";
import { bestRule, count, data, dayHours, ENGINE, hourText, methods, percent, rate, within } from "./data.js";
import { colorKey, labelled, methodKey, RATE_AXIS, series, shownMethods } from "./marks.js";

const height = (width) => Math.max(240, Math.min(360, width * 0.5));

function rateColumns(shown, depth) {
  return shown.map((method) => ({
    label: method.name,
    value: (row) => rate(row, method.index, depth),
    show: percent,
    mark: true,
  }));
}

// Lines of hit rates; `name` says which row it is.
function lines(state, shown, rows, { x, name }) {
  return shown.flatMap((method) =>
    series(method, rows, {
      x,
      y: (row) => rate(row, method.index, state.depth),
      text: (row) =>
        `${method.name}, ${name(row)}: ${percent(rate(row, method.index, state.depth))} of ${count(row.openings)}`,
    }),
  );
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
  const shown = shownMethods(state);
  const rows = data.periods.rows;
  return {
    title: `Hit rate over time: ${within(state.depth)}, by ${data.periods.unit}`,
    reading: `A dot is one ${data.periods.unit}; higher is better. Where a dashed line runs above the thick one, a simple rule did better.`,
    legend: shown.map(methodKey),
    columns: [
      { label: `${data.periods.unit} from`, value: (row) => row.start },
      { label: "openings", value: (row) => row.openings, show: count },
      ...rateColumns(shown, state.depth),
    ],
    rows,
    plot: (width) => ({
      height: height(width),
      x: { type: "utc", label: `${data.periods.unit} beginning` },
      y: RATE_AXIS,
      marks: lines(state, shown, rows, { x: (row) => new Date(row.start), name: (row) => row.start }),
    }),
  };
}

export function overDay(state) {
  const shown = [methods[ENGINE], bestRule(state.depth)];
  const rows = dayHours
    .filter((row) => row.openings > 0)
    .map((row) => ({ ...row, name: hourText(row.hour) }));
  return {
    title: `Hit rate by hour of the day: ${within(state.depth)}`,
    reading: "A dot is one hour of local time over all days; the best simple rule stands beside the engine.",
    legend: shown.map(methodKey),
    columns: [
      { label: "hour", value: (row) => row.name },
      { label: "openings", value: (row) => row.openings, show: count },
      ...rateColumns(shown, state.depth),
    ],
    rows,
    plot: (width) => ({
      height: height(width),
      x: { label: "hour of the day (local time)", domain: [0, 23], ticks: [0, 6, 12, 18, 23], tickFormat: hourText },
      y: RATE_AXIS,
      marks: lines(state, shown, rows, { x: "hour", name: (row) => row.name }),
    }),
  };
}

export function learning(state) {
  const shown = shownMethods(state);
  const rows = data.learning;
  const name = (row) => `openings ${count(row.from)} to ${count(row.to)}`;
  return {
    title: `Learning after a fresh start: ${within(state.depth)}`,
    reading:
      "Everything starts knowing nothing. A dot is a stretch of openings, at its last one; a line that still climbs at the right is still learning.",
    legend: shown.map(methodKey),
    columns: [
      { label: "from opening", value: (row) => row.from, show: count },
      { label: "to", value: (row) => row.to, show: count },
      { label: "openings", value: (row) => row.openings, show: count },
      ...rateColumns(shown, state.depth),
    ],
    rows,
    plot: (width) => ({
      height: height(width),
      x: { type: "log", label: "openings since the start (logarithmic)", ticks: width < 500 ? 4 : 8, tickFormat: "~s" },
      y: RATE_AXIS,
      marks: lines(state, shown, rows, { x: "to", name }),
    }),
  };
}
