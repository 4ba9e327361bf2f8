// The threads of a process at one moment: states, stacks, locks.

import {el, byId, visible, count} from './dom.js';
import {report, time, zone, place} from './data.js';
import {rowList} from './list.js';
import {matcher} from './search.js';
import {lockGraph, lockEdges} from './lockgraph.js';
import {citationLink} from './cause.js';

const isMain = thread => thread.tid === 1 || thread.name === 'main';
const waits = thread => thread.locks.some(lock => lock.relation === 'waits to lock');
const isBusy = thread => /^(blocked|monitor|runnable|suspended)$/i.test(thread.state);

/** Indexes of a dump's threads: main, those that wait for locks, busy ones, the rest. */
function ordered(threads) {
    const rank = thread => isMain(thread) ? 0 : waits(thread) ? 1 : isBusy(thread) ? 2 : 3;
    return threads.map((_, i) => i).sort((a, b) => rank(threads[a]) - rank(threads[b]) || a - b);
}

/** Frames and locks of a thread in the order of their lines. */
function stack(dump, thread, openTid) {
    const frame = ({text, line, native}) => ({line, kind: native ? 'native' : 'java', content: [visible(text)]});
    const lock = ({relation, id, className, heldBy, line}) => ({line, kind: relation === 'holds' ? 'lock' : 'lock waits', content: [
        `${relation} ${visible(className)} ${visible(id)}`,
        heldBy ? el('button', {type: 'button', class: 'link', onclick: () => openTid(heldBy)}, `held by thread ${heldBy}`) : '']});
    const items = [...thread.frames.map(frame), ...thread.locks.map(lock)].sort((a, b) => a.line - b.line);
    return el('ol', {class: 'stack'}, ...items.map(({line, kind, content}) => el('li', {class: kind},
        el('a', {class: 'number', href: place(dump.file, line)}, String(line)), el('span', {}, ...content))));
}

function heading(thread) {
    const ids = [thread.tid && `tid ${thread.tid}`, thread.sysTid && `sysTid ${thread.sysTid}`,
        /^0?$/.test(thread.channel) ? '' : `waits in ${visible(thread.channel)}`].filter(Boolean).join(' \u00b7 ');
    return [el('h3', {}, visible(thread.name)), thread.state ? el('span', {class: waits(thread) ? 'badge bad' : 'badge'}, visible(thread.state)) : '',
        el('span', {class: 'dim'}, ids)];
}

function name(dump) {
    return [visible(dump.process) || 'unknown process', dump.pid && `pid ${dump.pid}`, dump.time && `${time(dump.time)} ${zone()}`,
        `${count(dump.threads.length)} threads`, dump.isComplete ? '' : 'cut off'].filter(Boolean).join(' \u00b7 ');
}

export function showThreads() {
    const dumps = report.dumps;
    if (!dumps.length) {
        byId('view-threads').replaceChildren(el('p', {class: 'empty dim'}, 'The archive has no thread dump.'));
        return {open() {}, focus() {}};
    }
    let dump = null, shown = [], thread = -1, test = null;
    const select = el('select', {'aria-label': 'Thread dump', onchange: () => open(Number(select.value))},
        ...dumps.map((each, i) => el('option', {value: i}, name(each))));
    const search = el('input', {type: 'search', placeholder: 'Filter names and stacks (/)', 'aria-label': 'Filter threads by name, state or frame', oninput: () => {
        try {
            test = matcher(search.value);
            fill();
        } catch { /* the expression is not complete yet */ }
    }});
    const about = el('div', {class: 'about'});
    const graph = el('div', {});
    const body = el('div', {class: 'thread'});
    const list = rowList({label: 'Threads', choose: i => choose(shown[i]), render: i => {
        const each = dump.threads[shown[i]];
        return el('div', {class: `row thread${waits(each) ? ' waits' : ''}`, title: visible(each.name)},
            el('span', {class: 'name'}, visible(each.name)), el('span', {class: 'state'}, visible(each.state)),
            el('span', {class: 'dim'}, String(each.tid || each.sysTid || '')));
    }});
    function fill() {
        const has = each => !test || [each.name, each.state, ...each.frames.map(frame => frame.text)].some(text => test.test(text));
        shown = ordered(dump.threads).filter(i => has(dump.threads[i]));
        list.resize(shown.length);
        const row = shown.indexOf(thread);
        if (row >= 0) list.go(row);
    }
    function choose(i) {
        thread = i;
        history.replaceState(null, '', `#threads/${dumps.indexOf(dump)}/${i}`);
        body.replaceChildren(el('div', {class: 'bar'}, ...heading(dump.threads[i])), stack(dump, dump.threads[i], openTid));
    }
    function openTid(tid) {
        const i = dump.threads.findIndex(each => each.tid === tid);
        if (i >= 0) openThread(i);
    }
    function openThread(i) {
        if (!shown.includes(i)) {
            search.value = '';
            test = null;
            fill();
        }
        list.go(shown.indexOf(i), true);
        choose(i);
    }
    function open(index = 0, i = undefined) {
        const next = dumps[index] ?? dumps[0];
        if (next !== dump) {
            dump = next;
            thread = -1;
            select.value = dumps.indexOf(dump);
            about.replaceChildren(citationLink(dump.file, dump.line), dump.subject ? el('p', {}, visible(dump.subject)) : '');
            graph.replaceChildren(lockGraph(dump.threads, openThread) ?? '');
            fill();
        }
        if (dump.threads.length) openThread(dump.threads[i] ? i : thread >= 0 ? thread : shown[0] ?? 0);
    }
    byId('view-threads').replaceChildren(
        el('div', {class: 'side'}, select, search, list.box),
        el('div', {class: 'content scroll'}, about, graph, body), el('div', {class: 'printed'}));
    addEventListener('beforeprint', () => printThreads(dumps[0]));
    return {search, open, focus: () => list.box.focus()};
}

/** On paper: the main thread and all that wait for a lock or are waited for. */
function printThreads(dump) {
    const involved = new Set(lockEdges(dump.threads).flatMap(({from, to}) => [from, to]));
    const chosen = ordered(dump.threads).filter(i => involved.has(i) || isMain(dump.threads[i]));
    const rest = dump.threads.length - chosen.length;
    document.querySelector('.printed').replaceChildren(el('h2', {}, `Threads: ${name(dump)}`),
        ...chosen.flatMap(i => [el('div', {class: 'bar'}, ...heading(dump.threads[i])), stack(dump, dump.threads[i], () => {})]),
        rest ? el('p', {class: 'dim'}, `${count(rest)} more threads are in the file.`) : '');
}
