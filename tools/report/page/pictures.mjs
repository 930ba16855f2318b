// pictures.mjs PROGRAM DEMO OUT: makes the README's pictures: the page of the demo in DEMO, by
// day and by night, and what two verbs print about it.
import { execFileSync } from "node:child_process";
import { mkdirSync } from "node:fs";
import { resolve } from "node:path";
import { pathToFileURL } from "node:url";
import { launchBrowser } from "./browser.mjs";

const [program, demo, out] = process.argv.slice(2);
mkdirSync(out, { recursive: true });
const browser = await launchBrowser();

async function picture(name, { url, html, from, width, height, colorScheme = "light" }) {
  const page = await browser.newPage({ viewport: { width, height }, colorScheme });
  if (url) await page.goto(url);
  else await page.setContent(html);
  if (from) await page.locator(from).evaluate((part) => part.scrollIntoView());
  await page.screenshot({ path: `${out}/${name}.png`, fullPage: html !== undefined });
  await page.close();
}

function terminal(...words) {
  const env = { ...process.env, TZ: "UTC", LC_ALL: "C.UTF-8" };
  const text = execFileSync(program, words, { env, encoding: "utf8", cwd: demo });
  const escaped = text.replaceAll("&", "&amp;").replaceAll("<", "&lt;");
  return `<body style="margin:0;background:#16181d;color:#e6e6e6"><pre style="margin:16px;font:14px/1.35 'DejaVu Sans Mono',monospace">` +
    `<span style="color:#7fb4ff">$ ksbrain ${words.join(" ")}</span>\n${escaped}</pre>`;
}

const url = pathToFileURL(resolve(demo, "report.html")).href;
await picture("report", { url, width: 1100, height: 1500 });
await picture("report-dark", { url, from: "#how-many", width: 400, height: 1100, colorScheme: "dark" });
await picture("compare", { html: terminal("compare", "--quiet", "--charging", "23:00-07:00", "trace.csv"), width: 900, height: 100 });
await picture("explain", { html: terminal("explain", "--bayes", "--top", "3", "--time", "2024-04-26T20:10", "--last", "com.example.news", "--current", "com.example.mail", "state"), width: 900, height: 100 });
await browser.close();
