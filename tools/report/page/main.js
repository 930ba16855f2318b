import { listLength, whoAnswered } from "./answers.js";
import { data, methods, within } from "./data.js";
import { element } from "./dom.js";
import { figure } from "./figure.js";
import { headline } from "./headline.js";
import { byApp, byRank, leastFound, overWeek, spread } from "./places.js";
import { allOpenings, learning, overDay, overTime } from "./rates.js";

const many = data.traceCount > 1;
const CHARTS = [
  ["all-openings", allOpenings],
  ["over-time", overTime],
  ["over-day", overDay],
  ["over-week", overWeek],
  ["by-rank", byRank],
  ["by-app", byApp],
  ["learning", learning],
  ["who-answered", whoAnswered],
  ["list-length", listLength],
  ...(many ? [["spread", spread], ["least-found", leastFound]] : []),
];

const state = { depth: data.depths.indexOf(4), shown: new Set(methods.keys()), sort: "openings" };

function choice(type, name, label, checked, onchange) {
  const input = element("input", { type, name, onchange: () => onchange(input.checked) });
  input.checked = checked;
  return element("label", {}, input, " ", label);
}

function group(legend, ...choices) {
  return element("fieldset", {}, element("legend", {}, legend), ...choices);
}

const figures = CHARTS.map(([id, chart]) => figure(id, chart));
const update = () => figures.forEach((each) => each.update(state));
const change = (apply) => (value) => {
  apply(value);
  update();
};

document.getElementById("headline").append(...headline());
document.getElementById("controls").append(
  group(
    "A hit is",
    ...data.depths.map((_, depth) =>
      choice("radio", "depth", within(depth), depth === state.depth, change(() => (state.depth = depth))),
    ),
  ),
  group(
    "Lines",
    ...methods.map((method) =>
      choice("checkbox", method.key, method.name, true, change((on) => state.shown[on ? "add" : "delete"](method.index))),
    ),
  ),
  group(
    "Applications by",
    choice("radio", "sort", "openings", true, change(() => (state.sort = "openings"))),
    choice("radio", "sort", "share found", false, change(() => (state.sort = "share"))),
  ),
);
document.getElementById("charts").append(...figures.map((each) => each.frame));
document.getElementById("footer").append(`Made by ksbrain ${data.program}.`);
update();
