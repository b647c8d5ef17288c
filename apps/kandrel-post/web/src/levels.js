// Level of detail of a chart's curve: at most four points a pixel, none of which hides an extreme.

import {lowerBound} from './run.js';

const kBlock = 64;

// Knows the rows of the smallest and largest finite value of any range of rows at the cost of the
// range's length by 64.
export class Extremes {
  constructor(values) {
    this.values = values;
    const blocks = Math.ceil(values.length / kBlock);
    this.low = new Int32Array(blocks).fill(-1);
    this.high = new Int32Array(blocks).fill(-1);
    for (let i = 0; i < values.length; ++i) {
      const v = values[i];
      if (!Number.isFinite(v)) continue;
      const b = Math.floor(i / kBlock);
      if (this.low[b] < 0 || v < values[this.low[b]]) this.low[b] = i;
      if (this.high[b] < 0 || v > values[this.high[b]]) this.high[b] = i;
    }
  }

  // The rows of both in [from, to), -1 where no value there is finite.
  find(from, to) {
    const {values} = this;
    let low = -1;
    let high = -1;
    const take = (l, h) => {
      if (l >= 0 && (low < 0 || values[l] < values[low])) low = l;
      if (h >= 0 && (high < 0 || values[h] > values[high])) high = h;
    };
    let i = from;
    while (i < to) {
      if (i % kBlock === 0 && i + kBlock <= to) {
        const b = i / kBlock;
        take(this.low[b], this.high[b]);
        i += kBlock;
      } else {
        if (Number.isFinite(values[i])) take(i, i);
        ++i;
      }
    }
    return {low, high};
  }
}

// The rows of [x0, x1] and the neighbour on either side.
export function visibleRows(x, x0, x1) {
  const from = Math.max(0, lowerBound(x, x0) - 1);
  let to = lowerBound(x, x1, from);
  while (to < x.length && x[to] === x1) ++to;
  return {from, to: Math.min(x.length, to + 1)};
}

// The points to draw of a curve in [x0, x1] over so many pixels: [xs, ys], null for a gap.
export function pickPoints(x, extremes, x0, x1, pixels) {
  const {values} = extremes;
  const {from, to} = visibleRows(x, x0, x1);
  const xs = [];
  const ys = [];
  const put = (i) => {
    xs.push(x[i]);
    ys.push(Number.isFinite(values[i]) ? values[i] : null);
  };
  if (to - from <= 4 * pixels) {
    for (let i = from; i < to; ++i) put(i);
  } else {
    const width = (x1 - x0) / pixels;
    let i = from;
    for (let p = 0; i < to; ++p) {
      let end = p >= pixels ? to : lowerBound(x, x0 + (p + 1) * width, i, to);
      if (p >= pixels && end === i) end = to;
      if (end === i) continue;
      const {low, high} = extremes.find(i, end);
      // A gap narrower than a pixel is none.
      let last = -1;
      for (const row of low < 0 ? [i] : [i, Math.min(low, high), Math.max(low, high), end - 1]) {
        if (row <= last || (low >= 0 && !Number.isFinite(values[row]))) continue;
        last = row;
        put(row);
      }
      i = end;
    }
  }
  return [xs, ys];
}
