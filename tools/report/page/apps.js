// Which applications, and whose, are found and missed.
import * as Plot from "@observablehq/plot";
import { bestRule, count, data, ENGINE, engine, percent, rate, within } from "./data.js";
import { colorKey, labelled, RATE_AXIS, tickKey } from "./marks.js";

// Cuts the middle out of a name that is longer than `most`.
function shortened(name, most) {
  if (name.length <= most) return name;
  const kept = Math.max(2, most - 1);
  return `${name.slice(0, Math.floor(kept / 3))}…${name.slice(-Math.ceil((2 * kept) / 3))}`;
}

// Rows by their names, for which there is a margin. A row's `place` is its number as a text.
function namedRows(rows, width) {
  const letters = Math.floor(Math.min(width * 0.42, 260) / 6);
  const names = rows.map((row) => shortened(row.name, letters));
  return {
    marginLeft: 12 + 6.2 * Math.max(1, ...names.map((name) => name.length)),
    y: { domain: rows.map((row) => row.place), label: null, tickSize: 0, tickFormat: (place) => names[place] },
  };
}

// A bar for each named row, with the best rule's share as a stroke across it.
function bars(rows, depth) {
  const rule = bestRule(depth);
  const all = rows.map((row, index) => ({
    ...row,
    place: String(index),
    engine: rate(row, ENGINE, depth),
    rule: rate(row, rule.index, depth),
  }));
  const text = (method, key) => (row) => `${row.name}, ${method.name}: ${percent(row[key])} of ${count(row.openings)}`;
  return {
    legend: [colorKey(engine.name, engine.color), tickKey(rule)],
    columns: [
      { label: "name", value: (row) => row.name },
      { label: "openings", value: (row) => row.openings, show: count },
      { label: engine.name, value: (row) => row.engine, show: percent, mark: true },
      { label: rule.name, value: (row) => row.rule, show: percent, mark: true },
    ],
    rows: all,
    plot: (width) => ({
      ...namedRows(all, width),
      height: 50 + 17 * all.length,
      marginTop: 6,
      x: { ...RATE_AXIS, label: "share of its openings (%)" },
      marks: [
        Plot.barX(all, labelled(text(engine, "engine"), { x: "engine", y: "place", fill: engine.color, insetTop: 1 })),
        Plot.tickX(all, { x: "rule", y: "place", stroke: "var(--card)", strokeWidth: 6 }),
        Plot.tickX(all, labelled(text(rule, "rule"), { x: "rule", y: "place", stroke: rule.color, strokeWidth: 3 })),
      ],
    }),
  };
}

export function byApp({ depth, sort }) {
  const rows = [...data.apps];
  if (sort === "share") rows.sort((a, b) => rate(b, ENGINE, depth) - rate(a, ENGINE, depth));
  const never = rows.filter((row) => row.hits[ENGINE][depth] === 0).length;
  const others = data.otherApps.count;
  return {
    title: `Which applications are found: ${within(depth)}`,
    reading:
      `The ${count(rows.length)} most opened applications; a bar is the share of its openings that the engine found.` +
      (never > 0 ? ` ${count(never)} of them ${never > 1 ? "were" : "was"} never found.` : "") +
      (others > 0 ? ` ${count(others)} more, with ${count(data.otherApps.openings)} openings together, are left out.` : ""),
    ...bars(rows, depth),
  };
}

export function leastFound({ depth }) {
  return {
    title: `For whom it works least: ${within(depth)}`,
    reading: `Of ${count(data.traceCount)} users those with the lowest share among the first four, the lowest on top; a bar is the engine's share of that user's openings.`,
    ...bars(data.leastFound, depth),
  };
}

export function missed() {
  const rows = data.missed.map((row, index) => ({ ...row, place: String(index) }));
  const all = data.missed.reduce((sum, row) => sum + row.missed, 0);
  const instead = (row) =>
    row.first === "" ? ["without a list", ""] : [`${count(row.firstCount)} × `, row.first];
  const text = (row) => `${row.name}: ${count(row.missed)} of ${count(row.openings)} missed, first instead: ${instead(row).join("")}`;
  return {
    title: "What was predicted instead",
    reading:
      rows.length === 0
        ? "The engine had every opening among its first four."
        : `The ${count(rows.length)} applications that the engine most often had not among its first four (${count(all)} openings together): ` +
          "how many of their openings, and below each bar the application that most often stood first on the list instead.",
    columns: [
      { label: "application", value: (row) => row.name },
      { label: "openings", value: (row) => row.openings, show: count },
      { label: "missed", value: (row) => row.missed, show: count, mark: true },
      { label: "most often first instead", value: (row) => row.first || null },
      { label: "times", value: (row) => row.firstCount || null, show: count },
      { label: "without a list", value: (row) => row.noList || null, show: count },
    ],
    rows,
    plot: (width) => {
      const { marginLeft, y } = namedRows(rows, width);
      const letters = Math.floor((width - marginLeft) / 6);
      const below = (row) => {
        const [times, name] = instead(row);
        return times + shortened(name, letters - times.length);
      };
      return {
        height: 50 + 34 * rows.length,
        marginTop: 6,
        marginLeft,
        marginRight: Math.min(80, width * 0.25),
        x: { label: "openings missed" },
        y: { ...y, padding: 0.12 },
        marks: [
          Plot.barX(rows, labelled(text, { x: "missed", y: "place", fill: engine.color, insetBottom: 15 })),
          Plot.text(rows, { x: "missed", y: "place", text: (row) => `${count(row.missed)} of ${count(row.openings)}`, textAnchor: "start", dx: 4, dy: -7 }),
          Plot.text(rows, { x: 0, y: "place", text: below, textAnchor: "start", dx: 1, dy: 9, fill: "var(--quiet)" }),
        ],
      };
    },
  };
}
