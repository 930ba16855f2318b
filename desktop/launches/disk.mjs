// The disk and what of it is in memory: says what is there, forgets it, and slows the disk down.

import { execFileSync } from 'node:child_process';
import { existsSync, mkdirSync, readFileSync, rmdirSync, statSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';

const DROP = '/proc/sys/vm/drop_caches';
const GROUPS = '/sys/fs/cgroup/blkio';
const isRoot = process.getuid() === 0;

const linesOf = (path) => readFileSync(path, 'utf8').trim().split('\n');

// Forgets what of files is in memory, but for what a running program has mapped. Only root can do so for all
// files; others name theirs.
export class PageCache {
    #files = new Set();

    get how() {
        return isRoot ? 'all of the page cache' : `${this.#files.size} files that the programs map, and their HOME`;
    }

    // The files that the processes have mapped are among those that are forgotten and read.
    noteMapped(processes) {
        for (const pid of processes) {
            try {
                for (const line of linesOf(`/proc/${pid}/maps`)) {
                    const path = / (\/.*)$/.exec(line)?.[1];
                    if (path && !path.startsWith('/dev/') && existsSync(path)) this.#files.add(path);
                }
            } catch {
                // it has ended
            }
        }
    }

    // Reads all of the files that were noted, in long reads: the kernel keeps and maps them in larger pieces
    // than those that came page by page, so that nothing is faster.
    fill() {
        for (const file of this.#files) execFileSync('cat', [file], { stdio: 'ignore' });
    }

    drop(home) {
        if (isRoot) return writeFileSync(DROP, '1');
        execFileSync('vmtouch', ['-q', '-e', ...this.#files, ...(home ? [home] : [])], { stdio: 'ignore' });
    }
}

// The disk below a folder, as major:minor of the whole and its queue's settings.
export function diskOf(folder) {
    const { dev } = statSync(folder);
    const number = `${(dev >> 8) & 0xfff}:${(dev & 0xff) | ((dev >> 12) & 0xfff00)}`;
    let system = `/sys/dev/block/${number}`;
    if (existsSync(join(system, 'partition'))) system = join(system, '..');
    if (!existsSync(join(system, 'queue'))) return { number, name: 'unknown' };
    const setting = (name) => linesOf(join(system, name))[0];
    return {
        number: setting('dev'),
        name: /^DEVNAME=(.*)$/m.exec(readFileSync(join(system, 'uevent'), 'utf8'))[1],
        readAhead: `${setting('queue/read_ahead_kb')} KiB`,
        scheduler: /\[(.*)\]/.exec(setting('queue/scheduler'))?.[1] ?? setting('queue/scheduler'),
    };
}

// MB/s of a long file that is not in memory.
export function readingSpeed(file, cache) {
    cache.drop();
    const begin = performance.now();
    execFileSync('dd', [`if=${file}`, 'of=/dev/null', 'bs=1M', 'status=none']);
    return statSync(file).size / 1000 / (performance.now() - begin);
}

// "MBPS:IOPS", either of which may be left out, as bytes and as reads a second.
export function parseLimit(text) {
    const match = /^(\d*)(?::(\d+))?$/.exec(text);
    if (match === null || (!match[1] && !match[2])) throw new Error(`DISK=${text} is not MBPS:IOPS`);
    return { bytes: match[1] ? Number(match[1]) * 1e6 : undefined, reads: match[2] ? Number(match[2]) : undefined };
}

// Slows the disk down for this process and all that it starts from now on. By control groups of the first
// version, where they hold a group's reads to a rate. Lifted by what is returned, when the others have ended.
export function limitDisk(text, disk) {
    const { bytes, reads } = parseLimit(text);
    const group = join(GROUPS, `launches-${process.pid}`);
    try {
        mkdirSync(group);
        if (bytes) writeFileSync(join(group, 'blkio.throttle.read_bps_device'), `${disk.number} ${bytes}`);
        if (reads) writeFileSync(join(group, 'blkio.throttle.read_iops_device'), `${disk.number} ${reads}`);
        writeFileSync(join(group, 'cgroup.procs'), String(process.pid));
    } catch (error) {
        throw new Error(`DISK: the disk cannot be limited here: ${error.message}`);
    }
    return () => {
        if (!existsSync(group)) return;
        writeFileSync(join(GROUPS, 'cgroup.procs'), String(process.pid));
        for (let tries = 0; existsSync(group); ++tries) {
            try {
                rmdirSync(group);
            } catch (error) {
                if (tries === 10) return console.error(`${group} stays: ${error.message}`);
                Atomics.wait(new Int32Array(new SharedArrayBuffer(4)), 0, 0, 100); // until what ran in it has ended
            }
        }
    };
}
