// The page of one body: it shows it, moves it, and answers.
import assert from 'node:assert/strict';
import {existsSync, readdirSync, readFileSync, writeFileSync} from 'node:fs';
import {join} from 'node:path';
import {after, before, test} from 'node:test';
import {bodyPart, close, conrod, difference, open, page, picture, sample, sbr, scratch, setInput, settle, textOf} from './browser.mjs';

const STILL = '#mode=7&play=0&phase=90';
let path;
before(() => (path = page(conrod())));
after(close);

/** Numbers of the page as numbers: minus signs and raised powers of ten. */
function numberOf(text) {
  const plain = text.replace(/\u2212/g, '-').replace(/\u00b710([\u207b\u2070\u00b9\u00b2\u00b3\u2074-\u2079]+)/, (_, power) =>
    `e${[...power].map((c) => '\u207b\u2070\u00b9\u00b2\u00b3\u2074\u2075\u2076\u2077\u2078\u2079'.indexOf(c)).map((i) => (i === 0 ? '-' : i - 1)).join('')}`);
  return parseFloat(plain);
}

const near = (a, b, relative = 2e-3) => assert.ok(Math.abs(a - b) <= relative * Math.abs(b), `${a} is not ${b}`);

test('the body fills a good part of the canvas, and the console is quiet', async () => {
  const {tab, end} = await open(path, {hash: STILL});
  const [left, right] = await bodyPart(await picture(tab));
  assert.ok(left > 0.05 && right > 0.05 && left < 0.7, `${left} ${right}`);
  assert.equal(await tab.title(), 'conrod.sbr');
  assert.match(await textOf(tab, 'h1'), /connecting rod/i);
  await end();
});

test('the list has every mode with its frequency and its generalized mass', async () => {
  const {tab, end} = await open(path, {hash: STILL});
  const modes = JSON.parse(sbr('modes', 'conrod.sbr', '--json'));
  const rows = await tab.$$eval('.mode-list li', (items) => items.map((item) => [...item.children].map((cell) => cell.textContent)));
  assert.equal(rows.length, modes.length);
  rows.forEach((row, i) => {
    assert.equal(Number(row[0]), modes[i].number);
    near(numberOf(row[1]), modes[i].hz, 1e-2);
    near(numberOf(row[2]), modes[i].generalized_mass);
  });
  await end();
});

test('another mode is another picture, and so is another phase', async () => {
  const {tab, end} = await open(path, {hash: STILL});
  const seven = await picture(tab);
  await tab.click('.mode-list li[data-mode="9"]');
  await settle(tab);
  const nine = await picture(tab);
  assert.ok((await difference(seven, nine)).part > 0.02);
  await setInput(tab, '#phase', 270);
  const other = await picture(tab);
  assert.ok((await difference(nine, other)).part > 0.02);
  await setInput(tab, '#phase', 0);
  const rest = await picture(tab);
  await tab.click('.mode-list li[data-mode="7"]');
  await settle(tab);
  await setInput(tab, '#quantity', '');
  await tab.evaluate(() => window.sbrView.set({mode: 8}));
  await settle(tab);
  const restOfOther = await picture(tab);
  await tab.evaluate(() => window.sbrView.set({mode: 6}));
  await settle(tab);
  assert.ok((await difference(restOfOther, await picture(tab))).part < 1e-3, 'at rest all modes look alike without colors');
  assert.ok((await difference(rest, other)).part > 0.02);
  await end();
});

test('it plays and pauses', async () => {
  const {tab, end} = await open(path, {hash: '#mode=7', width: 900, height: 600});
  const count = () => tab.evaluate(() => [window.sbrView.frames, window.sbrView.state.phase]);
  const [frames, phase] = await count();
  await new Promise((done) => setTimeout(done, 1500));
  const [later, moved] = await count();
  assert.ok(later > frames + 5, `${later - frames} frames in 1.5 seconds`);
  assert.notEqual(phase, moved);
  await tab.click('#play');
  await settle(tab);
  const [, stopped] = await count();
  await new Promise((done) => setTimeout(done, 300));
  assert.equal((await count())[1], stopped);
  assert.equal(await tab.$eval('#play', (button) => button.getAttribute('aria-label')), 'Play');
  await end();
});

