import assert from 'node:assert/strict';
import {after, afterEach, before, beforeEach, test} from 'node:test';

import {launch, moves, openRoom, screenshot, until, visit} from './support.mjs';

const participants = ['presenter', 'attendee-1', 'attendee-2'];
let browser;
let room;
let visitor;

before(async () => { browser = await launch(); });
after(() => browser.close());

beforeEach(async () => {
  room = await openRoom();
  visitor = await visit(browser, room.url);
});
afterEach(async () => {
  await visitor.close();
  await room.close();
});

test('pictures move, and the colour of the canvas with them', async () => {
  const colour = () => visitor.tile('presenter').locator('canvas').evaluate((canvas) =>
    canvas.getContext('2d').getImageData(30, 20, 1, 1).data[0]);
  for (const id of participants) await moves(visitor, id);
  const begin = await colour();
  await until('the picture changes', async () => (await colour()) !== begin);
  assert.deepEqual(visitor.errors, []);
});

test('pause pauses everyone, play goes on', async () => {
  await visitor.tile('presenter').getByRole('button', {name: 'Pause'}).click();
  await visitor.all('paused');
  const place = await visitor.position('attendee-2');
  await visitor.tile('presenter').getByRole('button', {name: 'Play'}).click();
  await visitor.all('playing');
  await until('the position follows', async () => (await visitor.position('attendee-2')) > place);
  await visitor.tile('presenter').getByRole('button', {name: 'Stop'}).click();
  await visitor.all('stopped');
});

test('seek moves everyone, by bar and by key', async () => {
  const bar = visitor.tile('presenter').getByRole('slider', {name: 'position of presenter'});
  await visitor.tile('presenter').getByRole('button', {name: 'Pause'}).click();
  await visitor.all('paused');
  await bar.fill('30');
  for (const id of participants)
    await until(`${id} is at 30 s`, async () => (await visitor.position(id)) === 30);
  await visitor.page.locator('h1').click();
  await visitor.page.keyboard.press('ArrowRight');
  for (const id of participants)
    await until(`${id} is at 35 s`, async () => (await visitor.position(id)) === 35);
});

test('a second browser sees the same', async () => {
  const second = await visit(browser, room.url);
  await moves(second, 'attendee-1');
  await second.tile('attendee-1').getByRole('button', {name: 'Mute'}).click();
  await second.tile('attendee-1').getByRole('slider', {name: 'volume'}).fill('40');
  await second.tile('attendee-2').getByRole('button', {name: 'Leave'}).click();
  await visitor.tile('attendee-1').getByRole('button', {name: 'Unmute'}).waitFor();
  await visitor.tile('attendee-2').getByRole('button', {name: 'Join'}).waitFor();
  await until('the volume is the same', async () =>
    (await visitor.tile('attendee-1').locator('.volume').inputValue()) === '40');
  await second.close();
  await moves(visitor, 'attendee-1');
});

test('a lost connection is told and taken up again', async () => {
  const line = visitor.page.getByRole('status');
  await until('it is connected', async () => (await line.textContent()) === 'connected');
  await until('there are messages', async () => (await visitor.rows()) > 0);
  const {port} = room;
  await room.close();
  await until('it is lost', async () => (await line.textContent()).startsWith('connection lost'));
  await visitor.tile('presenter').getByRole('button', {name: 'Stop'}).click();
  await until('the action is not lost unsaid', async () =>
    (await visitor.page.getByRole('alert').textContent()) === 'not connected, not done: stop');
  await screenshot(visitor.page, 'lost');
  room = await openRoom(port);
  await until('it is back', async () => (await line.textContent()) === 'connected');
  for (const id of participants) await moves(visitor, id);
  await until('there are messages again', async () => (await visitor.rows()) > 0);
});

test('a connection that falls silent is lost', async () => {
  const line = visitor.page.getByRole('status');
  await until('it is connected', async () => (await line.textContent()) === 'connected');
  room.fallSilent();
  await until('it is lost', async () => (await line.textContent()).startsWith('connection lost'));
  room.goOn();
  await until('it is back', async () => (await line.textContent()) === 'connected');
  for (const id of participants) await moves(visitor, id);
});

