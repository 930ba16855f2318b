// ksbrain-desktop, run and watched from outside.

import { execFileSync, spawn } from 'node:child_process';
import { once } from 'node:events';
import { readFileSync, readdirSync } from 'node:fs';
import { createInterface } from 'node:readline';

const ANSWER_MS = 20_000;
const TICKS = Number(execFileSync('getconf', ['CLK_TCK'], { encoding: 'utf8' }));

const number = (text, name) => Number(new RegExp(`^${name}:\\s*(\\d+)`, 'm').exec(text)[1]);

export class Daemon {
    #child;
    #listeners = [];
    #complaints = '';

    // `words`: of `run`, but for the state directory.
    static async start(program, state, words, environment) {
        const daemon = new Daemon();
        const options = { env: environment, detached: true }; // Ctrl-C is not for it
        const child = spawn(program, ['run', '--state', state, '--verbose', ...words], options);
        daemon.#child = child;
        createInterface({ input: child.stdout }).on('line', (line) => {
            for (const listener of [...daemon.#listeners]) listener(line);
        });
        child.stderr.on('data', (data) => (daemon.#complaints += data));
        child.stdin.on('error', () => {}); // it has ended, and will be asked why
        await once(child, 'spawn');
        return daemon;
    }

    // Promises the lines from now on, up to the first that begins so.
    until(beginning) {
        const lines = [];
        return new Promise((resolve, reject) => {
            const end = (settle, value) => {
                clearTimeout(timer);
                this.#child.off('exit', ended);
                this.#listeners.splice(this.#listeners.indexOf(listener), 1);
                settle(value);
            };
            const fail = (what) =>
                end(reject, new Error([`ksbrain-desktop ${what}`, ...lines, this.#complaints].join('\n')));
            const ended = () => fail('has ended');
            const listener = (line) => {
                lines.push(line);
                if (line.startsWith(beginning)) end(resolve, lines);
            };
            const timer = setTimeout(() => fail(`says no "${beginning}"`), ANSWER_MS);
            this.#child.on('exit', ended);
            this.#listeners.push(listener);
        });
    }

    // Gives it names on standard input, and waits until it has gone through them and ended.
    async playToEnd(names) {
        this.#child.stdin.end(names.map((name) => `${name}\n`).join(''));
        const [status] = await once(this.#child, 'close');
        if (status !== 0) throw new Error(`ksbrain-desktop run --stdin: ${this.#complaints}`);
    }

    async stop() {
        this.#child.kill('SIGTERM');
        if (this.#child.exitCode === null) await once(this.#child, 'close');
        if (this.#child.exitCode !== 0) throw new Error(`ksbrain-desktop: ${this.#complaints}`);
    }

    // What it has used of the processor, and how often it slept and was woken.
    cost() {
        const { pid } = this.#child;
        const fields = readFileSync(`/proc/${pid}/stat`, 'utf8').split(') ')[1].split(' ');
        const threads = readdirSync(`/proc/${pid}/task`).map((thread) =>
            readFileSync(`/proc/${pid}/task/${thread}/status`, 'utf8'),
        );
        return {
            seconds: (Number(fields[11]) + Number(fields[12])) / TICKS,
            wakeUps: threads.reduce((sum, status) => sum + number(status, 'voluntary_ctxt_switches'), 0),
        };
    }

    // In bytes: the most there was at any time, and what belongs to it alone now.
    memory() {
        const { pid } = this.#child;
        const shares = readFileSync(`/proc/${pid}/smaps_rollup`, 'utf8');
        return {
            most: number(readFileSync(`/proc/${pid}/status`, 'utf8'), 'VmHWM') * 1024,
            own: (number(shares, 'Private_Clean') + number(shares, 'Private_Dirty')) * 1024,
        };
    }
}

// The names under which an application came to the front, by lines of the daemon. Its window may at first have
// the class of its toolkit; the last name is the application's.
export const frontsIn = (lines) =>
    lines.map((line) => /^front ([^ :,]+)/.exec(line)?.[1]).filter((name) => name !== undefined);

// What place of the prediction the application had, if it was predicted.
export function placeOf(name, lines) {
    const line = lines.find((each) => frontsIn([each])[0] === name);
    const place = /: number (\d+) of the prediction$/.exec(line)?.[1];
    return place && Number(place);
}

export const statusOf = (program, state) =>
    JSON.parse(execFileSync(program, ['status', '--state', state, '--json'], { encoding: 'utf8' }));
