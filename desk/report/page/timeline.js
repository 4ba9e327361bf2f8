// One lane for each source: how many lines at each time, and how bad the worst is.

import {el, color} from './dom.js';
import {report, time, lowerBound} from './data.js';
import {state, on, emit} from './state.js';
import {dragAndZoom} from './gestures.js';

const kLane = 15;
const kAxis = 48;
const kLabelRows = [11, 24];  // of marks, above the axis
const kSteps = [1, 2, 5, 10, 20, 50, 100, 200, 500, 1e3, 2e3, 5e3, 1e4, 3e4, 6e4, 12e4, 3e5, 6e5, 18e5, 36e5, 108e5, 216e5, 864e5];

/** Sources that have records and their counts: the logs first, what has no kind last. */
export function sources() {
    const counts = new Map();
    for (const source of report.records.source) counts.set(source, (counts.get(source) ?? 0) + 1);
    return [...counts].sort(([left], [right]) => (left || Infinity) - (right || Infinity));
}

export function makeTimeline(lanes) {
    const canvas = el('canvas', {tabindex: 0, role: 'img', class: 'lanes'});
    const readout = el('output', {class: 'readout'});
    const {times, source, level, n} = report.records;
    const timed = lowerBound(times, 1);  // records without a time come first
    const whole = widened(times[timed] ?? 0, times[n - 1] ?? 1);
    const view = {from: whole[0], to: whole[1]};
    let width = 0, hover = null, brush = null;

    function widened(from, to) {
        const margin = Math.max(1, (to - from) * 0.02);
        return [from - margin, to + margin];
    }
    const toX = ms => (ms - view.from) / (view.to - view.from) * width;
    const toTime = x => view.from + x / width * (view.to - view.from);

    function show(from, to) {
        const span = Math.min(Math.max(to - from, 2), (whole[1] - whole[0]) * 1.5);
        const middle = Math.min(Math.max((from + to) / 2, whole[0]), whole[1]);
        [view.from, view.to] = [middle - span / 2, middle + span / 2];
        draw();
    }
    const zoom = (factor, at = (view.from + view.to) / 2) =>
        show(at - (at - view.from) * factor, at + (view.to - at) * factor);
    const pan = share => show(view.from + share * (view.to - view.from), view.to + share * (view.to - view.from));

    /** At first: what is within minutes of the event. A log's oldest lines can be days old. */
    function showNearEvent() {
        const near = 6e5;
        const first = lowerBound(times, event() - near), end = lowerBound(times, event() + near);
        if (!report.incident.time || first === end) return draw();
        const marks = report.marks.flatMap(({from, to}) => [from, to]).filter(at => Math.abs(at - event()) < near);
        show(...widened(Math.min(times[first], ...marks), Math.max(times[end - 1], ...marks)));
    }

    /** Lines and the worst level for each lane and pixel. */
    function bins() {
        const index = new Int8Array(256).fill(-1);
        lanes.forEach(([kind], i) => index[kind] = i);
        const cells = new Uint32Array(lanes.length * width);
        const worst = new Uint8Array(lanes.length * width);
        const scale = width / (view.to - view.from);
        const last = lowerBound(times, view.to);
        for (let i = Math.max(timed, lowerBound(times, view.from)); i < last; i++) {
            const cell = index[source[i]] * width + Math.min(width - 1, Math.floor((times[i] - view.from) * scale));
            cells[cell]++;
            if (level[i] > worst[cell]) worst[cell] = level[i];
        }
        return {cells, worst};
    }

    function drawAxis(g, height) {
        const step = kSteps.find(each => each / (view.to - view.from) * width > 110) ?? 864e5;
        const shift = state.utc ? 0 : report.incident.offset * 1000;
        const from = Math.ceil((view.from + shift) / step) * step - shift;
        for (let at = from; at < view.to; at += step) {
            const x = Math.round(toX(at)) + 0.5;
            g.fillStyle = color('grid');
            g.fillRect(x - 0.5, kAxis - 4, 1, height);
            g.fillStyle = color('dim');
            g.fillText(time(at).slice(step >= 864e5 ? 0 : 6, step >= 1000 ? 14 : 18), x + 3, kAxis - 6);
        }
    }
    function drawMarks(g, height) {
        const ends = kLabelRows.map(() => -Infinity);
        for (const {from, to, label} of report.marks) {
            const x = toX(from), end = toX(to);
            if (end < 0 || x > width) continue;
            g.fillStyle = color(to > from ? 'window' : 'mark');
            g.fillRect(Math.round(x), 2, Math.max(to > from ? 1 : 2, end - x), height);
            const wide = g.measureText(label).width;
            const at = Math.max(2, Math.min(x + 4, width - wide - 2));
            const row = ends.findIndex(each => each < at);
            if (row < 0) continue;  // the readout names it
            g.fillStyle = color('mark');
            g.fillText(label, at, kLabelRows[row]);
            ends[row] = at + wide + 8;
        }
    }
    function drawLanes(g) {
        const {cells, worst} = bins();
        const most = lanes.map((_, lane) => cells.subarray(lane * width, (lane + 1) * width).reduce((a, b) => a > b ? a : b, 1));
        const colors = ['l-none', 'l-verbose', 'l-debug', 'l-info', 'l-warn', 'l-error', 'l-fatal'].map(color);
        lanes.forEach(([kind], lane) => {
            g.globalAlpha = state.hidden.has(kind) ? 0.25 : 1;
            const bars = colors.map(() => new Path2D());
            for (let x = 0; x < width; x++) {
                const cell = lane * width + x;
                if (!cells[cell]) continue;
                const tall = Math.ceil((0.25 + 0.75 * Math.log1p(cells[cell]) / Math.log1p(most[lane])) * (kLane - 3));
                bars[worst[cell]].rect(x, kAxis + (lane + 1) * kLane - 1 - tall, 1, tall);
            }
            bars.forEach((path, level) => {
                g.fillStyle = colors[level];
                g.fill(path);
            });
        });
        g.globalAlpha = 1;
    }
    function band(g, [from, to], height, fill) {
        g.fillStyle = color(fill);
        g.fillRect(toX(from), kAxis - 2, Math.max(1, toX(to) - toX(from)), height);
    }
    let pending = false;
    function draw() {
        if (!pending) requestAnimationFrame(drawNow);
        pending = true;
    }
    function drawNow() {
        pending = false;
        const height = kAxis + Math.max(1, lanes.length) * kLane;
        const ratio = devicePixelRatio || 1;
        width = Math.max(1, canvas.clientWidth);
        canvas.style.height = `${height}px`;
        Object.assign(canvas, {width: width * ratio, height: height * ratio});
        const g = canvas.getContext('2d');
        g.scale(ratio, ratio);
        g.font = '11px system-ui, sans-serif';
        drawAxis(g, height);
        if (state.range) band(g, state.range, height, 'brush');
        if (brush) band(g, brush, height, 'brush');
        drawLanes(g);
        drawMarks(g, height);
        g.fillStyle = color('hit');
        let drawn = -1;
        for (const record of state.hits) {
            const x = Math.round(toX(times[record]));
            if (x !== drawn && x >= 0 && x <= width) g.fillRect(x, kAxis - 5, 1, 6);
            drawn = x;
        }
        g.fillStyle = color('accent');
        if (state.selected >= 0) g.fillRect(toX(times[state.selected]) - 1, kAxis - 4, 2, height);
        if (hover !== null) g.fillRect(hover, kAxis - 4, 1, height);
        const marks = report.marks.filter(({from, to}) => hover !== null && toX(from) - 4 <= hover && hover <= toX(to) + 4);
        readout.value = hover === null ? `${time(view.from)} to ${time(view.to)}`
            : [time(toTime(hover)), ...marks.map(mark => mark.label)].join(' \u00b7 ');
        canvas.setAttribute('aria-label', `Lines of each source from ${time(view.from)} to ${time(view.to)}. ` +
            'Arrows move, plus and minus zoom, 0 shows all.');
    }

    /** The record of a lane that is nearest to a time; of any lane if the lane has none. */
    function nearest(x, y) {
        const at = toTime(x), kind = lanes[Math.floor((y - kAxis) / kLane)]?.[0];
        const middle = lowerBound(times, at);
        const fits = i => (kind === undefined ? !state.hidden.has(source[i]) : source[i] === kind);
        for (let away = 0; away <= n; away++) {
            const before = middle - 1 - away, after = middle + away;
            const hasBefore = before >= timed && fits(before), hasAfter = after < n && fits(after);
            if (hasBefore && hasAfter) return at - times[before] < times[after] - at ? before : after;
            if (hasBefore || hasAfter) return hasBefore ? before : after;
        }
        return -1;
    }
    function setRange(range) {
        state.range = range;
        emit('range');
        draw();
    }
    dragAndZoom(canvas, {
        zoom: (factor, x) => zoom(factor, toTime(x)), pan,
        brush: (from, to) => { brush = [toTime(from), toTime(to)]; draw(); },
        brushed: (from, to) => { brush = null; setRange([toTime(from), toTime(to)]); },
        click: (x, y) => { state.selected = nearest(x, y); emit('goto'); },
        hover: x => { hover = x; draw(); },
    });
    const event = () => report.incident.time || (report.marks[0]?.from ?? whole[0]);
    const actions = {
        '+': () => zoom(0.5), '-': () => zoom(2), 0: () => show(...whole),
        ArrowLeft: () => pan(-0.2), ArrowRight: () => pan(0.2), e: () => show(event() - 3e4, event() + 3e4),
        z: () => state.range && show(...widened(...state.range)), Escape: () => setRange(null),
    };
    canvas.addEventListener('keydown', pressed => {
        const action = actions[pressed.key];
        if (!action || pressed.ctrlKey || pressed.metaKey) return;
        pressed.preventDefault();
        pressed.stopPropagation();
        action();
    });
    const button = (key, text, title) => el('button', {type: 'button', title, onclick: actions[key]}, text);
    const bar = el('div', {class: 'bar'}, button('e', 'Event \u00b1 30 s', 'Zoom to the event (e)'),
        button(0, 'All', 'Show all times (0)'), button('+', '+', 'Zoom in (+)'), button('-', '\u2212', 'Zoom out (-)'),
        button('z', 'Zoom to range', 'Zoom to the marked range (z)'), readout,
        el('span', {class: 'dim hint'}, 'drag: mark a range \u00b7 wheel: zoom \u00b7 click: show the lines'));
    on('theme clock sources selected range hits', draw);
    new ResizeObserver(() => canvas.clientWidth !== width && draw()).observe(canvas);
    showNearEvent();
    return {bar, canvas, actions, event};
}
