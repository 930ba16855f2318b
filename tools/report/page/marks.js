// Marks that several charts share. Each one that stands for a value is labelled with it, which a
// screen reader says, a pointer shows, and the test in the browser counts.
import * as Plot from "@observablehq/plot";
import { element } from "./dom.js";
const DASHES = ["", "", "", "6,3", "2,3", "8,3,2,3", "10,4"];
const SYMBOLS = ["circle", "square", "triangle", "diamond", "times", "plus", "asterisk"];

export function labelled(text, options) {
  return { ...options, ariaLabel: text, title: text, tip: true };
}

// For each row a radius that shows how many openings it stands for.
export function sizes(rows) {
  const most = Math.max(...rows.map((row) => row.openings));
  return (row) => 2 + 4 * Math.sqrt(row.openings / most);
}

function look(method) {
  const strokeOnly = ["times", "plus", "asterisk"].includes(SYMBOLS[method.index]);
  return {
    symbol: SYMBOLS[method.index],
    r: 3,
    stroke: method.color,
    strokeWidth: 1.5,
    fill: strokeOnly ? "none" : method.color,
  };
}

function dashes(method) {
  return {
    stroke: method.color,
    strokeWidth: method.index === 0 ? 3 : 1.5,
    strokeDasharray: DASHES[method.index],
  };
}

// A line, broken where a row has no value, with a dot for each that has one. `text` says what a row's
// dot stands for.
export function series(method, rows, { x, y, r = 3, text }) {
  return [
    Plot.line(rows, { x, y, ...dashes(method) }),
    Plot.dot(rows.filter((row) => y(row) !== null), labelled(text, { x, y, ...look(method), r, sort: null })),
  ];
}

export function methodKey(method) {
  const sample = Plot.plot({
    width: 30,
    height: 12,
    margin: 0,
    x: { domain: [0, 2], axis: null },
    y: { domain: [-1, 1], axis: null },
    marks: [Plot.line([[0, 0], [2, 0]], dashes(method)), Plot.dot([[1, 0]], look(method))],
  });
  sample.setAttribute("aria-hidden", "true");
  return element("span", { class: "key" }, sample, method.name);
}

export function colorKey(name, color) {
  return element("span", { class: "key" }, element("i", { style: `background:${color}` }), name);
}

// The short stroke across a bar that stands for a rule.
export function tickKey(method) {
  return element("span", { class: "key" }, element("b", { style: `background:${method.color}` }), method.name);
}

export const RATE_AXIS = { label: "share of openings (%)", domain: [0, 100], grid: true };