test('a click shows the node under it, with the figures of the record', async () => {
  const {tab, end} = await open(path, {hash: STILL});
  const box = await tab.$eval('.stage-canvas', (canvas) => canvas.getBoundingClientRect().toJSON());
  // A place that is certainly on the body: that of a node that the ray meets.
  const at = await tab.evaluate(() => {
    const {stage} = window.sbrView;
    const body = stage.views[0].body;
    for (let node = 0; node < body.nodeCount; ++node) {
      const place = stage.locate(0, node);
      const hit = stage.pick(place.x, place.y);
      if (hit && hit.node === node) return {...place, id: body.ids[node]};
    }
    return null;
  });
  assert.ok(at);
  await tab.mouse.click(box.x + at.x, box.y + at.y);
  await settle(tab);
  assert.equal(await textOf(tab, '.node-title h2'), `Node ${at.id}`);
  const [node] = JSON.parse(sbr('nodes', 'conrod.sbr', '--id', String(at.id), '--json'));
  const rows = await tab.$$eval('.node-figures dt', (items) => items.map((item) => [item.textContent, item.nextElementSibling.textContent]));
  const row = (name) => rows.find(([head]) => head.startsWith(name))?.[1];
  const three = (text) => text.split(/[xyz]{1,2}/).slice(1).map(numberOf);
  three(row('Coordinates')).forEach((value, c) => assert.ok(Math.abs(value - node.xyz[c]) < 1e-3 + 1e-5 * Math.abs(node.xyz[c])));
  near(numberOf(row('Mass')), node.mass);
  const mode = JSON.parse(sbr('mode', 'conrod.sbr', '7', '--json'));
  const values = mode.nodes.find((one) => one.id === at.id).values;
  near(numberOf(row('Displacement')), Math.hypot(...values.slice(0, 3)));
  const stress = JSON.parse(sbr('mode', 'conrod.sbr', '7', '--kind', 'stress', '--json')).nodes.find((one) => one.id === at.id).values;
  const [a, b, c, d, e, f] = stress;
  near(numberOf(row('Von Mises stress')), Math.sqrt(a * a + b * b + c * c - a * b - b * c - a * c + 3 * (d * d + e * e + f * f)), 4e-3);
  await end();
});

test('a node is found by its ID, and what is not there is told', async () => {
  const {tab, end} = await open(path, {hash: STILL});
  await tab.keyboard.press('/');
  await tab.keyboard.type('51');
  await tab.keyboard.press('Enter');
  await settle(tab);
  assert.equal(await textOf(tab, '.node-title h2'), 'Node 51');
  await tab.click('.node-search input', {count: 3});
  await tab.keyboard.type('999999');
  await tab.keyboard.press('Enter');
  assert.match(await textOf(tab, '.message'), /no node 999999/);
  await tab.click('.node-search input', {count: 3});
  await tab.keyboard.type('five');
  await tab.keyboard.press('Enter');
  assert.match(await textOf(tab, '.message'), /whole number/);
  await end();
});

test('the keyboard plays, steps, chooses modes and switches parts', async () => {
  const {tab, end} = await open(path, {hash: STILL});
  const state = (name) => tab.evaluate((key) => window.sbrView.state[key], name);
  const press = async (key) => {
    await tab.keyboard.press(key);
    await settle(tab);
  };
  await press('ArrowDown');
  assert.equal(await state('mode'), 7);
  await press('ArrowUp');
  assert.equal(await state('mode'), 6);
  const phase = await state('phase');
  await press('ArrowRight');
  assert.ok(Math.abs((await state('phase')) - phase - Math.PI / 18) < 1e-9);
  await press('+');
  assert.ok((await state('amplitude')) > 1);
  await press(' ');
  assert.equal(await state('playing'), true);
  await press(' ');
  assert.equal(await state('playing'), false);
  for (const [key, name] of [['e', 'edges'], ['m', 'mesh'], ['g', 'ghost'], ['i', 'interface'], ['c', 'center'], ['a', 'axes']]) {
    const shown = (await state('show'))[name];
    const before_ = await picture(tab);
    await press(key);
    assert.equal((await state('show'))[name], !shown);
    if (['mesh', 'ghost', 'interface'].includes(name)) assert.ok((await difference(before_, await picture(tab))).mean > 1e-4, name);
  }
  const camera = () => tab.evaluate(() => window.sbrView.stage.camera.position.toArray());
  await press('x');
  const [x, y, z] = await camera();
  assert.ok(x > 1 && Math.abs(y) < x && Math.abs(z) < x);
  await press('?');
  assert.ok(await tab.$('dialog[open]'));
  await tab.keyboard.press('Escape');
  await press('d');
  assert.equal(await tab.$eval('html', (html) => html.dataset.theme), 'dark');
  await end();
});

