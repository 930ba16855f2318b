// browser_test.mjs PROGRAM...: opens pages of the program, which may need an emulator before
// it, and holds what they show against the traces themselves and the other verbs' numbers.
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { launchBrowser } from "./browser.mjs";

const program = process.argv.slice(2);
const folder = mkdtempSync(join(tmpdir(), "ksbrain-page-"));
const at = (name) => join(folder, name);

function ksbrain(...words) {
  const [first, ...rest] = [...program, ...words];
  const env = { ...process.env, TZ: "UTC" };
  return execFileSync(first, rest, { env, encoding: "utf8", stdio: ["ignore", "pipe", "inherit"] });
}

// Two habits, a long tail, and names that would harm a careless page. Long enough for a training.
const HOSTILE = ["com.x</script><script>document.title='taken'</script>", "a\"b'c&<!--", "sep\u2028\u2029"];

function trace(length, seed) {
  let state = seed;
  const below = (limit) => (state = (state * 1103515245 + 12345) % 2147483648) % limit;
  const rows = [];
  let time = Date.UTC(2026, 2, 2) / 1000;
  for (let i = 0; i < length; ++i) {
    time += i % 200 === 0 && i > 0 ? 8 * 3600 : 30 + below(500);
    const name = i % 500 === 7 ? HOSTILE[below(3)] : `com.app${i % 3 === 0 ? i % 6 : below(60)}`;
    rows.push({ time, name });
  }
  return rows;
}

function writeTrace(name, rows) {
  const line = (row) => `${row.time},"${row.name.replaceAll('"', '""')}"\n`;
  writeFileSync(at(name), "time,package\n" + rows.map(line).join(""));
}

const distinct = (rows, key) => new Set(rows.map(key)).size;
const date = (row) => new Date(row.time * 1000);
const day = (row) => date(row).toISOString().slice(0, 10);

// Those that count: another application was in front.
const counted = (rows) => rows.filter((row, i) => i > 0 && row.name !== rows[i - 1].name);

// What preloading the first so many most used names would have caught and cost, for 1 to 16 of them: a
// rule that can be followed here from beginning to end.
function mostUsedPreloads(all) {
  const uses = new Map(); // in order of appearance
  const caught = Array(16).fill(0);
  const unused = Array(16).fill(0);
  const waiting = caught.map(() => new Set());
  let list = [];
  let front = null;
  for (const { name } of all) {
    const last = { list, front };
    if (front !== null && front !== name) caught.forEach((_, i) => (caught[i] += list.slice(0, i + 1).includes(name) ? 1 : 0));
    uses.set(name, (uses.get(name) ?? 0) + 1);
    front = name;
    list = [...uses].filter(([other]) => other !== name).sort((a, b) => b[1] - a[1]).map(([other]) => other);
    waiting.forEach((names, i) => {
      const now = list.slice(0, i + 1);
      names.delete(name);
      for (const other of names) if (!now.includes(other)) unused[i] += names.delete(other) ? 1 : 0;
      for (const other of now) if (!last.list.slice(0, i + 1).includes(other) && other !== last.front) names.add(other);
    });
  }
  return { caught, unused };
}

// How many marks each chart must have, from the trace alone, and how many methods preload.
function expectedMarks(rows, preloading) {
  const stretches = [10, 20, 50, 100, 200, 500, 1000, 2000, 5000].filter((end) => end < rows.length).length + 1;
  assert(distinct(rows, day) <= 31, "a dot a day");
  return {
    "how-many": 2 * 16 * preloading,
    "over-time": distinct(rows, day),
    learning: stretches,
    "all-openings": 7,
    "over-day": 2 * distinct(rows, (row) => date(row).getUTCHours()),
    missed: 15,
    "by-app": 2 * Math.min(30, distinct(rows, (row) => row.name)),
  };
}

// In the page: what each chart holds.
function lookAtCharts() {
  const number = (text) => Number(text.replaceAll(/[,%\s]/g, ""));
  const charts = [...document.querySelectorAll("figure")].map((figure) => {
    const marks = [...figure.querySelectorAll("svg :not(g)[aria-label]")];
    const cells = [...figure.querySelectorAll("td.mark")];
    const misplaced = marks.filter((mark) => {
      const box = mark.getBBox();
      return /NaN|undefined/.test(mark.outerHTML) || ![box.x, box.y, box.width, box.height].every(Number.isFinite);
    });
    return [
      figure.id,
      {
        marks: marks.length,
        cells: cells.length,
        sum: cells.reduce((total, cell) => total + number(cell.textContent), 0),
        misplaced: misplaced.length,
        described: ["h2", ".reading", ".drawing"].every((part) => figure.querySelector(part).textContent !== ""),
      },
    ];
  });
  return Object.fromEntries(charts);
}

