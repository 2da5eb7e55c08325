// The legend of a body: what the colors mean, with units.
import type {App} from './app';
import {stops} from './colors';
import {h, refill} from './dom';
import {mapOf} from './model';
import {brief, symbol} from './units';

const TICKS = 5;

export class Legend {
  readonly element = h('div', {class: 'legend', role: 'img'});

  constructor(private readonly app: App, private readonly view: number) {}

  private content() {
    const {quantity} = this.app;
    const playing = this.app.playing[this.view];
    if (!quantity || !playing?.values) return null;
    const dimension = this.app.dimensionOf(quantity);
    const factor = this.app.factor(this.view, dimension);
    const unit = symbol(this.app.unitsOf(this.view), dimension);
    const {low, high} = playing.range;
    const ticks = Array.from({length: TICKS}, (_, i) => brief((high + (i / (TICKS - 1)) * (low - high)) * factor, 3));
    const unknown = playing.values.relative.some(Number.isNaN);
    return {name: quantity.name, unit, ticks, unknown, group: quantity.group, colors: stops(mapOf(this.app.state, quantity))};
  }

  private get scaleText(): string {
    const {state} = this.app;
    const playing = this.app.playing[this.view];
    const scale = playing?.scene.scale ?? 0;
    if (this.view > 0 && this.app.coordinatesOf(this.view).size === 0) return 'no mode matches';
    if (scale === 0) return 'no motion';
    const left = playing.leftOut > 0 ? `, without the ${playing.leftOut} weakest modes` : '';
    return `motion \u00d7 ${brief(scale, 3)}${state.motion === 'single' ? ', modal coordinate 1' : ''}${left}`;
  }

  update() {
    const content = this.content();
    const scale = h('div', {class: 'legend-scale'}, this.scaleText);
    if (!content) {
      const moved = this.app.bodies[this.view].about.modes.length > 0;
      this.element.setAttribute('aria-label', 'No colors');
      refill(this.element, moved ? scale : null);
      return;
    }
    this.element.setAttribute('aria-label', `Colors: ${content.name} from ${content.ticks[TICKS - 1]} to ${content.ticks[0]} ${content.unit}`);
    refill(this.element, h('div', {class: 'legend-name'}, content.name, content.unit ? h('span', {class: 'legend-unit'}, ` [${content.unit}]`) : null),
           h('div', {class: 'legend-body'},
             h('div', {class: 'legend-bar', style: `background:linear-gradient(to top,${content.colors.join(',')})`}),
             h('div', {class: 'legend-ticks'}, ...content.ticks.map((tick) => h('span', {}, tick)))),
           content.unknown ? h('div', {class: 'legend-unknown'}, h('i', {}), `no ${content.group} known`) : null, scale);
  }

  /** The same on a picture. */
  drawInto(context: CanvasRenderingContext2D, left: number, width: number, height: number) {
    const content = this.content();
    const colors = this.app.stage.colors;
    context.font = '600 12.5px Inter, system-ui, sans-serif';
    context.fillStyle = colors.text;
    const right = left + width - 22;
    const about = this.app.bodies[this.view].about;
    const mode = about.modes[this.app.state.mode];
    context.textAlign = 'left';
    context.fillText(about.file, left + 18, 28);
    context.font = '12px Inter, system-ui, sans-serif';
    if (mode && this.app.state.motion === 'single') context.fillText(this.app.modeName(this.view), left + 18, 46);
    if (!content) return;
    context.textAlign = 'right';
    context.font = '600 12px Inter, system-ui, sans-serif';
    context.fillText(`${content.name}${content.unit ? ` [${content.unit}]` : ''}`, right, height - 236);
    const gradient = context.createLinearGradient(0, height - 30, 0, height - 220);
    content.colors.forEach((color, i) => gradient.addColorStop(i / (content.colors.length - 1), color));
    context.fillStyle = gradient;
    context.fillRect(right - 14, height - 220, 14, 190);
    context.fillStyle = colors.text;
    context.font = '12px Inter, system-ui, sans-serif';
    content.ticks.forEach((tick, i) => context.fillText(tick, right - 22, height - 216 + (i * 190) / (TICKS - 1)));
  }
}
