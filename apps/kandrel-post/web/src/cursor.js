// The place in the run that slider, charts, tool and readout share.

import {lowerBound} from './run.js';

export class Cursor {
  constructor(run) {
    this.run = run;
    this.listeners = [];
    this.x = run.x0;
    this.row = run.n > 0 ? 0 : -1;
  }

  onChange(listener) {
    this.listeners.push(listener);
  }

  // Where between the lines: `row` is the line that the machine is on the way to, or stands at.
  setX(x) {
    const {run} = this;
    if (run.n === 0 || !Number.isFinite(x)) return;
    this.x = Math.min(Math.max(x, run.x0), run.x1);
    this.row = Math.min(lowerBound(run.x, this.x), run.n - 1);
    this.tell();
  }

  // On a line, also on one of several that share a time.
  setRow(row) {
    const {run} = this;
    if (run.n === 0) return;
    this.row = Math.min(Math.max(row, 0), run.n - 1);
    this.x = run.x[this.row];
    this.tell();
  }

  // How far the machine is on its way from the row before to `row`, 0 to 1.
  get part() {
    const {run, row} = this;
    if (row <= 0) return 1;
    const from = run.x[row - 1];
    const way = run.x[row] - from;
    return way > 0 ? (this.x - from) / way : 1;
  }

  // A column's value here, linear between rows; NaN where it has none. An angle that the control
  // wraps goes the shorter way: `wrapped` is '360' or '180' then.
  valueOf(values, wrapped = 'none') {
    const {row} = this;
    if (row < 0) return NaN;
    const part = this.part;
    if (row === 0 || part === 1) return values[row];
    let way = values[row] - values[row - 1];
    if (wrapped === 'none' || Math.abs(way) <= 180) return values[row - 1] + part * way;
    way -= 360 * Math.round(way / 360);
    const low = wrapped === '360' ? 0 : -180;
    const value = values[row - 1] + part * way - low;
    return value - 360 * Math.floor(value / 360) + low;
  }

  tell() {
    for (const listener of this.listeners) listener(this);
  }
}
