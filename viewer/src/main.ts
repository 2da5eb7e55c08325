// Puts the view into the page: what is to be shown stands in the page's own script elements.
import {App} from './app';
import type {Description} from './data';
import {h, refill} from './dom';

async function begin() {
  const holder = document.getElementById('sbr-view');
  const text = document.getElementById('sbr-description')?.textContent;
  if (!holder || !text) return;
  try {
    const description = JSON.parse(text) as Description;
    const app = new App(description, (name) => {
      const element = document.querySelector(`script[data-sbr="${CSS.escape(name)}"]`);
      if (!element) throw new Error(`the page lacks its section ${name}`);
      return element.textContent ?? '';
    }, holder);
    // For those who look into the page, and for its tests.
    (window as unknown as {sbrView: App}).sbrView = app;
    await app.start();
    document.documentElement.dataset.ready = 'true';
  } catch (error) {
    refill(holder, h('div', {class: 'failed', role: 'alert'}, h('h1', {}, 'The body cannot be shown'),
                     h('p', {}, (error as Error).message),
                     h('p', {}, 'The page needs WebGL 2 and a browser of 2023 or later.')));
    throw error;
  }
}

void begin();
