// The node that is picked: where it is, what it weighs, what it does.
import type {App} from './app';
import type {KindName} from './data';
import {h, icon, iconButton, refill} from './dom';
import {vonMises} from './fields';
import {brief, type Dimension, symbol} from './units';

const KINDS: [KindName, string, string[], Dimension][] = [
  ['stress', 'Stress', ['xx', 'yy', 'zz', 'xy', 'xz', 'yz'], 'stress'],
  ['strain', 'Strain', ['xx', 'yy', 'zz', 'xy', 'xz', 'yz'], 'none'],
];

/** A value that was rounded to steps, with no more digits than it has. */
export function rounded(value: number, step: number, most = 4): string {
  if (!(step > 0) || Number.isNaN(value) || !Number.isFinite(value)) return brief(value);
  if (Math.abs(value) < step / 2) return '0';
  const digits = Math.min(Math.max(Math.floor(Math.log10(Math.abs(value) / step)) + 1, 1), most);
  return brief(value, digits);
}

export class NodePanel {
  readonly element = h('section', {class: 'card node-card', 'aria-label': 'Node'});
  private readonly input = h('input', {type: 'text', inputmode: 'numeric', placeholder: 'Node ID', 'aria-label': 'Search a node by its ID'});
  private readonly content = h('div', {class: 'node-content', 'aria-live': 'polite'});

  constructor(private readonly app: App) {
    const search = h('form', {class: 'node-search', role: 'search'}, icon('search'), this.input);
    search.addEventListener('submit', (event) => {
      event.preventDefault();
      const text = this.input.value.trim();
      if (!/^[-\u2212]?\d+$/.test(text)) app.say('A node ID is a whole number', true);
      else if (app.search(Number(text.replace('\u2212', '-')))) this.input.blur();
    });
    this.element.append(search, this.content);
  }

  private vector(name: string, values: number[], labels: string[], unit: string): HTMLElement[] {
    return [h('dt', {}, name, unit ? h('span', {class: 'unit'}, ` ${unit}`) : null),
            h('dd', {}, h('span', {class: 'components'}, ...values.map((value, i) => h('span', {}, h('i', {}, labels[i]), this.texts[i] ?? brief(value)))))];
  }
  private texts: string[] = [];

  async update() {
    const {app} = this;
    const {picked} = app.state;
    if (!picked) {
      refill(this.content, h('p', {class: 'muted'}, 'Click the body, or search a node by its ID.'));
      return;
    }
    const {view, node} = picked;
    const body = app.bodies[view];
    const units = app.unitsOf(view);
    const length = app.factor(view, 'length');
    const q = app.coordinatesOf(view);
    const rows: HTMLElement[] = [];
    this.texts = [];
    // Places travel as floats relative to the size of the body.
    const place = body.coordinates(node).map((value) => value * length);
    this.texts = place.map((value) => rounded(value, body.about.geometry.halfSize * 1.2e-7 * length, 6));
    rows.push(...this.vector('Coordinates', place, ['x', 'y', 'z'], symbol(units, 'length')));
    this.texts = [];
    const mass = body.mass(node);
    if (mass !== null) rows.push(h('dt', {}, 'Mass'), h('dd', {}, `${brief(mass * app.factor(view, 'mass'))} ${symbol(units, 'mass')}`));
    rows.push(...(await this.motionRows(view, node, length)));
    for (const [kind, name, labels, dimension] of KINDS) {
      if (!body.about.kinds[kind]) continue;
      const six = await body_six(app, view, node, kind);
      if (!six) {
        rows.push(h('dt', {}, name), h('dd', {class: 'muted'}, q.size > 0 ? 'not known here' : '\u2013'));
        continue;
      }
      const factor = app.factor(view, dimension);
      this.texts = six.values.map((value, c) => rounded(value * factor, six.steps[c] * factor));
      rows.push(h('dt', {}, `Von Mises ${name.toLowerCase()}`),
                h('dd', {}, `${rounded(vonMises(six.values, kind) * factor, Math.max(...six.steps) * factor)} ${symbol(units, dimension)}`),
                ...this.vector(name, six.values, labels, symbol(units, dimension)));
    }
    if (app.state.picked !== picked) return;
    this.texts = [];
    const attached = body.about.interfaceNodes.includes(node);
    refill(this.content, h('div', {class: 'node-title'}, h('h2', {'data-node': body.ids[node]}, `Node ${body.ids[node]}`), attached ? h('span', {class: 'tag'}, 'interface') : null,
                           app.bodies.length > 1 ? h('span', {class: 'tag'}, body.about.file) : null,
                           iconButton('close', 'Let go of the node', () => app.pick(null), 'Esc')),
           h('dl', {class: 'figures node-figures'}, ...rows), h('p', {class: 'muted'}, this.whenText(view)));
  }

  private async motionRows(view: number, node: number, length: number): Promise<HTMLElement[]> {
    const {app} = this;
    const units = app.unitsOf(view);
    const six = await body_six(app, view, node, 'shape');
    if (!six) return [];
    const move = six.values.slice(0, 3).map((value) => value * length);
    this.texts = move.map((value, c) => rounded(value, six.steps[c] * length));
    const rows = [h('dt', {}, 'Displacement'),
                  h('dd', {}, `${rounded(Math.hypot(...move), six.steps[0] * length)} ${symbol(units, 'length')}`),
                  ...this.vector('', move, ['x', 'y', 'z'], '')];
    if (six.steps[3] > 0) {
      this.texts = six.values.slice(3).map((value, c) => rounded(value, six.steps[3 + c]));
      rows.push(...this.vector('Rotation', six.values.slice(3), ['x', 'y', 'z'], 'rad'));
    }
    return rows;
  }

  private whenText(view: number): string {
    const {state} = this.app;
    if (this.app.coordinatesOf(view).size === 0) return 'No mode moves this body.';
    if (state.motion === 'single') return `Values of ${this.app.modeName(view)} at a modal coordinate of 1.`;
    if (state.motion === 'mix') return 'Values of the superposition at its largest.';
    return 'Values at the time shown when it was picked or paused.';
  }
}

function body_six(app: App, view: number, node: number, kind: KindName) {
  return app.playing[view].six(node, kind, app.coordinatesOf(view));
}
