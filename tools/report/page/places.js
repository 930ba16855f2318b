// Charts of where hits and misses lie: in the week, on the list, among applications and users.
import * as Plot from "@observablehq/plot";
import { bestRule, count, data, ENGINE, hourText, methods, percent, rate, WEEKDAYS, weekHours, within } from "./data.js";
import { colorKey, labelled, RATE_AXIS, tickKey } from "./marks.js";

const engine = methods[ENGINE];

// Where most of the shares lie, in steps of ten percent, so that the shades tell them apart.
function middle(rows) {
  const shares = rows.map((row) => row.share).sort((a, b) => a - b);
  const at = (part) => shares[Math.round(part * (shares.length - 1))];
  const low = Math.floor(at(0.1) / 10) * 10;
  return [low, Math.max(low + 20, Math.ceil(at(0.9) / 10) * 10)];
}

export function overWeek({ depth }) {
  const rows = weekHours
    .filter((row) => row.openings > 0)
    .map((row) => ({ ...row, day: WEEKDAYS[row.weekday], share: rate(row, ENGINE, depth) }));
  const [low, high] = middle(rows);
  const shade = (share) => 0.1 + 0.9 * Math.min(1, Math.max(0, (share - low) / (high - low)));
  const key = (share, name) =>
    colorKey(name, `color-mix(in srgb, ${engine.color} ${100 * shade(share)}%, transparent)`);
  const text = (row) => `${row.day} ${hourText(row.hour)}: ${percent(row.share)} of ${count(row.openings)}`;
  return {
    title: `The engine's hit rate by weekday and hour: ${within(depth)}`,
    reading: "The stronger the colour of a square, the larger the share that was found in that hour; where there is no square nothing was opened.",
    legend: [key(low, `${low} % or less`), key((low + high) / 2, `${(low + high) / 2} %`), key(high, `${high} % or more`)],
    columns: [
      { label: "day", value: (row) => row.day },
      { label: "hour", value: (row) => hourText(row.hour) },
      { label: "openings", value: (row) => row.openings, show: count },
      { label: "engine", value: (row) => row.share, show: percent, mark: true },
    ],
    rows,
    plot: (width) => ({
      height: 70 + 7 * Math.min(28, width / 24),
      marginLeft: 36,
      x: {
        type: "band",
        domain: [...Array(24).keys()],
        label: "hour of the day (local time)",
        ticks: [0, 6, 12, 18],
        tickFormat: hourText,
        padding: 0.05,
      },
      y: { domain: WEEKDAYS, label: null, padding: 0.05 },
      opacity: { type: "identity" },
      marks: [
        Plot.cell(
          rows,
          labelled(text, {
            x: "hour",
            y: "day",
            fill: engine.color,
            fillOpacity: (row) => shade(row.share),
            stroke: "var(--faint)",
          }),
        ),
      ],
    }),
  };
}

const RANK_NAMES = ["1", "2", "3", "4", "5", "6", "7", "8", "later", "not on it", "no list"];

export function byRank({ depth }) {
  const rule = bestRule(depth);
  const total = (method, place) => (100 * data.ranks[method.index][place]) / data.openings;
  const rows = RANK_NAMES.map((name, place) => ({ name, engine: total(engine, place), rule: total(rule, place) }));
  const text = (method, key) => (row) => `${method.name}, ${row.name}: ${percent(row[key])}`;
  return {
    title: "Where on the list the opened application stood",
    reading: "The first bars are the openings that a preload of so many applications would have caught; the last three were missed.",
    legend: [colorKey(engine.name, engine.color), tickKey(rule)],
    columns: [
      { label: "place", value: (row) => row.name },
      { label: engine.name, value: (row) => row.engine, show: percent, mark: true },
      { label: rule.name, value: (row) => row.rule, show: percent, mark: true },
    ],
    rows,
    plot: (width) => ({
      height: 280,
      marginBottom: width < 500 ? 60 : 40,
      x: { domain: RANK_NAMES, label: "place on the list", tickRotate: width < 500 ? -60 : 0 },
      y: { label: "share of openings (%)", grid: true },
      marks: [
        Plot.barY(rows, labelled(text(engine, "engine"), { x: "name", y: "engine", fill: engine.color })),
        Plot.tickY(rows, { x: "name", y: "rule", stroke: "var(--card)", strokeWidth: 6 }),
        Plot.tickY(rows, labelled(text(rule, "rule"), { x: "name", y: "rule", stroke: rule.color, strokeWidth: 3 })),
      ],
    }),
  };
}

// Cuts the middle out of a name that is longer than `most`.
function shortened(name, most) {
  if (name.length <= most) return name;
  const kept = Math.max(2, most - 1);
  return `${name.slice(0, Math.floor(kept / 3))}…${name.slice(-Math.ceil((2 * kept) / 3))}`;
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
    plot: (width) => {
      const letters = Math.floor(Math.min(width * 0.42, 260) / 6);
      const longest = Math.max(...all.map((row) => Math.min(row.name.length, letters)));
      return {
        height: 60 + 17 * all.length,
        marginLeft: 12 + 6.2 * longest,
        x: { ...RATE_AXIS, label: "share of its openings (%)" },
        y: { domain: all.map((row) => row.place), label: null, tickSize: 0, tickFormat: (place) => shortened(all[place].name, letters) },
        marks: [
          Plot.barX(all, labelled(text(engine, "engine"), { x: "engine", y: "place", fill: engine.color, insetTop: 1 })),
          Plot.tickX(all, { x: "rule", y: "place", stroke: "var(--card)", strokeWidth: 6 }),
          Plot.tickX(all, labelled(text(rule, "rule"), { x: "rule", y: "place", stroke: rule.color, strokeWidth: 3 })),
        ],
      };
    },
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
      marginLeft: 95,
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
