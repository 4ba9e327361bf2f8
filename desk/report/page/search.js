// Filters and searches the records in slices, so that the page reacts to keys meanwhile.

import {report, textOf, lowerBound} from './data.js';
import {state} from './state.js';

const kSliceMs = 12;

/** A test for texts, or null for no query. "/.../" is a regular expression. Throws SyntaxError. */
export function matcher(query) {
    if (!query) return null;
    const expression = /^\/(.+)\/$/.exec(query)?.[1] ?? query.replace(/[\\^$.*+?()[\]{}|]/g, '\\$&');
    return new RegExp(expression, 'i');
}

/**
 * Calls done({rows, hits, finished}) with the records that the filters let through and, of those,
 * the ones that match: at the first slice's end, now and then, and when all are searched. A new call
 * ends the one before; a call without filters only does that.
 */
export function makeSearch(done) {
    let latest = 0;
    return async filters => {
        const own = ++latest;
        if (!filters) return;
        const {test, level, onlyHits} = filters;
        const {n, times, source, level: levels} = report.records;
        const rows = [], hits = [];
        const [from, to] = state.range ?? [-Infinity, Infinity];
        const end = state.range ? lowerBound(times, to) : n;
        let told = performance.now(), sliceEnd = told + kSliceMs;
        for (let i = state.range ? lowerBound(times, from) : 0; i < end; i++) {
            if (levels[i] < level || state.hidden.has(source[i])) continue;
            const isHit = test !== null && test.test(textOf(i));
            if (isHit) hits.push(i);
            if (isHit || !onlyHits || test === null) rows.push(i);
            if (i % 64 || performance.now() < sliceEnd) continue;
            if (performance.now() - told > 250) {
                done({rows, hits, finished: false});
                told = performance.now();
            }
            await new Promise(resume => setTimeout(resume));
            if (own !== latest) return;
            sliceEnd = performance.now() + kSliceMs;
        }
        done({rows, hits, finished: true});
    };
}
