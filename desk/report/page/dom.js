// Elements are made of values; a text is always a text node, whatever it holds.

import {on} from './state.js';

const kSvg = 'http://www.w3.org/2000/svg';

function fill(element, attributes, children) {
    for (const [name, value] of Object.entries(attributes)) {
        if (name.startsWith('on')) element.addEventListener(name.slice(2), value);
        else if (value === true) element.setAttribute(name, '');
        else if (value !== false && value !== undefined) element.setAttribute(name, value);
    }
    element.append(...children);
    return element;
}

/** An element with attributes, listeners ("onclick") and children (elements or texts). */
export function el(tag, attributes = {}, ...children) {
    return fill(document.createElement(tag), attributes, children);
}

export function svg(tag, attributes = {}, ...children) {
    return fill(document.createElementNS(kSvg, tag), attributes, children);
}

export const byId = id => document.getElementById(id);

/** Control characters and those that change the direction of text become visible. */
export function visible(text) {
    return text.replace(/[\0-\x08\x0b-\x1f\x7f-\x9f\u061c\u200e\u200f\u2028-\u202e\u2066-\u2069]/g, c => {
        const code = c.charCodeAt(0);
        if (code < 0x20) return String.fromCharCode(0x2400 + code);
        return code === 0x7f ? '\u2421' : `\u2039${code.toString(16).padStart(4, '0')}\u203a`;
    });
}

export const count = new Intl.NumberFormat('en').format;

export function bytes(size) {
    if (size < 1000) return `${size} B`;
    return size < 1e6 ? `${(size / 1e3).toFixed(1)} kB` : `${(size / 1e6).toFixed(1)} MB`;
}

const colors = new Map();
on('theme', () => colors.clear());

/** The colour of a style variable in the theme that is shown; a canvas cannot use variables. */
export function color(name) {
    if (!colors.has(name)) {
        const probe = byId('status');
        probe.style.color = `var(--${name})`;
        colors.set(name, getComputedStyle(probe).color);
        probe.style.color = '';
    }
    return colors.get(name);
}
