// The sheet of `sbr sheet`: the live view runs inside of it, nothing else is asked for, and nothing lies on anything else.
import assert from 'node:assert/strict';
import {readFileSync, writeFileSync} from 'node:fs';
import {join} from 'node:path';
import {after, test} from 'node:test';
import {pathToFileURL} from 'node:url';
import {body, close, launch, page, sample, sbr, scratch} from './browser.mjs';

after(close);

async function openSheet(name, width = 1280, ...words) {
  sbr('sheet', ...words, '-o', name);
  return visit(pathToFileURL(join(scratch, name)).href, width);
}

/** Opens a sheet, or another page with the view in a frame. */
async function visit(link, width = 1280) {
  const tab = await (await launch()).newPage();
  const troubles = [];
  const requests = [];
  tab.on('console', (message) => {
    if (message.type() === 'error') troubles.push(message.text());
  });
  tab.on('pageerror', (error) => troubles.push(error.message));
  tab.on('request', (request) => requests.push(request.url()));
  await tab.setViewport({width, height: 900});
  const [address] = link.split('#');
  await tab.goto(link);
  const frame = await (await tab.waitForSelector('iframe')).contentFrame();
  await frame.waitForSelector('html[data-ready]', {timeout: 300000});
  const end = async () => {
    assert.deepEqual(troubles, [], 'the console is quiet');
    const outside = requests.filter((url) => !/^(data:|blob:|about:)/.test(url) && !url.startsWith(address));
    assert.deepEqual(outside, [], 'nothing else is asked for');
    await tab.close();
  };
  return {tab, frame, end};
}

/** Tables and charts that are wider than the place that they have. */
function tooWide(tab) {
  return tab.evaluate(() => [...document.querySelectorAll('section')]
    .filter((section) => [...section.querySelectorAll('table, svg, dl, .pictures')]
      .some((part) => part.getBoundingClientRect().right > section.getBoundingClientRect().right + 1))
    .map((section) => section.querySelector('h2').textContent));
}

test('the live view moves inside of the sheet', async () => {
  const {tab, frame, end} = await openSheet('beam.html', 1280, sample('beam_13c'));
  assert.equal(await tab.$eval('h1', (element) => element.textContent), 'Box beam 1000 x 20 x 30, free');
  assert.deepEqual(await tooWide(tab), []);
  assert.equal(await tab.$$eval('.pictures img', (all) => all.filter((one) => one.naturalWidth === 480).length), 4);
  assert.ok((await frame.$$('.mode-list li')).length > 1);
  const drawn = () => frame.evaluate(async () => {
    await window.sbrView.settle();
    window.sbrView.draw();
    return window.sbrView.stage.canvas.toDataURL('image/png');
  });
  const before = await drawn();
  await frame.evaluate(() => [...document.querySelectorAll('.mode-list li')].at(-1).click());
  assert.notEqual(await drawn(), before, 'another mode is another picture');
  await end();
});

test('on a narrow screen wide tables are moved by themselves, not the page', async () => {
  const {tab, end} = await openSheet('narrow.html', 390, sample('conrod_13c'));
  assert.ok(await tab.evaluate(() => document.documentElement.scrollWidth <= window.innerWidth + 1));
  await end();
});

test('a link out of the view is one to the sheet, and shows what its sender saw', async () => {
  const first = await openSheet('linked.html', 1280, sample('beam_13c'));
  const address = pathToFileURL(join(scratch, 'linked.html')).href;
  assert.equal(await first.tab.evaluate(() => location.hash), '', 'the address stays as it was until somebody asks');
  await first.frame.evaluate(async () => {
    navigator.clipboard.writeText = (text) => Promise.resolve(void (window.copied = text));
    await window.sbrView.set({mode: 8, playing: false, phase: 1, quantity: 'displacement.z'});
    window.sbrView.stage.turn(0.7, -0.3);
    document.querySelector('[aria-label="Copy a link to this view"]').click();
    await window.sbrView.settle();
  });
  const link = await first.frame.evaluate(() => window.copied);
  assert.ok(link.startsWith(`${address}#mode=9&field=displacement.z&phase=57.296&play=0&camera=`), link);
  const place = (frame) => frame.evaluate(() => window.sbrView.stage.place);
  const sent = await place(first.frame);
  await first.end();
  const second = await visit(link);
  assert.equal(await second.frame.evaluate(() => window.sbrView.state.mode), 8);
  const got = await place(second.frame);
  for (const part of ['position', 'target', 'up'])
    got[part].forEach((value, c) => assert.ok(Math.abs(value - sent[part][c]) < 1e-3, part));
  assert.ok(await second.tab.evaluate(() => document.querySelector('iframe').getBoundingClientRect().top < window.innerHeight / 2),
            'the view stands before the eyes');
  await second.end();
});

test('in a page that is no sheet the view leaves the address alone and offers no link', async () => {
  const view = readFileSync(page(sample('beam_13c')), 'utf8').replace(/&/g, '&amp;').replace(/"/g, '&quot;');
  writeFileSync(join(scratch, 'notebook.html'), `<!doctype html><title>A notebook</title><iframe srcdoc="${view}"></iframe>`);
  const {tab, frame, end} = await visit(`${pathToFileURL(join(scratch, 'notebook.html')).href}#cell-3`);
  assert.equal(await frame.$('[aria-label="Copy a link to this view"]'), null);
  await frame.evaluate(async () => {
    await window.sbrView.set({mode: 8});
    document.body.dispatchEvent(new KeyboardEvent('keydown', {key: 'l', bubbles: true}));
    await window.sbrView.settle();
  });
  assert.equal(await tab.evaluate(() => location.hash), '#cell-3');
  await end();
});

test('two records are compared, with both in the view', async () => {
  const {tab, frame, end} = await openSheet('two.html', 1280, '--compare', sample('beam_13c'), sample('beam_33c'));
  assert.deepEqual(await tooWide(tab), []);
  const headings = await tab.$$eval('h2', (all) => all.map((one) => one.textContent));
  assert.ok(headings.includes('Differences') && headings.includes('Cross-MAC: A down, B across'), headings.join());
  assert.match(await frame.$eval('body', (element) => element.textContent), /beam_33c/);
  await end();
});

test('a title with HTML is text', async () => {
  const {tab, end} = await openSheet('odd.html', 1280, body('odd'));
  assert.match(await tab.$eval('h1', (element) => element.textContent), /^<img src=x onerror=/);
  await end();
});
