// What a person should look at, in words, each with the line that it leads to.

import {byId, element} from './dom.js';
import {formatCount, formatDigits, plural} from './format.js';
import {kNoSource, rowOfLine} from './run.js';

const kMostRows = 1000;

const isNumber = (value) => typeof value === 'number' && Number.isFinite(value);

// The unit of a finding's numbers, by its axis and its words.
function unitOf(finding, run) {
  if (typeof finding.unit === 'string') return finding.unit;
  const kind = String(finding.kind ?? '');
  const axis = run.axes.find((a) => a.letter === finding.axis);
  if (/a minute|speed/.test(kind)) return 'deg/min';
  if (axis) return axis.isRotary ? 'deg' : run.unit;
  if (/feed/.test(kind)) return `${run.unit}/min`;
  if (/tool axis|orientation|\barc\b/.test(kind)) return 'deg';
  if (/tip|part position|behind/.test(kind)) return run.unit;
  return '';
}

// All rows of the table: {line, row, source, axis, what, value, allowed, beyond, unit, isFault}.
export function gatherFindings(run, facts) {
  const {info, unit} = run;
  const found = [];
  run.axes.forEach((axis, i) => {
    const study = facts.axes[i];
    if (study.outside > 0) {
      const row = study.worstRow;
      const value = axis.values[row];
      const isMax = axis.max !== null && value > axis.max;
      found.push({
        row, axis: axis.letter, value, unit: axis.isRotary ? 'deg' : unit, isFault: false,
        allowed: isMax ? axis.max : axis.min, beyond: study.excess,
        what: `leaves its ${isMax ? 'upper' : 'lower'} limit on ` +
          `${plural(study.outside, 'line', 'lines')}, here furthest; limits were not checked`,
      });
    }
    if (study.broken > 0) {
      const row = axis.values.findIndex((v) => !Number.isFinite(v));
      found.push({row, axis: axis.letter, value: NaN, isFault: true, unit: '',
        what: `has no finite number on ${plural(study.broken, 'line', 'lines')}, here first`});
    }
  });
  const held = info.notHeld;
  for (const line of Array.isArray(held?.lines) ? held.lines : []) {
    const index = line?.line ?? line?.index;
    if (!isNumber(index)) continue;
    const {tolerance} = info;
    const isTip = !(isNumber(tolerance?.tip) && line.tip <= tolerance.tip);
    found.push({
      line: index, source: line.source, unit: isTip ? unit : 'deg', isFault: false,
      value: isTip ? line.tip : line.axis, allowed: isTip ? tolerance?.tip : tolerance?.axis,
      what: `the tolerance is not held on the way there: tip ${formatDigits(line.tip)} ${unit}, ` +
        `axis ${formatDigits(line.axis)} deg`,
    });
  }
  for (const finding of Array.isArray(info.findings) ? info.findings : []) {
    if (!finding || !isNumber(finding.line)) continue;
    found.push({
      line: finding.line, source: finding.source, axis: finding.axis, value: finding.value,
      allowed: finding.bound, beyond: finding.excess, unit: unitOf(finding, run), isFault: true,
      what: String(finding.text ?? finding.kind ?? 'it is wrong'),
    });
  }
  for (const one of found) {
    if (run.n === 0) one.row = -1;
    else one.row ??= rowOfLine(run, one.line);
    if (one.row >= 0) {
      one.line ??= run.col.line[one.row];
      one.source ??= run.col.source[one.row];
    }
  }
  return found;
}

export function fillFindings(run, found, cursor, goTo) {
  const {info} = run;
  const words = [];
  for (const text of Array.isArray(info.refusals) ? info.refusals : []) words.push(String(text));
  const count = isNumber(info.findingCount) ? info.findingCount : (info.findings ?? []).length;
  if (count > 0) {
    words.push(`The verification has ${plural(count, 'finding', 'findings')}` +
      (count > (info.findings ?? []).length ?
        `; the first ${formatCount((info.findings ?? []).length)} are listed.` : '.'));
  }
  const heldCount = info.notHeld?.count ?? 0;
  if (heldCount > 0) {
    words.push('The tolerance is not held on the way to ' +
      `${plural(heldCount, 'line', 'lines')}.`);
  }
  if (found.length === 0 && words.length === 0) {
    words.push(info.verified === true ?
      'Nothing: the verification has no finding and no axis leaves its limits.' :
      'No finding is listed.');
  }
  byId('findings-words').textContent = words.join(' ');
  byId('findings-box').hidden = found.length === 0;

  const body = byId('findings-rows');
  const rows = found.slice(0, kMostRows).map((one) => {
    const cell = (text, name = '', label = '') => element('td', {
      ...name && {class: name}, ...label && {'data-label': label}}, text);
    const button = element('button', {type: 'button'}, String(one.line ?? '\u2013'));
    button.setAttribute('aria-label', `Go to line ${one.line}`);
    const unit = one.unit ? `\u00a0${one.unit}` : '';
    const number = (value, text) => isNumber(value) ? text(value) + unit : '';
    const hasSource = isNumber(one.source) && one.source >= 0 && one.source !== kNoSource;
    const what = cell('', 'what');
    what.append(element('span', {class: one.isFault ? 'sort' : 'sort warn', role: 'img',
      'aria-label': one.isFault ? 'finding' : 'note'}), one.what);
    const row = element('tr', {}, element('td', {}, button),
      cell(hasSource ? String(one.source) : '', 'num', 'Source move'),
      cell(one.axis ? String(one.axis) : '', '', 'Axis'), what,
      cell(number(one.value, (v) => formatDigits(v, 6)), 'num', 'Value'),
      cell(number(one.allowed, (v) => formatDigits(v, 6)), 'num', 'Allowed'),
      cell(number(one.beyond, (v) => formatDigits(v, 4)), 'num', 'Beyond by'));
    if (one.row < 0) {
      button.disabled = true;
      return row;
    }
    row.dataset.row = one.row;
    row.addEventListener('click', () => {
      goTo(one.row);
      for (const other of rows) other.classList.toggle('is-here', other === row);
    });
    return row;
  });
  body.append(...rows);
}
