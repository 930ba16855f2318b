// How often each predictor is right over far more openings than can be measured. Among a person's dozen may by
// chance be those that one of them foresees, and of programs that gain much by it: steadied() in statistics.mjs
// takes that out.

import { execFileSync } from 'node:child_process';
import { rmSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { LEAD_IN } from './sequence.mjs';

export const FORESEEN = 1_000 - LEAD_IN; // openings of a person; a replay shows the moments of a thousand

// Lets an engine that keeps its files in `state` go through the openings, { time, name }, in their own time. What
// the replay prints.
export function replay(tool, folder, state, openings, ...words) {
    const trace = join(folder, 'replayed.csv');
    writeFileSync(trace, ['time,package', ...openings.map(({ time, name }) => `${time},${name}`), ''].join('\n'));
    const all = ['replay', '--quiet', '--charging', '23:00-07:00', '--data-dir', state, ...words, trace];
    const options = { env: { ...process.env, TZ: 'UTC' }, encoding: 'utf8', maxBuffer: 2 ** 28 };
    return execFileSync(tool, all, options);
}

// The engine's list before each of the openings, from a replay that goes on after those before.
function engineLists({ tool }, folder, before, openings) {
    const state = join(folder, 'foresight');
    rmSync(state, { recursive: true, force: true });
    const named = [...before, ...openings].map(({ time, program: { name } }) => ({ time, name }));
    const learned = before.length - LEAD_IN;
    replay(tool, folder, state, named.slice(0, learned));
    const text = replay(tool, folder, state, named.slice(learned), '--moments', '1000');
    const lists = [...text.matchAll(/^ +predicted \(\w+\):(.*)\n +opened next: (\S+)/gm)].map(([, list, next]) => {
        return { next, list: list.trim().split(/ +/) };
    });
    if (lists.some(({ next }, i) => next !== openings[i].program.name) || lists.length !== openings.length) {
        throw new Error('the replay shows other openings than it was given');
    }
    return lists.map(({ list }) => list);
}

function mostUsedLists({ programs }, before, openings) {
    const counts = new Map(programs.map(({ name }) => [name, 0]));
    const count = ({ program: { name } }) => counts.set(name, counts.get(name) + 1);
    before.forEach(count);
    let front = before.at(-1);
    return openings.map((opening) => {
        const others = [...counts.keys()].filter((name) => name !== front.program.name);
        const list = others.sort((a, b) => counts.get(b) - counts.get(a)); // stable
        count(opening);
        front = opening;
        return list;
    });
}

// For each of a person's openings after those that are learned its program and `lead`: 1 where only the engine
// names it among the first `places`, -1 where only the simple rule does. Of the engine's list a replay shows four.
export function foresight(options, folder, { before, after }) {
    const engine = engineLists(options, folder, before, after);
    const mostUsed = mostUsedLists(options, before, after);
    return after.map(({ program: { name } }, i) => {
        const has = (list) => Number(list.slice(0, options.places).includes(name));
        return { program: name, lead: has(engine[i]) - has(mostUsed[i]) };
    });
}
