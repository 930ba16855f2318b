// The rounds, each for another person. In each, every way opens the same programs one after the other, from
// the same start: the programs' HOME as it was after their first run, and for the ways with a daemon a state
// that has learned all the openings before, at their times; its clock begins at the time of the first one. An
// opening goes so:
//
//     0            the program is launched; the clock runs until its window is there
//     + DROP       memory is short: the page cache is dropped, but for what runs, as it would be in life.
//                  What the programs before have used is gone from now on
//     + SETTLE     the window has settled: the daemon records what the program needs, and reads ahead
//     + STAY       the user goes on to something else, or later, as soon as the daemon is done; the program
//                  is asked to close, and when all of it has ended, the next one is launched
//
// The drop lies between one use of a program and the next, and before the daemon reads; what it has read is
// not dropped before the launch it was meant for. In life a drop can come there too: the daemon would read in
// vain. The ways wait alike, but that an opening with a daemon lasts until it is done, if that is longer than
// STAY: a program that stays longer may do more for its next start. Their first runs are long for that reason.
// The libraries that a program shares with the one that was open at the drop are never dropped, in any way:
// a "cold" launch here is as cold as it is next to an open program.
//
//     none         no daemon
//     engine       the daemon as it is
//     most-used    the daemon with the simple rule for a predictor
//     warm         no daemon and no drop: everything was read, and every program launched once, before

import { execFileSync } from 'node:child_process';
import { cpSync, mkdirSync, rmSync } from 'node:fs';
import { join } from 'node:path';
import { setTimeout as wait } from 'node:timers/promises';
import { Application } from './application.mjs';
import { clockAt } from './clock.mjs';
import { Daemon, frontsIn, placeOf, statusOf } from './daemon.mjs';
import { replay } from './foresight.mjs';
import { environmentFor, layOutHome } from './programs.mjs';
import { LEAD_IN, rotated } from './sequence.mjs';
import { PREDICTORS } from './statistics.mjs';

export const WAYS = ['none', 'engine', 'most-used', 'warm'];
export const DROP_MS = 300;
export const SETTLE_MS = 700;
export const STAY_MS = 1_600;
const FIRST_RUN_MS = 1_500;
const CLOSED_MS = 100;
export const MOST_FAILURES = 3;

export class Measurement {
    #fronts = new Map(); // by program, what the daemon is told when it is launched: its names, the right one last

    // options: tool (ksbrain), program (ksbrain-desktop), places, budget (MiB). `say` is told what goes on.
    constructor(folder, display, cache, options, say) {
        this.folder = folder;
        this.display = display;
        this.cache = cache;
        this.options = options;
        this.say = say;
        this.home = join(folder, 'home');
        const runtime = join(folder, 'runtime');
        mkdirSync(this.home, { recursive: true });
        mkdirSync(runtime, { mode: 0o700 });
        this.environment = environmentFor(this.home, runtime, display.name);
    }

    #at = (name) => join(this.folder, name);

