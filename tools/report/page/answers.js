// Charts of what the engine answered: by which predictor, and with how long a list.
import * as Plot from "@observablehq/plot";
import { count, data } from "./data.js";
import { element } from "./dom.js";
import { colorKey, labelled } from "./marks.js";

const PREDICTORS = [
  { key: "bayes", name: "Bayes", color: "var(--bayes)" },
  { key: "network", name: "sequence network", color: "var(--network)" },
  { key: "none", name: "no answer", color: "var(--none)" },
];

const LEGEND = PREDICTORS.map(({ name, color }) => [name, color]);

const predictorColumns = PREDICTORS.map(({ key, name }) => ({
  label: name,
  value: (row) => row[key] || null,
  show: count,
  mark: true,
}));

// A mark for each predictor and row that has a count.
function parts(rows) {
  return rows.flatMap((row) =>
    PREDICTORS.filter(({ key }) => row[key] > 0).map((predictor) => ({ row, predictor, count: row[predictor.key] })),
  );
}

export function whoAnswered() {
  const { unit, rows } = data.answers;
  const trained = rows.filter((row) => row.trainings > 0);
  const interval = { day: "day", week: "monday", month: "month" }[unit];
  const text = (part) => `${part.predictor.name}, ${part.row.start}: ${count(part.count)} openings`;
  const start = (row) => new Date(row.start);
  return {
    title: "Which predictor answered, and when trainings ended",
    reading: `A column is the openings of one ${unit}, coloured by who made the list before them; a triangle is a ${unit} in which trainings of the network ended.`,
    legend: [
      ...LEGEND.map(([name, color]) => colorKey(name, color)),
      ...(trained.length > 0 ? [element("span", { class: "key" }, "▼ a training ended")] : []),
    ],
    columns: [
      { label: `${unit} from`, value: (row) => row.start },
      ...predictorColumns,
      { label: "trainings", value: (row) => row.trainings || null, show: count, mark: true },
    ],
    rows,
    plot: (width) => ({
      height: Math.max(220, Math.min(320, width * 0.4)),
      marginLeft: 50,
      marginTop: 30,
      x: { type: "utc", label: `${unit} beginning` },
      y: { label: "openings", grid: true },
      color: { type: "identity" },
      marks: [
        Plot.rectY(
          parts(rows),
          labelled(text, { x: (part) => start(part.row), y: "count", interval, fill: (part) => part.predictor.color, inset: 0.5 }),
        ),
        Plot.dot(
          trained,
          labelled((row) => `${row.start}: ${row.trainings} trainings ended`, {
            x: start,
            y: (row) => row.bayes + row.network + row.none,
            symbol: "triangle",
            rotate: 180,
            fill: "currentColor",
            r: 4,
            dy: -8,
          }),
        ),
      ],
    }),
  };
}

export function listLength() {
  const rows = data.lengths;
  const name = (row) => (row.from === row.to ? String(row.from) : `${row.from} to ${row.to}`);
  const text = (part) => `${part.predictor.name}, ${name(part.row)} names: ${count(part.count)} openings`;
  return {
    title: "How long the engine's list was",
    reading: "A column is the openings before which the list had so many names; an opening without a list stands at 0.",
    legend: LEGEND.map(([label, color]) => colorKey(label, color)),
    columns: [{ label: "names on the list", value: name }, ...predictorColumns],
    rows,
    plot: () => ({
      height: 260,
      marginLeft: 50,
      x: { label: "names on the list" },
      y: { label: "openings", grid: true },
      color: { type: "identity" },
      marks: [
        Plot.rectY(
          parts(rows),
          labelled(text, {
            x1: (part) => part.row.from - 0.5,
            x2: (part) => part.row.to + 0.5,
            y: "count",
            fill: (part) => part.predictor.color,
            inset: 0.5,
          }),
        ),
      ],
    }),
  };
}
