// Bodies of other kinds: without faces, without modes, with one node, with numbers that are none; two side by side; large
// ones.
import assert from 'node:assert/strict';
import {statSync} from 'node:fs';
import {after, test} from 'node:test';
import {body, bodyPart, close, conrod, difference, open, page, picture, sample, sbr, setInput, settle, textOf} from './browser.mjs';

after(close);
const STILL = '#play=0&phase=90';

test('a body without faces is drawn as points, which move and can be picked', async () => {
  const {tab, end} = await open(page(body('points')), {hash: STILL});
  assert.match(await textOf(tab, '.corner'), /no faces: its nodes are drawn as points/);
  const [left, right] = await bodyPart(await picture(tab));
  assert.ok(left > 0.002 && right > 0.002 && left < 0.2);
  const before = await picture(tab);
  await setInput(tab, '#phase', 270);
  assert.ok((await difference(before, await picture(tab))).part > 1e-3);
  const at = await tab.evaluate(() => window.sbrView.stage.locate(0, 7));
  const box = await tab.$eval('.stage-canvas', (canvas) => canvas.getBoundingClientRect().toJSON());
  await tab.mouse.click(box.x + at.x + 1, box.y + at.y);
  await settle(tab);
  assert.match(await textOf(tab, '.node-title h2'), /^Node \d+$/);
  await end();
});

test('one node is a body', async () => {
  const {tab, end} = await open(page(body('one')), {hash: STILL});
  await tab.evaluate(() => window.sbrView.search(1));
  await settle(tab);
  assert.equal(await textOf(tab, '.node-title h2'), 'Node 1');
  const before = await picture(tab);
  await setInput(tab, '#phase', 270);
  assert.ok((await difference(before, await picture(tab))).mean > 1e-6, 'it moves');
  await end();
});

test('a body without modes stands still and says so', async () => {
  const {tab, end} = await open(page(body('still')), {hash: '#play=1'});
  assert.match(await textOf(tab, '.mode-list'), /no modes/);
  assert.ok((await bodyPart(await picture(tab)))[0] > 0.05);
  for (const key of ['ArrowDown', 'ArrowUp', ' ', '+', 'ArrowLeft', 'i', 'c', 'a']) await tab.keyboard.press(key);
  await tab.evaluate(() => [...document.querySelectorAll('.segments button')].forEach((button) => button.click()));
  await settle(tab);
  await end();
});

test('a body without extent is shown', async () => {
  const {tab, end} = await open(page(body('nowhere')), {hash: STILL});
  assert.equal(await tab.$$eval('.mode-list li', (items) => items.length), 1);
  await end();
});

test('numbers that are none do no harm, and a title with HTML is text', async () => {
  const {tab, end} = await open(page(body('odd')), {hash: STILL});
  assert.match(await textOf(tab, 'h1'), /^<img src=x onerror=/);
  assert.equal(await tab.title(), 'odd.sbr');
  assert.equal(await tab.$$eval('img, b', (found) => found.length), 0);
  assert.match(await textOf(tab, '.corner'), /2 nodes are left out/);
  assert.match(await textOf(tab, '.legend-unknown'), /no displacement known/);
  assert.ok((await bodyPart(await picture(tab)))[0] > 0.05);
  for (const [mode, quantity] of [[1, 'stress.mises'], [2, 'displacement.magnitude']]) {
    await tab.evaluate((one, other) => window.sbrView.set({mode: one, quantity: other}), mode, quantity);
    await settle(tab);
    assert.ok((await bodyPart(await picture(tab)))[0] > 0.05);
  }
  for (const text of await tab.$$eval('.legend-ticks span, .figures dd', (items) => items.map((item) => item.textContent)))
    assert.doesNotMatch(text, /NaN|Infinity|null|undefined/);
  await end();
});

test('polygons of any number of vertices, rotations and interface nodes', async () => {
  const {tab, end} = await open(page(body('mixed')), {hash: STILL});
  const quantities = await tab.$$eval('#quantity option', (options) => options.map((option) => option.value));
  assert.ok(quantities.includes('rotation.magnitude') && quantities.includes('stress.xy') && !quantities.includes('strain.xx'));
  await setInput(tab, '#quantity', 'rotation.x');
  assert.match(await textOf(tab, '.legend-unit'), /rad/);
  const overlay = () => tab.evaluate(() => {
    window.sbrView.draw();
    const {overlay: marks} = window.sbrView.stage;
    const canvas = document.createElement('canvas');
    [canvas.width, canvas.height] = [marks.width, marks.height];
    const context = canvas.getContext('2d', {willReadFrequently: true});
    context.drawImage(marks, 0, 0);
    const {data} = context.getImageData(0, 0, canvas.width, canvas.height);
    return data.reduce((sum, value, i) => sum + (i % 4 === 3 && value > 0 ? 1 : 0), 0);
  });
  const plain = await overlay();
  await tab.keyboard.press('i');
  await settle(tab);
  const labelled = await overlay();
  assert.ok(labelled > plain + 50, 'labels of interface nodes');
  await tab.keyboard.press('c');
  await tab.keyboard.press('a');
  await settle(tab);
  assert.ok((await overlay()) > labelled + 200, 'center of mass and principal axes');
  await end();
});

