// The heading: what was posted for which machine, whether it is right, and its numbers.

import {byId, element} from './dom.js';
import {formatClock, formatCount, formatDigits, formatNumber, plural} from './format.js';
import {rowOfLine} from './run.js';

const kIcons = {
  ok: 'M8 0a8 8 0 100 16A8 8 0 008 0zm-1 12L3 8l1.5-1.5L7 9l4.8-4.8L13.3 5.700z',
  bad: 'M8 0a8 8 0 100 16A8 8 0 008 0zm3.8 10.300l-1.500 1.500L8 9.500l-2.300 2.300-1.500-1.500L6.500 8 4.200 5.700l1.500-1.500L8 6.500l2.300-2.300 1.500 1.500L9.500 8z',
  warn: 'M8 0l8 15H0zM7 5l.3 5h1.400L9 5zm0 6.500V13.500h2V11.500z',
};

function icon(kind) {
  const svg = document.createElementNS('http://www.w3.org/2000/svg', 'svg');
  svg.setAttribute('viewBox', '0 0 16 16');
  svg.setAttribute('aria-hidden', 'true');
  const path = document.createElementNS('http://www.w3.org/2000/svg', 'path');
  path.setAttribute('d', kIcons[kind]);
  path.setAttribute('fill-rule', 'evenodd');
  svg.append(path);
  return svg;
}

function badge(kind, text) {
  return element('div', {class: `badge ${kind}`}, icon(kind), element('span', {}, text));
}

function sentence(text) {
  return text.charAt(0).toUpperCase() + text.slice(1);
}

function verdictText(info) {
  const lines = (Array.isArray(info.verdict) ? info.verdict : [String(info.verdict ?? '')])
    .map((line) => String(line).trim()).filter((line) => line !== '');
  if (lines.length > 0) return sentence(lines[0]);
  return info.verified === true ? 'Verified' : 'Not verified';
}

// Axes that leave limits which the posting has not checked, in words.
function limitsLeft(run, facts) {
  const words = [];
  run.axes.forEach((axis, i) => {
    const {outside, worstRow, excess} = facts.axes[i];
    if (outside === 0) return;
    const value = axis.values[worstRow];
    const limit = axis.max !== null && value > axis.max ? axis.max : axis.min;
    words.push(`${axis.letter} goes to ${formatNumber(value, 3)}, ` +
      `${formatDigits(excess, 4)} beyond its limit ${formatNumber(limit, 3)}`);
  });
  return words.join('; ');
}

function addBadges(run, facts) {
  const {info, unit} = run;
  const verdict = byId('verdict');
  const {refused} = info;
  if (refused) {
    verdict.append(badge('bad', `Refused: ${refused.text ?? ''} (error ${refused.id ?? 0})`));
    return;
  }
  const left = limitsLeft(run, facts);
  if (info.verified === true && left !== '') {
    verdict.append(badge('warn', `Verified, but limits were not checked: ${left}`));
  } else {
    verdict.append(badge(info.verified === true ? 'ok' : 'bad', verdictText(info)));
    run.axes.forEach((axis, i) => {
      const {outside, excess} = facts.axes[i];
      if (outside === 0) return;
      verdict.append(badge('warn', `${axis.letter} leaves its limits by ` +
        `${formatDigits(excess, 4)} ${axis.isRotary ? 'deg' : unit}, which was not checked`));
    });
  }
  const notHeld = info.notHeld?.count ?? 0;
  if (notHeld > 0) {
    verdict.append(badge('warn', 'Tolerance not held on the way to ' +
      plural(notHeld, 'line', 'lines')));
  }
}

// Why there is no posting, in the words of the error lines.
function fillRefusal(run) {
  const {refused} = run.info;
  if (!refused) return;
  const box = byId('refusal');
  box.hidden = false;
  const line = (text) => box.append(element('p', {}, text));
  box.append(element('h2', {}, 'The posting was refused'));
  line(`error ${refused.id ?? 0}: ${refused.text ?? ''}`);
  for (const {id, text} of Array.isArray(refused.causes) ? refused.causes : []) {
    line(`caused by ${id ?? 0}: ${text ?? ''}`);
  }
  if (run.n > 0) {
    line('Below is the same run posted without checks; nothing of it was written.');
  }
  const {shift} = refused;
  if (Array.isArray(shift) && shift.every((value) => typeof value === 'number')) {
    line(`No linear axis leaves its limits with the part origin shifted by ${shift.join(', ')} ` +
      `${run.unit} (X, Y, Z).`);
  }
}

export function fillHead(run, facts, goTo) {
  const {info, counts, unit} = run;
  const title = String(info.title || 'Posted run');
  document.title = `${title} \u2013 posted run`;
  byId('title').textContent = title;
  const letters = run.axes.map((axis) => axis.letter).join(' ');
  byId('machine').textContent = [
    info.machine ? String(info.machine) : 'unnamed machine',
    plural(run.axes.length, 'axis', 'axes') + (letters ? ` (${letters})` : ''),
    unit === 'in' ? 'inches' : 'millimetres',
  ].join(', ');

  addBadges(run, facts);
  fillRefusal(run);

  const list = byId('facts');
  const add = (name, value, small, line) => {
    const dd = element('dd', {}, value);
    if (small) dd.append(' ', element('small', {}, small));
    // Where there is nothing to see no line leads to it.
    if (Number.isInteger(line) && run.n > 0 && !value.startsWith('<')) {
      const button = element('button', {type: 'button', class: 'link'}, `line ${line}`);
      button.addEventListener('click', () => goTo(rowOfLine(run, line)));
      dd.append(' ', button);
    }
    list.append(element('div', {}, element('dt', {}, name), dd));
  };
  add('Total time', formatClock(info.totalTime ?? 0), 'h:min:s');
  add('Posted lines', formatCount(counts.posted));
  add('Source moves', formatCount(counts.source));
  add('Inserted', formatCount(counts.inserted));
  add('Rapid', formatCount(counts.rapid));
  add('Large jumps', formatCount(counts.largeJumps));
  add('Rewindings', formatCount(counts.rewindings));
  if (run.axes.length > 4) add('Poles crossed', formatCount(info.polesCrossed ?? 0));
  const {tolerance, maxima} = info;
  const turns = run.axes.some((axis) => axis.isRotary);
  const isSet = (value) => typeof value === 'number' && Number.isFinite(value);
  if (run.axes.length > 3) {
    add('Tolerance', isSet(tolerance?.tip) ? `${formatNumber(tolerance.tip, 6)} ${unit}` : 'off',
      isSet(tolerance?.axis) ? `${formatNumber(tolerance.axis, 6)} deg` : '');
  }
  if (isSet(maxima?.tip?.value) && turns) {
    add('Tip off its line', `${formatDigits(maxima.tip.value)} ${unit}`, '', maxima.tip.line);
  }
  if (isSet(maxima?.axis?.value) && turns) {
    add('Axis off its arc', `${formatDigits(maxima.axis.value)} deg`, '', maxima.axis.line);
  }
  if (run.lines > run.n) {
    const thinned = byId('thinned');
    thinned.hidden = false;
    thinned.textContent = `This page holds ${formatCount(run.n)} of ${formatCount(run.lines)} ` +
      'lines, with every mark and the extremes of each axis; counts and findings are of all.';
  }
}
