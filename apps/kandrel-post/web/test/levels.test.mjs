// The parts of the page that need no browser, against plain ways to the same.

import assert from 'node:assert/strict';
import {test} from 'node:test';

import {Cursor} from '../src/cursor.js';
import {studyAxis} from '../src/facts.js';
import {formatClock, formatCount, formatDigits, formatFixed, formatNumber} from '../src/format.js';
import {Extremes, pickPoints} from '../src/levels.js';

// The same numbers each time.
function seeded(seed) {
  let state = seed;
  return () => (state = (state * 1664525 + 1013904223) % 2 ** 32) / 2 ** 32;
}

test('a thinned curve has the extremes of each pixel, and gaps where nothing else is', () => {
  const random = seeded(7);
  const n = 30000;
  const pixels = 200;
  const x = new Float64Array(n);
  const values = new Float64Array(n);
  for (let i = 0, at = 0; i < n; ++i) {
    at += random() < 0.1 ? 0 : random();
    x[i] = at;
    values[i] = random() < 0.05 || (i > 9000 && i < 12000) ? NaN : random() * 10 - 5;
  }
  const extremes = new Extremes(values);
  for (const [x0, x1] of [[0, x[n - 1]], [x[4000], x[15000]], [x[9500], x[9600]]]) {
    const [xs, ys] = pickPoints(x, extremes, x0, x1, pixels);
    assert.ok(xs.length <= 4 * (pixels + 2));
    for (let i = 1; i < xs.length; ++i) assert.ok(xs[i - 1] <= xs[i]);
    for (let p = 0; p < pixels; ++p) {
      const [from, to] = [x0 + (x1 - x0) * p / pixels, x0 + (x1 - x0) * (p + 1) / pixels];
      const isIn = (at) => at >= from && at < to;
      const all = Array.from(values).filter((v, i) => isIn(x[i]) && Number.isFinite(v));
      const drawn = ys.filter((v, i) => isIn(xs[i]) && v !== null);
      if (all.length === 0) {
        assert.equal(drawn.length, 0);
        continue;
      }
      assert.equal(Math.max(...drawn), Math.max(...all), `pixel ${p}`);
      assert.equal(Math.min(...drawn), Math.min(...all), `pixel ${p}`);
    }
  }
});

test('what leaves the limits is found, with whole turns of a wrapped angle', () => {
  const axis = (values, more) => ({values, min: -120, max: 30, wrapped: 'none', slack: 1e-4, ...more});
  const cases = [
    [axis([0, 30, -120]), 0, 0],
    [axis([0, 31, -125, 20]), 2, 5],
    [axis([NaN, Infinity, 29]), 0, 0],
    [axis([1e9], {max: null}), 0, 0],
    [axis([-130], {max: null}), 1, 10],
    [axis([350, 250], {wrapped: '360'}), 0, 0],
    [axis([40, 200], {wrapped: '360'}), 2, 40],
    [axis([30.2], {isChecked: true}), 0, 0],
    [axis([30.0001, -120.0001]), 0, 0],
    [axis([12, 12.5], {min: 12, max: 12, slack: 0}), 1, 0.5],
  ];
  cases.forEach(([given, outside, excess], k) => {
    const found = studyAxis(given);
    assert.deepEqual([found.outside, found.excess], [outside, excess], `case ${k}`);
  });
});

test('between lines angles go as the control turns them', () => {
  const cursor = new Cursor({n: 2, x: [0, 4], x0: 0, x1: 4});
  cursor.setX(3);
  const cases = [
    [[350, 10], 'none', 95], [[350, 10], '360', 5], [[10, 350], '360', 355],
    [[170, -170], '180', -175], [[-170, 170], '180', 175], [[0, 90], '360', 67.5],
  ];
  for (const [values, wrapped, wanted] of cases) {
    assert.ok(Math.abs(cursor.valueOf(values, wrapped) - wanted) < 1e-9, `${values} ${wrapped}`);
  }
});

test('numbers look the same everywhere', () => {
  const cases = [
    [formatNumber(-0.00001, 3), '0'], [formatNumber(1200), '1200'], [formatNumber(NaN), '\u2013'],
    [formatNumber(12.5004, 3), '12.5'], [formatNumber(-Infinity), '-infinite'],
    [formatFixed(-0.0001, 3), '0.000'], [formatFixed(2, 3), '2.000'],
    [formatDigits(0.0042499), '0.00425'], [formatDigits(2e-7), '< 1e-6'], [formatDigits(1910), '1910'],
    [formatCount(1234567), '1\u202f234\u202f567'],
    [formatClock(82.958), '0:01:22'], [formatClock(3599.999, 2, false), '59:59.99'],
    [formatClock(0.3, 1, false), '0:00.3'],
  ];
  for (const [seen, wanted] of cases) assert.equal(seen, wanted);
});