test('messages are decoded, filtered, held and cleared', async () => {
  const {page} = visitor;
  const names = async () => new Set(await page.locator('#messages .name').allTextContents());
  await until('both directions are there', async () => (await names()).size >= 3);
  assert.deepEqual([...(await names())].sort(),
    ['CMD_VOLUME', 'CMD_VOLUME answered 0', 'MSSTATUS_CURRENT_PLAY_POSITION']);
  await page.getByLabel('sample').check();
  await until('samples come', async () => (await names()).has('CMD_MEDIA_DATA'));
  await page.getByLabel('sample').uncheck();
  assert.equal((await names()).has('CMD_MEDIA_DATA'), false);
  await page.getByLabel('Filter by text').fill('wvolumelevel=80');
  assert.deepEqual([...(await names())].sort(), ['CMD_VOLUME', 'CMD_VOLUME answered 0']);
  await page.getByLabel('Filter by text').fill('');
  await page.getByLabel('request').uncheck();
  assert.deepEqual([...(await names())], ['MSSTATUS_CURRENT_PLAY_POSITION']);
  await page.getByLabel('From').selectOption('attendee-2');
  const who = new Set(await page.locator('#messages .who').allTextContents());
  assert.deepEqual([...who], ['attendee-2']);

  await page.getByRole('button', {name: 'Hold'}).click();
  const held = await visitor.rows();
  await until('some wait', async () => / [1-9]\d* waiting/.test(await page.locator('#count').textContent()));
  assert.equal(await visitor.rows(), held);
  await page.getByRole('button', {name: 'Go on'}).click();
  await until('they are shown', async () => (await visitor.rows()) > held);
  await page.getByRole('button', {name: 'Hold'}).click();
  await page.getByRole('button', {name: 'Clear'}).click();
  assert.equal(await visitor.rows(), 0);
});

test('what a mistaken action is answered is shown', async () => {
  await visitor.page.getByLabel('Action', {exact: true}).fill('attendee=9 mute');
  await visitor.page.keyboard.press('Enter');
  await until('it is told', async () =>
    (await visitor.page.getByRole('alert').textContent()) === 'no such attendee: attendee=9 mute');
});

test('all can be done with keys', async () => {
  const {page} = visitor;
  const reached = new Set();
  await page.keyboard.press('Tab');
  for (let i = 0; i < 60; ++i) {
    const at = await page.evaluate(() => {
      const element = document.activeElement;
      if (element === document.body) return null;
      const visible = element.getClientRects().length > 0 && getComputedStyle(element).outlineStyle !== 'none';
      return {name: element.getAttribute('aria-label') || element.textContent.trim() || element.id,
              tile: element.closest('.tile')?.dataset.id, visible};
    });
    if (at) {
      assert.ok(at.visible, `the focus on ${at.name} can be seen`);
      reached.add(`${at.tile ?? ''} ${at.name}`);
    }
    await page.keyboard.press('Tab');
  }
  for (const name of ['presenter Pause', 'presenter Stop', 'presenter position of presenter',
                      'presenter volume of presenter', 'attendee-1 Leave', 'attendee-2 Mute',
                      'attendee-2 Listen', ' Keys', ' Hold', ' Clear', ' Messages, newest last'])
    assert.ok(reached.has(name), `${name} is reached among ${[...reached].join(', ')}`);

  await page.locator('h1').click();
  await page.keyboard.press('Space');
  await visitor.all('paused');
  await page.keyboard.press('2');
  await page.keyboard.press('m');
  await visitor.tile('attendee-1').getByRole('button', {name: 'Unmute'}).waitFor();
  assert.equal(await visitor.tile('presenter').getByRole('button', {name: 'Mute'}).count(), 1);
  await page.keyboard.press('?');
  assert.ok(await page.getByRole('dialog').isVisible());
  await page.keyboard.press('Escape');
  assert.ok(!(await page.getByRole('dialog').isVisible()));
});

test('sound of one participant at a time', async () => {
  const {page} = visitor;
  const blocks = () => page.evaluate(() => Number(document.body.dataset.soundBlocks ?? 0));
  const listen = (id) => visitor.tile(id).getByRole('button', {name: 'Listen'});
  await listen('attendee-1').click();
  await until('sound is played', async () => (await blocks()) > 5);
  await listen('attendee-2').click();
  assert.equal(await listen('attendee-1').getAttribute('aria-pressed'), 'false');
  const begin = await blocks();
  await until('sound goes on', async () => (await blocks()) > begin + 5);
  await listen('attendee-2').click();
  assert.equal(await listen('attendee-2').getAttribute('aria-pressed'), 'false');
});

for (const [name, options] of Object.entries({
  light: {},
  dark: {colorScheme: 'dark'},
  phone: {viewport: {width: 360, height: 740}, isMobile: true, deviceScaleFactor: 2},
}))
  test(`looks right: ${name}`, async () => {
    const other = await visit(browser, room.url, options);
    await moves(other, 'presenter');
    await until('there are messages', async () => (await other.rows()) > 6);
    const {content, width} = await other.page.evaluate(() =>
      ({content: document.documentElement.scrollWidth, width: innerWidth}));
    assert.ok(content <= width, `nothing is wider than the page: ${content} in ${width}`);
    await screenshot(other.page, name, {fullPage: name === 'phone'});
    assert.deepEqual(other.errors, []);
    await other.close();
  });
