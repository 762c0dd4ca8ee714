// The list of the routed messages.
import {connection} from './connection.js';
import {byId} from './dom.js';

const keptMessages = 5000;
const shownMessages = 800;

export const messages = {
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

  // None come unless they are asked for.
  askForSamples() {
    const wanted = document.querySelector('#by-kind [value=sample]').checked;
    connection.send({type: 'samples', wanted});
  },

  // Those who have been there once can be chosen.
  addParticipants(ids) {
    const select = byId('by-participant');
    const known = new Set([...select.options].map((option) => option.value));
    for (const id of ids) if (!known.has(id)) select.add(new Option(id, id));
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

const fieldsText = (entry) =>
  Object.entries(entry.fields).map((field) => field.join('=')).join('  ');

// The names as they are shown: without what they all begin with. Their whole text is the row's
// title, and what the filter looks at.
const shortened = (text) => text.replaceAll(/\b(MM_MEDIASTREAMING|MM_MEDIA_STREAMING)_/g, '');

// The ids of the document are the same everywhere: they come last.
const byInterest = (fields) => {
  const isId = ([name]) => name === 'sessionID' || name === 'sourceID';
  return [...fields.filter((field) => !isId(field)), ...fields.filter(isId)];
};

function rowOf(entry) {
  const fields = Object.entries(entry.fields);
  const toHost = entry.to === 'host';
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
  add('way', toHost ? '→' : '←', toHost ? 'from the participant' : 'to the participant');
  const modules = entry.fromModule ? `${entry.fromModule} → ${entry.toModule}\n` : '';
  row.title = `${entry.name}\n${modules}${fields.map((field) => field.join(' = ')).join('\n')}`;
  const name = add('name', shortened(entry.name));
  if (!entry.taken) {
    const refused = document.createElement('span');
    refused.className = 'refused';
    refused.textContent = ' answered 0';
    name.append(refused);
  }
  if (fields.length > 0) {
    const texts = byInterest(fields).map((field) => field.join('='));
    add('fields', shortened(texts.join('  ')));
  }
  return row;
}

byId('pause-list').addEventListener('click', () => messages.hold(!messages.held));
byId('clear-list').addEventListener('click', () => messages.clear());
byId('by-participant').addEventListener('change', () => messages.showAll());
byId('by-text').addEventListener('input', () => messages.showAll());
byId('by-kind').addEventListener('change', (event) => {
  if (event.target.value === 'sample') messages.askForSamples();
  messages.showAll();
});