function checkCharts(charts, expected) {
  for (const [id, chart] of Object.entries(charts)) {
    assert(chart.marks > 0 && chart.described, `${id} is drawn and described`);
    assert.equal(chart.marks, chart.cells, `${id}: a mark for each value`);
    assert.equal(chart.misplaced, 0, `${id}: marks with a place`);
  }
  for (const [id, marks] of Object.entries(expected)) assert.equal(charts[id]?.marks, marks, `marks of ${id}`);
}

// Opens a page with the network off and calls `look` with it. Nothing may be said on the console,
// and nothing but the page itself may be asked for.
async function opened(browser, path, look, options = {}) {
  const context = await browser.newContext({ offline: true, ...options });
  const page = await context.newPage();
  const complaints = [];
  page.on("pageerror", (error) => complaints.push(`script error: ${error.message}`));
  page.on("console", (message) => complaints.push(`console: ${message.text()}`));
  page.on("request", (request) => request.url() !== `file://${path}` && complaints.push(`request: ${request.url()}`));
  await page.goto(`file://${path}`);
  await page.locator("figure svg").first().waitFor();
  const result = await look(page);
  assert.deepEqual(complaints, []);
  await context.close();
  return result;
}

const percent = (part, whole) => `${((100 * part) / whole).toFixed(1)}\u00a0%`;
const few = (number) => (number < 9.95 ? number.toFixed(1) : Math.round(number).toLocaleString("en-US"));
const numbersIn = (text) => text.replaceAll("−", "-").replaceAll(",", "").match(/-?\d+(\.\d+)?/g).map(Number);

// The marks of a chart in one of its drawings: what they say, and how far from the top they stand.
const marksOf = (page, id, drawing = 0) =>
  page.locator(`#${id} .drawing svg`).nth(drawing).locator(":scope :not(g)[aria-label]").evaluateAll((marks) =>
    marks.map((mark) => ({ label: mark.getAttribute("aria-label"), y: mark.getBoundingClientRect().y + mark.getBoundingClientRect().height / 2 })),
  );

// Marks must lie on a scale: the same distance for the same difference.
function checkScale(marks, values) {
  const [low, high] = [Math.min(...values), Math.max(...values)].map((value) => values.indexOf(value));
  const unit = (marks[low].y - marks[high].y) / (values[high] - values[low]);
  assert(unit > 0, "more is higher");
  marks.forEach((mark, i) => assert(Math.abs(marks[low].y - mark.y - unit * (values[i] - values[low])) < 1, mark.label));
}

async function checkPreloads(page, all, rows) {
  const { caught, unused } = mostUsedPreloads(all);
  const days = distinct(rows, day);
  for (const [drawing, values] of [caught, unused].entries()) {
    const marks = (await marksOf(page, "how-many", drawing)).filter(({ label }) => label.startsWith("most used,"));
    assert.deepEqual(
      marks.map(({ label }) => label),
      caught.map((hits, i) => `most used, ${i + 1} preloaded: ${percent(hits, rows.length)} caught, ${few(unused[i] / days)} unused a day`),
    );
    checkScale(marks, values);
  }
}

// The lead of each day, from the ranks that compare has counted.
async function checkLead(page, rows, compared) {
  const hits = (method, on) =>
    Object.entries(compared.methods[method].ranks[on] ?? {}).reduce((sum, [rank, count]) => sum + (rank <= 4 ? count : 0), 0);
  const rules = Object.keys(compared.methods).slice(3);
  const best = rules.reduce((a, b) => (compared.methods[b].top4 > compared.methods[a].top4 ? b : a));
  const days = [...new Set(rows.map(day))];
  const values = days.map((on) => (100 * (hits("engine", on) - hits(best, on))) / compared.openings[on]);
  const shown = (await marksOf(page, "over-time")).map(({ label }) => numbersIn(label.slice(11)));
  assert.deepEqual(shown.map(([value]) => value), values.map((value) => Number(value.toFixed(1)) + 0));
  for (const [value, , low, high] of shown) assert(low <= value && value <= high && low < high, "a band about each");
}

