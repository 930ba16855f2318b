import assert from 'node:assert/strict';
import { test } from 'node:test';
import { frontsIn, placeOf } from './daemon.mjs';
import { parseLimit } from './disk.mjs';
import { dealt, divide, mapHabits, rotated } from './sequence.mjs';
import { bootstrap, byProgram, mean, pairUp, quantile, savings, steadied } from './statistics.mjs';
import { costOf, table } from './table.mjs';

const timeOf = (i) => `2024-03-04T${10 + (i >> 2)}:00:0${i % 4}Z`;
const trace = (names) => ['time,package', ...names.map((name, i) => `${timeOf(i)},${name}`)].join('\n');
const programs = ['big', 'small'].map((name) => ({ name }));

test('the names that are used most become the programs, in their order', () => {
    // c 3 times, a and b twice: a is the earlier of them
    const { openings, anHour } = mapHabits(`${trace(['a', 'c', 'b', 'c', 'a', 'b', 'c'])}\n`, programs);
    assert.deepEqual(openings.map(({ program }) => program.name), ['small', 'big', 'small', 'big']);
    assert.deepEqual(openings.map(({ time }) => time.slice(11, 19)), ['10:00:00', '10:00:01', '11:00:00', '11:00:02']);
    assert.equal(anHour, 2);
});

test('a person has favourites, the same each time, and others have others', () => {
    const all = [...'abcdefgh'];
    const firsts = Array.from({ length: 400 }, (_, seed) => dealt(all, seed)[0]);
    for (const one of all) {
        const share = firsts.filter((first) => first === one).length;
        assert.ok(share > 25 && share < 80, `${one} is the favourite of ${share} of 400`);
    }
    assert.deepEqual([...dealt(all, 5)].sort(), all);
    assert.deepEqual(dealt(all, 5), dealt(all, 5));
});

test('what is opened comes after what is learned', () => {
    const openings = [...'abcdefgh'];
    const { before, opened, after } = divide(openings, 2, 3, 4);
    assert.deepEqual([before, opened, after].map((some) => some.join('')), ['ab', 'cde', 'cdef']);
    assert.throws(() => divide(openings, 2, 7), /8 openings, not 9/);
});

test('every way is first once in as many rounds as there are ways', () => {
    const ways = ['a', 'b', 'c'];
    const orders = [0, 1, 2, 3].map((round) => rotated(ways, round));
    assert.deepEqual(orders.map((order) => order[0]), ['a', 'b', 'c', 'a']);
    for (const order of orders) assert.deepEqual([...order].sort(), ways);
});

const WAYS = ['none', 'engine', 'most-used', 'warm'];

// Programs differ by seconds, the ways by a tenth of that: what pairs are for.
function recordsOf(count, savedBy) {
    return Array.from({ length: count }, (_, place) => {
        const cold = 500 + 1000 * (place % 7);
        const opening = { round: place % 10, place, program: `p${place % 7}` };
        return WAYS.map((way) => ({ ...opening, way, milliseconds: cold - savedBy[way](place) }));
    }).flat();
}

test('what is saved is told apart from what differs between programs', () => {
    const savedBy = { none: () => 0, engine: (i) => 80 + (i % 5), 'most-used': (i) => 40 - (i % 3), warm: () => 100 };
    const records = recordsOf(60, savedBy);
    const { openings, ways, more } = savings(records, WAYS);
    assert.equal(openings, 60);
    assert.equal(ways.engine.saved.value, 82);
    assert.ok(ways.engine.saved.low > 80.9 && ways.engine.saved.low < 81.5, 'as sure as 10 rounds make it');
    assert.ok(ways.engine.saved.high > 82.5 && ways.engine.saved.high < 83.1);
    assert.equal(ways.engine.share.value, 0.82);
    assert.equal(ways.warm.share, undefined);
    assert.ok(more.low > 40 && more.high < 46 && more.value === 43);
    assert.equal(ways.none.saved, undefined);
});

