// The room's page. What it says to the server and hears from it is described in RoomText.h.

const byId = (id) => document.getElementById(id);

const seekStep = 5;               // seconds, of an arrow key
const volumeStep = 16;            // of 255, of an arrow key
const ownHandTime = 700;          // ms for which a control that was moved is not moved by a status
const retryTimes = [250, 500, 1000, 2000, 4000];  // ms, the last one again and again
const silenceTick = 500;          // ms
const silentTicks = 6;            // without a word, though a status comes every 250 ms: it is lost
const keptMessages = 5000;
const shownMessages = 800;

// What a status view shows, by its code.
const statusViews = {
  1: 'picture', 2: 'sound only', 4: 'not let in', 5: 'picture', 6: 'platform fails over',
  7: 'attendee limit reached', 8: 'stopped for bandwidth', 9: 'session left',
  101: 'file not opened', 102: 'file not opened', 103: 'waiting for the session',
  200: 'paused, sound only', 201: 'paused', 202: 'rebuffering', 203: 'waiting for the session',
  204: 'not let in', 205: 'presenter crashed', 206: 'movie invalid',
};

// ---- the connection

const connection = {
  socket: null,
  attempts: 0,
  timer: 0,
  silence: 0,     // ticks since something came
  lastAction: 0,

  open() {
    clearTimeout(this.timer);
    const url = new URL('socket', location.href);
    url.protocol = url.protocol === 'https:' ? 'wss:' : 'ws:';
    const socket = new WebSocket(url);
    socket.binaryType = 'arraybuffer';
    // One that was given up may still have something to say.
    const isOurs = () => socket === this.socket;
    socket.onopen = () => { if (isOurs()) this.opened(); };
    socket.onmessage = (event) => { if (isOurs()) this.received(event.data); };
    socket.onclose = () => { if (isOurs()) this.lost(); };
    this.socket = socket;
    this.silence = 0;
  },

  opened() {
    this.attempts = 0;
    this.show('connected', 'connected');
    messages.startAgain();
    looks.sendAll();
    if (messages.wantsSamples()) this.send({type: 'samples', wanted: true});
    if (sound.participant) this.send({type: 'listen', participant: sound.participant});
  },

  lost() {
    this.socket = null;
    const wait = retryTimes[Math.min(this.attempts++, retryTimes.length - 1)];
    this.show('lost', 'connection lost, trying again');
    this.timer = setTimeout(() => this.open(), wait);
  },

  // A connection can end without a word, or never begin. Ticks are counted rather than time: a page
  // that was itself held up has missed them too.
  tick() {
    if (this.socket === null || document.visibilityState !== 'visible') this.silence = 0;
    else if (++this.silence >= silentTicks) this.giveUp();
  },

  // Without waiting for the other side to agree.
  giveUp() {
    const {socket} = this;
    this.lost();
    socket.close();
  },

  // Does not wait out the time when there is reason to believe that it works now.
  hurry() {
    if (this.socket === null) this.open();
  },

  show(state, text) {
    const line = byId('connection');
    if (line.dataset.state !== state) line.textContent = text;
    line.dataset.state = state;
    document.body.classList.toggle('lost', state !== 'connected');
  },

  send(message) {
    if (this.socket?.readyState === WebSocket.OPEN) this.socket.send(JSON.stringify(message));
  },

  act(text) {
    if (this.socket?.readyState !== WebSocket.OPEN) return showProblem(`not connected, not done: ${text}`);
    this.send({type: 'act', action: ++this.lastAction, text});
  },

  received(data) {
    this.silence = 0;
    if (data instanceof ArrayBuffer) return receiveBinary(data);
    const message = JSON.parse(data);
    if (message.type === 'status') tiles.update(message.participants);
    if (message.type === 'messages') messages.add(message.entries);
    if (message.type === 'answer') showProblem(message.error);
  },
};

function receiveBinary(data) {
  const bytes = new Uint8Array(data);
  const id = new TextDecoder().decode(bytes.subarray(2, 2 + bytes[1]));
  if (bytes[0] === 'P'.charCodeAt(0)) drawPicture(id, bytes.subarray(2 + bytes[1]));
  if (bytes[0] === 'S'.charCodeAt(0)) sound.play(id, new DataView(data, 2 + bytes[1]));
}

let problemTimer = 0;
function showProblem(text) {
  clearTimeout(problemTimer);
  const line = byId('problem');
  line.hidden = !text;
  line.textContent = text ?? '';
  if (text) problemTimer = setTimeout(() => { line.hidden = true; }, 8000);
}

