// Keys that work in all views, and the list of all keys.

import {byId, el} from './dom.js';

const kKeys = [
    ['1 \u2026 5', 'go to a view'], ['/', 'search in the view'], ['n, N', 'next match, match before'],
    ['\u2191 \u2193 PgUp PgDn Home End', 'move in a list'], ['Esc', 'leave the search field; take the range off'],
    ['e', 'timeline: the event'], ['+, \u2212, 0', 'timeline: zoom in, zoom out, all'], ['z', 'timeline: zoom to the range'],
    ['\u2190 \u2192', 'timeline, with the focus on it: move'], ['d', 'light or dark'], ['u', 'phone\u2019s time or UTC'], ['?', 'this list'],
];

/** @p names are the views in the order of their digits; @p current() is the view that is shown. */
export function listenToKeys(names, current) {
    const help = byId('help');
    help.append(el('h2', {}, 'Keys'), el('dl', {class: 'keys'}, ...kKeys.flatMap(([key, does]) =>
        [el('dt', {}, el('kbd', {}, key)), el('dd', {}, does)])),
        el('p', {class: 'dim'}, 'A search text between slashes is a regular expression: /lmkd|oom/'),
        el('form', {method: 'dialog'}, el('button', {autofocus: true}, 'Close')));
    byId('help-button').addEventListener('click', () => help.showModal());
    const actions = {
        '/': () => current()?.search?.focus(), n: () => current()?.step?.(1), N: () => current()?.step?.(-1),
        '?': () => help.showModal(), d: () => byId('theme').click(), u: () => byId('clock').click(),
    };
    names.forEach((name, i) => actions[i + 1] = () => {
        addEventListener('hashchange', () => current()?.focus?.(), {once: true});
        location.hash = `${name}/`;  // never the address that is shown, so that the event comes
    });
    addEventListener('keydown', event => {
        if (help.open || event.ctrlKey || event.altKey || event.metaKey || event.target.matches('input, select')) return;
        const action = actions[event.key] ?? (event.key.startsWith('Arrow') ? undefined : current()?.keys?.[event.key]);
        if (!action) return;
        event.preventDefault();
        action();
    });
}
