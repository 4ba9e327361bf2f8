// The files of the archive and the text of each.

import {el, byId, visible, bytes} from './dom.js';
import {report, slice, lineStarts, lowerBound} from './data.js';
import {rowList} from './list.js';
import {matcher} from './search.js';
import {marked, makeDetail, kRowBytes} from './detail.js';

export function showFiles() {
    let shown = report.files.map((_, i) => i);
    let file = -1, line = 0, test = null;

    const filter = el('input', {type: 'search', placeholder: 'Filter files', 'aria-label': 'Filter files by name', oninput: () => {
        shown = report.files.flatMap((each, i) => each.name.toLowerCase().includes(filter.value.toLowerCase()) ? [i] : []);
        names.resize(shown.length);
    }});
    const names = rowList({label: 'Files', choose: i => open(shown[i], 0), render: i => {
        const {name, short, size, kind, round} = report.files[shown[i]];
        return el('div', {class: `row file${shown[i] === file ? ' open' : ''}`, title: `${visible(name)}, ${report.kinds[kind]}${round ? `, round ${round}` : ''}`},
            el('span', {class: 'name'}, visible(short)), el('span', {class: 'dim'}, bytes(size)));
    }});

    const title = el('h2', {});
    const note = el('span', {class: 'dim'});
    const search = el('input', {type: 'search', placeholder: 'Find in the file (/)', 'aria-label': 'Find in the file; /.../ is a regular expression', spellcheck: 'false'});
    const inTimeline = el('a', {hidden: true}, 'Show in the timeline');
    const detail = makeDetail();
    const lines = rowList({label: 'Lines', choose: i => choose(i + 1), render: i => {
        const end = lineStarts(file)[i] + Math.min(kRowBytes, lineLength(i + 1));
        return el('div', {class: 'row line'}, el('span', {class: 'number'}, String(i + 1)),
            el('span', {class: 'text'}, ...marked(visible(slice(file, lineStarts(file)[i], end)), test)));
    }});

    function lineLength(number) {
        const starts = lineStarts(file);
        return (number < starts.length ? starts[number] - 1 : report.texts[file].length) - starts[number - 1];
    }
    function lineText(number, most = Infinity) {
        const begin = lineStarts(file)[number - 1];
        return slice(file, begin, begin + Math.min(most, lineLength(number))).replace(/[\r\n]+$/, '');
    }
    function recordAt(number) {
        const {records} = report;
        const begin = lineStarts(file)[number - 1], end = begin + lineLength(number);
        return records.file?.findIndex((each, i) => each === file && records.begin[i] <= end && records.begin[i] + records.length[i] >= begin) ?? -1;
    }
    function choose(number) {
        line = number;
        history.replaceState(null, '', `#files/${file}/${line}`);
        const record = recordAt(number);
        inTimeline.hidden = record < 0;
        inTimeline.setAttribute('href', `#timeline/${record}`);
        detail.show(file, number, lineLength(number), most => lineText(number, most), test, '');
    }
    function open(index, number) {
        const {name, short, size, read, kind} = report.files[index] ?? {};
        if (name === undefined) return;
        if (file !== index) {
            file = index;
            line = 0;
            detail.clear();
            inTimeline.hidden = true;
            title.textContent = visible(short);
            title.title = visible(name);
            note.textContent = read < size ? `first ${bytes(read)} of ${bytes(size)}` : bytes(size);
            if (!read && size) note.textContent = report.kinds[kind] === 'system-trace'
                ? `${bytes(size)}, not text: open it in Perfetto` : `${bytes(size)}, not shown: not text, or not read`;
            lines.resize(read ? lineStarts(file).length : 0);
            names.redraw();
        }
        history.replaceState(null, '', `#files/${file}/${number}`);
        if (number > 0 && number <= lineStarts(file).length) {
            lines.go(number - 1, true);
            choose(number);
        }
    }
    function step(direction) {
        if (file < 0 || !test) return;
        const total = lineStarts(file).length;
        for (let i = 1; i <= total; i++) {
            const number = (line - 1 + direction * i + 2 * total) % total + 1;
            if (!test.test(lineText(number))) continue;
            lines.go(number - 1, true);
            choose(number);
            note.textContent = '';
            return;
        }
        note.textContent = 'not found';
    }
    search.addEventListener('input', () => {
        try {
            test = matcher(search.value);
            search.setCustomValidity('');
        } catch (error) {
            search.setCustomValidity(error.message);
        }
        lines.redraw();
    });
    search.addEventListener('keydown', event => {
        if (event.key === 'Enter') step(event.shiftKey ? -1 : 1);
        else if (event.key === 'Escape') lines.box.focus();
        else return;
        event.preventDefault();
    });
    byId('view-files').replaceChildren(
        el('div', {class: 'side'}, filter, names.box),
        el('div', {class: 'content'}, el('div', {class: 'bar'}, title, note, el('span', {class: 'grow'}), inTimeline, search), lines.box, detail.box));
    names.resize(shown.length);
    return {search, step, focus: () => (file < 0 ? names : lines).box.focus(),
        open: (index, number) => open(index ?? (file < 0 ? 0 : file), number ?? line)};
}
