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

  const verdict = byId('verdict');
  verdict.append(badge(info.verified === true ? 'ok' : 'bad', verdictText(info)));
  run.axes.forEach((axis, i) => {
    const {outside, excess} = facts.axes[i];
    if (outside === 0) return;
    verdict.append(badge('warn', `${axis.letter} leaves its limits by ` +
      `${formatDigits(excess, 4)} ${axis.isRotary ? 'deg' : unit}, which was not checked`));
  });
  const notHeld = info.notHeld?.count ?? 0;
  if (notHeld > 0) {
    verdict.append(badge('warn', 'Tolerance not held on the way to ' +
      plural(notHeld, 'line', 'lines')));
  }

  const list = byId('facts');
  const add = (name, value, small, line) => {
    const dd = element('dd', {}, value);
    if (small) dd.append(' ', element('small', {}, small));
    if (Number.isInteger(line) && run.n > 0) {
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
  const isSet = (value) => typeof value === 'number' && Number.isFinite(value);
  if (run.axes.length > 3) {
    add('Tolerance', isSet(tolerance?.tip) ? `${formatNumber(tolerance.tip, 6)} ${unit}` : 'off',
      isSet(tolerance?.axis) ? `${formatNumber(tolerance.axis, 6)} deg` : '');
  }
  if (isSet(maxima?.tip?.value)) {
    add('Tip off its line', `${formatDigits(maxima.tip.value)} ${unit}`, '', maxima.tip.line);
  }
  if (isSet(maxima?.axis?.value) && run.axes.length > 3) {
    add('Axis off its arc', `${formatDigits(maxima.axis.value)} deg`, '', maxima.axis.line);
  }
  if (run.lines > run.n) {
    const thinned = byId('thinned');
    thinned.hidden = false;
    thinned.textContent = `This page holds ${formatCount(run.n)} of ${formatCount(run.lines)} ` +
      'lines, with every mark and the extremes of each axis; counts and findings are of all.';
  }
}