async function drawPicture(id, jpeg) {
  try {
    const picture = await createImageBitmap(new Blob([jpeg], {type: 'image/jpeg'}));
    const canvas = tiles.byId.get(id)?.canvas;
    if (canvas) {
      if (canvas.width !== picture.width) canvas.width = picture.width;
      if (canvas.height !== picture.height) canvas.height = picture.height;
      canvas.getContext('2d').drawImage(picture, 0, 0);
      canvas.dataset.pictures = Number(canvas.dataset.pictures ?? 0) + 1;
    }
    picture.close();
  } finally {
    connection.send({type: 'drawn', view: id});
  }
}

// ---- which views are looked at: those on the screen, of a page that is

const looks = {
  onScreen: new Set(),
  observer: new IntersectionObserver((entries) => {
    for (const entry of entries)
      looks.onScreen[entry.isIntersecting ? 'add' : 'delete'](entry.target.dataset.view);
    looks.sendAll();
  }),

  sendAll() {
    const views = document.visibilityState === 'visible' ? [...this.onScreen] : [];
    connection.send({type: 'watch', views});
  },
};

// ---- participants

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
    on('.listen', () => sound.toggle(this.status.id));
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

const tiles = {
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
    messages.addParticipant(status.id);
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

// ---- messages

const messages = {
  kept: [],
  held: false,
  waiting: 0,     // that came while the list was held
  fresh: [],      // that wait for the next frame
  frame: 0,
  list: byId('messages'),

  // The server sends all that it has to each new connection.
  startAgain() {
    this.kept = [];
    this.showAll();
  },

  wantsSamples: () => document.querySelector('#by-kind [value=sample]').checked,

  addParticipant(id) {
    const select = byId('by-participant');
    if (![...select.options].some((option) => option.value === id)) select.add(new Option(id, id));
  },

  add(entries) {
    this.kept.push(...entries);
    if (this.kept.length > keptMessages) this.kept.splice(0, this.kept.length - keptMessages);
    connection.send({type: 'read', number: entries.at(-1).number});
    if (this.held) {
      this.waiting += entries.length;
      return this.showCount();
    }
    this.fresh.push(...entries);
    this.frame ||= requestAnimationFrame(() => this.showFresh());
  },

  filter() {
    const participant = byId('by-participant').value;
    const kinds = new Set([...document.querySelectorAll('#by-kind :checked')].map((box) => box.value));
    const text = byId('by-text').value.toLowerCase();
    return (entry) =>
      (!participant || entry.participant === participant) && kinds.has(entry.kind) &&
      (!text || `${entry.name} ${fieldsText(entry)}`.toLowerCase().includes(text));
  },

  showFresh() {
    this.frame = 0;
    const atEnd = this.list.scrollTop + this.list.clientHeight >= this.list.scrollHeight - 30;
    const rows = document.createDocumentFragment();
    this.fresh.filter(this.filter()).slice(-shownMessages).forEach((entry) => rows.append(rowOf(entry)));
    this.fresh = [];
    this.list.append(rows);
    while (this.list.childElementCount > shownMessages) this.list.firstElementChild.remove();
    if (atEnd) this.list.scrollTop = this.list.scrollHeight;
    this.showCount();
  },

  showAll() {
    this.list.replaceChildren();
    this.fresh = this.kept.slice();
    this.waiting = 0;
    this.showFresh();
    this.list.scrollTop = this.list.scrollHeight;
  },

  hold(held) {
    this.held = held;
    const button = byId('pause-list');
    button.setAttribute('aria-pressed', held);
    button.textContent = held ? 'Go on' : 'Hold';
    if (!held) this.showAll();
    this.showCount();
  },

  clear() {
    this.kept = [];
    this.showAll();
  },

  showCount() {
    const shown = `${this.list.childElementCount} shown`;
    byId('count').textContent = this.held ? `${shown}, ${this.waiting} waiting` : shown;
  },
};

const fieldsText = (entry) => entry.fields.map(([name, value]) => `${name}=${value}`).join('  ');

// The names as they are shown: without what they all begin with. Their whole text is the row's
// title, and what the filter looks at.
const shortened = (text) => text.replaceAll(/\b(MM_MEDIASTREAMING|MM_MEDIA_STREAMING)_/g, '');

// The ids of the document are the same everywhere: they come last.
const byInterest = (fields) => {
  const isId = ([name]) => name === 'sessionID' || name === 'sourceID';
  return [...fields.filter((field) => !isId(field)), ...fields.filter(isId)];
};

function rowOf(entry) {
  const row = document.createElement('li');
  row.dataset.kind = entry.kind;
  row.dataset.participant = entry.participant;
  const add = (className, text, title) => {
    const span = document.createElement('span');
    span.className = className;
    span.textContent = text;
    if (title) span.title = title;
    row.append(span);
    return span;
  };
  add('when', entry.seconds.toFixed(3));
  add('who', entry.participant, entry.participant);
  add('way', entry.toHost ? '→' : '←', entry.toHost ? 'from the participant' : 'to the participant');
  row.title = `${entry.name}\n${entry.fields.map((field) => field.join(' = ')).join('\n')}`;
  const name = add('name', shortened(entry.name));
  if (!entry.taken) {
    const refused = document.createElement('span');
    refused.className = 'refused';
    refused.textContent = ' answered 0';
    name.append(refused);
  }
  if (entry.fields.length > 0) {
    const fields = byInterest(entry.fields).map((field) => field.join('='));
    add('fields', shortened(fields.join('  ')));
  }
  return row;
}

// ---- sound

const sound = {
  context: null,
  participant: null,
  next: 0,         // when the next block starts, in the context's time
  blocks: 0,
  lead: 0.08,      // seconds of sound in hand, against unsteady arrival
  most: 0.4,       // more than that is not let pile up

  toggle(id) {
    this.participant = this.participant === id ? null : id;
    this.context ??= new AudioContext();
    if (this.participant) this.context.resume();
    else this.context.suspend();
    this.next = 0;
    connection.send({type: 'listen', participant: this.participant});
    for (const [other, tile] of tiles.byId)
      tile.parts['.listen'].setAttribute('aria-pressed', other === this.participant);
  },

  play(id, data) {
    if (id !== this.participant || !this.context) return;
    const rate = data.getUint32(0, true);
    const channels = data.getUint16(4, true);
    const frames = Math.floor((data.byteLength - 6) / (2 * channels));
    const now = this.context.currentTime;
    if (!(frames > 0) || this.next > now + this.most) return;
    const buffer = this.context.createBuffer(channels, frames, rate);
    for (let channel = 0; channel < channels; ++channel) {
      const samples = buffer.getChannelData(channel);
      for (let i = 0; i < frames; ++i)
        samples[i] = data.getInt16(6 + 2 * (i * channels + channel), true) / 32768;
    }
    if (this.next < now) this.next = now + this.lead;
    const source = new AudioBufferSourceNode(this.context, {buffer});
    source.connect(this.context.destination);
    source.start(this.next);
    this.next += buffer.duration;
    document.body.dataset.soundBlocks = ++this.blocks;
  },
};

// ---- keys

const keys = {
  ' ': () => tiles.presenter()?.togglePlay(),
  ArrowLeft: () => moveBy(-seekStep),
  ArrowRight: () => moveBy(seekStep),
  ArrowUp: () => louderBy(volumeStep),
  ArrowDown: () => louderBy(-volumeStep),
  m: () => tiles.current()?.toggleMute(),
  l: () => sound.toggle(tiles.current()?.status.id ?? null),
  f: () => byId('by-text').focus(),
  p: () => messages.hold(!messages.held),
  c: () => messages.clear(),
  '?': () => byId('help').showModal(),
};

function moveBy(seconds) {
  const presenter = tiles.presenter();
  presenter?.seek(Number(presenter.position.value) + seconds);
}

function louderBy(step) {
  const tile = tiles.current();
  tile?.setVolume(Number(tile.volume.value) + step);
}

// Whether the element has its own use for the key.
function takesKey(element, key) {
  if (element.closest('dialog')) return true;
  if (element.matches('input:not([type=checkbox], [type=range]), select')) return true;
  if (element.matches('[type=range]')) return key.startsWith('Arrow');
  if (element.id === 'messages') return key.startsWith('Arrow') || key === ' ';
  return key === ' ' && element.matches('button, [type=checkbox], a');
}

document.addEventListener('keydown', (event) => {
  if (event.ctrlKey || event.altKey || event.metaKey || takesKey(event.target, event.key)) return;
  const digit = '123456789'.indexOf(event.key);
  const work = digit >= 0 ? () => [...tiles.byId.values()][digit]?.root.focus() : keys[event.key];
  if (!work) return;
  event.preventDefault();
  work();
});

// ---- what is left

byId('command').addEventListener('submit', (event) => {
  event.preventDefault();
  const text = byId('action').value.trim();
  if (text) connection.act(text);
  byId('action').select();
});
byId('help-open').addEventListener('click', () => byId('help').showModal());
byId('pause-list').addEventListener('click', () => messages.hold(!messages.held));
byId('clear-list').addEventListener('click', () => messages.clear());
byId('by-participant').addEventListener('change', () => messages.showAll());
byId('by-text').addEventListener('input', () => messages.showAll());
byId('by-kind').addEventListener('change', (event) => {
  if (event.target.value === 'sample')
    connection.send({type: 'samples', wanted: event.target.checked});
  messages.showAll();
});
document.addEventListener('visibilitychange', () => {
  looks.sendAll();
  if (document.visibilityState === 'visible') connection.hurry();
});
addEventListener('online', () => connection.hurry());

setInterval(() => connection.tick(), silenceTick);
connection.open();