async function checkMissed(page, rows, compared) {
  const sum = (firsts) => Object.values(firsts).reduce((a, b) => a + b);
  const most = Math.max(...Object.values(compared.missed).map(sum));
  const [{ label }] = await marksOf(page, "missed");
  const [name] = Object.entries(compared.missed).find(([, firsts]) => sum(firsts) === most);
  const [first, times] = Object.entries(compared.missed[name]).filter(([key]) => key !== "").reduce((a, b) => (b[1] > a[1] ? b : a));
  const openings = rows.filter((row) => row.name === name).length;
  assert.equal(label, `${name}: ${most} of ${openings} missed, first instead: ${times} × ${first}`);
}

async function checkOneTrace(browser) {
  const all = trace(6000, 1);
  writeTrace("one.csv", all);
  const rows = counted(all);
  const path = at("one.html");
  ksbrain("report", "--quiet", "-o", path, at("one.csv"));
  const replayed = JSON.parse(ksbrain("replay", "--json", at("one.csv")));
  const compared = JSON.parse(ksbrain("compare", "--quiet", "--json", at("one.csv")));
  const top4 = (method) => compared.methods[method].top4;
  const isMostUsedBest = ["most_recent", "order_1", "order_2"].every((method) => top4(method) <= top4("most_used"));
  const expected = expectedMarks(rows, isMostUsedBest ? 2 : 3);

  await opened(browser, path, async (page) => {
    assert.equal(await page.title(), "ksbrain report", "no name became a script");
    const charts = await page.evaluate(lookAtCharts);
    checkCharts(charts, expected);
    assert(replayed.network.trainings > 0, "the trace is long enough for a training");
    assert.equal(charts["who-answered"].sum, rows.length + replayed.network.trainings);

    await checkPreloads(page, all, rows);
    await checkLead(page, rows, compared);
    await checkMissed(page, rows, compared);
    const answer = await page.locator("#answer").textContent();
    assert(answer.startsWith(`With 4 preloaded, ${percent(top4("engine"), rows.length)} of openings are ready`), answer);
    assert(!(await page.locator("#invented, #too-short").count()), "it is judged, and its times are its own");
    const footer = await page.locator("#footer").textContent();
    assert.match(footer, /ksbrain report --quiet -o one.html one.csv\. .* UTC/);

    // The engine's counters are those of a replay; its share of all openings is that of a comparison.
    const sum = (key) => replayed.bayes[key] + replayed.network[key];
    const own = await page.locator("#own tbody tr:last-child td").allTextContents();
    assert.equal(own[4], percent(sum("top4"), sum("opened")));
    assert.deepEqual([own[0], own[1], own[3]].map((text) => Number(text.replace(",", ""))), [sum("opened"), sum("top1"), sum("top4")]);
    for (const [depth, key] of [[1, "top1"], [4, "top4"]]) {
      const shown = await page.locator(`.card[data-depth="${depth}"] strong`).first().textContent();
      assert.equal(shown, percent(compared.methods.engine[key], rows.length));
    }

    // By keyboard: another depth, a table opened and sorted.
    await page.locator("input[name=depth]").first().focus();
    await page.keyboard.press("ArrowRight");
    checkCharts(await page.evaluate(lookAtCharts), expected);
    await page.locator("#by-app summary").press("Enter");
    await page.locator("#by-app th button").first().press("Enter");
    const names = await page.locator("#by-app tbody td:first-child").allTextContents();
    assert.deepEqual(names, [...names].sort((a, b) => a.localeCompare(b, "en")));
  });

  // Narrow, dark, printed: nothing sticks out.
  await opened(
    browser,
    path,
    async (page) => {
      assert.equal(await page.evaluate(() => document.documentElement.scrollWidth), 340);
      checkCharts(await page.evaluate(lookAtCharts), expected);
      await page.emulateMedia({ media: "print" });
      assert.equal(await page.locator("#controls").isVisible(), false);
    },
    { viewport: { width: 340, height: 700 }, colorScheme: "dark" },
  );

  // The checks themselves must notice rows that are gone.
  const taken = readFileSync(path, "utf8").replace(/(?<=id="data">).*?(?=<\/script>)/s, (text) => {
    const data = JSON.parse(text);
    for (const rows of [data.periods.rows, data.learning, data.apps]) rows.pop();
    return JSON.stringify(data).replaceAll("<", "\\u003c");
  });
  writeFileSync(at("taken.html"), taken);
  const charts = await opened(browser, at("taken.html"), (page) => page.evaluate(lookAtCharts));
  for (const id of ["over-time", "learning", "by-app"]) {
    assert.throws(() => checkCharts(charts, { [id]: expected[id] }), new RegExp(`marks of ${id}`));
  }
}

