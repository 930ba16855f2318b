// What each application more on the preload list catches, and what it costs.
import * as Plot from "@observablehq/plot";
import { bestRule, data, engine, few, fewMore, MOST_PRELOADED, mostUsed, per, percent, points, preloaded } from "./data.js";
import { methodKey, series } from "./marks.js";

export function howMany({ depth }) {
  const rule = bestRule(depth);
  const shown = [...new Set([engine, rule, mostUsed])];
  const rows = [...Array(MOST_PRELOADED).keys()].map((i) => ({ number: i + 1 }));
  const caught = (method) => (row) => preloaded(method, row.number).caught;
  const unused = (method) => (row) => preloaded(method, row.number).unused;
  const mostUnused = Math.max(1, ...shown.flatMap((method) => rows.map(unused(method))));
  const added = (value) => (row) => value(row) - value({ number: row.number - 1 });
  const text = (method) => (row) =>
    `${method.name}, ${row.number} preloaded: ${percent(caught(method)(row))} caught, ${few(unused(method)(row))} unused ${per}`;
  const panel = (value, y, x) => ({
    height: x ? 240 : 216,
    marginLeft: 46,
    marginRight: 12,
    marginBottom: x ? 42 : 14,
    x: { label: x, domain: [1, MOST_PRELOADED], ticks: rows.map((row) => row.number), tickFormat: x ? String : () => "", tickSize: x ? 6 : 0 },
    y: { grid: true, ...y },
    marks: [
      Plot.ruleX([data.depths[depth]], { stroke: "var(--quiet)", strokeDasharray: "3,3" }),
      ...[...shown].reverse().flatMap((method) => series(method, rows, { x: "number", y: value(method), text: text(method) })),
    ],
  });
  return {
    title: "How many applications to preload",
    reading:
      "Above, the share of openings whose application was among the first so many of the list, all of them preloaded. " +
      `Below, the preloads that were never used, ${per}${data.invented ? "" : " with openings"}: a name is preloaded when it comes among the first so many ` +
      "and was not there after the opening before, nor in front; it was never used when it drops out again unopened. " +
      `The broken line stands at ${data.depths[depth]}, where “${rule.name}” is the best simple rule.`,
    legend: shown.map(methodKey),
    whole: true,
    open: true,
    columns: [
      { label: "pre-loaded", value: (row) => row.number },
      { label: "engine caught", value: caught(engine), show: percent, mark: true },
      { label: "this place adds", value: added(caught(engine)), show: points, strong: true },
      { label: `unused ${per}`, value: unused(engine), show: few, mark: true },
      { label: "this place adds", value: added(unused(engine)), show: fewMore, strong: true },
      ...shown.slice(1).flatMap((method) => [
        { label: `${method.name} caught`, value: caught(method), show: percent, mark: true },
        { label: "unused", value: unused(method), show: few, mark: true },
      ]),
    ],
    rows,
    plot: () => [
      panel(caught, { label: "openings caught (%)", domain: [0, 100], ticks: 5 }, null),
      panel(unused, { label: `unused preloads ${per}`, domain: [0, mostUnused], nice: true, ticks: 5 }, "applications preloaded"),
    ],
  };
}
