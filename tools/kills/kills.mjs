// kills.mjs KILLS PROGRAM...: kills so many replays, at moments spread over their length and each on the files
// that an earlier one left, and tells how often the next start would find each file whole, in part, refused or
// absent. PROGRAM is how ksbrain is run. Fails when a file is as no kill may leave it (see docs/files.md).

import { spawn, spawnSync } from 'node:child_process';
import { once } from 'node:events';
import { existsSync, mkdirSync, mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { join } from 'node:path';

const KILLS_A_LIFE = 15; // then the directory begins anew, since a first save has windows of its own
const kills = Number(process.argv[2]);
const [program, ...launched] = process.argv.slice(3);

// In memory where there is such a place: the engine rewrites its files all the time.
const parent = process.env.TMPDIR || (existsSync('/dev/shm') ? '/dev/shm' : '/tmp');
const workspace = mkdtempSync(join(parent, 'ksbrain-kills-'));
const trace = join(workspace, 'trace.csv');
process.on('exit', () => rmSync(workspace, { recursive: true, force: true }));
for (const signal of ['SIGINT', 'SIGTERM']) process.on(signal, () => process.exit(1));

function fail(message) {
    console.error(message);
    process.exit(1);
}

function run(...words) {
    const ended = spawnSync(program, [...launched, ...words], { encoding: 'utf8', maxBuffer: 1 << 26 });
    if (ended.status > 1 || ended.status === null) fail(`${words[0]}: ${ended.stderr || ended.error || `status ${ended.status}`}`);
    return ended.stdout;
}

// The files of a directory as the next start would find them, by what they are.
function inspect(directory) {
    const files = JSON.parse(run('inspect', '--json', directory)).files;
    return new Map(files.map((file) => [file.what, file]));
}

// Runs a replay and kills it; whether it was still running.
async function replayKilled(directory, charging, milliseconds) {
    const words = ['replay', '--quiet', '--charging', charging, '--data-dir', directory, trace];
    const child = spawn(program, [...launched, ...words], { stdio: ['ignore', 'ignore', 'pipe'] });
    let complaints = '';
    child.stderr.on('data', (data) => (complaints += data));
    Atomics.wait(new Int32Array(new SharedArrayBuffer(4)), 0, 0, milliseconds); // timers are too coarse
    child.kill('SIGKILL');
    const [status] = await once(child, 'close');
    if (status) fail(`the replay failed:\n${complaints}`);
    return status === null;
}

// How a file that is not whole is found, and what allows it: nothing when no kill may leave it so. `was` says
// what the kills before had left: whether the file was ever complete.
const WHEN_NEW = (was, reason) => (was.complete ? undefined : reason);
const FIRST_SAVE = 'the very first save was cut';

function judgeModel({ state, facts }, was) {
    if (state === 'missing') return ['absent', WHEN_NEW(was, 'no batch has been learned yet')];
    if (state === 'damaged') return [facts.loads ? 'in part' : 'refused', WHEN_NEW(was, FIRST_SAVE)];
    if (facts.classes === 0) return ['refused', 'started afresh and not updated since'];
    return ['refused', facts.maxima.includes(0) ? 'a feature has only ever been 0' : undefined];
}

function judgeTable({ state, facts }, was) {
    if (facts.loads !== undefined) return [facts.loads ? 'in part' : 'refused', WHEN_NEW(was, FIRST_SAVE)];
    return ['absent', state === 'missing' ? WHEN_NEW(was, 'never stored, or refused by the start before') : undefined];
}

function judgeHistory({ state }, was, content) {
    if (state === 'missing') return ['absent', WHEN_NEW(was, 'no five-minute mark has passed yet')];
    const names = /^[^\0-\t\v-\x1f]*$/.test(content);
    return ['in part', names ? 'killed while it was added to: read as far as it goes' : undefined];
}

function judgeEvaluation({ state }, was, content) {
    if (state === 'missing') return ['absent', WHEN_NEW(was, 'no five-minute mark has passed yet')];
    return ['in part', content.split('\n').length <= 4 ? WHEN_NEW(was, FIRST_SAVE) : undefined];
}

function judgeNetwork({ state }, was, content, files) {
    if (state === 'missing') return ['absent', WHEN_NEW(was, 'no training has ended yet')];
    const unread = state === 'refused' && files.get('usage table').facts.loads === false;
    return ['refused', unread ? 'not looked at: the usage table is refused' : undefined];
}

const JUDGES = {
    'Bayes model': judgeModel,
    'application table': judgeTable,
    history: judgeHistory,
    'usage table': judgeTable,
    'sequence network': judgeNetwork,
    evaluation: judgeEvaluation,
};
const tallies = new Map(Object.keys(JUDGES).map((what) => [what, { found: {}, reasons: {} }]));
let unexplained = 0;

function judge(kill, directory, memory) {
    const files = inspect(directory);
    for (const [what, file] of files) {
        const was = (memory[what] ??= { complete: false });
        let found = 'whole';
        if (file.state !== 'whole') {
            const path = join(directory, file.file);
            const content = existsSync(path) ? readFileSync(path, 'utf8') : '';
            let reason;
            [found, reason] = JUDGES[what](file, was, content, files);
            if (reason === undefined) {
                ++unexplained;
                reason = 'NOT ALLOWED BY THE FORMAT';
                console.error(`kill ${kill}, after ${JSON.stringify(was)}: ${JSON.stringify(file)}`);
            }
            const { reasons } = tallies.get(what);
            reasons[reason] = (reasons[reason] ?? 0) + 1;
        }
        const counts = tallies.get(what).found;
        counts[found] = (counts[found] ?? 0) + 1;
        // What the engine wrote in full it may not lose again; a refused model is such a file.
        was.complete = found === 'whole' || file.state === 'refused' || (was.complete && found === 'in part');
    }
}

if (!(kills > 0) || program === undefined) fail('usage: kills.mjs KILLS PROGRAM...');
run('synth', '--days', '28', '--per-day', '230', '--seed', '1', '-o', trace);

// How long a replay takes, and that it leaves everything when nobody kills it.
const unharmed = join(workspace, 'unharmed');
const begin = performance.now();
run('replay', '--quiet', '--charging', 'always', '--data-dir', unharmed, trace);
const length = performance.now() - begin;
for (const [what, { state }] of inspect(unharmed)) {
    if (state !== 'whole') fail(`a replay that nobody kills leaves the ${what} ${state}`);
}

let running = 0;
const memories = {};
for (let kill = 0; kill < kills; ++kill) {
    const charging = kill % 2 === 0 ? 'always' : 'never';
    const directory = join(workspace, charging);
    if (kill % (2 * KILLS_A_LIFE) < 2) {
        rmSync(directory, { recursive: true, force: true });
        mkdirSync(directory);
        memories[charging] = {};
    }
    // Multiples of the golden ratio leave no gaps. Often early, where the loaders themselves write.
    const part = (kill * 0.6180339887) % 1;
    if (await replayKilled(directory, charging, length * (kill % 3 === 0 ? part / 10 : part))) ++running;
    judge(kill, directory, memories[charging]);
}

const columns = ['whole', 'in part', 'refused', 'absent'];
const line = (name, cells, rest) => console.log(name.padEnd(18), ...cells.map((c) => String(c).padStart(8)), ` ${rest}`);
console.log(`${kills} kills, ${running} of a replay that was still running\n`);
line('file', columns, 'why not whole');
for (const [what, { found, reasons }] of tallies) {
    const why = Object.entries(reasons).map(([reason, count]) => `${count}: ${reason}`);
    line(what, columns.map((column) => found[column] ?? 0), why.join('; '));
}
process.exitCode = unexplained > 0 || running === 0 ? 1 : 0;
