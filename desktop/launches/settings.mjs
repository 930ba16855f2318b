// What the environment asks for; launches.mjs says what there is.

import { resolve } from 'node:path';
import { WAYS } from './measure.mjs';
import { PROGRAMS } from './programs.mjs';

function number(name, fallback) {
    const value = Number(process.env[name] || fallback);
    if (!Number.isInteger(value) || value < 1) throw new Error(`${name}=${process.env[name]} is no number`);
    return value;
}

// All of what there is, or those that are named.
function chosen(variable, kind, all, nameOf) {
    const names = process.env[variable];
    if (!names) return all;
    return names.split(',').map((name) => {
        const found = all.find((one) => nameOf(one) === name);
        if (!found) throw new Error(`${variable}: there is no ${kind} ${name}`);
        return found;
    });
}

export function settings(build) {
    const order = process.env.ORDER ?? '';
    if (!['', 'listed'].includes(order)) throw new Error(`ORDER=${order} is neither empty nor "listed"`);
    return {
        programs: chosen('PROGRAMS', 'program', PROGRAMS, ({ name }) => name),
        ways: chosen('WAYS', 'way', WAYS, (way) => way),
        tool: resolve(build, 'ksbrain'),
        program: resolve(build, 'ksbrain-desktop'),
        openings: number('OPENINGS', 12),
        rounds: number('ROUNDS', 8),
        places: number('PLACES', 3),
        budget: number('BUDGET', 256),
        seed: number('SEED', 1),
        disk: process.env.DISK,
        isListed: order === 'listed',
    };
}
