// The page's data: packed parts in script elements that the browser does not run.

import {state} from './state.js';
import {byId} from './dom.js';

/** The summary, the records' columns and the files' bytes. */
export const report = {records: {n: 0}, texts: [], starts: []};

const decoder = new TextDecoder('utf-8', {ignoreBOM: true});

async function unpack(id) {
    const element = byId(id);
    if (!element) return new Uint8Array();
    const text = element.textContent;
    element.remove();  // its memory is better used
    const packed = Uint8Array.fromBase64?.(text) ?? Uint8Array.from(atob(text), c => c.charCodeAt(0));
    const stream = new Blob([packed]).stream().pipeThrough(new DecompressionStream('gzip'));
    return new Uint8Array(await new Response(stream).arrayBuffer());
}

export async function loadSummary() {
    Object.assign(report, JSON.parse(decoder.decode(await unpack('summary'))), {records: {n: 0}});
    const folder = commonFolder(report.files.map(file => file.name));
    for (const file of report.files) file.short = file.name.slice(folder.length);
}

/** The folders that all names begin with; the archive's own folder says nothing in each name. */
function commonFolder(names) {
    let folder = names[0]?.slice(0, names[0].lastIndexOf('/') + 1) ?? '';
    while (folder && !names.every(name => name.startsWith(folder))) {
        folder = folder.slice(0, folder.slice(0, -1).lastIndexOf('/') + 1);
    }
    return folder;
}

/** Loads the texts and the records; @p progress gets a share from 0 to 1. */
export async function loadRecords(progress) {
    if (document.readyState === 'loading') {
        await new Promise(resume => addEventListener('DOMContentLoaded', resume));
    }
    const total = report.files.reduce((sum, file) => sum + file.read, 1);
    let done = 0;
    for (const [i, file] of report.files.entries()) {
        report.texts[i] = await unpack(`file-${i}`);
        progress((done += file.read) / total);
    }
    report.records = readTable(await unpack('records'), report.files.length);
}

/** Reads what recordTable() of Pack.cpp writes. */
function readTable(bytes, files) {
    let at = 0;
    const number = () => {
        let value = 0;
        for (let scale = 1;; scale *= 128) {
            const byte = bytes[at++];
            value += (byte & 127) * scale;
            if (byte < 128) return value % 2 ? -(value + 1) / 2 : value / 2;
        }
    };
    const n = number();
    const column = (type, next) => {
        const values = new type(n);
        for (let i = 0; i < n; i++) values[i] = next(i);
        return values;
    };
    const difference = type => {
        let value = 0;
        return column(type, () => value += number());
    };
    const times = difference(Float64Array).map(us => us / 1000);
    const file = difference(Uint32Array);
    const gap = column(Float64Array, number);
    const length = column(Uint32Array, number);
    const ends = new Float64Array(files);
    const begin = column(Uint32Array, i => {
        const value = ends[file[i]] + gap[i];
        ends[file[i]] = value + length[i];
        return value;
    });
    return {
        n, times, file, begin, length,
        messageAt: column(Uint32Array, number), tagAt: column(Uint32Array, number),
        tagLength: column(Uint16Array, number), level: column(Uint8Array, number),
        source: column(Uint8Array, number), pid: difference(Int32Array), tid: difference(Int32Array),
    };
}

export function slice(file, begin, end) {
    return decoder.decode(report.texts[file].subarray(begin, end));
}

/** Text of a record, or the part of it from @p from on, @p most bytes at most. */
export function textOf(record, from = 0, most = Infinity) {
    const {file, begin, length} = report.records;
    const start = begin[record] + from;
    return slice(file[record], start, Math.min(begin[record] + length[record], start + most));
}

export function tagOf(record) {
    const {file, begin, tagAt, tagLength} = report.records;
    const start = begin[record] + tagAt[record];
    return slice(file[record], start, start + tagLength[record]);
}

/** Offsets of the first bytes of a file's lines. */
export function lineStarts(file) {
    if (report.starts[file]) return report.starts[file];
    const bytes = report.texts[file] ?? new Uint8Array();
    const starts = [0];
    for (let at = bytes.indexOf(10); at >= 0 && at + 1 < bytes.length; at = bytes.indexOf(10, at + 1)) {
        starts.push(at + 1);
    }
    return report.starts[file] = starts;
}

/** First index of the sorted @p values whose value is not less than @p value. */
export function lowerBound(values, value, size = values.length) {
    let low = 0;
    for (let high = size; low < high;) {
        const middle = (low + high) >> 1;
        if (values[middle] < value) low = middle + 1;
        else high = middle;
    }
    return low;
}

/** The line of a record in its file, from 1. */
export function lineOf(record) {
    const {file, begin} = report.records;
    return lowerBound(lineStarts(file[record]), begin[record] + 1);
}

/** "01-31 23:59:59.999" in the phone's time or in UTC, as chosen. */
export function time(ms, full = false) {
    if (!ms) return full ? 'no time' : '';
    const text = new Date(ms + (state.utc ? 0 : report.incident.offset * 1000)).toISOString();
    return text.slice(full ? 0 : 5, 23).replace('T', ' ');
}

export function zone() {
    const {offset, hasOffset} = report.incident;
    if (state.utc || !hasOffset) return 'UTC';
    const minutes = Math.abs(offset) / 60;
    const two = value => String(Math.floor(value)).padStart(2, '0');
    return `UTC${offset < 0 ? '\u2212' : '+'}${two(minutes / 60)}:${two(minutes % 60)}`;
}

export const place = (file, line) => `#files/${file}/${line}`;
