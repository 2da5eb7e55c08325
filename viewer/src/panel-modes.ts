// The list of modes: one of them, several by sliders, or a time history.
import type {App} from './app';
import type {Match, ModeDescription} from './data';
import {h, refill} from './dom';
import type {Motion} from './state';
import {brief, hertz, symbol} from './units';

const MOTIONS: [Motion, string, string][] = [
  ['single', 'Modes', 'One mode at a time'],
  ['mix', 'Superpose', 'Several modes, each with a modal coordinate'],
  ['history', 'History', 'Modal coordinates over time, from a table'],
];

export class ModesPanel {
  readonly element = h('div', {class: 'modes'});
  private readonly switches = new Map<Motion, HTMLButtonElement>();
  private readonly list = h('ul', {class: 'mode-list', role: 'listbox', tabindex: '0', 'aria-label': 'Modes'});
  private readonly head = h('div', {class: 'mode-head', 'aria-hidden': 'true'});
  private readonly rows: HTMLLIElement[] = [];
  private readonly sliders: HTMLInputElement[] = [];
  private readonly card = h('section', {class: 'card mode-card', 'aria-label': 'The mode'});
  private readonly tools = h('div', {class: 'mode-tools'});
  private built: Motion | null = null;

  constructor(private readonly app: App) {
    const tabs = h('div', {class: 'segments', role: 'group', 'aria-label': 'What moves the body'});
    for (const [motion, name, title] of MOTIONS) {
      const button = h('button', {type: 'button', title, onclick: () => void app.set(this.change(motion))}, name);
      this.switches.set(motion, button);
      tabs.append(button);
    }
    this.element.append(tabs, this.tools, this.head, this.list, this.card);
  }

  private change(motion: Motion) {
    const {state} = this.app;
    if (motion === 'mix' && state.mix.size === 0) state.mix.set(state.mode, 1);
    return {motion, playing: motion === 'history' ? state.history !== null : state.playing};
  }

  private get modes(): ModeDescription[] {
    return this.app.bodies[0].about.modes;
  }

  /** The mode of the second body that goes with one of the first. */
  private partner(mode: number): Match | undefined {
    const found = this.app.description.match.filter((match) => match.parts.some(([one]) => one === mode));
    return found.sort((a, b) => Math.abs(b.parts.find(([one]) => one === mode)![1]) - Math.abs(a.parts.find(([one]) => one === mode)![1]))[0];
  }

  private build() {
    const {motion} = this.app.state;
    this.built = motion;
    const two = this.app.bodies.length > 1;
    this.rows.length = 0;
    this.sliders.length = 0;
    this.list.className = `mode-list ${motion === 'mix' ? 'with-sliders' : two ? 'with-partners' : ''}`;
    this.head.className = `mode-head ${motion === 'mix' ? 'with-sliders' : two ? 'with-partners' : ''}`;
    const third = motion === 'mix' ? ['Coordinate'] : two ? ['Second', 'MAC'] : ['Gen. mass'];
    refill(this.head, ...['Mode', 'Frequency', ...third].map((text) => h('span', {}, text)));
    refill(this.list, ...this.modes.map((mode, i) => this.row(mode, i)));
    if (this.modes.length === 0) refill(this.list, h('li', {class: 'muted empty'}, 'The record has no modes.'));
    refill(this.tools, ...(motion === 'mix' ? this.mixTools() : motion === 'history' ? this.historyTools() : []));
  }

  private row(mode: ModeDescription, i: number): HTMLLIElement {
    const {app} = this;
    const hz = hertz(app.bodies[0].about.units, mode.frequency);
    const row = h('li', {role: 'option', id: `mode-${i}`, 'data-mode': mode.number, onclick: () => void app.selectMode(i)},
                  h('span', {class: 'mode-number'}, String(mode.number)),
                  h('span', {class: 'mode-hz'}, frequencyText(mode, hz), i < app.bodies[0].about.rigidModes ? h('em', {}, 'rigid') : null));
    if (app.state.motion === 'mix') row.append(this.slider(mode, i));
    else if (app.bodies.length > 1) row.append(...this.partnerCells(i));
    else row.append(h('span', {class: 'mode-mass'}, brief(mode.generalizedMass, 4)));
    this.rows.push(row);
    return row;
  }

  private partnerCells(i: number): HTMLElement[] {
    const match = this.partner(i);
    if (!match) return [h('span', {class: 'muted'}, '\u2013'), h('span', {class: 'muted'}, '\u2013')];
    const other = this.app.bodies[1].about;
    const mode = other.modes[match.second];
    if (!mode) return [h('span', {class: 'muted'}, '\u2013'), h('span', {class: 'muted'}, '\u2013')];
    const mixed = match.parts.length > 1;
    return [h('span', {title: mixed ? 'matched as a space of modes' : `mode ${mode.number}`}, mixed ? 'mixed' : String(mode.number)),
            h('span', {}, match.mac === null ? '\u2013' : match.mac.toFixed(3))];
  }

