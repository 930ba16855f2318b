// What the times say, and how sure that is.

// Numbers from 0 to 1, the same each time (mulberry32).
export function generator(seed) {
    let state = seed;
    return () => {
        state = (state + 0x6d2b79f5) | 0;
        let mixed = Math.imul(state ^ (state >>> 15), state | 1);
        mixed ^= mixed + Math.imul(mixed ^ (mixed >>> 7), mixed | 61);
        return ((mixed ^ (mixed >>> 14)) >>> 0) / 2 ** 32;
    };
}

export const mean = (values) => values.reduce((sum, value) => sum + value, 0) / values.length;

export function quantile(values, part) {
    const sorted = [...values].sort((a, b) => a - b);
    const place = part * (sorted.length - 1);
    const below = Math.floor(place);
    const above = Math.min(below + 1, sorted.length - 1);
    return sorted[below] + (place - below) * (sorted[above] - sorted[below]);
}

// Openings whole, with their round and their time in every way, or another value: what makes one slow makes it
// so in all of them.
export function pairUp(records, ways, value = ({ milliseconds }) => milliseconds) {
    const openings = new Map();
    for (const record of records) {
        const key = `${record.round}.${record.place}`;
        if (!openings.has(key)) openings.set(key, { round: record.round });
        openings.get(key)[record.way] = value(record);
    }
    return [...openings.values()].filter((opening) => ways.every((way) => way in opening));
}

// A figure of the openings and where it lies in 95 of 100 samples that are drawn from them, by whole rounds:
// the openings of a round share a person, and the minutes in which a way was measured. One round has no limits.
export function bootstrap(openings, figure, seed = 1, resamples = 10_000) {
    const random = generator(seed);
    const rounds = [...new Set(openings.map(({ round }) => round))].map((round) =>
        openings.filter((opening) => opening.round === round),
    );
    const value = figure(openings);
    if (rounds.length < 2) return { value };
    const figures = Array.from({ length: resamples }, () =>
        figure(rounds.flatMap(() => rounds[Math.floor(random() * rounds.length)])),
    );
    return { value, low: quantile(figures, 0.025), high: quantile(figures, 0.975) };
}

const saved = (way) => (openings) => mean(openings.map((opening) => opening.none - opening[way]));

// How much sooner the window is there than when nothing is done, in milliseconds an opening; its share of
// what is saved when everything is in memory; how much more that is than the simple rule saves.
export function savings(records, ways) {
    const openings = pairUp(records, ways);
    const result = { openings: openings.length, ways: {} };
    if (openings.length === 0) return result;
    for (const way of ways) {
        result.ways[way] = { launch: mean(openings.map((opening) => opening[way])) };
        if (way === 'none' || !ways.includes('none')) continue;
        result.ways[way].saved = bootstrap(openings, saved(way));
        if (way === 'warm' || !ways.includes('warm')) continue;
        result.ways[way].share = bootstrap(openings, (some) => saved(way)(some) / saved('warm')(some));
    }
    if (['engine', 'most-used'].every((way) => ways.includes(way))) {
        const sooner = (some) => mean(some.map((opening) => opening['most-used'] - opening.engine));
        result.more = bootstrap(openings, sooner);
    }
    return result;
}

// For each program and way, the middle launch and how far launches spread (standard deviation over mean).
export function byProgram(records) {
    const programs = new Map();
    for (const { program, way, milliseconds } of records) {
        if (!programs.has(program)) programs.set(program, {});
        (programs.get(program)[way] ??= []).push(milliseconds);
    }
    return [...programs].map(([program, times]) => ({
        program,
        ways: Object.fromEntries(
            Object.entries(times).map(([way, values]) => {
                const middle = mean(values);
                const variance = values.reduce((sum, value) => sum + (value - middle) ** 2, 0) / (values.length - 1);
                const spread = values.length > 1 ? Math.sqrt(variance) / middle : undefined;
                return [way, { openings: values.length, median: quantile(values, 0.5), spread }];
            }),
        ),
    }));
}
