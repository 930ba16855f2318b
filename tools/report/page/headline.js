// What was measured and how it went, in words and a few numbers.
import { bestRule, count, data, engine, few, isTooShort, methods, per, percent, preloaded, within } from "./data.js";
import { element } from "./dom.js";

const share = (method, depth) => (100 * method.hits[depth]) / data.openings;

function measured() {
  const others = data.traceCount - data.traces.length;
  const names = data.traces.join(", ") + (others > 0 ? ` and ${count(others)} more` : "");
  return (
    `${count(data.openings)} openings of ${count(data.appCount)} applications, ${data.invented ? "" : `${data.from} to ${data.to}, `}from ${names}. ` +
    `Left out: ${count(data.repeats)} repeats of the application in front, and the first opening of each trace. ` +
    "Each opening was predicted from what came before it only, by an engine that started knowing nothing; " +
    "a hit is an opening whose application stood on the list made before it, from which the application in front is struck. " +
    `Charging: ${data.charging}.`
  );
}

const ORDINALS = { 2: "second", 5: "fifth", 9: "ninth" };

// The first question, answered for as many preloads as a hit looks at.
export function answer({ depth }) {
  if (isTooShort) return "";
  const number = data.depths[depth];
  const [here, next] = [preloaded(engine, number), preloaded(engine, number + 1)];
  const more = next.unused - here.unused;
  return (
    `With ${number} preloaded, ${percent(here.caught)} of openings are ready, and ${few(here.unused)} preloads ${per} are never used; ` +
    `a ${ORDINALS[number + 1]} adds ${percent(next.caught - here.caught)} ` +
    (more < 0 ? `and saves ${few(-more)} unused preloads ${per}.` : `for ${few(more)} unused preloads ${per} more.`)
  );
}

// In place of a verdict.
function tooShort() {
  const why =
    data.openings < data.fewest
      ? `${count(data.openings)} openings count, and a verdict needs at least ${count(data.fewest)}.`
      : "";
  const silent = engine.answered === 0 ? "The engine had no answer before any of them." : "";
  return element("p", { class: "warning", id: "too-short" }, element("strong", {}, "Too little to judge. "), `${why} ${silent}`.trim());
}

const INVENTED =
  `The times are invented: ${data.traceCount > 1 ? "not every" : "the"} recording has ${data.traceCount > 1 ? "some" : "none"}, and openings without are laid out evenly. ` +
  "So there are no charts by the hour, days are only numbered, " +
  "and costs are given per 100 openings. The engine went by the invented times, too.";

const quoted = (method, depth) => `“${method.name}” (${percent(share(method, depth))})`;

// How far the best rule and the engine lie apart, and how sure that is.
function lead(depth) {
  const { lead, low, high } = data.rivals[depth];
  const points = (number) => Math.abs(number).toFixed(1);
  if (low === undefined) return `by ${points(lead)} points`;
  if (low < 0 && high > 0) return `by ${points(lead)} points, which is less than chance may do`;
  const ends = [points(low), points(high)].sort((a, b) => a - b);
  return `by ${points(lead)} points (95\u00a0%: ${ends[0]} to ${ends[1]})`;
}

// Says it as it is, also where a simple rule wins.
function verdict(depth) {
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
    text = `${subject}: ${names}. ${rules.length === 1 ? "It" : "The best of them"} beats the engine ${lead(depth)}.`;
  }
  return parts.length === 0
    ? text
    : `${text} ${parts.map((method) => quoted(method, depth)).join(" and ")} would have done better than both predictors together.`;
}

function card(depth) {
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

export function ownCounters() {
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
    element("h2", {}, "The engine's own counters"),
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

export function header(sentence) {
  return [
    element("h1", {}, "How many applications to preload, and what it saves"),
    isTooShort ? tooShort() : sentence,
    element("p", { class: "measured" }, measured()),
    ...(data.invented ? [element("p", { class: "measured", id: "invented" }, INVENTED)] : []),
  ];
}

export function verdicts() {
  return isTooShort ? [] : [element("div", { class: "cards" }, card(0), card(1))];
}
