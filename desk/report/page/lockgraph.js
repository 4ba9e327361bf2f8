// Which thread waits for a lock of which: from the waiting threads on the left to the holders.

import {el, svg, visible} from './dom.js';

const kWide = 190, kTall = 40, kGapX = 120, kGapY = 16, kMargin = 12;
const kBend = 32;  // room above the nodes for edges that go back

/** Edges {from, to, lock} between indexes of @p threads; to is -1 if no thread holds the lock. */
export function lockEdges(threads) {
    const byTid = new Map(threads.map((thread, i) => [thread.tid, i]));
    const holders = new Map();
    threads.forEach(({locks}, i) => {
        for (const {relation, id} of locks) if (relation === 'holds' && id) holders.set(id, i);
    });
    return threads.flatMap(({locks}, from) => locks.filter(lock => lock.relation === 'waits to lock').map(lock => {
        const holder = lock.heldBy ? byTid.get(lock.heldBy) : holders.get(lock.id);
        return {from, to: holder === undefined || holder === from ? -1 : holder, lock};
    }));
}

/** The threads that wait for themselves over others. */
export function cycleOf(edges) {
    const next = new Map();
    for (const {from, to} of edges) next.set(from, [...next.get(from) ?? [], to]);
    const reaches = (start, goal) => {
        const open = [...next.get(start) ?? []], seen = new Set();
        while (open.length) {
            const thread = open.pop();
            if (thread === goal) return true;
            if (!seen.has(thread)) open.push(...next.get(thread) ?? []);
            seen.add(thread);
        }
        return false;
    };
    return new Set([...next.keys()].filter(thread => reaches(thread, thread)));
}

/** Places of the threads: a column left of the holder that a thread waits for, rows in its order,
 * those of a cycle first. */
function layout(edges, cycle) {
    const depths = new Map();
    const depth = thread => {
        if (depths.has(thread)) return depths.get(thread);
        depths.set(thread, 0);  // ends a cycle
        const value = Math.max(0, ...edges.filter(edge => edge.from === thread).map(edge => edge.to < 0 ? 1 : 1 + depth(edge.to)));
        depths.set(thread, value);
        return value;
    };
    const threads = [...new Set(edges.flatMap(({from, to}) => to < 0 ? [from] : [from, to]))];
    threads.forEach(depth);
    const deepest = Math.max(0, ...depths.values());
    const top = kMargin + (cycle.size ? kBend : 0);
    const places = new Map();
    for (let column = 0; column <= deepest; column++) {
        const row = thread => cycle.has(thread) ? -1 : places.get(edges.find(edge => edge.from === thread)?.to)?.y ?? Infinity;
        threads.filter(thread => depths.get(thread) === column).sort((a, b) => row(a) - row(b) || a - b).forEach((thread, i) =>
            places.set(thread, {x: kMargin + (deepest - column) * (kWide + kGapX), y: top + i * (kTall + kGapY)}));
    }
    return places;
}

const shorten = (text, most) => text.length > most ? `${text.slice(0, most - 1)}\u2026` : text;

function arrow(from, to, label, isCycle) {
    const back = to.x <= from.x;
    const start = back ? [from.x + kWide / 2, from.y] : [from.x + kWide, from.y + kTall / 2];
    const end = back ? [to.x + kWide / 2, to.y - 6] : [to.x - 6, to.y + kTall / 2];
    const bend = back ? kBend : kGapX / 2;
    const path = back
        ? `M${start} C${start[0]},${start[1] - bend} ${end[0]},${end[1] - bend} ${end}`
        : `M${start} C${start[0] + bend},${start[1]} ${end[0] - bend},${end[1]} ${end}`;
    const head = back ? `${end[0] - 4},${end[1]} ${end[0] + 4},${end[1]} ${end[0]},${end[1] + 6}`
        : `${end[0]},${end[1] - 4} ${end[0]},${end[1] + 4} ${end[0] + 6},${end[1]}`;
    const at = back ? [(start[0] + end[0]) / 2, Math.min(start[1], end[1]) - bend + 4] : [start[0] + 6, start[1] - 5];
    return svg('g', {class: isCycle ? 'edge cycle' : 'edge'}, svg('path', {d: path}), svg('polygon', {points: head}),
        svg('text', {x: at[0], y: at[1], 'text-anchor': back ? 'middle' : 'start'}, shorten(visible(label), 15)));
}

/** The graph of a dump's waits, or null if no thread waits for a lock. open(i) shows a thread. */
export function lockGraph(threads, open) {
    const edges = lockEdges(threads);
    if (!edges.length) return null;
    const cycle = cycleOf(edges);
    const places = layout(edges, cycle);
    const width = Math.max(...[...places.values()].map(({x}) => x)) + kWide + kMargin;
    const height = Math.max(...[...places.values()].map(({y}) => y)) + kTall + kMargin;
    const nodes = [...places].map(([i, {x, y}]) => {
        const {name, state, tid} = threads[i];
        const lost = edges.some(edge => edge.from === i && edge.to < 0);
        return svg('a', {href: '#', class: cycle.has(i) ? 'node cycle' : 'node', onclick: event => { event.preventDefault(); open(i); }},
            svg('title', {}, `${visible(name)}, ${visible(state)}`),
            svg('rect', {x, y, width: kWide, height: kTall, rx: 4}),
            svg('text', {x: x + 8, y: y + 16, class: 'name'}, shorten(visible(name), 26)),
            svg('text', {x: x + 8, y: y + 32}, shorten(`tid ${tid || '?'} \u00b7 ${visible(state)}${lost ? ' \u00b7 holder unknown' : ''}`, 32)));
    });
    const arrows = edges.filter(({to}) => to >= 0).map(({from, to, lock}) =>
        arrow(places.get(from), places.get(to), lock.className.split('.').pop() || lock.id, cycle.has(from) && cycle.has(to)));
    const heading = cycle.size ? `Deadlock: ${cycle.size} threads wait for one another` : 'Threads that wait for a lock';
    return el('figure', {class: 'graph'}, el('figcaption', {}, heading),
        el('div', {class: 'scroll'}, svg('svg', {width, height, viewBox: `0 0 ${width} ${height}`, role: 'group', 'aria-label': heading}, ...arrows, ...nodes)));
}
