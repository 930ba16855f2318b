// What came out, for people to read.

import { byProgram, mean, pairUp, savings, steadied } from './statistics.mjs';

const MIB = 1 << 20;

const whole = (value) => (value === undefined ? '' : value.toFixed(0));
const interval = ({ value, low, high }, show) =>
    show(value) + (low === undefined ? '' : ` (${show(low)} to ${show(high)})`);
const percent = (value) => `${(100 * value).toFixed(0)} %`;

// Lines of cells below each other: the first column to the left, the others to the right.
function columns(rows) {
    const widths = rows[0].map((_, column) => Math.max(...rows.map((row) => String(row[column] ?? '').length)));
    return rows.map((row) =>
        row
            .map((cell, i) => (i === 0 ? String(cell).padEnd(widths[i]) : String(cell ?? '').padStart(widths[i])))
            .join('  ')
            .trimEnd(),
    );
}

// What the programs need not fetch from the disk any more, in bytes an opening; unknown without the way none.
function spared(records, way) {
    const openings = pairUp(records, ['none', way], ({ fetched }) => fetched);
    return openings.length === 0 ? undefined : mean(openings.map((opening) => opening.none - opening[way]));
}

// What the daemon did in a way, an opening or an hour of the person whose habits these are. What it has read
// and did not spare the programs is wasted.
export function costOf({ costs, records, anHour, idle }, way) {
    const own = costs.filter((cost) => cost.way === way);
    if (own.length === 0) return undefined;
    const sum = (value) => own.reduce((total, cost) => total + value(cost), 0);
    const openings = sum((cost) => cost.openings);
    const read = sum((cost) => cost.counted.bytes_read) / openings;
    const used = spared(records, way);
    const hours = idle ? idle.seconds / 3600 : undefined;
    const hourly = (inUse, whileIdle) => (inUse / openings) * anHour + (hours ? whileIdle / hours : 0);
    return {
        hits: sum((cost) => cost.hits) / openings,
        read: read / MIB,
        wasted: used === undefined ? undefined : (read - used) / MIB,
        secondsAnHour: hourly(sum((cost) => cost.seconds), idle?.processorSeconds),
        wakeUpsAnHour: hourly(sum((cost) => cost.wakeUps), idle?.wakeUps),
        wakeUpsAnOpening: sum((cost) => cost.wakeUps) / openings,
        most: Math.max(...own.map((cost) => cost.memory.most)) / MIB,
        own: mean(own.map((cost) => cost.memory.own)) / MIB,
    };
}

function savingRows(result) {
    const rows = [['an opening', 'launch', 'saved, ms (95 %)', 'share of warm (95 %)']];
    for (const [way, { launch, saved, share }] of Object.entries(result.ways)) {
        rows.push([way, `${whole(launch)} ms`, saved && interval(saved, whole), share && interval(share, percent)]);
    }
    return rows;
}

function costRows(result) {
    const rows = [
        ['the daemon', 'hits', 'read', 'wasted', 'processor', 'wake-ups', 'at an opening', 'memory', 'own'],
        ['', '', 'MiB/opening', 'MiB/opening', 's/hour', 'an hour', '', 'most, MiB', 'MiB'],
    ];
    for (const way of result.ways) {
        const cost = costOf(result, way);
        if (cost === undefined) continue;
        rows.push([
            way,
            percent(cost.hits),
            cost.read.toFixed(1),
            cost.wasted?.toFixed(1),
            cost.secondsAnHour.toFixed(1),
            whole(cost.wakeUpsAnHour),
            whole(cost.wakeUpsAnOpening),
            cost.most.toFixed(1),
            cost.own.toFixed(1),
        ]);
    }
    return rows;
}

function programRows(records, ways) {
    const rows = [['median, ms (spread)', 'openings', ...ways]];
    for (const { program, ways: times } of byProgram(records)) {
        const cell = (way) =>
            times[way] && whole(times[way].median) + (times[way].spread === undefined ? '' : ` (${percent(times[way].spread)})`);
        rows.push([program, Object.values(times)[0].openings, ...ways.map(cell)]);
    }
    return rows;
}

// `result`: what launches.mjs writes as JSON.
export function table(result) {
    const { head, ways, records, costs, anHour, idle, foresight } = result;
    const found = savings(records, ways);
    const lines = [...head, '', ...columns(savingRows(found))];
    if (found.more) lines.push(`engine saves ${interval(found.more, whole)} ms more than most-used`);
    if (found.more && foresight?.length > 0) {
        const [{ openings }] = foresight;
        lines.push(`and ${interval(steadied(records, foresight), whole)} ms, if ${openings.length} openings a person say what is foreseen`);
    }
    if (costs.length > 0) {
        lines.push('', ...columns(costRows(result)));
        lines.push(`an hour: ${anHour.toFixed(0)} openings` + (idle ? `, and what is done while nothing changes` : ''));
    }
    if (idle) {
        const { seconds, wakeUps, processorSeconds } = idle;
        lines.push(
            `nothing changes for ${(seconds / 60).toFixed(1)} minutes: ${wakeUps} wake-ups, ` +
                `${processorSeconds.toFixed(2)} s of the processor`,
        );
    }
    lines.push('', ...columns(programRows(records, ways)));
    return lines.join('\n');
}
