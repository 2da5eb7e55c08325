// What the tests in a browser share: records and pages, a browser, pictures.
import assert from 'node:assert/strict';
import {execFileSync} from 'node:child_process';
import {existsSync, mkdirSync, mkdtempSync, readFileSync, rmSync, writeFileSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {pathToFileURL} from 'node:url';
import {gunzipSync} from 'node:zlib';
import puppeteer from 'puppeteer-core';

const {SBR_PROGRAM, SBR_BODIES, SBR_SOURCE, SBR_CHROMIUM, SBR_OUT} = process.env;
export const source = SBR_SOURCE;
export const scratch = mkdtempSync(join(tmpdir(), 'sbr-viewer-'));
process.on('exit', () => rmSync(scratch, {recursive: true, force: true}));

/** Runs the program and gives what it prints. */
export function sbr(...words) {
  return execFileSync(SBR_PROGRAM, words, {cwd: scratch, encoding: 'utf8', maxBuffer: 1 << 28, stdio: ['ignore', 'pipe', 'pipe']});
}

/** The connecting rod of the examples, with stress at all nodes of its surface. */
export function conrod() {
  if (!existsSync(join(scratch, 'conrod.sbr')))
    sbr('import', 'ccx', join(source, 'examples/data/conrod/conrod.inp'), '--interface', 'IFACE_A,IFACE_B', '-o', 'conrod.sbr');
  return 'conrod.sbr';
}

export function sample(name) {
  writeFileSync(join(scratch, `${name}.sbr`), gunzipSync(readFileSync(join(source, `tests/data/samples/${name}.sbr.gz`))));
  return `${name}.sbr`;
}

/** A body of make_bodies.cpp. */
export function body(which) {
  execFileSync(SBR_BODIES, [which, `${which}.sbr`], {cwd: scratch, stdio: ['ignore', 'ignore', 'ignore']});
  return `${which}.sbr`;
}

/** Makes a page and gives its path. */
export function page(...records) {
  const name = `${records.map((record) => record.replace(/\W/g, '_')).join('-')}.html`;
  sbr('view', ...records, '-o', name, '--no-open');
  return join(scratch, name);
}

let browser = null;

export async function launch() {
  browser ??= await puppeteer.launch({
    executablePath: SBR_CHROMIUM, headless: true, protocolTimeout: 600000,
    args: ['--no-sandbox', '--enable-unsafe-swiftshader', '--use-angle=swiftshader', '--hide-scrollbars', '--force-color-profile=srgb',
           '--disable-background-networking', '--disable-component-update', '--no-first-run'],
  });
  return browser;
}

export async function close() {
  await browser?.close();
  browser = null;
}

/**
 * Opens a page and waits until it shows the body. What goes wrong in it is kept: end() tells. Nothing but the page itself
 * may be asked for.
 */
export async function open(path, {hash = '', width = 1280, height = 800, scheme = 'light', touch = false} = {}) {
  const tab = await (await launch()).newPage();
  const troubles = [];
  const requests = [];
  tab.on('console', (message) => {
    if (message.type() === 'error' || message.type() === 'warn') troubles.push(message.text());
  });
  tab.on('pageerror', (error) => troubles.push(error.message));
  tab.on('request', (request) => requests.push(request.url()));
  await tab.setViewport({width, height, hasTouch: touch, isMobile: touch});
  await tab.emulateMediaFeatures([{name: 'prefers-color-scheme', value: scheme}]);
  const address = pathToFileURL(path).href;
  await tab.goto(address + hash);
  await tab.waitForSelector('html[data-ready]', {timeout: 300000});
  await settle(tab);
  const end = async () => {
    assert.deepEqual(troubles, [], 'the console is quiet');
    const outside = requests.filter((url) => !url.startsWith(address) && !url.startsWith('data:') && !url.startsWith('blob:'));
    assert.deepEqual(outside, [], 'nothing else is asked for');
    await tab.close();
  };
  return {tab, end};
}

/** Waits until every change has reached the picture. */
export async function settle(tab) {
  await tab.evaluate(async () => {
    await window.sbrView.settle();
    await new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(done)));
  });
}

/** The picture of the body alone, as a PNG in base64, without the texts of the page. */
export async function picture(tab) {
  return tab.evaluate(() => {
    const app = window.sbrView;
    app.draw();
    return app.stage.canvas.toDataURL('image/png').split(',')[1];
  });
}

export function savePicture(name, png) {
  mkdirSync(SBR_OUT, {recursive: true});
  const path = join(SBR_OUT, name);
  writeFileSync(path, typeof png === 'string' ? Buffer.from(png, 'base64') : png);
  return path;
}

/** Has `reckon` work on the pixels of PNG pictures, in a tab of their own, and gives what it finds. */
async function ofPixels(pictures, reckon) {
  const tab = await (await launch()).newPage();
  const pixels = await tab.evaluateHandle((all) => Promise.all(all.map(async (base64) => {
    const image = new Image();
    image.src = `data:image/png;base64,${base64}`;
    await image.decode();
    const canvas = document.createElement('canvas');
    [canvas.width, canvas.height] = [image.width, image.height];
    const context = canvas.getContext('2d');
    context.drawImage(image, 0, 0);
    return context.getImageData(0, 0, image.width, image.height);
  })), pictures.map((one) => (typeof one === 'string' ? one : Buffer.from(one).toString('base64'))));
  const result = await pixels.evaluate(reckon);
  await tab.close();
  return result;
}

/** How far two PNG pictures are apart: the mean difference of their pixels, 0 to 1, and the part that differs much. */
export function difference(a, b) {
  return ofPixels([a, b], ([p, q]) => {
    if (p.width !== q.width || p.height !== q.height) return {mean: 1, part: 1};
    let sum = 0;
    let many = 0;
    for (let i = 0; i < p.data.length; i += 4) {
      const d = Math.max(...[0, 1, 2].map((c) => Math.abs(p.data[i + c] - q.data[i + c])));
      sum += d;
      if (d > 48) ++many;
    }
    const count = p.data.length / 4;
    return {mean: sum / count / 255, part: many / count};
  });
}

/** How much of a picture of the stage is body: the part of the pixels that differ from the one at the left in their row. */
export function bodyPart(png) {
  return ofPixels([png], ([{width, height, data}]) => {
    const counts = [0, 0];
    for (let y = 0; y < height; ++y)
      for (let x = 0; x < width; ++x) {
        const at = 4 * (y * width + x);
        const first = 4 * y * width;
        if ([0, 1, 2].some((c) => Math.abs(data[at + c] - data[first + c]) > 12)) ++counts[x < width / 2 ? 0 : 1];
      }
    return counts.map((count) => (2 * count) / (width * height));
  });
}

/** Puts a value into an input as a user does. */
export async function setInput(tab, selector, value) {
  await tab.$eval(selector, (element, text) => {
    element.value = text;
    element.dispatchEvent(new Event('input', {bubbles: true}));
    element.dispatchEvent(new Event('change', {bubbles: true}));
  }, String(value));
  await settle(tab);
}

export function textOf(tab, selector) {
  return tab.$eval(selector, (element) => element.textContent);
}
