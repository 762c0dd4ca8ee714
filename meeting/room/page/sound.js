// The sound of one participant at a time.
import {connection} from './connection.js';

export const sound = {
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
    this.ask();
  },

  ask() {
    connection.send({type: 'listen', participant: this.participant});
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
