import { whoAnswered } from "./answers.js";
import { byApp, leastFound, missed } from "./apps.js";
import { data, within } from "./data.js";
import { element } from "./dom.js";
import { figure } from "./figure.js";
import { answer, header, ownCounters, verdicts } from "./headline.js";
import { leadOverTime, learning, overDay } from "./lead.js";
import { allOpenings, spread } from "./methods.js";
import { howMany } from "./preloads.js";

const many = data.traceCount > 1;
const CHARTS = [
  ["how-many", howMany],
  ["over-time", leadOverTime],
  ["learning", learning],
  ["all-openings", allOpenings],
  ["who-answered", whoAnswered],
  ["missed", missed],
  ["by-app", byApp],
  ...(many ? [["spread", spread], ["least-found", leastFound]] : []),
  ...(data.invented ? [] : [["over-day", overDay]]),
];

const state = { depth: data.depths.indexOf(4), sort: "openings" };

function choice(name, label, checked, onchange) {
  const input = element("input", { type: "radio", name, onchange });
  input.checked = checked;
  return element("label", {}, input, " ", label);
}

function group(legend, ...choices) {
  return element("fieldset", {}, element("legend", {}, legend), ...choices);
}

const sentence = element("p", { class: "answer", id: "answer" });
const figures = CHARTS.map(([id, chart]) => figure(id, chart));
function update() {
  sentence.textContent = answer(state);
  figures.forEach((each) => each.update(state));
}
const change = (apply) => () => {
  apply();
  update();
};

document.getElementById("headline").append(...header(sentence), ...verdicts());
document.getElementById("controls").append(
  group(
    "A hit is",
    ...data.depths.map((_, depth) =>
      choice("depth", within(depth), depth === state.depth, change(() => (state.depth = depth))),
    ),
  ),
  group(
    "Applications by",
    choice("sort", "openings", true, change(() => (state.sort = "openings"))),
    choice("sort", "share found", false, change(() => (state.sort = "share"))),
  ),
);
document.getElementById("charts").append(...figures.map((each) => each.frame), ownCounters());
document
  .getElementById("footer")
  .append(`Made by ksbrain ${data.program} with `, element("code", {}, data.command), `. Local times are those of ${data.zone}.`);
update();
