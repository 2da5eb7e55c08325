// The page at work: keeps the state, plays, and tells the panels what changed.
import * as THREE from 'three';
import {saveComposite, Recorder} from './capture';
import {Body, type Description, type SectionSource} from './data';
import {h, iconButton, refill} from './dom';
import type {Quantity} from './fields';
import {addressed, readFragment, writeFragment} from './fragment';
import {coordinatesAt, readHistory} from './history';
import {keyAction, KEYS} from './keys';
import {Legend} from './legend';
import {Marks} from './marks';
import {available, type Coordinates, coordinates, mapOf, matched, peaks, Playing, quantityOf, rangeOverModes} from './model';
import {BodyPanel} from './panel-body';
import {LookPanel} from './panel-look';
import {frequencyText, ModesPanel} from './panel-modes';
import {NodePanel} from './panel-node';
import {BodyScene} from './scene';
import {Stage} from './stage';
import {firstState, SHOWN_AT_FIRST, type ShowName, type State} from './state';
import {colorsOf, isDark} from './theme';
import {Transport} from './transport';
import {type Dimension, factor, hertz, known} from './units';
import type {UnitDescription} from './data';

export class App {
  readonly state: State = firstState();
  readonly bodies: Body[] = [];
  readonly playing: Playing[] = [];
  stage!: Stage;
  root!: HTMLElement;
  private legends: Legend[] = [];
  private readonly viewNames: HTMLElement[] = [];
  private marks!: Marks;
  private modesPanel!: ModesPanel;
  private lookPanel!: LookPanel;
  private nodePanel!: NodePanel;
  private bodyPanel!: BodyPanel;
  private transport!: Transport;
  private recorder: Recorder | null = null;
  private recordButton!: HTMLButtonElement;
  private message!: HTMLElement;
  private dirty = true;
  private ticket = 0;
  private settled: Promise<void> = Promise.resolve();
  private lastFrame = 0;
  private lastColors = 0;
  private colorCost = 0;
  private historyScale: number[] = [];
  private historyRange: {low: number; high: number}[] = [];
  private fragmentTimer = 0;
  private readonly addressed = addressed();
  frames = 0;

  constructor(readonly description: Description, private readonly source: SectionSource, private readonly holder: HTMLElement) {}

  // ---- beginning

  async start() {
    for (const about of this.description.bodies) this.bodies.push(await Body.open(about, this.source));
    this.state.mode = this.firstElastic();
    if (!this.bodies.some((body) => body.about.modes.some((mode) => mode.shape))) this.state.quantity = '';
    this.build();
    const {addressed} = this;
    this.takeFragment(addressed?.location.hash ?? '', true);
    addressed?.addEventListener('hashchange', () => this.takeFragment(addressed.location.hash, false));
    await this.refresh();
    if (addressed !== window && addressed?.location.hash) window.frameElement?.scrollIntoView();
    this.lastFrame = performance.now();
    requestAnimationFrame((now) => this.frame(now));
  }

  private firstElastic(): number {
    const about = this.bodies[0].about;
    return about.modes.length > about.rigidModes ? about.rigidModes : 0;
  }

  private build() {
    const stageElement = h('main', {class: 'stage', 'aria-label': 'The body'});
    this.modesPanel = new ModesPanel(this);
    this.lookPanel = new LookPanel(this);
    this.nodePanel = new NodePanel(this);
    this.bodyPanel = new BodyPanel(this);
    this.transport = new Transport(this);
    this.message = h('div', {class: 'message', role: 'status', 'aria-live': 'polite'});
    this.root = h('div', {class: 'app'}, this.header(),
                  h('nav', {class: 'panel panel-left', 'aria-label': 'Modes', id: 'panel-left'}, this.modesPanel.element), stageElement,
                  h('aside', {class: 'panel panel-right', 'aria-label': 'Display', id: 'panel-right'}, this.nodePanel.element,
                    this.lookPanel.element, this.bodyPanel.element),
                  this.transport.element, this.message);
    refill(this.holder, this.root);
    this.stage = new Stage(stageElement, this.bodies.map((body) => new BodyScene(body)));
    this.stage.views.forEach((scene) => this.playing.push(new Playing(scene)));
    this.marks = new Marks(this);
    this.bodies.forEach((body, i) => {
      const legend = new Legend(this, i);
      this.legends.push(legend);
      this.viewNames.push(h('span', {class: 'muted'}));
      const notes = h('div', {class: 'corner'},
                      this.bodies.length > 1 ? h('div', {class: 'view-name'}, body.about.file, this.viewNames[i]) : null,
                      ...body.about.notes.map((note) => h('p', {class: 'note'}, note)));
      stageElement.append(h('div', {class: 'view-frame', style: `left:${(100 * i) / this.bodies.length}%;width:${100 / this.bodies.length}%`},
                            notes, legend.element));
    });
    this.stage.resize();
    this.applyTheme();
    this.stage.home();
    this.stage.onCamera = () => (this.dirty = true);
    this.stage.onCameraEnd = () => this.rememberPlace();
    this.listen(stageElement);
  }

