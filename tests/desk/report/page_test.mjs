// Opens a sample page in chromium and does what a reader does. Leaves a picture, report.png.
// usage: node page_test.mjs DRIVER_FOLDER SAMPLE_PAGE OUT_FOLDER
import assert from 'node:assert/strict';
import {execFileSync} from 'node:child_process';
import {existsSync} from 'node:fs';
import {createRequire} from 'node:module';
import {join} from 'node:path';
import {pathToFileURL} from 'node:url';

const [driver, sample, out] = process.argv.slice(2);
const executablePath = '/usr/bin/chromium';
const kPatience = 120_000;  // only a fault takes so long, also on a busy machine
if (!existsSync(executablePath)) {
    console.log('skipped: chromium is missing (sh scripts/setup.sh scripts/packages-browser.txt)');
    process.exit(77);
}
const {chromium} = createRequire(join(driver, 'package.json'))('playwright-core');
const kLines = 200000;
const file = join(out, 'report.html');
execFileSync(sample, [file, String(kLines)]);

const browser = await chromium.launch({executablePath, timeout: kPatience, args: process.getuid() ? [] : ['--no-sandbox']});
const page = await browser.newPage({viewport: {width: 1400, height: 900}, colorScheme: 'light'});
page.setDefaultTimeout(kPatience);
const complaints = [], requests = [];
page.on('console', message => complaints.push(message.text()));
page.on('pageerror', error => complaints.push(error.stack || error.message));
page.on('request', request => requests.push(request.url()));

const go = async hash => {
    await page.evaluate(hash => location.hash = hash, hash);
    await page.locator(`#view-${hash.split('/')[0].slice(1)}`).waitFor();
};
// The lists are drawn in the frame after a search has ended.
const finished = async () => {
    await page.locator('#search-result[data-finished]').waitFor();
    await page.evaluate(() => new Promise(drawn => requestAnimationFrame(() => requestAnimationFrame(drawn))));
};
const result = () => page.locator('#search-result').innerText();
const rows = selector => page.locator(`.row.log ${selector}`).allInnerTexts();
const detail = page.locator('#view-timeline .detail pre');
const background = () => page.evaluate(() => getComputedStyle(document.body).backgroundColor);
const search = async text => {
    await page.locator('#search').fill(text);
    await finished();
};

