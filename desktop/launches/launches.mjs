// launches.mjs BUILD: measures how much sooner programs are there when ksbrain-desktop reads ahead for them,
// and what that costs. See measure.mjs for how. BUILD is where ksbrain and ksbrain-desktop are built; what
// comes out lies in BUILD/launches. The environment may say
//     ROUNDS=8      each another person's habits
//     OPENINGS=12   in each round and way
//     WAYS=none,engine,most-used,warm
//     ORDER=listed  everybody's favourites are those that stand first in programs.mjs; otherwise each has others
//     DISK=150:5000 as slow as a disk of 150 MB/s and 5000 reads a second (root, control groups version 1)
//     PLACES=3 BUDGET=256   what the daemon is run with
//     SEED=1        the first person; the next ones follow
//     PROGRAMS=firefox,xterm   only these

import { execFileSync } from 'node:child_process';
import { existsSync, mkdirSync, readFileSync, realpathSync, rmSync, writeFileSync } from 'node:fs';
import { cpus, loadavg, release, totalmem } from 'node:os';
import { join, resolve } from 'node:path';
import { PageCache, diskOf, limitDisk, readingSpeed } from './disk.mjs';
import { Display } from './display.mjs';
import { FORESEEN, foresight } from './foresight.mjs';
import { IdleDaemon } from './idle.mjs';
import { DROP_MS, MOST_FAILURES, Measurement, SETTLE_MS, STAY_MS } from './measure.mjs';
import { drawPicture } from './picture.mjs';
import { dealt, divide, mapHabits } from './sequence.mjs';
import { settings } from './settings.mjs';
import { PREDICTORS, mean } from './statistics.mjs';
import { table } from './table.mjs';

const LEARNED = 4_000; // openings before the first round
const TRACE = 8_000; // of the person, among them those of other programs; more when these are too few
const LONGEST_TRACE = 128_000;
const stopping = new AbortController();

// A person's openings of the programs that there are, at least as many as are needed.
function habitsOf({ tool, programs, isListed }, seed, needed) {
    const favourites = isListed ? programs : dealt(programs, seed);
    let habits;
    for (let count = TRACE; count <= LONGEST_TRACE; count *= 2) {
        const synth = ['synth', '--quiet', '--openings', String(count), '--seed', String(seed)];
        const trace = execFileSync(tool, synth, { encoding: 'utf8', maxBuffer: 2 ** 28 });
        habits = mapHabits(trace, favourites);
        if (habits.openings.length >= needed) break;
    }
    return habits;
}

// Each person's openings, divided, how many there are in an hour, and what each predictor would foresee of them.
function people(options, work) {
    const { rounds, seed, openings, ways } = options;
    const habits = Array.from({ length: rounds }, (_, round) => habitsOf(options, seed + round, LEARNED + openings));
    const stretches = habits.map((person) => divide(person.openings, LEARNED, openings, FORESEEN));
    const anHour = mean(habits.map((person) => person.anHour));
    if (!PREDICTORS.every((way) => ways.includes(way))) return { stretches, anHour, foresights: [] };
    const foresights = stretches.map((stretch, round) => ({ round, openings: foresight(options, work, stretch) }));
    return { stretches, anHour, foresights };
}

// What was measured, and on what kind of disk.
async function measure(options, work, stretches) {
    const begin = performance.now();
    const say = (text) => console.error(`${((performance.now() - begin) / 1000).toFixed(0).padStart(5)} s  ${text}`);
    const disk = diskOf(work);
    const lift = options.disk ? limitDisk(options.disk, disk) : () => {};
    process.on('exit', lift);

    const cache = new PageCache();
    const display = await Display.open();
    const measurement = new Measurement(work, display, cache, options, say);
    await measurement.firstRuns(options.programs);
    disk.speed = readingSpeed(longFile(), cache);
    disk.dropped = cache.how;
    let idleDaemon;
    if (options.ways.some((way) => PREDICTORS.includes(way))) {
        await measurement.see(options.programs);
        say('the daemon has seen each program once');
        idleDaemon = await IdleDaemon.start(options.program, work, measurement.environment);
    }
    const measured = await measurement.rounds(stretches, options.ways, stopping.signal);
    const idle = await idleDaemon?.stop();
    await display.close();
    lift();
    return { ...measured, idle, disk };
}