test('an interval holds the true mean about 95 times of 100, though what is near in time is alike', () => {
    let state = 7;
    const random = () => (state = (state * 16807) % 2147483647) / 2147483647;
    let held = 0;
    for (let trial = 0; trial < 100; ++trial) {
        const drifts = Array.from({ length: 30 }, () => 3 * random());
        const sample = Array.from({ length: 150 }, (_, i) => ({ round: i % 30, value: random() + drifts[i % 30] }));
        const { low, high } = bootstrap(sample, (some) => mean(some.map(({ value }) => value)), trial, 400);
        if (low <= 2 && 2 <= high) ++held;
    }
    assert.ok(held >= 88 && held <= 99, `${held} of 100`);
    assert.deepEqual(bootstrap([{ round: 1 }, { round: 1 }], () => 5), { value: 5 });
});

test('luck in what is opened is taken out of the difference', () => {
    // Each third opening only the engine foresees, but in the rounds' few openings it is the other way round more
    // often than not, and with the program that gains most.
    const gains = { slow: 900, quick: 90 };
    const openingsOf = (round) => {
        const unlucky = [['slow', -1], ['quick', 1], ['slow', round % 2 ? 1 : 0], ['quick', 0]];
        const typical = Array.from({ length: 596 }, (_, i) => [i % 2 ? 'slow' : 'quick', i % 3 ? 0 : 1]);
        return [...unlucky, ...typical].map(([program, lead]) => ({ program, lead }));
    };
    const rounds = Array.from({ length: 12 }, (_, round) => ({ round, openings: openingsOf(round) }));
    const records = rounds.flatMap(({ round, openings }) =>
        openings.slice(0, 4).flatMap(({ program, lead }, place) =>
            [['engine', 1], ['most-used', -1]].map(([way, whose]) => {
                const foreseen = lead === whose ? 1 : undefined;
                return { round, place, way, program, foreseen, milliseconds: 2000 - (foreseen ? gains[program] : 0) };
            }),
        ),
    );
    assert.ok(savings(records, ['engine', 'most-used']).more.value < -80, 'as measured');
    const { value, low, high } = steadied(records, rounds);
    assert.ok(Math.abs(value - (900 + 90) / 2 / 3) < 3, `${value}`);
    assert.ok(high - low < 2, 'nothing is left to chance but the four');
    const other = records.map((record) => (record.way === 'engine' ? { ...record, milliseconds: record.milliseconds - 40 } : record));
    const shifted = steadied(other, rounds).value;
    assert.ok(Math.abs(shifted - value - 40) < 15, `what has nothing to do with hits is measured still: ${shifted - value}`);
});

test('an opening counts only when every way has it', () => {
    const records = recordsOf(3, { none: () => 0, engine: () => 1, 'most-used': () => 1, warm: () => 2 });
    const cut = records.filter(({ place, way }) => place !== 1 || way !== 'warm');
    assert.equal(pairUp(cut, WAYS).length, 2);
    assert.equal(savings([], WAYS).openings, 0);
});

test('medians lie between, and a spread needs two', () => {
    assert.equal(quantile([4, 1, 3, 2], 0.5), 2.5);
    assert.equal(quantile([5], 0.025), 5);
    const [one, two] = byProgram([
        { program: 'a', way: 'none', milliseconds: 10 },
        { program: 'b', way: 'none', milliseconds: 10 },
        { program: 'b', way: 'none', milliseconds: 30 },
    ]);
    assert.equal(one.ways.none.spread, undefined);
    assert.ok(Math.abs(two.ways.none.spread - Math.SQRT1_2) < 1e-9);
});

const MIB = 1 << 20;
const cost = (way, wakeUps, bytes) => ({
    way,
    openings: 10,
    seconds: 0.5,
    wakeUps,
    hits: 6,
    memory: { most: 7 * MIB, own: 2 * MIB },
    counted: { bytes_read: bytes * MIB },
});

