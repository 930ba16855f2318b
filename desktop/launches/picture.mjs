// The picture of what comes out: what each way saves, and how long each program takes. Drawn in a browser,
// with what the report's page is made with, which lies in the build folder.

import { readFileSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { join } from 'node:path';
import { fileURLToPath, pathToFileURL } from 'node:url';
import { byProgram, savings } from './statistics.mjs';

const WIDTH = 860;
const COLORS = { none: '#8c959f', engine: '#0b5fa5', 'most-used': '#946200', warm: '#007f5f' };

// What the drawing shows, as rows.
export function rowsOf({ ways, records }) {
    const result = savings(records, ways);
    const saved = Object.entries(result.ways)
        .filter(([, { saved }]) => saved)
        .map(([way, { saved, share }]) => ({ way, ...saved, share: share?.value }));
    const programs = byProgram(records)
        .map(({ program, ways: times }) => {
            const dots = Object.entries(times).map(([way, { median }]) => ({ program, way, median }));
            const medians = dots.map(({ median }) => median);
            return { program, dots, fastest: Math.min(...medians), slowest: Math.max(...medians) };
        })
        .sort((a, b) => b.slowest - a.slowest);
    return { saved, programs, openings: result.openings };
}

// Runs in the browser, where Plot is.
function draw({ saved, programs, openings, width, colors }) {
    const label = ({ value, share }) =>
        `${value.toFixed(0)} ms` + (share === undefined ? '' : `, ${(100 * share).toFixed(0)} % of warm`);
    const color = { domain: Object.keys(colors), range: Object.values(colors) };
    const style = { background: 'white', fontSize: '13px', fontFamily: 'system-ui, sans-serif' };
    const bars = Plot.plot({
        width,
        height: 75 + 46 * saved.length,
        marginBottom: 45,
        marginLeft: 100,
        marginRight: 30,
        style,
        color,
        x: {
            label: `milliseconds saved an opening, of ${openings}; the line is the 95 % interval`,
            grid: true,
            nice: true,
        },
        y: { label: null, domain: saved.map((row) => row.way) },
        marks: [
            Plot.barX(saved, { x: 'value', y: 'way', fill: 'way', fillOpacity: 0.75, insetTop: 3, insetBottom: 3 }),
            Plot.ruleY(saved.filter(({ low }) => low !== undefined), { x1: 'low', x2: 'high', y: 'way', strokeWidth: 2, marker: 'tick' }),
            Plot.text(saved, { x: 0, y: 'way', text: label, textAnchor: 'start', dx: 6, dy: -10, fontWeight: 600 }),
            Plot.ruleX([0]),
        ],
    });
    const dots = Plot.plot({
        width,
        height: 75 + 24 * programs.length,
        marginBottom: 45,
        marginLeft: 100,
        marginRight: 30,
        style,
        color: { ...color, legend: true },
        x: { label: 'milliseconds from launch to window, median', grid: true, type: 'log' },
        y: { label: null, domain: programs.map((row) => row.program) },
        marks: [
            Plot.ruleY(programs, { x1: 'fastest', x2: 'slowest', y: 'program', stroke: '#d8dee4' }),
            Plot.dot(programs.flatMap((row) => row.dots), { x: 'median', y: 'program', fill: 'way', r: 5 }),
        ],
    });
    document.body.append(bars, dots);
    return [bars, dots].map((plot) => (plot.tagName === 'svg' ? plot : plot.querySelector(':scope > svg')).outerHTML);
}

// `page`: the folder with the packages. Leaves launches.png and an SVG for each drawing in `out`.
export async function drawPicture(result, page, out) {
    const { build } = createRequire(join(page, 'package.json'))('esbuild');
    const bundled = await build({
        stdin: { contents: "export * from '@observablehq/plot'", resolveDir: page },
        bundle: true,
        write: false,
        format: 'iife',
        globalName: 'Plot',
    });
    const { launchBrowser } = await import(pathToFileURL(join(page, 'browser.mjs')));
    const browser = await launchBrowser();
    try {
        const tab = await browser.newPage({ viewport: { width: WIDTH + 16, height: 100 }, deviceScaleFactor: 2 });
        await tab.setContent('<body style="margin:8px;background:white">');
        await tab.addScriptTag({ content: bundled.outputFiles[0].text });
        const drawings = await tab.evaluate(draw, { ...rowsOf(result), width: WIDTH, colors: COLORS });
        for (const [i, name] of ['saved', 'programs'].entries()) {
            const standalone = drawings[i].replace('<svg', '<svg xmlns="http://www.w3.org/2000/svg"');
            writeFileSync(join(out, `launches-${name}.svg`), `${standalone}\n`);
        }
        await tab.screenshot({ path: join(out, 'launches.png'), fullPage: true });
    } finally {
        await browser.close();
    }
}

// picture.mjs JSON PAGE OUT: draws again what was measured.
if (process.argv[1] === fileURLToPath(import.meta.url)) {
    const [, , json, page, out] = process.argv;
    await drawPicture(JSON.parse(readFileSync(json, 'utf8')), page, out);
}
