// The connection to the room: opened again whenever it is lost. What is said over it is described in
// RoomText.h.
import {byId} from './dom.js';

const retryTimes = [250, 500, 1000, 2000, 4000];  // ms, the last one again and again
const silenceTick = 500;          // ms
const silentTicks = 6;            // without a word, though a status comes every 250 ms: it is lost

export const connection = {
  socket: null,
  attempts: 0,
  timer: 0,
  silence: 0,     // ticks since something came
  lastAction: 0,
  handlers: {},   // connected(), status(participants), messages(entries), picture(id, jpeg), sound(id, data)

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
    this.handlers.connected();
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
    if (data instanceof ArrayBuffer) return this.receivedBytes(new Uint8Array(data));
    const message = JSON.parse(data);
    if (message.type === 'status') this.handlers.status(message.participants);
    if (message.type === 'messages') this.handlers.messages(message.entries);
    if (message.type === 'answer') showProblem(message.error);
  },

  // A letter for what it is, the length of the participant's id, the id; then the picture or sound.
  receivedBytes(bytes) {
    const end = 2 + bytes[1];
    const id = new TextDecoder().decode(bytes.subarray(2, end));
    if (bytes[0] === 'P'.charCodeAt(0)) this.handlers.picture(id, bytes.subarray(end));
    if (bytes[0] === 'S'.charCodeAt(0)) this.handlers.sound(id, new DataView(bytes.buffer, end));
  },
};

let problemTimer = 0;
function showProblem(text) {
  clearTimeout(problemTimer);
  const line = byId('problem');
  line.hidden = !text;
  line.textContent = text ?? '';
  if (text) problemTimer = setTimeout(() => { line.hidden = true; }, 8000);
}

setInterval(() => connection.tick(), silenceTick);