test('what the daemon costs an hour is what openings cost and what it does while nothing happens', () => {
    const costs = [cost('engine', 100, 21), cost('engine', 300, 41), cost('most-used', 9, 1)];
    const idle = { seconds: 1800, wakeUps: 6, processorSeconds: 0.1 };
    const fetches = [['none', 0, 5], ['engine', 0, 1], ['none', 1, 3], ['engine', 1, 3], ['none', 2, 9]];
    const records = fetches.map(([way, place, bytes]) => ({ round: 0, place, way, fetched: bytes * MIB }));
    const engine = costOf({ costs, records, anHour: 12, idle }, 'engine');
    assert.equal(engine.hits, 0.6);
    assert.equal(engine.read, 3.1);
    assert.ok(Math.abs(engine.wasted - 1.1) < 1e-9, 'two of what was read were not fetched again');
    assert.equal(engine.wakeUpsAnOpening, 20);
    assert.equal(engine.wakeUpsAnHour, 20 * 12 + 12);
    assert.ok(Math.abs(engine.secondsAnHour - 0.8) < 1e-9);
    const alone = { costs, records: [], anHour: 12 };
    assert.equal(costOf(alone, 'most-used').wakeUpsAnHour, 0.9 * 12);
    assert.equal(costOf(alone, 'most-used').wasted, undefined);
    assert.equal(costOf(alone, 'warm'), undefined);
});

test('a table has what was measured, also without a daemon', () => {
    const records = recordsOf(14, { none: () => 0, engine: () => 50, 'most-used': () => 25, warm: () => 100 });
    const idle = { seconds: 1800, wakeUps: 6, processorSeconds: 0.1 };
    const text = table({ head: ['HEAD'], ways: WAYS, records, costs: [cost('engine', 100, 21)], anHour: 12, idle });
    assert.match(text, /^HEAD\n/);
    assert.match(text, /^engine +3450 ms +50 \(50 to 50\) +50 % \(50 % to 50 %\)$/m);
    assert.match(text, /^engine saves 25 \(25 to 25\) ms more than most-used$/m);
    assert.match(text, /^p6 +2 +6500 \(0 %\) +6450/m);
    assert.match(text, /^nothing changes for 30.0 minutes: 6 wake-ups/m);
    const two = records.filter(({ way }) => way === 'none' || way === 'warm');
    const short = table({ head: [], ways: ['none', 'warm'], records: two, costs: [], anHour: 12 });
    assert.match(short, /^warm +3400 ms +100 \(100 to 100\)$/m);
    assert.doesNotMatch(short, /engine|undefined|NaN/);
});

test('a limit for the disk is megabytes, reads, or both', () => {
    assert.deepEqual(parseLimit('150:5000'), { bytes: 150e6, reads: 5000 });
    assert.deepEqual(parseLimit('150'), { bytes: 150e6, reads: undefined });
    assert.deepEqual(parseLimit(':80'), { bytes: undefined, reads: 80 });
    for (const wrong of ['', ':', 'fast', '1:2:3', '-5']) assert.throws(() => parseLimit(wrong), /not MBPS:IOPS/);
});

test('an application that changes its name is known by the last one', () => {
    const lines = [
        'front Soffice, launched: number 2 of the prediction',
        'next mail',
        'front office_writer, launched: not predicted',
        'next front Soffice',
        'needs office_writer: 141.1 MiB of 366 files, 0.0 MiB from the disk: warm',
        'front office: number 11 of the prediction',
    ];
    assert.deepEqual(frontsIn(lines), ['Soffice', 'office_writer', 'office']);
    assert.equal(placeOf('Soffice', lines), 2);
    assert.equal(placeOf('office_writer', lines), undefined);
    assert.equal(placeOf('office', lines.slice(-1)), 11);
    assert.equal(placeOf('office', lines), 11, 'not that of a longer name');
});
