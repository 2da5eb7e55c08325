// How the body is shown: colors, range, parts, units.
import type {App} from './app';
import {COLOR_MAPS} from './colors';
import {h, refill} from './dom';
import {available, QUANTITIES} from './model';
import {SHOW_NAMES, type ShowName, type State} from './state';
import {brief, known, symbol, systemName} from './units';

const GROUPS: [string, string][] = [['displacement', 'Displacement'], ['rotation', 'Rotation'], ['stress', 'Modal stress'], ['strain', 'Modal strain']];

export class LookPanel {
  readonly element = h('div', {class: 'look'});
  private readonly quantity = h('select', {id: 'quantity'});
  private readonly map = h('select', {id: 'color-map'});
  private readonly range = h('select', {id: 'color-range'});
  private readonly low = h('input', {type: 'number', step: 'any', 'aria-label': 'Lowest value of the range'});
  private readonly high = h('input', {type: 'number', step: 'any', 'aria-label': 'Highest value of the range'});
  private readonly fixed = h('div', {class: 'range-inputs'}, this.low, h('span', {}, 'to'), this.high, h('span', {class: 'unit'}));
  private readonly follow = h('input', {type: 'checkbox'});
  private readonly shows = new Map<ShowName, HTMLInputElement>();
  private readonly units = h('select', {id: 'units'});

  constructor(private readonly app: App) {
    this.fillQuantities();
    this.quantity.addEventListener('change', () => void app.set({quantity: this.quantity.value, range: app.state.range === 'fixed' ? 'auto' : app.state.range}));
    this.map.addEventListener('change', () => {
      const map = COLOR_MAPS.find((one) => one.key === this.map.value);
      if (map) void app.set(map.signed ? {signedMap: map.key} : {map: map.key});
    });
    refill(this.range, h('option', {value: 'auto'}, 'of what is shown'), h('option', {value: 'all'}, 'of all modes'), h('option', {value: 'fixed'}, 'fixed'));
    this.range.addEventListener('change', () => this.chooseRange(this.range.value as State['range']));
    for (const input of [this.low, this.high]) input.addEventListener('change', () => this.takeFixed());
    this.follow.addEventListener('change', () => void app.set({followColors: this.follow.checked}));
    this.fillUnits();
    this.units.addEventListener('change', () => void app.set({units: this.units.value}));
    this.element.append(
      h('section', {class: 'card', 'aria-label': 'Colors'}, h('h2', {}, 'Colors'), this.field('quantity', 'Show', this.quantity),
        this.field('color-map', 'Color map', this.map), this.field('color-range', 'Range', this.range), this.fixed,
        h('label', {class: 'check'}, this.follow, 'Colors follow the motion')),
      h('section', {class: 'card', 'aria-label': 'Parts'}, h('h2', {}, 'Show'), h('div', {class: 'checks'}, ...this.checks())),
      h('section', {class: 'card', 'aria-label': 'Units'}, h('h2', {}, 'Units'), this.field('units', 'System', this.units)));
  }

  private field(id: string, name: string, input: HTMLElement): HTMLElement {
    return h('div', {class: 'field'}, h('label', {for: id}, name), input);
  }

  private fillQuantities() {
    const body = this.app.bodies[0];
    const groups = GROUPS.map(([group, name]) => {
      const members = QUANTITIES.filter((quantity) => quantity.group === group && available(body, quantity));
      return members.length > 0 ? h('optgroup', {label: name}, ...members.map((quantity) => h('option', {value: quantity.key}, quantity.name))) : null;
    });
    refill(this.quantity, ...groups, h('option', {value: ''}, 'No colors'));
  }

  private checks(): HTMLElement[] {
    const {app} = this;
    const has: Partial<Record<ShowName, boolean>> = {
      interface: app.bodies.some((body) => body.about.interfaceNodes.length > 0),
      monitor: app.bodies.some((body) => body.about.monitorPoints.length > 0),
      center: app.bodies.some((body) => body.about.mass !== null),
      axes: app.bodies.some((body) => body.about.mass !== null),
    };
    return (Object.entries(SHOW_NAMES) as [ShowName, string][]).map(([name, text]) => {
      const input = h('input', {type: 'checkbox', 'data-show': name, disabled: has[name] === false});
      input.addEventListener('change', () => app.show(name, input.checked));
      this.shows.set(name, input);
      return h('label', {class: 'check', title: has[name] === false ? 'The record has none' : null}, input, text);
    });
  }

  private fillUnits() {
    const own = this.app.bodies[0].about.units;
    const systems = this.app.description.unitSystems;
    refill(this.units, h('option', {value: ''}, `of the record: ${systemName(own)}`), ...systems.map((system) => h('option', {value: system.name}, systemName(system))));
    if (known(own)) return;
    this.units.disabled = true;
    this.units.title = 'A unit label of the record is not known';
  }

  private get dimension() {
    return this.app.quantity ? this.app.dimensionOf(this.app.quantity) : 'none';
  }

  private chooseRange(range: State['range']) {
    const now = this.app.playing[0].range;
    void this.app.set(range === 'fixed' ? {range, fixed: [now.low, now.high]} : {range});
  }

  private takeFixed() {
    const factor = this.app.factor(0, this.dimension);
    const low = Number(this.low.value) / factor;
    const high = Number(this.high.value) / factor;
    if (this.low.value !== '' && this.high.value !== '' && low < high) void this.app.set({fixed: [low, high], range: 'fixed'});
    else this.app.say('The lowest value of a range has to be below the highest', true);
  }

  update() {
    const {state, quantity} = this.app;
    this.quantity.value = state.quantity;
    const signed = (quantity?.component ?? -1) >= 0;
    refill(this.map, ...COLOR_MAPS.filter((map) => map.signed === signed).map((map) => h('option', {value: map.key}, map.name)));
    this.map.value = signed ? state.signedMap : state.map;
    for (const input of [this.map, this.range, this.follow]) input.disabled = !quantity;
    this.range.value = state.range;
    this.fixed.hidden = state.range !== 'fixed' || !quantity;
    const factor = this.app.factor(0, this.dimension);
    if (document.activeElement !== this.low) this.low.value = String(Number((state.fixed[0] * factor).toPrecision(6)));
    if (document.activeElement !== this.high) this.high.value = String(Number((state.fixed[1] * factor).toPrecision(6)));
    (this.fixed.lastElementChild as HTMLElement).textContent = symbol(this.app.unitsOf(0), this.dimension);
    this.follow.checked = state.followColors;
    for (const [name, input] of this.shows) input.checked = state.show[name];
    this.units.value = state.units;
    this.fixed.title = quantity ? brief(state.fixed[1] * factor) : '';
  }
}
