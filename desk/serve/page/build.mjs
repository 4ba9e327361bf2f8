// Makes the C++ source with the style and the script: node build.mjs BASE_CSS CSS JS OUT
import {readFileSync, writeFileSync} from 'node:fs';

const [base, css, js, out] = process.argv.slice(2);
const read = path => readFileSync(path, 'utf8');
const literal = text => `R"PAGE(${text})PAGE"`;
writeFileSync(out, `#include "desk/serve/Frame.h"

namespace kaveldesk {

const std::string_view kPageStyle = ${literal(read(base) + read(css))};
const std::string_view kPageScript = ${literal(read(js))};

}  // namespace kaveldesk
`);
