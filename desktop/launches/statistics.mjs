// What the times say, and how sure that is.

export const PREDICTORS = ['engine', 'most-used']; // the ways with a daemon

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
    if (PREDICTORS.every((way) => ways.includes(way))) {
        const sooner = (some) => mean(some.map((opening) => opening['most-used'] - opening.engine));
        result.more = bootstrap(openings, sooner);
    }
    return result;
}

// How much sooner a program's window is there when it was foreseen, in milliseconds: of those that were both, next
// to a daemon.
function savedByHit(records) {
    const times = new Map();
    for (const { program, way, foreseen, milliseconds } of records) {
        if (!PREDICTORS.includes(way)) continue;
        if (!times.has(program)) times.set(program, { hit: [], missed: [] });
        times.get(program)[foreseen === undefined ? 'missed' : 'hit'].push(milliseconds);
    }
    const both = [...times].filter(([, { hit, missed }]) => hit.length > 0 && missed.length > 0);
    return new Map(both.map(([program, { hit, missed }]) => [program, mean(missed) - mean(hit)]));
}

// How much more the engine saves an opening than the simple rule, without the luck of the few openings of a round:
// what the predictors' lead in foresight is worth over many openings of each person, and what was measured beside
// what it was worth in those that were measured. This is the difference estimator of sampling theory (Särndal,
// Swensson, Wretman: Model Assisted Survey Sampling, 1992, chapter 6); it is right on average whatever a hit is
// thought to be worth, and the surer the nearer that is to the truth.
// `foresight`: for each round { round, openings }, the openings as foresight() gives them, the measured ones first.
export function steadied(records, foresight) {
    const saved = savedByHit(records);
    const worth = (openings) => openings.reduce((sum, { program, lead }) => sum + lead * (saved.get(program) ?? 0), 0);
    const rounds = foresight.map(({ round, openings }) => {
        const measured = pairUp(records.filter((record) => record.round === round), PREDICTORS);
        return {
            round,
            count: measured.length,
            more: measured.reduce((sum, opening) => sum + opening['most-used'] - opening.engine, 0),
            worth: worth(openings.slice(0, measured.length)),
            worthOfMany: worth(openings) / openings.length,
        };
    });
    const sum = (some, key) => some.reduce((total, round) => total + round[key], 0);
    return bootstrap(
        rounds,
        (some) => sum(some, 'worthOfMany') / some.length + (sum(some, 'more') - sum(some, 'worth')) / sum(some, 'count'),
    );
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
