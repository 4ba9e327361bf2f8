// The whole text of the line that is chosen in a list, with its place.

import {el, visible, bytes} from './dom.js';
import {citationLink} from './cause.js';

/** Bytes of a long line that its row shows. */
export const kRowBytes = 1000;

const kAtOnce = 20000;  // bytes; more on request, because a megabyte takes a moment to lay out

/** @p text as children of an element, with the matches of @p test marked. */
export function marked(text, test) {
    if (!test) return [text];
    const parts = [];
    let at = 0;
    for (const match of text.matchAll(new RegExp(test.source, 'gi'))) {
        if (!match[0]) continue;
        parts.push(text.slice(at, match.index), el('mark', {}, match[0]));
        at = match.index + match[0].length;
    }
    return [...parts, text.slice(at)];
}

export function makeDetail() {
    const box = el('div', {class: 'detail'});
    return {
        box,
        /** @p text(most) gives the text, @p most bytes at most; it has @p length bytes. */
        show(file, line, length, text, test, note) {
            const body = el('pre', {tabindex: 0, 'aria-label': 'Chosen line'}, ...marked(visible(text(kAtOnce)), test));
            const all = el('button', {type: 'button', onclick: () => {
                body.textContent = visible(text(Infinity));
                all.remove();
            }}, `Show all ${bytes(length)}`);
            box.replaceChildren(el('div', {class: 'bar'}, citationLink(file, line),
                el('span', {class: 'dim'}, note), length > kAtOnce ? all : ''), body);
        },
        clear: () => box.replaceChildren(),
    };
}
