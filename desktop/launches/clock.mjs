// Lets a program believe that it is another time of another day, with a clock that goes on from there: the
// habits are those of somebody's mornings and weekends, whenever the measurement runs.

import { existsSync, readdirSync } from 'node:fs';
import { join } from 'node:path';

function library() {
    for (const folder of readdirSync('/usr/lib')) {
        const file = join('/usr/lib', folder, 'faketime/libfaketimeMT.so.1');
        if (existsSync(file)) return file;
    }
    throw new Error('libfaketime is not installed');
}

// `time`: as in the trace, UTC; the real one when it is missing. Only the time of day is another: how long
// things take is measured by another clock, and files keep their times.
export function clockAt(environment, time) {
    if (time === undefined) return environment;
    const clock = { NO_FAKE_STAT: '1', DONT_FAKE_MONOTONIC: '1', FAKETIME_DONT_FAKE_MONOTONIC: '1' };
    const start = time.replace('T', ' ').replace('Z', '');
    return { ...environment, ...clock, LD_PRELOAD: library(), FAKETIME: `@${start}` };
}
