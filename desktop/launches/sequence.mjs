// What is opened, and in which order: made-up persons' habits, put upon the programs that there are.

import { generator } from './statistics.mjs';

export const LEAD_IN = 2; // openings before those that count: a daemon that was just started has no answer for the first

// `trace`: CSV with a header, "time,name" a line. The names that are used most become the programs, in
// their order; what else that person opens is left out, and what then follows itself is one opening: { time,
// program }, the time as it stands in the trace.
// `anHour`: how many of those openings there are in an hour in which there are any.
export function mapHabits(trace, programs) {
    const rows = trace.trim().split('\n').slice(1).map((line) => line.split(','));
    const counts = new Map();
    for (const [, name] of rows) counts.set(name, (counts.get(name) ?? 0) + 1);
    const byUse = [...counts.keys()].sort((a, b) => counts.get(b) - counts.get(a)); // stable: the earlier first
    const programOf = new Map(byUse.slice(0, programs.length).map((name, rank) => [name, programs[rank]]));

    const openings = [];
    const hours = new Set();
    for (const [time, name] of rows) {
        const program = programOf.get(name);
        if (program === undefined || program === openings.at(-1)?.program) continue;
        openings.push({ time, program });
        hours.add(time.slice(0, '2024-03-04T07'.length));
    }
    return { openings, anHour: openings.length / hours.size };
}

// The programs in an order of the person's own: what one opens all day, another needs once a week. How long
// a program takes to start then says nothing about how often it is opened.
export function dealt(programs, seed) {
    const random = generator(seed);
    const left = [...programs];
    return programs.map(() => left.splice(Math.floor(random() * left.length), 1)[0]);
}

// What is opened in a round, all that was opened before and is learned, and so many openings after that, the
// round's among them.
export function divide(openings, learned, opened, after = opened) {
    if (openings.length < learned + opened) {
        throw new Error(`the habits have ${openings.length} openings, not ${learned + opened}`);
    }
    const next = (count) => openings.slice(learned, learned + count);
    return { before: openings.slice(0, learned), opened: next(opened), after: next(after) };
}

// The ways in another order each round, so that none always comes first.
export const rotated = (ways, round) => ways.map((_, i) => ways[(i + round) % ways.length]);