test('colors follow the quantity, and the legend tells its unit in every system', async () => {
  const {tab, end} = await open(path, {hash: STILL});
  const top = async () => numberOf(await textOf(tab, '.legend-ticks span'));
  const unit = () => textOf(tab, '.legend-unit');
  assert.match(await unit(), /\[mm\]/);
  const millimeters = await top();
  const figures = JSON.parse(readFileSync(path, 'utf8').match(/id="sbr-description">(.*?)<\/script>/s)[1]);
  near(millimeters, figures.bodies[0].modes[6].shape.largest, 5e-3);
  await setInput(tab, '#units', 'in-slinch-s-lbf');
  assert.match(await unit(), /\[in\]/);
  near(await top(), millimeters / 25.4, 1e-2);
  await setInput(tab, '#units', 'm-kg-s-N');
  near(await top(), millimeters / 1000, 1e-2);
  const pictures = [await picture(tab)];
  for (const [key, name] of [['stress.mises', 'Von Mises stress'], ['stress.xx', 'Stress xx'], ['displacement.z', 'Displacement z']]) {
    await setInput(tab, '#quantity', key);
    assert.match(await textOf(tab, '.legend-name'), new RegExp(name));
    const now = await picture(tab);
    for (const one of pictures) assert.ok((await difference(one, now)).mean > 2e-3, name);
    pictures.push(now);
  }
  const bottom = await tab.$$eval('.legend-ticks span', (ticks) => ticks.at(-1).textContent);
  near(numberOf(bottom), -(await top()));
  await end();
});

test('the range can be that of all modes, or fixed', async () => {
  const {tab, end} = await open(path, {hash: STILL});
  const top = async () => numberOf(await textOf(tab, '.legend-ticks span'));
  const own = await top();
  await setInput(tab, '#color-range', 'all');
  const all = await top();
  assert.ok(all > own);
  await tab.click('.mode-list li[data-mode="9"]');
  await settle(tab);
  assert.equal(await top(), all);
  await setInput(tab, '#color-range', 'fixed');
  await tab.evaluate(() => (document.querySelector('.range-inputs input:last-of-type').value = '12.5'));
  await tab.$eval('.range-inputs input:last-of-type', (input) => input.dispatchEvent(new Event('change')));
  await settle(tab);
  assert.equal(await top(), 12.5);
  await end();
});

test('nodes without stress are shown as such', async () => {
  const {tab, end} = await open(page(sample('conrod_13c')), {hash: `${STILL}&field=stress.mises`});
  assert.match(await textOf(tab, '.legend-unknown'), /no stress known/);
  await tab.evaluate(() => {
    const {bodies} = window.sbrView;
    const node = bodies[0].rows.stress.findIndex((row) => row < 0);
    window.sbrView.pick({view: 0, node});
  });
  await settle(tab);
  const rows = await tab.$$eval('.node-figures dt', (items) => items.map((item) => `${item.textContent}: ${item.nextElementSibling.textContent}`));
  assert.ok(rows.includes('Stress: not known here'), rows.join('\n'));
  await end();
});

test('modes are superposed by sliders', async () => {
  const {tab, end} = await open(path, {hash: `${STILL}&node=51`});
  const displacement = async () => {
    await settle(tab);
    const text = await tab.$$eval('.node-figures dt', (items) => items.find((item) => item.textContent === 'Displacement').nextElementSibling.nextElementSibling.nextElementSibling.textContent);
    return text.split(/[xyz]/).slice(1).map(numberOf);
  };
  await displacement();
  await tab.evaluate(() => [...document.querySelectorAll('.segments button')].find((button) => button.textContent === 'Superpose').click());
  await settle(tab);
  await setInput(tab, '.mode-list li[data-mode="7"] input', 0.5);
  await setInput(tab, '.mode-list li[data-mode="9"] input', -0.25);
  const sum = await displacement();
  const values = (number) => JSON.parse(sbr('mode', 'conrod.sbr', String(number), '--json')).nodes.find((one) => one.id === 51).values;
  const [seven, nine] = [values(7), values(9)];
  sum.forEach((value, c) => assert.ok(Math.abs(value - (0.5 * seven[c] - 0.25 * nine[c])) < 0.02, `${sum}`));
  assert.match(await tab.evaluate(() => {
    window.sbrView.writePlace();
    return decodeURIComponent(location.hash);
  }), /mix=7:0\.5,9:-0\.25/);
  await end();
});

