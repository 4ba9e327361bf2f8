// A list of any number of rows of one height; only the visible rows are elements.

import {el} from './dom.js';

const kRow = 20;
// Browsers cut taller elements off. A longer list scrolls faster than its scroll bar says.
const kTallest = 8e6;

/**
 * @p render(i) gives the element of row i. The list is one stop for the keyboard: arrows, pages,
 * Home and End move the row that is chosen, and choose(i) is called.
 */
export function rowList({label, render, choose}) {
    const rows = el('div', {class: 'rows', role: 'presentation'});
    const spacer = el('div', {class: 'spacer', role: 'presentation'}, rows);
    const box = el('div', {class: 'list', role: 'listbox', tabindex: 0, 'aria-label': label}, spacer);
    let length = 0, current = -1, pending = false;

    const shown = () => Math.max(1, Math.floor(box.clientHeight / kRow));
    // Row at the top, with its fraction. Where the box is not shrunk this is scrollTop / kRow.
    const most = () => Math.max(0, length - box.clientHeight / kRow);
    const travel = () => Math.max(1, spacer.offsetHeight - box.clientHeight);
    const top = () => Math.min(most(), box.scrollTop / travel() * most());

    function draw() {
        pending = false;
        const first = Math.floor(top());
        const last = Math.min(length, first + shown() + 2);
        const items = [];
        for (let i = first; i < last; i++) {
            const item = render(i);
            item.id = `${label.replace(/\W/g, '-')}-${i}`;
            item.setAttribute('role', 'option');
            item.setAttribute('aria-setsize', length);
            item.setAttribute('aria-posinset', i + 1);
            item.setAttribute('aria-selected', i === current);
            item.dataset.row = i;
            items.push(item);
        }
        rows.replaceChildren(...items);
        rows.style.transform = `translateY(${box.scrollTop - (top() - first) * kRow}px)`;
        const chosen = rows.querySelector('[aria-selected="true"]');
        if (chosen) box.setAttribute('aria-activedescendant', chosen.id);
        else box.removeAttribute('aria-activedescendant');
    }
    function redraw() {
        if (!pending) requestAnimationFrame(draw);
        pending = true;
    }
    function go(row, middle = false) {
        if (!length) return;
        current = Math.max(0, Math.min(length - 1, row));
        const begin = Math.ceil(top()), end = begin + shown() - 1;
        if (current < begin || current > end) {
            const wanted = middle ? current - shown() / 2 : current < begin ? current : current - shown() + 1;
            box.scrollTop = Math.max(0, wanted) / Math.max(1, most()) * travel();
        }
        redraw();
    }
    const keys = {
        ArrowDown: () => current + 1, ArrowUp: () => current - 1,
        PageDown: () => current + shown(), PageUp: () => current - shown(),
        Home: () => 0, End: () => length - 1,
    };
    box.addEventListener('scroll', redraw);
    box.addEventListener('keydown', event => {
        if (!keys[event.key] || event.ctrlKey || event.altKey || event.metaKey) return;
        event.preventDefault();
        go(keys[event.key]());
        choose(current);
    });
    box.addEventListener('click', event => {
        const item = event.target.closest('[data-row]');
        if (!item || event.target.closest('a')) return;
        go(Number(item.dataset.row));
        choose(current);
    });
    new ResizeObserver(redraw).observe(box);
    return {
        box, go, redraw,
        /** Sets the number of rows; no row is chosen then. */
        resize(rowCount) {
            length = rowCount;
            current = -1;
            spacer.style.height = `${Math.min(kTallest, length * kRow)}px`;
            redraw();
        },
    };
}
