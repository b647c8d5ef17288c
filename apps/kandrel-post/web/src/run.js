// Reads the run that the page was given: a JSON text and a block of little-endian columns.

const kTypes = {
  u8: Uint8Array,
  u32: Uint32Array,
  f32: Float32Array,
  f64: Float64Array,
};
const kNeeded = ['line', 'time', 'px', 'py', 'pz', 'i', 'j', 'k', 'feed', 'tip', 'axis', 'source',
  'flags'];

export const kFlag = {rapid: 1, inserted: 2, pole: 4, jump: 8, rewinding: 16};
export const kNoSource = 0xFFFFFFFF;
// By so much axes may pass their limits where the run doesn't say it.
const kLimitSlack = 1e-4;
const kEndless = 100000;

// What keeps a run from being shown, in words.
export class RunError extends Error {}

function decodeBase64(text) {
  if (typeof Uint8Array.fromBase64 === 'function') {
    try {
      return Uint8Array.fromBase64(text);
    } catch {
      throw new RunError('Its lines are no valid block of data.');
    }
  }
  const code = new Uint8Array(256).fill(255);
  const digits = 'ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/';
  for (let i = 0; i < 64; ++i) code[digits.charCodeAt(i)] = i;
  const bytes = new Uint8Array(Math.floor(text.length * 3 / 4));
  let length = 0;
  let bits = 0;
  let held = 0;
  for (let i = 0; i < text.length; ++i) {
    const c = text.charCodeAt(i);
    const value = c < 256 ? code[c] : 255;
    if (value === 255) {
      if (c === 61 || c === 10 || c === 13 || c === 32) continue;
      throw new RunError('Its lines are no valid block of data.');
    }
    held = (held << 6 | value) & 0xFFFFFF;
    bits += 6;
    if (bits >= 8) {
      bits -= 8;
      bytes[length++] = held >> bits & 255;
    }
  }
  return bytes.subarray(0, length);
}

// The columns by name. Each begins at a multiple of 8 bytes.
function splitColumns(bytes, columns, rows) {
  if (bytes.byteOffset % 8 !== 0) bytes = bytes.slice();
  const found = new Map();
  let offset = 0;
  for (const column of columns) {
    const Type = kTypes[column.type];
    if (!Type) throw new RunError(`Its column ${column.name} has an unknown type.`);
    const size = rows * Type.BYTES_PER_ELEMENT;
    if (offset + size > bytes.length) {
      throw new RunError('Its lines are cut off: the file was not written or copied whole.');
    }
    found.set(column.name, new Type(bytes.buffer, bytes.byteOffset + offset, rows));
    offset += Math.ceil(size / 8) * 8;
  }
  return found;
}

// Times that never run backwards; what is no time stands at that of the line before.
function monotone(times) {
  const x = new Float64Array(times.length);
  let last = 0;
  for (let i = 0; i < x.length; ++i) {
    const t = times[i];
    if (Number.isFinite(t) && t >= last) last = t;
    x[i] = last;
  }
  return x;
}

const isNumber = (value) => typeof value === 'number' && Number.isFinite(value);

function readAxis(axis, values) {
  const isRotary = axis.kind === 'rotary';
  // A rotary axis without end has limits of hundreds of turns, which are none to people, as long as
  // it stays within them.
  const limit = (value, sign) => {
    if (!isNumber(value)) return null;
    const isEndless = isRotary && sign * value >= kEndless &&
      values.every((v) => !(sign * v > sign * value));
    return isEndless ? null : value;
  };
  return {
    letter: String(axis.letter ?? '?'),
    isRotary,
    min: limit(axis.min, -1),
    max: limit(axis.max, 1),
    isChecked: axis.checked === true,
    slack: isNumber(axis.slack) ? axis.slack : kLimitSlack,
    wrapped: axis.wrapped === '360' || axis.wrapped === '180' ? axis.wrapped : 'none',
    values,
  };
}

// The run of texts as they stand in the page, or RunError.
export function readRun(json, base64) {
  let info;
  try {
    info = JSON.parse(json);
  } catch {
    throw new RunError('Its description can\u2019t be read.');
  }
  if (info === null || typeof info !== 'object' || info.format !== 1) {
    throw new RunError('It is of a format that this page doesn\u2019t know.');
  }
  const n = info.rows;
  if (!Number.isInteger(n) || n < 0 || !Array.isArray(info.columns) || !Array.isArray(info.axes)) {
    throw new RunError('Its description is not whole.');
  }
  const columns = splitColumns(decodeBase64(base64.trim()), info.columns, n);
  for (const name of kNeeded) {
    if (!columns.has(name)) throw new RunError(`It has no column ${name}.`);
  }
  const axes = [];
  info.axes.forEach((axis, i) => {
    const values = columns.get('a' + i);
    if (values) axes.push(readAxis(axis, values));
  });

  const time = monotone(columns.get('time'));
  const hasTime = n > 0 && time[n - 1] > 0;
  const x = hasTime ? time : Float64Array.from(columns.get('line'));
  const unit = info.units === 'in' ? 'in' : 'mm';
  return {
    info,
    n,
    axes,
    col: Object.fromEntries(columns),
    // What the charts and the slider run along: seconds, or the line's number in a run of no time.
    x,
    hasTime,
    x0: hasTime || n === 0 ? 0 : x[0],
    x1: n > 0 ? x[n - 1] : 0,
    time,
    unit,
    lines: isNumber(info.ofLines) ? info.ofLines : n,
    counts: readCounts(info.counts),
  };
}

function readCounts(counts) {
  const read = {};
  for (const name of ['source', 'posted', 'inserted', 'rapid', 'largeJumps', 'rewindings']) {
    read[name] = isNumber(counts?.[name]) ? counts[name] : 0;
  }
  return read;
}

// The first index whose value is not below `value`, in an ascending array.
export function lowerBound(values, value, from = 0, to = values.length) {
  while (from < to) {
    const middle = (from + to) >>> 1;
    if (values[middle] < value) from = middle + 1;
    else to = middle;
  }
  return from;
}

// The row of a line, or the next one behind it where the run was thinned.
export function rowOfLine(run, line) {
  return Math.min(lowerBound(run.col.line, line), run.n - 1);
}
