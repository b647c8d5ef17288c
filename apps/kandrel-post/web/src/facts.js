// What the page works out of a run's rows, once: marked rows, extents, limits left, rotary speed.

import {kFlag} from './run.js';

// A difference to a limit may come out larger than it is by so much of the slack.
const kRounding = 1.0001;

function rowsWith(flags, bit) {
  let count = 0;
  for (let i = 0; i < flags.length; ++i) if (flags[i] & bit) ++count;
  const rows = new Uint32Array(count);
  for (let i = 0, k = 0; i < flags.length; ++i) if (flags[i] & bit) rows[k++] = i;
  return rows;
}

// Of rows that follow each other without a gap the first: a lift or a rewinding may take many.
function starts(rows) {
  return rows.filter((row, k) => k === 0 || rows[k - 1] !== row - 1);
}

// An angle that the control wraps stands for all of its whole turns: the one nearest to the range.
function excessOf(axis, value) {
  const beyond = (v) => Math.max(axis.max === null ? 0 : v - axis.max,
    axis.min === null ? 0 : axis.min - v, 0);
  if (axis.wrapped === 'none' || axis.min === null || axis.max === null) return beyond(value);
  const turned = value - 360 * Math.floor((value - axis.min) / 360);
  return Math.min(beyond(turned), beyond(turned - 360));
}

// Extents of the finite values of an axis and what of it leaves the limits. Limits that the posting
// has checked, by a slack that it was given, are its own to judge, and the verification's.
export function studyAxis(axis) {
  const {values} = axis;
  const slack = axis.slack * kRounding;
  const facts = {min: NaN, max: NaN, broken: 0, outside: 0, firstRow: -1, worstRow: -1, excess: 0};
  for (let i = 0; i < values.length; ++i) {
    const v = values[i];
    if (!Number.isFinite(v)) {
      ++facts.broken;
      continue;
    }
    if (!(v >= facts.min)) facts.min = v;
    if (!(v <= facts.max)) facts.max = v;
    if (axis.isChecked) continue;
    const excess = excessOf(axis, v);
    if (!(excess > slack)) continue;
    if (facts.outside++ === 0) facts.firstRow = i;
    if (excess > facts.excess) {
      facts.excess = excess;
      facts.worstRow = i;
    }
  }
  return facts;
}

// Degrees per minute of the fastest rotary axis in the block to each row; NaN in rapid moves and in
// those without a time.
function rotarySpeed(run) {
  const speed = new Float32Array(run.n).fill(NaN);
  const rotary = run.axes.filter((axis) => axis.isRotary);
  if (rotary.length === 0 || !run.hasTime) return speed;
  for (let i = 1; i < run.n; ++i) {
    const minutes = (run.time[i] - run.time[i - 1]) / 60;
    if (!(minutes > 0) || run.col.flags[i] & kFlag.rapid) continue;
    let turn = NaN;
    for (const axis of rotary) {
      let d = Math.abs(axis.values[i] - axis.values[i - 1]);
      if (axis.wrapped !== 'none') d = Math.abs(d - 360 * Math.round(d / 360));
      if (!(turn >= d)) turn = d;
    }
    speed[i] = turn / minutes;
  }
  return speed;
}

function extentOf(values) {
  let min = NaN;
  let max = NaN;
  for (let i = 0; i < values.length; ++i) {
    const v = values[i];
    if (!Number.isFinite(v)) continue;
    if (!(v >= min)) min = v;
    if (!(v <= max)) max = v;
  }
  return {min, max};
}

// A copy without the values of rapid moves, which no feed and no deviation stand for.
function ofFeedMoves(run, values) {
  const out = Float32Array.from(values);
  for (let i = 0; i < run.n; ++i) if (run.col.flags[i] & kFlag.rapid) out[i] = NaN;
  return out;
}

// Deviations of feed moves. The verification hands over those that are too small to be seen as
// bounds, which may lie above the maximum of all; that one is exact.
function deviations(values, largest, isShown) {
  const most = typeof largest === 'number' && largest >= 0 ? Math.fround(largest) : Infinity;
  const out = Float32Array.from(values, (v) => isShown ? (v > most ? most : v) : NaN);
  return {values: out, ...extentOf(out)};
}

export function studyRun(run) {
  const {flags} = run.col;
  const feed = ofFeedMoves(run, run.col.feed);
  const speed = rotarySpeed(run);
  const {tip, axis} = run.col;
  const {maxima} = run.info;
  // Three linear axes leave a line by nothing but rounding.
  const turns = run.axes.some((a) => a.isRotary);
  const rows = {
    rapid: rowsWith(flags, kFlag.rapid),
    inserted: rowsWith(flags, kFlag.inserted),
    pole: rowsWith(flags, kFlag.pole),
    jump: rowsWith(flags, kFlag.jump),
    rewinding: rowsWith(flags, kFlag.rewinding),
  };
  return {
    rows,
    jumps: starts(rows.jump),
    rewindings: starts(rows.rewinding),
    poles: starts(rows.pole),
    axes: run.axes.map(studyAxis),
    feed: {values: feed, ...extentOf(feed)},
    speed: {values: speed, ...extentOf(speed)},
    tip: deviations(tip, maxima?.tip?.value, turns),
    axis: deviations(axis, maxima?.axis?.value, turns),
  };
}
