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
import { DROP_MS, MOST_FAILURES, Measurement, SETTLE_MS, STAY_MS, WAYS } from './measure.mjs';
import { drawPicture } from './picture.mjs';
import { PROGRAMS } from './programs.mjs';
import { dealt, divide, mapHabits } from './sequence.mjs';
import { PREDICTORS, mean } from './statistics.mjs';
import { table } from './table.mjs';

const LEARNED = 4_000; // openings before the first round
const TRACE = 8_000; // of the person, among them those of other programs; more when these are too few
const LONGEST_TRACE = 128_000;
const stopping = new AbortController();

function setting(name, fallback) {
    const value = Number(process.env[name] || fallback);
    if (!Number.isInteger(value) || value < 1) throw new Error(`${name}=${process.env[name]} is no number`);
    return value;
}

// All of them, or those that are named.
function programsCalled(names) {
    if (!names) return PROGRAMS;
    return names.split(',').map((name) => {
        const program = PROGRAMS.find((one) => one.name === name);
        if (!program) throw new Error(`PROGRAMS: there is no program ${name}`);
        return program;
    });
}

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

function head(load, disk, speed, limit, cache, options) {
    const system = /^PRETTY_NAME="(.*)"$/m.exec(readFileSync('/etc/os-release', 'utf8'))?.[1] ?? 'unknown system';
    const { openings, rounds, ways, places, budget, seed, isListed } = options;
    return [
        `${system}, Linux ${release()}, ${cpus().length} processors, ${(totalmem() / 2 ** 30).toFixed(0)} GiB, ` +
            `load ${load.toFixed(1)} before`,
        `disk ${disk.name}: ${speed.toFixed(0)} MB/s, read ahead by the system ${disk.readAhead}, ` +
            `scheduler ${disk.scheduler}; ${limit ? `held to ${limit} (MB/s:reads/s)` : 'not slowed down'}`,
        `dropped between openings: ${cache.how}; window + ${DROP_MS} ms, settled + ${SETTLE_MS} ms, ` +
            `closed + ${STAY_MS} ms or later`,
        `${rounds} persons (seed ${seed}) of ${openings} openings, ${ways.join(', ')}; ` +
            `${isListed ? 'favourites as listed' : 'favourites dealt'}; ${LEARNED} openings learned; ` +
            `${places} places, ${budget} MiB`,
    ];
}

async function main() {
    const build = process.argv[2];
    if (build === undefined) throw new Error('usage: launches.mjs BUILD');
    const programs = programsCalled(process.env.PROGRAMS);
    const options = {
        programs,
        tool: resolve(build, 'ksbrain'),
        program: resolve(build, 'ksbrain-desktop'),
        openings: setting('OPENINGS', 12),
        rounds: setting('ROUNDS', 8),
        places: setting('PLACES', 3),
        budget: setting('BUDGET', 256),
        seed: setting('SEED', 1),
        isListed: process.env.ORDER === 'listed',
        ways: process.env.WAYS ? process.env.WAYS.split(',') : WAYS,
    };
    if (!['', 'listed'].includes(process.env.ORDER ?? '')) throw new Error(`ORDER=${process.env.ORDER} is neither empty nor "listed"`);
    for (const way of options.ways) if (!WAYS.includes(way)) throw new Error(`WAYS: there is no way ${way}`);
    const [load] = loadavg();
    const withDaemon = options.ways.some((way) => PREDICTORS.includes(way));

    const habits = Array.from({ length: options.rounds }, (_, round) =>
        habitsOf(options, options.seed + round, LEARNED + options.openings),
    );
    const stretches = habits.map(({ openings }) => divide(openings, LEARNED, options.openings, FORESEEN));
    const anHour = mean(habits.map((person) => person.anHour));

    const out = resolve(build, 'launches');
    const work = join(out, 'work');
    rmSync(work, { recursive: true, force: true });
    mkdirSync(work, { recursive: true });
    const isComparison = PREDICTORS.every((way) => options.ways.includes(way));
    const foresights = isComparison
        ? stretches.map((stretch, round) => ({ round, openings: foresight(options, work, stretch) }))
        : [];
    const disk = diskOf(work);
    const lift = process.env.DISK ? limitDisk(process.env.DISK, disk) : () => {};
    process.on('exit', lift);

    const cache = new PageCache();
    const display = await Display.open();
    let idleDaemon;
    const begin = performance.now();
    const say = (text) => console.error(`${((performance.now() - begin) / 1000).toFixed(0).padStart(5)} s  ${text}`);
    const measurement = new Measurement(work, display, cache, options, say);
    await measurement.firstRuns(programs);
    const speed = readingSpeed(longFile(), cache);
    if (withDaemon) {
        await measurement.see(programs);
        say('the daemon has seen each program once');
        idleDaemon = await IdleDaemon.start(options.program, work, measurement.environment);
    }
    const { records, costs, failures } = await measurement.rounds(stretches, options.ways, stopping.signal);
    if (records.length === 0) throw new Error('no round was complete');
    const complete = [...new Set(records.map(({ round }) => round))];
    options.rounds = complete.length;
    const idle = await idleDaemon?.stop();
    const lines = head(load, disk, speed, process.env.DISK, cache, options);
    lines.push(...failures);
    const late = records.filter(({ way, dropped }) => way !== 'warm' && dropped > SETTLE_MS).length;
    if (late > 0) lines.push(`${late} drops came after the window had settled: the machine was busy`);
    await display.close();
    lift();
    const foreseen = foresights.filter(({ round }) => complete.includes(round));
    const result = { head: lines, ways: options.ways, anHour, idle, costs, records, foresight: foreseen };

    const text = table(result);
    writeFileSync(join(out, 'launches.json'), `${JSON.stringify(result, null, 1)}\n`);
    writeFileSync(join(out, 'launches.txt'), `${text}\n`);
    console.log(text);
    await drawPicture(result, resolve(build, 'page'), out);
    rmSync(work, { recursive: true, force: true });
    if (failures.length === MOST_FAILURES) throw new Error(`given up after ${options.rounds} rounds`);
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
