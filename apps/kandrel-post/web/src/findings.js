// What a person should look at, in words, each with the line that it leads to.

import {byId, element} from './dom.js';
import {formatCount, formatDigits, plural} from './format.js';
import {kNoSource, rowOfLine} from './run.js';

const kMostRows = 1000;

const isNumber = (value) => typeof value === 'number' && Number.isFinite(value);

// The chart on which findings of a kind are marked; those of other kinds stand on their axis's.
const kCharts = {tipOffWay: 'tip', axisOffWay: 'axis', rotarySpeed: 'speed', feed: 'feed'};

// Findings of one kind and axis on lines that follow each other become one, which stands on the
// worst of them: {from, to} beside its own line. Some come joined.
function join(found) {
  const joined = [];
  const last = new Map();
  const worse = (a, b) => Math.abs(a.beyond ?? a.value ?? 0) > Math.abs(b.beyond ?? b.value ?? 0);
  for (const one of found) {
    const key = `${one.kind} ${one.axis ?? ''}`;
    const before = last.get(key);
    const from = one.from ?? one.line;
    const to = one.to ?? one.line;
    if (isNumber(from) && before && (from === before.to + 1 || from === before.to)) {
      const first = before.from;
      if (worse(one, before)) Object.assign(before, one);
      Object.assign(before, {from: first, to});
      continue;
    }
    const next = {...one, from, to};
    joined.push(next);
    last.set(key, next);
  }
  return joined;
}

// All rows of the table: {line, from, to, row, source, kind, axis, chart, what, value, allowed,
// beyond, unit, isFault}; `chart` is the id of the chart that it is marked on.
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
        row, kind: 'unchecked', axis: axis.letter, value, unit: axis.isRotary ? 'deg' : unit, isFault: false,
        allowed: isMax ? axis.max : axis.min, beyond: study.excess,
        what: `leaves its ${isMax ? 'upper' : 'lower'} limit on ` +
          `${plural(study.outside, 'line', 'lines')}, here furthest; limits were not checked`,
      });
    }
    if (study.broken > 0) {
      const row = axis.values.findIndex((v) => !Number.isFinite(v));
      found.push({row, kind: 'broken', axis: axis.letter, value: NaN, isFault: true, unit: '',
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
      line: index, source: line.source, kind: isTip ? 'tipNotHeld' : 'axisNotHeld',
      chart: isTip ? 'tip' : 'axis', unit: isTip ? unit : 'deg', isFault: false,
      value: isTip ? line.tip : line.axis, allowed: isTip ? tolerance?.tip : tolerance?.axis,
      what: `the tolerance is not held on the way there: tip ${formatDigits(line.tip)} ${unit}, ` +
        `axis ${formatDigits(line.axis)} deg`,
    });
  }
  for (const finding of Array.isArray(info.findings) ? info.findings : []) {
    if (!finding || !isNumber(finding.line)) continue;
    const isLimited = isNumber(finding.bound);
    found.push({
      line: finding.line, source: finding.source, kind: finding.kind, axis: finding.axis,
      chart: kCharts[finding.kind], value: finding.value, allowed: finding.bound,
      ...isNumber(finding.from) && isNumber(finding.to) && {from: finding.from, to: finding.to},
      beyond: isLimited ? finding.excess : null, unit: finding.unit ?? '', isFault: true,
      what: String(finding.text ?? 'it is wrong'),
    });
  }
  const joined = join(found);
  for (const one of joined) {
    one.chart ??= one.axis;
    if (run.n === 0) one.row = -1;
    else one.row ??= rowOfLine(run, one.line);
    if (one.row >= 0) {
      one.line ??= run.col.line[one.row];
      one.source ??= run.col.source[one.row];
    }
  }
  return joined;
}

export function fillFindings(run, found, cursor, goTo) {
  const {info} = run;
  const words = [];
  const count = isNumber(info.findingCount) ? info.findingCount : (info.findings ?? []).length;
  if (count > 0) {
    const listed = info.findings ?? [];
    const lines = (one) => isNumber(one?.from) && isNumber(one?.to) ? one.to - one.from + 1 : 1;
    const covered = listed.reduce((sum, one) => sum + lines(one), 0);
    words.push((info.refused ? `The limits are left ${plural(count, 'time', 'times')}` :
      `The verification has ${plural(count, 'finding', 'findings')}`) +
      (covered > listed.length ? `, in ${plural(listed.length, 'stretch', 'stretches')}` : '') +
      (covered < count ? `; the first ${formatCount(covered)} are listed.` : '.'));
  }
  const heldCount = info.notHeld?.count ?? 0;
  if (heldCount > 0) {
    words.push('The tolerance is not held on the way to ' +
      `${plural(heldCount, 'line', 'lines')}.`);
  }
  if (found.length === 0 && words.length === 0) {
    words.push(info.refused ? 'The posting was refused, see above.' :
      info.verified === true ? 'Nothing: the verification has no finding and no axis leaves its limits.' :
      'No finding is listed.');
  }
  byId('findings-words').textContent = words.join(' ');
  byId('findings-box').hidden = found.length === 0;

  const body = byId('findings-rows');
  const rows = found.slice(0, kMostRows).map((one) => {
    const cell = (text, name = '', label = '') => element('td', {
      ...name && {class: name}, ...label && {'data-label': label}}, text);
    const isMany = one.to > one.from;
    const button = element('button', {type: 'button'},
      isMany ? `${one.from}\u2013${one.to}` : String(one.line ?? '\u2013'));
    button.setAttribute('aria-label', `Go to line ${one.line}` +
      (isMany ? `, the worst of ${one.from} to ${one.to}` : ''));
    const unit = one.unit ? `\u00a0${one.unit}` : '';
    const number = (value, text) => isNumber(value) ? text(value) + unit : '';
    const hasSource = isNumber(one.source) && one.source >= 0 && one.source !== kNoSource;
    const what = cell('', 'what');
    what.append(element('span', {class: one.isFault ? 'sort' : 'sort warn', role: 'img',
      'aria-label': one.isFault ? 'finding' : 'note'}),
      isMany ? `on ${formatCount(one.to - one.from + 1)} lines, worst on ${one.line}: ${one.what}` : one.what);
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
