// build.mjs OUTPUT: bundles the page's parts into one file. Where the data goes, it keeps the
// comment <!--DATA-->. Only this very script may run in it, and nothing is ever fetched.
import { createHash } from "node:crypto";
import { readFileSync, writeFileSync } from "node:fs";
import { build } from "esbuild";

async function bundle(entry) {
  const result = await build({
    entryPoints: [entry],
    bundle: true,
    minify: true,
    write: false,
    format: "iife",
    target: "es2020",
    legalComments: "none",
    charset: "ascii",
  });
  return result.outputFiles[0].text.trim();
}

const script = await bundle("main.js");
const parts = {
  POLICY: `default-src 'none'; img-src data:; style-src 'unsafe-inline'; script-src 'sha256-${createHash(
    "sha256",
  )
    .update(script)
    .digest("base64")}'`,
  STYLE: await bundle("style.css"),
  SCRIPT: script,
};
const page = readFileSync("page.html", "utf8").replace(/<!--(\w+)-->|%(\w+)%/g, (whole, comment, word) =>
  (comment ?? word) in parts ? parts[comment ?? word] : whole,
);
writeFileSync(process.argv[2], page);
