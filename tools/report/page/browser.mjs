// A browser of this machine, driven by a script.
import { accessSync, constants } from "node:fs";
import { delimiter, join } from "node:path";
import { chromium } from "playwright-core";

const NAMES = ["chromium", "chromium-browser", "google-chrome"];

function program() {
  for (const name of NAMES) {
    for (const folder of process.env.PATH.split(delimiter)) {
      try {
        accessSync(join(folder, name), constants.X_OK);
        return join(folder, name);
      } catch {
        // it is elsewhere
      }
    }
  }
  throw new Error(`none of ${NAMES.join(", ")} is installed`);
}

export function launchBrowser() {
  const rootHasNoSandbox = process.getuid() === 0 ? ["--no-sandbox"] : [];
  return chromium.launch({ executablePath: program(), args: rootHasNoSandbox });
}
