// The page in browsers, at the room of a meeting whose presenter shares a movie with two attendees.
import assert from 'node:assert/strict';
import {after, afterEach, before, beforeEach, test} from 'node:test';

import {holdMeeting, launch, moves, screenshot, until, visit} from './support.mjs';

const participants = ['presenter', 'attendee-1', 'attendee-2'];
let browser;
let meeting;
let visitor;

before(async () => { browser = await launch(); });
after(() => browser.close());

beforeEach(async () => {
  meeting = await holdMeeting();
  visitor = await visit(browser, meeting.url);
  await visitor.all('playing');
});
afterEach(async () => {
  await visitor.close();
  await meeting.close();
});

const press = (who, id, name) => who.tile(id).getByRole('button', {name}).click();

test('everybody sees the movie move', async () => {
  const drawn = () => visitor.tile('presenter').locator('canvas').evaluate((canvas) =>
    canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height).data
      .reduce((sum, value) => (31 * sum + value) | 0));
  for (const id of participants) await moves(visitor, id);
  const begin = await drawn();
  await until('the picture changes', async () => (await drawn()) !== begin);
  for (const id of participants)
    await until(`${id} gets on`, async () => (await visitor.position(id)) > 1);
  await screenshot(visitor.page, 'meeting');
  assert.deepEqual(visitor.errors, []);
});

test('what one browser does is seen in every browser', async () => {
  const second = await visit(browser, meeting.url);
  await press(second, 'presenter', 'Pause');
  for (const who of [visitor, second]) await who.all('paused');
  await press(visitor, 'presenter', 'Play');
  for (const who of [visitor, second]) {
    await who.all('playing');
    for (const id of participants) await moves(who, id);
  }
  await second.tile('attendee-1').getByRole('slider', {name: 'volume'}).fill('40');
  await until('the volume is the same', async () =>
    Math.abs(await visitor.tile('attendee-1').locator('.volume').inputValue() - 40) <= 2);
  await press(second, 'attendee-2', 'Leave');
  await visitor.tile('attendee-2').getByRole('button', {name: 'Join'}).waitFor();
  await moves(visitor, 'attendee-1');
  await press(visitor, 'attendee-2', 'Join');
  await moves(second, 'attendee-2');
  await second.close();
  await moves(visitor, 'attendee-1');
  await press(visitor, 'presenter', 'Stop');
  await visitor.all('stopped');
});

test('seek moves everyone, by bar and by key', async () => {
  const everybodyIsAt = async (seconds) => {
    for (const id of participants)
      await until(`${id} is at ${seconds} s`, async () =>
        Math.abs(await visitor.position(id) - seconds) < 0.5);
  };
  await press(visitor, 'presenter', 'Pause');
  await visitor.all('paused');
  await visitor.tile('presenter').getByRole('slider', {name: 'position of presenter'}).fill('30');
  await everybodyIsAt(30);
  await visitor.page.locator('h1').click();
  await visitor.page.keyboard.press('ArrowRight');
  await everybodyIsAt(35);
});

test('a lost connection is told and taken up again', async () => {
  const line = visitor.page.getByRole('status');
  await until('it is connected', async () => (await line.textContent()) === 'connected');
  await until('there are messages', async () => (await visitor.rows()) > 0);
  const {port} = meeting;
  await meeting.close();
  await until('it is lost', async () => (await line.textContent()).startsWith('connection lost'));
  await visitor.tile('presenter').getByRole('button', {name: 'Stop'}).click();
  await until('the action is not lost unsaid', async () =>
    (await visitor.page.getByRole('alert').textContent()) === 'not connected, not done: document=1 stop');
  await screenshot(visitor.page, 'lost');
  meeting = await holdMeeting(port);
  await until('it is back', async () => (await line.textContent()) === 'connected');
  for (const id of participants) await moves(visitor, id);
  await until('there are messages again', async () => (await visitor.rows()) > 0);
});

test('a connection that falls silent is lost', async () => {
  const line = visitor.page.getByRole('status');
  await until('it is connected', async () => (await line.textContent()) === 'connected');
  meeting.fallSilent();
  await until('it is lost', async () => (await line.textContent()).startsWith('connection lost'));
  meeting.goOn();
  await until('it is back', async () => (await line.textContent()) === 'connected');
  for (const id of participants) await moves(visitor, id);
});

test('messages are decoded, filtered, held and cleared', async () => {
  const {page} = visitor;
  const all = async (part) => [...new Set(await page.locator(`#messages ${part}`).allTextContents())];
  const filter = page.getByLabel('Filter by text');
  await until('both directions are there', async () => {
    const names = await all('.name');
    return ['CMD_QUERY', 'CMD_QUERY answered 0', 'MSSTATUS_CURRENT_PLAY_POSITION']
      .every((name) => names.includes(name));
  });
  await page.getByLabel('sample').check();
  await until('samples come', async () => (await all('.name')).includes('CMD_MEDIA_DATA'));
  await page.getByLabel('sample').uncheck();
  assert.equal((await all('.name')).includes('CMD_MEDIA_DATA'), false);
  await filter.fill('plyastatus_pause');
  await press(visitor, 'presenter', 'Pause');
  await until('both attendees are told of the pause', async () => (await all('.who')).length === 2);
  assert.deepEqual(await all('.name'), ['MSSTATUS_CURRENT_PLAY_STATUS']);
  await press(visitor, 'presenter', 'Play');
  await filter.fill('');
  await page.getByLabel('request').uncheck();
  assert.equal((await all('.name')).some((name) => name.startsWith('CMD_')), false);
  await page.getByLabel('From').selectOption('attendee-2');
  assert.deepEqual(await all('.who'), ['attendee-2']);

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
    (await visitor.page.getByRole('alert').textContent()) === 'attendee 9 has no player to be seen');
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
    const other = await visit(browser, meeting.url, options);
    await moves(other, 'presenter');
    await until('there are messages', async () => (await other.rows()) > 6);
    const {content, width} = await other.page.evaluate(() =>
      ({content: document.documentElement.scrollWidth, width: innerWidth}));
    assert.ok(content <= width, `nothing is wider than the page: ${content} in ${width}`);
    await screenshot(other.page, name, {fullPage: name === 'phone'});
    assert.deepEqual(other.errors, []);
    await other.close();
  });
