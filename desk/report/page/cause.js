// The verdict with its evidence, what is missing, and what the archive says about the incident.

import {el, byId, visible, bytes} from './dom.js';
import {report, place, time, zone} from './data.js';
import {on} from './state.js';

const kWeights = {cause: 'Cause', contributing: 'Contributes', observation: 'Observed'};

export function citationLink(file, line) {
    const {name = '', short = ''} = report.files[file] ?? {};
    return el('a', {href: place(file, line), title: visible(name)}, visible(line ? `${short}:${line}` : short));
}

function citation({file, line, text}) {
    return el('li', {}, citationLink(file, line), el('code', {}, visible(text.slice(0, 2000))));
}

function finding({kind, weight, sentence, citations}) {
    const shown = 5;
    const rest = citations.slice(shown);
    return el('article', {class: `finding ${weight}`},
        el('div', {class: 'line'}, el('span', {class: 'badge'}, kWeights[weight]), el('h3', {}, visible(sentence)),
            el('span', {class: 'dim'}, kind)),
        el('ul', {}, ...citations.slice(0, shown).map(citation)),
        rest.length ? el('details', {}, el('summary', {}, `${rest.length} more lines`), el('ul', {}, ...rest.map(citation))) : '');
}

function facts() {
    const {event, eventId, process, version, type, build, pid, uid, mask, time: at} = report.incident;
    const hex = value => `0x${value.toString(16).padStart(3, '0')}`;
    const size = report.files.reduce((sum, file) => sum + file.size, 0);
    return Object.entries({
        Event: [event, eventId && hex(eventId)].filter(Boolean).join(' '),
        Time: at && `${time(at, true)} ${zone()}`,
        Process: process,
        Version: version,
        Type: type,
        'pid / uid': pid || uid ? `${pid} / ${uid}` : '',
        Build: build,
        'Log mask': mask && hex(mask),
        Archive: `${report.files.length} files, ${bytes(size)}`,
    }).filter(([, value]) => value);
}

function section(title, ...content) {
    return el('section', {class: 'panel'}, el('h2', {}, title), ...content);
}

function sentences(items) {
    return el('ul', {class: 'sentences'}, ...items.map(item => el('li', {}, ...item)));
}

export function showCause() {
    const {verdict} = report;
    const problems = report.problems.filter(each => !each.isNote);
    const notes = report.problems.filter(each => each.isNote);
    const name = file => report.files.findIndex(each => each.name === file);
    const problem = ({file, sentence}) => {
        const index = name(file);
        return [index >= 0 ? citationLink(index, 0) : visible(file), file ? ' ' : '', visible(sentence)];
    };
    const draw = () => byId('view-cause').replaceChildren(
        el('div', {class: 'wide'},
            section('Findings', ...verdict.findings.map(finding),
                verdict.findings.length ? '' : el('p', {class: 'dim'}, 'There is nothing in the archive that points to a cause.')),
            verdict.missing.length || problems.length ? section('Missing or unread evidence',
                sentences([...verdict.missing.map(text => [visible(text)]), ...problems.map(problem)])) : '',
            notes.length ? section('Notes', sentences(notes.map(problem))) : ''),
        el('aside', {},
            section('Incident', el('dl', {}, ...facts().flatMap(([key, value]) => [el('dt', {}, key), el('dd', {}, visible(String(value)))]))),
            verdict.fingerprint ? section('Fingerprint', el('p', {}, el('code', {class: 'fingerprint'}, verdict.fingerprint)),
                el('p', {class: 'dim'}, 'Archives with the same fingerprint have the same cause as far as these parts tell:'),
                el('ol', {class: 'signature'}, ...verdict.signature.map(part => el('li', {}, el('code', {}, visible(part)))))) : ''));
    on('clock', draw);
    draw();
}
