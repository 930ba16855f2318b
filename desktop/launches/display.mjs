// A display of its own, with a window manager, that tells of windows the moment they are there. It is told
// so by the server: a loop that asks would take the processor from what is measured.

import { execFile, spawn } from 'node:child_process';
import { once } from 'node:events';
import { createInterface } from 'node:readline';
import { setTimeout as wait } from 'node:timers/promises';
import { promisify } from 'node:util';

const run = promisify(execFile);
const NOT_AN_APPLICATION = /_NET_WM_WINDOW_TYPE_(SPLASH|DIALOG|DOCK|DESKTOP|NOTIFICATION|UTILITY|TOOLTIP|\w*MENU)/;

export class Display {
    #children = [];
    #changed = []; // called when the list of windows changes, with the time
    windows = new Set();

    static async open() {
        const display = new Display();
        process.prependListener('exit', () => display.#kill());
        await display.#start();
        return display;
    }

    async #start() {
        const words = ['-displayfd', '3', '-screen', '0', '1280x900x24', '-nolisten', 'tcp'];
        const server = this.#spawn('Xvfb', words, { stdio: ['ignore', 'ignore', 'ignore', 'pipe'] });
        const [number] = await Promise.race([
            once(server.stdio[3], 'data'),
            once(server, 'exit').then(() => {
                throw new Error('Xvfb does not start');
            }),
        ]);
        this.name = `:${String(number).trim()}`;
        this.environment = { ...process.env, DISPLAY: this.name };
        this.#spawn('openbox', [], { stdio: 'ignore', env: this.environment });
        while (!(await this.ask('-root', '_NET_SUPPORTING_WM_CHECK')).includes('window id')) await wait(50);

        const spy = this.#spawn('xprop', ['-spy', '-root', '_NET_CLIENT_LIST'], {
            stdio: ['ignore', 'pipe', 'ignore'],
            env: this.environment,
        });
        createInterface(spy.stdout).on('line', (line) => {
            const now = performance.now();
            this.windows = new Set(line.match(/0x[0-9a-f]+/g) ?? []);
            for (const tell of [...this.#changed]) tell(now);
        });
    }

    #spawn(program, words, options) {
        const child = spawn(program, words, { ...options, detached: true }); // Ctrl-C is not for it
        this.#children.push(child);
        return child;
    }

    // What xprop says; nothing of a window that is gone.
    async ask(...words) {
        return run('xprop', words, { env: this.environment }).then(
            ({ stdout }) => stdout,
            () => '',
        );
    }

    // The window in front, and what the window manager knows of it.
    async active() {
        const window = /0x[0-9a-f]+/.exec(await this.ask('-root', '_NET_ACTIVE_WINDOW'))?.[0];
        if (window === undefined) return 'no window';
        return `${window}: ${await this.ask('-id', window, 'WM_CLASS', '_NET_WM_WINDOW_TYPE', '_NET_WM_PID')}`;
    }

    // The first window of an application that is not among `before`, and when it was there.
    newWindow(before, milliseconds) {
        const seen = new Set(before);
        return new Promise((resolve, reject) => {
            const end = (settle, value) => {
                clearTimeout(timer);
                this.#changed.splice(this.#changed.indexOf(look), 1);
                settle(value);
            };
            const look = async (at) => {
                // A number is given anew when the window is gone.
                for (const window of seen) if (!this.windows.has(window)) seen.delete(window);
                for (const window of this.windows) {
                    if (seen.has(window)) continue;
                    seen.add(window);
                    const type = await this.ask('-id', window, '_NET_WM_WINDOW_TYPE');
                    if (type !== '' && !NOT_AN_APPLICATION.test(type)) return end(resolve, { window, at });
                }
            };
            const timer = setTimeout(() => end(reject, new Error('no window came')), milliseconds);
            this.#changed.push(look);
        });
    }

    // Asks the windows to close, as a person does.
    async closeWindows(windows) {
        for (const window of windows) {
            await run('wmctrl', ['-i', '-c', window], { env: this.environment }).catch(() => {}); // it is gone
        }
    }

    #kill() {
        for (const child of this.#children) child.kill();
    }

    // Resolves when nothing of it runs.
    async close() {
        const running = this.#children.filter(({ exitCode, signalCode }) => exitCode === null && signalCode === null);
        const ends = running.map((child) => once(child, 'exit'));
        this.#kill();
        await Promise.all(ends);
    }
}
