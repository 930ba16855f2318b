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

// How many marks each chart must have, from the trace alone.
function expectedMarks(rows) {
  const stretches = [10, 20, 50, 100, 200, 500, 1000, 2000, 5000].filter((end) => end < rows.length).length + 1;
  assert(distinct(rows, day) <= 31, "a dot a day");
  return {
    "all-openings": 7,
    "over-time": 7 * distinct(rows, day),
    "over-day": 2 * distinct(rows, (row) => date(row).getUTCHours()),
    "over-week": distinct(rows, (row) => `${date(row).getUTCDay()} ${date(row).getUTCHours()}`),
    "by-rank": 2 * 11,
    "by-app": 2 * Math.min(50, distinct(rows, (row) => row.name)),
    learning: 7 * stretches,
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

const percent = (part, whole) => `${((100 * part) / whole).toFixed(1)} %`;

async function checkOneTrace(browser) {
  const all = trace(6000, 1);
  writeTrace("one.csv", all);
  const rows = counted(all);
  const path = at("one.html");
  ksbrain("report", "--quiet", "-o", path, at("one.csv"));
  const replayed = JSON.parse(ksbrain("replay", "--json", at("one.csv")));
  const compared = JSON.parse(ksbrain("compare", "--quiet", "--json", at("one.csv")));
  const expected = expectedMarks(rows);

  await opened(browser, path, async (page) => {
    assert.equal(await page.title(), "ksbrain report", "no name became a script");
    const charts = await page.evaluate(lookAtCharts);
    checkCharts(charts, expected);
    assert.equal(charts["list-length"].sum, rows.length);
    assert(replayed.network.trainings > 0, "the trace is long enough for a training");
    assert.equal(charts["who-answered"].sum, rows.length + replayed.network.trainings);

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

  // The checks themselves must notice a series that is gone.
  const taken = readFileSync(path, "utf8").replace(/("methods":\[.*?),\{"key":"order_2".*?\}(?=\])/, "$1");
  writeFileSync(at("taken.html"), taken);
  const charts = await opened(browser, at("taken.html"), (page) => page.evaluate(lookAtCharts));
  for (const id of ["all-openings", "over-time", "learning"]) {
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
  });
}

const browser = await launchBrowser();
try {
  await checkOneTrace(browser);
  await checkSeveralTraces(browser);
} finally {
  await browser.close();
  rmSync(folder, { recursive: true });
}
