// The bar below: play, phase or time, amplitude, speed.
import type {App} from './app';
import {h, icon, refill} from './dom';
import {brief, symbol} from './units';

export class Transport {
  readonly element: HTMLElement;
  private readonly play = h('button', {type: 'button', class: 'play', id: 'play'});
  private readonly phase = h('input', {type: 'range', min: '0', max: '360', step: '1', id: 'phase'});
  private readonly phaseLabel = h('label', {for: 'phase'}, 'Phase');
  private readonly phaseValue = h('output', {class: 'value'});
  private readonly amplitude = h('input', {type: 'range', min: '0', max: '100', step: '1', id: 'amplitude'});
  private readonly amplitudeValue = h('output', {class: 'value'});
  private readonly speed = h('input', {type: 'range', min: '-100', max: '100', step: '2', id: 'speed'});
  private readonly speedValue = h('output', {class: 'value'});

  constructor(private readonly app: App) {
    this.play.addEventListener('click', () => void app.set({playing: !app.state.playing}));
    this.phase.addEventListener('input', () => this.takePhase());
    // Quadratic, so that small amplitudes can be set finely; 50 is the default.
    this.amplitude.addEventListener('input', () => void app.set({amplitude: (Number(this.amplitude.value) / 50) ** 2}));
    this.speed.addEventListener('input', () => void app.set({speed: 10 ** (Number(this.speed.value) / 100)}));
    const group = (name: string, ...children: HTMLElement[]) => h('div', {class: `control control-${name}`}, ...children);
    this.element = h('footer', {class: 'transport', 'aria-label': 'Motion'}, this.play,
                     group('phase', this.phaseLabel, this.phase, this.phaseValue),
                     group('amplitude', h('label', {for: 'amplitude'}, 'Amplitude'), this.amplitude, this.amplitudeValue),
                     group('speed', h('label', {for: 'speed'}, 'Speed'), this.speed, this.speedValue));
  }

  private takePhase() {
    const {state} = this.app;
    const value = Number(this.phase.value);
    if (state.motion === 'history' && state.history) {
      const {times} = state.history;
      void this.app.set({playing: false, time: times[0] + (value / 360) * (times[times.length - 1] - times[0])});
    } else {
      void this.app.set({playing: false, phase: (value * Math.PI) / 180});
    }
  }

  /** While it plays. */
  tick() {
    const {state} = this.app;
    if (state.motion === 'history' && state.history) {
      const {times} = state.history;
      const [first, last] = [times[0], times[times.length - 1]];
      this.phase.value = String((360 * (state.time - first)) / (last - first));
      const units = this.app.unitsOf(0);
      this.phaseValue.value = `${brief(state.time * this.app.factor(0, 'time'), 4)} ${symbol(units, 'time')}`;
    } else {
      const degrees = Math.round(((state.phase * 180) / Math.PI) % 360);
      this.phase.value = String(degrees);
      this.phaseValue.value = `${degrees}\u00b0`;
    }
  }

  update() {
    const {state} = this.app;
    this.phaseLabel.textContent = state.motion === 'history' ? 'Time' : 'Phase';
    refill(this.play, icon(state.playing ? 'pause' : 'play'));
    this.play.setAttribute('aria-label', state.playing ? 'Pause' : 'Play');
    this.play.title = `${state.playing ? 'Pause' : 'Play'} (Space)`;
    this.play.setAttribute('aria-pressed', String(state.playing));
    if (document.activeElement !== this.amplitude) this.amplitude.value = String(Math.min(50 * Math.sqrt(state.amplitude), 100));
    this.amplitudeValue.value = `${brief(10 * state.amplitude, 3)} %`;
    this.amplitude.title = 'The largest displacement as a part of the size of the body';
    if (document.activeElement !== this.speed) this.speed.value = String(100 * Math.log10(state.speed));
    this.speedValue.value = `\u00d7${brief(state.speed, 2)}`;
    this.tick();
  }
}
