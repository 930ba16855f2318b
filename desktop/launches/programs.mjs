// The programs that are opened; where everybody has the same favourites, in this order: a browser, what one
// writes, reads and tidies files with, then what is needed now and then. Their Debian packages are in cmake/setup.sh, under
// the purpose `launches`.

import { mkdirSync, writeFileSync } from 'node:fs';
import { dirname, join } from 'node:path';

const isRoot = process.getuid() === 0;

// Nothing of a first run, nothing to fetch, no question after a kill.
const FIREFOX = `
user_pref("browser.aboutwelcome.enabled", false);
user_pref("browser.sessionstore.resume_from_crash", false);
user_pref("browser.shell.checkDefaultBrowser", false);
user_pref("browser.startup.homepage", "about:blank");
user_pref("browser.startup.homepage_override.mstone", "ignore");
user_pref("browser.startup.page", 0);
user_pref("datareporting.policy.dataSubmissionEnabled", false);
user_pref("toolkit.startup.max_resumed_crashes", -1);
user_pref("trailhead.firstrun.didSeeAboutWelcome", true);
`;

const item = (path, name, value) =>
    `<item oor:path="/org.openoffice.${path}"><prop oor:name="${name}" oor:op="fuse"><value>${value}</value></prop></item>\n`;
const OFFICE = `<?xml version="1.0" encoding="UTF-8"?>
<oor:items xmlns:oor="http://openoffice.org/2001/registry">
${item('Office.Common/Misc', 'FirstRun', 'false')}${item('Office.Common/Misc', 'ShowTipOfTheDay', 'false')}\
${item('Office.Common/Misc', 'CrashReport', 'false')}${item('Setup/Product', 'ooSetupLastVersion', '99.0')}</oor:items>
`;

const office = (part) => ['libreoffice', `--${part}`, '--nologo', '--norestore'];

// `command`: what is run; a word ~/... lies below the HOME that the programs are given.
// `files`: what lies there before the first run, which lasts for `firstRun` milliseconds after the window.
export const PROGRAMS = [
    {
        name: 'firefox',
        command: ['firefox-esr', '--new-instance', '--profile', '~/firefox'],
        files: { 'firefox/user.js': FIREFOX },
        firstRun: 15_000, // keeps what makes its next starts quick only after a while
    },
    { name: 'mousepad', command: ['mousepad'] },
    { name: 'thunar', command: ['thunar'] },
    {
        name: 'writer',
        command: office('writer'),
        files: { '.config/libreoffice/4/user/registrymodifications.xcu': OFFICE },
    },
    { name: 'evince', command: ['evince'] },
    { name: 'xterm', command: ['xterm'] },
    { name: 'calc', command: office('calc') },
    { name: 'geany', command: ['geany'] },
    {
        name: 'chromium',
        command: [
            'chromium',
            '--no-first-run',
            '--disable-background-networking',
            '--disable-component-update',
            '--disable-sync',
            '--disable-gpu',
            ...(isRoot ? ['--no-sandbox'] : []),
            'about:blank',
        ],
    },
    { name: 'gnumeric', command: ['gnumeric'] },
    { name: 'galculator', command: ['galculator'] },
    { name: 'abiword', command: ['abiword'] },
    {
        name: 'inkscape', // welcomes who opens no drawing
        command: ['inkscape', '~/drawing.svg'],
        files: { 'drawing.svg': '<svg xmlns="http://www.w3.org/2000/svg" width="200" height="100"/>\n' },
    },
    { name: 'viewnior', command: ['viewnior'] },
    { name: 'gimp', command: ['gimp', '--no-splash'] },
];

export function layOutHome(home) {
    for (const { files = {} } of PROGRAMS) {
        for (const [name, content] of Object.entries(files)) {
            mkdirSync(dirname(join(home, name)), { recursive: true });
            writeFileSync(join(home, name), content);
        }
    }
}

// What the programs are run with. They have no session bus and no desktop's services, whose starts would
// come and go with the first program that asks for them, and a proxy that refuses everything.
export function environmentFor(home, runtime, display) {
    const proxy = 'http://127.0.0.1:9';
    return {
        PATH: process.env.PATH,
        LANG: 'C.UTF-8',
        TZ: 'UTC',
        HOME: home,
        DISPLAY: display,
        XDG_RUNTIME_DIR: runtime,
        DBUS_SESSION_BUS_ADDRESS: 'disabled:',
        GIO_USE_VFS: 'local',
        NO_AT_BRIDGE: '1',
        http_proxy: proxy,
        https_proxy: proxy,
    };
}

export const commandIn = (home, command) => command.map((word) => word.replace(/^~/, home));
