// The room of a real meeting: the plug-in shares a movie with two attendees.
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
  for (const id of participants) await moves(visitor, id);
  for (const id of participants)
    await until(`${id} gets on`, async () => (await visitor.position(id)) > 1);
  await screenshot(visitor.page, 'meeting');
  assert.deepEqual(visitor.errors, []);
});

test('pause pauses everyone in every browser, play goes on', async () => {
  const second = await visit(browser, meeting.url);
  await press(second, 'presenter', 'Pause');
  for (const who of [visitor, second]) await who.all('paused');
  await press(visitor, 'presenter', 'Play');
  for (const who of [visitor, second]) {
    await who.all('playing');
    for (const id of participants) await moves(who, id);
  }
  await second.close();
});

test('seek moves everyone', async () => {
  await visitor.tile('presenter').getByRole('slider', {name: 'position of presenter'}).fill('40');
  for (const id of participants)
    await until(`${id} is past 40 s`, async () => (await visitor.position(id)) >= 40);
  for (const id of participants) await moves(visitor, id);
});

test('an attendee leaves and joins again', async () => {
  await moves(visitor, 'attendee-1');
  await press(visitor, 'attendee-1', 'Leave');
  await visitor.tile('attendee-1').getByRole('button', {name: 'Join'}).waitFor();
  await moves(visitor, 'attendee-2');
  await press(visitor, 'attendee-1', 'Join');
  await moves(visitor, 'attendee-1');
});

test('an attendee can be heard', async () => {
  await press(visitor, 'attendee-2', 'Listen');
  await until('sound is played', () =>
    visitor.page.evaluate(() => Number(document.body.dataset.soundBlocks ?? 0) > 10));
});

test('what was routed is told by name', async () => {
  const {page} = visitor;
  await page.getByLabel('Filter by text').fill('dwPlayStatus');
  await press(visitor, 'presenter', 'Pause');
  await until('both attendees are told of the pause', async () => {
    const rows = await page.locator('#messages li').allTextContents();
    return ['attendee-1', 'attendee-2'].every((id) => rows.some((row) =>
      row.includes(id) && row.includes('dwPlayStatus=PLYASTATUS_PAUSE')));
  });
});

test('a meeting that ends and begins again is taken up', async () => {
  const line = visitor.page.locator('#connection');
  const {port} = meeting;
  await meeting.close();
  await until('it is lost', async () => (await line.textContent()).startsWith('connection lost'));
  meeting = await holdMeeting(port);
  await until('it is back', async () => (await line.textContent()) === 'connected');
  for (const id of participants) await moves(visitor, id);
});
