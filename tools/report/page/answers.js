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

// Columns of openings, a part for each predictor. `columns` and `more` stand before and behind those
// of the predictors in the table, `name` says which row it is, and `place` where it stands.
function stackedChart(rows, { title, reading, legend = [], columns, more = [], name, place, marks = [], plot }) {
  const parts = rows.flatMap((row) =>
    PREDICTORS.filter(({ key }) => row[key] > 0).map((predictor) => ({ row, predictor, count: row[predictor.key] })),
  );
  const text = (part) => `${part.predictor.name}, ${name(part.row)}: ${count(part.count)} openings`;
  return {
    title,
    reading,
    legend: [...PREDICTORS.map(({ name, color }) => colorKey(name, color)), ...legend],
    columns: [
      ...columns,
      ...PREDICTORS.map(({ key, name }) => ({ label: name, value: (row) => row[key] || null, show: count, mark: true })),
      ...more,
    ],
    rows,
    plot: (width) => ({
      marginLeft: 50,
      y: { label: "openings", grid: true },
      color: { type: "identity" },
      marks: [
        Plot.rectY(parts, labelled(text, { ...place, y: "count", fill: (part) => part.predictor.color, inset: 0.5 })),
        ...marks,
      ],
      ...plot(width),
    }),
  };
}

export function whoAnswered() {
  const { unit, rows } = data.answers;
  const trained = rows.filter((row) => row.trainings > 0);
  const interval = { day: "day", week: "monday", month: "month" }[unit];
  const start = (row) => new Date(row.start);
  return stackedChart(rows, {
    title: "Which predictor answered, and when trainings ended",
    reading: `A column is the openings of one ${unit}, coloured by who made the list before them; a triangle is a ${unit} in which trainings of the network ended.`,
    legend: trained.length > 0 ? [element("span", { class: "key" }, "▼ a training ended")] : [],
    columns: [{ label: `${unit} from`, value: (row) => row.start }],
    more: [{ label: "trainings", value: (row) => row.trainings || null, show: count, mark: true }],
    name: (row) => row.start,
    place: { x: (part) => start(part.row), interval },
    marks: [
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
    plot: (width) => ({
      height: Math.max(220, Math.min(320, width * 0.4)),
      marginTop: 30,
      x: { type: "utc", label: `${unit} beginning` },
    }),
  });
}

export function listLength() {
  const name = (row) => (row.from === row.to ? String(row.from) : `${row.from} to ${row.to}`);
  return stackedChart(data.lengths, {
    title: "How long the engine's list was",
    reading: "A column is the openings before which the list had so many names; an opening without a list stands at 0.",
    columns: [{ label: "names on the list", value: name }],
    name: (row) => `${name(row)} names`,
    place: { x1: (part) => part.row.from - 0.5, x2: (part) => part.row.to + 0.5 },
    plot: () => ({ height: 260, x: { label: "names on the list" } }),
  });
}
