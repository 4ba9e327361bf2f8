// Makes the C++ source with the page's text: node build.mjs PAGE_FOLDER UPLOT_FOLDER OUT
//
// The modules become one script, each after those that it imports; their import lines and the word
// "export" go. The content policy names the scripts and styles by their hashes, so that a browser
// runs nothing else.
import {execFileSync} from 'node:child_process';
import {createHash} from 'node:crypto';
import {readFileSync, writeFileSync} from 'node:fs';
import {join} from 'node:path';

const [page, uplot, out] = process.argv.slice(2);
const read = (...path) => readFileSync(join(...path), 'utf8');
const hash = text => `'sha256-${createHash('sha256').update(text).digest('base64')}'`;

const modules = new Map();
function add(name) {
    if (modules.has(name)) return;
    modules.set(name, '');  // a cycle ends here
    const text = read(page, name);
    for (const [, other] of text.matchAll(/^import .*? from '\.\/(.*?)';$/gms)) add(other);
    modules.delete(name);
    modules.set(name, text.replace(/^import .*? from '.*?';\n/gms, '').replace(/^export /gm, ''));
}
add('main.js');

const license = `/*\n${read(uplot, 'LICENSE')}*/\n`;
const library = license + read(uplot, 'dist/uPlot.iife.min.js');
const body = [...modules].map(([name, text]) => `// ${name}\n${text}`).join('\n');
const script = `(() => {\n'use strict';\n${body}})();\n`;  // runs before the rest of a large page is read
const style = read(uplot, 'dist/uPlot.min.css') + ['base.css', 'views.css', 'print.css'].map(name => read(page, name)).join('\n');
for (const text of [library, script, style]) {
    if (/<\/(script|style)|<!--/i.test(text)) throw new Error('a script or style would end early');
}

// Names that two modules declare would be noticed in the browser only.
writeFileSync(`${out}.mjs`, body);
execFileSync(process.execPath, ['--check', `${out}.mjs`], {stdio: 'inherit'});

const policy = [
    "default-src 'none'",
    `script-src ${hash(library)} ${hash(script)}`,
    `style-src ${hash(style)}`,
    "base-uri 'none'",
    "form-action 'none'",
    "require-trusted-types-for 'script'",
    "trusted-types 'none'",
].join('; ');
const parts = {
    POLICY: policy,
    STYLE: `<style>${style}</style>`,
    SCRIPTS: `<script>${library}</script>\n<script>${script}</script>`,
};
const text = read(page, 'page.html').replace(/\{\{([A-Z]+)\}\}/g, (whole, name) => parts[name] ?? whole);
const [, begin, middle, end] = /^([^]*)\{\{SUMMARY\}\}\n([^]*)\{\{DATA\}\}\n([^]*)$/.exec(text);

// Compilers limit the length of one literal; those next to each other are joined.
const literal = part => part.match(/[^]{1,16000}/gu).map(piece => `R"PAGE(${piece})PAGE"`).join('\n');
writeFileSync(out, `#include "desk/report/Page.h"

namespace kaveldesk {

const std::string_view kPageBegin = ${literal(begin)};
const std::string_view kPageMiddle = ${literal(middle)};
const std::string_view kPageEnd = ${literal(end)};

}  // namespace kaveldesk
`);
