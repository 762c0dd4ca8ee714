// A tile for each participant: what it sees, how it is, its controls.
import {connection} from './connection.js';
import {byId} from './dom.js';
import {looks} from './pictures.js';
import {sound} from './sound.js';

const ownHandTime = 700;          // ms for which a control that was moved is not moved by a status

// What a status view shows, by its code.
const statusViews = {
  1: 'picture', 2: 'sound only', 4: 'not let in', 5: 'picture', 6: 'platform fails over',
  7: 'attendee limit reached', 8: 'stopped for bandwidth', 9: 'session left',
  101: 'file not opened', 102: 'file not opened', 103: 'waiting for the session',
  104: 'cannot be played on',
  200: 'paused, sound only', 201: 'paused', 202: 'rebuffering', 203: 'waiting for the session',
  204: 'not let in', 205: 'presenter crashed', 206: 'movie invalid',
};

const timeText = (seconds) => {
  const whole = Math.max(0, seconds);
  return `${Math.floor(whole / 60)}:${(whole % 60).toFixed(1).padStart(4, '0')}`;
};

class Tile {
  constructor(status) {
    this.root = byId('tile').content.cloneNode(true).firstElementChild;
    const part = (name) => this.root.querySelector(name);
    this.canvas = part('canvas');
    this.canvas.dataset.view = status.id;
    this.position = part('.position');
    this.volume = part('.volume');
    this.parts = {};
    for (const name of ['h2', '.state', '.rate', '.time', '.play', '.stop', '.join', '.mute',
                        '.listen', '.fullscreen', '.details'])
      this.parts[name] = part(name);
    this.root.dataset.id = status.id;
    this.root.setAttribute('aria-label', status.id);
    this.canvas.setAttribute('aria-label', `what ${status.id} sees`);
    if (!status.presenter) this.position = this.onlyShow(this.position);
    this.position.setAttribute('aria-label', `position of ${status.id}`);
    this.volume.setAttribute('aria-label', `volume of ${status.id}`);
    this.parts.h2.textContent = status.id;
    if (status.presenter) this.root.dataset.presenter = '';
    this.parts['.play'].hidden = this.parts['.stop'].hidden = !status.presenter;
    this.parts['.join'].hidden = status.presenter;
    this.movedAt = {position: -Infinity, volume: -Infinity};
    this.connectControls();
  }

  // Only a presenter's user can go to another place.
  onlyShow(range) {
    const bar = document.createElement('progress');
    bar.className = range.className;
    range.replaceWith(bar);
    return bar;
  }

  connectControls() {
    const on = (name, work) => this.parts[name].addEventListener('click', work);
    on('.play', () => this.togglePlay());
    on('.stop', () => this.act('stop'));
    on('.join', () => this.act(this.status.present ? 'leave' : 'join'));
    on('.mute', () => this.toggleMute());
    on('.listen', () => tiles.listen(this.status.id));
    on('.fullscreen', () => this.act('fullscreen'));
    this.position.addEventListener('input', () => {
      this.movedAt.position = performance.now();
      this.showTime(Number(this.position.value));
    });
    this.position.addEventListener('change', () => this.seek(Number(this.position.value)));
    this.volume.addEventListener('input', () => this.setVolume(Number(this.volume.value)));
  }

  act(text) {
    connection.act(this.status.actor + text);
  }

  togglePlay() {
    const plays = ['playing', 'rebuffering'].includes(this.status.state);
    this.act(plays ? 'pause' : 'play');
  }

  toggleMute() {
    this.act(this.status.muted ? 'unmute' : 'mute');
  }

  seek(seconds) {
    const target = Math.min(Math.max(seconds, 0), this.status.duration);
    this.movedAt.position = performance.now();
    this.position.value = target;
    this.showTime(target);
    this.act(`seek=${Number(target.toFixed(3))}`);
  }

  // At most ten times a second, and the last value for certain.
  setVolume(value) {
    const volume = Math.min(Math.max(Math.round(value), 0), 255);
    this.movedAt.volume = performance.now();
    this.volume.value = volume;
    this.wantedVolume = volume;
    this.volumeTimer ??= setTimeout(() => {
      this.volumeTimer = undefined;
      this.act(`volume=${this.wantedVolume}`);
    }, 100);
  }

  showTime(seconds) {
    const {duration} = this.status;
    const text = duration > 0 ? `${timeText(seconds)} / ${timeText(duration)}` : timeText(seconds);
    this.parts['.time'].textContent = text;
    this.position.setAttribute('aria-valuetext', text);
  }

  update(status) {
    this.status = status;
    const {parts} = this;
    const set = (name, text) => { if (parts[name].textContent !== text) parts[name].textContent = text; };
    this.root.dataset.present = status.present;
    set('.state', status.state);
    parts['.state'].dataset.state = status.state;
    set('.rate', `${status.fps.toFixed(1)} fps`);
    set('.play', ['playing', 'rebuffering'].includes(status.state) ? 'Pause' : 'Play');
    set('.join', status.present ? 'Leave' : 'Join');
    set('.mute', status.muted ? 'Unmute' : 'Mute');
    for (const name of ['.mute', '.fullscreen', '.listen']) parts[name].disabled = !status.present;
    this.volume.disabled = !status.present;
    this.position.disabled = !(status.duration > 0);
    this.position.max = status.duration || 1;
    const now = performance.now();
    if (now - this.movedAt.position > ownHandTime) {
      this.position.value = status.position;
      this.showTime(status.position);
    }
    if (now - this.movedAt.volume > ownHandTime) this.volume.value = status.volume;
    this.volume.setAttribute('aria-valuetext', status.muted ? `${status.volume}, muted` : `${status.volume}`);
    this.showDetails();
  }

  showDetails() {
    const {status} = this;
    const size = status.width ? `${status.width} × ${status.height}, ` : '';
    const view = statusViews[status.statusView];
    const shows = status.statusView ? `, status view ${status.statusView}${view ? `: ${view}` : ''}` : '';
    const text = `${size}${status.frames} frames, ${status.dropped} dropped${shows}`;
    if (this.parts['.details'].textContent !== text) this.parts['.details'].textContent = text;
  }
}

export const tiles = {
  byId: new Map(),

  update(participants) {
    const ids = new Set(participants.map((status) => status.id));
    for (const [id, tile] of this.byId) {
      if (ids.has(id)) continue;
      looks.observer.unobserve(tile.canvas);
      looks.onScreen.delete(id);
      tile.root.remove();
      this.byId.delete(id);
    }
    for (const status of participants) {
      if (!this.byId.has(status.id)) this.add(status);
      this.byId.get(status.id).update(status);
    }
    const files = [...new Set(participants.map((status) => status.file))];
    const title = files.length > 0 ? files.join(', ') : 'Meeting room';
    document.querySelector('h1').textContent = title;
    document.title = title;
  },

  add(status) {
    const tile = new Tile(status);
    this.byId.set(status.id, tile);
    byId('tiles').append(tile.root);
    looks.observer.observe(tile.canvas);
  },

  // To that participant's sound, or no longer.
  listen(id) {
    sound.toggle(id);
    for (const [other, tile] of this.byId)
      tile.parts['.listen'].setAttribute('aria-pressed', other === sound.participant);
  },

  // Whom a key is meant for.
  current() {
    const focused = document.activeElement?.closest('.tile');
    return this.byId.get(focused?.dataset.id) ?? this.presenter();
  },

  presenter() {
    return [...this.byId.values()].find((tile) => tile.status.presenter);
  },
};
