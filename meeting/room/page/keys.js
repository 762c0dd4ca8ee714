// What can be done with keys.
import {byId} from './dom.js';
import {messages} from './messages.js';
import {tiles} from './tiles.js';

const seekStep = 5;               // seconds, of an arrow key
const volumeStep = 16;            // of 255, of an arrow key

const keys = {
  ' ': () => tiles.presenter()?.togglePlay(),
  ArrowLeft: () => moveBy(-seekStep),
  ArrowRight: () => moveBy(seekStep),
  ArrowUp: () => louderBy(volumeStep),
  ArrowDown: () => louderBy(-volumeStep),
  m: () => tiles.current()?.toggleMute(),
  l: () => tiles.listen(tiles.current()?.status.id ?? null),
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
