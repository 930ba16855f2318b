// A program that is launched, timed until its window is there, and closed until nothing of it runs.

import { spawn } from 'node:child_process';
import { existsSync, readFileSync, readdirSync } from 'node:fs';
import { setTimeout as wait } from 'node:timers/promises';
import { commandIn } from './programs.mjs';

const WINDOW_MS = 60_000;
const ASKED_MS = 4_000;
const TERMINATED_MS = 1_000;

function childrenOf(pid) {
    try {
        const threads = readdirSync(`/proc/${pid}/task`);
        return threads.flatMap((thread) =>
            readFileSync(`/proc/${pid}/task/${thread}/children`, 'utf8').split(' ').filter(Boolean).map(Number),
        );
    } catch {
        return []; // it has ended
    }
}

export const processTree = (pid) => [pid, ...childrenOf(pid).flatMap(processTree)];

function signal(pid, name) {
    try {
        process.kill(pid, name);
    } catch {
        // it has ended
    }
}

export class Application {
    #display;
    #child;
    #before;

    // Launches the program; `milliseconds` is how long its window took.
    static async launch(display, program, environment) {
        const app = new Application();
        app.program = program;
        app.#display = display;
        app.#before = new Set(display.windows);
        const [name, ...words] = commandIn(environment.HOME, program.command);
        const window = display.newWindow(app.#before, WINDOW_MS);
        const begin = performance.now();
        app.#child = spawn(name, words, { env: environment, cwd: environment.HOME, stdio: 'ignore', detached: true });
        app.#child.on('error', () => {}); // no window comes then
        try {
            app.milliseconds = (await window).at - begin;
        } catch (error) {
            await app.close();
            throw new Error(`${program.name}: ${error.message}`);
        }
        return app;
    }

    get processes() {
        return processTree(this.#child.pid);
    }

    // What it has made the disk read, with its children that run or have been waited for.
    bytesFetched() {
        return this.processes.reduce((sum, pid) => {
            try {
                return sum + Number(/^read_bytes: (\d+)$/m.exec(readFileSync(`/proc/${pid}/io`, 'utf8'))[1]);
            } catch {
                return sum; // it has ended
            }
        }, 0);
    }

    // How it ended: asked, terminated or killed.
    async close() {
        if (this.#child.pid === undefined) return 'not started';
        const processes = this.processes;
        const own = () => [...this.#display.windows].filter((window) => !this.#before.has(window));
        await this.#display.closeWindows(own());
        if (await this.#gone(processes, ASKED_MS)) return 'asked';
        processes.push(...this.processes);
        for (const pid of processes) signal(pid, 'SIGTERM');
        if (await this.#gone(processes, TERMINATED_MS)) return 'terminated';
        for (const pid of processes) signal(pid, 'SIGKILL');
        await this.#gone(processes, ASKED_MS);
        return 'killed';
    }

    async #gone(processes, milliseconds) {
        const end = performance.now() + milliseconds;
        while (processes.some((pid) => existsSync(`/proc/${pid}/exe`))) {
            if (performance.now() > end) return false;
            await wait(20);
        }
        return true;
    }
}
