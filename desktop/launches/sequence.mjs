// What is opened, and in which order: a made-up person's habits, put upon the programs that there are.

// `trace`: CSV with a header, "time,name" a line. The names that are used most become the programs, in
// their order; what else that person opens is left out, and what then follows itself is one opening.
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
        if (program === undefined || program === openings.at(-1)) continue;
        openings.push(program);
        hours.add(time.slice(0, '2024-03-04T07'.length));
    }
    return { openings, anHour: openings.length / hours.size };
}

// What is learned before the first round, and what each round opens: the openings after those of the
// round before, so that a round stands for more than one stretch of somebody's days.
export function divide(openings, learned, rounds, perRound) {
    const needed = learned + rounds * perRound;
    if (openings.length < needed) throw new Error(`the habits have ${openings.length} openings, not ${needed}`);
    const stretches = Array.from({ length: rounds }, (_, round) => {
        const begin = learned + round * perRound;
        return openings.slice(begin, begin + perRound);
    });
    return { before: openings.slice(0, learned), stretches };
}

// The ways in another order each round, so that none always comes first.
export const rotated = (ways, round) => ways.map((_, i) => ways[(i + round) % ways.length]);
