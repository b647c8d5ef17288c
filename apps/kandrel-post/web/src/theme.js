// The colours of the style sheet, for what is drawn on canvases.

const kNames = ['bg', 'panel', 'text', 'muted', 'line', 'grid', 'linear', 'rotary', 'other', 'bad',
  'bad-band', 'warn', 'rapid-band', 'mark', 'pole', 'cursor', 'tool', 'rapid-path'];

export class Theme {
  constructor() {
    this.listeners = [];
    this.query = matchMedia('(prefers-color-scheme: dark)');
    this.query.addEventListener('change', () => {
      this.read();
      for (const listener of this.listeners) listener();
    });
    this.read();
  }

  read() {
    const style = getComputedStyle(document.documentElement);
    this.isDark = this.query.matches;
    for (const name of kNames) this[name] = style.getPropertyValue('--' + name).trim();
  }

  onChange(listener) {
    this.listeners.push(listener);
  }
}

// Viridis, which colour-blind eyes read as well, without the end that the background swallows and
// the purple at its start, which marks of rewindings have.
const kViridis = [
  [68, 1, 84], [72, 40, 120], [62, 74, 137], [49, 104, 142], [38, 130, 142], [31, 158, 137],
  [53, 183, 121], [109, 205, 89], [180, 222, 44], [253, 231, 37],
];

export function rampColor(part, isDark) {
  const [from, to] = isDark ? [0.28, 1] : [0.22, 0.82];
  const at = (from + Math.min(Math.max(part, 0), 1) * (to - from)) * (kViridis.length - 1);
  const i = Math.min(Math.floor(at), kViridis.length - 2);
  return kViridis[i].map((c, k) => Math.round(c + (at - i) * (kViridis[i + 1][k] - c)));
}

export function rampGradient(isDark) {
  const stops = [];
  for (let i = 0; i <= 10; ++i) stops.push(`rgb(${rampColor(i / 10, isDark).join(',')})`);
  return `linear-gradient(to right, ${stops.join(', ')})`;
}
