// The numbers that the program embedded, and what is computed from them. A row has `openings` and,
// for each method and depth, `hits`.

export const data = JSON.parse(document.getElementById("data").textContent);

export const ENGINE = 0;

export const methods = data.methods.map((method, index) => ({
  ...method,
  index,
  color: `var(--${method.key.replace("_", "-")})`,
}));

// The hours of the week, and those of the day over all weekdays.
export const weekHours = data.hours.map((row, index) => ({
  ...row,
  weekday: Math.floor(index / 24),
  hour: index % 24,
}));

export const dayHours = [...Array(24).keys()].map((hour) => {
  const same = weekHours.filter((row) => row.hour === hour);
  const sum = (value) => same.reduce((total, row) => total + value(row), 0);
  return {
    hour,
    openings: sum((row) => row.openings),
    hits: methods.map((_, method) => data.depths.map((_, depth) => sum((row) => row.hits[method][depth]))),
  };
});

// In percent; nothing when there is nothing to divide by.
export function rate(row, method, depth) {
  return row.openings > 0 ? (100 * row.hits[method][depth]) / row.openings : null;
}

export function bestRule(depth) {
  return methods
    .filter((method) => method.isRule)
    .reduce((best, method) => (method.hits[depth] > best.hits[depth] ? method : best));
}

const WORDS = { 1: "first on the list", 4: "among the first four", 8: "among the first eight" };

export function within(depth) {
  return WORDS[data.depths[depth]];
}

const grouping = new Intl.NumberFormat("en-US");

export function count(number) {
  return number === null ? "" : grouping.format(number);
}

export function percent(share) {
  return share === null ? "" : `${share.toFixed(1)} %`;
}

export const WEEKDAYS = ["Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"];

export function hourText(number) {
  return `${String(number).padStart(2, "0")}:00`;
}
