// A daemon on a display of its own where nothing changes any more, for as long as the rounds last: what it
// does then is what it does all night.

import { join } from 'node:path';
import { setTimeout as wait } from 'node:timers/promises';
import { Application } from './application.mjs';
import { Daemon } from './daemon.mjs';
import { Display } from './display.mjs';

const CALM_MS = 3_000; // after the last line it says

export class IdleDaemon {
    static async start(program, folder, environment) {
        const idle = new IdleDaemon();
        const display = (idle.display = await Display.open());
        const own = { ...environment, DISPLAY: display.name };
        idle.daemon = await Daemon.start(program, join(folder, 'state-idle'), ['--settle', '500'], own);
        const done = idle.daemon.until('read ahead');
        idle.application = await Application.launch(display, { name: 'xterm', command: ['xterm'] }, own);
        await done;
        await wait(CALM_MS);
        idle.begin = performance.now();
        idle.cost = idle.daemon.cost();
        return idle;
    }

    async stop() {
        const cost = this.daemon.cost();
        const seconds = (performance.now() - this.begin) / 1000;
        await this.daemon.stop();
        await this.application.close();
        await this.display.close();
        return {
            seconds,
            wakeUps: cost.wakeUps - this.cost.wakeUps,
            processorSeconds: cost.seconds - this.cost.seconds,
        };
    }
}
