// Opens the pages of kaveldesk serve in chromium and does what a reader does. Leaves serve.png.
// usage: node serve_page_test.mjs DRIVER_FOLDER KAVELDESK SAMPLES OUT_FOLDER
import assert from 'node:assert/strict';
import {execFileSync, spawn} from 'node:child_process';
import {closeSync, existsSync, mkdirSync, mkdtempSync, openSync, readFileSync, renameSync, rmSync, writeFileSync, writeSync} from 'node:fs';
import {createRequire} from 'node:module';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {createInterface} from 'node:readline';
import {gunzipSync, gzipSync} from 'node:zlib';

const [driver, kaveldesk, samples, out] = process.argv.slice(2);
const executablePath = '/usr/bin/chromium';
const kPatience = 120_000;  // only a fault takes so long, also on a busy machine
if (!existsSync(executablePath)) {
    console.log('skipped: chromium is missing (sh scripts/setup.sh scripts/packages-browser.txt)');
    process.exit(77);
}
const {chromium} = createRequire(join(driver, 'package.json'))('playwright-core');
const folder = mkdtempSync(join(tmpdir(), 'serve-'));
const archives = join(folder, 'archives');
mkdirSync(archives);
execFileSync(samples, [archives, '20']);
const token = 'a token of enough length';
writeFileSync(join(folder, 'token'), `${token}\n`);

const server = spawn(kaveldesk, ['serve', '--db', join(folder, 'index.db'), '--watch', archives,
    '--token-file', join(folder, 'token'), '--listen', '127.0.0.1:0'], {stdio: ['ignore', 'pipe', 'inherit']});
const address = (await createInterface(server.stdout)[Symbol.asyncIterator]().next()).value;

const browser = await chromium.launch({executablePath, timeout: kPatience, args: process.getuid() ? [] : ['--no-sandbox']});
const page = await browser.newPage({viewport: {width: 1400, height: 900}, colorScheme: 'light'});
page.setDefaultTimeout(kPatience);
const complaints = [], requests = new Set();
page.on('console', message => complaints.push(message.text()));
page.on('pageerror', error => complaints.push(error.stack || error.message));
page.on('request', request => requests.add(new URL(request.url()).origin));

const cases = {
    'the token opens the pages': async () => {
        await page.goto(address);
        await page.getByLabel('Token').fill('a token of wrong length');
        await page.keyboard.press('Enter');
        await page.getByText('This is not the token.').waitFor();
        await page.getByLabel('Token').fill(token);
        await page.keyboard.press('Enter');
        await page.getByText('Overview').waitFor();
        complaints.length = 0;  // the browser names each refusal
    },
    'an open page shows archives that are indexed': async () => {
        await page.goto(`${address}catches`);
        await page.waitForFunction(() => document.querySelectorAll('tbody tr').length === 19);
        await page.getByLabel('Process').fill('half written');
        const other = gzipSync(gunzipSync(readFileSync(`${archives}.next.tar.gz`)), {level: 1});
        const uploaded = openSync(join(archives, 'uploaded.tar.gz'), 'w');
        writeSync(uploaded, other, 0, 1000);
        renameSync(`${archives}.next.tar.gz`, join(archives, 'next.tar.gz'));
        await page.waitForFunction(() => document.querySelectorAll('tbody tr').length === 20);
        assert.equal(await page.getByLabel('Process').inputValue(), 'half written');
        writeSync(uploaded, other, 1000);
        closeSync(uploaded);
        await page.waitForFunction(() => document.querySelectorAll('tbody tr').length === 21);
        assert.equal(await page.locator('.badge.bad').count(), 0);
        assert.match(await page.locator('#status').innerText(), /^Updated at/);
    },
    'filters narrow the list': async () => {
        const process = await page.locator('tbody td:nth-child(3)').first().innerText();
        await page.getByLabel('Process').fill(process);
        await page.keyboard.press('Enter');
        await page.waitForURL(/process=/);
        const all = await page.locator('tbody td:nth-child(3)').allInnerTexts();
        assert.ok(all.length >= 1 && all.length < 20 && all.every(each => each === process), `${all}`);
    },
    'a hostile process name is text': async () => {
        await page.goto(`${address}catches`);
        assert.equal(await page.getByText("<img src=x onerror=document.title='taken'>&amp;", {exact: true}).count(), 1);
        assert.equal(await page.locator('img').count(), 0);
        assert.equal(await page.title(), 'kaveldesk: Catches');
    },
    'the keyboard goes from the overview to a fingerprint and its report': async () => {
        await page.goto(address);
        assert.ok(await page.locator('.days .bar').count() > 5);
        assert.ok(await page.locator('.spark path[d^=M]').count() > 1);
        await page.screenshot({path: join(out, 'serve.png')});
        const link = page.locator('a[href^="/fingerprint/"]').first();
        const fingerprint = await link.innerText();
        await link.focus();
        await page.keyboard.press('Enter');
        await page.waitForURL(`**/fingerprint/${fingerprint}`);
        assert.match(await page.locator('h1').innerText(), /main/);
        assert.equal(await page.locator('.panel').count(), 7);
        await page.locator('a[href^="/report/"]').first().focus();
        await page.keyboard.press('Enter');
        await page.locator('body[data-ready]').waitFor();
        assert.match(await page.locator('#view-cause').innerText(), new RegExp(fingerprint));
        await page.keyboard.press('5');
        await page.locator('#view-files .row.file').first().waitFor();
    },
    'a report cannot reach the other pages': async () => {
        assert.equal(await page.evaluate(() => fetch('/catches').then(() => 'reached', () => 'refused')), 'refused');
        complaints.length = 0;
    },
    'dark if the reader likes it': async () => {
        await page.goto(address);
        const background = () => page.evaluate(() => getComputedStyle(document.body).backgroundColor);
        const light = await background();
        await page.emulateMedia({colorScheme: 'dark'});
        assert.notEqual(await background(), light);
    },
};

let failed = 0;
for (const [name, run] of Object.entries(cases)) {
    try {
        await run();
        assert.deepEqual(complaints.splice(0), []);
        assert.deepEqual([...requests].filter(origin => `${origin}/` !== address && origin !== 'null'), []);
        console.log(`ok      ${name}`);
    } catch (error) {
        failed++;
        console.log(`FAILED  ${name}\n${error.stack}`);
    }
}
await browser.close();
const ended = new Promise(done => server.on('exit', done));
server.kill('SIGINT');
if (await ended !== 0) failed++;
rmSync(folder, {recursive: true});
process.exit(failed ? 1 : 0);
