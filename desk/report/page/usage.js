// CPU by process and memory over time.

import {el, byId, color, visible, count} from './dom.js';
import {report, time} from './data.js';
import {state, on} from './state.js';
import {citationLink} from './cause.js';

const kMostLines = 8;
const kSeconds = [1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 1800, 3600, 21600, 86400];  // between ticks
// What tells most about a shortage; the largest figures, such as an address space, tell little.
const kTelling = ['MemAvailable', 'MemFree', 'SwapFree', 'Cached', 'AnonPages', 'Slab', 'SUnreclaim', 'KernelStack'];
const kUnits = [
    {unit: 'percent', title: 'CPU by process', label: value => `${value.toFixed(value && value < 10 ? 1 : 0)} %`},
    {unit: 'kB', title: 'Memory', label: value => value >= 1e6 ? `${(value / 1e6).toFixed(2)} GB` : `${count(Math.round(value / 1e3))} MB`},
];

const peak = ({points}) => points.reduce((a, b) => a.value >= b.value ? a : b);

function chart(box, series, label, sync) {
    const shift = state.utc ? 0 : report.incident.offset;
    const seconds = ms => ms / 1000 + shift;
    const data = uPlot.join(series.map(({points}) => {
        const sorted = [...points].sort((a, b) => a.time - b.time);
        return [sorted.map(point => seconds(point.time)), sorted.map(point => point.value)];
    }));
    const times = [...data[0], ...report.marks.map(mark => seconds(mark.from))];
    const from = Math.min(...times), to = Math.max(...times), margin = Math.max(1, (to - from) * 0.03);
    const axis = {stroke: color('dim'), grid: {stroke: color('grid'), width: 1}, ticks: {show: false}, font: '11px system-ui, sans-serif'};
    const drawMarks = u => {
        for (const mark of report.marks) {
            const x = u.valToPos(seconds(mark.from), 'x', true);
            u.ctx.fillStyle = color(mark.to > mark.from ? 'window' : 'mark');
            u.ctx.fillRect(x, u.bbox.top, Math.max(2, u.valToPos(seconds(mark.to), 'x', true) - x), u.bbox.height);
        }
    };
    return new uPlot({
        width: Math.max(300, box.clientWidth - 2), height: 240,
        tzDate: at => uPlot.tzDate(new Date(at * 1000), 'Etc/UTC'),
        scales: {x: {range: (u, low, high) => u.data[0].length && low === u.data[0][0] ? [from - margin, to + margin] : [low, high]}, y: {range: (u, low, high) => [0, Math.max(high * 1.1, 1)]}},
        cursor: {sync: {key: sync.key}, focus: {prox: 24}},
        axes: [{...axis, values: '{HH}:{mm}:{ss}', space: 80, size: 28, incrs: kSeconds}, {...axis, size: 64, values: (u, values) => values.map(label)}],
        series: [{label: 'Time', value: (u, at) => at == null ? '' : time((at - shift) * 1000)}, ...series.map(({name}, i) => ({
            label: visible(name), stroke: color(`c${i}`), width: 2, spanGaps: true,
            points: {show: true, size: 6}, value: (u, value) => value == null ? '' : label(value)}))],
        hooks: {drawClear: [drawMarks]},
    }, data, box);
}

function table(series, label) {
    return el('table', {}, el('thead', {}, el('tr', {}, ...['', 'highest', 'last', 'where the highest is'].map(text => el('th', {}, text)))),
        el('tbody', {}, ...series.map(each => {
            const top = peak(each), last = each.points[each.points.length - 1];
            return el('tr', {}, el('td', {}, visible(each.name)), el('td', {class: 'value'}, label(top.value)),
                el('td', {class: 'value'}, label(last.value)), el('td', {}, citationLink(top.file, top.line)));
        })));
}

export function showUsage() {
    const panels = kUnits.map(({unit, title, label}) => {
        const rank = ({name}) => (kTelling.indexOf(name) + 1) || Infinity;
        const series = report.usage.filter(each => each.unit === unit && each.points.length)
            .sort((a, b) => rank(a) < rank(b) ? -1 : rank(a) > rank(b) ? 1 : peak(b).value - peak(a).value);
        const box = el('div', {class: 'chart'});
        // One moment makes no line: the table says more.
        const isChart = new Set(series.flatMap(({points}) => points.map(point => point.time))).size > 1;
        const shown = isChart ? series.slice(0, kMostLines) : [];
        const note = shown.length && shown.length < series.length ? `${shown.length} of ${count(series.length)}; the table has all` : '';
        const panel = el('section', {class: 'panel'}, el('h2', {}, title, ' ', el('span', {class: 'dim'}, note)),
            ...series.length ? [box, el('details', {open: !isChart}, el('summary', {}, 'Table'), table(series, label))]
                : [el('p', {class: 'dim'}, 'The archive has no figures.')]);
        return {panel, box, shown, label, plot: null};
    });
    byId('view-usage').replaceChildren(...panels.map(({panel}) => panel));
    const sync = uPlot.sync('time');
    function draw() {
        if (byId('view-usage').hidden) return;
        for (const each of panels) {
            each.plot?.destroy();
            each.plot = each.shown.length ? chart(each.box, each.shown, each.label, sync) : null;
        }
    }
    on('theme clock', draw);
    addEventListener('resize', draw);
    return {open: draw, focus() {}};
}