// On what, how and for whom it was measured, and what went wrong.
function head(load, options, rounds, { records, failures, disk }) {
    const system = /^PRETTY_NAME="(.*)"$/m.exec(readFileSync('/etc/os-release', 'utf8'))?.[1] ?? 'unknown system';
    const { openings, ways, places, budget, seed, isListed } = options;
    const late = records.filter(({ way, dropped }) => way !== 'warm' && dropped > SETTLE_MS).length;
    return [
        `${system}, Linux ${release()}, ${cpus().length} processors, ${(totalmem() / 2 ** 30).toFixed(0)} GiB, ` +
            `load ${load.toFixed(1)} before`,
        `disk ${disk.name}: ${disk.speed.toFixed(0)} MB/s, read ahead by the system ${disk.readAhead}, ` +
            `scheduler ${disk.scheduler}; ${options.disk ? `held to ${options.disk} (MB/s:reads/s)` : 'not slowed down'}`,
        `dropped between openings: ${disk.dropped}; window + ${DROP_MS} ms, settled + ${SETTLE_MS} ms, ` +
            `closed + ${STAY_MS} ms or later`,
        `${rounds} persons (seed ${seed}) of ${openings} openings, ${ways.join(', ')}; ` +
            `${isListed ? 'favourites as listed' : 'favourites dealt'}; ${LEARNED} openings learned; ` +
            `${places} places, ${budget} MiB`,
        ...failures,
        ...(late > 0 ? [`${late} drops came after the window had settled: the machine was busy`] : []),
    ];
}

async function main() {
    const build = process.argv[2];
    if (build === undefined) throw new Error('usage: launches.mjs BUILD');
    const options = settings(build);
    const [load] = loadavg();
    const out = resolve(build, 'launches');
    const work = join(out, 'work');
    rmSync(work, { recursive: true, force: true });
    mkdirSync(work, { recursive: true });

    const { stretches, anHour, foresights } = people(options, work);
    const measured = await measure(options, work, stretches);
    const { records, costs, failures, idle } = measured;
    if (records.length === 0) throw new Error('no round was complete');
    const complete = new Set(records.map(({ round }) => round));
    const result = {
        head: head(load, options, complete.size, measured),
        ways: options.ways,
        anHour,
        idle,
        costs,
        records,
        foresight: foresights.filter(({ round }) => complete.has(round)),
    };

    const text = table(result);
    writeFileSync(join(out, 'launches.json'), `${JSON.stringify(result, null, 1)}\n`);
    writeFileSync(join(out, 'launches.txt'), `${text}\n`);
    console.log(text);
    await drawPicture(result, resolve(build, 'page'), out);
    rmSync(work, { recursive: true, force: true });
    if (failures.length === MOST_FAILURES) throw new Error(`given up after ${complete.size} rounds`);
}

// One of the programs, that is long enough to be timed.
function longFile() {
    const files = ['/usr/lib/chromium/chromium', '/usr/lib/firefox-esr/libxul.so', process.execPath];
    return realpathSync(files.find((file) => existsSync(file)));
}

// Ctrl-C lets the round end and tells what came out so far; once more, and it ends at once.
process.on('SIGINT', () => {
    if (stopping.signal.aborted) process.exit(1);
    stopping.abort();
    console.error('stops after this round; Ctrl-C again: at once');
});
process.on('SIGTERM', () => process.exit(1));
main().then(
    () => process.exit(0),
    (error) => {
        console.error(error.message);
        process.exit(1);
    },
);