test('a time history is played back, and one that cannot be read is told', async () => {
  const {tab, end} = await open(path, {hash: STILL});
  await tab.evaluate(() => [...document.querySelectorAll('.segments button')].find((button) => button.textContent === 'History').click());
  await settle(tab);
  const good = join(scratch, 'history.csv');
  const lines = Array.from({length: 50}, (_, i) => `${i / 50},${Math.sin(i / 5)},${0.5 * Math.cos(i / 3)}`);
  writeFileSync(good, `time,7,8\n${lines.join('\n')}\n`);
  const choose = async (file) => {
    await (await tab.$('.file-button input')).uploadFile(file);
    await new Promise((done) => setTimeout(done, 200));
    await settle(tab);
  };
  await choose(good);
  await tab.waitForFunction(() => window.sbrView.state.history?.times.length === 50 && window.sbrView.state.playing);
  await tab.evaluate(() => window.sbrView.set({playing: false, time: 0.16}));
  await settle(tab);
  const early = await picture(tab);
  await tab.evaluate(() => window.sbrView.set({time: 0.46}));
  await settle(tab);
  assert.ok((await difference(early, await picture(tab))).part > 0.01);
  assert.match(await textOf(tab, '.control-phase .value'), /0\.46 s/);
  const bad = join(scratch, 'bad.csv');
  writeFileSync(bad, 'time,7\n0,1\n1,many\n');
  await choose(bad);
  assert.match(await textOf(tab, '.message'), /bad\.csv: line 3: value 2 is not a number/);
  assert.equal(await tab.evaluate(() => window.sbrView.state.history.times.length), 50, 'the one before stays');
  await end();
});

test('a link shows what its sender saw', async () => {
  const first = await open(path, {hash: '#mode=9&play=0&phase=60&field=stress.mises&show=mesh,-ghost'});
  await first.tab.evaluate(() => {
    window.sbrView.stage.turn(0.7, -0.3);
    window.sbrView.stage.zoom(0.7);
  });
  await settle(first.tab);
  await new Promise((done) => setTimeout(done, 500));
  const sent = await picture(first.tab);
  const hash = await first.tab.evaluate(() => location.hash);
  await first.end();
  const second = await open(path, {hash});
  assert.ok((await difference(sent, await picture(second.tab))).part < 2e-3);
  await second.tab.evaluate(() => (location.hash = '#mode=8&play=0'));
  await settle(second.tab);
  assert.equal(await second.tab.evaluate(() => window.sbrView.state.mode), 7);
  await second.end();
  const odd = await open(path, {hash: '#mode=4711&camera=NaN,1&field=nothing&units=furlong&theme=pink&node=-3'});
  await odd.end();
});

test('pictures and films can be saved', async () => {
  const {tab, end} = await open(path, {hash: STILL, width: 900, height: 600});
  const client = await tab.createCDPSession();
  await client.send('Browser.setDownloadBehavior', {behavior: 'allow', downloadPath: scratch});
  const wait = async (name) => {
    for (let i = 0; i < 200 && !(existsSync(join(scratch, name)) && readdirSync(scratch).every((file) => !file.endsWith('.crdownload'))); ++i)
      await new Promise((done) => setTimeout(done, 50));
    return readFileSync(join(scratch, name));
  };
  await tab.click('[aria-label="Save a picture"]');
  const png = await wait('conrod-mode-7.png');
  assert.deepEqual([...png.subarray(0, 8)], [137, 80, 78, 71, 13, 10, 26, 10]);
  assert.ok(png.readUInt32BE(16) > 300 && png.readUInt32BE(20) > 300 && png.length > 10000);
  await tab.click('[aria-label="Record a film"]');
  await new Promise((done) => setTimeout(done, 1500));
  assert.equal(await tab.$eval('[aria-label="Record a film"]', (button) => button.getAttribute('aria-pressed')), 'true');
  await tab.click('[aria-label="Record a film"]');
  const film = await wait('conrod-mode-7.webm');
  assert.deepEqual([...film.subarray(0, 4)], [0x1a, 0x45, 0xdf, 0xa3]);
  assert.ok(film.length > 5000, `${film.length} bytes`);
  await end();
});
