// The room's page: puts its parts together.
import {connection} from './connection.js';
import {byId} from './dom.js';
import './keys.js';
import {messages} from './messages.js';
import {drawPicture, looks} from './pictures.js';
import {sound} from './sound.js';
import {tiles} from './tiles.js';

connection.handlers = {
  connected() {
    messages.startAgain();
    looks.sendAll();
    messages.askForSamples();
    sound.ask();
  },
  status(participants) {
    tiles.update(participants);
    messages.addParticipants(tiles.byId.keys());
  },
  messages: (entries) => messages.add(entries),
  picture: (id, jpeg) => drawPicture(id, tiles.byId.get(id)?.canvas, jpeg),
  sound: (id, data) => sound.play(id, data),
};

byId('command').addEventListener('submit', (event) => {
  event.preventDefault();
  const text = byId('action').value.trim();
  if (text) connection.act(text);
  byId('action').select();
});
byId('help-open').addEventListener('click', () => byId('help').showModal());
document.addEventListener('visibilitychange', () => {
  looks.sendAll();
  if (document.visibilityState === 'visible') connection.hurry();
});
addEventListener('online', () => connection.hurry());

connection.open();
