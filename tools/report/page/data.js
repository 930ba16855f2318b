// The numbers that the program embedded, and what is computed from them. A row has `openings` and,
// for each method and depth, `hits`.

export const data = JSON.parse(document.getElementById("data").textContent);

export const ENGINE = 0;

export const methods = data.methods.map((method, index) => ({
  ...method,
  index,
  color: `var(--${method.key.replace("_", "-")})`,
}));

export const engine = methods[ENGINE];
export const mostUsed = methods.find((method) => method.key === "most_used");

const rules = methods.filter((method) => method.isRule);

export const bestRule = (depth) => methods[data.rivals[depth].method];

// Fewer openings say nothing about anybody.
export const isTooShort = data.openings < data.fewest || engine.answered === 0;

// In percent; nothing when there is nothing to divide by.
export function rate(row, method, depth) {
  return row.openings > 0 ? (100 * row.hits[method][depth]) / row.openings : null;
}

// How many points the engine is ahead of the best simple rule, and the band that holds this with 95 %:
// of a difference of paired shares, from the openings that only one of the two found, with half an
// opening more of each kind so that a few of them do not look certain.
export function lead(row, depth) {
  if (row.openings === 0) return { value: null, low: null, high: null };
  const rule = bestRule(depth);
  const more = row.hits[ENGINE][depth] - row.hits[rule.index][depth];
  const split = row.split[rules.indexOf(rule)][depth];
  const all = row.openings + 2;
  const middle = more / all;
  const margin = (1.96 * Math.sqrt(split + 1 - (more * more) / all)) / all;
  return {
    value: (100 * more) / row.openings,
    low: 100 * Math.max(-1, middle - margin),
    high: 100 * Math.min(1, middle + margin),
  };
}

// What so many preloaded catch of all openings, in percent, and how many preloads are then never used,
// on a day or, where days are invented, for each hundred openings.
const costs = data.invented
  ? { per: "per 100 openings", of: data.openings / 100 }
  : { per: "a day", of: data.days };

export const per = costs.per;

export function preloaded(method, number) {
  const { caught, unused } = data.places[method.index];
  if (number === 0) return { caught: 0, unused: 0 };
  return { caught: (100 * caught[number - 1]) / data.openings, unused: unused[number - 1] / costs.of };
}

export const MOST_PRELOADED = data.places[ENGINE].caught.length;

const WORDS = { 1: "first on the list", 4: "among the first four", 8: "among the first eight" };

export function within(depth) {
  return WORDS[data.depths[depth]];
}

const grouping = new Intl.NumberFormat("en-US");

export function count(number) {
  return number === null ? "" : grouping.format(number);
}

export function percent(share) {
  return share === null ? "" : `${share.toFixed(1)}\u00a0%`;
}

const sign = (text) => (/[1-9]/.test(text) ? text.replace(/^(?!-)/, "+").replace("-", "−") : text.replace("-", ""));

// With a sign, and 0 without one.
export function points(number) {
  return number === null ? "" : sign(number.toFixed(1));
}

// Of preloads: a decimal where there are few.
export function few(number) {
  return Math.abs(number) < 9.95 ? number.toFixed(1) : count(Math.round(number));
}

export function fewMore(number) {
  return sign(few(number));
}

export function hourText(number) {
  return `${String(number).padStart(2, "0")}:00`;
}
