// What is opened, and in which order: a made-up person's habits, put upon the programs that there are.

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

// What each round opens, and all that was opened before and is learned: a round goes on where the one before
// it ended, so that together they stand for more than one stretch of somebody's days.
export function divide(openings, learned, rounds, perRound) {
    const needed = learned + rounds * perRound;
    if (openings.length < needed) throw new Error(`the habits have ${openings.length} openings, not ${needed}`);
    return Array.from({ length: rounds }, (_, round) => {
        const begin = learned + round * perRound;
        return { before: openings.slice(0, begin), opened: openings.slice(begin, begin + perRound) };
    });
}

// The ways in another order each round, so that none always comes first.
export const rotated = (ways, round) => ways.map((_, i) => ways[(i + round) % ways.length]);
