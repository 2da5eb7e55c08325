// How the page looks: pictures as they were, both themes, small windows, touch, labels and contrast. The pictures of the
// README and the tutorial are those compared here; SBR_RENEW_PICTURES=1 makes them anew.
import assert from 'node:assert/strict';
import {copyFileSync, existsSync, mkdirSync, readFileSync} from 'node:fs';
import {join} from 'node:path';
import {after, before, test} from 'node:test';
import {close, conrod, difference, open, page, sample, savePicture, settle, source} from './browser.mjs';

let path;
before(() => (path = page(conrod())));
after(close);

const pictures = join(source, 'docs/pictures');

/** Compares a screenshot with the one of the documents. Other fonts and rasterizers move pixels: a part may differ. */
async function compare(name, png) {
  const made = savePicture(name, png);
  if (process.env.SBR_RENEW_PICTURES) {
    mkdirSync(pictures, {recursive: true});
    copyFileSync(made, join(pictures, name));
  }
  assert.ok(existsSync(join(pictures, name)), `docs/pictures/${name} is there`);
  const {mean, part} = await difference(png, readFileSync(join(pictures, name)));
  assert.ok(mean < 0.02 && part < 0.04, `${name}: mean difference ${mean.toFixed(4)}, ${(100 * part).toFixed(1)} % of the pixels differ`);
}

const VIEWS = [
  ['view-light.png', '#mode=7&play=0&phase=90', 'light', () => [path]],
  ['view-dark.png', '#mode=9&play=0&phase=90&field=stress.mises', 'dark', () => [path]],
  ['view-marks.png', '#mode=8&play=0&phase=90&field=displacement.z&show=mesh,interface,center,axes,-ghost&node=51', 'light', () => [path]],
  ['view-two.png', '#mode=8&play=0&phase=90', 'dark', () => [page(conrod(), sample('conrod_13c'))]],
];
for (const [name, hash, scheme, of] of VIEWS)
  test(`${name} is as it was`, async () => {
    const {tab, end} = await open(of()[0], {hash, scheme});
    await settle(tab);
    await compare(name, await tab.screenshot());
    await end();
  });

test('a comparison notices what is missing', async () => {
  const {tab, end} = await open(path, {hash: VIEWS[0][1]});
  await tab.evaluate(() => (window.sbrView.stage.views[0].group.visible = false));
  await tab.evaluate(() => window.sbrView.draw());
  const {part} = await difference(await tab.screenshot(), readFileSync(join(pictures, VIEWS[0][0])));
  assert.ok(part > 0.04, `${part}`);
  await end();
});

test('the system chooses the theme until the reader does', async () => {
  const {tab, end} = await open(path, {hash: '#play=0', scheme: 'dark'});
  const theme = () => tab.$eval('html', (html) => html.dataset.theme);
  assert.equal(await theme(), 'dark');
  await tab.emulateMediaFeatures([{name: 'prefers-color-scheme', value: 'light'}]);
  await settle(tab);
  assert.equal(await theme(), 'light');
  await tab.click('[aria-label="Dark or light"]');
  assert.equal(await theme(), 'dark');
  await end();
});

