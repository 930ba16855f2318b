// The axis of days, weeks or months. Where times are invented these are only numbered.
import { data } from "./data.js";

export function periodAxis(unit, rows) {
  if (!data.invented) {
    return {
      unit,
      heading: `${unit} from`,
      name: (row) => row.start,
      point: (row) => new Date(row.start),
      start: (row) => new Date(row.start),
      end: (row) => new Date(row.end),
      scale: (width) => ({ type: "utc", label: `${unit} beginning`, ticks: rows.length <= 5 ? unit : Math.max(5, Math.round(width / 70)) }),
    };
  }
  const places = new Map(rows.map((row, index) => [row.start, index + 1]));
  const number = (row) => places.get(row.start);
  return {
    unit: `invented ${unit}`,
    heading: `invented ${unit}`,
    name: (row) => `${unit} ${number(row)}`,
    point: number,
    start: (row) => number(row) - 0.5,
    end: (row) => number(row) + 0.5,
    scale: () => ({ label: `invented ${unit}`, tickFormat: "d" }),
  };
}
