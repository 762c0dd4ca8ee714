// A room and browsers that visit it.
//
// From the environment: ROOM_MEETING, the program that holds meetings, and ROOM_FILE, a movie of a
// minute to share in one; ROOM_MODULES, the folder that the modules are installed in; ROOM_CHROMIUM,
// the browser's program; ROOM_SCREENSHOTS, a folder.
import {spawn} from 'node:child_process';
import {mkdirSync} from 'node:fs';
import {createRequire} from 'node:module';
import {join} from 'node:path';
import {createInterface} from 'node:readline';

const {chromium} = createRequire(join(process.env.ROOM_MODULES, 'here'))('playwright-core');
const patience = 60_000;  // ms; no healthy machine needs them

// Asks until the answer is yes. The page's policy forbids what the browser driver's own waiting does.
export async function until(what, condition) {
  const limit = Date.now() + patience;
  for (;;) {
    if (await condition()) return;
    if (Date.now() > limit) throw new Error(`waited in vain until ${what}`);
    await new Promise((resolve) => setTimeout(resolve, 30));
  }
}

const hosts = new Set();
process.on('exit', () => hosts.forEach((host) => host.kill('SIGKILL')));

// The room of a meeting with two attendees, at the port or at any that is free.
export async function holdMeeting(port = 0) {
  const host = spawn(process.env.ROOM_MEETING, ['present', process.env.ROOM_FILE, '--web', String(port),
                                                '--attendees', '2', '--stay', '--quiet'],
                     {stdio: ['ignore', 'pipe', 'pipe']});
  hosts.add(host);
  const ended = new Promise((resolve) => host.once('exit', resolve));
  const said = [];
  const url = await new Promise((resolve, reject) => {
    for (const stream of [host.stdout, host.stderr])
      createInterface(stream).on('line', (line) => {
        said.push(line);
        const address = line.match(/http:\S+/);
        if (address) resolve(address[0]);
      });
    ended.then(() => reject(new Error(`the room did not open: ${said.join('; ')}`)));
  });
  return {
    url,
    port: Number(new URL(url).port),
    // Nothing more comes from it, though its connections stay, until it goes on.
    fallSilent: () => host.kill('SIGSTOP'),
    goOn: () => host.kill('SIGCONT'),
    close: async () => {
      host.kill('SIGKILL');
      await ended;
      hosts.delete(host);
    },
  };
}

export const launch = () => chromium.launch({
  executablePath: process.env.ROOM_CHROMIUM,
  args: ['--no-sandbox', '--disable-gpu', '--disable-dev-shm-usage', '--autoplay-policy=no-user-gesture-required'],
});

// A visitor with a browser of its own; `errors` are what its console complains about.
export async function visit(browser, url, options = {}) {
  const context = await browser.newContext({viewport: {width: 1280, height: 800}, ...options});
  const page = await context.newPage();
  const errors = [];
  page.on('console', (message) => {
    if (message.type() === 'error') errors.push(message.text());
  });
  page.on('pageerror', (error) => errors.push(String(error)));
  await page.goto(url);
  await until('the participants are there', async () => (await page.locator('.tile').count()) === 3);
  const tile = (id) => page.locator(`.tile[data-id="${id}"]`);
  return {
    page,
    errors,
    tile,
    pictures: (id) => tile(id).locator('canvas').evaluate((canvas) => Number(canvas.dataset.pictures ?? 0)),
    state: (id) => tile(id).locator('.state').textContent(),
    position: (id) => tile(id).locator('.position').evaluate((bar) => Number(bar.value)),
    rows: () => page.locator('#messages li').count(),
    // All three show the state.
    all: (state) => until(`all are ${state}`, async () =>
      (await page.locator('.state').allTextContents()).every((text) => text === state)),
    close: () => context.close(),
  };
}

// Waits for new pictures of that participant's view.
export async function moves(who, id) {
  const begin = await who.pictures(id);
  await until(`${id} moves`, async () => (await who.pictures(id)) > begin + 2);
}

export async function screenshot(page, name, options = {}) {
  mkdirSync(process.env.ROOM_SCREENSHOTS, {recursive: true});
  await page.screenshot({path: join(process.env.ROOM_SCREENSHOTS, `${name}.png`), ...options});
}