  private header(): HTMLElement {
    const about = this.bodies[0].about;
    const names = this.bodies.map((body) => body.about.file).join('  |  ');
    const title = about.title.trim() || about.file;
    this.recordButton = iconButton('record', 'Record a film', () => this.toggleRecording(), 'R');
    const drawer = (side: string, label: string, name: string) => {
      const button = iconButton(name, label, () => {
        const open = this.root.classList.toggle(`open-${side}`);
        this.root.classList.remove(`open-${side === 'left' ? 'right' : 'left'}`);
        button.setAttribute('aria-expanded', String(open));
      });
      button.setAttribute('aria-controls', `panel-${side}`);
      button.classList.add('drawer-button');
      return button;
    };
    return h('header', {class: 'bar'}, drawer('left', 'Modes', 'panel'),
             h('div', {class: 'title'}, h('h1', {title}, title), h('p', {class: 'file', title: names}, names)),
             h('div', {class: 'tools', role: 'toolbar', 'aria-label': 'Tools'},
               iconButton('fit', 'Show all', () => this.stage.home(), 'F'),
               this.addressed ? iconButton('link', 'Copy a link to this view', () => void this.copyLink(), 'L') : null,
               iconButton('camera', 'Save a picture', () => void this.savePicture(), 'S'), this.recordButton,
               iconButton('theme', 'Dark or light', () => this.toggleTheme(), 'D'),
               iconButton('help', 'Keys', () => this.showHelp(), '?'), drawer('right', 'Display', 'sliders')));
  }

