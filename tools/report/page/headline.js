// What was measured and how it went, in words and four numbers.
import { bestRule, count, data, ENGINE, methods, percent, within } from "./data.js";
import { element } from "./dom.js";

const share = (method, depth) => (100 * method.hits[depth]) / data.openings;

function measured() {
  const others = data.traceCount - data.traces.length;
  const names = data.traces.join(", ") + (others > 0 ? ` and ${count(others)} more` : "");
  return (
    `${count(data.openings)} openings of ${count(data.appCount)} applications, ${data.from} to ${data.to}, from ${names}. ` +
    `Left out: ${count(data.repeats)} repeats of the application in front, and the first opening of each trace. ` +
    "Each opening was predicted from what came before it only, by an engine that started knowing nothing; " +
    "a hit is an opening whose application stood on the list made before it, from which the application in front is struck. " +
    `Charging: ${data.charging}. Local times are those of ${data.zone}.`
  );
}

const quoted = (method, depth) => `“${method.name}” (${percent(share(method, depth))})`;

// How far the best rule and the engine lie apart, and how sure that is.
function lead(depth) {
  const { lead, low, high } = data.rivals[depth];
  const points = (number) => Math.abs(number).toFixed(1);
  if (low === undefined) return `by ${points(lead)} points`;
  if (low < 0 && high > 0) return `by ${points(lead)} points, which is less than chance may do`;
  const ends = [points(low), points(high)].sort((a, b) => a - b);
  return `by ${points(lead)} points (95 %: ${ends[0]} to ${ends[1]})`;
}

// Says it as it is, also where a simple rule wins.
function verdict(depth) {
  const engine = methods[ENGINE];
  const better = methods
    .filter((method) => method.hits[depth] > engine.hits[depth])
    .sort((a, b) => b.hits[depth] - a.hits[depth]);
  const rules = better.filter((method) => method.isRule);
  const parts = better.filter((method) => !method.isRule);
  const best = bestRule(depth);
  let text;
  if (best.hits[depth] === engine.hits[depth]) {
    text = `The engine and ${quoted(best, depth)} are level.`;
  } else if (rules.length === 0) {
    text = `The engine beats every simple rule, the best of them, ${quoted(best, depth)}, ${lead(depth)}.`;
  } else {
    const names = rules.map((method) => quoted(method, depth)).join(", ");
    const subject = rules.length === 1 ? "A simple rule wins" : `${rules.length} simple rules win`;
    text = `${subject}: ${names}. The best of them beats the engine ${lead(depth)}.`;
  }
  return parts.length === 0
    ? text
    : `${text} ${parts.map((method) => quoted(method, depth)).join(" and ")} would have done better than both predictors together.`;
}

function card(depth) {
  const engine = methods[ENGINE];
  const rule = bestRule(depth);
  const wins = engine.hits[depth] >= rule.hits[depth];
  const number = (method, best) =>
    element("div", { class: best ? "best" : undefined }, element("strong", {}, percent(share(method, depth))), element("span", {}, method.name));
  return element(
    "section",
    { class: "card", "data-depth": data.depths[depth] },
    element("h2", {}, within(depth)),
    element("div", { class: "numbers" }, number(engine, wins), number(rule, !wins)),
    element("p", {}, verdict(depth)),
  );
}

function ownCounters() {
  const { bayes, network } = data.own;
  const both = { opened: bayes.opened + network.opened, top1: bayes.top1 + network.top1, top4: bayes.top4 + network.top4 };
  const rows = [
    ["Bayes", bayes],
    ["sequence network", network],
    ["together", both],
  ];
  const part = (hits, opened) => (opened > 0 ? percent((100 * hits) / opened) : "-");
  const cells = ([name, score]) => [
    element("th", { scope: "row" }, name),
    ...[count(score.opened), count(score.top1), part(score.top1, score.opened), count(score.top4), part(score.top4, score.opened)].map(
      (text) => element("td", { class: "number" }, text),
    ),
  ];
  return element(
    "section",
    { class: "card", id: "own" },
    element("h2", {}, "the engine's own counters"),
    element(
      "div",
      { class: "scroll", tabindex: "0", role: "region", "aria-label": "The engine's own counters" },
      element(
        "table",
        {},
        element("thead", {}, element("tr", {}, ...["predictor", "scored", "top‑1", "rate", "top‑4", "rate"].map((text) => element("th", { scope: "col" }, text)))),
        element("tbody", {}, ...rows.map((row) => element("tr", {}, ...cells(row)))),
      ),
    ),
    element(
      "p",
      {},
      "As “ksbrain replay” prints them. The engine scores only once it can predict, and each application by the predictor in charge of it. " +
        "It takes in repeats, and leaves the application in front on the list: a yardstick other than this page's.",
    ),
  );
}

export function headline() {
  return [
    element("h1", {}, "How well the next application was predicted"),
    element("p", { class: "measured" }, measured()),
    element("div", { class: "cards" }, card(0), card(1), ownCounters()),
  ];
}