async function checkSeveralTraces(browser) {
  const users = [1, 2, 3].map((seed) => trace(300, seed));
  users.forEach((rows, user) => writeTrace(`user${user}.csv`, rows));
  const path = at("several.html");
  const scores = users.map((_, user) => ksbrain("compare", "--quiet", "--json", at(`user${user}.csv`)));
  writeFileSync(at("scores.jsonl"), scores.join(""));
  ksbrain("report", "--quiet", "-o", path, "--from", at("scores.jsonl"));
  await opened(browser, path, async (page) => {
    const charts = await page.evaluate(lookAtCharts);
    checkCharts(charts, { "least-found": 2 * users.length });
    assert.equal(charts.spread.sum, 7 * users.length, "every user stands once for each method");
    const total = (value) => users.reduce((sum, rows) => sum + value(rows), 0);
    const label = (await marksOf(page, "how-many")).map((mark) => mark.label).find((text) => text.startsWith("most used, 4 "));
    const openings = total((rows) => counted(rows).length);
    const caught = total((rows) => mostUsedPreloads(rows).caught[3]);
    const unused = total((rows) => mostUsedPreloads(rows).unused[3]) / total((rows) => distinct(counted(rows), day));
    assert.equal(label, `most used, 4 preloaded: ${percent(caught, openings)} caught, ${few(unused)} unused a day`);
  });
}

// So many pieces a line of the chart has been drawn in.
const pieces = (page, id) =>
  page.locator(`#${id} .drawing g[aria-label=line] path`).first().evaluate((path) => path.getAttribute("d").match(/M/g).length);

async function checkGaps(browser) {
  // Three weeks of days with nothing at night, then nothing for ten days, then a week more.
  const rows = [...Array(28 * 40).keys()].map((i) => {
    const start = Date.UTC(2026, 2, 2 + Math.floor(i / 40) + (i >= 21 * 40 ? 10 : 0), 9) / 1000;
    return { time: start + (i % 40) * 900 + ((i * 7) % 60), name: `com.app${(i * i) % 7}` };
  });
  rows.forEach((row, i) => (row.time += i % 40 > 15 ? 5 * 3600 : 0));
  writeTrace("gaps.csv", rows);
  ksbrain("report", "--quiet", "-o", at("gaps.html"), at("gaps.csv"));
  await opened(browser, at("gaps.html"), async (page) => {
    assert.equal(await pieces(page, "over-time"), 2, "weeks with nothing break the line");
    assert.equal(await pieces(page, "over-day"), 2, "and so do hours");
    assert.equal(await pieces(page, "learning"), 1);
  });
}

async function checkInventedTimes(browser) {
  const names = trace(2000, 5).map((row) => row.name.replace(/[^a-z0-9.]/g, ""));
  writeFileSync(at("names.txt"), names.join("\n"));
  ksbrain("convert", "--quiet", "-o", at("converted.csv"), at("names.txt"));
  for (const file of ["names.txt", "converted.csv"]) {
    ksbrain("report", "--quiet", "-o", at("names.html"), at(file));
    await opened(browser, at("names.html"), async (page) => {
      assert.equal(await page.locator("#invented").count(), 1, file);
      assert.equal(await page.locator("#over-day").count(), 0, file);
      assert.doesNotMatch(await page.locator("body").innerText(), /2024-|Jan|unused a day/, file);
      assert.match(await page.locator("#answer").textContent(), /per 100 openings/, file);
    });
  }
}

async function checkTooShort(browser) {
  writeTrace("ten.csv", trace(10, 1));
  ksbrain("report", "--quiet", "-o", at("ten.html"), at("ten.csv"));
  await opened(browser, at("ten.html"), async (page) => {
    assert.match(await page.locator("#too-short").textContent(), /needs at least 300.*no answer/);
    assert.equal(await page.locator(".card[data-depth], #answer").count(), 0, "no verdict");
  });
}

const browser = await launchBrowser();
try {
  await checkOneTrace(browser);
  await checkSeveralTraces(browser);
  await checkGaps(browser);
  await checkInventedTimes(browser);
  await checkTooShort(browser);
} finally {
  await browser.close();
  rmSync(folder, { recursive: true });
}
