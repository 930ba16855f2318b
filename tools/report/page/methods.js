// All methods beside each other, over all openings and over users.
import * as Plot from "@observablehq/plot";
import { count, data, engine, methods, percent, within } from "./data.js";
import { colorKey, labelled, RATE_AXIS } from "./marks.js";

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
      (hasInterval ? " The thin line holds 95\u00a0% of what resampled days or users would give." : ""),
    legend: [colorKey("the engine and its predictors alone", engine.color), colorKey("simple rules", "var(--rule)")],
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
      height: 46 + 30 * rows.length,
      marginLeft: 108,
      marginTop: 6,
      marginRight: 45,
      x: RATE_AXIS,
      y: { domain: methods.map((method) => method.name), label: null },
      marks: [
        Plot.barX(
          rows,
          labelled(text, {
            x: "share",
            y: (row) => row.method.name,
            fill: (row) => (row.method.isRule ? "var(--rule)" : engine.color),
            fillOpacity: (row) => (row.method.isRule || row.method === engine ? 1 : 0.6),
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

export function spread({ depth }) {
  const rows = data.spread.flatMap((entry) =>
    entry.bins.filter((bin) => bin.users[depth] > 0).map((bin) => ({
      method: methods[entry.method],
      from: bin.from,
      users: bin.users[depth],
    })),
  );
  const quartiles = data.spread.map((entry) => {
    const [least, lower, median, upper, most] = entry.quartiles[depth];
    return { method: methods[entry.method], least, lower, median, upper, most };
  });
  const name = (row) => row.method.name;
  const text = (row) => `${name(row)}, ${row.from} to ${row.from + data.spreadBin} %: ${count(row.users)} users`;
  return {
    title: `How users differ: ${within(depth)}`,
    reading: "A dot is the users whose hit rate lies there, larger for more of them; the box holds the middle half, its thick line the median.",
    columns: [
      { label: "method", value: name },
      { label: "hit rate from (%)", value: (row) => row.from },
      { label: "users", value: (row) => row.users, show: count, mark: true },
    ],
    rows,
    plot: () => ({
      height: 40 + 40 * quartiles.length,
      marginLeft: 108,
      x: { ...RATE_AXIS, label: "share of a user's openings (%)" },
      y: { type: "band", domain: quartiles.map(name), label: null },
      r: { range: [0, 9] },
      color: { type: "identity" },
      marks: [
        Plot.ruleY(quartiles, { x1: "least", x2: "most", y: name, stroke: "currentColor" }),
        Plot.barX(quartiles, { x1: "lower", x2: "upper", y: name, fill: "var(--faint)", stroke: "currentColor", insetTop: 8, insetBottom: 8 }),
        Plot.tickX(quartiles, { x: "median", y: name, stroke: "currentColor", strokeWidth: 3, insetTop: 8, insetBottom: 8 }),
        Plot.dot(rows, labelled(text, { x: (row) => row.from + data.spreadBin / 2, y: name, r: "users", fill: (row) => row.method.color, fillOpacity: 0.8 })),
      ],
    }),
  };
}