  private listen(stageElement: HTMLElement) {
    let down: {x: number; y: number} | null = null;
    this.stage.canvas.setAttribute('aria-label', 'The body. Arrow keys turn it while it has the focus; a click picks a node.');
    this.stage.canvas.addEventListener('pointerdown', (event) => (down = {x: event.clientX, y: event.clientY}));
    this.stage.canvas.addEventListener('pointerup', (event) => {
      if (!down || Math.hypot(event.clientX - down.x, event.clientY - down.y) > 5 || event.button !== 0) return;
      const box = this.stage.canvas.getBoundingClientRect();
      this.pick(this.stage.pick(event.clientX - box.left, event.clientY - box.top));
    });
    stageElement.addEventListener('dblclick', () => this.stage.fit());
    window.addEventListener('keydown', (event) => keyAction(this, event));
    window.addEventListener('dragover', (event) => event.preventDefault());
    window.addEventListener('drop', (event) => {
      event.preventDefault();
      const file = event.dataTransfer?.files[0];
      if (file) void this.loadHistory(file);
    });
    window.matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () => this.applyTheme());
  }

  // ---- units

  get units(): UnitDescription {
    const found = this.description.unitSystems.find((system) => system.name === this.state.units);
    return found ?? this.bodies[0].about.units;
  }

  /** What a value of a body is multiplied with to stand in the units shown. */
  factor(view: number, dimension: Dimension): number {
    return factor(this.bodies[view].about.units, this.units, dimension) ?? 1;
  }

  /** The units that values of a body are shown in: its own when they are not known. */
  unitsOf(view: number): UnitDescription {
    return known(this.bodies[view].about.units) && known(this.units) ? this.units : this.bodies[view].about.units;
  }

  get quantity(): Quantity | null {
    return quantityOf(this.state.quantity);
  }

  dimensionOf(quantity: Quantity): Dimension {
    return quantity.unit;
  }

  // ---- changes

  /** Changes the state and brings everything into line. Resolves when the picture is right. */
  set(change: Partial<State>): Promise<void> {
    Object.assign(this.state, change);
    return this.refresh();
  }

  show(name: ShowName, on: boolean) {
    this.state.show[name] = on;
    void this.refresh();
  }

  selectMode(index: number): Promise<void> {
    const last = this.bodies[0].about.modes.length - 1;
    if (last < 0) return Promise.resolve();
    const mode = Math.min(Math.max(index, 0), last);
    return this.set({mode, motion: this.state.motion === 'history' ? 'single' : this.state.motion});
  }

  setWeight(mode: number, weight: number): Promise<void> {
    this.state.mix.set(mode, weight);
    return this.refresh();
  }

  refresh(): Promise<void> {
    this.settled = this.refreshNow(++this.ticket);
    return this.settled;
  }

  /** Resolves when no change waits any more. */
  async settle() {
    for (let before: Promise<void> | null = null; before !== this.settled; ) {
      before = this.settled;
      await before;
    }
  }

  /** The modal coordinates of a body. */
  coordinatesOf(view: number): Coordinates {
    const first = coordinates(this.state);
    return view === 0 ? first : matched(this.description, first);
  }

  private async refreshNow(ticket: number) {
    const quantity = this.quantity && available(this.bodies[0], this.quantity) ? this.quantity : null;
    const first = peaks(this.state);
    const prepared = await Promise.all(this.playing.map((one, i) =>
      one.prepare(this.coordinatesOf(i), quantity, i === 0 ? first : matched(this.description, first))));
    if (ticket !== this.ticket) return;
    this.playing.forEach((one, i) => {
      one.take(prepared[i]);
      one.evaluate(quantity);
      one.range = this.rangeOf(i, quantity);
      const history = this.state.motion === 'history' && this.historyScale[i] !== undefined;
      one.scene.scale = history ? this.state.amplitude * this.historyScale[i] : one.scaleFor(this.state.amplitude);
      one.scene.color(one.values, quantity ? mapOf(this.state, quantity) : null, quantity?.kind ?? null);
      one.scene.show(this.state.show);
    });
    this.dirty = true;
    this.legends.forEach((legend) => legend.update());
    this.viewNames.forEach((name, i) => (name.textContent = ` ${this.modeName(i)}`));
    this.modesPanel.update();
    this.lookPanel.update();
    this.bodyPanel.update();
    this.transport.update();
    this.marks.rebuild();
    await this.nodePanel.update();
    this.rememberPlace();
  }

  private rangeOf(view: number, quantity: Quantity | null): {low: number; high: number} {
    if (!quantity) return {low: 0, high: 1};
    if (this.state.range === 'fixed') {
      const back = this.factor(view, this.dimensionOf(quantity)) / this.factor(0, this.dimensionOf(quantity));
      return {low: this.state.fixed[0] / back, high: this.state.fixed[1] / back};
    }
    if (this.state.range === 'all' && this.state.motion === 'single') return rangeOverModes(this.bodies[view], quantity);
    if (this.state.motion === 'history' && this.historyRange[view]) {
      const {low, high} = this.historyRange[view];
      const most = Math.max(Math.abs(low), Math.abs(high)) || 1;
      return quantity.component >= 0 ? {low: -most, high: most} : {low: 0, high: most};
    }
    return this.playing[view].rangeNow(quantity);
  }

  // ---- histories

  async loadHistory(file: File) {
    try {
      await this.takeHistory(await file.text());
      this.say(`${file.name}: ${this.state.history?.times.length} times`);
    } catch (error) {
      this.say(`${file.name}: ${(error as Error).message}`, true);
    }
  }

  async takeHistory(text: string) {
    const history = readHistory(text, this.bodies[0].about.modes.map((mode) => mode.number));
    this.historyScale = [];
    this.historyRange = [];
    await this.set({history, motion: 'history', time: history.times[0], playing: false});
    await this.surveyHistory();
    await this.set({playing: true});
  }

  /** The scale at which the largest displacement of the whole history is a tenth of the diagonal, and the color range. */
  private async surveyHistory() {
    const history = this.state.history;
    if (!history) return;
    const count = Math.min(history.times.length, 24);
    const quantity = this.quantity;
    const most = this.playing.map(() => 0);
    const range = this.playing.map(() => ({low: 0, high: 0}));
    for (let i = 0; i < count; ++i) {
      const row = Math.round((i * (history.times.length - 1)) / Math.max(count - 1, 1));
      const first: Coordinates = new Map(history.modes.map((mode, c) => [mode, history.values[c][row]]));
      for (const [view, one] of this.playing.entries()) {
        const prepared = await one.prepare(view === 0 ? first : matched(this.description, first), quantity);
        one.shape = prepared.shape;
        most[view] = Math.max(most[view], one.mostDisplacement());
        one.evaluate(quantity, prepared.colors);
        range[view].low = Math.min(range[view].low, one.values?.low ?? 0);
        range[view].high = Math.max(range[view].high, one.values?.high ?? 0);
      }
    }
    this.historyScale = most.map((value, view) => (value > 0 ? (0.2 * this.bodies[view].about.geometry.halfSize) / value : 0));
    this.historyRange = range;
  }

  // ---- playing

  private frame(now: number) {
    const seconds = Math.min((now - this.lastFrame) / 1000, 0.1);
    this.lastFrame = now;
    if (this.state.playing && !document.hidden) {
      this.advance(seconds);
      this.dirty = true;
    }
    if (this.dirty) this.draw();
    requestAnimationFrame((next) => this.frame(next));
  }

  private advance(seconds: number) {
    const {state} = this;
    if (state.motion === 'history' && state.history) {
      const {times} = state.history;
      const [first, last] = [times[0], times[times.length - 1]];
      // The whole history in eight seconds.
      state.time += ((last - first) / 8) * state.speed * seconds;
      if (state.time > last) state.time = first;
    } else {
      state.phase = (state.phase + 2 * Math.PI * 0.5 * state.speed * seconds) % (state.ownFrequencies ? 2e4 * Math.PI : 2 * Math.PI);
    }
    this.transport.tick();
  }

  /** What each mode's coordinate is multiplied with at this moment. */
  private factorOf(view: number, mode: number, weight: number): number {
    const {state} = this;
    if (state.motion === 'history') {
      if (!state.history || weight === 0) return 0;
      return 1;
    }
    if (state.motion === 'mix' && state.ownFrequencies) {
      const modes = this.bodies[view].about.modes;
      const own = [...this.coordinatesOf(view).keys()].map((one) => Math.abs(modes[one].frequency ?? 0)).filter((hz) => hz > 0);
      const slowest = Math.min(...own);
      const ratio = Math.abs(modes[mode].frequency ?? 0) / slowest;
      return Math.sin(state.phase * (Number.isFinite(ratio) && ratio > 0 ? ratio : 1));
    }
    return Math.sin(state.phase);
  }

  draw() {
    this.dirty = false;
    const live = this.state.motion === 'history' || (this.state.motion === 'mix' && this.state.ownFrequencies && this.state.followColors);
    this.playing.forEach((one, view) => {
      if (this.state.motion === 'history') this.takeMoment(one, view);
      one.scene.move(one.scene.active.map((active) => this.factorOf(view, active.mode, active.weight)));
      if (live) this.recolor(one, view);
      const unit = one.values?.unit ?? 1;
      const follow = this.state.followColors && !live ? Math.sin(this.state.phase) : 1;
      one.scene.range(one.range.low / unit, one.range.high / unit, follow);
    });
    this.stage.marks = this.marks.now();
    this.stage.render();
    ++this.frames;
    this.recorder?.take();
  }

  private takeMoment(one: Playing, view: number) {
    if (!this.state.history) return;
    const now = coordinatesAt(this.state.history, this.state.time);
    const first: Coordinates = new Map(this.state.history.modes.map((mode, i) => [mode, now[i]]));
    const q = view === 0 ? first : matched(this.description, first);
    for (const part of [...one.shape, ...one.colors]) part.weight = q.get(part.mode) ?? 0;
  }

  private recolor(one: Playing, view: number) {
    const {quantity} = this;
    const now = performance.now();
    // Colors may lag behind the motion where they cost much.
    if (!quantity || (this.state.playing && this.colorCost > 20 && now - this.lastColors < 5 * this.colorCost)) return;
    const parts = this.state.motion === 'history' ? one.colors
      : one.colors.map((part) => ({...part, weight: part.weight * this.factorOf(view, part.mode, part.weight)}));
    one.evaluate(quantity, parts);
    one.scene.color(one.values, mapOf(this.state, quantity), quantity.kind);
    this.lastColors = performance.now();
    this.colorCost = this.lastColors - now;
  }

  step(radians: number) {
    if (this.state.motion === 'history' && this.state.history) {
      const {times} = this.state.history;
      const time = this.state.time + (radians / (2 * Math.PI)) * (times[times.length - 1] - times[0]);
      void this.set({playing: false, time: Math.min(Math.max(time, times[0]), times[times.length - 1])});
    } else {
      void this.set({playing: false, phase: (this.state.phase + radians + 2 * Math.PI) % (2 * Math.PI)});
    }
  }

  // ---- nodes

  pick(picked: {view: number; node: number} | null) {
    void this.set({picked});
    if (picked) this.root.classList.add('has-node');
  }

  /** Finds a node by its ID, in the body that is asked for or in any. */
  search(id: number): boolean {
    for (const [view, body] of this.bodies.entries()) {
      const node = body.nodeOf(id);
      if (node < 0) continue;
      this.pick({view, node});
      return true;
    }
    const hidden = this.bodies.some((body) => body.about.geometry.allNodes > body.about.geometry.nodes);
    this.say(`There is no node ${id} ${hidden ? 'on the surface that this page shows' : 'in this body'}.`, true);
    return false;
  }

  // ---- theme, pictures, links

  get dark(): boolean {
    return isDark(this.state.theme);
  }

  applyTheme() {
    document.documentElement.dataset.theme = this.dark ? 'dark' : 'light';
    const colors = colorsOf(this.dark);
    this.stage.colors = colors.stage;
    this.stage.views.forEach((view) => view.paint(colors.scene, this.stage.pixelRatio));
    this.marks.colors = colors.marks;
    this.dirty = true;
  }

  toggleTheme() {
    this.state.theme = this.dark ? 'light' : 'dark';
    this.applyTheme();
    void this.refresh();
  }

  /** The mode that is shown, in words. */
  modeName(view: number): string {
    const first = [...this.coordinatesOf(view).keys()];
    const about = this.bodies[view].about;
    if (first.length !== 1) return first.length === 0 ? 'no mode' : `a mixture of ${first.length} modes`;
    const mode = about.modes[first[0]];
    return mode ? `mode ${mode.number}, ${frequencyText(mode, hertz(about.units, mode.frequency))}` : 'no mode';
  }

  /** A name for what is saved. */
  get fileStem(): string {
    const stem = this.bodies[0].about.file.replace(/\.[^.]*$/, '').replace(/[^\w.-]+/g, '_') || 'body';
    const mode = this.bodies[0].about.modes[this.state.mode];
    return this.state.motion === 'single' && mode ? `${stem}-mode-${mode.number}` : stem;
  }

  async savePicture() {
    this.draw();
    await saveComposite(this, `${this.fileStem}.png`);
    this.say('Picture saved');
  }

  toggleRecording() {
    if (this.recorder) {
      this.recorder.stop();
      this.recorder = null;
    } else {
      try {
        this.recorder = new Recorder(this, this.fileStem, (text) => this.say(text));
        void this.set({playing: true});
        this.say('Recording; press again to end');
      } catch (error) {
        this.say((error as Error).message, true);
      }
    }
    this.recordButton.classList.toggle('recording', this.recorder !== null);
    this.recordButton.setAttribute('aria-pressed', String(this.recorder !== null));
  }

  async copyLink() {
    if (!this.addressed) return;
    this.writePlace();
    try {
      await navigator.clipboard.writeText(this.addressed.location.href);
      this.say('Link copied');
    } catch {
      this.say('The address of this page holds the view: copy it from the address line');
    }
  }

  drawLegends(context: CanvasRenderingContext2D, width: number, height: number) {
    this.legends.forEach((legend, i) => legend.drawInto(context, (i * width) / this.legends.length, width / this.legends.length, height));
  }

  say(text: string, trouble = false) {
    this.message.textContent = text;
    this.message.classList.toggle('trouble', trouble);
    this.message.classList.add('shown');
    window.setTimeout(() => {
      if (this.message.textContent === text) this.message.classList.remove('shown');
    }, trouble ? 8000 : 3500);
  }

  showHelp() {
    const close = () => dialog.remove();
    const dialog: HTMLDialogElement = h('dialog', {class: 'help', 'aria-label': 'Keys', onclose: close},
      h('h2', {}, 'Keys'), h('dl', {}, ...KEYS.flatMap(([keys, what]) => [h('dt', {}, ...keys.split(' ').map((key) => h('kbd', {}, key))), h('dd', {}, what)])),
      h('p', {class: 'muted'}, 'Drag to turn, with the right button or two fingers to move, wheel or pinch to come closer. A click picks a node.'),
      h('p', {class: 'muted'}, `Made by ${this.description.maker}. The page needs no network.`),
      h('form', {method: 'dialog'}, h('button', {class: 'button'}, 'Close')));
    this.root.append(dialog);
    dialog.showModal();
  }

  // ---- address

  private rememberPlace() {
    // The address of a sheet is changed when somebody asks for a link.
    if (this.addressed !== window) return;
    window.clearTimeout(this.fragmentTimer);
    this.fragmentTimer = window.setTimeout(() => this.writePlace(), 250);
  }

  private writePlace() {
    window.clearTimeout(this.fragmentTimer);
    const {state} = this;
    const modes = this.bodies[0].about.modes;
    const shown = Object.fromEntries(Object.entries(state.show).filter(([name, on]) => SHOWN_AT_FIRST[name as ShowName] !== on));
    const text = writeFragment({
      mode: modes[state.mode]?.number,
      mix: state.motion === 'mix' ? [...state.mix].filter(([, q]) => q !== 0).map(([mode, q]) => [modes[mode].number, q]) : undefined,
      field: state.quantity === 'displacement.magnitude' ? undefined : state.quantity || 'none',
      phase: state.phase % (2 * Math.PI), playing: state.playing, amplitude: state.amplitude, speed: state.speed,
      units: state.units || undefined, theme: state.theme === 'auto' ? undefined : state.theme, show: shown,
      node: state.picked?.view === 0 ? this.bodies[0].ids[state.picked.node] : undefined, camera: this.stage.place,
    });
    if (this.addressed && `#${text}` !== this.addressed.location.hash) this.addressed.history.replaceState(null, '', `#${text}`);
  }

  private takeFragment(text: string, first: boolean) {
    const f = readFragment(text);
    const {state} = this;
    const modes = this.bodies[0].about.modes;
    const index = (number: number) => modes.findIndex((mode) => mode.number === number);
    if (f.mode !== undefined && index(f.mode) >= 0) state.mode = index(f.mode);
    if (f.mix) {
      state.motion = 'mix';
      state.mix = new Map(f.mix.filter(([mode]) => index(mode) >= 0).map(([mode, q]) => [index(mode), q]));
    }
    if (f.phase !== undefined) state.phase = f.phase;
    if (f.playing !== undefined) state.playing = f.playing;
    if (f.amplitude !== undefined) state.amplitude = f.amplitude;
    if (f.speed !== undefined) state.speed = f.speed;
    if (f.field !== undefined) state.quantity = quantityOf(f.field) ? f.field : '';
    if (f.units !== undefined && this.description.unitSystems.some((system) => system.name === f.units)) state.units = f.units;
    if (f.theme === 'dark' || f.theme === 'light') state.theme = f.theme;
    for (const [name, on] of Object.entries(f.show ?? {})) if (name in state.show) state.show[name as ShowName] = on;
    if (f.camera) this.stage.place = f.camera;
    if (f.node !== undefined && this.bodies[0].nodeOf(f.node) >= 0) state.picked = {view: 0, node: this.bodies[0].nodeOf(f.node)};
    this.applyTheme();
    if (!first) void this.refresh();
  }

  /** The direction of a view by key: along an axis, or as at first. */
  look(axis: number, fromBehind: boolean) {
    const direction = new THREE.Vector3().setComponent(axis, fromBehind ? -1 : 1);
    this.stage.lookFrom(direction, axis === 2 ? new THREE.Vector3(0, 1, 0) : new THREE.Vector3(0, 0, 1));
  }
}
