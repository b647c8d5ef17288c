// The machine at the cursor, as a control would show it, with each axis against its limits.

import {byId, element} from './dom.js';
import {formatClock, formatCount, formatDigits, formatFixed, formatNumber} from './format.js';
import {kFlag, kNoSource} from './run.js';

const kWords = [
  [kFlag.rapid, 'rapid'], [kFlag.inserted, 'inserted'], [kFlag.pole, 'on a pole'],
  [kFlag.jump, 'large jump'], [kFlag.rewinding, 'rewinding'],
];

// What the range bar spans: the limits, and what is used where it goes beyond or has none.
function barRange(axis, facts) {
  let low = Number.isNaN(facts.min) ? 0 : facts.min;
  let high = Number.isNaN(facts.max) ? 0 : facts.max;
  if (axis.min !== null) [low, high] = [Math.min(low, axis.min), Math.max(high, axis.min)];
  if (axis.max !== null) [low, high] = [Math.min(low, axis.max), Math.max(high, axis.max)];
  if (!(high - low > 0)) return [low - 1, high + 1];
  return [low, high];
}

export class Readout {
  constructor(run, facts, cursor) {
    Object.assign(this, {run, facts, cursor});
    this.rows = run.axes.map((axis, i) => this.makeRow(axis, facts.axes[i]));
    byId('axes').append(...this.rows.map(({row}) => row));
    this.here = byId('here');
    cursor.onChange(() => this.update());
    this.update();
  }

  makeRow(axis, facts) {
    const unit = axis.isRotary ? 'deg' : this.run.unit;
    const [low, high] = barRange(axis, facts);
    const percent = (v) => Math.min(Math.max((v - low) / (high - low), 0), 1) * 100;
    const track = element('div', {class: 'track', 'aria-hidden': 'true'});
    const stripe = (name, from, to) => {
      const part = element('div', {class: name});
      part.style.left = `${percent(from)}%`;
      part.style.width = `${percent(to) - percent(from)}%`;
      track.append(part);
    };
    if (axis.min !== null && axis.min > low) stripe('out', low, axis.min);
    if (axis.max !== null && axis.max < high) stripe('out', axis.max, high);
    const at = element('div', {class: 'at'});
    // Nothing is used of limits that there are not.
    if (axis.min !== null || axis.max !== null) {
      if (!Number.isNaN(facts.min)) stripe('used', facts.min, facts.max);
      track.append(at);
    }
    const now = document.createTextNode('');
    const limits = axis.min === null && axis.max === null ? 'none' :
      `${axis.min === null ? 'none' : formatNumber(axis.min, 3)} to ` +
      `${axis.max === null ? 'none' : formatNumber(axis.max, 3)}`;
    const used = Number.isNaN(facts.min) ? '\u2013' :
      `${formatNumber(facts.min, 3)} to ${formatNumber(facts.max, 3)}`;
    const isOut = facts.outside > 0 ? ' is-out' : '';
    const row = element('tr', {},
      element('th', {scope: 'row'}, axis.letter),
      element('td', {class: 'now'}, now, ' ', element('small', {}, unit)),
      element('td', {class: 'range'}, track),
      element('td', {class: `num small used-col${isOut}`}, used),
      element('td', {class: 'num small'}, limits));
    row.style.setProperty('--c', `var(--${axis.isRotary ? 'rotary' : 'linear'})`);
    return {row, now, at, percent, axis};
  }

  update() {
    const {run, cursor} = this;
    for (const {now, at, percent, axis} of this.rows) {
      const value = cursor.valueOf(axis.values, axis.wrapped);
      now.data = formatFixed(value, run.unit === 'in' && !axis.isRotary ? 4 : 3);
      at.style.left = Number.isFinite(value) ? `${percent(value)}%` : '0';
    }
    this.here.textContent = this.words();
  }

  words() {
    const {run, cursor, facts} = this;
    const {row} = cursor;
    if (row < 0) return 'The run has no line.';
    const {col} = run;
    const parts = [`Line ${col.line[row]}`];
    if (col.source[row] !== kNoSource) parts.push(`source move ${col.source[row]}`);
    const flags = kWords.filter(([bit]) => col.flags[row] & bit).map(([, word]) => word);
    if (!(col.flags[row] & kFlag.rapid)) {
      flags.unshift(`feed ${formatNumber(col.feed[row], 3)} ${run.unit}/min`);
    }
    const speed = facts.speed.values[row];
    if (!Number.isNaN(speed) && speed > 0) flags.push(`turns at ${formatDigits(speed)} deg/min`);
    const tip = facts.tip.values[row];
    if (!Number.isNaN(tip)) flags.push(`tip off its line by up to ${formatDigits(tip)} ${run.unit}`);
    return parts.concat(flags).join(', ') + '.';
  }

  // For the slider: where in the run in time, and on the way to which line.
  get place() {
    const {run, cursor} = this;
    if (cursor.row < 0) return ['no line', ''];
    const line = `line ${formatCount(run.col.line[cursor.row])}`;
    if (!run.hasTime) return [line, ''];
    const hasHours = run.x1 >= 3600;
    const clock = (seconds, decimals) => formatClock(seconds, decimals, hasHours);
    return [`${clock(cursor.x, run.x1 < 600 ? 2 : 1)} / ${clock(run.x1, 0)} ` +
      (hasHours ? 'h' : 'min'), `, ${line}`];
  }
}