test('a monitor point stands at the node that moves like it', async () => {
  const {tab, end} = await open(page(sample('conrod_13c')), {hash: `${STILL}&show=monitor`});
  const marks = await tab.evaluate(() => {
    window.sbrView.draw();
    return window.sbrView.stage.marks.map((mark) => mark.text);
  });
  assert.deepEqual(marks, ['displacement of the last node']);
  await end();
});

test('two records stand side by side under one camera, with their modes matched', async () => {
  const {tab, end} = await open(page(conrod(), sample('conrod_13c')), {hash: '#mode=8&play=0&phase=90'});
  const [left, right] = await bodyPart(await picture(tab));
  assert.ok(left > 0.03 && right > 0.03);
  const row = await tab.$eval('.mode-list li[data-mode="8"]', (item) => [...item.children].map((cell) => cell.textContent));
  assert.equal(row[2], '8');
  assert.ok(Number(row[3]) > 0.99);
  assert.equal(await tab.$eval('.mode-list li[data-mode="1"]', (item) => item.children[2].textContent), 'mixed');
  assert.equal((await tab.$$('.legend')).length, 2);
  // Both come from one model: the halves look alike, whatever the camera does.
  await tab.evaluate(() => window.sbrView.stage.turn(0.5, 0.2));
  await settle(tab);
  const halves = await tab.evaluate(async () => {
    window.sbrView.draw();
    const from = window.sbrView.stage.canvas;
    return [0, 1].map((i) => {
      const canvas = document.createElement('canvas');
      [canvas.width, canvas.height] = [from.width / 2 - 4, from.height];
      canvas.getContext('2d').drawImage(from, (i * from.width) / 2 + 2, 0, canvas.width, canvas.height, 0, 0, canvas.width, canvas.height);
      return canvas.toDataURL('image/png').split(',')[1];
    });
  });
  assert.ok((await difference(...halves)).part < 0.03, 'the same mode from the same side');
  await end();
});

test('100,000 nodes and 30 modes take less than 40 MB', async () => {
  const path = page(body('large'));
  const megabytes = statSync(path).size / 1e6;
  assert.ok(megabytes < 40, `${megabytes} MB`);
  const begin = performance.now();
  const {tab, end} = await open(path, {hash: '#mode=8&field=stress.mises', width: 900, height: 600});
  const seconds = (performance.now() - begin) / 1000;
  assert.equal(await tab.evaluate(() => window.sbrView.bodies[0].nodeCount), 100000);
  assert.ok((await bodyPart(await picture(tab)))[0] > 0.05);
  // What a frame costs the page itself: 60 of them a second leave 16.7 ms for page, browser and graphics processor. Each is
  // drawn to its end before the next begins, so that the wait for the software rasterizer is not counted.
  const frame = (change) => tab.evaluate(async (wanted) => {
    const app = window.sbrView;
    await app.set({playing: false, ...wanted, mix: new Map(wanted.mix)});
    const gl = app.stage.canvas.getContext('webgl2');
    const times = [];
    for (let i = 0; i < 61; ++i) {
      app.state.phase = i / 10;
      const start = performance.now();
      app.draw();
      times.push(performance.now() - start);
      gl.readPixels(0, 0, 1, 1, gl.RGBA, gl.UNSIGNED_BYTE, new Uint8Array(4));
    }
    return times.sort((a, b) => a - b)[30];
  }, change);
  const alone = await frame({mode: 7, motion: 'single'});
  const mixed = await frame({motion: 'mix', mix: Array.from({length: 30}, (_, mode) => [mode, 1 / (mode + 1)])});
  assert.ok(alone < 4 && mixed < 4, `${alone} ms, ${mixed} ms a frame`);
  console.log(`# a frame takes the page ${alone.toFixed(1)} ms with one mode, ${mixed.toFixed(1)} ms with 30`);
  console.log(`# ${megabytes.toFixed(1)} MB, shown after ${seconds.toFixed(1)} s`);
  await end();
});

test('1,000,000 nodes are coarsened for display, and the page says so', async () => {
  const path = page(body('huge'));
  console.log(`# ${(statSync(path).size / 1e6).toFixed(1)} MB`);
  const {tab, end} = await open(path, {hash: STILL, width: 900, height: 600});
  assert.match(await textOf(tab, '.corner'), /coarsened for display: \d+ of its 1000000 nodes/);
  assert.ok(await tab.evaluate(() => window.sbrView.bodies[0].nodeCount <= 100000));
  assert.ok((await bodyPart(await picture(tab)))[0] > 0.05);
  await tab.keyboard.press('ArrowDown');
  await settle(tab);
  const [mode] = JSON.parse(sbr('modes', 'huge.sbr', '--json'));
  assert.equal(mode.number, 1);
  await end();
});
