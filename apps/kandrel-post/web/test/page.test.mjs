// Opens pages of made-up runs in Chromium, as a person would, and looks at what they show. Pictures
// go to out/, for eyes. KANDREL_PAGE names a built template, else it is built first.

import assert from 'node:assert/strict';
import {execFileSync} from 'node:child_process';
import {mkdirSync, mkdtempSync, readFileSync, rmSync, writeFileSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {dirname, join} from 'node:path';
import {after, before, describe, test} from 'node:test';
import {fileURLToPath, pathToFileURL} from 'node:url';

import {chromium} from 'playwright-core';

import {makePage, makeRun, putRun} from './make_run.mjs';

const here = dirname(fileURLToPath(import.meta.url));
const out = join(here, '..', 'out');
const kQuiet = ['--no-sandbox', '--disable-quic', '--no-first-run',
  '--disable-background-networking', '--disable-component-update', '--disable-sync'];
const kSoftware = ['--use-angle=swiftshader', '--enable-unsafe-swiftshader',
  '--ignore-gpu-blocklist'];
const kWide = {width: 1440, height: 900};
const kNarrow = {width: 390, height: 844};
// Small, since software draws it.
const kPlain = {width: 800, height: 500};

let folder;
let template;
let browser;
let pages = 0;

before(async () => {
  folder = mkdtempSync(join(tmpdir(), 'kandrel-page-'));
  mkdirSync(out, {recursive: true});
  let path = process.env.KANDREL_PAGE;
  if (!path) {
    path = join(folder, 'template.html');
    execFileSync(process.execPath, [join(here, '..', 'build.mjs'), path]);
  }
  template = readFileSync(path, 'utf8');
  browser = await launch(kSoftware);
});

after(async () => {
  await browser?.close();
  rmSync(folder, {recursive: true, force: true});
});

function launch(args) {
  return chromium.launch({
    executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium',
    args: [...kQuiet, ...args],
  });
}

// A page that is open, and what it complained of: console errors, exceptions and anything asked of
// a network.
async function open(html, {viewport = kPlain, colorScheme = 'light', by = browser} = {}) {
  const path = join(folder, `page_${++pages}.html`);
  writeFileSync(path, html);
  const context = await by.newContext({viewport, colorScheme});
  const page = await context.newPage();
  const complaints = [];
  page.on('console', (message) => {
    const isOfDriver = /GPU stall|swiftshader/i.test(message.text());
    if (['error', 'warning'].includes(message.type()) && !isOfDriver) {
      complaints.push(message.text());
    }
  });
  page.on('pageerror', (error) => complaints.push(String(error.stack)));
  page.on('request', (request) => {
    if (!/^(file|data|blob):/.test(request.url())) complaints.push(request.url());
  });
  await page.goto(pathToFileURL(path).href);
  await page.waitForFunction(() => window.kandrel !== undefined);
  return {page, complaints, close: () => context.close()};
}

const runPage = (options) => {
  const {info, columns} = makeRun(options);
  return makePage(template, info, columns);
};

const column = ({columns}, name) => columns.find(([known]) => known === name)[2];

describe('the page', {concurrency: 3}, () => {
  test('shows the counts of the run and complains of nothing', async () => {
    const run = makeRun();
    const {page, complaints, close} = await open(makePage(template, run.info, run.columns));
    const seen = await page.evaluate(() => ({ready: kandrel.ready, counts: kandrel.counts}));
    assert.deepEqual(seen, {ready: true, counts: run.info.counts});
    const facts = await page.locator('#facts > div').allInnerTexts();
    for (const [name, value] of [['Posted lines', '2000'], ['Inserted', '389'], ['Rapid', '55'],
      ['Large jumps', String(run.info.counts.largeJumps)]]) {
      const fact = facts.find((text) => text.startsWith(name));
      assert.equal(fact.slice(name.length).replace(/\s/g, ''), value, name);
    }
    assert.match(await page.locator('#verdict').innerText(),
      /Not verified: 3 findings\s+A leaves its limits by 45 deg, which was not checked/);
    assert.equal(await page.locator('.chart-title').count(), 9);
    assert.deepEqual(complaints, []);
    await close();
  });

  test('slider, keys, charts and tool stay in step', async () => {
    const run = makeRun();
    const {page, complaints, close} = await open(makePage(template, run.info, run.columns));
    const state = () => page.evaluate(() => kandrel.state());
    const time = column(run, 'time');
    const isAt = async (row, x) => {
      const s = await state();
      assert.equal(s.row, row);
      assert.ok(Math.abs(s.x - x) < 1e-9, `at ${s.x}, not ${x}`);
      const perPixel = (s.view[1] - s.view[0]) / 500;
      assert.ok(Math.abs(s.chartX - x) < perPixel / 100, `charts at ${s.chartX}, not ${x}`);
      const from = time[row - 1];
      const part = (x - from) / (time[row] - from);
      ['px', 'py', 'pz'].forEach((name, k) => {
        const values = column(run, name);
        const wanted = values[row - 1] + part * (values[row] - values[row - 1]);
        const seen = s.tool.tip[k];
        assert.ok(Math.abs(seen - wanted) < 1e-4, `${name} ${seen}, not ${wanted}`);
      });
      const axis = ['i', 'j', 'k'].map((name) => {
        const values = column(run, name);
        return values[row - 1] + part * (values[row] - values[row - 1]);
      });
      const length = Math.hypot(...axis);
      axis.forEach((c, k) => assert.ok(Math.abs(s.tool.axis[k] - c / length) < 1e-5, `axis ${k}`));
    };
    // A quarter of the way between two lines, by the slider.
    const x = 0.75 * time[500] + 0.25 * time[501];
    const value = Math.round(x / time[1999] * 1e6);
    await page.locator('#slider').fill(String(value));
    await isAt(501, value / 1e6 * time[1999]);
    await page.locator('#slider').press('ArrowRight');
    await isAt(501, time[501]);
    await page.locator('#slider').press('ArrowRight');
    await isAt(502, time[502]);
    await page.locator('#slider').press('End');
    await isAt(1999, time[1999]);
    // A click in the middle of a chart.
    const chart = page.locator('.chart .u-over').nth(1);
    await chart.click({position: {x: (await chart.boundingBox()).width / 2, y: 40}});
    const s = await state();
    assert.ok(Math.abs(s.x - time[1999] / 2) < time[1999] / 300);
    assert.equal(Number(await page.locator('#slider').inputValue()),
      Math.round(s.x / time[1999] * 1e6));
    // Play goes on by itself, and stops.
    await page.locator('#play').click();
    await page.waitForFunction((from) => kandrel.state().x > from, s.x);
    await page.locator('#play').click();
    const rest = await state();
    assert.equal(rest.isPlaying, false);
    await page.waitForTimeout(60);
    assert.equal((await state()).x, rest.x);
    assert.deepEqual(complaints, []);
    await close();
  });

  test('rows of the findings lead to their lines', async () => {
    const {page, complaints, close} = await open(runPage({findings: 2500}));
    const words = await page.locator('#findings-words').innerText();
    assert.match(words.replace(/\u202f/g, ''), /2500 findings; the first 1000 are listed/);
    const rows = page.locator('#findings-rows tr');
    assert.equal(await rows.count(), 1000);
    for (const k of [1, 4]) {
      const line = Number(await rows.nth(k).getByRole('button').innerText());
      await rows.nth(k).getByRole('button').click();
      assert.equal(await page.evaluate(() => kandrel.state().line), line);
      assert.match(await page.locator('#here').innerText(), new RegExp(`^Line ${line},`));
    }
    assert.deepEqual(complaints, []);
    await close();
  });

  test('charts zoom and move together, and keep the extremes of what they leave out', async () => {
    const run = makeRun({lines: 60000});
    // One line that a thinned curve must not lose.
    column(run, 'a1')[31234] = 333;
    const {page, complaints, close} = await open(makePage(template, run.info, run.columns));
    const whole = await page.evaluate(() => kandrel.state());
    assert.ok(Math.max(...whole.points) <= 4 * kPlain.width);
    const words = await page.locator('.chart-body').nth(2).getAttribute('aria-label');
    assert.match(words, /to 333 mm/);
    await page.evaluate(() => kandrel.goToLine(31234));
    for (let i = 0; i < 8; ++i) await page.locator('#zoom-in').click();
    await page.waitForFunction(() => kandrel.state().points[1] < 400);
    const near = await page.evaluate(() => kandrel.state());
    assert.ok(near.view[0] < near.x && near.x < near.view[1]);
    assert.equal(new Set(near.points).size, 1);
    // A cursor that leaves the stretch takes it along.
    await page.evaluate(() => kandrel.goToLine(100));
    const moved = await page.evaluate(() => kandrel.state());
    assert.ok(moved.view[0] <= moved.x && moved.x <= moved.view[1]);
    await page.locator('#zoom-all').click();
    await page.waitForFunction((view) => kandrel.state().view[1] === view[1], whole.view);
    assert.deepEqual(complaints, []);
    await close();
  });

  // What a run says, changed, and what the page shows of it: name, change, what is looked at.
  const finding = (line, kind, more) =>
    ({line, source: line, axis: null, kind, text: `a ${kind} while the tip stands`, ...more});
  const textsOf = (page, selector) => page.locator(selector).allInnerTexts();
  const chartOf = (page, title) => page.locator('.chart').filter({has: page.locator('.chart-title',
    {hasText: new RegExp(`^${title}$`)})});
  const told = [
    ['a bound of rotary speeds and findings on the charts they concern', ({info}) => {
      info.maxRotarySpeed = 6e5;
      info.findings = [finding(400, 'rotarySpeed', {axis: 'A', unit: 'deg/min', value: 9e5,
        bound: 6e5, excess: 3e5}), finding(500, 'axisOffWay', {unit: 'deg', value: 1}),
      finding(600, 'turnsBack', {axis: 'A', unit: 'deg', value: 2}), finding(700, 'rapid')];
    }, async (page) => {
      // Of X, Y, Z, C, A, feed, rotary speed, tip, axis; A has its own where it is out furthest.
      const {marks} = await page.evaluate(() => kandrel.state());
      assert.deepEqual(marks.map((rows) => rows.length), [0, 0, 0, 0, 2, 0, 1, 0, 1]);
      assert.deepEqual([marks[4].includes(600), marks[6], marks[8]], [true, [400], [500]]);
      assert.match(await chartOf(page, 'Rotary speed').innerText(), /below the 600000 allowed/);
      const units = (await textsOf(page, '#findings-rows td:nth-child(5)')).map((text) =>
        text.replace(/^[\d.]+\s*/, ''));
      assert.deepEqual(units, ['deg', 'deg/min', 'deg', 'deg', '']);
    }],
    ['deviations no larger than their maximum', (run) => {
      run.info.maxima.axis = {value: 2.6e-7, line: 7};
      for (const n of column(run, 'axis').keys()) {
        if (column(run, 'axis')[n] >= 0) column(run, 'axis')[n] = 0.000139;
      }
    }, async (page) => {
      const tile = page.locator('#facts > div', {hasText: 'Axis off its arc'});
      assert.match(await tile.innerText(), /< 1e-6 deg$/);
      assert.equal(await tile.locator('button').count(), 0);
      await page.evaluate(() => kandrel.goToLine(740));
      const chart = chartOf(page, 'Axis off its arc');
      assert.equal(await chart.locator('.chart-now').innerText(), '< 1e-6\u00a0deg');
      assert.match(await chart.locator('.chart-note').innerText(), /^far below the 0.1 allowed/);
      assert.match(await chartOf(page, 'Tip off its line').locator('.chart-note').innerText(),
        /^(below the 0.01 allowed|)$/);
    }],
    ['findings on lines that follow each other as one', ({info}) => {
      const turns = (line, value) => finding(line, 'rotarySpeed', {axis: 'A', unit: 'deg/min',
        value, bound: 1500, excess: value - 1500});
      info.findings = [turns(100, 1600), finding(101, 'rapid'), turns(101, 1900), turns(102, 1700),
        turns(104, 1800)];
    }, async (page) => {
      const lines = await textsOf(page, '#findings-rows button');
      assert.deepEqual(lines.slice(1), ['100\u2013102', '101', '104']);
      const row = page.locator('#findings-rows tr').nth(1);
      assert.match(await row.innerText(), /on 3 lines, worst on 101:[^]*1900/);
      await row.getByRole('button').click();
      assert.equal(await page.evaluate(() => kandrel.state().line), 101);
      assert.deepEqual((await page.evaluate(() => kandrel.state())).marks[6], [101, 104]);
    }],
    ['limits that are none, and one without room', ({info}) => {
      Object.assign(info.axes[4], {min: 12, max: 12});
    }, async (page) => {
      const row = (k) => page.locator('#axes tr').nth(k);
      assert.equal(await row(3).locator('td').last().innerText(), 'none');
      assert.equal(await row(3).locator('.used, .at').count(), 0);
      assert.equal(await row(4).locator('td').last().innerText(), '12 to 12');
      assert.match(await page.locator('#verdict').innerText(), /A leaves its limits by 87 deg/);
    }],
    ['a verified run that leaves limits as one to look at', ({info}) => {
      Object.assign(info, {verified: true, findings: [], findingCount: 0});
    }, async (page) => {
      assert.equal(await page.locator('.badge').count(), 1);
      assert.equal(await page.locator('.badge.warn').innerText(),
        'Verified, but limits were not checked: A goes to 75, 45 beyond its limit 30');
    }],
    ['a refusal in words', ({info}) => {
      info.refused = {id: 5018, text: 'Above the maximum.', causes: [{id: 5008, text: 'Out.'}],
        shift: [1, 2, -3.5]};
      for (const axis of info.axes) axis.checked = true;
      info.findings = [finding(247, 'rotaryLimit', {from: 230, to: 260, axis: 'A', unit: 'deg', value: 75, bound: 30,
        excess: 45})];
      info.findingCount = 1;
    }, async (page) => {
      assert.equal(await page.locator('#verdict').innerText(),
        'Refused: Above the maximum. (error 5018)');
      assert.match(await page.locator('#refusal').innerText(),
        /error 5018: Above the maximum\.\s+caused by 5008: Out\.[^]*shifted by 1, 2, -3\.5 mm/);
      assert.match(await page.locator('#findings-words').innerText(), /limits are left 1 time, in 1 stretch\./);
      assert.equal(await page.locator('#findings-rows button').innerText(), '230\u2013260');
      assert.deepEqual((await page.evaluate(() => kandrel.state())).marks[4], [247]);
    }],
    ['a refusal without lines', (run) => {
      Object.assign(run, makeRun({lines: 0, findings: 0}));
      run.info.refused = {id: 5029, text: 'Not for 3 axes.', causes: [], shift: null};
      run.info.verified = false;
    }, async (page) => {
      assert.match(await page.locator('#refusal').innerText(), /error 5029: Not for 3 axes\.$/);
      assert.equal(await page.locator('#view').isVisible(), false);
    }],
  ];

  for (const [name, change, look] of told) {
    test(`shows ${name}`, async () => {
      const run = makeRun();
      change(run);
      const {page, complaints, close} = await open(makePage(template, run.info, run.columns));
      assert.equal(await page.evaluate(() => kandrel.ready), true);
      await look(page);
      assert.deepEqual(complaints, []);
      await close();
    });
  }

  const broken = (change) => {
    const run = makeRun({lines: 300});
    change(run);
    return makePage(template, run.info, run.columns);
  };

  // Runs that are odd and have to be shown all the same: name, page, charts.
  const odd = [
    ['no line', () => runPage({lines: 0, findings: 0}), 8],
    ['one line', () => runPage({lines: 1, findings: 1}), 8],
    ['three axes', () => runPage({axes: 3, findings: 0}), 4],
    ['four axes in inches', () => runPage({axes: 4, units: 'in'}), 8],
    ['six axes', () => runPage({axes: 6}), 10],
    ['no times', () => runPage({hasTime: false}), 8],
    ['numbers that are none', () => broken((run) => {
      for (const name of ['a0', 'px', 'i', 'feed', 'time', 'tip']) {
        const values = column(run, name);
        values[7] = NaN;
        values[8] = Infinity;
        values[9] = -Infinity;
      }
      column(run, 'a3').fill(NaN);
    }), 9],
    ['limits missing', () => broken((run) => {
      for (const axis of run.info.axes) axis.min = axis.max = null;
    }), 9],
    ['little said', () => broken((run) => {
      const {format, axes, rows} = run.info;
      run.info = {format, rows, axes: axes.map(({letter, kind}) => ({letter, kind}))};
    }), 9],
    ['markup in texts', () => broken((run) => {
      Object.assign(run.info, {title: '</script><b>bold</b>', machine: '<img src=x>',
        summary: '<!-- </pre>', verdict: ['</script><script>boom()</script>']});
    }), 9],
    ['a thinned run', () => broken((run) => {
      run.info.ofLines = 3000;
      run.columns[0][2] = run.columns[0][2].map((line) => line * 10);
    }), 9],
  ];

  for (const [name, make, charts] of odd) {
    test(`shows ${name}`, async () => {
      const {page, complaints, close} = await open(make());
      assert.deepEqual(complaints, []);
      assert.equal(await page.evaluate(() => kandrel.ready), true);
      assert.equal(await page.locator('.chart-title').count(), charts);
      await page.evaluate(() => {
        kandrel.goToLine(1e9);
        kandrel.goTo(0);
      });
      assert.equal(await page.locator('b, img').count(), 0);
      if (name === 'a thinned run') {
        await page.evaluate(() => kandrel.goToLine(1001));
        assert.equal(await page.evaluate(() => kandrel.state().line), 1010);
        assert.match(await page.locator('#thinned').innerText(), /300 of 3\s000 lines/);
      }
      assert.deepEqual(complaints, []);
      await close();
    });
  }

  // Pages without a run that can be shown: name, page, words.
  const unreadable = [
    ['without a run', () => template, /without a run/],
    ['of broken JSON', () => putRun(template, '{"format": 1', ''), /can\u2019t be read/],
    ['of another format', () => putRun(template, '{"format": 7}', ''), /format/],
    ['cut off', () => {
      const {info, columns} = makeRun({lines: 50});
      return makePage(template, {...info, rows: 500}, columns);
    }, /cut off/],
    ['of broken lines', () => {
      const {info, columns} = makeRun({lines: 50});
      info.columns = columns.map(([known, type]) => ({name: known, type}));
      const json = JSON.stringify(info);
      return putRun(template, json, '*#*#');
    }, /no valid block/],
    ['without a column', () => {
      const {info, columns} = makeRun({lines: 50});
      return makePage(template, info, columns.filter(([known]) => known !== 'flags'));
    }, /no column flags/],
  ];

  for (const [name, make, words] of unreadable) {
    test(`says in words what is wrong with a page ${name}`, async () => {
      const {page, complaints, close} = await open(make());
      assert.equal(await page.evaluate(() => kandrel.ready), false);
      assert.match(await page.getByRole('alert').innerText(), words);
      assert.deepEqual(complaints, []);
      await close();
    });
  }

  test('without WebGL says so, and has its charts', async () => {
    const plain = await launch(['--disable-gpu', '--disable-3d-apis']);
    try {
      const {page, close} = await open(runPage({}), {by: plain});
      const state = await page.evaluate(() => ({...kandrel.state(), ready: kandrel.ready}));
      assert.equal(state.ready, true);
      assert.equal(state.hasView, false);
      assert.match(await page.locator('#no-view').innerText(), /no WebGL/);
      assert.equal(await page.locator('.chart-title').count(), 9);
      await page.locator('#slider').press('End');
      assert.equal(await page.evaluate(() => kandrel.state().row), 1999);
      await close();
    } finally {
      await plain.close();
    }
  });

  test('the view is worked by keys', async () => {
    const {page, complaints, close} = await open(runPage({}));
    const pixels = async () => {
      await page.evaluate(() => new Promise((done) => requestAnimationFrame(() =>
        requestAnimationFrame(done))));
      return (await page.locator('#view-box').screenshot()).toString('base64');
    };
    await page.locator('#view').focus();
    const seen = new Set([await pixels()]);
    for (const key of ['ArrowLeft', 'ArrowUp', '+', 'Shift+ArrowRight', '1', '2', '3']) {
      await page.keyboard.press(key);
      const picture = await pixels();
      assert.ok(!seen.has(picture), `${key} changes nothing`);
      seen.add(picture);
    }
    await page.keyboard.press('4');
    assert.ok(seen.has(await pixels()), 'the first look does not come back');
    assert.deepEqual(complaints, []);
    await close();
  });

  test('pictures: light and dark, wide and narrow, nothing beside the page', async () => {
    const html = runPage({});
    for (const colorScheme of ['light', 'dark']) {
      for (const [name, viewport] of [['wide', kWide], ['narrow', kNarrow]]) {
        const {page, complaints, close} = await open(html, {viewport, colorScheme});
        await page.evaluate(() => kandrel.goToLine(740));
        await page.waitForTimeout(300);
        await page.screenshot({path: join(out, `${colorScheme}_${name}.png`)});
        if (colorScheme === 'light') {
          await page.screenshot({path: join(out, `${name}_full.png`), fullPage: true});
        }
        const width = await page.evaluate(() => document.documentElement.scrollWidth);
        assert.ok(width <= viewport.width, `${width} wide in ${viewport.width}`);
        assert.deepEqual(complaints, []);
        await close();
      }
    }
  });
});

// By itself, so that nothing disturbs its times.
test('200,000 lines load and move', async (context) => {
  const begin = performance.now();
  const {page, complaints, close} = await open(runPage({lines: 200000}));
  const loaded = performance.now() - begin;
  const seen = await page.evaluate(async () => {
    const frames = [];
    let last = performance.now();
    for (let i = 0; i < 40; ++i) {
      kandrel.goToLine(i * 5000);
      await new Promise((done) => requestAnimationFrame(done));
      const now = performance.now();
      frames.push(now - last);
      last = now;
    }
    const middle = (values) => [...values].sort((a, b) => a - b)[Math.floor(values.length / 2)];
    return {frame: middle(frames), update: middle(kandrel.times.updates),
      draw: middle(kandrel.times.draws), line: kandrel.state().line,
      points: Math.max(...kandrel.state().points)};
  });
  assert.equal(seen.line, 195000);
  assert.ok(seen.points <= 4 * kPlain.width);
  context.diagnostic(`made, written and loaded in ${Math.round(loaded)} ms; medians, drawn by ` +
    `software: frame ${seen.frame.toFixed(1)} ms, of which update ${seen.update.toFixed(2)} ms, ` +
    `draw ${seen.draw.toFixed(2)} ms in the script`);
  assert.deepEqual(complaints, []);
  await close();
});