  private slider(mode: ModeDescription, i: number): HTMLElement {
    const input = h('input', {type: 'range', min: '-1', max: '1', step: '0.01', value: this.app.state.mix.get(i) ?? 0,
                              'aria-label': `Modal coordinate of mode ${mode.number}`});
    input.addEventListener('input', () => {
      this.app.state.mode = i;
      void this.app.setWeight(i, Number(input.value));
    });
    input.addEventListener('dblclick', () => {
      input.value = '0';
      void this.app.setWeight(i, 0);
    });
    input.addEventListener('click', (event) => event.stopPropagation());
    this.sliders[i] = input;
    return h('span', {class: 'mode-slider'}, input, h('output', {}));
  }

  private mixTools(): HTMLElement[] {
    const {app} = this;
    const own = h('input', {type: 'checkbox', onchange: () => void app.set({ownFrequencies: own.checked, phase: 0})});
    own.checked = app.state.ownFrequencies;
    return [h('label', {class: 'check'}, own, 'Each at its own frequency'),
            h('button', {type: 'button', class: 'button small', onclick: () => void app.set({mix: new Map()})}, 'All to zero')];
  }

  private historyTools(): HTMLElement[] {
    const {app} = this;
    const file = h('input', {type: 'file', accept: '.csv,.txt,.tsv,text/csv', 'aria-label': 'Table of modal coordinates'});
    file.addEventListener('change', () => {
      if (file.files?.[0]) void app.loadHistory(file.files[0]);
      file.value = '';
    });
    const numbers = this.modes.slice(0, 3).map((mode) => mode.number);
    const {history} = app.state;
    return [h('label', {class: 'file-button button'}, history ? 'Another table \u2026' : 'Open a table \u2026', file),
            h('p', {class: 'muted'}, history
              ? `${history.times.length} times, ${history.modes.length} modal coordinates`
              : `Comma-separated values: a time in the first column, a modal coordinate in each other one. The head line names the modes, such as "time,${numbers.join(',')}". It can be dropped onto the page.`)];
  }

  update() {
    const {state} = this.app;
    for (const [motion, button] of this.switches) button.setAttribute('aria-pressed', String(motion === state.motion));
    if (this.built !== state.motion || state.motion === 'history') this.build();
    this.rows.forEach((row, i) => {
      const weight = state.motion === 'mix' ? state.mix.get(i) ?? 0 : 0;
      const on = state.motion === 'single' ? i === state.mode : state.motion === 'mix' ? weight !== 0 : state.history?.modes.includes(i) ?? false;
      row.setAttribute('aria-selected', String(on));
      const slider = this.sliders[i];
      if (slider) {
        if (document.activeElement !== slider || Number(slider.value) !== weight) slider.value = String(weight);
        (slider.nextElementSibling as HTMLOutputElement).value = weight.toFixed(2).replace('-', '\u2212');
      }
    });
    const row = this.rows[state.mode];
    if (row) this.list.setAttribute('aria-activedescendant', row.id);
    if (row && state.motion === 'single') this.reveal(row);
    this.updateCard();
  }

  private reveal(row: HTMLElement) {
    const {list} = this;
    if (row.offsetTop < list.scrollTop || row.offsetTop + row.offsetHeight > list.scrollTop + list.clientHeight)
      list.scrollTop = row.offsetTop - list.clientHeight / 2;
  }

  private updateCard() {
    const {app} = this;
    const mode = this.modes[app.state.mode];
    this.card.hidden = !mode || app.state.motion === 'history';
    if (!mode) return;
    const units = app.unitsOf(0);
    const energy = `${symbol(units, 'force')}\u00b7${symbol(units, 'length')}`;
    const stiffness = app.factor(0, 'force') * app.factor(0, 'length');
    const figure = (name: string, found: {node: number; value: number} | undefined, dimension: 'length' | 'angle' | 'stress' | 'none') =>
      found && found.value > 0 ? [h('dt', {}, name), h('dd', {}, `${brief(found.value * app.factor(0, dimension))} ${symbol(units, dimension)} `,
        h('button', {type: 'button', class: 'node-link', title: 'Show the node', onclick: () => app.search(found.node)}, `node ${found.node}`))] : [];
    const s = mode.statistics;
    refill(this.card, h('h2', {}, `Mode ${mode.number}`), h('dl', {class: 'figures'},
      h('dt', {}, 'Frequency'), h('dd', {}, frequencyText(mode, hertz(app.bodies[0].about.units, mode.frequency)) || '\u2013'),
      h('dt', {}, 'Generalized mass'), h('dd', {}, `${brief(product(mode.generalizedMass, app.factor(0, 'inertia')))} ${symbol(units, 'inertia')}`),
      h('dt', {}, 'Generalized stiffness'), h('dd', {}, `${brief(product(mode.generalizedStiffness, stiffness))} ${energy}`),
      ...figure('Largest displacement', s.displacement, 'length'), ...figure('Largest rotation', s.rotation, 'angle'),
      ...figure('Largest von Mises stress', s.stress, 'stress'), ...figure('Largest von Mises strain', s.strain, 'none')));
  }
}

function product(value: number | null, factor: number): number | null {
  return value === null ? null : value * factor;
}

/** In hertz, or per time unit of the body where that is unknown. */
export function frequencyText(mode: ModeDescription, hz: number | null): string {
  if (hz !== null) {
    const size = Math.abs(hz);
    return `${size >= 1 && size < 1e5 ? hz.toPrecision(5).replace('-', '\u2212') : brief(hz, 3)} Hz`;
  }
  return mode.frequency === null ? '\u2013' : `${brief(mode.frequency, 5)} per time unit`;
}
