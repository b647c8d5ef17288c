// Slider, play and pause, speed, and the way from mark to mark.

import {byId, element} from './dom.js';
import {formatNumber} from './format.js';
import {lowerBound} from './run.js';

const kSpeeds = [0.1, 0.25, 0.5, 1, 2, 5, 10, 20, 50, 100, 200, 500, 1000, 5000, 20000];
// A run plays in so many seconds, unless another speed is chosen.
const kPlaySeconds = 40;
const kPlay = 'M3 1l11 7-11 7z';
const kPause = 'M3 1h4v14H3zM9 1h4v14H9z';

export class Player {
  // `marks`: rows in ascending order.
  constructor(run, cursor, readout, marks) {
    Object.assign(this, {run, cursor, readout, marks});
    this.slider = byId('slider');
    this.playButton = byId('play');
    this.speed = byId('speed');
    this.isPlaying = false;
    this.span = run.x1 - run.x0;
    this.speed.setAttribute('aria-label',
      run.hasTime ? 'Speed, times real time' : 'Speed, lines a second');
    this.fillSpeeds();
    this.playButton.addEventListener('click', () => this.toggle());
    byId('mark-next').addEventListener('click', () => this.toMark(1));
    byId('mark-before').addEventListener('click', () => this.toMark(-1));
    byId('mark-next').disabled = byId('mark-before').disabled = marks.length === 0;
    this.playButton.disabled = this.slider.disabled = !(run.n > 1);
    this.slider.addEventListener('input', () => {
      this.pause();
      cursor.setX(run.x0 + this.slider.valueAsNumber / 1e6 * this.span);
    });
    this.slider.addEventListener('keydown', (event) => this.onKey(event));
    cursor.onChange(() => this.update());
    byId('player').hidden = false;
    this.update();
  }

  fillSpeeds() {
    const {run} = this;
    const wanted = this.span / kPlaySeconds;
    let chosen = kSpeeds.find((speed) => speed >= wanted) ?? kSpeeds[kSpeeds.length - 1];
    if (run.hasTime) chosen = Math.max(chosen, 1);
    for (const speed of kSpeeds) {
      const option = element('option', {value: String(speed)},
        run.hasTime ? `${formatNumber(speed)}\u00a0\u00d7` : `${formatNumber(speed)}/s`);
      option.selected = speed === chosen;
      this.speed.append(option);
    }
  }

  update() {
    const {cursor, run} = this;
    if (this.span > 0) {
      const value = String(Math.round((cursor.x - run.x0) / this.span * 1e6));
      if (this.slider.value !== value) this.slider.value = value;
    }
    const [time, line] = this.readout.place;
    byId('place-time').textContent = time;
    byId('place-line').textContent = line;
    this.slider.setAttribute('aria-valuetext', time + line);
  }

  toggle() {
    if (this.isPlaying) this.pause();
    else this.play();
  }

  play() {
    const {cursor, run} = this;
    if (!(this.span > 0)) return;
    if (cursor.x >= run.x1) cursor.setRow(0);
    this.isPlaying = true;
    this.tell();
    let last = performance.now();
    const step = (now) => {
      if (!this.isPlaying) return;
      const seconds = Math.max(0, now - last) / 1000;
      last = now;
      cursor.setX(cursor.x + seconds * Number(this.speed.value));
      if (cursor.x >= run.x1) this.pause();
      else requestAnimationFrame(step);
    };
    requestAnimationFrame(step);
  }

  pause() {
    if (!this.isPlaying) return;
    this.isPlaying = false;
    this.tell();
  }

  tell() {
    this.playButton.setAttribute('aria-label', this.isPlaying ? 'Pause' : 'Play');
    byId('play-path').setAttribute('d', this.isPlaying ? kPause : kPlay);
  }

  // The mark next to the cursor, before or behind it.
  toMark(direction) {
    const {marks, cursor} = this;
    if (marks.length === 0) return;
    const at = lowerBound(marks, cursor.row);
    const isAtLine = marks[at] === cursor.row && cursor.part === 1;
    const k = direction > 0 ? (isAtLine ? at + 1 : at) : at - 1;
    if (k < 0 || k >= marks.length) return;
    this.pause();
    cursor.setRow(marks[k]);
  }

  // True where the key was one of the player's.
  onKey(event) {
    if (event.ctrlKey || event.metaKey || event.altKey) return false;
    const {cursor, run} = this;
    const page = this.span / 20;
    const between = cursor.part < 1;
    const keys = {
      ArrowRight: () => cursor.setRow(between ? cursor.row : cursor.row + 1),
      ArrowUp: () => cursor.setRow(between ? cursor.row : cursor.row + 1),
      ArrowLeft: () => cursor.setRow(cursor.row - 1),
      ArrowDown: () => cursor.setRow(cursor.row - 1),
      PageUp: () => cursor.setX(cursor.x - page),
      PageDown: () => cursor.setX(cursor.x + page),
      Home: () => cursor.setRow(0),
      End: () => cursor.setRow(run.n - 1),
      n: () => this.toMark(1),
      N: () => this.toMark(-1),
    };
    if (event.key === ' ') {
      this.toggle();
    } else if (keys[event.key]) {
      this.pause();
      keys[event.key]();
    } else {
      return false;
    }
    event.preventDefault();
    return true;
  }
}