const cases = {
    'opens with the verdict, without a request or a complaint': async () => {
        await page.goto(pathToFileURL(file).href);
        await page.locator('body[data-ready]').waitFor();
        assert.match(await page.locator('h1').innerText(), /^The main thread of com.example.notes waits/);
        assert.equal(await page.locator('.finding').count(), 3);
        assert.match(await page.locator('#view-cause').innerText(), /Round 2 of the kernel log is empty[^]*5f0c9a3be1774d20/);
        await page.screenshot({path: join(out, 'report.png')});
    },
    'the policy refuses code and requests': async () => {
        const refused = await page.evaluate(async () => {
            const tries = [() => document.body.innerHTML = '<b>', () => fetch('data:,x'),
                () => document.createElement('script').text = '1'];
            return Promise.all(tries.map(async each => { try { await each(); return false; } catch { return true; } }));
        });
        assert.deepEqual(refused, [true, true, true]);
        complaints.length = 0;  // the browser names each refusal
    },
    'a finding leads to its line': async () => {
        await page.locator('.finding a', {hasText: 'anr_1873.txt:11'}).click();
        assert.equal(await page.locator('#view-files .detail pre').innerText(), 'trace line 11');
        assert.match(await page.locator('.row.line[aria-selected=true]').innerText(), /11\s*trace line 11/);
    },
    'search finds, and n and N go around': async () => {
        await go('#timeline');
        assert.match(await page.locator('.row.log[aria-selected=true]').innerText(), /^05-28 22:26:40.0/);  // the event
        await search('needle-in-events');
        assert.match(await result(), /^1 found/);
        await page.locator('#search').press('Enter');
        assert.match(await detail.innerText(), /needle-in-events$/);
        await search('/cannot lock row [0-9]+7 /');
        await page.keyboard.press('Escape');
        const at = async key => {
            await page.keyboard.press(key);
            return (await result()).split(' of ')[0];
        };
        await page.keyboard.press('n');
        const total = (await result()).split(' of ')[1];
        assert.deepEqual([await at('N'), await at('n'), await at('n')], [total, '1', '2']);
    },
    'filters by level, source and matches': async () => {
        await search('');
        await page.getByLabel('Lowest level').selectOption({label: 'Errors and worse'});
        await finished();
        assert.ok((await rows('.level')).every(level => 'EF'.includes(level)));
        await page.getByLabel('Lowest level').selectOption({label: 'All levels'});
        await page.getByRole('checkbox', {name: 'main'}).uncheck();
        await finished();
        assert.deepEqual(new Set(await rows('.source')), new Set(['events', 'kernel']));
        await page.getByRole('checkbox', {name: 'main'}).check();
        await page.getByLabel('only matches').check();
        await search('am_anr');
        assert.deepEqual(await rows('.message'), ['needle-in-events']);
        await page.getByLabel('only matches').uncheck();
        await search('');
    },
    'a drag on the timeline chooses a range, a click a line': async () => {
        const box = await page.locator('.lanes').boundingBox();
        const y = box.y + box.height - 30;
        await page.mouse.move(box.x + 400, y);
        await page.mouse.down();
        await page.mouse.move(box.x + 500, y, {steps: 3});
        await page.mouse.up();
        await finished();
        const lines = parseInt((await result()).replace(/,/g, ''));
        assert.ok(lines > 1000 && lines < kLines / 4, `${lines} lines in the range`);
        await page.locator('.lanes').press('Escape');
        await finished();
        const lane = await page.locator('.names label', {hasText: 'kernel'}).boundingBox();
        await page.mouse.click(box.x + 700, lane.y + lane.height / 2);
        await page.locator('.row.log[aria-selected=true]', {hasText: 'kernel'}).waitFor();
    },
    'hostile texts stay texts': async () => {
        await page.getByLabel('only matches').check();
        await search('Hostile');
        const messages = await rows('.message');
        assert.deepEqual(messages.slice(0, 5), ["<script>document.title='taken'</script>",
            '</script><img src=x onerror=alert(1)>', '"quotes\' & <b>entities</b> &lt;',
            'control \u2401\u241b[31m\u2421 bytes \ufffd\ufffd end', 'direction \u2039202e\u203a override']);
        assert.match(messages[5], /^x{1000} \u2026 1.0 MB$/);
        await page.locator('.row.log').nth(5).click();
        await page.getByRole('button', {name: 'Show all 1.0 MB'}).click();
        assert.match(await detail.evaluate(element => element.textContent.slice(1 << 20)), /x tail$/);
        await go('#cause');
        assert.equal(await page.locator('main').locator('script, img, b').count(), 0);
        assert.equal(await page.title(), 'com.example.notes: anr');
    },
    'a long list has few elements and reaches its end': async () => {
        await go('#timeline');
        await page.getByLabel('only matches').uncheck();
        await search('');
        await page.locator('#view-timeline .list').press('End');
        const last = page.locator('.row.log[aria-selected=true]');
        await last.waitFor();
        const total = Number(await last.getAttribute('aria-setsize'));
        assert.ok(total > kLines);
        assert.equal(await last.getAttribute('aria-posinset'), String(total));
        assert.ok(await page.locator('.row.log').count() < 100);
    },
    'keys go to views, lists and help': async () => {
        for (const [key, view] of [['2', 'timeline'], ['3', 'usage'], ['5', 'files'], ['1', 'cause'], ['4', 'threads']]) {
            await page.keyboard.press(key);
            await page.locator(`#view-${view}`).waitFor();
        }
        await page.locator('#view-threads .list:focus').waitFor();
        await page.keyboard.press('ArrowDown');
        assert.match(await page.locator('.thread h3').innerText(), /^SyncWorker/);
        await page.keyboard.press('/');
        assert.equal(await page.evaluate(() => document.activeElement.type), 'search');
        await page.keyboard.press('Tab');
        await page.keyboard.press('?');
        await page.locator('#help[open]').waitFor();
        await page.keyboard.press('Escape');
    },
    'threads show the cycle of locks': async () => {
        assert.deepEqual(await page.locator('.node.cycle .name').allTextContents(), ['SyncWorker', 'main']);
        assert.equal(await page.locator('.edge.cycle').count(), 2);
        assert.equal(await page.locator('.edge').count(), 4);
        await page.locator('.node', {hasText: 'AutoSave'}).click();
        await page.locator('.stack button', {hasText: 'held by thread 18'}).click();
        assert.match(await page.locator('.thread h3').innerText(), /^SyncWorker/);
    },
    'charts have the processes': async () => {
        await go('#usage');
        assert.equal(await page.locator('.uplot canvas').count(), 2);
        assert.match(await page.locator('.u-legend').first().innerText(), /com.example.notes/);
    },
    'dark if the reader likes it, or by the switch': async () => {
        const light = await background();
        await page.emulateMedia({colorScheme: 'dark'});
        const dark = await background();
        assert.notEqual(dark, light);
        await page.keyboard.press('d');
        assert.equal(await background(), light);
    },
    'paper gets the verdict, the findings and the threads': async () => {
        await page.evaluate(() => dispatchEvent(new Event('beforeprint')));
        await page.emulateMedia({media: 'print'});
        const text = await page.locator('body').innerText();
        assert.match(text, /The main thread of[^]*Threads main and SyncWorker wait[^]*Threads: com.example.notes[^]*Store.read/);
        assert.equal(await page.locator('.uplot').first().isVisible(), false);
        await page.emulateMedia({media: 'screen'});
    },
};

let failed = 0;
for (const [name, run] of Object.entries(cases)) {
    try {
        await run();
        assert.deepEqual(complaints.splice(0), []);
        assert.deepEqual(requests, [pathToFileURL(file).href]);
        console.log(`ok      ${name}`);
    } catch (error) {
        failed++;
        console.log(`FAILED  ${name}\n${error.stack}`);
    }
}
await browser.close();
process.exit(failed ? 1 : 0);