    #copy(from, to) {
        rmSync(this.#at(to), { recursive: true, force: true });
        cpSync(this.#at(from), this.#at(to), { recursive: true, preserveTimestamps: true, verbatimSymlinks: true });
    }

    #daemon(state, predictor, words, time) {
        const { program, places, budget } = this.options;
        const all = ['--predictor', predictor, '--settle', SETTLE_MS, '--places', places, '--budget', budget, ...words];
        return Daemon.start(program, this.#at(state), all.map(String), clockAt(this.environment, time));
    }

    // Everything a program does only once.
    async firstRuns(programs) {
        layOutHome(this.home);
        for (const program of programs) {
            const app = await Application.launch(this.display, program, this.environment);
            await wait(program.firstRun ?? FIRST_RUN_MS);
            this.cache.noteMapped(app.processes);
            const end = await app.close();
            this.say(`first run of ${program.name}: ${app.milliseconds.toFixed(0)} ms, closed when ${end}`);
        }
        this.#copy('home', 'home-kept');
    }

    // Lets a daemon see each program once, for its name and what it needs.
    async see(programs) {
        this.#copy('home-kept', 'home');
        const daemon = await this.#daemon('seen', 'most-used', ['--dry-run']); // the engine learns later
        for (const program of programs) {
            this.cache.drop(this.home);
            const told = daemon.until('read ahead');
            const app = await Application.launch(this.display, program, this.environment);
            this.#fronts.set(program.name, frontsIn(await told));
            await app.close();
        }
        await daemon.stop();
        const names = [...this.#fronts.values()].map((fronts) => fronts.at(-1));
        if (new Set(names).size < programs.length) throw new Error(`two programs have one name: ${names.join(' ')}`);
    }

    // Leaves a state that has learned the openings: the engine from a replay in the openings' own time, as
    // if it had run all those days; the simple rule has only to count.
    async #learn(openings) {
        this.#copy('seen', 'learned');
        const fronts = openings.flatMap(({ time, program }) =>
            this.#fronts.get(program.name).map((name) => ({ time, name })),
        );
        const daemon = await this.#daemon('learned', 'most-used', ['--stdin', '--dry-run']);
        await daemon.playToEnd(fronts.map(({ name }) => name));

        const engine = this.#at('learned/engine');
        rmSync(engine, { recursive: true, force: true });
        replay(this.options.tool, this.folder, engine, fronts);
    }

    // One record an opening, and one for what each daemon has cost. Once `signal` says so, no round begins. A
    // round in which something goes wrong is left out, and `failures` say what; too many, and no other begins.
    async rounds(stretches, ways, signal) {
        const records = [];
        const costs = [];
        const failures = [];
        for (const [round, stretch] of stretches.entries()) {
            if (signal.aborted || failures.length === MOST_FAILURES) break;
            try {
                const one = await this.#round(round, stretch, ways);
                records.push(...one.records);
                costs.push(...one.costs);
            } catch (error) {
                failures.push(`round ${round + 1} is left out: ${error.message}`);
                this.say(failures.at(-1));
            }
        }
        return { records, costs, failures };
    }

    async #round(round, { before, opened }, ways) {
        const records = [];
        const costs = [];
        if (ways.some((way) => PREDICTORS.includes(way))) await this.#learn(before.slice(0, -LEAD_IN));
        for (const way of rotated(ways, round)) {
            const begin = performance.now();
            const cost = await this.#play(way, round, before.slice(-LEAD_IN), opened, records);
            if (cost) costs.push({ way, round, openings: opened.length, ...cost });
            const seconds = ((performance.now() - begin) / 1000).toFixed(0);
            this.say(`round ${round + 1}, ${way}: ${opened.length} openings in ${seconds} s`);
        }
        return { records, costs };
    }

    async #play(way, round, leadIn, opened, records) {
        this.#copy('home-kept', 'home');
        execFileSync('sync'); // what is not on the disk cannot be dropped
        const programs = new Set([...leadIn, ...opened].map(({ program }) => program));
        this.cache.drop(this.home);
        if (way === 'warm') {
            this.cache.fill();
            for (const program of programs) await this.#open(program, way);
        }
        let daemon;
        const state = `state-${way}`;
        if (PREDICTORS.includes(way)) {
            this.#copy('learned', state);
            daemon = await this.#daemon(state, way, [], leadIn[0].time);
        }
        let before, started, ended, memory;
        try {
            for (const { program } of leadIn) await this.#open(program, way, daemon);
            started = daemon?.cost();
            before = daemon && statusOf(this.options.program, this.#at(state));
            for (const [place, { program }] of opened.entries()) {
                records.push({ round, place, way, program: program.name, ...(await this.#open(program, way, daemon)) });
            }
            ended = daemon?.cost();
            memory = daemon?.memory();
        } finally {
            await daemon?.stop();
        }
        if (!daemon) return undefined;
        const after = statusOf(this.options.program, this.#at(state));
        const counted = Object.keys(after).map((key) => [key, after[key] - before[key]]);
        const own = records.slice(-opened.length);
        return {
            hits: own.filter(({ foreseen }) => foreseen !== undefined).length,
            seconds: ended.seconds - started.seconds,
            wakeUps: ended.wakeUps - started.wakeUps,
            memory,
            counted: Object.fromEntries(counted),
        };
    }

    async #open(program, way, daemon) {
        const told = daemon?.until('read ahead');
        told?.catch(() => {}); // is waited for further down
        const app = await Application.launch(this.display, program, this.environment);
        const shown = performance.now();
        await wait(DROP_MS);
        const fetched = app.bytesFetched();
        if (way !== 'warm') this.cache.drop(this.home);
        const dropped = performance.now() - shown;
        let lines;
        try {
            lines = await told;
        } catch (error) {
            const active = await this.display.active();
            await app.close();
            throw new Error(`${program.name} is open, and ${error.message}\nactive is ${active}`);
        }
        await wait(Math.max(0, STAY_MS - (performance.now() - shown)));
        const end = await app.close();
        await wait(CLOSED_MS);
        const { milliseconds } = app;
        const foreseen = lines && placeOf(this.#fronts.get(program.name).at(-1), lines);
        return { milliseconds, fetched, dropped, end, foreseen, lines };
    }
}
