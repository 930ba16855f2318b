// What the engine answered: by which predictor, and when trainings ended.
import * as Plot from "@observablehq/plot";
import { count, data } from "./data.js";
import { element } from "./dom.js";
import { colorKey, labelled } from "./marks.js";
import { periodAxis } from "./time.js";

const PREDICTORS = [
  { key: "bayes", name: "Bayes", color: "var(--bayes)" },
  { key: "network", name: "sequence network", color: "var(--network)" },
  { key: "none", name: "no answer", color: "var(--none)" },
];

export function whoAnswered() {
  const { unit, rows } = data.answers;
  const axis = periodAxis(unit, rows);
  const parts = rows.flatMap((row) =>
    PREDICTORS.filter(({ key }) => row[key] > 0).map((predictor) => ({ row, predictor, count: row[predictor.key] })),
  );
  const trained = rows.filter((row) => row.trainings > 0);
  const text = (part) => `${part.predictor.name}, ${axis.name(part.row)}: ${count(part.count)} openings`;
  return {
    title: "Which predictor answered, and when trainings ended",
    reading: `A column is the openings of one ${axis.unit}, coloured by who made the list before them; a triangle is a ${unit} in which trainings of the network ended.`,
    legend: [
      ...PREDICTORS.map(({ name, color }) => colorKey(name, color)),
      ...(trained.length > 0 ? [element("span", { class: "key" }, "▼ a training ended")] : []),
    ],
    columns: [
      { label: axis.heading, value: axis.name },
      ...PREDICTORS.map(({ key, name }) => ({ label: name, value: (row) => row[key] || null, show: count, mark: true })),
      { label: "trainings", value: (row) => row.trainings || null, show: count, mark: true },
    ],
    rows,
    plot: (width) => ({
      height: Math.max(230, Math.min(330, width * 0.4)),
      marginTop: 30,
      marginBottom: 50,
      marginLeft: 50,
      marginRight: 14,
      x: axis.scale(width),
      y: { label: "openings", grid: true },
      color: { type: "identity" },
      marks: [
        Plot.rectY(
          parts,
          labelled(text, { x1: (part) => axis.start(part.row), x2: (part) => axis.end(part.row), y: "count", fill: (part) => part.predictor.color, inset: 0.5 }),
        ),
        Plot.dot(
          trained,
          labelled((row) => `${axis.name(row)}: ${row.trainings} trainings ended`, {
            x: (row) => (Number(axis.start(row)) + Number(axis.end(row))) / 2,
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
