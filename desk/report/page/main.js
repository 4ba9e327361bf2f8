// Starts the page: the verdict at once, the rest when the texts are unpacked.

import {byId, el, visible} from './dom.js';
import {report, loadSummary, loadRecords, zone} from './data.js';
import {state, emit} from './state.js';
import {showCause} from './cause.js';
import {showLogs} from './logs.js';
import {showUsage} from './usage.js';
import {showThreads} from './threads.js';
import {showFiles} from './files.js';
import {listenToKeys} from './keys.js';

const kTabs = {cause: 'Cause', timeline: 'Timeline and logs', usage: 'CPU and memory', threads: 'Threads', files: 'Files'};
const views = {};

/** Shows what the address names: "#files/3/120" is line 120 of file 3. */
function route() {
    const [wanted, ...numbers] = location.hash.slice(1).split('/');
    const name = wanted in kTabs ? wanted : 'cause';
    for (const each of Object.keys(kTabs)) byId(`view-${each}`).hidden = each !== name;
    for (const tab of byId('tabs').children) {
        if (tab.hash === `#${name}`) tab.setAttribute('aria-current', 'page');
        else tab.removeAttribute('aria-current');
    }
    const [first, second] = numbers.filter(Boolean).map(Number);
    const view = views[name];
    if (name === 'timeline' && first !== undefined) view?.goTo(first);
    else view?.open?.(first, second);
    return view;
}

function showHead() {
    const {verdict, incident} = report;
    document.title = `${incident.process || incident.event || incident.archive}: ${verdict.kind}`;
    byId('archive').textContent = visible(incident.archive);
    byId('kind').textContent = verdict.kind;
    byId('kind').classList.toggle('bad', verdict.isEnough);
    byId('headline').textContent = visible(verdict.headline);
    byId('tabs').replaceChildren(...Object.entries(kTabs).map(([name, title], i) =>
        el('a', {href: `#${name}`, title: `${title} (${i + 1})`}, title)));
}

function listenToSwitches() {
    const clock = byId('clock'), theme = byId('theme'), root = document.documentElement;
    const dark = matchMedia('(prefers-color-scheme: dark)');
    const isDark = () => (root.dataset.theme ?? (dark.matches ? 'dark' : 'light')) === 'dark';
    const label = () => {
        clock.textContent = `Times: ${zone()}`;
        theme.textContent = isDark() ? 'Theme: dark' : 'Theme: light';
    };
    clock.hidden = !report.incident.hasOffset;
    clock.addEventListener('click', () => { state.utc = !state.utc; label(); emit('clock'); });
    theme.addEventListener('click', () => { root.dataset.theme = isDark() ? 'light' : 'dark'; label(); emit('theme'); });
    dark.addEventListener('change', () => { label(); emit('theme'); });
    label();
}

async function start() {
    const status = byId('status');
    await loadSummary();
    showHead();
    listenToSwitches();
    showCause();
    views.usage = showUsage();
    views.threads = showThreads();
    listenToKeys(Object.keys(kTabs), () => views[location.hash.slice(1).split('/')[0]]);
    addEventListener('hashchange', route);
    route();
    await loadRecords(share => status.textContent = `Unpacking the logs: ${Math.round(share * 100)} %`);
    views.files = showFiles();
    views.timeline = showLogs();
    status.textContent = '';
    document.body.dataset.ready = '';
    route();
}

start().catch(error => {
    byId('status').textContent = `The page could not show the archive: ${error.message}`;
    throw error;
});
