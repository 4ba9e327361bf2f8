// All sources merged in time order: filters, search, and the whole text of the line that is chosen.

import {el, byId, visible, count, bytes} from './dom.js';
import {report, textOf, tagOf, lineOf, lowerBound, time, zone} from './data.js';
import {state, on, emit} from './state.js';
import {rowList} from './list.js';
import {matcher, makeSearch} from './search.js';
import {makeTimeline, sources} from './timeline.js';
import {marked, makeDetail, kRowBytes} from './detail.js';

const kLevels = '?VDIWEF';

export function showLogs() {
    const records = report.records;
    const lanes = sources();
    const timeline = makeTimeline(lanes);
    const filter = {test: null, level: 0, onlyHits: false};
    let rows = [], row = -1;

    const search = el('input', {type: 'search', id: 'search', placeholder: 'Search (/)', 'aria-label': 'Search the logs; /.../ is a regular expression', spellcheck: 'false'});
    const onlyHits = el('input', {type: 'checkbox', onchange: () => { filter.onlyHits = onlyHits.checked; refresh(); }});
    const level = el('select', {'aria-label': 'Lowest level', onchange: () => { filter.level = Number(level.value); refresh(); }},
        ...['All levels', 'Verbose', 'Debug', 'Info', 'Warnings', 'Errors', 'Fatal'].map((name, i) =>
            el('option', {value: i}, i > 1 && i < 6 ? `${name} and worse` : name)));
    const result = el('output', {class: 'dim', id: 'search-result'});
    const range = el('button', {type: 'button', class: 'chip', hidden: true, title: 'Show all times again (Esc)', onclick: () => { state.range = null; emit('range'); }});
    const detail = makeDetail();

    const list = rowList({label: 'Log lines', choose: i => choose(rows[i], i), render});
    function render(i) {
        const record = rows[i], letter = kLevels[records.level[record]] ?? '?';
        const head = records.messageAt[record];
        const message = visible(textOf(record, head, kRowBytes).replaceAll('\n', ' \u23ce '));
        const more = records.length[record] - head > kRowBytes ? ` \u2026 ${bytes(records.length[record])}` : '';
        return el('div', {class: `row log ${letter === '?' ? 'none' : letter}`},
            el('span', {class: 'time'}, time(records.times[record])),
            el('span', {class: 'source'}, report.kinds[records.source[record]] ?? ''),
            el('span', {class: 'pid'}, records.pid[record] ? `${records.pid[record]}-${records.tid[record]}` : ''),
            el('span', {class: 'level'}, letter === '?' ? '' : letter),
            el('span', {class: 'tag'}, ...marked(visible(tagOf(record)), filter.test)),
            el('span', {class: 'message'}, ...marked(message, filter.test), more));
    }
    function choose(record, i) {
        row = i;
        state.selected = record;
        history.replaceState(null, '', `#timeline/${record}`);
        showDetail(record);
        emit('selected');
    }
    function showDetail(record) {
        detail.show(records.file[record], lineOf(record), records.length[record],
            most => textOf(record, 0, most), filter.test,
            `${time(records.times[record], true)} ${records.times[record] ? zone() : ''}`);
    }

    const run = makeSearch(({rows: found, hits, finished}) => {
        const previous = state.selected;
        rows = found;
        list.resize(rows.length);
        state.hits = hits;
        row = lowerBound(rows, previous);
        if (rows[row] === previous) list.go(row, true);
        const lines = `${count(rows.length)} lines`;
        result.value = (filter.test ? `${count(hits.length)} found \u00b7 ${lines}` : lines) + (finished ? '' : ' \u2026');
        result.toggleAttribute('data-finished', finished);
        emit('hits');
    });
    function refresh() {
        result.removeAttribute('data-finished');
        try {
            filter.test = matcher(search.value);
            search.setCustomValidity('');
            run(filter);
        } catch (error) {
            search.setCustomValidity(error.message);
            search.reportValidity();
        }
    }
    let typing = 0;
    search.addEventListener('input', () => {
        clearTimeout(typing);
        run(null);
        result.removeAttribute('data-finished');
        typing = setTimeout(refresh, 120);
    });
    search.addEventListener('keydown', event => {
        if (event.key === 'Enter') step(event.shiftKey ? -1 : 1);
        else if (event.key === 'Escape') list.box.focus();
        else return;
        event.preventDefault();
    });
    /** Goes to the next match (1) or the one before (-1), around the ends. */
    function step(direction) {
        const {hits} = state;
        if (!hits.length) return;
        const after = lowerBound(hits, state.selected + (direction > 0 ? 1 : 0));
        goTo(hits[(direction > 0 ? after : after - 1 + hits.length) % hits.length]);
        result.value = `${count(lowerBound(hits, state.selected) + 1)} of ${count(hits.length)}`;
    }
    /** Chooses a record; filters that hide it are taken off. */
    function goTo(record) {
        if (!(record >= 0 && record < records.n)) return;
        let i = lowerBound(rows, record);
        if (rows[i] !== record) {
            state.selected = record;
            clearFilters();
            showDetail(record);
            return;
        }
        list.go(i, true);
        choose(record, i);
    }
    function clearFilters() {
        filter.level = level.value = 0;
        filter.onlyHits = onlyHits.checked = false;
        state.range = null;
        state.hidden.clear();
        for (const box of boxes) box.checked = true;
        emit('range');
    }
    const boxes = lanes.map(([kind]) => el('input', {type: 'checkbox', checked: true, onchange: event => {
        if (event.target.checked) state.hidden.delete(kind);
        else state.hidden.add(kind);
        emit('sources');
    }}));
    const names = lanes.map(([kind, lines], i) => el('label', {title: 'Show the lines of this source'}, boxes[i],
        el('span', {}, report.kinds[kind]), el('span', {class: 'dim'}, count(lines))));

    on('range', () => {
        range.hidden = !state.range;
        if (state.range) range.textContent = `${time(state.range[0])} to ${time(state.range[1])} \u2715`;
        refresh();
    });
    on('sources', refresh);
    on('clock', list.redraw);
    on('goto', () => goTo(state.selected));
    byId('view-timeline').replaceChildren(
        timeline.bar,
        el('div', {class: 'timeline'}, el('div', {class: 'names', role: 'group', 'aria-label': 'Sources'}, ...names), timeline.canvas),
        el('div', {class: 'bar', role: 'search'}, search, el('label', {}, onlyHits, 'only matches'), level, range, result),
        el('div', {class: 'row head', 'aria-hidden': 'true'}, ...['time', 'source', 'pid-tid', '', 'tag', 'message'].map(name => el('span', {}, name))),
        list.box, detail.box);
    state.selected = Math.min(lowerBound(records.times, timeline.event()), records.n - 1);
    refresh();
    return {search, step, goTo, open: () => list.go(lowerBound(rows, state.selected), true),
        focus: () => list.box.focus(), keys: timeline.actions};
}
