// Numbers and times as the page writes them: the same on every system, whatever its language.

const kNone = '\u2013';

// At most `decimals` decimals, without zeros at the end. What is no number is a dash.
export function formatNumber(value, decimals = 4) {
  if (typeof value !== 'number' || Number.isNaN(value)) return kNone;
  if (!Number.isFinite(value)) return value > 0 ? 'infinite' : '-infinite';
  if (Math.abs(value) >= 1e12) return value.toExponential(3);
  let text = value.toFixed(decimals);
  if (text.includes('.')) text = text.replace(/\.?0+$/, '');
  return text === '-0' ? '0' : text;
}

// A number of a fixed width of decimals, so that it doesn't jump while it runs.
export function formatFixed(value, decimals) {
  if (typeof value !== 'number' || !Number.isFinite(value)) return kNone;
  if (Math.abs(value) >= 1e12) return value.toExponential(3);
  const text = value.toFixed(decimals);
  return /^-0\.?0*$/.test(text) ? text.slice(1) : text;
}

// Three digits that count, for deviations and excesses; less than a millionth is no more than that.
export function formatDigits(value, digits = 3) {
  if (typeof value !== 'number' || !Number.isFinite(value)) return formatNumber(value);
  if (value === 0) return '0';
  const size = Math.abs(value);
  if (size < 1e-6) return value > 0 ? '< 1e-6' : '> -1e-6';
  if (size >= 1e12) return value.toExponential(digits - 1);
  const decimals = Math.max(0, digits - 1 - Math.floor(Math.log10(size)));
  return formatNumber(value, Math.min(decimals, 12));
}

// 1234567 as 1 234 567, with thin blanks that don't break.
export function formatCount(value) {
  if (typeof value !== 'number' || !Number.isFinite(value)) return kNone;
  return String(Math.round(value)).replace(/\B(?=(\d{3})+$)/g, '\u202f');
}

// h:min:s or min:s, as `hasHours` says, with that many decimals of a second; rounded down, as clocks
// do.
export function formatClock(seconds, decimals = 0, hasHours = true) {
  if (typeof seconds !== 'number' || !Number.isFinite(seconds)) return kNone;
  const scale = 10 ** decimals;
  let ticks = Math.floor(Math.abs(seconds) * scale + 1e-6);
  const sign = seconds < 0 && ticks > 0 ? '-' : '';
  const fraction = decimals > 0 ? '.' + String(ticks % scale).padStart(decimals, '0') : '';
  ticks = Math.floor(ticks / scale);
  const s = String(ticks % 60).padStart(2, '0');
  const minutes = Math.floor(ticks / 60);
  if (!hasHours) return `${sign}${minutes}:${s}${fraction}`;
  const m = String(minutes % 60).padStart(2, '0');
  return `${sign}${Math.floor(minutes / 60)}:${m}:${s}${fraction}`;
}

export function plural(count, one, many) {
  return `${formatCount(count)} ${count === 1 ? one : many}`;
}