test('a telephone shows it: drawers, one finger turns, two come closer', async () => {
  const {tab, end} = await open(path, {hash: '#mode=7&play=0&phase=90', width: 390, height: 780, touch: true});
  savePicture('view-telephone.png', await tab.screenshot());
  assert.ok(await tab.evaluate(() => document.documentElement.scrollWidth <= window.innerWidth), 'nothing sticks out');
  const visible = () => tab.$eval('.panel-left', (panel) => getComputedStyle(panel).visibility);
  assert.equal(await visible(), 'hidden');
  await tab.tap('[aria-controls="panel-left"]');
  await new Promise((done) => setTimeout(done, 400));
  assert.equal(await visible(), 'visible');
  await tab.tap('.mode-list li[data-mode="8"]');
  await settle(tab);
  assert.equal(await tab.evaluate(() => window.sbrView.state.mode), 7);
  await tab.tap('[aria-controls="panel-left"]');
  await new Promise((done) => setTimeout(done, 400));
  const camera = () => tab.evaluate(() => [window.sbrView.stage.camera.position.toArray(), window.sbrView.stage.camera.position.length()]);
  const [from] = await camera();
  const client = await tab.createCDPSession();
  const touch = (type, ...points) => client.send('Input.dispatchTouchEvent', {type, touchPoints: points.map(([x, y], id) => ({x, y, id}))});
  await touch('touchStart', [200, 350]);
  for (let i = 1; i <= 8; ++i) await touch('touchMove', [200 + 8 * i, 350]);
  await touch('touchEnd');
  const [to, before_] = await camera();
  assert.ok(Math.hypot(...to.map((value, c) => value - from[c])) > 0.1, 'one finger turns');
  await touch('touchStart', [180, 350], [220, 350]);
  for (let i = 1; i <= 8; ++i) await touch('touchMove', [180 - 8 * i, 350], [220 + 8 * i, 350]);
  await touch('touchEnd');
  const [, after_] = await camera();
  assert.ok(after_ < 0.8 * before_, `two fingers come closer: ${before_} to ${after_}`);
  await end();
});

test('every control has a name', async () => {
  const {tab, end} = await open(path, {hash: '#play=0&node=51'});
  const nameless = [];
  const seen = new Set();
  const walk = (node) => {
    seen.add(node.role);
    if (['button', 'slider', 'checkbox', 'combobox', 'textbox', 'listbox', 'spinbutton', 'image', 'navigation'].includes(node.role) && !node.name) nameless.push(node);
    (node.children ?? []).forEach(walk);
  };
  for (const motion of ['single', 'mix', 'history']) {
    await tab.evaluate((one) => window.sbrView.set({motion: one}), motion);
    walk(await tab.accessibility.snapshot({interestingOnly: false}));
  }
  assert.deepEqual(nameless, []);
  for (const role of ['button', 'slider', 'checkbox', 'combobox', 'listbox', 'option', 'heading', 'main']) assert.ok(seen.has(role), role);
  await end();
});

for (const scheme of ['light', 'dark'])
  test(`texts stand out from what is behind them: ${scheme}`, async () => {
    const {tab, end} = await open(path, {hash: '#play=0&node=51', scheme});
    const weak = await tab.evaluate(() => {
      const numbers = (color) => {
        const found = color.match(/[\d.]+/g).map(Number);
        return color.startsWith('color(') ? [...found.slice(0, 3).map((value) => 255 * value), found[3] ?? 1] : [...found.slice(0, 3), found[3] ?? 1];
      };
      const luminance = (rgb) => {
        const [r, g, b] = rgb.map((value) => (value / 255 <= 0.04045 ? value / 255 / 12.92 : ((value / 255 + 0.055) / 1.055) ** 2.4));
        return 0.2126 * r + 0.7152 * g + 0.0722 * b;
      };
      const behind = (element) => {
        for (let at = element; at; at = at.parentElement) {
          const color = numbers(getComputedStyle(at).backgroundColor);
          if (color[3] > 0.8) return color;
          if (at.classList.contains('stage')) return numbers(getComputedStyle(document.body).backgroundColor);
        }
        return [255, 255, 255, 1];
      };
      const found = [];
      for (const element of document.querySelectorAll('#sbr-view *')) {
        const own = [...element.childNodes].some((node) => node.nodeType === 3 && node.textContent.trim());
        if (!own || element.closest(':disabled, [hidden], script, .message') || element.closest('label')?.querySelector(':disabled') || element.getClientRects().length === 0) continue;
        const a = luminance(numbers(getComputedStyle(element).color));
        const b = luminance(behind(element));
        const contrast = (Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05);
        if (contrast < 4.5) found.push(`${element.className || element.tagName}: ${element.textContent.slice(0, 30)}: ${contrast.toFixed(2)}`);
      }
      return found;
    });
    assert.deepEqual(weak, []);
    await end();
  });
